#include "ctl/session.h"

namespace ctl {

Session::Session(Options options, QTextStream &out, QTextStream &err)
    : m_options(std::move(options))
    , m_out(out)
    , m_err(err)
{}

void Session::remark(const QString &line)
{
    m_err << "objectsctl: " << line << '\n';
    m_err.flush();
}

void Session::printLine(const QString &line)
{
    m_out << line << '\n';
    m_out.flush();
}

void Session::confirm(const QString &line)
{
    if (!m_options.json)
        printLine(line);
}

Result<HubClient *> Session::hub()
{
    if (!m_hub) {
        auto client = std::make_unique<HubClient>(m_options.operatorNumber, m_options.timeout());
        if (Outcome failure = client->connectTo(QString::fromStdString(m_options.hub)))
            return *failure;
        m_hub = std::move(client);
    }
    return m_hub.get();
}

Result<bus::Action> Session::ask(const QByteArray &command, const QByteArray &data)
{
    Result<HubClient *> client = hub();
    if (!client)
        return client.failure();
    return (*client)->ask(command, data);
}

Outcome Session::tell(const QByteArray &command, const QByteArray &data)
{
    Result<HubClient *> client = hub();
    if (!client)
        return client.failure();
    return (*client)->send(command, data);
}

Failure Session::unconfirmed(Failure failure)
{
    if (failure.unanswered)
        failure.message += QStringLiteral("; whether the change was made is not known");
    return failure;
}

QDeadlineTimer Session::followingDeadline() const
{
    return m_options.timeoutGiven ? QDeadlineTimer(m_options.timeout()) : QDeadlineTimer(QDeadlineTimer::Forever);
}

} // namespace ctl
