// Commands that read their rows by a statement which asks for less than the one that says what they give. Both are run
// on the same data, and must give the same in the same order.

#include "access/access_commands.h"
#include "access/working_adm_commands.h"
#include "bus/frame.h"
#include "bytes.h"
#include "keystone/byte_reader.h"
#include "keystone/byte_writer.h"
#include "keystone/records.h"
#include "pg_server.h"
#include "registry/dispatcher.h"
#include "registry/registry_commands.h"
#include "templates/template_commands.h"

#include <QTest>

#include <functional>

using namespace support;

namespace {

const QString kCommands =
    R"(SELECT cmd."Id" AS CmdId, cmd."Name" AS CmdName, cmd."Operation", cmd."Description" AS CmdDesc, cmd."ExecBy", cnt."NumParams", p."Name" as "ParamName", p."Description" as ParamDesc, p."Value", p."Id" AS ParamId, p."Type" FROM "Commands" cmd LEFT JOIN (SELECT "Id_command", count(*) AS "NumParams" FROM "Params" group by "Id_command") cnt ON cnt."Id_command" = cmd."Id" LEFT JOIN (SELECT * FROM "Params") p ON p."Id_command" = cmd."Id" WHERE cmd."Id_object" = %0 ORDER BY cmd."Operation", CmdId, ParamId)";
const QString kAllowed =
    R"(SELECT cmd."Name", cmd."Operation", cmd."Description", cmd."ExecBy", cmd."Id", p."NumParams" FROM "Person_Setup" perm , "Commands" cmd LEFT JOIN (select "Id_command", count(*) AS "NumParams" from "Params" group by "Id_command") p ON p."Id_command" = cmd."Id" where cmd."Id_object" = %0 and perm."Id_object" = cmd."Id_object" and perm."Id_connect" = %1 and perm."Id_PersProp" = %2 and cmd."Operation" = %3 ORDER BY cmd."Operation" )";
const QString kSetup =
    R"(SELECT a."Id", ARRAY(SELECT "Id_PersProp" FROM "Person_Setup" WHERE "Type" = %0 AND "Id_connect" = %1 AND "Id_object" = a."Id" ORDER BY "Id_PersProp") FROM (select 0 as "Id" union select "Id" from "%2" order by "Id") a )";
const QString kControls =
    R"(SELECT cmd."Id" AS CmdId, cmd."Name" AS CmdName, cmd."Description" AS CmdDesc, cmd."SpecificData" AS CmdData , cnt."NumParams" , p."Name" as ParamName, p."Description" as ParamDesc, p."Id" AS ParamId, p."SpecificData" AS ParamData FROM "%0" cmd LEFT JOIN (SELECT "Owner", COUNT(*) AS "NumParams" FROM "%0" WHERE "Class" = 'd' GROUP BY "Owner") cnt ON cnt."Owner" = cmd."Id" LEFT JOIN (SELECT * FROM "%0" WHERE "Class" = 'd') p ON p."Owner" = cmd."Id" WHERE cmd."Class" = 'c' AND cmd."Owner" = %1 ORDER BY CmdId, ParamId )";

constexpr int kOperator = 4;

const char *const kData = R"(
    insert into "Objects" ("Id") values (17), (3), (-2), (18);
    insert into "OpChk_Layers" ("Id") values (9), (1), (0);
    insert into "Commands" ("Id", "Id_object", "Name", "Operation", "Description", "ExecBy") values
        (30, 17, 'c', 2, 'third', 'x'), (10, 17, 'a', 2, null, null), (20, 17, 'a', 2, '', ''), (40, 17, null, null, 'n', 'y'),
        (15, 17, 'first', 1, 'd', 'z'), (16, 17, 'first', 1, 'd', 'z'), (50, 18, 'other', 2, 'd', 'z'), (60, null, 'none', 2, 'd', 'z');
    insert into "Params" ("Id", "Id_command", "Name", "Description", "Value", "Type") values
        (5, 30, 'p', 'later', '1', 1), (4, 30, 'p', 'earlier', '1', 1), (6, 10, null, null, null, null), (7, 10, '', '', '', 0),
        (8, 40, 'q', 'd', 'v', 2), (9, 999, 'stray', 'd', 'v', 2), (1, null, 'nobody', 'd', 'v', 2), (11, 50, 'r', 'd', 'v', 3);
    insert into "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp") values
        (1, 4, 17, 202), (3, 4, 17, 202), (1, 4, 17, 202), (1, 4, 17, 201), (1, 4, 17, null), (1, 4, 0, 211), (1, 4, null, 5),
        (2, 4, 9, 64), (2, 4, 1, 65), (2, 4, 9, 13), (4, 4, 3, 212), (4, 5, 3, 211), (null, 4, 17, 1), (1, 4, 99, 8), (1, 4, -2, 7);
    insert into "Templates" ("Id", "Owner", "Class", "Name", "Description", "SpecificData") values
        (1, 17, 't', null, 'head', null), (2, 17, 'p', 'c', 'property', ''), (3, 17, 's', 'c', 'sensor', ''),
        (30, 17, 'c', 'c', 'third', '\x000000020000000178'), (10, 17, 'c', 'a', null, null),
        (20, 17, 'c', 'a', '', '\x00000003'), (40, 17, 'c', null, 'n', '\x000000040000000179'),
        (50, 18, 'c', 'other', 'd', ''), (60, null, 'c', 'none', 'd', ''), (70, 17, null, 'no class', 'd', ''),
        (5, 30, 'd', 'p', 'later', '\x000000013100000007'), (4, 30, 'd', 'p', 'earlier', '\x000000013100000008'),
        (6, 10, 'd', null, null, null), (7, 10, 'd', '', '', '\x'), (8, 40, 'd', 'q', 'd', '\x000000013200000009'),
        (9, 999, 'd', 'stray', 'd', ''), (11, null, 'd', 'nobody', 'd', ''), (12, 50, 'd', 'r', 'd', ''),
        (13, 20, 'p', 'of another class', 'd', ''), (14, 30, null, 'no class', 'd', '');
    insert into "TemplatesFirm" ("Id", "Owner", "Class", "Name", "Description", "SpecificData")
        select "Id" + 1000, "Owner" + case "Class" when 'd' then 1000 else 2 end, "Class", 'firm ' || "Name", "Description",
               "SpecificData"
        from "Templates" where "Id" not in (5, 10))";

