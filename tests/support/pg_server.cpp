#include "pg_server.h"

#include "service_process.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <algorithm>
#include <csignal>
#include <utility>

#include <unistd.h>

namespace support {

namespace {

const QString kTemplate = QStringLiteral("objects_template");
const QStringList kLightSettings = {"-c", "fsync=off",          "-c", "full_page_writes=off",
                                    "-c", "max_connections=80", "-c", "shared_buffers=32MB",
                                    "-c", "max_wal_size=256MB"};

/// The clusters that end with this process.
QStringList &ownedClusters()
{
    static QStringList folders;
    return folders;
}

/// Ends the process, which runs no destructors then, without leaving a server behind.
[[noreturn]] void giveUp(const QString &why)
{
    for (const QString &folder : std::exchange(ownedClusters(), {}))
        QProcess::execute(QStringLiteral(PRIVATE_CLUSTER_PATH), {"destroy", folder});
    qFatal("%s", qPrintable(why));
}

void runProgram(const QString &program, const QStringList &arguments,
                const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        giveUp(program + ' ' + arguments.join(' ') + " failed: " + process.errorString() + ' ' +
               QString::fromLocal8Bit(process.readAll()));
}

void cluster(const QStringList &arguments)
{
    runProgram(QStringLiteral(PRIVATE_CLUSTER_PATH), arguments);
}

QString newFolder()
{
    QTemporaryDir folder("/tmp/ors-pg-XXXXXX");
    folder.setAutoRemove(false);
    if (!folder.isValid())
        giveUp("no folder for a database cluster: " + folder.errorString());
    return folder.path();
}

QString placeIn(const QString &file)
{
    QFile place(file);
    return place.open(QIODevice::ReadOnly) ? QString::fromUtf8(place.readAll()).trimmed() : QString();
}

QSqlDatabase openDatabase(const QString &connection, const QString &host, int port, const QString &name)
{
    QSqlDatabase database = QSqlDatabase::contains(connection) ? QSqlDatabase::database(connection, false)
                                                               : QSqlDatabase::addDatabase("QPSQL", connection);
    database.setHostName(host);
    database.setPort(port);
    database.setUserName("postgres");
    database.setDatabaseName(name);
    if (database.isOpen())
        return database;
    if (!database.open())
        giveUp("cannot open the test's database " + name + ": " + database.lastError().text());
    // The driver asks for another form of bytes at every opening.
    QSqlQuery("SET bytea_output TO hex", database);
    return database;
}

/// Empty for a process that has ended, also where nobody has waited for it yet.
QString workingFolder(const QByteArray &process)
{
    return QFile::symLinkTarget("/proc/" + QString::fromLatin1(process) + "/cwd");
}

QByteArray firstLine(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readLine().trimmed() : QByteArray();
}

/// The files of a standby, for a server in `folder` that does not run yet.
void copyServer(const PgServer &primary, const QString &folder)
{
    runProgram("pg_basebackup", {"-h", primary.socketFolder(), "-p", QString::number(primary.port()), "-U", "postgres",
                                 "-D", folder + "/data", "-R", "-c", "fast"});
    if (::geteuid() == 0)
        runProgram("chown", {"-R", "--reference=" + primary.dataFolder(), folder});
}

QSqlQuery runOn(const QSqlDatabase &database, const QString &statement)
{
    QSqlQuery query(database);
    if (!query.exec(statement))
        giveUp("a statement of the test failed: " + statement + ": " + query.lastError().text());
    return query;
}

} // namespace

PgServer::PgServer(const QString &folder, bool owned, const QStringList &settings)
    : m_folder(folder)
    , m_settings(settings)
    , m_owned(owned)
{
    if (owned) {
        ownedClusters().append(folder);
        start();
    }
    QFile port(folder + "/port");
    if (!port.open(QIODevice::ReadOnly))
        giveUp("no database cluster in " + folder);
    m_port = port.readAll().trimmed().toInt();
}

PgServer::~PgServer()
{
    if (m_owned && ownedClusters().removeOne(m_folder))
        cluster({"destroy", m_folder});
}

PgServer &PgServer::shared()
{
    static const std::unique_ptr<PgServer> server = [] {
        const QString place =
            placeIn(qEnvironmentVariable("REGISTRY_CLUSTER_PLACE", QStringLiteral(CLUSTER_PLACE_FILE)));
        if (!place.isEmpty() && QProcess::execute(QStringLiteral(PRIVATE_CLUSTER_PATH), {"status", place}) == 0)
            return std::unique_ptr<PgServer>(new PgServer(place, false));
        return own();
    }();
    return *server;
}

std::unique_ptr<PgServer> PgServer::own(const QStringList &settings)
{
    std::unique_ptr<PgServer> server(new PgServer(newFolder(), true, settings));
    server->prepareTemplate();
    return server;
}

std::unique_ptr<PgServer> PgServer::standbyOf(const PgServer &primary)
{
    const QString folder = newFolder();
    QFile mark(folder + "/.private_cluster"); // what makes a folder one of the script's
    if (!mark.open(QIODevice::WriteOnly))
        giveUp("cannot write " + mark.fileName());
    copyServer(primary, folder);
    return std::unique_ptr<PgServer>(new PgServer(folder, true, primary.m_settings));
}

void PgServer::becomeStandbyOf(const PgServer &primary)
{
    if (!QDir(dataFolder()).removeRecursively())
        giveUp("cannot remove " + dataFolder());
    copyServer(primary, m_folder);
    start();
}

void PgServer::beginRun(const QString &file)
{
    endRun(file);
    PgServer server(newFolder(), true);
    server.prepareTemplate();
    QFile place(file);
    if (!place.open(QIODevice::WriteOnly) || place.write(server.m_folder.toUtf8()) < 0)
        giveUp("cannot write " + file);
    ownedClusters().removeOne(server.m_folder); // it outlives this process
}

void PgServer::endRun(const QString &file)
{
    const QString place = placeIn(file);
    if (!place.isEmpty() && QFile::exists(place))
        cluster({"destroy", place});
    QFile::remove(file);
}

void PgServer::start()
{
    QStringList arguments = QStringList{"start", m_folder, "--tcp"} + kLightSettings;
    for (const QString &setting : m_settings)
        arguments += {"-c", setting};
    cluster(arguments);
}

void PgServer::stop(const QString &mode)
{
    cluster({"stop", m_folder, mode});
}

QByteArrayList PgServer::stopProcess() const
{
    const QByteArray server = firstLine(dataFolder() + "/postmaster.pid");
    const int number = server.toInt();
    if (workingFolder(server) != QFileInfo(dataFolder()).canonicalFilePath() || ::kill(number, SIGSTOP) != 0)
        return {};
    // The signal takes its time; stopped, the server starts no further process.
    const auto isStopped = [&] {
        const QByteArray state = firstLine(QString::fromLatin1("/proc/" + server + "/stat"));
        return state.mid(state.lastIndexOf(')') + 2).startsWith('T');
    };
    if (!ServiceProcess::waitUntil(isStopped))
        return {};
    const QByteArray children = firstLine(QString::fromLatin1("/proc/" + server + "/task/" + server + "/children"));
    QByteArrayList processes = children.simplified().split(' ');
    processes.prepend(server);
    processes.removeAll(QByteArray());
    return processes;
}

void PgServer::freeze() const
{
    for (const QByteArray &process : stopProcess())
        ::kill(process.toInt(), SIGSTOP);
}

void PgServer::kill() const
{
    const QByteArrayList processes = stopProcess();
    for (const QByteArray &process : processes)
        ::kill(process.toInt(), SIGKILL);
    const auto isGone = [](const QByteArray &process) { return workingFolder(process).isEmpty(); };
    if (!ServiceProcess::waitUntil([&] { return std::all_of(processes.begin(), processes.end(), isGone); }))
        giveUp("the killed server in " + m_folder + " does not end");
}

QByteArray PgServer::said() const
{
    QFile log(m_folder + "/server.log");
    return log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
}

QSqlDatabase PgServer::addConnection(const QString &name, const QString &database, const QString &role) const
{
    QSqlDatabase connection = QSqlDatabase::addDatabase("QPSQL", name);
    connection.setHostName(socketFolder());
    connection.setPort(port());
    connection.setUserName(role);
    connection.setDatabaseName(database);
    return connection;
}

void PgServer::administer(const QString &statement)
{
    const QString connection = "administer";
    runOn(openDatabase(connection, socketFolder(), m_port, "postgres"), statement);
    QSqlDatabase::removeDatabase(connection);
}

void PgServer::prepareTemplate()
{
    administer(
        QStringLiteral("CREATE ROLE objects LOGIN CREATEDB PASSWORD '%1'").arg(QString::fromLatin1(rolePassword())));
    administer(QStringLiteral("CREATE DATABASE %1 OWNER objects").arg(kTemplate));
    // All that reads by an index in production shall do so in tests, and no plan shall depend on the machine.
    administer(QStringLiteral("ALTER DATABASE %1 SET jit = off").arg(kTemplate));
    runScript("objects", QStringLiteral(SCHEMA_PATH));
    if (const QString more = qEnvironmentVariable("REGISTRY_SCHEMA_MORE"); !more.isEmpty())
        runScript("objects", more);
    administer(
        QStringLiteral("CREATE ROLE objects_service LOGIN PASSWORD '%1'").arg(QString::fromLatin1(rolePassword())));
    runScript("postgres", QStringLiteral(ROLES_PATH));
}

void PgServer::runScript(const QString &role, const QString &path)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LC_ALL", "C.UTF-8");
    runProgram("psql",
               {"-X", "-q", "-h", socketFolder(), "-p", QString::number(m_port), "-U", role, "-d", kTemplate, "-v",
                "ON_ERROR_STOP=1", "-f", path},
               environment);
}

