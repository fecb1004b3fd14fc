// A paused engine stays loaded: what happens to it when another entry is opened or played.
#include "playerbench.h"
#include "playorder.h"

#include <QtTest>

#include <optional>

class TestPausedEngine : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { bench.reset(); }
    void buttonComesBeforeTheCommand();
    void newFile_data();
    void newFile();
    void entriesEditedByHand_data();
    void entriesEditedByHand();
    void sameFile();
    void entriesAfterADeletion_data();
    void entriesAfterADeletion();

private:
    void pauseAt(int index, int count);
    void pauseEntry(int index);

    std::optional<PlayerBench> bench;
    TestWindow *window = nullptr;
};

// Entries /f/0.mp4 (oldest) and so on, one of them loaded, 40 s in and paused.
void TestPausedEngine::pauseAt(int index, int count)
{
    bench.emplace(count);
    pauseEntry(index);
}

void TestPausedEngine::pauseEntry(int index)
{
    lastTimePlayFlag = true;
    window = &bench->open();
    bench->play(index);
    QVERIFY(bench->engine.waitForStarts(1));
    QVERIFY(bench->showsLength("100", 100));
    QVERIFY(bench->showsPosition("40", 40));
    window->on_playBtn_clicked();
    QVERIFY(!playingState);
}

void TestPausedEngine::buttonComesBeforeTheCommand()
{
    pauseAt(0, 1);
    QTRY_COMPARE(engineProcess()->bytesToWrite(), 0);
    QList<qint64> unsent; // at each change
    connect(window, &MainWindow::changed, this, [&] { unsent << engineProcess()->bytesToWrite(); });
    window->on_playBtn_clicked();
    QVERIFY(playingState);
    QVERIFY(engineProcess()->bytesToWrite() > 0);
    QTRY_COMPARE(engineProcess()->bytesToWrite(), 0);
    window->on_playBtn_clicked();
    QVERIFY(!playingState);
    QVERIFY(engineProcess()->bytesToWrite() > 0);
    disconnect(window, &MainWindow::changed, this, nullptr);
    QCOMPARE(unsent, QList<qint64>({0, 0}));
}

// Addresses that the player itself would not store: the position still goes to the entry that is
// loaded.
void TestPausedEngine::entriesEditedByHand_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::newRow("with its scheme") << "/f/other.mp4"
                                     << "file:///f/a.mp4";
    QTest::newRow("twice the same") << "/f/a.mp4"
                                    << "/f/a.mp4";
}

void TestPausedEngine::entriesEditedByHand()
{
    QFETCH(QString, first);
    QFETCH(QString, second);
    bench.emplace();
    addrlist[0].addr = first;
    addrlist[1].addr = second;
    addrNum = 2;
    pauseEntry(1);
    window->openAndDragFile("/new.mp4");
    QVERIFY(bench->engine.waitForStarts(2));
    QCOMPARE(addrlist[0].last_play_time, 0);
    QCOMPARE(addrlist[1].last_play_time, 40);
}

void TestPausedEngine::newFile_data()
{
    QTest::addColumn<bool>("deleteFirst");
    QTest::newRow("list as it was") << false;
    // The rule for deleted rows then leaves the index at -1, which is also "not in the list".
    QTest::newRow("after another row was deleted") << true;
}

void TestPausedEngine::newFile()
{
    QFETCH(bool, deleteFirst);
    pauseAt(0, 3);
    if (deleteFirst) {
        window->listWidget->setCurrentRow(1);
        window->listWidget->deleteSelected();
        QCOMPARE(playinglist.addrIndex, -1);
    }
    window->openAndDragFile("/new.mp4");
    QVERIFY(bench->engine.waitForStarts(2));
    QCOMPARE(bench->played(), QStringList({"/f/0.mp4", "/new.mp4"}));
    QVERIFY(playingState);
    QCOMPARE(playinglist.addrIndex, addrNum - 1);
    QCOMPARE(addrlist[addrNum - 1].last_play_time, 0);
    QCOMPARE(bench->engine.runningEngines(), QList<qint64>() << bench->engine.last().pid);
    QCOMPARE(addrlist[0].addr, QString("/f/0.mp4"));
    QCOMPARE(addrlist[0].last_play_time, 40);
}

void TestPausedEngine::sameFile()
{
    pauseAt(0, 3);
    window->openAndDragFile("/f/0.mp4");
    QVERIFY(playingState);
    QVERIFY(bench->engine.waitForInputCount("pause\n", 2));
    QCOMPARE(bench->played(), QStringList({"/f/0.mp4"}));
    QCOMPARE(addrNum, 3);
}

void TestPausedEngine::entriesAfterADeletion_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<bool>("byList");
    QTest::addColumn<QStringList>("expected");
    for (bool byList : {true, false}) {
        const char *way = byList ? "list" : "opened";
        QTest::addRow("the loaded one, %s", way) << 2 << byList << QStringList{"/f/1.mp4"};
        QTest::addRow("the one of the index, %s", way)
            << 3 << byList << QStringList{"/f/1.mp4", "/f/0.mp4"};
        QTest::addRow("any other, %s", way) << 0 << byList << QStringList{"/f/1.mp4", "/f/4.mp4"};
    }
}

// Where a row is deleted the index moves by a rule that can part it from the loaded entry.
void TestPausedEngine::entriesAfterADeletion()
{
    QFETCH(int, row);
    QFETCH(bool, byList);
    QFETCH(QStringList, expected);
    pauseAt(1, 5);
    addrlist[0].last_play_time = 3;
    window->listWidget->setCurrentRow(2);
    window->listWidget->deleteSelected();
    QCOMPARE(playinglist.addrIndex, 0);
    const int target = entryOfRow(row, addrNum);
    if (byList) {
        window->listWidget->currentIndex = row;
        window->playSelectedItem(nullptr);
    } else {
        window->openAndDragFile(addrlist[target].addr);
    }
    QVERIFY(bench->engine.waitForStarts(expected.size()));
    QCOMPARE(bench->played(), expected);
    QCOMPARE(playinglist.addrIndex, target);
    QVERIFY(playingState);
    QCOMPARE(addrlist[0].last_play_time, 3);
    QCOMPARE(addrlist[1].addr, QString("/f/1.mp4"));
    QCOMPARE(addrlist[1].last_play_time, expected.size() == 2 ? 40 : 0);
    if (expected.size() == 1)
        QVERIFY(bench->engine.waitForInputCount("pause\n", 2));
}

QTEST_MAIN(TestPausedEngine)
#include "tst_pausedengine.moc"
