// Stopping: what is shown, saved and left alone, and that it stays stopped.
#include "playerbench.h"
#include "processes.h"
#include "whenopen.h"

#include <QMessageBox>
#include <QPushButton>
#include <QSlider>

#include <csignal>

class TestStop : public QObject {
    Q_OBJECT

private slots:
    void looks_data();
    void looks();
    void nothingToStop();
    void savedPosition_data();
    void savedPosition();
    void savesOnlyIfWanted();
    void savesOncePerStop();
    void nestedCallsAreIgnored();
    void stopBeforeTheFirstAnswerKeepsThePosition_data();
    void stopBeforeTheFirstAnswerKeepsThePosition();
    void silentEngineSavesWhereTheSliderWasPut();
    void answeredZeroIsSaved();
    void placeOfTheLoadedEntry_data();
    void placeOfTheLoadedEntry();
    void withoutADeletionTheIndexDecides();
    void stopMeansStop_data();
    void stopMeansStop();
    void stopOfADeadEngine_data();
    void stopOfADeadEngine();
    void clearingAListThatCannotBeEmptied();
    void engineFoundGoneLeavesTheRestToThePoll();
    void clearWhilePausedLeavesTheEngine();
};

void TestStop::looks_data()
{
    QTest::addColumn<bool>("removed"); // the playing row was deleted
    QTest::newRow("button") << false;
    QTest::newRow("row deleted") << true;
}

void TestStop::looks()
{
    QFETCH(bool, removed);
    PlayerBench bench(1);
    lastTimePlayFlag = true;
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.showsLength("100", 100));
    QVERIFY(bench.showsPosition("40", 40));
    window.recvChangeSpeed(150);
    QCOMPARE(window.ui->speedSetBtn->text(), QString("1.5x"));
    window.ui->playWidget->setStyleSheet("");
    bench.log.clear();

    if (removed)
        window.recvRemoveAndStopSignal();
    else
        window.ui->stopBtn->click();
    QCOMPARE(window.m_titleBar->m_titleLabel->text(), QString("Tarnivo播放器"));
    QCOMPARE(window.ui->playWidget->styleSheet(), QString("background-color:black"));
    QCOMPARE(window.ui->currentTimeLabel->text(), QString("00:00:00"));
    QCOMPARE(window.ui->totalTimeLabel->text(), QString("00:00:00"));
    QCOMPARE(window.ui->processSlider->value(), 0);
    QCOMPARE(window.ui->processSlider->maximum(), 100);
    QCOMPARE(window.ui->playBtn->toolTip(), QString("播放"));
    QVERIFY(sameIcon(window.ui->playBtn->icon(), ":/image/controlicon/play.png"));
    QVERIFY(!playingState);
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(playinglist.addrIndex, 0);
    QVERIFY(!window.processTimer->isActive());
    QCOMPARE(playinglist.process_mplayer->state(), QProcess::NotRunning);
    QVERIFY(bench.engine.runningEngines().isEmpty());
    // A deleted entry has no position to save, and the speed display stays.
    QCOMPARE(window.ui->speedSetBtn->text(), QString(removed ? "1.5x" : "倍速"));
    QCOMPARE(window.currentSpeed, removed ? 4 : 2);
    QCOMPARE(addrlist[0].last_play_time, removed ? 0 : 40);
    QCOMPARE(bench.rewrites(), removed ? 0 : 1);
    QVERIFY(bench.engine.waitForInput("quit\n"));
    QVERIFY(bench.engine.input().endsWith("\nspeed_set 1.5\nquit\n"));
}

void TestStop::nothingToStop()
{
    PlayerBench bench(1);
    lastTimePlayFlag = true;
    addrlist[0].last_play_time = 30;
    TestWindow &window = bench.open();
    window.ui->processSlider->setValue(50);
    window.ui->speedSetBtn->setText("1.5x");
    window.m_titleBar->setWindowTitle("title");
    window.on_stopBtn_clicked();
    window.recvStopSignal();
    window.recvRemoveAndStopSignal();
    QCOMPARE(window.ui->processSlider->value(), 50);
    QCOMPARE(window.ui->speedSetBtn->text(), QString("1.5x"));
    QCOMPARE(window.m_titleBar->m_titleLabel->text(), QString("title"));
    QCOMPARE(addrlist[0].last_play_time, 30);
    QCOMPARE(bench.rewrites(), 0);
}

