#include "bench/service_profile.h"

#include <QProcess>
#include <QTemporaryDir>

#include <array>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr int kPatienceMs = 30000;

/// perf's ears: it samples from one order to the next, and says when it has heard.
class Orders
{
public:
    explicit Orders(const QTemporaryDir &folder)
        : m_orders(folder.filePath("orders").toUtf8())
        , m_answers(folder.filePath("answers").toUtf8())
    {
        ::mkfifo(m_orders.constData(), S_IRUSR | S_IWUSR);
        ::mkfifo(m_answers.constData(), S_IRUSR | S_IWUSR);
        // Opened for both directions, none of the two ends waits for the other to open it.
        m_toPerf = ::open(m_orders.constData(), O_RDWR | O_CLOEXEC);
        m_fromPerf = ::open(m_answers.constData(), O_RDWR | O_CLOEXEC);
    }
    ~Orders()
    {
        ::close(m_toPerf);
        ::close(m_fromPerf);
    }
    Q_DISABLE_COPY_MOVE(Orders)

    [[nodiscard]] QString option() const { return QString::fromUtf8("--control=fifo:" + m_orders + ',' + m_answers); }

    /// False where perf does not answer, since it may have ended.
    [[nodiscard]] bool give(QByteArrayView order, QProcess &perf) const
    {
        constexpr int kLookMs = 100;
        if (::write(m_toPerf, order.data(), static_cast<std::size_t>(order.size())) != order.size())
            return false;
        for (int waited = 0; waited < kPatienceMs && !perf.waitForFinished(0); waited += kLookMs) {
            pollfd answer{m_fromPerf, POLLIN, 0};
            std::array<char, 64> room{};
            if (::poll(&answer, 1, kLookMs) == 1)
                return ::read(m_fromPerf, room.data(), room.size()) > 0;
        }
        return false;
    }

private:
    QByteArray m_orders;
    QByteArray m_answers;
    int m_toPerf;
    int m_fromPerf;
};

std::string ownerOf(const QByteArray &library)
{
    static constexpr std::array<std::pair<const char *, const char *>, 9> kOwners{{{"objects_server", "its own code"},
                                                                                   {"libpq.", "libpq"},
                                                                                   {"libQt6", "Qt"},
                                                                                   {"[", "the kernel"},
                                                                                   {"libc.", "C and C++ libraries"},
                                                                                   {"libm.", "C and C++ libraries"},
                                                                                   {"libstdc++", "C and C++ libraries"},
                                                                                   {"libgcc_s", "C and C++ libraries"},
                                                                                   {"ld-", "C and C++ libraries"}}};
    for (const auto &[begin, owner] : kOwners) {
        if (library.startsWith(begin))
            return owner;
    }
    return "other libraries";
}

/// Of perf's report: "  12.34%  libc.so.6".
std::map<std::string, double> sharesIn(const QByteArray &report)
{
    std::map<std::string, double> shares;
    for (const QByteArray &line : report.split('\n')) {
        const QList<QByteArray> words = line.simplified().split(' ');
        if (words.size() >= 2 && words[0].endsWith('%'))
            shares[ownerOf(words[1])] += words[0].chopped(1).toDouble();
    }
    return shares;
}

} // namespace

std::optional<std::map<std::string, double>> profileOf(pid_t process, const std::function<void()> &work)
{
    const QTemporaryDir folder;
    const QString samples = folder.filePath("samples");
    const Orders orders(folder);
    QProcess perf;
    perf.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    perf.start("perf", {"record", "-q", "-F", "999", "-D", "-1", orders.option(), "-o", samples, "-p",
                        QString::number(process)});
    if (!perf.waitForStarted() || !orders.give("enable\n", perf))
        return std::nullopt;
    work();
    const bool heard = orders.give("disable\n", perf);
    perf.terminate();
    perf.waitForFinished(kPatienceMs);
    QProcess report;
    report.start("perf", {"report", "-q", "--stdio", "--sort", "dso", "-i", samples});
    if (!heard || !report.waitForFinished(kPatienceMs))
        return std::nullopt;
    return sharesIn(report.readAllStandardOutput());
}

} // namespace bench
