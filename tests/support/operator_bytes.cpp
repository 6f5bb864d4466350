#include "operator_bytes.h"

#include "bytes.h"
#include "registry_bytes.h"

namespace support {

QByteArray emptyAnswer(const QByteArray &name, int caller)
{
    return frame(202, bytes(name) + bytes(name) + null() + blue() + i32(caller));
}

QByteArray savedUser(int number)
{
    return action("ServerMessage", "SavedUser", i32(number), red(), -1);
}

QByteArray savedPersonConfig()
{
    return frame(202, bytes("ServerMessage") + bytes("SavedPersonConfig") + null() + red() + i32(-1));
}

QByteArray accountRequest(int id, const AccountFields &account)
{
    return i32(id) + textOrNull(account.login) + textOrNull(account.password) + textOrNull(account.description) +
           textOrNull(account.email) + textOrNull(account.phone) + i8(account.admin);
}

QByteArray accountRecord(int id, const AccountFields &account)
{
    return i32(id) + textOrNull(account.login) + textOrNull(account.password) + textOrNull(account.description) +
           i8(account.admin) + textOrNull(account.email) + textOrNull(account.phone);
}

QByteArray setupRow(int object, const QList<int> &properties)
{
    return i32(object) + numbers(properties);
}

QByteArray setupBlock(const QByteArrayList &rows)
{
    return i32(rows.size()) + rows.join();
}

QByteArray setupChange(int section, int account, const QList<int> &objects, const QList<int> &off, const QList<int> &on)
{
    return i32(section) + i32(account) + numbers(objects) + numbers(off) + numbers(on);
}

QByteArray setupCopy(int section, int source, const QList<int> &targets)
{
    return i32(section) + i32(source) + numbers(targets);
}

QByteArray noPicture()
{
    return hex("00000000");
}

QByteArray noColour()
{
    return hex("00 FFFF 0000 0000 0000 0000");
}

QString givingProperty(int object, const QString &name, const QByteArray &value, int type, const QString &description)
{
    return QStringLiteral(
               "INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\",\"Value\",\"Type\",\"Description\") "
               "VALUES (%1,'%2','\\x%3',%4,'%5')")
        .arg(QString::number(object), name, QString::fromLatin1(value.toHex()), QString::number(type), description);
}

} // namespace support