void TestStop::savedPosition_data()
{
    QTest::addColumn<QByteArray>("length");
    QTest::addColumn<QByteArray>("position");
    QTest::addColumn<int>("shown");
    QTest::addColumn<int>("saved");
    QTest::newRow("middle") << QByteArray("100") << QByteArray("50.9") << 50 << 50;
    QTest::newRow("3 left") << QByteArray("100.9") << QByteArray("97.9") << 97 << 97;
    QTest::newRow("2 left") << QByteArray("100") << QByteArray("98.0") << 98 << 0;
    QTest::newRow("1 left") << QByteArray("100") << QByteArray("99.5") << 99 << 0;
    QTest::newRow("the end") << QByteArray("100") << QByteArray("100") << 100 << 0;
    QTest::newRow("very short") << QByteArray("2") << QByteArray("1") << 1 << 0;
    QTest::newRow("short") << QByteArray("4") << QByteArray("1") << 1 << 1;
}

void TestStop::savedPosition()
{
    QFETCH(QByteArray, length);
    QFETCH(QByteArray, position);
    QFETCH(int, shown);
    QFETCH(int, saved);
    PlayerBench bench(3);
    addrlist[1].last_play_time = 77;
    lastTimePlayFlag = true;
    TestWindow &window = bench.open();
    bench.play(1);
    QVERIFY(bench.showsLength(length, int(length.toFloat())));
    QVERIFY(bench.showsPosition(position, shown));
    window.on_stopBtn_clicked();
    QCOMPARE(addrlist[1].last_play_time, saved);
    // The file holds it for the next start.
    addrNum = 0;
    QCOMPARE(readJsonConfig(defaultPlayPath), 0);
    QCOMPARE(addrNum, 3);
    QCOMPARE(addrlist[1].last_play_time, saved);
    QCOMPARE(addrlist[0].last_play_time, 0);
    QCOMPARE(addrlist[2].last_play_time, 0);
}

void TestStop::savesOnlyIfWanted()
{
    PlayerBench bench(1);
    addrlist[0].last_play_time = 77;
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.showsLength("100", 100));
    QVERIFY(bench.showsPosition("50", 50));
    bench.log.clear();
    window.on_stopBtn_clicked();
    QCOMPARE(addrlist[0].last_play_time, 77);
    QCOMPARE(bench.rewrites(), 0);
}

// Closing the process delivers output, which must neither save again nor restart the polling.
void TestStop::savesOncePerStop()
{
    PlayerBench bench(1);
    lastTimePlayFlag = true;
    playMode = 2;
    bench.engine.setSilent();
    bench.engine.atStart(EngineAction::print("ANS_LENGTH=100\nANS_TIME_POSITION=42\n"));
    bench.engine.atStart(EngineAction::flood(1 << 30));
    TestWindow &window = bench.open();
    for (int round = 1; round <= 5; round++) {
        bench.play(0);
        QTRY_COMPARE_WITH_TIMEOUT(window.ui->processSlider->value(), 42, PlayerBench::patience);
        bench.log.clear();
        window.on_stopBtn_clicked();
        QCOMPARE(bench.rewrites(), 1);
        QCOMPARE(addrlist[0].last_play_time, 42);
        QVERIFY(!window.processTimer->isActive());
        addrlist[0].last_play_time = 0; // no resume, whose seek is not read
    }
    QTest::qWait(600); // a poll
    QCOMPARE(bench.engine.starts().size(), 5);
}

void TestStop::nestedCallsAreIgnored()
{
    PlayerBench bench(1);
    lastTimePlayFlag = true;
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.showsPosition("42", 42));
    int nested = 0;
    const auto wire = connect(playinglist.process_mplayer, &QIODevice::aboutToClose, this, [&] {
        nested++;
        window.dataReceive();
        window.on_stopBtn_clicked();
        window.recvRemoveAndStopSignal();
        QCOMPARE(playinglist.state, 1);
    });
    bench.log.clear();
    window.on_stopBtn_clicked();
    disconnect(wire);
    QVERIFY(nested >= 1);
    QCOMPARE(bench.rewrites(), 1);
    QCOMPARE(playinglist.state, 0);
    QVERIFY(!window.processTimer->isActive());
    bench.play(0); // and it works again
    QVERIFY(bench.showsPosition("43", 43));
}

