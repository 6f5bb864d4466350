#include "ctl/commands/commands.h"

#include <CLI/CLI.hpp>

namespace ctl {

void registerTree(CLI::App &app, Job &job)
{
    CLI::App *tree = app.add_subcommand("tree", "Read and change the tree of groups")->require_subcommand(0, 1);
    registerTreeShow(*tree, job);
    registerTreeSave(*tree, job);
}

} // namespace ctl