/// Keeps the data of the last answer.
class Outside : public registry::Announcer
{
public:
    QByteArray answer;

    void sendAnswer(const QByteArray &frame) override
    {
        answer = std::get<bus::Action>(bus::decode(frame.sliced(sizeof(qint32)))).data;
    }
    void sendAction(const QByteArray &, const QByteArray &, const QByteArray &, const QColor &, int) override {}
    void writeToLog(const QByteArray &, quint8) override {}
    void stop(int) override {}
};

/// As the database writes bytes; those that are missing are nothing.
QString shown(const QByteArray &bytes)
{
    return bytes.isNull() ? QString() : "\\x" + QString::fromLatin1(bytes.toHex());
}

} // namespace

class TestEqualStatements : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestDatabase> m_database;
    database::Connection m_connection;
    Outside m_outside;
    registry::Dispatcher m_dispatcher{
        {operators::operatorCommands(), registry::registryCommands(), templates::templateCommands()},
        m_connection,
        m_outside};

    QByteArray answer(const QByteArray &command, const QByteArray &request)
    {
        m_outside.answer.clear();
        m_dispatcher.dispatch(command, request, kOperator);
        return m_outside.answer;
    }

    /// Walks the commands of a reply with their parameters, as `told` and `toldParameter` put them; the first line is
    /// the number that the reply is about, an incomplete reply ends with a line that says so.
    static QStringList walk(const QByteArray &reply, const std::function<QStringList(const CmdDesc &)> &told,
                            const std::function<QStringList(const ParamDesc &)> &toldParameter)
    {
        keystone::ByteReader in(reply);
        qint32 subject = 0;
        qint32 commands = 0;
        in >> subject >> commands;
        QStringList lines{QString::number(subject)};
        for (; commands > 0 && in.ok(); --commands) {
            CmdDesc command;
            in >> command;
            lines.append(told(command).join('|'));
            for (int i = 0; i < command.numParams && in.ok(); ++i) {
                ParamDesc parameter;
                in >> parameter;
                lines.append("  " + toldParameter(parameter).join('|'));
            }
        }
        if (!in.atEnd() || !in.ok())
            lines.append("incomplete");
        return lines;
    }

    /// NULL and what the reply shows instead of it.
    static QString orElse(const QString &column, const QString &instead) { return column == "NULL" ? instead : column; }

