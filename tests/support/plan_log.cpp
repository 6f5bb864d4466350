#include "plan_log.h"

#include "service_process.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace support {

namespace {

const QString kRole = QStringLiteral("objects_service");

/// The table of an index that is read into a bitmap stands in the node above.
TableRead readOf(const QJsonObject &node, const QString &tableAbove)
{
    TableRead read;
    const QString type = node.value("Node Type").toString();
    read.table = node.value("Relation Name").toString(tableAbove);
    read.node = (type + ' ' + node.value("Index Name").toString()).trimmed();
    read.isWhole = type == "Seq Scan" || (type.contains("Index") && !node.contains("Index Cond"));
    read.condition = node.value(node.contains("Index Cond") ? "Index Cond" : "Filter").toString();
    read.pages = node.value("Shared Hit Blocks").toInt() + node.value("Shared Read Blocks").toInt();
    const int loops = node.value("Actual Loops").toInt();
    const int found = node.value("Actual Rows").toInt();
    read.lookUps = loops * std::max(1, found);
    read.rows = loops * (found + node.value("Rows Removed by Filter").toInt());
    return read;
}

void collectReads(const QJsonObject &node, const QString &tableAbove, QList<TableRead> &reads)
{
    const QString type = node.value("Node Type").toString();
    const QString schema = node.value("Schema").toString();
    const bool isOwn = schema.isEmpty() ? !tableAbove.isEmpty() : schema == "public" || schema == "archive";
    if (type.endsWith("Scan") && isOwn)
        reads.append(readOf(node, tableAbove));
    QString table;
    if (type.startsWith("Bitmap"))
        table = isOwn ? node.value("Relation Name").toString(tableAbove) : tableAbove;
    const QJsonArray plans = node.value("Plans").toArray();
    for (const auto &below : plans)
        collectReads(below.toObject(), table, reads);
}

/// A line of the log as a plan; nothing where it is another line, or another role's.
std::optional<StatementPlan> planOf(const QByteArray &line)
{
    const QJsonObject entry = QJsonDocument::fromJson(line).object();
    const QString message = entry.value("message").toString();
    const qsizetype begin = message.indexOf('{');
    if (entry.value("user").toString() != kRole || !message.contains("  plan:\n") || begin < 0)
        return std::nullopt;
    const QJsonObject explained = QJsonDocument::fromJson(message.mid(begin).toUtf8()).object();
    StatementPlan plan{explained.value("Query Text").toString(), {}};
    collectReads(explained.value("Plan").toObject(), {}, plan.reads);
    return plan;
}

} // namespace

QString TableRead::told() const
{
    return QStringLiteral("%1: %2 %3, %4 pages for %5 look-ups, %6 rows")
        .arg(table, node, condition, QString::number(pages), QString::number(lookUps), QString::number(rows));
}

QStringList PlanLog::serverSettings()
{
    return {"session_preload_libraries=auto_explain",
            "auto_explain.log_min_duration=0",
            "auto_explain.log_format=json",
            "auto_explain.log_verbose=on", // else a plan does not tell the installation's tables from the server's own
            "auto_explain.log_analyze=on",
            "auto_explain.log_buffers=on",
            "auto_explain.log_timing=off",
            "logging_collector=on",
            "log_destination=jsonlog",
            "log_filename=plans.log",
            "log_rotation_age=0",
            "log_rotation_size=0"};
}

QByteArray PlanLog::news() const
{
    QFile log(m_server.dataFolder() + "/log/plans.json");
    return log.open(QIODevice::ReadOnly) && log.seek(m_taken) ? log.readAll() : QByteArray();
}

std::optional<QList<StatementPlan>> PlanLog::take()
{
    // The server's processes write through one pipe, so what stands before the mark is whole.
    const QString mark = QStringLiteral("mark %1 of the plans").arg(++m_marks);
    m_database.run("SELECT '" + mark + "'");
    QByteArray lines;
    const bool isThere = ServiceProcess::waitUntil([&] {
        lines = news();
        return lines.contains(mark.toUtf8()) && lines.endsWith('\n');
    });
    if (!isThere)
        return std::nullopt;
    m_taken += lines.size();
    QList<StatementPlan> plans;
    for (const QByteArray &line : lines.split('\n')) {
        if (auto plan = planOf(line))
            plans.append(*plan);
    }
    return plans;
}

} // namespace support
