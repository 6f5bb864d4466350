// A client that never reads is cut off before the service has grown on its account; nobody else notices.

#include "conversation.h"
#include "installation.h"

using support::i32;

namespace {

constexpr qint64 kMiB = 1 << 20;
constexpr int kNameSize = 4 * kMiB;

/// Only an event-log record follows it, which holds the operator's long name.
QByteArray recordOnly()
{
    return support::command("Update_object_card_field", i32(17) + i32(0), 4);
}

} // namespace

class TestSlowClient : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void clientThatNeverReadsIsCutOff();
    void clientThatReadsLateButInTimeIsKept();
    void siblingThatNeverReadsDisturbsNobody();

private:
    support::Installation m_site;
    support::SiblingPeer m_sibling{m_site.service.path("sibling")};
    QByteArray m_line = "User '" + QByteArray(kNameSize, 'n') + "' update card with id=17";
};

void TestSlowClient::initTestCase()
{
    m_site.begin("Connections=" + m_sibling.listener().path().toUtf8() + "\n");
    QVERIFY(m_sibling.attend());
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
    SAYS(m_sibling, support::greeting(m_site.service.serverPath().toUtf8()));
    m_site.database->run(QStringLiteral("UPDATE \"Connections\" SET \"Login\" = repeat('n', %1)").arg(kNameSize));
}

void TestSlowClient::clientThatNeverReadsIsCutOff()
{
    support::ClientPeer lazy;
    QVERIFY(lazy.attach(m_site.service.serverPath(), m_site.admin));
    QVERIFY(lazy.send(support::greeting("lazybones")));
    const qint64 before = m_site.service.residentBytes();
    qint64 highest = before;
    qsizetype lines = m_site.service.log().size();
    int cutAfter = 0;
    for (int sent = 1; sent <= 60; ++sent) {
        m_site.admin.send(recordOnly());
        RECORDS(m_site.client, m_line);
        RECORDS(m_sibling, m_line);
        highest = qMax(highest, m_site.service.residentBytes());
        SAYS_NOTHING_MORE(m_site.admin);
        if (cutAfter == 0 && m_site.service.log().size() > lines)
            cutAfter = sent;
    }
    // 64 MiB may wait, which is 16 records; a little of them has gone into the socket itself.
    QVERIFY2(cutAfter >= 16 && cutAfter <= 18, qPrintable(QString::number(cutAfter)));
    QVERIFY(lazy.ended());
    // With the records of the others under way, and memory that the allocator keeps.
    QVERIFY2(highest - before < 160 * kMiB + support::kSanitizerBytes,
             qPrintable(QString::number((highest - before) / kMiB)));
    QVERIFY2(!m_site.service.logTexts().mid(lines).filter("lazybones").isEmpty(), qPrintable(m_site.service.story()));
    QVERIFY(m_site.service.isRunning());
}

void TestSlowClient::clientThatReadsLateButInTimeIsKept()
{
    support::ClientPeer late;
    QVERIFY(late.attach(m_site.service.serverPath(), m_site.admin));
    for (int round = 0; round < 3; ++round) {
        for (int sent = 0; sent < 14; ++sent) {
            m_site.admin.send(recordOnly());
            RECORDS(m_site.client, m_line);
            RECORDS(m_sibling, m_line);
        }
        for (int sent = 0; sent < 14; ++sent)
            RECORDS(late, m_line);
    }
    SAYS_NOTHING_MORE(m_site.admin);
}

void TestSlowClient::siblingThatNeverReadsDisturbsNobody()
{
    for (int sent = 0; sent < 12; ++sent) {
        m_site.admin.send(recordOnly());
        RECORDS(m_site.client, m_line);
    }
    SAYS_NOTHING_MORE(m_site.admin);
    for (int sent = 0; sent < 12; ++sent)
        RECORDS(m_sibling, m_line);
}

QTEST_GUILESS_MAIN(TestSlowClient)
#include "test_slow_client.moc"
