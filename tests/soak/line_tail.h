#pragma once

#include <QFile>
#include <QStringList>

namespace soak {

/// The lines that a growing file gets.
class LineTail
{
public:
    explicit LineTail(const QString &path)
        : m_file(path)
    {}
    /// Those since the last call; what stands behind the last line feed is no line yet.
    [[nodiscard]] QStringList next()
    {
        if (!m_file.isOpen() && !m_file.open(QIODevice::ReadOnly))
            return {};
        m_begun += m_file.readAll();
        const qsizetype end = m_begun.lastIndexOf('\n');
        if (end < 0)
            return {};
        const QStringList lines = QString::fromUtf8(m_begun.left(end)).split(u'\n');
        m_begun.remove(0, end + 1);
        return lines;
    }

private:
    QFile m_file;
    QByteArray m_begun;
};

} // namespace soak
