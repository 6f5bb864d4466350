#include "bench/statement_log.h"

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>

#include <stdexcept>
#include <utility>

namespace bench {

StatementLog::StatementLog(BareConnection &database, const std::string &path)
    : m_database(database)
    , m_file(QString::fromStdString(path))
{
    if (!m_file.open(QIODevice::ReadOnly) || !m_file.seek(m_file.size()))
        throw std::runtime_error("cannot read the server's log " + path);
}

/// The log is written by a process of its own, some time after the statement.
QByteArray StatementLog::nextLine()
{
    constexpr int kPatienceMs = 30000;
    constexpr int kPauseMs = 1;
    QDeadlineTimer deadline(kPatienceMs);
    for (m_begun += m_file.readLine(); !m_begun.endsWith('\n'); m_begun += m_file.readLine()) {
        if (deadline.hasExpired())
            throw std::runtime_error("the server's log does not tell of statements");
        QThread::msleep(kPauseMs);
    }
    return std::exchange(m_begun, QByteArray());
}

std::vector<RecordedStatement> StatementLog::take()
{
    const QByteArray mark = "SELECT 'mark " + QByteArray::number(++m_marks) + '\'';
    m_database.text(mark);
    std::vector<RecordedStatement> statements;
    for (;;) {
        const QJsonObject line = QJsonDocument::fromJson(nextLine()).object();
        const QByteArray message = line["message"].toString().toUtf8();
        if (line["pid"].toInt() == m_database.backend()) {
            if (message.endsWith(mark))
                return statements;
            continue;
        }
        if (line["error_severity"] == "ERROR" || line["error_severity"] == "FATAL")
            throw std::runtime_error("a statement of the service has failed: " + message.toStdString());
        if (auto statement = recordedStatement(message, line["detail"].toString().toUtf8()))
            statements.push_back(std::move(*statement));
    }
}

} // namespace bench
