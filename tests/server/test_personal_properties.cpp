// The catalogue of personal properties, byte for byte.

#include "conversation.h"
#include "installation.h"

#include <vector>

using support::bytes;
using support::hex;
using support::i32;

namespace {

constexpr int kOperator = 4;
const QByteArray kName = "Get_persprop4objects_desc";

struct Entry
{
    int id;
    const char *text;
};

struct Group
{
    const char *heading;
    int count;
    std::vector<Entry> entries;
};

// Trailing blanks, mixed Latin letters, dashes and quotation marks are meant: clients compare these texts.
const std::vector<Group> kGroups = {
    {"Получение сообщений с информацией о работе оборудования",
     32,
     {
         {1, "Потеряна связь с объектом. "},
         {2, "Связь с объектом восстановлена. "},
         {8, "Мониторинговое cообщение-> "},
         {9, "Объект прекратил работу. "},
         {18, "Активный режим. "},
         {19, "Ждущий режим. "},
         {20, "Спящий режим. "},
         {22, "Резервное электропитание в норме. "},
         {26, "Внешнее электропитание восстановлено. "},
         {28, "Корпус блока закрыт. "},
         {30, " – отбой тревоги. "},
         {40, "Отбой тревоги. "},
         {47, "Нет навигации. "},
         {48, "Прием сигналов спутников восстановлен. "},
         {49, "Нормальная работа. "},
         {50, "Старт после аппаратного сброса. "},
         {51, "Блок включен менее 2-х минут назад. "},
         {52, "Cтарт после сброса по таймеру. "},
         {53, "Взят под охрану. "},
         {54, "Снят с охраны. "},
         {56, "Подогрев отключен. "},
         {68, "Заправка %1 л."},
         {100, "Версия прошивки: %1"},
         {101, "Начато считывание „черного ящика“. "},
         {102, "Завершено считывание „черного ящика“. "},
         {103, "Нет интернет соединения с блоками КДН-3. "},
         {104, "Неисправно оборудование для приема данных по УКВ. "},
         {105, "Команда выполнена. "},
         {110, "Нет данных с блоков КД-3 по каналу UDP. Проверьте соединение с интернет. "},
         {111, "Нет данных с трекеров Trekko по каналу UDP. Проверьте соединение с интернет. "},
         {112, "Произведена корректировка времени на сервере. Величина коррекции: %1 сек. "},
         {114, "Корректировка времени. Величина коррекции: %1 сек. "},
     }},
    {"Получение тревожных сообщений",
     7,
     {
         {17, "Тревога. "},
         {21, "Критическое состояние резервного электропитания. "},
         {25, "Переход на резервное электропитание. "},
         {27, "Несанкционированное вскрытие. "},
         {29, "Тревога – вторжение "},
         {39, "Тревога – нападение. "},
         {69, "Слив топлива %1 л."},
     }},
    {"Получение сообщений о перемещении объекта",
     15,
     {
         {57, "Движение по графику. "},
         {58, "Вход в зону наблюдения. "},
         {59, "Выход из зоны наблюдения. "},
         {60, "Отставание от графика. "},
         {61, "Опережение графика. "},
         {64, "Вход в контрольную точку. "},
         {65, "Выход из контрольной точки. "},
         {66, "Нет прибытия в контрольную точку. "},
         {67, "Нет убытия из контрольной точки. "},
         {13, "Занят. "},
         {14, "Свободен. "},
         {15, "Прибыл на место. "},
         {16, "Приступил к исполнению. "},
         {302, "Объект неподвижен более %1 мин."},
         {303, "Скорость объекта выше %1 км/ч."},
     }},
    {"Разрешения",
     4,
     {
         {201, "Наблюдение"},
         {202, "Управление"},
         {203, "Смена режима"},
         {204, "Настройка"},
     }},
    {"Показ объекта на карте",
     2,
     {
         {211, "Автоматическое скрытие"},
         {212, "Автоматический показ"},
     }},
};

QByteArray catalogue()
{
    QByteArray result = i32(5);
    for (const Group &group : kGroups) {
        result += i32(0) + bytes(group.heading) + i32(group.count);
        for (const Entry &entry : group.entries)
            result += i32(entry.id) + bytes(entry.text) + i32(0);
    }
    return result;
}

} // namespace

class TestPersonalProperties : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void beginsWithTheKnownBytes();
    void oddTextsHaveTheKnownBytes_data();
    void oddTextsHaveTheKnownBytes();
    void answersTheWholeCatalogue();
    void everyRequestIsAnsweredAlike_data();
    void everyRequestIsAnsweredAlike();
    void everyCallerIsAnsweredAlike_data();
    void everyCallerIsAnsweredAlike();
    void nameIsComparedExactly_data();
    void nameIsComparedExactly();
    void neitherDatabaseNorEarlierCallsMatter();

private:
    support::Installation m_site;
    support::AdminPeer &m_admin = m_site.admin;
};

