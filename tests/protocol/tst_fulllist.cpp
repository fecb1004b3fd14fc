// The list with every slot in use: what one more file does to rows, entries and file.
#include "playerbench.h"

#include <QtTest>

class TestFullList : public QObject {
    Q_OBJECT

private slots:
    void newFileTakesTheOldestPlace();
    void knownFileChangesNothing();
};

void TestFullList::newFileTakesTheOldestPlace()
{
    PlayerBench bench(kHistoryCapacity);
    TestWindow &window = bench.open();
    QCOMPARE(window.listWidget->count(), kHistoryCapacity);
    QCOMPARE(window.listWidget->item(0)->text(), QString("998.mp4"));
    // The row that goes was the one clicked last.
    window.listWidget->setCurrentRow(998);
    window.listWidget->getListName(window.listWidget->item(998));

    window.openAndDragFile("/f/new.mp4");
    QCOMPARE(addrNum, kHistoryCapacity);
    QCOMPARE(playinglist.addrIndex, 998);
    QCOMPARE(window.listWidget->count(), kHistoryCapacity);
    QCOMPARE(window.listWidget->item(0)->text(), QString("new.mp4"));
    QCOMPARE(window.listWidget->currentRow(), 0);
    QCOMPARE(window.listWidget->item(1)->text(), QString("998.mp4"));
    QCOMPARE(window.listWidget->item(998)->text(), QString("1.mp4"));
    const QStringList stored = storedAddresses(defaultPlayPath);
    QCOMPARE(stored.size(), kHistoryCapacity);
    QCOMPARE(stored.first(), QString("/f/1.mp4"));
    QCOMPARE(stored.last(), QString("/f/new.mp4"));
    QVERIFY(bench.engine.waitForStarts(1));
    QCOMPARE(bench.played(), QStringList("/f/new.mp4"));

    window.listWidget->playSelectedList(); // the row still counts, the item is gone
    QVERIFY(bench.engine.waitForStarts(2));
    QCOMPARE(bench.played().last(), QString("/f/1.mp4"));
}

void TestFullList::knownFileChangesNothing()
{
    PlayerBench bench(kHistoryCapacity);
    TestWindow &window = bench.open();
    const QByteArray file = readFile(defaultPlayPath);
    window.openAndDragFile("/f/0.mp4");
    QCOMPARE(addrNum, kHistoryCapacity);
    QCOMPARE(playinglist.addrIndex, 0);
    QCOMPARE(window.listWidget->count(), kHistoryCapacity);
    QCOMPARE(readFile(defaultPlayPath), file);
    QVERIFY(bench.engine.waitForStarts(1));
    QCOMPARE(bench.played(), QStringList("/f/0.mp4"));
}

QTEST_MAIN(TestFullList)
#include "tst_fulllist.moc"