void TestStop::stopBeforeTheFirstAnswerKeepsThePosition_data()
{
    QTest::addColumn<bool>("silent");
    QTest::addColumn<int>("wait");
    QTest::newRow("at once") << false << 0;
    QTest::newRow("soon") << false << 200;
    QTest::newRow("engine never answers") << true << 700;
}

void TestStop::stopBeforeTheFirstAnswerKeepsThePosition()
{
    QFETCH(bool, silent);
    QFETCH(int, wait);
    PlayerBench bench(2);
    addrlist[0].last_play_time = 100;
    addrlist[1].last_play_time = 50;
    lastTimePlayFlag = true;
    bench.engine.setLength("200");
    TestWindow &window = bench.open();
    bench.play(1); // an answer to an earlier start does not count
    QVERIFY(bench.showsPosition("60", 60));
    window.on_stopBtn_clicked();
    QCOMPARE(addrlist[1].last_play_time, 60);
    if (silent)
        bench.engine.setSilent();
    bench.play(0);
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < wait && window.processTimer->remainingTime() > 200)
        QTest::qWait(10); // up to 200 ms before the first poll
    if (silent)
        QVERIFY(bench.engine.waitForInput(pollPair));
    window.on_stopBtn_clicked();
    QCOMPARE(addrlist[0].last_play_time, 100);
}

void TestStop::silentEngineSavesWhereTheSliderWasPut()
{
    PlayerBench bench(1);
    addrlist[0].last_play_time = 100;
    lastTimePlayFlag = true;
    bench.engine.setSilent();
    TestWindow &window = bench.open();
    bench.play(0);
    window.ui->processSlider->setValue(40);
    window.on_stopBtn_clicked();
    QCOMPARE(addrlist[0].last_play_time, 40);
    bench.play(0);
    window.ui->processSlider->setValue(97); // of 99
    window.on_stopBtn_clicked();
    QCOMPARE(addrlist[0].last_play_time, 0);
}

void TestStop::answeredZeroIsSaved()
{
    PlayerBench bench(1);
    addrlist[0].last_play_time = 100;
    lastTimePlayFlag = true;
    bench.engine.setPosition("0.0");
    TestWindow &window = bench.open();
    bench.play(0);
    window.ui->currentTimeLabel->setText("");
    QTRY_COMPARE(window.ui->currentTimeLabel->text(), QString("00:00:00"));
    window.on_stopBtn_clicked();
    QCOMPARE(addrlist[0].last_play_time, 0);
}

void TestStop::placeOfTheLoadedEntry_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("playing");
    QTest::addColumn<QList<int>>("rows"); // deleted, one after the other
    QTest::addColumn<int>("index"); // after that
    using Rows = QList<int>;
    QTest::newRow("index before the list") << 3 << 0 << Rows{1} << -1;
    QTest::newRow("index at an older entry") << 5 << 1 << Rows{2} << 0;
    QTest::newRow("index at a newer entry") << 5 << 3 << Rows{3} << 3;
    QTest::newRow("index at its entry, older deleted") << 3 << 1 << Rows{2} << 0;
    QTest::newRow("index at its entry, newer deleted") << 3 << 1 << Rows{0} << 1;
    QTest::newRow("two deleted") << 6 << 2 << Rows{4, 2} << 0;
    QTest::newRow("the loaded one is gone as well") << 5 << 3 << Rows{3, 1} << 3;
    QTest::newRow("gone, index before the list") << 3 << 0 << Rows{1, 1} << -2;
}

