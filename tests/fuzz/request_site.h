#pragma once

#include "database/connection.h"
#include "pg_server.h"
#include "registry/announcer.h"
#include "registry/dispatcher.h"

#include <QHash>
#include <QTemporaryDir>

#include <memory>

namespace fuzz {

/// The service's dispatcher with all its commands on a database of its own, which holds a little of everything.
///
/// The commands commit what they do, so the rows are written anew after whatever has changed them: each input meets the
/// same database, and fails alone as it failed among others.
class RequestSite : private registry::Announcer
{
public:
    RequestSite();

    /// Runs a command of operator kOperator and checks what it says, and that the next statement works.
    void run(const QByteArray &command, const QByteArray &request);

    /// Makes `blob` what the rows of class `rows` of template kTemplate hold.
    void storeBlob(char rows, const QByteArray &blob);

    /// Makes the rows anew where they have changed.
    void restore();

    static constexpr int kOperator = 4;
    static constexpr int kTemplate = 5;

private:
    /// Moves with every row that anyone has written.
    [[nodiscard]] QString changePosition() const;

    void sendAnswer(const QByteArray &frame) override;
    void sendAction(const QByteArray &action, const QByteArray &message, const QByteArray &data, const QColor &colour,
                    int idConnection) override;
    void writeToLog(const QByteArray &text, quint8 level) override;
    void stop(int code) override;

    std::unique_ptr<support::TestDatabase> m_rows = support::PgServer::shared().cloneDatabase();
    database::Connection m_connection;
    registry::Dispatcher m_dispatcher;
    QHash<QByteArray, registry::Reply> m_replies;
    QByteArray m_command;
    int m_answers = 0;
    bool m_stopped = false;
    QString m_restoredAt;
    int m_restores = 0;
};

} // namespace fuzz
