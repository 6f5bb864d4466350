#include "bench/template_operations.h"

#include "bench/command_frames.h"
#include "records/record_rows.h"

#include <QMap>
#include <QString>
#include <QUuid>

#include <iterator>

namespace bench {

using database::Value;
using Row = TemplateStatement::Row;

namespace {

constexpr qint32 kTemplate = 1;
constexpr qint32 kOwnerToCome = 0;
constexpr qint32 kTextType = 10;

const QString kTitleOfCopy = QStringLiteral("Копия шаблона");
const QString kName = QStringLiteral("Машина из шаблона");
const QString kSubdivision = QStringLiteral("Участок 1");
const QString kModem = QStringLiteral("8000123");

// The service's own texts, with the placeholders that it sends.
constexpr const char *kCountTwins =
    R"(select count(a."Id_objects") from "Objects_property"  a, "Objects_property"  b WHERE (a."Name"='subdivision' AND a."Value"=$1) and (b."Name"='modem' AND b."Value"=$2) and a."Id_objects" = b."Id_objects" )";
constexpr const char *kInsertObject =
    R"(INSERT INTO "Objects" ("Id", "Id_owner", "Id_shema_sensors", "guid") VALUES (DEFAULT, 0, 1, $1) RETURNING "Id";)";
constexpr const char *kInsertProperty =
    R"(INSERT INTO "Objects_property" ("Id_objects","Name","Description","Type","Value","Visible") VALUES ($1,$2,$3,$4,$5,$6))";
constexpr const char *kInsertSensor =
    R"(INSERT INTO "Sensors"  ( "Id_objects", "Name", "Measure", "Type", "Calculate",  "Vid", "Quality", "Enum", "Rate") VALUES ($1,$2,$3,$4,$5,$6,$7,$8,$9))";
constexpr const char *kInsertCommand =
    R"(INSERT INTO "Commands"("Id", "Id_object", "Name", "Operation", "Description", "ExecBy") VALUES (DEFAULT, $1, $2, $3, $4, $5) RETURNING "Id";)";
constexpr const char *kInsertParameter =
    R"(INSERT INTO "Params"("Id_command", "Name", "Description", "Value", "Type") VALUES ($1, $2, $3, $4, $5))";
constexpr const char *kSelectCard =
    R"(SELECT "Name", "Description", "SpecificData", "Id" FROM "%0" WHERE "Owner" = %1 AND "Class"='p' AND "Name" NOT IN ('name', 'subdivision', 'modem') ORDER BY "Id" )";
constexpr const char *kSelectSensors =
    R"(SELECT "Name", "Description", "SpecificData", "Id" FROM "%0" WHERE "Owner" = %1 AND "Class"='s' ORDER BY "Id" )";
constexpr const char *kCountCommands = R"(SELECT COUNT(*) FROM "%0" WHERE "Owner" = %1 AND "Class" = 'c' ;)";
constexpr const char *kSelectControls =
    R"(SELECT cmd."Id" AS CmdId, cmd."Name" AS CmdName, cmd."Description" AS CmdDesc, cmd."SpecificData" AS CmdData , cnt."NumParams" , p."Name" as ParamName, p."Description" as ParamDesc, p."Id" AS ParamId, p."SpecificData" AS ParamData FROM "%0" cmd LEFT JOIN (SELECT "Owner", COUNT(*) AS "NumParams" FROM "%0" WHERE "Class" = 'd' GROUP BY "Owner") cnt ON cnt."Owner" = cmd."Id" LEFT JOIN (SELECT * FROM "%0" WHERE "Class" = 'd') p ON p."Owner" = cmd."Id" WHERE cmd."Class" = 'c' AND cmd."Owner" = %1 ORDER BY CmdId, ParamId )";
constexpr const char *kInsertHeadOfCopy =
    R"(INSERT INTO "Templates" ("Id", "Owner", "Class", "Description") VALUES (DEFAULT, (select coalesce(max("Owner"), 0)+1 from "Templates" where "Class"='t'), 't', $1) RETURNING "Owner"; )";
constexpr const char *kInsertTemplateProperty =
    R"(INSERT INTO "Templates" ("Owner","Class","Name","Description","SpecificData") VALUES ($1,'p',$2,$3,$4))";
constexpr const char *kInsertTemplateSensor =
    R"(INSERT INTO "Templates" ("Owner","Class","Name","Description","SpecificData") VALUES ($1,'s',$2,$3,$4))";
constexpr const char *kInsertTemplateCommand =
    R"(INSERT INTO "Templates"("Id", "Owner", "Class", "Name", "Description", "SpecificData") VALUES (DEFAULT, $1, 'c', $2, $3, $4) RETURNING "Id"; )";
constexpr const char *kInsertTemplateParameter =
    R"(INSERT INTO "Templates"("Owner", "Class", "Name", "Description", "SpecificData" ) VALUES ($1, 'd', $2, $3, $4) )";

// What was made, without the numbers of its rows: the objects beyond %1, the templates beyond the first.
constexpr const char *kObjectContents = R"(SELECT concat_ws(E'\n',
  (SELECT string_agg(concat_ws('|', "Name", "Description", "Type", "Value", "Visible"), E'\n' ORDER BY "Id") FROM "Objects_property" WHERE "Id_objects" > %0),
  (SELECT string_agg(concat_ws('|', "Name", "Measure", "Type", "Calculate", "Vid", "Quality", "Enum", "Rate"), E'\n' ORDER BY "Id") FROM "Sensors" WHERE "Id_objects" > %0),
  (SELECT string_agg(concat_ws('|', c."Name", c."Operation", c."Description", c."ExecBy", p."Name", p."Description", p."Value", p."Type"), E'\n' ORDER BY c."Id", p."Id") FROM "Commands" c LEFT JOIN "Params" p ON p."Id_command" = c."Id" WHERE c."Id_object" > %0)))";
