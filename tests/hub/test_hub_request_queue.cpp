#include "hub/request_queue.h"

#include <QTest>

using hub::RequestQueue;

class TestHubRequestQueue : public QObject
{
    Q_OBJECT

private slots:
    void givesTheFirstRequestThatFits();
    void forgetsNothingWhenNobodyAsked();
    void forgetsTheOldestBeyondItsLimit();
    void keepsNoEndlessNames();
    void namesEachAskerOnce();
};

void TestHubRequestQueue::givesTheFirstRequestThatFits()
{
    RequestQueue queue(10);
    queue.push({1, 4, "Save"});
    queue.push({2, 5, "Get"});
    queue.push({3, 4, "Get"});
    queue.push({4, 4, "Get"});
    QCOMPARE(queue.takeAsker(4, "Get"), std::optional<hub::LinkId>(3));
    QCOMPARE(queue.size(), 1);
    QCOMPARE(queue.takeAsker(4, "Get"), std::optional<hub::LinkId>(4));
    QCOMPARE(queue.size(), 0);
}

void TestHubRequestQueue::forgetsNothingWhenNobodyAsked()
{
    RequestQueue queue(10);
    queue.push({1, 4, "Get"});
    QVERIFY(!queue.takeAsker(5, "Get"));
    QVERIFY(!queue.takeAsker(4, "get"));
    QCOMPARE(queue.size(), 1);
}

void TestHubRequestQueue::forgetsTheOldestBeyondItsLimit()
{
    RequestQueue queue(2);
    queue.push({1, 4, "Get"});
    queue.push({2, 4, "Get"});
    queue.push({3, 4, "Get"});
    QCOMPARE(queue.size(), 2);
    QCOMPARE(queue.takeAsker(4, "Get"), std::optional<hub::LinkId>(2));
}

void TestHubRequestQueue::keepsNoEndlessNames()
{
    RequestQueue queue(2);
    queue.push({1, 4, QByteArray(RequestQueue::kLongestName, 'a')});
    queue.push({1, 4, QByteArray(RequestQueue::kLongestName + 1, 'a')});
    QCOMPARE(queue.size(), 1);
}

void TestHubRequestQueue::namesEachAskerOnce()
{
    RequestQueue queue(10);
    queue.push({1, 4, "Get"});
    queue.push({2, 4, "Get"});
    queue.push({1, 4, "Save"});
    queue.push({1, 5, "Get"});
    const QList<hub::Request> askers = queue.takeAskers();
    QCOMPARE(askers.size(), 3);
    QCOMPARE(askers[0].client, 1u);
    QCOMPARE(askers[1].client, 2u);
    QCOMPARE(askers[2].operatorNumber, 5);
    QCOMPARE(queue.size(), 0);
}

QTEST_GUILESS_MAIN(TestHubRequestQueue)
#include "test_hub_request_queue.moc"
