#pragma once

#include <QByteArrayList>
#include <QList>
#include <QString>

/// Accounts, personal setup and the object tree as they travel, put together by hand like all of bytes.h.
namespace support {

/// The answer of a command that has nothing to say: no data at all.
[[nodiscard]] QByteArray emptyAnswer(const QByteArray &name, int caller);
/// The notice that all clients get around a change of account `number`, 0 after a creation.
[[nodiscard]] QByteArray savedUser(int number);
/// The notice that all clients get after a change of somebody's personal setup; it names nobody.
[[nodiscard]] QByteArray savedPersonConfig();

struct AccountFields
{
    QString login;
    QString password = "";
    QString description = "";
    QString email = "";
    QString phone = "";
    int admin = 0;
};
/// What "Fix_user" takes to create (0) or update `id`.
[[nodiscard]] QByteArray accountRequest(int id, const AccountFields &account);
/// One account in the account list, where the fields stand in another order.
[[nodiscard]] QByteArray accountRecord(int id, const AccountFields &account);

/// One object in a block of the personal setup.
[[nodiscard]] QByteArray setupRow(int object, const QList<int> &properties);
[[nodiscard]] QByteArray setupBlock(const QByteArrayList &rows);
[[nodiscard]] QByteArray setupChange(int section, int account, const QList<int> &objects, const QList<int> &off,
                                     const QList<int> &on);
[[nodiscard]] QByteArray setupCopy(int section, int source, const QList<int> &targets);

/// An empty picture and no colour, as they stand for absent properties in an object tree.
[[nodiscard]] QByteArray noPicture();
[[nodiscard]] QByteArray noColour();

/// The statement that gives `object` a property of these bytes.
[[nodiscard]] QString givingProperty(int object, const QString &name, const QByteArray &value, int type = 10,
                                     const QString &description = "");

} // namespace support
