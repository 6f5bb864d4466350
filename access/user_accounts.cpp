#include "access/user_accounts.h"

#include "registry/command_call.h"

namespace operators {

using database::Value;
using registry::CommandCall;

namespace {

constexpr const char *kInsertAccount =
    R"(INSERT INTO "Connections"("Id", "Login", "Password", "Description", "Email", "Phone", "Admin") VALUES (DEFAULT, ?, ?, ?, ?, ?, ?);)";
constexpr const char *kUpdateAccount =
    R"(UPDATE "Connections" SET "Login"=?, "Password"=?, "Description"=?, "Email"=?, "Phone"=?, "Admin"=? WHERE "Id"=? )";
constexpr const char *kDeleteAccount =
    R"(DELETE FROM "Connections" where "Id" = %0 ;DELETE FROM "Objects_permission" where "Id_connection" = %0 ;DELETE FROM "Person_Setup" where "Id_connect" = %0 ;)";

constexpr qsizetype kPhoneLength = 10;

struct Account
{
    QString login;
    QString password;
    QString description;
    QString email;
    QString phone;
    bool admin = false;
};

Account readAccount(registry::RequestReader &in)
{
    Account account;
    account.login = in.read<QString>();
    account.password = in.read<QString>();
    account.description = in.read<QString>();
    account.email = in.read<QString>();
    account.phone = in.read<QString>();
    account.admin = in.read<bool>();
    return account;
}

QList<Value> bind(const Account &account)
{
    return {Value::text(account.login), Value::text(account.password), Value::text(account.description),
            Value::text(account.email), Value::text(account.phone),    Value::boolean(account.admin)};
}

QString neverNull(const QString &text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

void announceSavedUser(CommandCall &call, qint32 id)
{
    call.announce("SavedUser", registry::numberBlock(id));
}

// The three changes announce, log and run their statements in three different orders; clients know them so.

void create(CommandCall &call)
{
    Account account = readAccount(call.in);
    account.email = neverNull(account.email);
    // Only a new account's number is cut to what the column holds; a change with a longer one fails.
    account.phone = neverNull(account.phone).left(kPhoneLength);
    call.db.post(kInsertAccount, bind(account));
    call.logEvent(QStringLiteral("User '%1' create new user '%2'").arg(call.callerName(), account.login));
    // The number that the account got is not asked for.
    announceSavedUser(call, 0);
}

void update(CommandCall &call, qint32 id)
{
    const Account account = readAccount(call.in);
    call.db.post(kUpdateAccount, bind(account) << Value::integer(id));
    announceSavedUser(call, id);
    call.logEvent(QStringLiteral("User '%1' update user '%2'").arg(call.callerName(), account.login));
}

void remove(CommandCall &call, qint64 id)
{
    announceSavedUser(call, static_cast<qint32>(id));
    const QString login = call.operatorName(static_cast<unsigned int>(id));
    call.logEvent(QStringLiteral("User '%1' delete user '%2'").arg(call.callerName(), login));
    (void)call.db.script(QString::fromLatin1(kDeleteAccount).arg(id));
}

} // namespace

void fixUser(CommandCall &call)
{
    const auto id = call.in.read<qint32>();
    if (id == 0)
        create(call);
    else if (id > 0)
        update(call, id);
    else
        remove(call, -qint64(id));
}

} // namespace operators
