#include "entries.h"
#include "playorder.h"

#include <QtTest>

#include <climits>

class TestPlayOrder : public QObject {
    Q_OBJECT

private slots:
    void next_data();
    void next();
    void modesThatNeverEnd();
    void rowsAndEntries();
    void neighbours();
    void modeNumbers();
};

void TestPlayOrder::next_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("randomNumber");
    QTest::addColumn<int>("nextIndex");
    QTest::addColumn<bool>("play");

    QTest::newRow("single keeps its place") << 0 << 2 << 5 << 7 << 2 << false;
    QTest::newRow("single, oldest") << 0 << 0 << 5 << 7 << 0 << false;
    QTest::newRow("single at -1") << 0 << -1 << 5 << 7 << -1 << false;

    QTest::newRow("sequential, newest") << 1 << 4 << 5 << 7 << 3 << true;
    QTest::newRow("sequential, last but one") << 1 << 1 << 5 << 7 << 0 << true;
    QTest::newRow("sequential, oldest ends") << 1 << 0 << 5 << 7 << -1 << false;
    QTest::newRow("sequential stays at -1") << 1 << -1 << 5 << 7 << -1 << false;
    QTest::newRow("sequential, only one") << 1 << 0 << 1 << 7 << -1 << false;

    QTest::newRow("repeat one") << 2 << 3 << 5 << 7 << 3 << true;
    QTest::newRow("repeat one, oldest") << 2 << 0 << 5 << 7 << 0 << true;
    QTest::newRow("repeat one at -1") << 2 << -1 << 5 << 7 << -1 << true;

    QTest::newRow("repeat list, newest") << 3 << 4 << 5 << 7 << 3 << true;
    QTest::newRow("repeat list, last but one") << 3 << 1 << 5 << 7 << 0 << true;
    QTest::newRow("repeat list wraps to the newest") << 3 << 0 << 5 << 7 << 4 << true;
    QTest::newRow("repeat list at -1") << 3 << -1 << 5 << 7 << 4 << true;
    QTest::newRow("repeat list, only one") << 3 << 0 << 1 << 7 << 0 << true;
    QTest::newRow("repeat list, full") << 3 << 0 << 999 << 7 << 998 << true;

    QTest::newRow("random, remainder") << 4 << 0 << 5 << 7 << 2 << true;
    QTest::newRow("random, zero") << 4 << 3 << 5 << 0 << 0 << true;
    QTest::newRow("random, last") << 4 << 3 << 5 << 4 << 4 << true;
    QTest::newRow("random, the same again") << 4 << 3 << 5 << 8 << 3 << true;
    QTest::newRow("random, largest number") << 4 << 3 << 999 << INT_MAX << INT_MAX % 999 << true;
    QTest::newRow("random, only one") << 4 << 0 << 1 << 12345 << 0 << true;

    for (const int mode : {5, 6, 99, INT_MAX, -1, -4, INT_MIN})
        QTest::addRow("mode %d is single", mode) << mode << 2 << 5 << 7 << 2 << false;
    for (int mode = -1; mode <= 5; ++mode)
        QTest::addRow("mode %d, empty list", mode) << mode << 3 << 0 << 7 << 3 << false;
}

void TestPlayOrder::next()
{
    QFETCH(int, mode);
    QFETCH(int, index);
    QFETCH(int, count);
    QFETCH(int, randomNumber);
    const NextEntry result = nextEntry(mode, index, count, randomNumber);
    QTEST(result.index, "nextIndex");
    QTEST(result.play, "play");
}

void TestPlayOrder::modesThatNeverEnd()
{
    const QList<int> endless{2, 3, 4};
    for (int mode = -1; mode <= 6; mode++)
        QCOMPARE(playsForEver(mode), endless.contains(mode));
}

void TestPlayOrder::rowsAndEntries()
{
    QCOMPARE(entryOfRow(0, 5), 4); // the newest on top
    QCOMPARE(entryOfRow(4, 5), 0);
    QCOMPARE(rowOfEntry(0, 5), 4);
    QCOMPARE(rowOfEntry(4, 5), 0);
    QCOMPARE(entryOfRow(0, 999), 998);
    QCOMPARE(entryOfRow(0, 0), -1); // callers guard by this
    QCOMPARE(entryOfRow(7, 5), -3);
    for (int count = 1; count < 20; ++count) {
        for (int row = 0; row < count; ++row)
            QCOMPARE(rowOfEntry(entryOfRow(row, count), count), row);
    }
}

// The next row is the next older entry; only in a list that is repeated do the ends meet.
void TestPlayOrder::neighbours()
{
    for (const int mode : {0, 1, 2, 3, 4, 7, -1}) {
        QCOMPARE(neighbourEntry(mode, 2, 5, 1), 1);
        QCOMPARE(neighbourEntry(mode, 2, 5, -1), 3);
        QCOMPARE(neighbourEntry(mode, 0, 5, 1), mode == 3 ? 4 : -1);
        QCOMPARE(neighbourEntry(mode, 4, 5, -1), mode == 3 ? 0 : -1);
        QCOMPARE(neighbourEntry(mode, 0, 1, 1), -1);
        QCOMPARE(neighbourEntry(mode, 0, 1, -1), -1);
        QCOMPARE(neighbourEntry(mode, 0, 0, 1), -1);
        QCOMPARE(neighbourEntry(mode, -1, 0, -1), -1);
        QCOMPARE(neighbourEntry(mode, -1, 5, -1), -1);
        QCOMPARE(neighbourEntry(mode, 5, 5, 1), -1);
    }
}

void TestPlayOrder::modeNumbers()
{
    QCOMPARE(int(PlayModeSingle), 0);
    QCOMPARE(int(PlayModeSequential), 1);
    QCOMPARE(int(PlayModeRepeatOne), 2);
    QCOMPARE(int(PlayModeRepeatList), 3);
    QCOMPARE(int(PlayModeRandom), 4);
}

QTEST_APPLESS_MAIN(TestPlayOrder)
#include "tst_playorder.moc"