constexpr const char *kCopyContents =
    R"(SELECT string_agg(concat_ws('|', whole."Class", whole."Name", whole."Description", whole."SpecificData", part."Class", part."Name", part."Description", part."SpecificData"), E'\n' ORDER BY whole."Id", part."Id") FROM "Templates" whole LEFT JOIN "Templates" part ON part."Owner" = whole."Id" AND part."Class" = 'd' AND whole."Class" = 'c' WHERE whole."Owner" > 1 AND whole."Class" <> 'd')";

constexpr const char *kRemoveObject[] = {
    R"(DELETE FROM "Params" WHERE "Id_command" IN (SELECT "Id" FROM "Commands" WHERE "Id_object" > %0))",
    R"(DELETE FROM "Commands" WHERE "Id_object" > %0)",
    R"(DELETE FROM "Sensors" WHERE "Id_objects" > %0)",
    R"(DELETE FROM "Objects_property" WHERE "Id_objects" > %0)",
    R"(DELETE FROM "Objects" WHERE "Id" > %0)",
};
constexpr const char *kRemoveCopy[] = {
    R"(DELETE FROM "Templates" WHERE "Class" = 'd' AND "Owner" IN (SELECT "Id" FROM "Templates" WHERE "Class" = 'c' AND "Owner" > 1))",
    R"(DELETE FROM "Templates" WHERE "Class" <> 'd' AND "Owner" > 1)",
};

QByteArray filled(const char *text, const QString &number)
{
    return QString::fromUtf8(text).arg(number).toUtf8();
}

/// A reading of the template's rows.
TemplateStatement reading(const char *text)
{
    return {QString::fromUtf8(text).arg(QStringLiteral("Templates"), QString::number(kTemplate)).toUtf8(), {}};
}

template <typename Record>
TemplateStatement objectRow(const char *text, const Record &record)
{
    return {text, records::bind(kOwnerToCome, record), Row::Whole};
}

/// Rows of a template: their names and captions are columns, all else is packed.
template <typename Record>
TemplateStatement templateRow(const char *text, const QString &name, const QString &description, const Record &record)
{
    return {text,
            {Value::integer(kOwnerToCome), Value::text(name), Value::text(description),
             Value::bytes(records::pack(record))},
            Row::Whole};
}

/// An object's own three properties.
TemplateStatement identityRow(const char *name, const char *caption, const QString &value)
{
    return objectRow(kInsertProperty, CardsProperty{-1, QString::fromUtf8(name), QString::fromUtf8(caption), kTextType,
                                                    value.toUtf8(), 't'});
}

