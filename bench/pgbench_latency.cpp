#include "bench/pgbench_latency.h"

#include <QProcess>
#include <QTemporaryFile>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace bench {

namespace {

constexpr int kRuns = 5;
constexpr const char *kTransactions = "1000";
constexpr double kNanosecondsPerMillisecond = 1e6;

bool isNumber(const QByteArray &value)
{
    bool number = false;
    (void)value.toLongLong(&number);
    return number;
}

/// "$1" is ":v1" there.
QByteArray scriptOf(const RecordedStatement &statement)
{
    QByteArray text = statement.text;
    for (qsizetype place = statement.values.size(); place > 0; --place)
        text.replace('$' + QByteArray::number(place), ":v" + QByteArray::number(place));
    return text.trimmed().endsWith(';') ? text : text + ";\n";
}

std::optional<double> latencyIn(const QByteArray &report)
{
    constexpr QByteArrayView kBegin("latency average = ");
    const qsizetype begin = report.indexOf(kBegin);
    const qsizetype end = report.indexOf(" ms", begin);
    if (begin < 0 || end < 0)
        return std::nullopt;
    return report.sliced(begin + kBegin.size(), end - begin - kBegin.size()).toDouble() * kNanosecondsPerMillisecond;
}

} // namespace

std::optional<Summary> pgbenchLatency(const RecordedStatement &statement, const std::string &database)
{
    if (statement.way != RecordedStatement::Way::Kept || !std::ranges::all_of(statement.values, isNumber))
        return std::nullopt;
    QTemporaryFile script;
    if (!script.open() || script.write(scriptOf(statement)) < 0 || !script.flush())
        return std::nullopt;
    QStringList arguments{"-n", "-M", "prepared", "-c", "1", "-t", kTransactions, "-f", script.fileName()};
    for (qsizetype place = 0; place < statement.values.size(); ++place)
        arguments << "-D" << QStringLiteral("v%1=%2").arg(place + 1).arg(QString::fromUtf8(statement.values[place]));
    arguments << QString::fromStdString(database);
    std::vector<double> latencies;
    for (int run = 0; run < kRuns; ++run) {
        QProcess pgbench;
        pgbench.start("pgbench", arguments);
        pgbench.waitForFinished();
        const auto latency = latencyIn(pgbench.readAllStandardOutput());
        if (!latency) {
            std::fprintf(stderr, "pgbench: %s\n", pgbench.readAllStandardError().constData());
            return std::nullopt;
        }
        latencies.push_back(*latency);
    }
    return summaryOf(std::move(latencies));
}

} // namespace bench
