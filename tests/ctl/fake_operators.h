#pragma once

#include "ctl/account_records.h"
#include "tests/ctl/fake_service.h"

#include <QMap>
#include <QSet>

#include <algorithm>

namespace testing {

/// Accounts, personal setup and fixed answers in memory, for a FakeService. Changes are made as the real service makes
/// them, with the cut of a new account's telephone number and the emptying of a setup that is copied onto itself.
class FakeOperators
{
public:
    using Section = QMap<qint32, QSet<qint32>>; ///< object to properties

    /// `service` outlives this object.
    explicit FakeOperators(FakeService &service)
        : m_service(service)
    {
        m_service.other = [this](const bus::Command &command) { handle(command); };
    }

    ctl::Accounts accounts;
    QList<qint32> objects;                      ///< that the setup has lines for; 0 comes by itself
    QMap<qint32, QMap<qint32, Section>> setups; ///< by account and section
    QMap<QByteArray, QByteArray> answers;       ///< to all other commands

private:
    void handle(const bus::Command &command)
    {
        keystone::ByteReader in(command.data);
        QByteArray reply;
        keystone::ByteWriter out(&reply);
        if (command.name == "Get_user_list" || command.name == "Get_users_list")
            writeAccounts(out);
        else if (command.name == "Fix_user")
            fixUser(in);
        else if (command.name == "Get_personalsetup4objects_X")
            writeSetup(in, out);
        else if (command.name == "Fix_personal_setup_changes")
            fixSetup(in);
        else if (command.name == "Copy_personal_setup")
            copySetup(in);
        else
            reply = answers.value(command.name);
        m_service.peer.action(command.name, command.idConnection, reply);
    }

    void writeAccounts(keystone::ByteWriter &out) const
    {
        out << qint32(accounts.size());
        for (const ctl::Account &account : accounts)
            out << account.id << account.login << account.password << account.description << account.admin
                << account.email << account.phone;
    }

    void fixUser(keystone::ByteReader &in)
    {
        ctl::Account account;
        in >> account.id;
        if (m_service.refusesChanges)
            return;
        if (account.id < 0) {
            accounts.removeIf([&](const ctl::Account &one) { return one.id == -account.id; });
            return;
        }
        in >> account.login >> account.password >> account.description >> account.email >> account.phone >>
            account.admin;
        if (account.id == 0) {
            account.id = ++m_service.lastId;
            account.phone.truncate(10);
            accounts.append(account);
            return;
        }
        const auto stored = std::find_if(accounts.begin(), accounts.end(),
                                         [&](const ctl::Account &one) { return one.id == account.id; });
        if (stored != accounts.end())
            *stored = account;
    }

    void writeSetup(keystone::ByteReader &in, keystone::ByteWriter &out)
    {
        qint32 account = 0;
        in >> account;
        for (const qint32 section : {1, 3, 4}) {
            out << qint32(objects.size() + 1);
            for (const qint32 object : QList<qint32>{0} + objects)
                out << object << sorted(setups[account][section].value(object));
        }
    }

    static QList<qint32> sorted(const QSet<qint32> &properties)
    {
        QList<qint32> result = properties.values();
        std::sort(result.begin(), result.end());
        return result;
    }

    void fixSetup(keystone::ByteReader &in)
    {
        qint32 section = 0;
        qint32 account = 0;
        QList<qint32> changed;
        QList<qint32> off;
        QList<qint32> on;
        in >> section >> account >> changed >> off >> on;
        if (m_service.refusesChanges)
            return;
        for (const qint32 object : changed) {
            QSet<qint32> &properties = setups[account][section][object];
            properties.subtract(QSet<qint32>(off.begin(), off.end()));
            properties.unite(QSet<qint32>(on.begin(), on.end()));
        }
    }

    void copySetup(keystone::ByteReader &in)
    {
        qint32 section = 0;
        qint32 source = 0;
        QList<qint32> targets;
        in >> section >> source >> targets;
        if (m_service.refusesChanges)
            return;
        for (const qint32 target : targets)
            setups[target].remove(section);
        for (const qint32 target : targets)
            setups[target][section] = setups[source][section];
    }

    FakeService &m_service;
};

} // namespace testing
