#pragma once

#include "ctl/session.h"

#include <QList>
#include <QString>

/// The operators' accounts: reading them from the service, and their forms for people and programs.
namespace ctl {

struct Account
{
    qint32 id = 0;
    QString login;
    QString password; ///< as it is stored: plain text
    QString description;
    bool admin = false;
    QString email;
    QString phone;

    [[nodiscard]] bool operator==(const Account &other) const = default;
};

using Accounts = QList<Account>;

/// What the registry's columns hold, in characters.
inline constexpr qsizetype kLongestEmail = 150;
inline constexpr qsizetype kLongestPhone = 10;

/// Decodes an answer of "Get_user_list" or "Get_users_list".
[[nodiscard]] Result<Accounts> decodeAccounts(const QByteArray &reply);

/// Asks the service for all accounts. `command`: "Get_user_list" or "Get_users_list", which have the same answer.
[[nodiscard]] Result<Accounts> fetchAccounts(Session &session, const QByteArray &command = "Get_users_list");

/// Null when there is none.
[[nodiscard]] const Account *findAccount(const Accounts &accounts, qint32 id);

/// "there is no account 7".
[[nodiscard]] Failure noAccount(qint32 id);

/// Asks the service for its accounts; a failure when one of `ids` is none of them.
[[nodiscard]] Outcome requireAccounts(Session &session, const QList<qint32> &ids);

/// Passwords are masked unless `showPasswords`.
[[nodiscard]] QString accountsTable(const Accounts &accounts, bool showPasswords);
[[nodiscard]] QString accountsJson(const Accounts &accounts, bool showPasswords);

} // namespace ctl
