#pragma once

#include "pg_server.h"
#include "service_process.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

namespace testing {

/// The hub and the service on a database of the sample registry, and objectsctl as a process.
class SampleRegistry
{
public:
    /// Empty when all is up, else what went wrong. `settings`: further lines of the service's settings.
    [[nodiscard]] QString begin(const QByteArray &settings = {})
    {
        const QString failure = load();
        if (!failure.isEmpty())
            return failure;
        hub.start(QStringLiteral(ADMIN_HUB_PATH),
                  {"--services", service.adminPath(), "--clients", service.path("clients")});
        if (!hub.waitForReadyRead())
            return "the hub does not start";
        service.start(settings + database->settings());
        const bool isUp = support::ServiceProcess::waitUntil([this] { return run({"about"}) == 0; });
        return isUp ? QString() : service.story();
    }

    ~SampleRegistry()
    {
        hub.terminate();
        hub.waitForFinished();
    }

    /// Runs objectsctl to its end; its exit code, with its output in `out` and `err`.
    int run(const QStringList &words, const QByteArray &input = {})
    {
        QProcess process;
        process.start(QStringLiteral(OBJECTSCTL_PATH), QStringList{"--hub", service.path("clients")} + words);
        process.write(input);
        process.closeWriteChannel();
        const bool ended = process.waitForFinished();
        out = QString::fromUtf8(process.readAllStandardOutput());
        err = QString::fromUtf8(process.readAllStandardError());
        return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    /// The same with --json; the document that was printed.
    [[nodiscard]] QJsonObject json(const QStringList &words)
    {
        const int code = run(QStringList{"--json"} + words);
        return code == 0 ? QJsonDocument::fromJson(out.toUtf8()).object() : QJsonObject{{"exit", code}};
    }

    std::unique_ptr<support::TestDatabase> database = support::PgServer::shared().cloneDatabase();
    support::ServiceProcess service;
    QProcess hub;
    QString out;
    QString err;

private:
    [[nodiscard]] QString load() const
    {
        const support::PgServer &server = support::PgServer::shared();
        QProcess psql;
        psql.setProcessChannelMode(QProcess::MergedChannels);
        psql.start("psql", {"-X", "-q", "-h", server.socketFolder(), "-p", QString::number(server.port()), "-U",
                            "objects", "-d", database->name(), "-v", "ON_ERROR_STOP=1", "-f", DEMO_PATH});
        if (psql.waitForFinished() && psql.exitCode() == 0)
            return {};
        return QString::fromUtf8(psql.readAll());
    }
};

} // namespace testing
