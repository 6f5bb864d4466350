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
void registerUser(CLI::App &app, Job &job);
void registerProps(CLI::App &app, Job &job);
void registerSetup(CLI::App &app, Job &job);
void registerObjects(CLI::App &app, Job &job);
void registerSearch(CLI::App &app, Job &job); ///< "search", "find" and "query"
void registerAllowed(CLI::App &app, Job &job);
void registerParams(CLI::App &app, Job &job);
void registerTree(CLI::App &app, Job &job);
void registerTreeShow(CLI::App &tree, Job &job); ///< below "tree"
void registerTreeSave(CLI::App &tree, Job &job); ///< below "tree"
void registerTemplate(CLI::App &app, Job &job);
void registerTemplateParts(CLI::App &noun, Job &job); ///< below "template"
void registerEvents(CLI::App &app, Job &job);
void registerExamples(CLI::App &app, Job &job);
void registerObject(CLI::App &app, Job &job);
void registerRemoteCommands(CLI::App &app, Job &job);
void registerRemoteCommandsFix(CLI::App &commands, Job &job); ///< below "commands"
void registerSensors(CLI::App &app, Job &job);
void registerSensorsFix(CLI::App &sensors, Job &job); ///< below "sensors"
void registerWatch(CLI::App &app, Job &job);
void registerQuit(CLI::App &app, Job &job);
void registerSend(CLI::App &app, Job &job);

} // namespace ctl
