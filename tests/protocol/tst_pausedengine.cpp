// A paused engine stays loaded: what happens to it when another entry is opened or played.
#include "common.h"
#include "enginebench.h"
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
    void sameFile();

private:
    QByteArrayList played() const;

    std::optional<InstallRoot> root;
    std::optional<StandInEngine> engine;
    std::optional<StandInTools> tools;
    std::optional<TestWindow> window;
};

// Entries /f/0.mp4 to /f/2.mp4, the oldest of them loaded, 40 s in and paused.
void TestPausedEngine::init()
{
    resetSharedState();
    root.emplace();
    defaultPlayPath = root->historyFile();
    screenShotPath = root->path() + "/";
    engine.emplace(root->path());
    engine->setLength("100");
    engine->setPosition("40");
    tools.emplace();
    for (int i = 0; i < 3; i++) {
        addrlist[i].addr = QString("/f/%1.mp4").arg(i);
        addrlist[i].label = QString("%1.mp4").arg(i);
        addrlist[i].type = 1;
    }
    addrNum = 3;
    lastTimePlayFlag = true;
    window.emplace();
    playinglist.addrIndex = 0;
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
    resetSharedState();
}

QByteArrayList TestPausedEngine::played() const
{
    QByteArrayList addresses;
    for (const StandInEngine::Start &start : engine->starts())
        addresses << start.arguments.value(0);
    return addresses;
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
    if (!deleteFirst)
        QCOMPARE(addrlist[0].last_play_time, 40);
}

void TestPausedEngine::sameFile()
{
    window->openAndDragFile("/f/0.mp4");
    QVERIFY(playingState);
    QVERIFY(engine->waitForInputCount("pause\n", 2));
    QCOMPARE(played(), QByteArrayList({"/f/0.mp4"}));
    QCOMPARE(addrNum, 3);
}

QTEST_MAIN(TestPausedEngine)
#include "tst_pausedengine.moc"
