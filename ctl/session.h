#pragma once

#include "ctl/hub_client.h"
#include "ctl/result.h"

#include <QTextStream>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace ctl {

/// What the options before the command say.
struct Options
{
    std::string hub;
    std::string server;
    qint32 operatorNumber = 1;
    double timeoutSeconds = 10;
    bool timeoutGiven = false; ///< on the command line; commands that follow something only end in time if it is
    bool json = false;

    [[nodiscard]] std::chrono::milliseconds timeout() const
    {
        return std::chrono::milliseconds(qint64(timeoutSeconds * 1000));
    }
};

/// One run of the program: its options, its output and its connection to the hub.
class Session
{
public:
    Session(Options options, QTextStream &out, QTextStream &err);

    [[nodiscard]] const Options &options() const { return m_options; }

    /// For results. Texts that come from the registry must be printable() or JSON.
    [[nodiscard]] QTextStream &out() { return m_out; }

    /// For remarks that are no part of the result.
    void remark(const QString &line);

    /// Prints one line and hands it over at once, for those who follow.
    void printLine(const QString &line);

    /// Prints a text that does not answer the request itself ("saved"), unless the output is meant for programs.
    void confirm(const QString &line);

    /// The connection to the hub, made when it is first needed.
    [[nodiscard]] Result<HubClient *> hub();

    /// Sends the command through the hub and waits for its answer.
    [[nodiscard]] Result<bus::Action> ask(const QByteArray &command, const QByteArray &data);

    /// Sends a command that has no answer.
    [[nodiscard]] Outcome tell(const QByteArray &command, const QByteArray &data);

    /// The failure to read back what a change has made, which leaves open whether it was made.
    [[nodiscard]] static Failure unconfirmed(Failure failure);

    /// When a command that follows something has to end.
    [[nodiscard]] QDeadlineTimer followingDeadline() const;

private:
    Options m_options;
    QTextStream &m_out;
    QTextStream &m_err;
    std::unique_ptr<HubClient> m_hub;
};

/// What a command line asks for; run once, after all of it has been read.
using Job = std::function<Outcome(Session &)>;

} // namespace ctl
