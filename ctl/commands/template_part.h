#pragma once

#include "ctl/input_file.h"
#include "ctl/json_fields.h"
#include "ctl/json_text.h"
#include "ctl/reply_reader.h"
#include "ctl/session.h"
#include "ctl/template_records.h"
#include "ctl/text.h"

#include <QList>

#include <algorithm>
#include <cstdlib>

/// Showing and saving a part of a template (card, sensors, controls): the same steps on other records.
namespace ctl {

template <typename Record>
struct TemplatePart
{
    const char *getCommand;
    const char *saveCommand;
    const char *member; ///< of the JSON document
    const char *one;    ///< "property"
    const char *many;
    int smallest; ///< bytes of a record whose texts are empty
    Record (*read)(ReplyReader &in);
    void (*write)(keystone::ByteWriter &out, const Record &record);
    QString (*table)(const QList<Record> &records);
    QString (*json)(const Record &record);
    /// Notes what a template cannot keep.
    Record (*readJson)(JsonFields &fields, JsonProblem &problem);
    bool (*isStored)(const Record &sent, const Record &stored);
};

template <typename Record>
[[nodiscard]] Result<QList<Record>> fetchPart(Session &session, const TemplatePart<Record> &part, qint32 number)
{
    QByteArray request;
    keystone::ByteWriter(&request) << number;
    Result<bus::Action> reply = session.ask(part.getCommand, request);
    if (!reply)
        return reply.failure();
    ReplyReader in(reply->data);
    // The answer tells the number without its sign.
    if (const auto answered = in.read<qint32>(); !in.failed() && answered != std::abs(number))
        in.refuse(QStringLiteral("it is about template %1, not %2").arg(answered).arg(std::abs(number)));
    QList<Record> records;
    const qint32 count = in.count(part.smallest, part.many);
    for (qint32 index = 0; index < count && !in.failed(); ++index)
        records.append(part.read(in));
    if (Outcome failure = in.end())
        return *failure;
    return records;
}

template <typename Record>
[[nodiscard]] Outcome showPart(Session &session, const TemplatePart<Record> &part, qint32 number)
{
    if (Outcome failure = requireTemplate(session, number))
        return failure;
    Result<QList<Record>> records = fetchPart(session, part, number);
    if (!records)
        return records.failure();
    if (session.options().json) {
        QStringList lines;
        for (const Record &record : *records)
            lines.append(part.json(record));
        session.printLine(jsonObject(
            {{QStringLiteral("template"), QString::number(number)}, {QLatin1String(part.member), jsonLines(lines)}}));
    } else if (records->isEmpty()) {
        session.printLine(QStringLiteral("template %1 has no %2").arg(number).arg(QLatin1String(part.many)));
    } else {
        session.printLine(
            QStringLiteral("template %1, %2").arg(number).arg(counted(records->size(), part.one, part.many)));
        session.out() << part.table(*records);
    }
    return std::nullopt;
}

template <typename Record>
[[nodiscard]] Result<QList<Record>> readPartJson(const TemplatePart<Record> &part, const QByteArray &text,
                                                 qint32 number)
{
    Result<QJsonObject> document = parseJsonObject(text);
    if (!document)
        return document.failure();
    JsonProblem problem;
    JsonFields fields(*document, QString(), problem);
    const QString numberField = QStringLiteral("template");
    if (fields.has(numberField) && fields.int32(numberField) != number) {
        fields.note(numberField, QStringLiteral("expected %1, as on the command line; leave the field out to save the "
                                                "%2 of one template to another")
                                     .arg(number)
                                     .arg(QLatin1String(part.member)));
    }
    const QString member = QLatin1String(part.member);
    const QJsonArray values = fields.array(member);
    QList<Record> records;
    for (qsizetype index = 0; index < values.size() && !problem.found(); ++index) {
        JsonFields row(values[index], fields.elementPath(member, index), problem);
        records.append(part.readJson(row, problem));
        row.refuseOthers();
    }
    fields.refuseOthers();
    if (problem.found())
        return *problem.failure();
    return records;
}

template <typename Record>
[[nodiscard]] Outcome comparePart(const TemplatePart<Record> &part, const QList<Record> &sent,
                                  const QList<Record> &stored)
{
    for (qsizetype index = 0; index < std::min(sent.size(), stored.size()); ++index) {
        if (!part.isStored(sent[index], stored[index]))
            return Failure{QStringLiteral("the service did not store %1[%2] as it was sent")
                               .arg(QLatin1String(part.member))
                               .arg(index)};
    }
    if (sent.size() == stored.size())
        return std::nullopt;
    return Failure{QStringLiteral("the service did not store all that was sent: the template has %1 instead of %2")
                       .arg(counted(stored.size(), part.one, part.many))
                       .arg(sent.size())};
}

template <typename Record>
[[nodiscard]] Outcome savePart(Session &session, const TemplatePart<Record> &part, qint32 number,
                               const std::string &file)
{
    Result<QByteArray> text = readInput(file);
    if (!text)
        return text.failure();
    Result<QList<Record>> records = readPartJson(part, *text, number);
    if (!records)
        return records.failure();
    if (Outcome failure = requireTemplate(session, number))
        return failure;
    QByteArray request;
    keystone::ByteWriter out(&request);
    out << number << qint32(records->size());
    for (const Record &record : *records)
        part.write(out, record);
    Result<bus::Action> reply = session.ask(part.saveCommand, request);
    if (!reply)
        return Session::unconfirmed(reply.failure());
    Result<QList<Record>> stored = fetchPart(session, part, number);
    if (!stored)
        return Session::unconfirmed(stored.failure());
    if (Outcome failure = comparePart(part, *records, *stored))
        return failure;
    session.confirm(
        QStringLiteral("template %1: %2 saved").arg(number).arg(counted(records->size(), part.one, part.many)));
    return std::nullopt;
}

} // namespace ctl
