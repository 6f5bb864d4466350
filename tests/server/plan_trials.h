#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// A request of every command to the registry of large_registry.sql, several where the command has several ways.
struct PlanTrial
{
    QByteArray command;
    QString way; ///< what tells it from the command's other trials
    QByteArray request;
    int subjects = 1; ///< objects or operators that it names
};

[[nodiscard]] QList<PlanTrial> planTrials();

/// The account that asks.
inline constexpr int kAskingOperator = 4;

/// A statement that may read all of a table, since all that is in it is asked for.
struct WholeRead
{
    const char *command;
    const char *words; ///< that stand in the statement and in no other of the command's that read the table
    const char *table;
    const char *why;
};

[[nodiscard]] QList<WholeRead> wholeReads();
