#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace ctl {

/// A table for the terminal: columns aligned by what is seen, not by how many code units it takes.
class Table
{
public:
    /// Cells wider than this are cut.
    static constexpr int kWidestCell = 60;

    explicit Table(QStringList headers);

    /// As many cells as there are headers, each printable().
    void addRow(const QStringList &cells);

    /// Header, a rule, the rows; every line ends with a line feed and none with blanks.
    [[nodiscard]] QString text() const;

private:
    QList<QStringList> m_rows; ///< the headers first
};

} // namespace ctl
