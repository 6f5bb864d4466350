#pragma once

#include "wire.h"

namespace support {

/// Plays the administration server: listens, takes the service's link and speaks raw frames on it.
class AdminPeer : public Wire
{
public:
    explicit AdminPeer(const QString &path);

    /// Takes the service's link; the greeting that comes first stays unread.
    bool attend(int timeoutMs = kPatienceMs);
    /// The next frame after an "About" with a caller number never used before was sent. What is not its answer (see
    /// saysAboutNext) had been sent before: so silence is proved without waiting.
    [[nodiscard]] QByteArray frameAfterAbout();
    [[nodiscard]] int lastCaller() const { return m_lastCaller; }
    [[nodiscard]] Listener &listener() { return m_listener; }

private:
    Listener m_listener;
    int m_lastCaller = 1000000;
};

/// A module that attaches to the service's own server.
class ClientPeer : public Wire
{
public:
    /// Returns once the service has taken the link, which the answer of an "About" sent on it proves.
    bool attach(const QString &serverPath, AdminPeer &admin);
};

/// A sibling server that the service connects to.
class SiblingPeer : public Wire
{
public:
    explicit SiblingPeer(const QString &path);

    bool attend(int timeoutMs = kPatienceMs);
    [[nodiscard]] Listener &listener() { return m_listener; }

private:
    Listener m_listener;
};

} // namespace support
