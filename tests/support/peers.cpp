#include "peers.h"

#include "bytes.h"

namespace support {

AdminPeer::AdminPeer(const QString &path)
    : m_listener(path)
{}

bool AdminPeer::attend(int timeoutMs)
{
    Wire::operator=(m_listener.accept(timeoutMs));
    return isOpen();
}

QByteArray AdminPeer::frameAfterAbout()
{
    send(commandWithNoData("About", ++m_lastCaller));
    return nextFrame();
}

bool ClientPeer::attach(const QString &serverPath, AdminPeer &admin)
{
    constexpr int caller = 999999;
    Wire::operator=(Wire::connectTo(serverPath));
    return send(commandWithNoData("About", caller)) && isAbout(admin.nextFrame(), caller);
}

SiblingPeer::SiblingPeer(const QString &path)
    : m_listener(path)
{}

bool SiblingPeer::attend(int timeoutMs)
{
    Wire::operator=(m_listener.accept(timeoutMs));
    return isOpen();
}

} // namespace support
