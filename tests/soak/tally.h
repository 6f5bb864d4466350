#pragma once

#include <QByteArray>
#include <QHash>
#include <QMap>
#include <QStringList>

namespace soak {

/// What the campaign did and saw.
struct Tally
{
    struct Command
    {
        int sent = 0;
        int answered = 0;
        int unanswered = 0; ///< though it has an answer
        int announced = 0;  ///< notices of its objects
    };
    QMap<QByteArray, Command> commands;
    QMap<QByteArray, int> faults;
    QMap<QByteArray, int> lines; ///< of the local log, by what they say
    qint64 longestAboutMs = 0;
    QString longestAboutAt;
    int abouts = 0;
    int unsure = 0;      ///< commands that were on their way while something was done to the database
    int late = 0;        ///< times that not the first command behind a fault worked
    qint64 compared = 0; ///< rows
    int comparisons = 0;
    /// Event-log records and notices that the commands so far must have been followed by, whatever else happened.
    qint64 owedRecords = 0;
    qint64 owedUserNotices = 0;
    qint64 owedSetupNotices = 0;
    QHash<QByteArray, QByteArray> firstAnswers; ///< of commands that are always answered the same
    QStringList problems;

    void noteAbout(qint64 ms, const QString &at);
    void print() const;
    void printProblems() const;
};

} // namespace soak
