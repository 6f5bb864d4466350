#include "registry_site.h"

#include "bytes.h"

#include <QTest>

namespace support {

void RegistrySite::beginFunction()
{
    settle();
    reset();
    for (const char *table : {"\"Objects\"", "\"Sensors\"", "\"Commands\"", "\"Params\"", "\"Groups\"",
                              "\"Groups_groups\"", "\"Groups_objects\"", "\"Objects_permission\"", "\"Person_Setup\"",
                              "archive.lastdata", "\"ExampleObjProps\"", "\"ExampleSensors\"", "\"ExampleControls\""})
        database->run("DELETE FROM " + QString::fromLatin1(table));
    m_logLines = service.log().size();
}

QString RegistrySite::leftover(int failedStatements)
{
    if (QTest::currentTestFailed())
        qInfo("what the service said in this function:\n%s", qPrintable(newLogLines().join('\n')));
    const QByteArray next = admin.frameAfterAbout();
    if (!isAbout(next, admin.lastCaller()))
        return "a frame that nobody expected: " + describe(next);
    if (!client.isSilent())
        return "an event-log record that nobody expected: " + describe(client.nextFrame());
    if (newLogLines().size() != failedStatements)
        return QStringLiteral("%1 failed statements in the local log instead of %2: %3")
            .arg(QString::number(newLogLines().size()), QString::number(failedStatements), newLogLines().join('\n'));
    return service.isRunning() ? QString() : "the service has gone: " + service.story();
}

QStringList RegistrySite::newLogLines() const
{
    return service.logTexts().mid(m_logLines);
}

QByteArrayList RegistrySite::replies(const QByteArray &name, const QByteArray &request)
{
    admin.send(command(name, request, 4));
    QByteArrayList result;
    QByteArray next = admin.frameAfterAbout();
    while (!next.isEmpty() && !isAbout(next, admin.lastCaller())) {
        result.append(next);
        next = admin.nextFrame();
    }
    if (next.isEmpty())
        result.append("no answer to \"About\"");
    return result;
}

QByteArrayList RegistrySite::recordedLines()
{
    QByteArrayList result;
    while (!client.isSilent()) {
        const QByteArray frame = client.nextFrame();
        // Length, type, length of the record, five numbers, time, list and length of the line; behind the line its
        // level.
        if (frame.size() < 42)
            return {"no record"};
        result.append(frame.mid(41, frame.size() - 42));
    }
    return result;
}

void RegistrySite::closeDatabaseToService()
{
    PgServer::shared().administer(QStringLiteral("ALTER DATABASE %1 ALLOW_CONNECTIONS false").arg(database->name()));
    database->endSessions();
}

StatementFault::StatementFault(TestDatabase &database, const QString &table, const QString &event,
                               const QString &condition)
    : m_database(database)
{
    m_database.run("CREATE FUNCTION test_fault() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN RAISE EXCEPTION 'made to "
                   "fail'; END $$");
    m_database.run(
        QStringLiteral("CREATE TRIGGER test_fault BEFORE %1 ON %2 FOR EACH ROW WHEN (%3) EXECUTE FUNCTION test_fault()")
            .arg(event, table, condition));
}

StatementFault::~StatementFault()
{
    m_database.run("DROP FUNCTION test_fault CASCADE");
}

RightTaken::RightTaken(TestDatabase &database, const QString &action, const QString &table)
    : m_database(database)
    , m_right(action + " ON " + table)
{
    m_database.run("REVOKE " + m_right + " FROM objects_service");
}

RightTaken::~RightTaken()
{
    m_database.run("GRANT " + m_right + " TO objects_service");
}

} // namespace support
