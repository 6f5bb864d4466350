#include "bytes.h"
#include "fault.h"
#include "operator_bytes.h"

#include <csignal>

namespace soak {

using support::command;
using support::i32;
using support::ServiceProcess;
using support::text;
using support::Wire;

namespace {

constexpr int kMiB = 1 << 20;

/// Peers of the hub and of the service's own server, by turns.
std::vector<Wire> newPeers(Scene &scene, int count)
{
    std::vector<Wire> peers;
    for (int i = 0; i < count; ++i)
        peers.push_back(Wire::connectTo(i % 2 == 0 ? scene.site().hubPath() : scene.site().service().serverPath()));
    return peers;
}

void peersVanish(Scene &scene)
{
    const QByteArray whole = command("Get_object_card_v2", QByteArray(300, 'x'), Site::kNobody);
    std::vector<Wire> peers = newPeers(scene, 10);
    for (Wire &peer : peers)
        peer.send(whole.left(1 + scene.random(int(whole.size()) - 1)));
    for (Wire &peer : peers) {
        scene.run(3);
        peer.close();
    }
}

void peersSayNothing(Scene &scene)
{
    const std::vector<Wire> peers = newPeers(scene, 10);
    scene.run(40);
}

/// Bytes of any kind; frames of any type; commands that nobody knows.
void peersSendGarbage(Scene &scene)
{
    std::vector<Wire> peers = newPeers(scene, 12);
    for (size_t i = 0; i < peers.size(); ++i) {
        const QByteArray bytes = scene.randomBytes(200);
        const QByteArray frame = support::frame(scene.random(256), bytes);
        peers[i].send(i % 6 < 2 ? bytes : i % 6 < 4 ? frame : command(bytes, bytes, Site::kNobody));
        scene.run(3);
    }
}

void peersFlap(Scene &scene)
{
    for (int i = 0; i < 10; ++i) {
        for (Wire &peer : newPeers(scene, 2))
            peer.send(support::greeting("flapping"));
        scene.run(2);
    }
}

/// Each record of an account that does not exist is as long as its login.
void readerOfRecordsStuck(Scene &scene)
{
    constexpr int kRecords = 70; // more than may be left unread
    const Wire stuck = Wire::connectTo(scene.site().service().serverPath());
    const QByteArray change =
        command("Fix_user", support::accountRequest(0x7FFFFFFF, {.login = QString(kMiB, u'x')}), Site::kNobody);
    for (int i = 0; i < kRecords; ++i) {
        ++scene.tally().owedRecords;
        ++scene.tally().owedUserNotices;
        if (!scene.site().sendAside(scene.site().aside(), change))
            return scene.complain("a reader that is stuck holds others up");
        if (i % 10 == 0)
            scene.run(2);
    }
}

void readerOfAnswersStuck(Scene &scene)
{
    constexpr int kAnswers = 20; // of 8 MB: more than may be left unread
    Wire stuck = Wire::connectTo(scene.site().hubPath());
    stuck.send(command("Get_object_card_v2", i32(Site::kLargeObject), Site::kNobody + 1).repeated(kAnswers));
    scene.run(40);
    // Behind them all in the service's order.
    scene.site().about("reader of answers stuck");
}

void siblingFlaps(Scene &scene)
{
    scene.site().endSibling();
    scene.run(20 + scene.random(40));
    scene.expect(scene.site().beginSibling(), "the service does not come back to its sibling");
}

/// The service goes on for those who attach to itself, and the hub gets what it has missed.
void hubFrozen(Scene &scene)
{
    constexpr int kAnswers = 30; // of 1 MB
    Site &site = scene.site();
    scene.concludeAll();
    ::kill(pid_t(site.hubProcess()), SIGSTOP);
    scene.runUnanswered(20);
    const QByteArray large =
        command("Get_objs_by_query_v2", text("SELECT generate_series(1, 250000)"), Site::kNobody).repeated(kAnswers);
    const bool isDone = site.sendAside(site.aside(), large);
    ::kill(pid_t(site.hubProcess()), SIGCONT);
    scene.expect(isDone, "a frozen hub holds the service up");
    site.about("hub frozen before");
}

} // namespace

QList<Fault> busFaults()
{
    return {{"peers vanish in mid-frame", false, {}, peersVanish},
            {"peers say nothing", false, {}, peersSayNothing},
            {"peers send garbage", false, {}, peersSendGarbage},
            {"peers flap", false, {}, peersFlap},
            {"reader of records stuck", false, {.cutOff = 1}, readerOfRecordsStuck},
            {"reader of answers stuck", false, {.cutOff = 1}, readerOfAnswersStuck},
            {"sibling flaps", false, {}, siblingFlaps},
            {"hub frozen", false, {}, hubFrozen}};
}

} // namespace soak
