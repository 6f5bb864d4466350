#include "ctl/account_records.h"

#include "ctl/json_text.h"
#include "ctl/reply_reader.h"
#include "ctl/table.h"
#include "ctl/text.h"

#include <algorithm>

namespace ctl {
namespace {

constexpr int kSmallestAccount = 25; ///< bytes of an account whose texts are empty

/// The mask tells whether there is a password, not how long it is.
QString shownPassword(const QString &password, bool showPasswords)
{
    return showPasswords || password.isEmpty() ? password : QStringLiteral("***");
}

} // namespace

Result<Accounts> decodeAccounts(const QByteArray &reply)
{
    ReplyReader in(reply);
    Accounts accounts;
    const qint32 count = in.count(kSmallestAccount, "accounts");
    for (qint32 index = 0; index < count && !in.failed(); ++index) {
        Account account;
        account.id = in.read<qint32>();
        account.login = in.read<QString>();
        account.password = in.read<QString>();
        account.description = in.read<QString>();
        account.admin = in.read<bool>();
        account.email = in.read<QString>();
        account.phone = in.read<QString>();
        accounts.append(account);
    }
    if (Outcome failure = in.end())
        return *failure;
    return accounts;
}

Result<Accounts> fetchAccounts(Session &session, const QByteArray &command)
{
    Result<bus::Action> reply = session.ask(command, QByteArray());
    if (!reply)
        return reply.failure();
    return decodeAccounts(reply->data);
}

const Account *findAccount(const Accounts &accounts, qint32 id)
{
    const auto found = std::find_if(accounts.cbegin(), accounts.cend(), [id](const auto &one) { return one.id == id; });
    return found == accounts.cend() ? nullptr : &*found;
}

Failure noAccount(qint32 id)
{
    return {QStringLiteral("there is no account %1 (\"user list\" shows all)").arg(id)};
}

Outcome requireAccounts(Session &session, const QList<qint32> &ids)
{
    Result<Accounts> accounts = fetchAccounts(session);
    if (!accounts)
        return accounts.failure();
    for (const qint32 id : ids) {
        if (findAccount(*accounts, id) == nullptr)
            return noAccount(id);
    }
    return std::nullopt;
}

QString accountsTable(const Accounts &accounts, bool showPasswords)
{
    Table table({QStringLiteral("id"), QStringLiteral("login"), QStringLiteral("password"), QStringLiteral("admin"),
                 QStringLiteral("description"), QStringLiteral("email"), QStringLiteral("phone")});
    for (const Account &account : accounts) {
        table.addRow({QString::number(account.id), textForPeople(account.login),
                      textForPeople(shownPassword(account.password, showPasswords)),
                      account.admin ? QStringLiteral("yes") : QStringLiteral("no"), textForPeople(account.description),
                      textForPeople(account.email), textForPeople(account.phone)});
    }
    return table.text();
}

QString accountsJson(const Accounts &accounts, bool showPasswords)
{
    QStringList lines;
    for (const Account &account : accounts) {
        lines.append(jsonObject({{QStringLiteral("id"), QString::number(account.id)},
                                 {QStringLiteral("login"), jsonText(account.login)},
                                 {QStringLiteral("password"), jsonText(shownPassword(account.password, showPasswords))},
                                 {QStringLiteral("admin"), jsonBool(account.admin)},
                                 {QStringLiteral("description"), jsonText(account.description)},
                                 {QStringLiteral("email"), jsonText(account.email)},
                                 {QStringLiteral("phone"), jsonText(account.phone)}}));
    }
    return jsonObject({{QStringLiteral("users"), jsonLines(lines)}});
}

} // namespace ctl
