#include "bench/results.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <stdexcept>

namespace bench {

namespace {

QString text(const std::string &value)
{
    return QString::fromStdString(value);
}

QJsonObject json(const Summary &summary)
{
    return {{"median", summary.median}, {"p10", summary.p10}, {"p90", summary.p90}};
}

Summary summaryIn(const QJsonValue &value)
{
    return {value["median"].toDouble(), value["p10"].toDouble(), value["p90"].toDouble()};
}

Result resultIn(const QJsonObject &line)
{
    Result result;
    result.section = line["section"].toString().toStdString();
    result.figure = line["figure"].toString().toStdString();
    result.limit = line["limit"].toString().toStdString();
    if (line["goal"].isDouble())
        result.goal = line["goal"].toDouble();
    result.unit = line["unit"].toString().toStdString();
    result.subject = summaryIn(line["subject"]);
    result.limitMedian = line["limitMedian"].toDouble();
    result.ratio = summaryIn(line["ratio"]);
    result.objects = static_cast<long>(line["objects"].toInteger());
    result.atLeast = line["atLeast"].toBool();
    return result;
}

void appendLine(const std::string &path, const QJsonObject &line)
{
    QFile file(text(path));
    const QByteArray bytes = QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append) || file.write(bytes) != bytes.size() || !file.flush())
        throw std::runtime_error("cannot write " + path);
}

std::vector<QJsonObject> linesOf(const std::string &path)
{
    QFile file(text(path));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("cannot read " + path);
    std::vector<QJsonObject> lines;
    while (!file.atEnd()) {
        lines.push_back(QJsonDocument::fromJson(file.readLine()).object());
        if (!lines.back().contains("figure") && !lines.back().contains("note"))
            throw std::runtime_error(path + " is no file of results");
    }
    return lines;
}

} // namespace

void appendResult(const std::string &path, const Result &result)
{
    const QJsonObject line{
        {"section", text(result.section)},
        {"figure", text(result.figure)},
        {"limit", text(result.limit)},
        {"goal", result.goal ? QJsonValue(*result.goal) : QJsonValue(QJsonValue::Null)},
        {"unit", text(result.unit)},
        {"subject", json(result.subject)},
        {"limitMedian", result.limitMedian},
        {"ratio", json(result.ratio)},
        {"objects", qint64(result.objects)},
        {"atLeast", result.atLeast},
    };
    appendLine(path, line);
}

void appendNote(const std::string &path, const Note &note)
{
    appendLine(path, {{"note", text(note.name)}, {"text", text(note.text)}});
}

std::vector<Result> readResults(const std::string &path)
{
    std::vector<Result> results;
    for (const QJsonObject &line : linesOf(path)) {
        if (line.contains("figure"))
            results.push_back(resultIn(line));
    }
    return results;
}

std::vector<Note> readNotes(const std::string &path)
{
    std::vector<Note> notes;
    for (const QJsonObject &line : linesOf(path)) {
        if (line.contains("note"))
            notes.push_back({line["note"].toString().toStdString(), line["text"].toString().toStdString()});
    }
    return notes;
}

std::vector<std::string> sectionsOf(const std::vector<Result> &results)
{
    std::vector<std::string> sections;
    for (const Result &result : results) {
        if (std::ranges::find(sections, result.section) == sections.end())
            sections.push_back(result.section);
    }
    return sections;
}

std::optional<bool> reachesGoal(const Result &result)
{
    if (!result.goal)
        return std::nullopt;
    const double ratio = result.ratio.median;
    return result.atLeast ? ratio >= *result.goal : ratio <= *result.goal;
}

} // namespace bench
