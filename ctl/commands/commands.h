#pragma once

#include "ctl/session.h"

namespace CLI {
class App;
}

namespace ctl {

/// Each function adds one noun with its options and verbs to the command line; the chosen verb puts its work into
/// `job`. A new noun is one file here, one line below and one row in the table of program.cpp.
void registerAbout(CLI::App &app, Job &job);
void registerCard(CLI::App &app, Job &job);
void registerCardFix(CLI::App &card, Job &job); ///< below "card"
void registerEvents(CLI::App &app, Job &job);
void registerWatch(CLI::App &app, Job &job);
void registerQuit(CLI::App &app, Job &job);
void registerSend(CLI::App &app, Job &job);

} // namespace ctl
