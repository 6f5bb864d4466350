#include "bench/command_figures.h"

#include "bench/command_frames.h"
#include "keystone/records.h"
#include "records/record_rows.h"

#include <stdexcept>

namespace bench {

namespace {

constexpr int kConnection = 7;
constexpr int kManyObjects = 1000;
constexpr int kManySensors = 1000;
constexpr int kQuick = 20; ///< runs in a round of what takes less than a millisecond

// The service's own texts, with the placeholders that it sends.
constexpr const char *kSelectCard = R"( SELECT * FROM "Objects_property" where "Id_objects" = %0 order by "Id" )";
constexpr const char *kSelectSensors = R"(SELECT * FROM "Sensors" WHERE "Id_objects" = %0 order by "Id")";
constexpr const char *kDeleteSensors = R"(DELETE FROM "Sensors" where "Id_objects" = %0)";
constexpr const char *kDeleteByType = R"(DELETE FROM "Sensors" WHERE "Id_objects" IN (%1) AND "Type" = '%2')";
constexpr const char *kInsertSensor =
    R"(INSERT INTO "Sensors"  ( "Id_objects", "Name", "Measure", "Type", "Calculate",  "Vid", "Quality", "Enum", "Rate") VALUES ($1,$2,$3,$4,$5,$6,$7,$8,$9))";
constexpr const char *kCountCommands = R"(SELECT Count(*) as cnt FROM "Commands" WHERE "Id_object" = %0)";
constexpr const char *kSelectCommands =
    R"(SELECT cmd."Id" AS CmdId, cmd."Name" AS CmdName, cmd."Operation", cmd."Description" AS CmdDesc, cmd."ExecBy", cnt."NumParams", p."Name" as "ParamName", p."Description" as ParamDesc, p."Value", p."Id" AS ParamId, p."Type" FROM "Commands" cmd LEFT JOIN LATERAL (SELECT count(*) AS "NumParams" FROM "Params" WHERE "Id_command" = cmd."Id" HAVING count(*) > 0) cnt ON true LEFT JOIN (SELECT * FROM "Params") p ON p."Id_command" = cmd."Id" WHERE cmd."Id_object" = %0 ORDER BY cmd."Operation", CmdId, ParamId)";

// True where the sensors are those that were saved: the registry was filled with another measure.
constexpr const char *kManyAreSaved =
    R"(SELECT count(*) = %2 AND bool_and("Measure" = 'см') FROM "Sensors" WHERE "Id_objects" = %1)";
constexpr const char *kOneIsSetOnAll =
    R"(SELECT count(*) = %2 AND bool_and("Measure" = 'см') FROM "Sensors" WHERE "Id_objects" IN (%1) AND "Type" = 1)";

QByteArray filled(const char *text, const QString &objects)
{
    return QString::fromUtf8(text).arg(objects).toUtf8();
}

QByteArray filled(const char *text, const QString &objects, int number)
{
    return QString::fromUtf8(text).arg(objects, QString::number(number)).toUtf8();
}

/// As many bytes as the one of that number that the registry was filled with.
SensorInfoX sensor(int number)
{
    return {QStringLiteral("Датчик %1").arg(number, 4, 10, QLatin1Char('0')),
            QStringLiteral("см"),
            1,
            static_cast<qint16>(number),
            'a',
            {QStringLiteral("нет"), QStringLiteral("да")},
            QStringLiteral("x*0.1"),
            QByteArray::fromHex("0102030405060708")};
}

QString listText(const QList<qint32> &objects)
{
    QStringList texts;
    for (const qint32 object : objects)
        texts.append(QString::number(object));
    return texts.join(QLatin1Char(','));
}

/// From the oldest to the newest, evenly.
QList<qint32> spreadObjects(int objects)
{
    QList<qint32> spread;
    for (qint64 i = 0; i < kManyObjects; ++i)
        spread.append(static_cast<qint32>(1 + i * (objects - 1) / (kManyObjects - 1)));
    return spread;
}

/// Counts the records of a reply that name a row of `rows` (binary values) in its order; `column` in double quotes.
template <typename Record>
int recordsLikeRows(keystone::ByteReader &in, const Rows &rows, const char *column)
{
    const int name = PQfnumber(rows.get(), column);
    int same = 0;
    for (int row = 0; row < PQntuples(rows.get()); ++row) {
        Record record;
        in >> record;
        if (record.name.toUtf8() == QByteArray(PQgetvalue(rows.get(), row, name), PQgetlength(rows.get(), row, name)))
            ++same;
    }
    return same;
}

/// The commands with their parameters behind the reply's count, one row of `rows` for each parameter.
int parametersLikeRows(keystone::ByteReader &in, qint32 commands, const Rows &rows)
{
    const int name = PQfnumber(rows.get(), R"("ParamName")");
    int row = 0;
    for (qint32 i = 0; i < commands; ++i) {
        CmdDesc command;
        in >> command;
        for (qint32 parameter = 0; parameter < command.numParams; ++parameter, ++row) {
            ParamDesc record;
            in >> record;
            if (row >= PQntuples(rows.get()) || record.name != PQgetvalue(rows.get(), row, name))
                return 0;
        }
    }
    return row;
}

/// Refuses an answer that does not hold one record for each of `rows`.
void checkReply(const QByteArray &answer, const Rows &rows)
{
    const bus::Action action = answerIn(answer, kConnection);
    keystone::ByteReader in(action.data);
    qint32 object = 0;
    qint32 count = 0;
    in >> object >> count;
    int same = 0;
    if (action.action == "Get_command_desc_v2")
        same = parametersLikeRows(in, count, rows);
    else if (action.action == "Get_sensors_v2")
        same = recordsLikeRows<SensorInfoX>(in, rows, R"("Name")");
    else
        same = recordsLikeRows<CardsProperty>(in, rows, R"("Name")");
    if (same == 0 || same != PQntuples(rows.get()) || in.status() != QDataStream::Ok || !in.atEnd())
        throw std::runtime_error("the service's " + action.action.toStdString() + " is not what the database holds");
}

} // namespace

CommandFigures::CommandFigures(std::unique_ptr<Link> service, const std::string &database, int objects)
    : m_service(std::move(service))
    , m_database(database)
    , m_operations{readCard(objects),         readSensors(objects),
                   readCommands(1, "oldest"), readCommands(objects, "newest"),
                   saveSensors(objects / 2),  setSensor(spreadObjects(objects))}
{
    for (Operation &operation : m_operations)
        check(operation);
}

CommandFigures::Operation CommandFigures::readCard(int object)
{
    return {"Get_object_card_v2, 12 properties",
            kQuick,
            commandFrame(kConnection, "Get_object_card_v2", qint32(object)),
            1,
            {{filled(kSelectCard, QString::number(object)), {}}},
            {}};
}

CommandFigures::Operation CommandFigures::readSensors(int object)
{
    return {"Get_sensors_v2, 50 sensors",
            kQuick,
            commandFrame(kConnection, "Get_sensors_v2", qint32(object)),
            1,
            {{filled(kSelectSensors, QString::number(object)), {}}},
            {}};
}

CommandFigures::Operation CommandFigures::readCommands(int object, const char *which)
{
    const QString number = QString::number(object);
    return {std::string("Get_command_desc_v2, ") + which + " object",
            1,
            commandFrame(kConnection, "Get_command_desc_v2", qint32(object)),
            1,
            {{filled(kCountCommands, number), {}}, {filled(kSelectCommands, number), {}}},
            {}};
}

CommandFigures::Operation CommandFigures::saveSensors(int object)
{
    QList<SensorInfoX> sensors;
    std::vector<Statement> statements{{filled(kDeleteSensors, QString::number(object)), {}}};
    for (int number = 1; number <= kManySensors; ++number) {
        sensors.append(sensor(number));
        statements.push_back({kInsertSensor, records::bind(object, sensors.last())});
    }
    // A list streams as its length and its elements, which is the request's form.
    return {"Save_sensors_v2, 1000 sensors",
            1,
            commandFrame(kConnection, "Save_sensors_v2", qint32(object), sensors),
            1,
            std::move(statements),
            filled(kManyAreSaved, QString::number(object), kManySensors)};
}

CommandFigures::Operation CommandFigures::setSensor(const QList<qint32> &objects)
{
    const QString list = listText(objects);
    const SensorInfoX set = sensor(1);
    std::vector<Statement> statements{{filled(kDeleteByType, list, set.type), {}}};
    for (const qint32 object : objects)
        statements.push_back({kInsertSensor, records::bind(object, set)});
    return {"Fix_sensor_multi_objs_v2, 1000 objects",
            1,
            commandFrame(kConnection, "Fix_sensor_multi_objs_v2", true, objects, set),
            static_cast<int>(objects.size()),
            std::move(statements),
            filled(kOneIsSetOnAll, list, kManyObjects)};
}

void CommandFigures::check(Operation &operation)
{
    m_service->send(operation.request);
    const QByteArray answer = m_service->receive(operation.frames);
    operation.answerBytes = answer.size();
    if (operation.expected.isEmpty()) {
        const Statement &last = operation.statements.back();
        checkReply(answer, m_database.binary(last.text, last.values));
        return;
    }
    const Rows saved = m_database.text(operation.expected);
    if (qstrcmp(PQgetvalue(saved.get(), 0, 0), "t") != 0)
        throw std::runtime_error(operation.name + ": the database does not hold what was saved");
}

void CommandFigures::runBare(const Operation &operation)
{
    for (const Statement &statement : operation.statements)
        m_database.execute(statement.text, statement.values);
}

std::vector<Figure> CommandFigures::addFigures(Interleaved &measured)
{
    std::vector<Figure> figures;
    for (const Operation &operation : m_operations) {
        const auto subject = measured.add({operation.name, operation.runs, 1, [this, &operation](Stopwatch &) {
                                               m_service->send(operation.request);
                                               if (m_service->receive(operation.frames).size() != operation.answerBytes)
                                                   throw std::runtime_error(operation.name + ": another answer");
                                           }});
        const auto bare = measured.add(
            {"its statements alone", operation.runs, 1, [this, &operation](Stopwatch &) { runBare(operation); }});
        figures.push_back({subject, {bare}});
    }
    return figures;
}

void CommandFigures::tidy()
{
    (void)m_database.text(R"(VACUUM (INDEX_CLEANUP ON) "Sensors")");
}

} // namespace bench
