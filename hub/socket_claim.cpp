#include "hub/socket_claim.h"

#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>

#include <sys/stat.h>

namespace hub {
namespace {

constexpr qsizetype kLongestPath = 106; ///< bytes that QLocalServer accepts
constexpr int kAnswerWait = 2000;       ///< ms; a live server accepts at once, unless its queue is full

bool isSocket(const QByteArray &path)
{
    struct stat status = {};
    return lstat(path.constData(), &status) == 0 && S_ISSOCK(status.st_mode);
}

std::optional<ClaimProblem> checkName(const QString &path)
{
    const qsizetype length = QFile::encodeName(path).size();
    if (path.endsWith(u'/'))
        return ClaimProblem{QStringLiteral("%1 is a folder, not the name of a socket").arg(path), true};
    if (length > kLongestPath) {
        return ClaimProblem{QStringLiteral("the socket path is too long (%1 bytes, at most %2): %3")
                                .arg(length)
                                .arg(kLongestPath)
                                .arg(path),
                            true};
    }
    return std::nullopt;
}

} // namespace

std::optional<ClaimProblem> claimSocket(const QString &path)
{
    if (const auto problem = checkName(path))
        return problem;
    const QString folder = QFileInfo(path).absolutePath();
    if (!QFileInfo(folder).isDir())
        return ClaimProblem{QStringLiteral("the folder %1 does not exist: make it first").arg(folder)};
    const QByteArray file = QFile::encodeName(path);
    struct stat status = {};
    if (lstat(file.constData(), &status) != 0)
        return std::nullopt;
    if (!isSocket(file))
        return ClaimProblem{QStringLiteral("%1 exists and is not a socket").arg(path)};

    QLocalSocket probe;
    probe.connectToServer(path);
    if (probe.waitForConnected(kAnswerWait))
        return ClaimProblem{QStringLiteral("%1 is in use by a running server: stop it or give another name").arg(path)};
    // Only a refused connection proves that nobody listens: a busy server or a forbidden file is somebody's.
    if (probe.error() != QLocalSocket::ConnectionRefusedError && probe.error() != QLocalSocket::ServerNotFoundError)
        return ClaimProblem{QStringLiteral("%1 is in use: %2").arg(path, probe.errorString())};
    if (!QLocalServer::removeServer(path))
        return ClaimProblem{QStringLiteral("cannot remove the old socket %1").arg(path)};
    return std::nullopt;
}

} // namespace hub
