#pragma once

#include <QByteArray>
#include <QString>

namespace support {

/// Generous, since the service's timer takes 5 s a step and the machine may be busy; no test waits this long when all
/// is well.
inline constexpr int kPatienceMs = 30000;

/// One end of a Unix stream socket, read and written as raw bytes without an event loop. Reads only when asked to, so a
/// Wire that is left alone is a peer that never reads.
class Wire
{
public:
    Wire() = default;
    /// Takes the descriptor over.
    explicit Wire(int descriptor);
    Wire(Wire &&other) noexcept;
    Wire &operator=(Wire &&other) noexcept;
    ~Wire();

    /// Tries until a server answers under `path`.
    [[nodiscard]] static Wire connectTo(const QString &path, int timeoutMs = kPatienceMs);

    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    /// False when the other end has gone or takes nothing for the whole time.
    bool send(const QByteArray &bytes, int timeoutMs = kPatienceMs);
    /// Waits until the other end has read all that was sent.
    [[nodiscard]] bool waitUntilRead(int timeoutMs = kPatienceMs) const;
    /// The next whole frame with its length, empty when none comes in time or the link ended.
    [[nodiscard]] QByteArray nextFrame(int timeoutMs = kPatienceMs);
    /// Waits for the other end to close, dropping what it still sends. True once it has.
    [[nodiscard]] bool ended(int timeoutMs = kPatienceMs);
    /// True when not a byte is waiting to be read at this moment.
    [[nodiscard]] bool isSilent();
    void close();

private:
    /// Reads what is there, waiting for the first byte. False at the end of the link or of the time.
    bool fill(int timeoutMs);

    int m_descriptor = -1;
    QByteArray m_received;
    bool m_ended = false;
};

/// A Unix stream socket that others connect to. Owns its socket file.
class Listener
{
public:
    explicit Listener(const QString &path);
    ~Listener();
    Q_DISABLE_COPY_MOVE(Listener)

    [[nodiscard]] QString path() const { return m_path; }
    [[nodiscard]] Wire accept(int timeoutMs = kPatienceMs);
    /// True when somebody has connected and was not accepted yet.
    [[nodiscard]] bool hasCaller() const;
    /// Stops listening and removes the socket file; accepted links stay.
    void close();

private:
    int m_descriptor = -1;
    QString m_path;
};

} // namespace support
