// A paused engine stays loaded: what happens to it when another entry is opened or played.
#include "common.h"
#include "enginebench.h"
#include "playorder.h"
#include "testsupport.h"
#include "testwindow.h"
#include "toolbench.h"

#include <QtTest>

#include <optional>

class TestPausedEngine : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
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
    QByteArrayList played() const;

    std::optional<PlayerRoot> root;
    std::optional<StandInEngine> engine;
    std::optional<StandInTools> tools;
    std::optional<TestWindow> window;
};

void TestPausedEngine::init()
{
    root.emplace();
    engine.emplace(root->path());
    engine->setLength("100");
    engine->setPosition("40");
    tools.emplace();
    lastTimePlayFlag = true;
}

// Entries /f/0.mp4 (oldest) and so on, one of them loaded, 40 s in and paused.
void TestPausedEngine::pauseAt(int index, int count)
{
    for (int i = 0; i < count; i++) {
        addrlist[i].addr = QString("/f/%1.mp4").arg(i);
        addrlist[i].label = QString("%1.mp4").arg(i);
        addrlist[i].type = 1;
    }
    addrNum = count;
    pauseEntry(index);
}

void TestPausedEngine::pauseEntry(int index)
{
    window.emplace();
    playinglist.addrIndex = index;
    window->on_playBtn_clicked();
    QVERIFY(engine->waitForStarts(1));
    QTRY_COMPARE(window->ui->processSlider->maximum(), 100);
    QTRY_COMPARE(window->currentPosition, 40);
    window->on_playBtn_clicked();
    QVERIFY(!playingState);
}

void TestPausedEngine::cleanup()
{
    window.reset();
    tools.reset();
    engine.reset();
    root.reset();
}

QByteArrayList TestPausedEngine::played() const
{
    QByteArrayList addresses;
    for (const StandInEngine::Start &start : engine->starts())
        addresses << start.arguments.value(0);
    return addresses;
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
    addrlist[0].addr = first;
    addrlist[1].addr = second;
    addrNum = 2;
    pauseEntry(1);
    window->openAndDragFile("/new.mp4");
    QVERIFY(engine->waitForStarts(2));
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
    QVERIFY(engine->waitForStarts(2));
    QCOMPARE(played(), QByteArrayList({"/f/0.mp4", "/new.mp4"}));
    QVERIFY(playingState);
    QCOMPARE(playinglist.addrIndex, addrNum - 1);
    QCOMPARE(addrlist[addrNum - 1].last_play_time, 0);
    QCOMPARE(engine->runningEngines(), QList<qint64>() << engine->last().pid);
    QCOMPARE(addrlist[0].addr, QString("/f/0.mp4"));
    QCOMPARE(addrlist[0].last_play_time, 40);
}

void TestPausedEngine::sameFile()
{
    pauseAt(0, 3);
    window->openAndDragFile("/f/0.mp4");
    QVERIFY(playingState);
    QVERIFY(engine->waitForInputCount("pause\n", 2));
    QCOMPARE(played(), QByteArrayList({"/f/0.mp4"}));
    QCOMPARE(addrNum, 3);
}

void TestPausedEngine::entriesAfterADeletion_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<bool>("byList");
    QTest::addColumn<QByteArrayList>("expected");
    for (bool byList : {true, false}) {
        const char *way = byList ? "list" : "opened";
        QTest::addRow("the loaded one, %s", way) << 2 << byList << QByteArrayList{"/f/1.mp4"};
        QTest::addRow("the one of the index, %s", way)
            << 3 << byList << QByteArrayList{"/f/1.mp4", "/f/0.mp4"};
        QTest::addRow("any other, %s", way)
            << 0 << byList << QByteArrayList{"/f/1.mp4", "/f/4.mp4"};
    }
}

// Where a row is deleted the index moves by a rule that can part it from the loaded entry.
void TestPausedEngine::entriesAfterADeletion()
{
    QFETCH(int, row);
    QFETCH(bool, byList);
    QFETCH(QByteArrayList, expected);
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
    QVERIFY(engine->waitForStarts(expected.size()));
    QCOMPARE(played(), expected);
    QCOMPARE(playinglist.addrIndex, target);
    QVERIFY(playingState);
    QCOMPARE(addrlist[0].last_play_time, 3);
    QCOMPARE(addrlist[1].addr, QString("/f/1.mp4"));
    QCOMPARE(addrlist[1].last_play_time, expected.size() == 2 ? 40 : 0);
    if (expected.size() == 1)
        QVERIFY(engine->waitForInputCount("pause\n", 2));
}

QTEST_MAIN(TestPausedEngine)
#include "tst_pausedengine.moc"
