#pragma once

#include <QByteArray>
#include <QString>
#include <QtEndian>

namespace soak {

/// Reads the fields of a frame or of an answer one after another; behind the end all are 0 and empty.
class Fields
{
public:
    explicit Fields(const QByteArray &bytes, qsizetype from = 0)
        : m_bytes(bytes)
        , m_at(from)
    {}

    [[nodiscard]] bool atEnd() const { return m_at >= m_bytes.size(); }
    int number()
    {
        const QByteArray four = take(4);
        return four.size() == 4 ? qFromBigEndian<qint32>(four.constData()) : 0;
    }
    QByteArray bytes()
    {
        const int size = number();
        return size < 0 ? QByteArray() : take(size);
    }
    QString text()
    {
        const QByteArray units = bytes();
        QString result;
        for (qsizetype i = 0; i + 1 < units.size(); i += 2)
            result += QChar(qFromBigEndian<quint16>(units.constData() + i));
        return result;
    }
    QByteArray take(qsizetype size)
    {
        const QByteArray result = m_bytes.mid(m_at, size);
        m_at += size;
        return result;
    }

private:
    QByteArray m_bytes;
    qsizetype m_at;
};

} // namespace soak
