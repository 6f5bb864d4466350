#include "ctl/commands/commands.h"
#include "ctl/text.h"
#include "ctl/tree_drawing.h"
#include "ctl/tree_records.h"

#include <CLI/CLI.hpp>

#include <QFile>

#include <memory>

#include <unistd.h>

namespace ctl {
namespace {

constexpr char kShowHelp[] =
    "Without --full: the objects that --operator may observe, with the operator number 0 all. Groups always come all.\n"
    "Objects stand in their colours on a terminal with 24-bit colour; colours are named where the output is none, or\n"
    "where NO_COLOR is set.";

bool isTerminal(const QTextStream &stream)
{
    const auto *file = qobject_cast<QFile *>(stream.device());
    return file != nullptr && ::isatty(file->handle()) == 1;
}

Outcome showTree(Session &session, bool full)
{
    Result<bus::Action> reply = session.ask(full ? "Get_full_objects_tree" : "Get_objects_tree", QByteArray());
    if (!reply)
        return reply.failure();
    Result<ObjectTree> tree = decodeTree(reply->data);
    if (!tree)
        return tree.failure();
    const bool inColours = isTerminal(session.out()) && !qEnvironmentVariableIsSet("NO_COLOR");
    if (session.options().json)
        session.printLine(treeJson(*tree));
    else if (tree->groups.isEmpty() && tree->objects.isEmpty() && tree->unread.isEmpty())
        session.printLine(QStringLiteral("the tree is empty"));
    else
        session.out() << drawTree(*tree, inColours);
    if (tree->unread.isEmpty())
        return std::nullopt;
    return Failure{QStringLiteral("the tree is not whole: the service could not read the %1 (its log says why; a name "
                                  "that is not UTF-8 is enough for the places of objects)")
                       .arg(tree->unread.join(QStringLiteral(", the ")))};
}

} // namespace

void registerTreeShow(CLI::App &tree, Job &job)
{
    CLI::App *show = tree.add_subcommand("show", "Draw the tree of groups and objects");
    const auto full = std::make_shared<bool>(false);
    show->add_flag("--full", *full, "All objects, whatever the operator may observe");
    show->footer(kShowHelp);
    show->callback([full, &job] { job = [full](Session &session) { return showTree(session, *full); }; });
}

} // namespace ctl
