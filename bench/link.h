#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QtGlobal>

#include <string>

#include <sys/types.h>

namespace bench {

/// One end of a Unix stream socket, spoken to with poll, read and write alone. Throws std::runtime_error where the
/// other end has gone or keeps silent for too long.
class Link
{
public:
    static constexpr int kPatienceMs = 30000;
    static constexpr int kForever = -1;

    /// Takes the descriptor over.
    explicit Link(int descriptor, int patienceMs = kPatienceMs);
    ~Link();
    Q_DISABLE_COPY_MOVE(Link)

    void send(QByteArrayView bytes);

    /// The next frames with their lengths, one behind the other; valid until the next call. No byte of a further frame
    /// may have arrived with them: the two ends take turns.
    [[nodiscard]] const QByteArray &receive(int frames = 1);

    /// All that arrives until it ends with `last`.
    [[nodiscard]] QByteArray receiveThrough(const QByteArray &last);

    /// As receive(), of a peer that may end the link instead: false once it has.
    [[nodiscard]] bool receiveOrEnd(int frames = 1);

    /// Waits for bytes and reads those that are there, at most `most`; 0 once the other end has closed the link.
    [[nodiscard]] qsizetype readSome(char *room, qsizetype most);

    /// The process at the other end.
    [[nodiscard]] pid_t peer() const;

private:
    int m_descriptor;
    int m_patienceMs;
    QByteArray m_frames;
};

/// Listens under `path`, which must not exist, until it goes out of scope.
class Listener
{
public:
    explicit Listener(const std::string &path);
    ~Listener();
    Q_DISABLE_COPY_MOVE(Listener)

    /// The next link that is made; its descriptor is the caller's.
    [[nodiscard]] int accept();

private:
    std::string m_path;
    int m_descriptor;
};

/// Listens under `path`, which must not exist, takes the first link that is made and removes the path again.
[[nodiscard]] int acceptOne(const std::string &path);

/// The descriptor of a link to who listens under `path`.
[[nodiscard]] int connectTo(const std::string &path);

} // namespace bench