// A deletion can part the index from the entry that plays. No other entry gets its place.
void TestStop::placeOfTheLoadedEntry()
{
    QFETCH(int, count);
    QFETCH(int, playing);
    QFETCH(QList<int>, rows);
    QFETCH(int, index);
    PlayerBench bench(count);
    lastTimePlayFlag = true;
    for (int i = 0; i < count; i++)
        addrlist[i].last_play_time = i == playing ? 3 : 70 + i;
    TestWindow &window = bench.open();
    bench.play(playing);
    QVERIFY(bench.showsLength("100", 100));
    QVERIFY(bench.showsPosition("40", 40));
    for (int row : qAsConst(rows)) {
        window.listWidget->setCurrentRow(row);
        window.listWidget->deleteSelected();
    }
    QCOMPARE(playinglist.addrIndex, index);
    QCOMPARE(playinglist.state, 1);
    QMap<QString, int> expected;
    for (int i = 0; i < addrNum; i++)
        expected.insert(addrlist[i].addr, addrlist[i].last_play_time);
    const bool gone = !expected.contains(PlayerBench::address(playing));
    if (!gone)
        expected[PlayerBench::address(playing)] = 40;
    bench.log.clear();
    window.on_stopBtn_clicked();
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(playinglist.addrIndex, index);
    QCOMPARE(bench.rewrites(), gone ? 0 : 1);
    QMap<QString, int> saved;
    for (int i = 0; i < addrNum; i++)
        saved.insert(addrlist[i].addr, addrlist[i].last_play_time);
    QCOMPARE(saved, expected);
    for (int i = 0; i < addrNum; i++)
        QCOMPARE(storedPosition(defaultPlayPath, i), addrlist[i].last_play_time);
}

// Deletions before the start don't count either.
void TestStop::withoutADeletionTheIndexDecides()
{
    PlayerBench bench(4);
    lastTimePlayFlag = true;
    TestWindow &window = bench.open();
    window.listWidget->setCurrentRow(0);
    window.listWidget->deleteSelected();
    bench.play(1);
    QVERIFY(bench.showsLength("100", 100));
    QVERIFY(bench.showsPosition("40", 40));
    playinglist.addrIndex = 2;
    window.on_stopBtn_clicked();
    QCOMPARE(addrlist[1].last_play_time, 0);
    QCOMPARE(addrlist[2].last_play_time, 40);
}

void TestStop::stopMeansStop_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("way");
    for (int mode = 0; mode <= 4; mode++) {
        QTest::addRow("mode %d, button", mode) << mode << 0;
        QTest::addRow("mode %d, bar", mode) << mode << 1;
        QTest::addRow("mode %d, playing row deleted", mode) << mode << 2;
        QTest::addRow("mode %d, list cleared", mode) << mode << 3;
    }
}

void TestStop::stopMeansStop()
{
    QFETCH(int, mode);
    QFETCH(int, way);
    PlayerBench bench(3);
    lastTimePlayFlag = true;
    TestWindow &window = bench.open();
    playMode = mode;
    bench.play(1);
    QVERIFY(bench.showsPosition("7", 7));
    switch (way) {
    case 0:
        window.ui->stopBtn->click();
        break;
    case 1:
        emit window.fsvc->stopSignal();
        break;
    case 2:
        window.listWidget->setCurrentRow(1);
        window.listWidget->deleteSelected();
        QCOMPARE(addrNum, 2);
        break;
    default: {
        WhenModal yes([](QWidget *box) {
            qobject_cast<QMessageBox *>(box)->button(QMessageBox::Yes)->click();
        });
        window.listWidget->emptyList();
        QCOMPARE(addrNum, 0);
    }
    }
    QVERIFY(!window.processTimer->isActive());
    // Longer than a poll; the first of them the whole time a person would wait.
    QTest::qWait(mode == 2 && way == 0 ? 2000 : 600);
    QVERIFY(!window.processTimer->isActive());
    QVERIFY(!playingState);
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(bench.engine.starts().size(), 1);
    QVERIFY(bench.engine.runningEngines().isEmpty());
}

void TestStop::stopOfADeadEngine_data()
{
    QTest::addColumn<int>("way");
    QTest::addColumn<bool>("noticed");
    const char *ways[] = {"button", "bar", "menu", "playing row deleted", "list cleared", "closed"};
    for (bool noticed : {false, true}) {
        for (int way = 0; way < 6; way++)
            QTest::addRow("%s, %s", ways[way], noticed ? "noticed" : "not noticed")
                << way << noticed;
    }
}