void TestPersonalProperties::initTestCase()
{
    m_site.begin();
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestPersonalProperties::init()
{
    m_site.settle();
}

void TestPersonalProperties::cleanup()
{
    SAYS_NOTHING_MORE(m_admin);
    QVERIFY(m_site.client.isSilent());
}

void TestPersonalProperties::beginsWithTheKnownBytes()
{
    m_admin.send(support::command(kName, "", kOperator));
    const QByteArray said = m_admin.nextFrame();
    // Length, type, twice the name, the count of the data; then five groups, the first heading and its 32 entries.
    const qsizetype head = 4 + 1 + 2 * (4 + 25) + 4;
    QCOMPARE(said.mid(head, 12).toHex(' '), hex("00 00 00 05 00 00 00 00 00 00 00 68").toHex(' '));
    QCOMPARE(said.mid(head + 12, 20).toHex(' '),
             hex("D0 9F D0 BE D0 BB D1 83 D1 87 D0 B5 D0 BD D0 B8 D0 B5 20 D1").toHex(' '));
    QCOMPARE(said.mid(head + 12 + 104, 12).toHex(' '), hex("00 00 00 20 00 00 00 01 00 00 00 31").toHex(' '));
    QCOMPARE(said.size(), head + 4022 + 11 + 4);
}

void TestPersonalProperties::oddTextsHaveTheKnownBytes_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("8 holds a Latin c") << i32(8) +
                                              bytes(hex("D0 9C D0 BE D0 BD D0 B8 D1 82 D0 BE D1 80 D0 B8 D0 BD D0 B3 "
                                                        "D0 BE D0 B2 D0 BE D0 B5 20 63 D0 BE D0 BE D0 B1 D1 89 D0 B5 "
                                                        "D0 BD D0 B8 D0 B5 2D 3E 20"));
    QTest::newRow("52 begins with a Latin C")
        << i32(52) +
               bytes(hex(
                   "43 D1 82 D0 B0 D1 80 D1 82 20 D0 BF D0 BE D1 81 D0 BB D0 B5 20 D1 81 D0 B1 D1 80 D0 BE D1 81 D0 "
                   "B0 20 D0 BF D0 BE 20 D1 82 D0 B0 D0 B9 D0 BC D0 B5 D1 80 D1 83 2E 20"));
    QTest::newRow("50 begins with a Russian C") << i32(50) + i32(59) + hex("D0 A1 D1 82");
    QTest::newRow("30 begins with a blank and a dash")
        << i32(30) +
               bytes(hex("20 E2 80 93 20 D0 BE D1 82 D0 B1 D0 BE D0 B9 20 D1 82 D1 80 D0 B5 D0 B2 D0 BE D0 B3 D0 B8 "
                         "2E 20"));
    QTest::newRow("29 ends in a blank without a full stop")
        << i32(29) +
               bytes(hex("D0 A2 D1 80 D0 B5 D0 B2 D0 BE D0 B3 D0 B0 20 E2 80 93 20 D0 B2 D1 82 D0 BE D1 80 D0 B6 D0 "
                         "B5 D0 BD D0 B8 D0 B5 20"));
    QTest::newRow("68 has no blank at its end")
        << i32(68) + bytes(hex("D0 97 D0 B0 D0 BF D1 80 D0 B0 D0 B2 D0 BA D0 B0 20 25 31 20 D0 BB 2E"));
    QTest::newRow("302 has no blank at its end") << hex("20 25 31 20 D0 BC D0 B8 D0 BD 2E") + i32(0) + i32(303);
    QTest::newRow("303 has no blank at its end") << hex("25 31 20 D0 BA D0 BC 2F D1 87 2E") + i32(0) + i32(0);
    QTest::newRow("101 has low and high quotation marks")
        << hex("E2 80 9E D1 87 D0 B5 D1 80 D0 BD D0 BE D0 B3 D0 BE 20 D1 8F D1 89 D0 B8 D0 BA D0 B0 E2 80 9C 2E 20");
}

void TestPersonalProperties::oddTextsHaveTheKnownBytes()
{
    QFETCH(QByteArray, line);
    m_admin.send(support::command(kName, "", kOperator));
    QVERIFY(m_admin.nextFrame().contains(line));
}

void TestPersonalProperties::answersTheWholeCatalogue()
{
    m_admin.send(support::command(kName, "", kOperator));
    SAYS(m_admin, support::answer(kName, catalogue(), kOperator));
}

void TestPersonalProperties::everyRequestIsAnsweredAlike_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::newRow("no data") << support::commandWithNoData(kName, kOperator);
    QTest::newRow("empty") << support::command(kName, "", kOperator);
    QTest::newRow("a number") << support::command(kName, i32(17), kOperator);
    QTest::newRow("a huge count") << support::command(kName, hex("FF FF FF FF 7F FF FF FF"), kOperator);
    QTest::newRow("100 KB") << support::command(kName, QByteArray(100000, 'x'), kOperator);
}

void TestPersonalProperties::everyRequestIsAnsweredAlike()
{
    QFETCH(QByteArray, command);
    m_admin.send(command);
    SAYS(m_admin, support::answer(kName, catalogue(), kOperator));
}

void TestPersonalProperties::everyCallerIsAnsweredAlike_data()
{
    QTest::addColumn<int>("caller");
    for (const int caller : {0, 5, -5, 2147483647})
        QTest::addRow("%d", caller) << caller;
}

void TestPersonalProperties::everyCallerIsAnsweredAlike()
{
    QFETCH(int, caller);
    m_admin.send(support::command(kName, "", caller));
    SAYS(m_admin, support::answer(kName, catalogue(), caller));
}

void TestPersonalProperties::nameIsComparedExactly_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const char *name : {"get_persprop4objects_desc", "Get_persprop4objects_desc ", "Get_persprop4objects_des",
                             "Get_persprop4objects_descr"})
        QTest::newRow(name) << QByteArray(name);
}

void TestPersonalProperties::nameIsComparedExactly()
{
    QFETCH(QByteArray, name);
    m_admin.send(support::command(name, "", kOperator));
    SAYS_NOTHING_MORE(m_admin);
}

void TestPersonalProperties::neitherDatabaseNorEarlierCallsMatter()
{
    m_site.database->run("DELETE FROM \"Connections\"");
    for (int i = 0; i < 3; ++i) {
        m_admin.send(support::command(kName, "", kOperator));
        SAYS(m_admin, support::answer(kName, catalogue(), kOperator));
    }
}

QTEST_GUILESS_MAIN(TestPersonalProperties)
#include "test_personal_properties.moc"
