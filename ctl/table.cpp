#include "ctl/table.h"

#include "ctl/text.h"

#include <algorithm>

namespace ctl {
namespace {

constexpr char16_t kGap[] = u"  ";

QString lineOf(const QStringList &cells, const QList<int> &widths)
{
    QString line;
    for (qsizetype column = 0; column < cells.size(); ++column) {
        if (column > 0)
            line += QStringView(kGap);
        line += cells[column] + QString(widths[column] - displayWidth(cells[column]), u' ');
    }
    while (line.endsWith(u' '))
        line.chop(1);
    return line + u'\n';
}

} // namespace

Table::Table(QStringList headers)
    : m_rows{std::move(headers)}
{}

void Table::addRow(const QStringList &cells)
{
    QStringList row;
    for (const QString &cell : cells)
        row.append(cutToWidth(cell, kWidestCell));
    m_rows.append(row);
}

QString Table::text() const
{
    QList<int> widths(m_rows.first().size(), 0);
    for (const QStringList &row : m_rows) {
        for (qsizetype column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], displayWidth(row[column]));
    }
    QStringList rule;
    for (const int width : widths)
        rule.append(QString(width, u'-'));
    QString text = lineOf(m_rows.first(), widths) + lineOf(rule, widths);
    for (qsizetype row = 1; row < m_rows.size(); ++row)
        text += lineOf(m_rows[row], widths);
    return text;
}

} // namespace ctl
