#include "change_stream.h"

#include "bytes.h"
#include "registry_bytes.h"

#include <QElapsedTimer>

namespace support {

namespace {

constexpr int kOperator = 4;
constexpr int kFirstObject = 100001; // far from those that the database numbers
constexpr int kObjects = 40;
constexpr int kKinds = 4;
constexpr int kVariants = 4; // types of sensors and names of commands

/// Every place with what stands in it: several rows in one place show as a list, which no model holds.
const QString kPlaces = QStringLiteral(
    R"(SELECT 'sensor ' || "Id_objects" || ' ' || "Type", string_agg("Name", ',') FROM "Sensors" GROUP BY 1
UNION ALL
SELECT 'command ' || c."Id_object" || ' ' || c."Name", string_agg(c."Description" || coalesce((SELECT ' with ' ||
    string_agg(convert_from(p."Value", 'UTF8'), ' with ') FROM "Params" p WHERE p."Id_command" = c."Id"), ''), ',')
    FROM "Commands" c GROUP BY 1
UNION ALL
SELECT 'field ' || "Id_objects", string_agg(convert_from("Value", 'UTF8'), ',') FROM "Objects_property"
    WHERE "Name" = 'p' GROUP BY 1
UNION ALL
SELECT 'object ' || o."Id", string_agg(p."Name" || '=' || convert_from(p."Value", 'UTF8'), ',' ORDER BY p."Id")
    FROM "Objects" o LEFT JOIN "Objects_property" p ON p."Id_objects" = o."Id" GROUP BY 1)");

/// The number in the notice, which the caller then holds against a notice of his own with it.
int announcedObject(const QByteArray &notice)
{
    constexpr qsizetype kNumberAt = 4 + 1 + 4 + 13 + 4 + 9 + 4;
    bool isNumber = false;
    const int number = notice.mid(kNumberAt, 4).toHex().toInt(&isNumber, 16);
    return isNumber ? number : -1;
}

} // namespace

ChangeStream::ChangeStream(AdminPeer &admin, quint32 seed)
    : m_admin(admin)
    , m_generator(seed)
{
    for (int i = 0; i < kObjects; ++i)
        note(QStringLiteral("field %1").arg(kFirstObject + i), "first", true);
}

void ChangeStream::prepare(TestDatabase &database)
{
    database.run(QStringLiteral("INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\",\"Type\",\"Value\") SELECT "
                                "%1 + i, 'p', 10, 'first' FROM generate_series(0, %2) AS i")
                     .arg(kFirstObject)
                     .arg(kObjects - 1));
}

QString ChangeStream::next(std::optional<Kind> kind)
{
    ++m_changes;
    m_lastWasAnnounced = false;
    const Kind chosen = kind ? *kind : static_cast<Kind>(random(kKinds));
    QString wrong;
    if (chosen == Kind::NewObject)
        wrong = createObject();
    else if (chosen == Kind::Field)
        wrong = changeField();
    else
        wrong = changeOnMany(chosen);
    if (!m_lastWasAnnounced)
        ++m_unannounced;
    return wrong;
}

QList<int> ChangeStream::someObjects()
{
    const quint32 first = random(kObjects);
    const quint32 count = 1 + random(kObjects / 2);
    QList<int> objects;
    for (quint32 i = 0; i < count; ++i)
        objects.append(kFirstObject + int((first + i) % kObjects));
    return objects;
}

QByteArrayList ChangeStream::send(const QByteArray &command, QString &wrong)
{
    QElapsedTimer clock;
    clock.start();
    m_admin.send(command);
    QByteArrayList said;
    QByteArray frame = m_admin.frameAfterAbout();
    while (!frame.isEmpty() && !isAbout(frame, m_admin.lastCaller())) {
        said.append(frame);
        frame = m_admin.nextFrame();
    }
    m_longestMs = std::max(m_longestMs, clock.elapsed());
    if (frame.isEmpty())
        wrong = "\"About\" was not answered";
    return said;
}

QString ChangeStream::changeOnMany(Kind kind)
{
    const QList<int> objects = someObjects();
    const int variant = 1 + int(random(kVariants));
    const QString value = QStringLiteral("n%1").arg(m_changes);
    const bool isSensor = kind == Kind::Sensor;
    const QByteArray record =
        isSensor ? sensorRecord({.name = value, .type = variant})
                 : commandRecord({.name = QStringLiteral("c%1").arg(variant), .description = value, .numParams = 1}) +
                       parameterRecord({.name = "q", .value = value.toUtf8()});
    QString wrong;
    const QByteArrayList said = send(command(isSensor ? "Fix_sensor_multi_objs_v2" : "Fix_cmd_desc_multi_objs_v2",
                                             i8(1) + numbers(objects) + record, kOperator),
                                     wrong);
    for (qsizetype i = 0; i < objects.size(); ++i) {
        const bool isKnown = i < said.size();
        if (isKnown && said[i] != savedCard(objects[i]))
            return "not the notice of the next object: " + describe(said[i]);
        const QString place = (isSensor ? QStringLiteral("sensor %1 %2") : QStringLiteral("command %1 c%2"))
                                  .arg(QString::number(objects[i]), QString::number(variant));
        note(place, isSensor ? value : value + " with " + value, isKnown);
        if (!isKnown && !isSensor)
            note(place, value, false);
        m_announced += isKnown ? 1 : 0;
    }
    m_lastWasAnnounced = said.size() == objects.size();
    m_cut += said.isEmpty() || m_lastWasAnnounced ? 0 : 1;
    return said.size() > objects.size() ? "more notices than objects" : wrong;
}

QString ChangeStream::createObject()
{
    const QString value = QStringLiteral("n%1").arg(m_changes);
    QString wrong;
    const QByteArrayList said =
        send(command("Create_obj_by_template_v2",
                     i32(0) + i32(2) + text("modem") + text(value) + text("name") + text(value), kOperator),
             wrong);
    const auto answered = [](int code) { return answer("Create_obj_by_template_v2", i32(code), kOperator); };
    if (said == QByteArrayList{answered(2)} || !wrong.isEmpty())
        return wrong;
    const int object = announcedObject(said.value(1));
    if (said != QByteArrayList{answered(0), savedCard(object)})
        return "neither done and announced nor failed: " + describe(said.value(0)) + ", " + describe(said.value(1));
    note(QStringLiteral("object %1").arg(object), QStringLiteral("name=%1,modem=%1").arg(value), true);
    ++m_announced;
    m_lastWasAnnounced = true;
    return {};
}

QString ChangeStream::changeField()
{
    const int object = kFirstObject + int(random(kObjects));
    const QString place = QStringLiteral("field %1").arg(object);
    const QString value = QStringLiteral("n%1").arg(m_changes);
    QString wrong;
    const QByteArrayList said =
        send(command("Update_object_card_field",
                     i32(object) + i32(1) + i32(1) + cardRecord({-1, "p", "", 10, value.toUtf8(), 't'}), kOperator),
             wrong);
    m_model[place].insert(value);
    m_fields[place] = value;
    m_lastWasAnnounced = true;
    return said == QByteArrayList{savedCard(object)} ? wrong : "a field was not announced once";
}

void ChangeStream::note(const QString &place, const QString &value, bool isKnown)
{
    if (isKnown) {
        m_model[place] = {value};
        return;
    }
    // The change may have failed before, between or after its statements.
    QSet<QString> &possible = m_model[place];
    possible += {QString(""), value};
}

QStringList ChangeStream::differences(TestDatabase &database)
{
    QHash<QString, QString> found;
    for (const QString &row : database.rows(kPlaces))
        found.insert(row.section('|', 0, 0), row.section('|', 1));
    QStringList result;
    for (auto place = m_model.begin(); place != m_model.end(); ++place) {
        const QString value = found.take(place.key());
        if (!place->contains(value.isNull() ? QString("") : value))
            result += QStringLiteral("%1 holds \"%2\" instead of \"%3\"")
                          .arg(place.key(), value, QStringList(place->values()).join("\" or \""));
        const QString field = m_fields.value(place.key());
        if (!field.isEmpty() && field != value)
            m_lostFields += QStringLiteral("%1: %2 was announced, %3 is there").arg(place.key(), field, value);
        *place = {value.isNull() ? QString("") : value};
    }
    m_fields.clear();
    // An object whose creation was not announced may be there, whole or not; nothing else may.
    for (auto place = found.cbegin(); place != found.cend(); ++place) {
        if (!place.key().startsWith("object "))
            result += place.key() + " is there and was never sent";
    }
    return result;
}

} // namespace support
