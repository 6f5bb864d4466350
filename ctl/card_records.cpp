#include "ctl/card_records.h"

#include "ctl/json_text.h"
#include "ctl/packed_values.h"
#include "ctl/same_values.h"
#include "ctl/table.h"
#include "ctl/text.h"
#include "keystone/byte_reader.h"
#include "keystone/byte_writer.h"

namespace ctl {
namespace {

/// 't', 'f' or 0: what the database makes of a flag's character. Nothing for a character that it refuses.
std::optional<qint16> truthOf(qint16 flag)
{
    if (flag == 0)
        return 'f';
    if (flag < 0 || flag > 'z')
        return std::nullopt;
    switch (flag) {
    case 't':
    case 'T':
    case 'y':
    case 'Y':
    case '1':
        return 't';
    case 'f':
    case 'F':
    case 'n':
    case 'N':
    case '0':
        return 'f';
    default:
        return std::nullopt;
    }
}

QString visibleForPeople(qint16 flag)
{
    if (flag == 't')
        return QStringLiteral("yes");
    if (flag == 'f')
        return QStringLiteral("no");
    return jsonFlag(flag);
}

} // namespace

Result<Card> decodeCard(const QByteArray &reply, qint32 object)
{
    const auto broken = [](const QString &what) {
        return Failure{QStringLiteral("the service's answer cannot be read: ") + what};
    };
    keystone::ByteReader in(reply);
    qint32 answered = 0;
    qint32 count = 0;
    in >> answered >> count;
    if (!in.ok())
        return broken(QStringLiteral("it has only %1 bytes").arg(reply.size()));
    if (answered != object)
        return broken(QStringLiteral("it is about object %1, not %2").arg(answered).arg(object));
    if (count < 0 || !keystone::mayHold(in, quint32(count), kSmallestProperty)) {
        return broken(QStringLiteral("it promises %1 properties in %2 bytes").arg(count).arg(in.bytesLeft()));
    }
    Card card;
    for (qint32 index = 0; index < count; ++index) {
        CardsProperty property;
        in >> property;
        if (!in.ok())
            return broken(QStringLiteral("it ends within property %1 of %2").arg(index + 1).arg(count));
        card.append(property);
    }
    if (!in.atEnd())
        return broken(QStringLiteral("%1 bytes are left after its last property").arg(in.bytesLeft()));
    return card;
}

Result<Card> fetchCard(Session &session, qint32 object)
{
    QByteArray request;
    keystone::ByteWriter(&request) << object;
    Result<bus::Action> reply = session.ask("Get_object_card_v2", request);
    if (!reply)
        return reply.failure();
    return decodeCard(reply->data, object);
}

QString valueForPeople(const QString &propertyName, const QByteArray &value)
{
    if (propertyName == u"pic") {
        if (const auto picture = pictureForPeople(value))
            return *picture;
    }
    if (propertyName == u"font_color" || propertyName == u"background_color") {
        if (const auto colour = colourForPeople(value))
            return *colour;
    }
    return bytesForPeople(value);
}

QString cardTable(const Card &card)
{
    Table table({QStringLiteral("id"), QStringLiteral("name"), QStringLiteral("description"), QStringLiteral("type"),
                 QStringLiteral("visible"), QStringLiteral("value")});
    for (const CardsProperty &property : card) {
        table.addRow({QString::number(property.id), textForPeople(property.name), textForPeople(property.description),
                      QString::number(property.type), visibleForPeople(property.visible),
                      valueForPeople(property.name, property.value)});
    }
    return table.text();
}

QString propertyJson(const CardsProperty &property)
{
    return jsonObject({{QStringLiteral("id"), QString::number(property.id)},
                       {QStringLiteral("name"), jsonText(property.name)},
                       {QStringLiteral("description"), jsonText(property.description)},
                       {QStringLiteral("type"), QString::number(property.type)},
                       {QStringLiteral("value"), jsonBytes(property.value)},
                       {QStringLiteral("visible"), jsonFlag(property.visible)}});
}

QString propertiesJson(const Card &card)
{
    QStringList properties;
    for (const CardsProperty &property : card)
        properties.append(propertyJson(property));
    return jsonLines(properties);
}

QString cardJson(qint32 object, const Card &card)
{
    return jsonObject(
        {{QStringLiteral("object"), QString::number(object)}, {QStringLiteral("card"), propertiesJson(card)}});
}

CardsProperty readProperty(JsonFields &fields)
{
    CardsProperty property;
    if (const QString id = QStringLiteral("id"); fields.has(id))
        property.id = fields.int32(id);
    property.name = fields.text(QStringLiteral("name"));
    property.description = fields.text(QStringLiteral("description"));
    property.type = fields.int32(QStringLiteral("type"));
    property.value = fields.bytes(QStringLiteral("value"));
    property.visible = fields.flag(QStringLiteral("visible"));
    return property;
}

Result<Card> readCardJson(const QByteArray &text, qint32 object)
{
    Result<QJsonObject> document = parseJsonObject(text);
    if (!document)
        return document.failure();
    JsonProblem problem;
    JsonFields fields(*document, QString(), problem);
    fields.expectObject(object, "card");
    const QString cardField = QStringLiteral("card");
    const QJsonArray properties = fields.array(cardField);
    Card card;
    for (qsizetype index = 0; index < properties.size() && !problem.found(); ++index) {
        JsonFields row(properties[index], fields.elementPath(cardField, index), problem);
        card.append(readProperty(row));
        row.refuseOthers();
    }
    fields.refuseOthers();
    if (problem.found())
        return *problem.failure();
    return card;
}

bool isStored(const CardsProperty &sent, const CardsProperty &stored)
{
    return sameText(sent.name, stored.name) && sameText(sent.description, stored.description) &&
           sent.type == stored.type && sameBytes(sent.value, stored.value) &&
           (sent.visible == stored.visible ||
            (truthOf(sent.visible) && truthOf(sent.visible) == truthOf(stored.visible)));
}

} // namespace ctl