private slots:
    void initTestCase()
    {
        m_database = PgServer::shared().cloneDatabase();
        m_database->run(QString::fromUtf8(kData));
        PgServer::shared().addConnection("tested", m_database->name(), "objects_service");
        m_connection.setName("tested");
    }

    void cleanupTestCase() { QSqlDatabase::removeDatabase("tested"); }

    void readsTheSameCommands_data()
    {
        QTest::addColumn<int>("object");
        for (const int object : {17, 18, 3, 0, -1})
            QTest::newRow(qPrintable(QString::number(object))) << object;
    }

    void readsTheSameCommands()
    {
        QFETCH(int, object);
        QStringList expected;
        QString previous;
        for (const QString &row : m_database->rows(kCommands.arg(object))) {
            const QStringList column = row.split('|');
            const QString count = orElse(column[5], "0");
            if (column[0] != previous) {
                expected.append(QStringList{orElse(column[1], ""), orElse(column[2], "0"), orElse(column[3], ""),
                                            orElse(column[4], ""), count}
                                    .join('|'));
            }
            previous = column[0];
            if (count != "0") {
                expected.append(QStringList{"  " + orElse(column[6], ""), orElse(column[7], ""), orElse(column[8], ""),
                                            column[9], orElse(column[10], "0")}
                                    .join('|'));
            }
        }

        const QStringList read = walk(
            answer("Get_command_desc_v2", i32(object)),
            [](const CmdDesc &command) {
                return QStringList{command.name, QString::number(command.operation), command.description,
                                   shown(command.execBy), QString::number(command.numParams)};
            },
            [](const ParamDesc &parameter) {
                return QStringList{QString::fromUtf8(parameter.name), parameter.description, shown(parameter.value),
                                   QString::number(parameter.id), QString::number(parameter.type)};
            });
        QCOMPARE(read, QStringList(QString::number(object)) + expected);
        QCOMPARE(expected.isEmpty(), object != 17 && object != 18);
    }

    void readsTheSameControls_data()
    {
        QTest::addColumn<int>("number");
        for (const int number : {17, 18, -19, -20, 999, 0, -1})
            QTest::newRow(qPrintable(QString::number(number))) << number;
    }

    void readsTheSameControls()
    {
        QFETCH(int, number);
        const QString table = number < 0 ? "TemplatesFirm" : "Templates";
        // Bytes that a row lacks are read as zero, which is a number and an empty value.
        const auto whole = [](const QString &data) { return orElse(data, "\\x").leftJustified(18, '0'); };
        QStringList expected;
        QString previous;
        for (const QString &row : m_database->rows(kControls.arg(table).arg(qAbs(number)))) {
            const QStringList column = row.split('|');
            const QString count = orElse(column[4], "0");
            if (column[0] != previous) {
                expected.append(
                    QStringList{column[0], orElse(column[1], ""), orElse(column[2], ""), whole(column[3]), count}.join(
                        '|'));
            }
            previous = column[0];
            if (count != "0") {
                expected.append(
                    QStringList{"  " + orElse(column[5], ""), orElse(column[6], ""), column[7], whole(column[8])}.join(
                        '|'));
            }
        }

        const QStringList read = walk(
            answer("Get_template_controls_v2", i32(number)),
            [](const CmdDesc &command) {
                return QStringList{QString::number(command.id), command.name, command.description,
                                   shown(i32(command.operation) + bytes(command.execBy)),
                                   QString::number(command.numParams)};
            },
            [](const ParamDesc &parameter) {
                return QStringList{QString::fromUtf8(parameter.name), parameter.description,
                                   QString::number(parameter.id), shown(bytes(parameter.value) + i32(parameter.type))};
            });
        QCOMPARE(read, QStringList(QString::number(qAbs(number))) + expected);
        QCOMPARE(expected.isEmpty(), number > 18 || (number <= 0 && number > -19));
    }

    void readsTheSameAllowedCommands_data()
    {
        QTest::addColumn<int>("object");
        QTest::addColumn<int>("kind");
        for (const int object : {17, 18, 0}) {
            for (const int kind : {0, 1, 2, 3})
                QTest::newRow(qPrintable(QStringLiteral("%1 %2").arg(object).arg(kind))) << object << kind;
        }
    }

    void readsTheSameAllowedCommands()
    {
        QFETCH(int, object);
        QFETCH(int, kind);
        QStringList expected;
        for (const QString &row : m_database->rows(kAllowed.arg(object).arg(kOperator).arg(200 + kind).arg(kind))) {
            QStringList column = row.split('|');
            column = {orElse(column[0], ""), orElse(column[1], "0"), orElse(column[2], ""),
                      orElse(column[3], ""), orElse(column[5], "0"), column[4]};
            expected.append(column.join('|'));
        }

        const QByteArray reply = answer("Get_object_command", i32(object) + i32(kind));
        keystone::ByteReader in(reply);
        qint32 echo = 0;
        qint32 count = 0;
        in >> echo >> count;
        QStringList read;
        for (; count > 0; --count) {
            QByteArray name;
            QByteArray execBy;
            QString description;
            qint32 operation = 0;
            qint32 parameters = 0;
            qint32 id = 0;
            in >> name >> operation >> description >> execBy >> parameters >> id;
            read.append(QStringList{QString::fromUtf8(name), QString::number(operation), description, shown(execBy),
                                    QString::number(parameters), QString::number(id)}
                            .join('|'));
        }
        QCOMPARE(read.size(), expected.size());
        // All are of one operation, so that the statement leaves their order open.
        read.sort();
        expected.sort();
        QCOMPARE(read, expected);
        QCOMPARE(expected.isEmpty(), !(object == 17 && (kind == 1 || kind == 2)));
    }

    void readsTheSameSetup_data()
    {
        QTest::addColumn<int>("type");
        QTest::newRow("objects") << 1;
        QTest::newRow("layers") << 2;
    }

    void readsTheSameSetup()
    {
        QFETCH(int, type);
        const QList<int> sections = type == 1 ? QList<int>{1, 3, 4} : QList<int>{2};
        QStringList expected;
        for (const int section : sections) {
            const QString subjects = type == 1 ? "Objects" : "OpChk_Layers";
            const QStringList rows =
                m_database->rows(kSetup.arg(QString::number(section), QString::number(kOperator), subjects));
            expected.append(QString::number(rows.size()));
            for (QString row : rows)
                expected.append(row.replace("null", "0"));
        }

        QByteArray reply;
        keystone::ByteWriter out(&reply);
        m_connection.beginCommand();
        WorkingAdmCommands::GetPersonalSetup(type, kOperator, m_connection, out);
        keystone::ByteReader in(reply);
        QStringList read;
        while (!in.atEnd()) {
            qint32 count = 0;
            in >> count;
            read.append(QString::number(count));
            for (; count > 0; --count) {
                qint32 subject = 0;
                QList<qint32> properties;
                in >> subject >> properties;
                QStringList texts;
                for (const qint32 property : properties)
                    texts.append(QString::number(property));
                read.append(QStringLiteral("%1|[%2]").arg(QString::number(subject), texts.join(',')));
            }
        }
        QCOMPARE(read, expected);
        QVERIFY(expected.size() >= 4);
    }
};

QTEST_GUILESS_MAIN(TestEqualStatements)
#include "test_equal_statements.moc"
