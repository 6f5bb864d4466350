#include "ctl/account_records.h"
#include "ctl/arguments.h"
#include "ctl/commands/commands.h"
#include "ctl/database_probe.h"
#include "ctl/input_file.h"
#include "ctl/json_text.h"
#include "ctl/text.h"
#include "keystone/byte_writer.h"

#include <algorithm>
#include <memory>

namespace ctl {
namespace {

struct UserArguments
{
    qint32 id = 0;
    bool showPasswords = false;
    std::optional<std::string> login;
    std::optional<std::string> password;
    std::optional<std::string> passwordFile;
    std::optional<std::string> description;
    std::optional<std::string> email;
    std::optional<std::string> phone;
    std::optional<std::string> admin;
};

/// What a column of the registry cannot hold makes the service do nothing, without a word.
Outcome refuseTooLong(const char *what, const QString &text, qsizetype limit, const char *consequence)
{
    const qsizetype length = text.toUcs4().size();
    if (length <= limit)
        return std::nullopt;
    return Failure{QStringLiteral("%1 \"%2\" has %3 characters, and the registry holds %4: %5")
                       .arg(QLatin1String(what), printable(text), QString::number(length), QString::number(limit),
                            QLatin1String(consequence)),
                   true};
}

constexpr char kWouldFail[] = "the service would store nothing of this and not say so";

Outcome refuseWhatCannotBeStored(const UserArguments &arguments)
{
    const QString phone = QString::fromStdString(arguments.phone.value_or(""));
    const QString email = QString::fromStdString(arguments.email.value_or(""));
    if (Outcome failure = refuseTooLong("the e-mail address", email, kLongestEmail, kWouldFail))
        return failure;
    const bool isNew = arguments.id == 0;
    return refuseTooLong("the telephone number", phone, kLongestPhone,
                         isNew ? "the service would cut it and not say so" : kWouldFail);
}

Result<QString> readPassword(const std::string &file)
{
    Result<QByteArray> bytes = readInput(file);
    if (!bytes)
        return bytes.failure();
    if (bytes->endsWith('\n'))
        bytes->chop(bytes->endsWith("\r\n") ? 2 : 1);
    const auto text = utf8Text(*bytes);
    if (!text)
        return Failure{QStringLiteral("the password is not UTF-8 text"), true};
    return *text;
}

/// Puts what was given on the command line into the account.
Outcome apply(const UserArguments &arguments, Account &account)
{
    const auto put = [](const std::optional<std::string> &given, QString &field) {
        if (given)
            field = given->empty() ? QStringLiteral("") : QString::fromStdString(*given);
    };
    put(arguments.login, account.login);
    put(arguments.password, account.password);
    put(arguments.description, account.description);
    put(arguments.email, account.email);
    put(arguments.phone, account.phone);
    if (arguments.admin)
        account.admin = *arguments.admin == "yes";
    if (!arguments.passwordFile)
        return std::nullopt;
    Result<QString> password = readPassword(*arguments.passwordFile);
    if (!password)
        return password.failure();
    account.password = *password;
    return std::nullopt;
}

/// "Fix_user": the account's number is 0 for a new one.
Outcome sendAccount(Session &session, const Account &account)
{
    QByteArray request;
    keystone::ByteWriter(&request) << account.id << account.login << account.password << account.description
                                   << account.email << account.phone << account.admin;
    Result<bus::Action> reply = session.ask("Fix_user", request);
    if (!reply)
        return Session::unconfirmed(reply.failure());
    return std::nullopt;
}

Outcome listUsers(Session &session, bool showPasswords)
{
    Result<Accounts> accounts = fetchAccounts(session, "Get_user_list");
    if (!accounts)
        return accounts.failure();
    if (session.options().json)
        session.printLine(accountsJson(*accounts, showPasswords));
    else
        session.out() << accountsTable(*accounts, showPasswords);
    return std::nullopt;
}

Outcome addUser(Session &session, const UserArguments &arguments)
{
    Account account;
    account.email = account.phone = account.password = account.description = QStringLiteral("");
    if (Outcome failure = refuseWhatCannotBeStored(arguments))
        return failure;
    if (Outcome failure = apply(arguments, account))
        return failure;
    Result<Accounts> before = fetchAccounts(session);
    if (!before)
        return before.failure();
    if (Outcome failure = sendAccount(session, account))
        return failure;
    Result<Accounts> after = fetchAccounts(session);
    if (!after)
        return Session::unconfirmed(after.failure());
    // The service does not tell the number that it gave.
    for (const Account &stored : *after) {
        account.id = stored.id;
        if (stored != account || findAccount(*before, stored.id) != nullptr)
            continue;
        if (session.options().json)
            session.printLine(jsonObject({{QStringLiteral("id"), QString::number(stored.id)}}));
        session.confirm(QStringLiteral("account %1 (\"%2\") added").arg(stored.id).arg(printable(stored.login)));
        return std::nullopt;
    }
    return Failure{QStringLiteral("the service did not store the new account")};
}

Outcome setUser(Session &session, const UserArguments &arguments)
{
    if (!arguments.login && !arguments.password && !arguments.passwordFile && !arguments.description &&
        !arguments.email && !arguments.phone && !arguments.admin)
        return Failure{QStringLiteral("nothing to set: see objectsctl user set --help"), true};
    if (Outcome failure = refuseWhatCannotBeStored(arguments))
        return failure;
    Result<Accounts> before = fetchAccounts(session);
    if (!before)
        return before.failure();
    const Account *stored = findAccount(*before, arguments.id);
    if (stored == nullptr)
        return noAccount(arguments.id);
    Account account = *stored; // the service stores all fields of an account at once
    if (Outcome failure = apply(arguments, account))
        return failure;
    if (Outcome failure = sendAccount(session, account))
        return failure;
    Result<Accounts> after = fetchAccounts(session);
    if (!after)
        return Session::unconfirmed(after.failure());
    const Account *changed = findAccount(*after, account.id);
    if (changed == nullptr || *changed != account)
        return Failure{QStringLiteral("the service did not store the change of account %1").arg(account.id)};
    session.confirm(QStringLiteral("account %1 (\"%2\") set").arg(account.id).arg(printable(account.login)));
    return std::nullopt;
}

Outcome deleteUser(Session &session, qint32 id)
{
    Result<Accounts> before = fetchAccounts(session);
    if (!before)
        return before.failure();
    const Account *account = findAccount(*before, id);
    if (account == nullptr)
        return noAccount(id);
    QByteArray request;
    keystone::ByteWriter(&request) << -id;
    Result<bus::Action> reply = session.ask("Fix_user", request);
    if (!reply)
        return Session::unconfirmed(reply.failure());
    Result<Accounts> after = fetchAccounts(session);
    if (!after)
        return Session::unconfirmed(after.failure());
    if (findAccount(*after, id) != nullptr)
        return Failure{QStringLiteral("the service did not delete account %1").arg(id)};
    if (Outcome failure = probeDatabase(session))
        return failure;
    session.confirm(QStringLiteral("account %1 (\"%2\") deleted").arg(id).arg(printable(account->login)));
    return std::nullopt;
}

void addNumber(CLI::App &command, UserArguments &arguments)
{
    command.add_option("ID", arguments.id, "Number of the account")
        ->required()
        ->check(decimal(1, std::numeric_limits<qint32>::max()));
}

CLI::App *addFields(CLI::App *command, UserArguments &arguments)
{
    CLI::Option *password = command->add_option("--password", arguments.password, "Password");
    command->add_option("--password-file", arguments.passwordFile, "File with the password; - is the standard input")
        ->excludes(password);
    command->add_option("--description", arguments.description, "Usually the operator's name");
    command->add_option("--email", arguments.email, "E-mail address, at most 150 characters");
    command->add_option("--phone", arguments.phone, "Telephone number, at most 10 characters");
    command->add_option("--admin", arguments.admin, "Whether this is an administrator")
        ->check(CLI::IsMember({"yes", "no"}));
    return command;
}

} // namespace

void registerUser(CLI::App &app, Job &job)
{
    CLI::App *user = app.add_subcommand("user", "Read and change the operators' accounts")->require_subcommand(0, 1);
    const auto arguments = std::make_shared<UserArguments>();

    CLI::App *list = user->add_subcommand("list", "List all accounts");
    list->add_flag("--show-passwords", arguments->showPasswords, "Show passwords instead of ***");
    list->callback([arguments, &job] {
        job = [arguments](Session &session) { return listUsers(session, arguments->showPasswords); };
    });

    CLI::App *add = user->add_subcommand("add", "Add an account; what is not given is empty");
    add->add_option("--login", arguments->login, "Login name")->required();
    addFields(add, *arguments)->callback([arguments, &job] {
        job = [arguments](Session &session) { return addUser(session, *arguments); };
    });

    CLI::App *set = user->add_subcommand("set", "Change an account; what is not given stays");
    addNumber(*set, *arguments);
    set->add_option("--login", arguments->login, "Login name");
    addFields(set, *arguments)->callback([arguments, &job] {
        job = [arguments](Session &session) { return setUser(session, *arguments); };
    });

    CLI::App *remove = user->add_subcommand("delete", "Delete an account with its permissions and personal setup");
    addNumber(*remove, *arguments);
    remove->callback(
        [arguments, &job] { job = [arguments](Session &session) { return deleteUser(session, arguments->id); }; });
}

} // namespace ctl
