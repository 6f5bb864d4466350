#pragma once

#include "ctl/program.h"
#include "hub/hub.h"
#include "tests/ctl/fake_service.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace testing {

/// Command lines run in this process, through a real hub, to a service with cards in memory.
struct ProgramRun
{
    ProgramRun()
    {
        if (const QString failure = hub->listen(path("services"), path("clients")); !failure.isEmpty())
            qFatal("%s", qPrintable(failure));
        service = std::make_unique<FakeService>(path("services"));
        if (!QTest::qWaitFor([this] { return hub->serviceCount() == 1; }))
            qFatal("the hub has not taken the service");
    }

    /// Runs a command line with the names of the sockets in front; its output is in `out` and `err` afterwards.
    int run(const std::vector<std::string> &words)
    {
        out.clear();
        err.clear();
        QTextStream outStream(&out);
        QTextStream errStream(&err);
        std::vector<std::string> all = {"--hub", path("clients").toStdString(), "--server",
                                        path("server").toStdString()};
        all.insert(all.end(), words.begin(), words.end());
        return ctl::runProgram(all, outStream, errStream);
    }

    /// The same with words that come from a data row.
    int runWords(const QByteArrayList &words)
    {
        std::vector<std::string> all;
        for (const QByteArray &word : words)
            all.push_back(word.toStdString());
        return run(all);
    }

    [[nodiscard]] QString path(const char *name) const { return folder.filePath(QLatin1String(name)); }

    QTemporaryDir folder;
    std::unique_ptr<hub::Hub> hub = std::make_unique<hub::Hub>();
    std::unique_ptr<FakeService> service;
    QString out;
    QString err;
};

} // namespace testing
