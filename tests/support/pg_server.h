#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

namespace support {

class TestDatabase;

/// A throw-away PostgreSQL cluster. The role "objects" (may log in and create databases) owns a template database that
/// holds the schema of a fresh installation; "objects_service" is the role of roles.sql, with which services run. The
/// password of both is rolePassword(). Where the environment variable REGISTRY_SCHEMA_MORE names a file of SQL, the
/// template has been through that, too.
class PgServer
{
public:
    /// The cluster of this test run (noted in ctest's place or in the file that REGISTRY_CLUSTER_PLACE names); a test
    /// run by hand, outside of ctest, gets one that ends with the process.
    [[nodiscard]] static PgServer &shared();
    /// A cluster of the caller's own, running, for tests that stop and kill it; `settings` as "name=value".
    [[nodiscard]] static std::unique_ptr<PgServer> own(const QStringList &settings = {});
    /// A running copy of `primary` that follows it and takes no changes.
    [[nodiscard]] static std::unique_ptr<PgServer> standbyOf(const PgServer &primary);
    /// Becomes such a copy itself, in its own place and without what it held; it must not run.
    void becomeStandbyOf(const PgServer &primary);
    /// Makes the cluster of a test run and notes its place in `file`; an older one noted there goes first.
    static void beginRun(const QString &file);
    static void endRun(const QString &file);

    ~PgServer();
    Q_DISABLE_COPY_MOVE(PgServer)

    /// The value of DbHost for the Unix socket, where nobody is asked for a password.
    [[nodiscard]] QString socketFolder() const { return m_folder + "/socket"; }
    [[nodiscard]] QString dataFolder() const { return m_folder + "/data"; }
    /// The port, both of the Unix socket and on 127.0.0.1, where passwords are asked for.
    [[nodiscard]] int port() const { return m_port; }
    [[nodiscard]] static QByteArray rolePassword() { return "p;w"; }
    /// The server's own log.
    [[nodiscard]] QByteArray said() const;

    /// A new database of the role "objects" holding the empty schema.
    [[nodiscard]] std::unique_ptr<TestDatabase> cloneDatabase();
    /// A connection of Qt's own over the Unix socket, not opened yet; `name` is Qt's for it.
    QSqlDatabase addConnection(const QString &name, const QString &database,
                               const QString &role = QStringLiteral("objects")) const;
    /// Runs one statement as superuser in the database "postgres".
    void administer(const QString &statement);

    void start();
    /// `mode`: "fast" or "immediate" (which is a crash to the database's clients and files).
    void stop(const QString &mode = QStringLiteral("fast"));
    /// Kills the server and every process of it at once, where it runs; returns when they have gone. Any thread may
    /// call it.
    void kill() const;
    /// Halts all of its processes where they are, as a host that has gone silent. Any thread may call it; only kill()
    /// may follow.
    void freeze() const;

private:
    explicit PgServer(const QString &folder, bool owned, const QStringList &settings = {});
    void prepareTemplate();
    /// Stops the server's own process where it runs; all its processes, that one first.
    [[nodiscard]] QByteArrayList stopProcess() const;
    /// Runs a file of SQL in the template database.
    void runScript(const QString &role, const QString &path);

    QString m_folder;
    QStringList m_settings;
    int m_port = 0;
    bool m_owned = false;
};

/// A database that is dropped at the end. Statements run as superuser over the Unix socket.
class TestDatabase
{
public:
    TestDatabase(PgServer &server, const QString &name);
    ~TestDatabase();
    Q_DISABLE_COPY_MOVE(TestDatabase)

    [[nodiscard]] QString name() const { return m_name; }
    /// The Db lines of a settings file: the Unix socket, role "objects_service". Where the environment variable
    /// REGISTRY_POOLER names one ("<folder of its socket>:<port>"), the services of a test go through that.
    [[nodiscard]] QByteArray settings() const;

    /// Fails the process's run loudly when the statement fails: a test's own statements are never wrong on purpose.
    void run(const QString &statement);
    /// The first column of the first row.
    [[nodiscard]] QVariant value(const QString &query);
    /// Every row as its columns in text form joined by '|', NULL as "NULL".
    [[nodiscard]] QStringList rows(const QString &query);
    /// Ends the other sessions that `role` has in this database, and no other's: tests share a server. Returns when
    /// they have gone.
    void endSessions(const QString &role = QStringLiteral("objects_service"));
    /// Ends the connection of this object, so that a database or server may go; the next statement makes a new one.
    void disconnect();
    /// From now on this is the database of the same name on `server`, which has taken over.
    void moveTo(PgServer &server);

private:
    PgServer *m_server;
    QString m_name;
    QString m_connection;
};

} // namespace support
