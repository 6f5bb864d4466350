#include "ctl/commands/commands.h"
#include "ctl/input_file.h"
#include "ctl/text.h"
#include "ctl/tree_document.h"

#include <CLI/CLI.hpp>

#include <QStringList>

#include <memory>

namespace ctl {
namespace {

constexpr char kSaveTreeHelp[] =
    "Reads the whole tree and puts it in the place of the stored one:\n"
    "  {\"groups\": [{\"id\": 1, \"parent\": 0, \"name\": \"Town\"}, {\"id\": 5, \"parent\": 1, \"name\": "
    "\"Buses\"}],\n"
    "   \"placements\": [{\"group\": 5, \"object\": 17}]}\n"
    "  id           the number of the group: any but 0, and each once\n"
    "  parent       the group in which it stands; 0 at the top\n"
    "  name         a string or null (they differ from the empty string \"\")\n"
    "  placements   an object may stand in several groups, or in none\n"
    "A wrong field is named by its path, and nothing is sent. Afterwards the tree is read back and compared.";

constexpr qsizetype kNamedObjects = 10; ///< in a remark

QString numbersForPeople(const QList<qint32> &numbers)
{
    QStringList words;
    for (const qint32 number : numbers.mid(0, kNamedObjects))
        words.append(QString::number(number));
    return words.join(QStringLiteral(", ")) + (numbers.size() > kNamedObjects
                                                   ? QStringLiteral(" and %1 more").arg(numbers.size() - kNamedObjects)
                                                   : QString());
}

Result<ObjectTree> fetchWholeTree(Session &session)
{
    Result<bus::Action> reply = session.ask("Get_full_objects_tree", QByteArray());
    if (!reply)
        return reply.failure();
    Result<ObjectTree> tree = decodeTree(reply->data);
    if (!tree)
        return Failure{tree.failure().message, false, true};
    if (!tree->unread.isEmpty()) {
        return Failure{QStringLiteral("the service could not read the %1 (its log says why)")
                           .arg(tree->unread.join(QStringLiteral(", the "))),
                       false, true};
    }
    return tree;
}

Outcome saveTree(Session &session, const std::string &file)
{
    Result<QByteArray> text = readInput(file);
    if (!text)
        return text.failure();
    Result<TreeDocument> document = readTreeJson(*text);
    if (!document)
        return document.failure();
    if (Outcome failure = session.tell("Save_objects_tree", treeRequest(*document)))
        return failure;
    // The service takes commands in order, so that the tree is read after it was saved.
    Result<ObjectTree> stored = fetchWholeTree(session);
    if (!stored)
        return Session::unconfirmed(stored.failure());
    if (const auto what = treeDifference(*document, *stored))
        return Failure{QStringLiteral("the service did not store %1").arg(*what)};
    if (const QList<qint32> unlisted = unlistedObjects(*document, *stored); !unlisted.isEmpty()) {
        session.remark(QStringLiteral("the places of objects without a name are not shown, and not confirmed: %1")
                           .arg(numbersForPeople(unlisted)));
    }
    session.confirm(QStringLiteral("tree saved: %1, %2")
                        .arg(counted(document->groups.size(), "group", "groups"),
                             counted(document->placements.size(), "placement", "placements")));
    return std::nullopt;
}

} // namespace

void registerTreeSave(CLI::App &tree, Job &job)
{
    CLI::App *save = tree.add_subcommand("save", "Replace the whole tree of groups");
    const auto file = std::make_shared<std::string>("-");
    save->add_option("--file", *file, "File with the tree as JSON; - is the standard input")->capture_default_str();
    save->footer(kSaveTreeHelp);
    save->callback([file, &job] { job = [file](Session &session) { return saveTree(session, *file); }; });
}

} // namespace ctl
