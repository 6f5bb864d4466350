#include "ctl/setup_records.h"

#include "ctl/json_text.h"
#include "ctl/reply_reader.h"
#include "ctl/table.h"
#include "ctl/text.h"
#include "keystone/byte_writer.h"

#include <algorithm>

namespace ctl {
namespace {

constexpr int kSmallestSetupGroup = 12; ///< bytes of a group line with an empty heading
constexpr int kSmallestSetupProperty = 12;
constexpr int kSmallestLine = 8;
constexpr qint32 kReadSections[] = {1, 3, 4}; ///< in the order of the answer

/// The numbers in rows that fit into a cell of a table.
QStringList wrapped(const QList<qint32> &numbers)
{
    QStringList rows;
    for (const qint32 number : numbers) {
        const QString text = QString::number(number);
        if (rows.isEmpty() || rows.last().size() + 1 + text.size() > Table::kWidestCell)
            rows.append(text);
        else
            rows.last() += u' ' + text;
    }
    return rows;
}

} // namespace

Result<QList<PropertyGroup>> decodeCatalogue(const QByteArray &reply)
{
    ReplyReader in(reply);
    QList<PropertyGroup> groups;
    const qint32 groupCount = in.count(kSmallestSetupGroup, "groups");
    for (qint32 group = 0; group < groupCount && !in.failed(); ++group) {
        (void)in.read<qint32>(); // 0: the number of a property has this place
        groups.append({in.read<QByteArray>(), {}});
        const qint32 count = in.count(kSmallestSetupProperty, "properties");
        for (qint32 index = 0; index < count && !in.failed(); ++index) {
            const auto id = in.read<qint32>();
            groups.last().properties.append({id, in.read<QByteArray>()});
            (void)in.read<qint32>(); // 0: the count of a group has this place
        }
    }
    if (Outcome failure = in.end())
        return *failure;
    return groups;
}

Result<Setup> decodeSetup(const QByteArray &reply)
{
    ReplyReader in(reply);
    Setup setup;
    for (const qint32 section : kReadSections) {
        QList<SetupLine> &lines = setup[section];
        const qint32 count = in.count(kSmallestLine, "lines of the setup");
        for (qint32 index = 0; index < count && !in.failed(); ++index) {
            const auto object = in.read<qint32>();
            lines.append({object, in.numbers()});
        }
    }
    if (Outcome failure = in.end())
        return *failure;
    return setup;
}

Result<Setup> fetchSetup(Session &session, qint32 account)
{
    QByteArray request;
    keystone::ByteWriter(&request) << account;
    Result<bus::Action> reply = session.ask("Get_personalsetup4objects_X", request);
    if (!reply)
        return reply.failure();
    return decodeSetup(reply->data);
}

QMap<qint32, QList<qint32>> switchedOn(const QList<SetupLine> &section)
{
    QMap<qint32, QList<qint32>> result;
    for (const SetupLine &line : section) {
        if (line.properties.isEmpty())
            continue;
        QList<qint32> &properties = result[line.object];
        properties += line.properties;
        std::sort(properties.begin(), properties.end());
        properties.erase(std::unique(properties.begin(), properties.end()), properties.end());
    }
    return result;
}

const SetupLine *findLine(const QList<SetupLine> &section, qint32 object)
{
    const auto found =
        std::find_if(section.cbegin(), section.cend(), [object](const auto &line) { return line.object == object; });
    return found == section.cend() ? nullptr : &*found;
}

QString sectionName(qint32 section)
{
    return section == kLayerSection ? QStringLiteral("section 2 (layers)") : QStringLiteral("section %1").arg(section);
}

QString setupTables(const Setup &setup)
{
    QStringList parts;
    for (auto section = setup.cbegin(); section != setup.cend(); ++section) {
        Table table({QStringLiteral("object"), QStringLiteral("properties switched on")});
        qsizetype empty = 0;
        for (const SetupLine &line : section.value()) {
            const QStringList rows = wrapped(line.properties);
            for (qsizetype row = 0; row < rows.size(); ++row)
                table.addRow({row == 0 ? QString::number(line.object) : QString(), rows[row]});
            empty += rows.isEmpty() ? 1 : 0;
        }
        QString part = sectionName(section.key()) + QStringLiteral(":\n");
        if (empty < section.value().size())
            part += table.text();
        part += QStringLiteral("nothing is on for %1\n").arg(counted(empty, "line", "lines"));
        parts.append(part);
    }
    return parts.join(u'\n');
}

QString setupJson(qint32 account, const Setup &setup)
{
    QStringList lines;
    for (auto section = setup.cbegin(); section != setup.cend(); ++section) {
        for (const SetupLine &line : section.value())
            lines.append(jsonObject({{QStringLiteral("section"), QString::number(section.key())},
                                     {QStringLiteral("object"), QString::number(line.object)},
                                     {QStringLiteral("properties"), jsonNumbers(line.properties)}}));
    }
    return jsonObject(
        {{QStringLiteral("operator"), QString::number(account)}, {QStringLiteral("setup"), jsonLines(lines)}});
}

} // namespace ctl
