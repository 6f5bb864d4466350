#include "bus/socket_file.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QList>
#include <QLocalServer>

#include <sys/stat.h>

namespace bus {

namespace {

/// A line of /proc/net/unix: number, counts, protocol, flags, type, state, inode, path.
bool listens(const QByteArray &line, const QByteArray &path, ino_t own)
{
    constexpr int kFlags = 3;
    constexpr int kInode = 6;
    constexpr uint kAccepting = 0x10000; // the system's __SO_ACCEPTCON
    if (!line.endsWith(' ' + path))
        return false;
    const QByteArrayList fields = line.simplified().split(' ');
    return fields.size() > kInode + 1 && (fields[kFlags].toUInt(nullptr, 16) & kAccepting) != 0 &&
           fields[kInode].toULongLong() != own;
}

} // namespace

QString socketPath(const QString &name)
{
    return name.startsWith(u'/') ? name : QDir::cleanPath(QDir::tempPath()) + u'/' + name;
}

bool isListenedOn(const QString &path, ino_t own)
{
    QFile sockets(QStringLiteral("/proc/net/unix"));
    if (!sockets.open(QIODevice::ReadOnly))
        return false;
    const QByteArray file = QFile::encodeName(path);
    // The file has no size, so its end is where nothing more comes.
    for (QByteArray line = sockets.readLine(); !line.isEmpty(); line = sockets.readLine()) {
        if (line.endsWith('\n'))
            line.chop(1);
        if (listens(line, file, own))
            return true;
    }
    return false;
}

void SocketFile::remember(const QLocalServer &server)
{
    m_path = server.fullServerName();
    m_identity = identityOf(m_path);
    struct stat status = {};
    m_socket = ::fstat(int(server.socketDescriptor()), &status) == 0 ? status.st_ino : 0;
}

SocketFile::State SocketFile::state() const
{
    const auto now = identityOf(m_path);
    if (now && now == m_identity)
        return State::Ours;
    return now && isListenedOn(m_path, m_socket) ? State::Taken : State::Free;
}

std::optional<SocketFile::Identity> SocketFile::identityOf(const QString &path)
{
    struct stat status = {};
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    return Identity{status.st_dev, status.st_ino};
}

} // namespace bus
