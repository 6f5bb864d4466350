#pragma once

#include "ctl/result.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QSet>
#include <QString>
#include <QStringList>

/// Reading JSON that a person may have edited: every value is checked, and the first wrong one is named by its path,
/// as in "card[3].type: expected an integer from -2147483648 to 2147483647".
namespace ctl {

/// Where the first wrong field is noted. Shared by all readers of one document.
class JsonProblem
{
public:
    void note(const QString &path, const QString &what);

    [[nodiscard]] bool found() const { return m_failure.has_value(); }

    /// A usage failure: nothing has been sent.
    [[nodiscard]] const Outcome &failure() const { return m_failure; }

private:
    Outcome m_failure;
};

/// Parses a document whose outermost value is an object.
[[nodiscard]] Result<QJsonObject> parseJsonObject(const QByteArray &text);

/// Reads the members of one object. A member that is missing or of the wrong form is noted as a problem and read as
/// zero, null or empty.
class JsonFields
{
public:
    /// `path` leads to this object ("card[3]"; empty for the outermost). `problem` outlives the reader.
    JsonFields(const QJsonValue &value, QString path, JsonProblem &problem);

    [[nodiscard]] bool has(const QString &name) const { return m_object.contains(name); }

    [[nodiscard]] qint32 int32(const QString &name);
    [[nodiscard]] qint16 int16(const QString &name);

    /// A string, or null for a null text.
    [[nodiscard]] QString text(const QString &name);

    /// A string (its UTF-8 bytes), {"base64": "..."}, or null for null bytes.
    [[nodiscard]] QByteArray bytes(const QString &name);

    /// A string of at most one character of the codes 1 to 255, or the code as a number.
    [[nodiscard]] qint16 flag(const QString &name);

    /// The member "object", which may be missing, else must be `object` as on the command line. `what`: what is saved.
    void expectObject(qint32 object, const char *what);

    [[nodiscard]] QJsonArray array(const QString &name);

    /// An array of strings, or null for null texts.
    [[nodiscard]] QStringList texts(const QString &name);

    /// Path of the element `index` of the array member `name`.
    [[nodiscard]] QString elementPath(const QString &name, qsizetype index) const;

    /// Call last: notes a member that nothing has asked for, since a misspelt one would be lost silently.
    void refuseOthers();

    void note(const QString &name, const QString &what);

    /// Notes a text that holds U+0000, which no text of the registry can.
    void refuseNul(const QString &name, const QString &text);

private:
    [[nodiscard]] QJsonValue take(const QString &name);
    [[nodiscard]] QString pathOf(const QString &name) const;
    [[nodiscard]] QString textFrom(const QJsonValue &value, const QString &path);
    [[nodiscard]] qint64 integer(const QString &name, const QJsonValue &value, qint64 lowest, qint64 highest,
                                 const QString &otherForm = {});

    QJsonObject m_object;
    QString m_path;
    JsonProblem &m_problem;
    QSet<QString> m_known;
};

} // namespace ctl
