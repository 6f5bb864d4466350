#include "tests/ctl/sample_registry.h"

#include <QDataStream>
#include <QImage>

using testing::SampleRegistry;

/// Trees about as large as a frame may be, through objectsctl, the hub, the service and its database.
class TestCtlLargeTrees : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { m_site.reset(); }
    void showsATreeNearTheLimit();
    void saysThatATreeIsTooLarge();

private:
    /// Gives `count` objects a picture of half a million bytes each.
    void addPictures(int count);

    std::unique_ptr<SampleRegistry> m_site;
    QByteArray m_picture;
};

void TestCtlLargeTrees::initTestCase()
{
    m_site = std::make_unique<SampleRegistry>();
    const QString failure = m_site->begin();
    QVERIFY2(failure.isEmpty(), qPrintable(failure));
    QImage image(400, 400, QImage::Format_RGB32);
    quint32 noise = 1; // which no picture format makes smaller
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            noise = noise * 1664525 + 1013904223;
            image.setPixel(x, y, noise | 0xFF000000);
        }
    }
    QDataStream stream(&m_picture, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_4_5);
    stream << image;
    QVERIFY(m_picture.size() > 450'000 && m_picture.size() < 500'000);
}

void TestCtlLargeTrees::addPictures(int count)
{
    m_site->database->run(R"(DELETE FROM "Objects_property" WHERE "Id_objects" >= 1000)");
    m_site->database->run(QStringLiteral(R"(INSERT INTO "Objects_property" ("Id_objects", "Name", "Type", "Value")
        SELECT n, v.name, 10, v.value FROM generate_series(1000, 999 + %1) n,
            (VALUES ('name', 'Большой'::bytea), ('pic', '\x%2'::bytea)) v(name, value))")
                              .arg(QString::number(count), QString::fromLatin1(m_picture.toHex())));
}

void TestCtlLargeTrees::showsATreeNearTheLimit()
{
    const int count = 49'900'000 / int(m_picture.size());
    addPictures(count);
    QCOMPARE(m_site->run({"--timeout", "60", "tree", "show", "--full"}), 0);
    QCOMPARE(m_site->out.count(QStringLiteral("Большой")), count);
}

void TestCtlLargeTrees::saysThatATreeIsTooLarge()
{
    addPictures(50'000'000 / int(m_picture.size()) + 1);
    QCOMPARE(m_site->run({"tree", "show", "--full"}), 1);
    QCOMPARE(
        m_site->err,
        "objectsctl: the service leaves Get_full_objects_tree without an answer: the answer is more than the 50000000 "
        "bytes that a frame may hold, or the database failed; its log says which\n");
    QVERIFY2(m_site->service.waitForLog("Frame not sent: 5"), qPrintable(m_site->service.story()));
    // The others have their answers as before.
    QCOMPARE(m_site->run({"card", "show", "1"}), 0);
}

QTEST_GUILESS_MAIN(TestCtlLargeTrees)
#include "test_ctl_large_trees.moc"
