#include "bus/socket_file.h"
#include "ctl/arguments.h"
#include "ctl/commands/commands.h"
#include "ctl/json_text.h"
#include "ctl/text.h"
#include "hub/hub_protocol.h"

#include <QDateTime>
#include <QStringList>
#include <QtEndian>

#include <memory>

namespace ctl {
namespace {

/// The numbers that a notice of a change carries; nothing when the data is something else.
std::optional<QStringList> changedNumbers(const bus::Action &notice)
{
    if (notice.action != "ServerMessage" || notice.data.size() % qsizetype(sizeof(qint32)) != 0)
        return std::nullopt;
    QStringList numbers;
    for (qsizetype at = 0; at < notice.data.size(); at += qsizetype(sizeof(qint32)))
        numbers.append(QString::number(qFromBigEndian<qint32>(notice.data.constData() + at)));
    return numbers;
}

QString noticeJson(const bus::Action &notice, const QDateTime &now)
{
    QList<JsonMember> members = {{QStringLiteral("time"), jsonText(now.toUTC().toString(Qt::ISODate))},
                                 {QStringLiteral("action"), jsonBytes(notice.action)},
                                 {QStringLiteral("message"), jsonBytes(notice.message)}};
    if (const auto numbers = changedNumbers(notice))
        members.append({QStringLiteral("numbers"), u'[' + numbers->join(QStringLiteral(", ")) + u']'});
    members.append({QStringLiteral("data"), jsonText(QString::fromLatin1(notice.data.toHex()))});
    return jsonObject(members);
}

QString noticeLine(const bus::Action &notice, const QDateTime &now)
{
    QStringList parts = {now.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")), bytesForPeople(notice.action)};
    if (!notice.message.isEmpty())
        parts.append(bytesForPeople(notice.message));
    if (const auto numbers = changedNumbers(notice))
        parts.append(numbers->join(u','));
    else if (!notice.data.isEmpty())
        parts.append(bytesForPeople(notice.data));
    return parts.join(QStringLiteral("  "));
}

/// `count` 0: without end.
Outcome watch(Session &session, quint32 count)
{
    Result<HubClient *> client = session.hub();
    if (!client)
        return client.failure();
    session.remark(QStringLiteral("watching the notices of %1")
                       .arg(printable(bus::socketPath(QString::fromStdString(session.options().hub)))));
    const QDeadlineTimer deadline = session.followingDeadline();
    for (quint32 printed = 0; count == 0 || printed < count; ++printed) {
        Result<bus::Action> notice = (*client)->nextNotice(deadline);
        if (!notice)
            return notice.failure();
        const QDateTime now = QDateTime::currentDateTime();
        session.printLine(session.options().json ? noticeJson(*notice, now) : noticeLine(*notice, now));
    }
    return std::nullopt;
}

} // namespace

void registerWatch(CLI::App &app, Job &job)
{
    CLI::App *command = app.add_subcommand("watch", "Follow the notices that go to all clients after changes");
    const auto count = std::make_shared<quint32>(0);
    command->add_option("--count", *count, "End after so many notices; 0: never")
        ->check(decimal(0, std::numeric_limits<quint32>::max()));
    command->footer("Each line: time, action, message, the numbers of what changed.\n"
                    "Ends with exit code 1 when the hub goes away, or after --timeout if that is given.");
    command->callback([count, &job] { job = [count](Session &session) { return watch(session, *count); }; });
}

} // namespace ctl