std::unique_ptr<TestDatabase> PgServer::cloneDatabase()
{
    static int number = 0;
    const QString name = QStringLiteral("test_%1_%2").arg(QCoreApplication::applicationPid()).arg(++number);
    const QString connection = "clone";
    {
        const QSqlDatabase database = openDatabase(connection, socketFolder(), m_port, "postgres");
        // Two clones of one template at the same time disturb each other. The lock goes with the connection.
        runOn(database, "SELECT pg_advisory_lock(4711)");
        runOn(database, QStringLiteral("CREATE DATABASE %1 TEMPLATE %2 OWNER objects").arg(name, kTemplate));
    }
    QSqlDatabase::removeDatabase(connection);
    return std::make_unique<TestDatabase>(*this, name);
}

TestDatabase::TestDatabase(PgServer &server, const QString &name)
    : m_server(&server)
    , m_name(name)
    , m_connection("test " + name)
{}

TestDatabase::~TestDatabase()
{
    disconnect();
    m_server->administer(QStringLiteral("DROP DATABASE %1 WITH (FORCE)").arg(m_name));
}

QByteArray TestDatabase::settings() const
{
    const QString pooler = qEnvironmentVariable("REGISTRY_POOLER");
    const QString host = pooler.isEmpty() ? m_server->socketFolder() : pooler.section(':', 0, 0);
    const QString port = pooler.isEmpty() ? QString::number(m_server->port()) : pooler.section(':', 1);
    return QStringLiteral("DbHost=%1\nDbPort=%2\nDbName=%3\nDbUser=objects_service\n").arg(host, port, m_name).toUtf8();
}

