#pragma once

#include <QDir>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace support {

/// A disk of its own in memory, where this process may mount one (root may). A file on it takes up space until
/// somebody frees it.
class SmallDisk
{
public:
    /// `owner`: a folder whose owner shall own the disk, too.
    SmallDisk(const QByteArray &bytes, const QString &owner)
        : m_folder("/tmp/ors-disk-XXXXXX")
    {
        m_isMounted =
            ::mount("tmpfs", path().constData(), "tmpfs", MS_NOSUID | MS_NODEV, ("size=" + bytes).constData()) == 0;
        struct stat status = {};
        if (m_isMounted && (::stat(QFile::encodeName(owner).constData(), &status) != 0 ||
                            ::chown(path().constData(), status.st_uid, status.st_gid) != 0))
            qFatal("the disk at %s cannot be handed over", path().constData());
    }
    ~SmallDisk()
    {
        if (m_isMounted)
            ::umount2(path().constData(), MNT_DETACH);
    }
    Q_DISABLE_COPY_MOVE(SmallDisk)

    [[nodiscard]] bool isMounted() const { return m_isMounted; }
    [[nodiscard]] QByteArray path() const { return QFile::encodeName(m_folder.path()); }

    /// Takes `bytes` away, or as many as there are.
    void take(qsizetype bytes) const
    {
        QFile file(m_folder.filePath("taken"));
        constexpr qsizetype kPiece = 4096;
        const QByteArray piece(kPiece, 'x');
        if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            qFatal("cannot write to the small disk");
        for (qsizetype taken = 0; taken < bytes && file.write(piece) == kPiece; taken += kPiece)
            continue;
    }
    void free() const { QFile::remove(m_folder.filePath("taken")); }

private:
    QTemporaryDir m_folder;
    bool m_isMounted = false;
};

} // namespace support