// Between the end of the engine and the poll that would have something follow.
void TestStop::stopOfADeadEngine()
{
    QFETCH(int, way);
    QFETCH(bool, noticed);
    PlayerBench bench(3);
    lastTimePlayFlag = true;
    TestWindow &window = bench.open();
    playMode = 2;
    bench.play(1);
    QVERIFY(bench.showsLength("100", 100));
    QVERIFY(bench.showsPosition("7", 7));
    QVERIFY(Processes::end({bench.engine.last().pid}));
    QVERIFY(bench.engineHasEnded());
    if (noticed) {
        window.dataReceive();
        QCOMPARE(playinglist.state, 0);
        window.m_titleBar->setWindowTitle("title");
        window.ui->speedSetBtn->setText("1.5x");
        window.ui->currentTimeLabel->setText("label");
    }
    QVERIFY(window.processTimer->isActive());
    bench.log.clear();
    switch (way) {
    case 0:
        window.ui->stopBtn->click();
        break;
    case 1:
        emit window.fsvc->stopSignal();
        break;
    case 2:
        QVERIFY(QMetaObject::invokeMethod(&window, "on_stopBtn_clicked"));
        break;
    case 3:
        window.listWidget->setCurrentRow(1);
        window.listWidget->deleteSelected();
        break;
    case 4: {
        WhenModal yes([](QWidget *box) {
            qobject_cast<QMessageBox *>(box)->button(QMessageBox::Yes)->click();
        });
        window.listWidget->emptyList();
        break;
    }
    default:
        window.close();
    }
    QVERIFY(!window.processTimer->isActive());
    QCOMPARE(playinglist.state, 0);
    QVERIFY(!playingState);
    if (noticed) {
        QCOMPARE(window.m_titleBar->m_titleLabel->text(), QString("title"));
        QCOMPARE(window.ui->speedSetBtn->text(), QString("1.5x"));
        QCOMPARE(window.ui->currentTimeLabel->text(), QString("label"));
        QCOMPARE(bench.rewrites(), way == 3 ? 1 : 0); // the deletion's own
    } else if (way < 3) {
        QCOMPARE(window.m_titleBar->m_titleLabel->text(), QString("Tarnivo播放器"));
        QCOMPARE(addrlist[1].last_play_time, 7);
        QCOMPARE(bench.rewrites(), 1);
    }
    QTest::qWait(600); // longer than a poll
    QVERIFY(!window.processTimer->isActive());
    QCOMPARE(bench.engine.starts().size(), 1);
}

// The entries stay then, without their rows.
void TestStop::clearingAListThatCannotBeEmptied()
{
    PlayerBench bench(2);
    TestWindow &window = bench.open();
    playMode = 2;
    bench.play(1);
    QVERIFY(bench.showsPosition("7", 7));
    QVERIFY(Processes::end({bench.engine.last().pid}));
    QVERIFY(bench.engineHasEnded());
    window.dataReceive();
    QVERIFY(window.processTimer->isActive());
    defaultPlayPath = bench.root.path() + "/none/config.json";
    WhenModal yes(
        [](QWidget *box) { qobject_cast<QMessageBox *>(box)->button(QMessageBox::Yes)->click(); });
    window.listWidget->emptyList();
    QCOMPARE(addrNum, 2);
    QVERIFY(!window.processTimer->isActive());
}

// What follows a film is the poll's to choose, also where the last output tells of the end first.
void TestStop::engineFoundGoneLeavesTheRestToThePoll()
{
    PlayerBench bench(2);
    playMode = 2;
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.showsPosition("7", 7));
    QVERIFY(Processes::end({bench.engine.last().pid}));
    QVERIFY(bench.engineHasEnded());
    window.dataReceive();
    QCOMPARE(playinglist.state, 0);
    QVERIFY(window.processTimer->isActive());
    QVERIFY(bench.engine.waitForStarts(2));
    QCOMPARE(bench.played(), QStringList({"/f/0.mp4", "/f/0.mp4"}));
}

// The list may be cleared while the engine pauses; it stays, and its stop has nothing to save.
void TestStop::clearWhilePausedLeavesTheEngine()
{
    PlayerBench bench(2);
    lastTimePlayFlag = true;
    TestWindow &window = bench.open();
    bench.play(1);
    QVERIFY(bench.showsPosition("40", 40));
    window.on_playBtn_clicked();
    WhenModal yes(
        [](QWidget *box) { qobject_cast<QMessageBox *>(box)->button(QMessageBox::Yes)->click(); });
    window.listWidget->emptyList();
    QCOMPARE(playinglist.state, 1);
    QCOMPARE(bench.engine.runningEngines().size(), 1);
    window.on_stopBtn_clicked();
    QVERIFY(bench.engine.runningEngines().isEmpty());
    QCOMPARE(readFile(defaultPlayPath), QByteArray());
    QCOMPARE(addrNum, 0);
}

QTEST_MAIN(TestStop)
#include "tst_stop.moc"
