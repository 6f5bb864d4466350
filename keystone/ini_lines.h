#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

/// The assignments of an INI file, as QSettings finds them, with their values as they stand in the file: QSettings ends
/// a value at an unquoted ";", here it goes on to the end of its line. Elsewhere such a ";" begins a comment for both.
class IniLines
{
public:
    struct Assignment
    {
        QString key; ///< in full, "Base/DbHost"
        QByteArrayView value;
    };

    /// `content` must outlive the reader.
    explicit IniLines(QByteArrayView content);

    /// The next assignment of the file; nothing at its end.
    [[nodiscard]] std::optional<Assignment> next();

private:
    struct Line
    {
        QByteArrayView text;
        qsizetype equals = -1; ///< where the first unquoted "=" stands in it; -1: nowhere
        QByteArrayView indent; ///< what stands between a byte order mark and the text in its line
    };
    [[nodiscard]] Line nextLine();
    void enterSection(QByteArrayView line);

    QByteArrayView m_content;
    bool m_hasMark = false;
    qsizetype m_position = 0;
    QString m_section; ///< with the slash behind it
};
