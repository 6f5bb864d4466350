#include "ctl/reply_reader.h"

namespace ctl {

qint32 ReplyReader::count(int minBytes, const char *things)
{
    const qint32 number = countOrFailed(minBytes, things);
    if (number >= 0)
        return number;
    if (!failed())
        m_failure = Failure{QStringLiteral("the service could not read the %1 from the registry: its log says why")
                                .arg(QLatin1String(things))};
    return 0;
}

qint32 ReplyReader::countOrFailed(int minBytes, const char *things)
{
    const auto number = read<qint32>();
    if (failed())
        return 0;
    if (number < -1 || (number > 0 && !keystone::mayHold(m_in, quint32(number), minBytes))) {
        refuse(QStringLiteral("it promises %1 %2 in %3 bytes")
                   .arg(QString::number(number), QLatin1String(things), QString::number(m_in.bytesLeft())));
        return 0;
    }
    return number;
}

QList<qint32> ReplyReader::numbers()
{
    QList<qint32> result;
    if (!failed())
        keystone::readContainer(m_in, result, sizeof(qint32));
    return result;
}

void ReplyReader::refuse(const QString &what)
{
    if (!m_failure)
        m_failure = Failure{QStringLiteral("the service's answer cannot be read: ") + what};
}

Outcome ReplyReader::end()
{
    if (m_failure)
        return m_failure;
    if (!m_in.ok())
        return Failure{
            QStringLiteral("the service's answer cannot be read: it ends too early, after %1 bytes").arg(m_in.size())};
    if (!m_in.atEnd())
        refuse(QStringLiteral("%1 bytes are left after its end").arg(m_in.bytesLeft()));
    return m_failure;
}

} // namespace ctl
