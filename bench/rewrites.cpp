#include "bench/attended_service.h"
#include "bench/bare_connection.h"
#include "bench/command_frames.h"
#include "bench/report.h"
#include "bench/rewritten_tables.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>
#include <string>
#include <vector>

namespace {

using bench::commandFrame;
using Clock = std::chrono::steady_clock;

constexpr int kCaller = 1;
constexpr int kParts = 100; ///< of a run; after each the tables are looked at

struct Options
{
    std::string admin;
    std::string database;
    int saves = 10000;
    int objects = 300;
};

/// Every ten objects in a group, every ten groups in one at the top.
struct Tree
{
    int objects;
};

keystone::ByteWriter &operator<<(keystone::ByteWriter &out, const Tree &tree)
{
    const int groups = std::max(1, tree.objects / 10);
    out << qint32(groups);
    for (int group = 1; group <= groups; ++group)
        out << qint32(group) << qint32(group / 10) << QByteArray("Group " + QByteArray::number(group));
    out << qint32(tree.objects);
    for (int object = 1; object <= tree.objects; ++object)
        out << qint32(1 + object % groups) << qint32(object);
    return out;
}

QByteArray treeSave(int objects)
{
    return commandFrame(kCaller, "Save_objects_tree", Tree{objects}) + commandFrame(kCaller, "About");
}

/// Two rights for all objects are switched on, which they are already.
QByteArray setupSave(int objects, int account)
{
    QList<qint32> all;
    for (int object = 1; object <= objects; ++object)
        all.append(object);
    return commandFrame(kCaller, "Fix_personal_setup_changes", qint32(1), qint32(account), all, QList<qint32>{201},
                        QList<qint32>{202, 203});
}

class Rewrites
{
public:
    explicit Rewrites(const Options &options)
        : m_options(options)
        , m_link(bench::attendService(options.admin))
        , m_database(options.database)
    {}

    /// Each save sends `frame` and takes so many frames as its answer.
    void run(const char *title, bench::RewrittenTables tables, int answers,
             const std::function<QByteArray(int save)> &frame);

private:
    [[nodiscard]] std::vector<double> savePart(int first, int saves, int answers,
                                               const std::function<QByteArray(int)> &frame);

    Options m_options;
    std::unique_ptr<bench::Link> m_link;
    bench::BareConnection m_database;
};

std::vector<double> Rewrites::savePart(int first, int saves, int answers, const std::function<QByteArray(int)> &frame)
{
    std::vector<double> taken;
    for (int save = first; save < first + saves; ++save) {
        const QByteArray request = frame(save);
        const auto begin = Clock::now();
        m_link->send(request);
        static_cast<void>(m_link->receive(answers));
        taken.push_back(std::chrono::duration<double, std::nano>(Clock::now() - begin).count());
    }
    std::ranges::sort(taken);
    return taken;
}

void Rewrites::run(const char *title, bench::RewrittenTables tables, int answers,
                   const std::function<QByteArray(int)> &frame)
{
    const int saves = std::max(1, m_options.saves / kParts);
    std::vector<double> medians;
    double longest = 0;
    for (int part = 0; part < kParts; ++part) {
        if (part == 0) {
            static_cast<void>(savePart(0, 1, answers, frame)); // prepares the statements
            tables.look(m_database);
        }
        const std::vector<double> taken = savePart(1 + part * saves, saves, answers, frame);
        medians.push_back(taken[taken.size() / 2]);
        longest = std::max(longest, taken.back());
        tables.look(m_database);
        if ((part + 1) % 10 == 0)
            std::fprintf(stderr, "%s: %d of %d\n", title, (part + 1) * saves, kParts * saves);
    }
    const double slowest = *std::ranges::max_element(medians);
    std::printf("%s, %d saves\n", title, kParts * saves);
    std::printf(
        "a save, median of each hundredth: first %s, slowest %s (%.2f times), last %s (%.2f times); the longest "
        "save %s\n",
        bench::timeText(medians.front()).c_str(), bench::timeText(slowest).c_str(), slowest / medians.front(),
        bench::timeText(medians.back()).c_str(), medians.back() / medians.front(), bench::timeText(longest).c_str());
    tables.print();
    std::printf("\n");
    std::fflush(stdout);
}

} // namespace

int main(int argc, char *argv[])
{
    CLI::App program("Saves the object tree and operators' setups again and again; bench/rewrites prepares it all.");
    Options options;
    program.add_option("--admin", options.admin, "path of the administration server's socket")->required();
    program.add_option("--database", options.database, "libpq's description of the database")->required();
    program.add_option("--saves", options.saves, "how often each is saved")->check(CLI::Range(1, 10'000'000));
    program.add_option("--objects", options.objects, "objects in the registry")->check(CLI::Range(1, 1'000'000));
    try {
        program.parse(argc, argv);
        Rewrites rewrites(options);
        QByteArray tree = treeSave(options.objects);
        rewrites.run("Save_objects_tree", bench::RewrittenTables({"Groups", "Groups_groups", "Groups_objects"}), 1,
                     [&](int) { return tree; });
        rewrites.run("Fix_personal_setup_changes", bench::RewrittenTables({"Person_Setup"}), 2,
                     [&](int save) { return setupSave(options.objects, 1 + save % 10); });
    } catch (const CLI::ParseError &error) {
        return program.exit(error);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "registry_rewrites: %s\n", error.what());
        return 1;
    }
    return 0;
}
