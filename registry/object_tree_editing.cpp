#include "registry/object_tree_editing.h"

#include "registry/command_call.h"

namespace registry {

using database::Value;

namespace {

constexpr const char *kDeleteTree =
    R"(DELETE FROM "Groups"; DELETE FROM "Groups_groups"; DELETE FROM "Groups_objects";)";
constexpr const char *kInsertGroup = R"(INSERT INTO "Groups"("Id", "Name", "IsRoot") VALUES (?, ?, ?))";
constexpr const char *kInsertNesting = R"(INSERT INTO "Groups_groups"("Id_owner_group", "Id_qroup") VALUES (?, ?))";
constexpr const char *kInsertPlacement = R"(INSERT INTO "Groups_objects"("Id_group", "Id_object") VALUES (?, ?))";

struct Group
{
    qint32 number = 0;
    qint32 parent = 0; ///< 0 at the top
    QByteArray name;   ///< UTF-8, up to its first zero byte
};

Group readGroup(RequestReader &in)
{
    const auto number = in.read<qint32>();
    const auto parent = in.read<qint32>();
    return {number, parent, in.read<QByteArray>()};
}

QString nameText(const QByteArray &name)
{
    return name.isNull() ? QString() : QString::fromUtf8(name.constData());
}

/// Looks at the second count, which stands behind the groups, and goes back to the first group.
bool placementsMayBeRead(RequestReader &in, qint32 groups)
{
    const qint64 first = in.position();
    for (qint32 i = 0; i < groups && !in.atEnd(); ++i)
        (void)readGroup(in);
    if (!in.recordCount())
        return false;
    in.goTo(first);
    return true;
}

void insertGroup(database::Connection &db, const Group &group)
{
    db.post(kInsertGroup,
            {Value::integer(group.number), Value::text(nameText(group.name)), Value::boolean(group.parent == 0)});
    if (group.parent != 0)
        db.post(kInsertNesting, {Value::integer(group.parent), Value::integer(group.number)});
}

} // namespace

void saveObjectsTree(CommandCall &call)
{
    const auto groups = call.in.recordCount();
    if (!groups || !placementsMayBeRead(call.in, *groups))
        return;
    // The tree is written anew whole; whatever fails on the way, the rest is written.
    (void)call.db.script(QString::fromLatin1(kDeleteTree));
    for (qint32 i = 0; i < *groups; ++i)
        insertGroup(call.db, readGroup(call.in));
    const qint32 placements = call.in.recordCount().value_or(0);
    for (qint32 i = 0; i < placements; ++i) {
        const auto group = call.in.read<qint32>();
        const auto object = call.in.read<qint32>();
        if (group != 0)
            call.db.post(kInsertPlacement, {Value::integer(group), Value::integer(object)});
    }
    call.logEvent(QStringLiteral("User '%1' modify tree").arg(call.callerName()));
}

} // namespace registry
