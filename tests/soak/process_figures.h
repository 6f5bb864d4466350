#pragma once

#include <QDir>
#include <QFile>
#include <QString>

namespace soak {

/// What a process holds at this moment.
struct ProcessFigures
{
    qint64 residentKib = 0;
    int descriptors = 0;

    [[nodiscard]] static ProcessFigures of(qint64 process)
    {
        const QString folder = QStringLiteral("/proc/%1/").arg(process);
        ProcessFigures result;
        QFile status(folder + "status");
        if (status.open(QIODevice::ReadOnly)) {
            for (const QByteArray &line : status.readAll().split('\n')) {
                if (line.startsWith("VmRSS:"))
                    result.residentKib = line.mid(6).trimmed().split(' ').first().toLongLong();
            }
        }
        result.descriptors =
            int(QDir(folder + "fd").entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size());
        return result;
    }
};

} // namespace soak
