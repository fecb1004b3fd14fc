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
    void staleIndexSavesNothing();
    void stopMeansStop_data();
    void stopMeansStop();
    void stopOfADeadEngineLeavesTheRestToThePoll();
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

// Deleting a row can put the index before the list while an engine plays.
void TestStop::staleIndexSavesNothing()
{
    PlayerBench bench(3);
    lastTimePlayFlag = true;
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.showsPosition("40", 40));
    window.listWidget->setCurrentRow(1);
    window.listWidget->deleteSelected();
    QCOMPARE(playinglist.addrIndex, -1);
    QCOMPARE(playinglist.state, 1);
    const QByteArray file = readFile(defaultPlayPath);
    bench.log.clear();
    window.on_stopBtn_clicked();
    QCOMPARE(readFile(defaultPlayPath), file);
    QCOMPARE(bench.rewrites(), 0);
    QCOMPARE(playinglist.state, 0);
    for (int i = 0; i < 3; i++)
        QCOMPARE(addrlist[i].last_play_time, 0);
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

void TestStop::stopOfADeadEngineLeavesTheRestToThePoll()
{
    PlayerBench bench(2);
    playMode = 2;
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.showsPosition("7", 7));
    QVERIFY(Processes::end({bench.engine.last().pid}));
    QVERIFY(bench.engineHasEnded());
    window.on_stopBtn_clicked();
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