void TestDatabase::run(const QString &statement)
{
    runOn(openDatabase(m_connection, m_server->socketFolder(), m_server->port(), m_name), statement);
}

QVariant TestDatabase::value(const QString &query)
{
    QSqlQuery result = runOn(openDatabase(m_connection, m_server->socketFolder(), m_server->port(), m_name), query);
    return result.next() ? result.value(0) : QVariant();
}

QStringList TestDatabase::rows(const QString &query)
{
    // row_to_json would quote; this keeps NULL apart from the empty text.
    QSqlQuery result =
        runOn(openDatabase(m_connection, m_server->socketFolder(), m_server->port(), m_name),
              QStringLiteral(
                  "SELECT array_to_string(ARRAY(SELECT value FROM json_each_text(row_to_json(found))), '|', 'NULL') "
                  "FROM (%1) AS found")
                  .arg(query));
    QStringList rows;
    while (result.next())
        rows.append(result.value(0).toString());
    return rows;
}

void TestDatabase::endSessions(const QString &role)
{
    run(QStringLiteral("SELECT pg_terminate_backend(pid, 30000) FROM pg_stat_activity WHERE datname = "
                       "current_database() AND usename = '%1' AND pid <> pg_backend_pid()")
            .arg(role));
}

void TestDatabase::disconnect()
{
    if (QSqlDatabase::contains(m_connection))
        QSqlDatabase::removeDatabase(m_connection);
}

void TestDatabase::moveTo(PgServer &server)
{
    disconnect();
    m_server = &server;
}

} // namespace support
