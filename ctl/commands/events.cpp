#include "bus/socket_file.h"
#include "ctl/arguments.h"
#include "ctl/commands/commands.h"
#include "ctl/event_record.h"
#include "ctl/json_text.h"
#include "ctl/text.h"
#include "hub/hub_protocol.h"

#include <QDateTime>

#include <memory>

namespace ctl {
namespace {

QString eventLine(const EventRecord &record, bool json)
{
    const QDateTime time = QDateTime::fromSecsSinceEpoch(record.time, Qt::UTC);
    if (json) {
        return jsonObject({{QStringLiteral("time"), jsonText(time.toString(Qt::ISODate))},
                           {QStringLiteral("text"), jsonBytes(record.text)},
                           {QStringLiteral("level"), QString::number(record.level)}});
    }
    const QString text = record.text.isEmpty() ? QString() : bytesForPeople(record.text);
    return time.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) + QStringLiteral("  ") + text;
}

Outcome openServer(Session &session, FrameLink &link)
{
    const QString path = bus::socketPath(QString::fromStdString(session.options().server));
    const Outcome failure = link.open(path, QDeadlineTimer(session.options().timeout()));
    if (failure && link.isMissing()) {
        return Failure{QStringLiteral("no service at %1: start it with ./run or build/bin/objects_server; "
                                      "its socket opens 10 to 15 s after its start")
                           .arg(printable(path))};
    }
    if (failure)
        return Failure{
            QStringLiteral("cannot connect to the service at %1: %2").arg(printable(path), failure->message)};
    session.remark(QStringLiteral("following the events of %1").arg(printable(path)));
    return link.send(bus::encode(bus::Greeting{"objectsctl"}));
}

/// `count` 0: without end.
Outcome events(Session &session, quint32 count)
{
    FrameLink link;
    if (Outcome failure = openServer(session, link))
        return failure;
    const QDeadlineTimer deadline = session.followingDeadline();
    quint32 printed = 0;
    while (count == 0 || printed < count) {
        const auto body = link.next(deadline);
        if (!body)
            return Failure{link.hasEnded() ? QStringLiteral("the service ") + link.endReason()
                                           : QStringLiteral("the time is up after %1 events").arg(printed)};
        const bus::Frame frame = bus::decode(*body);
        const auto *data = std::get_if<bus::Data>(&frame);
        if (data == nullptr || data->kind != kEventKind)
            continue;
        if (const auto record = decodeEvent(data->data)) {
            session.printLine(eventLine(*record, session.options().json));
            ++printed;
        } else {
            session.remark(QStringLiteral("a record of %1 bytes cannot be read").arg(data->data.size()));
        }
    }
    return std::nullopt;
}

} // namespace

void registerEvents(CLI::App &app, Job &job)
{
    CLI::App *command = app.add_subcommand("events", "Follow the event log: what operators change");
    const auto count = std::make_shared<quint32>(0);
    command->add_option("--count", *count, "End after so many records; 0: never")
        ->check(decimal(0, std::numeric_limits<quint32>::max()));
    command->footer(
        "Attaches to the service itself (--server); the hub is not needed. Times are local, with --json in UTC.\n"
        "Ends with exit code 1 when the service goes away, or after --timeout if that is given.");
    command->callback([count, &job] { job = [count](Session &session) { return events(session, *count); }; });
}

} // namespace ctl