void addObjectRows(std::vector<TemplateStatement> &statements, const MeasuredTemplate &measured)
{
    statements.push_back(reading(kSelectCard));
    for (const CardsProperty &property : measured.card)
        statements.push_back(objectRow(kInsertProperty, property));
    statements.push_back(reading(kSelectSensors));
    for (const SensorInfoX &sensor : measured.sensors)
        statements.push_back(objectRow(kInsertSensor, sensor));
    statements.push_back(reading(kCountCommands));
    statements.push_back(reading(kSelectControls));
    for (const Control &control : measured.controls) {
        statements.push_back(objectRow(kInsertCommand, control.command));
        statements.back().gives = Row::Command;
        for (const ParamDesc &parameter : control.parameters)
            statements.push_back({kInsertParameter, records::bind(kOwnerToCome, parameter), Row::Command});
    }
}

void addTemplateRows(std::vector<TemplateStatement> &statements, const MeasuredTemplate &measured)
{
    statements.push_back(reading(kSelectCard));
    for (const CardsProperty &property : measured.card)
        statements.push_back(templateRow(kInsertTemplateProperty, property.name, property.description, property));
    statements.push_back(reading(kSelectSensors));
    for (const SensorInfoX &sensor : measured.sensors)
        statements.push_back(templateRow(kInsertTemplateSensor, QStringLiteral(""), sensor.name, sensor));
    statements.push_back(reading(kCountCommands));
    statements.push_back(reading(kSelectControls));
    for (const auto &[command, parameters] : measured.controls) {
        statements.push_back(templateRow(kInsertTemplateCommand, command.name, command.description, command));
        statements.back().gives = Row::Command;
        for (const ParamDesc &parameter : parameters) {
            statements.push_back(templateRow(kInsertTemplateParameter, QString::fromUtf8(parameter.name),
                                             parameter.description, parameter));
            statements.back().owner = Row::Command;
        }
    }
}

int rowsOf(const MeasuredTemplate &measured)
{
    qsizetype rows = measured.card.size() + measured.sensors.size();
    for (const Control &control : measured.controls)
        rows += 1 + control.parameters.size();
    return static_cast<int>(rows);
}

} // namespace

std::vector<QByteArray> templateRequests(const MeasuredTemplate &measured)
{
    const auto save = [](const char *command, const auto &records) {
        return commandFrame(kTemplateCaller, command, kTemplate, records);
    };
    return {commandFrame(kTemplateCaller, "Fix_template_desc_v2", qint32(0), QByteArray("Шаблон")),
            save("Save_template_card_v2", measured.card), save("Save_template_sensors_v2", measured.sensors),
            save("Save_template_controls_v2", measured.controls)};
}

TemplateOperation objectFromTemplate(const MeasuredTemplate &measured, int lastObject)
{
    constexpr int kOwnRows = 4; // the object and its identity
    const QMap<QString, QString> identity{{QStringLiteral("name"), kName},
                                          {QStringLiteral("subdivision"), kSubdivision},
                                          {QStringLiteral("modem"), kModem}};
    const QString last = QString::number(lastObject);
    TemplateOperation operation;
    operation.name = "Create_obj_by_template_v2";
    operation.request = commandFrame(kTemplateCaller, "Create_obj_by_template_v2", kTemplate, identity);
    operation.frames = 2;
    operation.statements = {
        {kCountTwins, {Value::bytes(kSubdivision.toUtf8()), Value::bytes(kModem.toUtf8())}},
        {kInsertObject, {Value::text(QUuid::createUuid().toString())}, Row::None, Row::Whole},
        identityRow("name", "Наименование объекта", kName),
        identityRow("subdivision", "Подразделение", kSubdivision),
        identityRow("modem", "Идентификационный номер навигационного блока", kModem),
    };
    addObjectRows(operation.statements, measured);
    operation.contents = filled(kObjectContents, last);
    for (const char *text : kRemoveObject)
        operation.removal.push_back(filled(text, last));
    operation.rows = kOwnRows + rowsOf(measured);
    return operation;
}

TemplateOperation copyOfTemplate(const MeasuredTemplate &measured)
{
    constexpr int kOwnRows = 1; // the head
    TemplateOperation operation;
    operation.name = "Copy_template_v2";
    operation.request = commandFrame(kTemplateCaller, "Copy_template_v2", kTemplate, kTitleOfCopy);
    operation.statements = {{kInsertHeadOfCopy, {Value::text(kTitleOfCopy)}, Row::None, Row::Whole}};
    addTemplateRows(operation.statements, measured);
    operation.contents = kCopyContents;
    operation.removal.assign(std::begin(kRemoveCopy), std::end(kRemoveCopy));
    operation.rows = kOwnRows + rowsOf(measured);
    return operation;
}

} // namespace bench
