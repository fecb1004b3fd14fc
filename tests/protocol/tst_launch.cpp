// How the window starts, restarts and pauses the engine.
#include "dialogs.h"
#include "playerbench.h"
#include "processes.h"
#include "whenopen.h"

#include <QMessageBox>
#include <QToolButton>

#include <atomic>
#include <climits>
#include <thread>

class TestLaunch : public QObject {
    Q_OBJECT

private slots:
    void argumentsReachTheEngine_data();
    void argumentsReachTheEngine();
    void whatAStartSets();
    void emptyListDoesNothing();
    void playPressedThreeTimes();
    void everyWayToPauseWritesOnce_data();
    void everyWayToPauseWritesOnce();
    void staleIndexPlaysTheNewest_data();
    void staleIndexPlaysTheNewest();
    void indexOutsideTheArrayStartsNothing_data();
    void indexOutsideTheArrayStartsNothing();
    void restartQuitsTheOldEngine();
    void hardwareWarning();
    void hardwareWarningOnlyForOtherCodecs_data();
    void hardwareWarningOnlyForOtherCodecs();
    void tenStartsInARow();
    void brokenEngine_data();
    void brokenEngine();
    void resume_data();
    void resume();
    void noResumeUnlessWanted();
    void closingEndsTheEngine();
};

void TestLaunch::argumentsReachTheEngine_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("type");
    QTest::addColumn<float>("frame");
    QTest::addColumn<QString>("shots");
    QTest::addColumn<QByteArrayList>("before");
    QTest::addColumn<QByteArrayList>("decoding");
    QTest::addColumn<QByteArray>("filter");

    const QByteArrayList none;
    const QByteArrayList threads{"-lavdopts", "threads=8"};
    const QByteArrayList vdpau{"-vc", "ffh264vdpau,ffhevcvdpau"};
    const auto stream = [](const QByteArray &rate) {
        return QByteArrayList{"-rtsp-stream-over-tcp", "-framedrop", "-fps", rate};
    };
    QTest::newRow("software") << 0 << "/f/a b.mp4" << 1 << 25.0f << "/s/" << none << none
                              << QByteArray("screenshot=/s/shot");
    QTest::newRow("threads") << 1 << "/f/片.mp4" << 1 << 25.0f << "/s/" << none << threads
                             << QByteArray("screenshot=/s/shot");
    QTest::newRow("hardware") << 2 << "/f/a.mp4" << 1 << 25.0f << "/s/" << none << vdpau
                              << QByteArray("screenshot=/s/shot");
    QTest::newRow("stream, threads") << 1 << "rtsp://h/s" << 2 << 25.0f << "/s/" << stream("30")
                                     << threads << QByteArray("screenshot=/s/shot");
    QTest::newRow("stream, 29.97") << 0 << "rtmp://h/s" << 2 << 29.97f << "/s/" << stream("34.97")
                                   << none << QByteArray("screenshot=/s/shot");
    QTest::newRow("stream, rate unknown") << 2 << "rtsp://h/s" << 2 << 0.0f << "/s/" << stream("5")
                                          << vdpau << QByteArray("screenshot=/s/shot");
    QTest::newRow("folder with a comma") << 0 << "/f/a.mp4" << 1 << 25.0f << "/s,t/" << none << none
                                         << QByteArray("screenshot=/s\\,t/shot");
    QTest::newRow("no folder") << 0 << "/f/a.mp4" << 1 << 25.0f << "" << none << none
                               << QByteArray("screenshot=shot");
    QTest::newRow("empty address")
        << 0 << "" << 1 << 25.0f << "/s/" << none << none << QByteArray("screenshot=/s/shot");
}

void TestLaunch::argumentsReachTheEngine()
{
    QFETCH(int, mode);
    QFETCH(QString, address);
    QFETCH(int, type);
    QFETCH(float, frame);
    QFETCH(QString, shots);
    QFETCH(QByteArrayList, before);
    QFETCH(QByteArrayList, decoding);
    QFETCH(QByteArray, filter);
    PlayerBench bench(1);
    addrlist[0].addr = address;
    addrlist[0].type = type;
    addrlist[0].frame = frame;
    TestWindow &window = bench.open();
    decodeFlag = mode;
    screenShotPath = shots;
    bench.play(0);
    QVERIFY(bench.engine.waitForStarts(1));
    const QByteArray id = QByteArray::number(uint(window.ui->playWidget->winId()));
    const QByteArrayList expected = before +
        QByteArrayList{
            address.toLocal8Bit(), "-slave", "-quiet", "-subcp", "cp936", "-mc", "10", "-zoom"} +
        decoding + QByteArrayList{"-vf-add", filter, "-wid", id};
    QCOMPARE(bench.engine.last().arguments, expected);
}

void TestLaunch::whatAStartSets()
{
    PlayerBench bench(3);
    TestWindow &window = bench.open();
    QCOMPARE(playinglist.addrIndex, 2); // at first the newest
    QCOMPARE(playinglist.state, 0);
    QVERIFY(!window.processTimer->isActive());
    window.softAndVdpauPlay(1);
    QCOMPARE(playinglist.state, 1);
    QCOMPARE(playinglist.addrIndex, 1);
    QVERIFY(window.processTimer->isActive());
    QCOMPARE(window.processTimer->interval(), 500);
    QCOMPARE(window.m_titleBar->m_titleLabel->text(), QString("1.mp4"));
    QCOMPARE(window.fsvc->titleLabel->text(), QString("1.mp4"));
    const QString logged = bench.log.lines().filter("arglist:").join("|");
    QVERIFY2(logged.startsWith("arglist: (\"/f/1.mp4\", \"-slave\", \"-quiet\", "),
             qPrintable(logged));
    QVERIFY(bench.engine.waitForStarts(1));
    window.on_stopBtn_clicked();

    window.on_playBtn_clicked();
    QVERIFY(playingState);
    QCOMPARE(window.ui->playBtn->toolTip(), QString("暂停"));
    QVERIFY(sameIcon(window.ui->playBtn->icon(), ":/image/controlicon/pause.png"));
    QVERIFY(bench.engine.waitForStarts(2));
    QCOMPARE(bench.played(), QStringList({"/f/1.mp4", "/f/1.mp4"}));
}

void TestLaunch::emptyListDoesNothing()
{
    PlayerBench bench;
    TestWindow &window = bench.open();
    window.ui->playBtn->click();
    window.recvPlayBtnClicked();
    QCOMPARE(playinglist.state, 0);
    QVERIFY(!playingState);
    QVERIFY(!window.processTimer->isActive());
    QCOMPARE(playinglist.process_mplayer->state(), QProcess::NotRunning);
    QCOMPARE(window.ui->playBtn->toolTip(), QString("播放"));
}

void TestLaunch::playPressedThreeTimes()
{
    PlayerBench bench(1);
    bench.engine.setSilent();
    TestWindow &window = bench.open();
    window.ui->playBtn->click();
    QVERIFY(bench.engine.waitForStarts(1));

    window.ui->playBtn->click();
    QVERIFY(!playingState);
    QVERIFY(!window.processTimer->isActive());
    QCOMPARE(window.ui->playBtn->toolTip(), QString("播放"));
    QVERIFY(sameIcon(window.ui->playBtn->icon(), ":/image/controlicon/play.png"));
    QCOMPARE(playinglist.state, 1);

    window.ui->playBtn->click();
    QVERIFY(playingState);
    QVERIFY(window.processTimer->isActive());
    QCOMPARE(window.processTimer->interval(), 500);
    QCOMPARE(window.ui->playBtn->toolTip(), QString("暂停"));
    QVERIFY(sameIcon(window.ui->playBtn->icon(), ":/image/controlicon/pause.png"));
    QVERIFY(bench.engine.waitForInputCount("pause\n", 2));
    QCOMPARE(bench.engine.starts().size(), 1);
    QCOMPARE(bench.engine.input().replace(pollPair, ""), QByteArray("pause\npause\n"));
}

void TestLaunch::everyWayToPauseWritesOnce_data()
{
    QTest::addColumn<int>("way");
    QTest::newRow("button") << 0;
    QTest::newRow("bar") << 1;
    QTest::newRow("blank key") << 2;
}

void TestLaunch::everyWayToPauseWritesOnce()
{
    QFETCH(int, way);
    PlayerBench bench(1);
    TestWindow &window = bench.open(true);
    bench.play(0);
    QVERIFY(bench.engine.waitForInput(pollPair));
    if (way == 0)
        QTest::mouseClick(window.ui->playBtn, Qt::LeftButton);
    else if (way == 1)
        emit window.fsvc->playBtnClickedSignal();
    else
        QTest::keyClick(&window, Qt::Key_Space);
    QVERIFY(!playingState);
    window.on_stopBtn_clicked();
    QVERIFY(bench.engine.waitForInput("quit\n"));
    QCOMPARE(withoutPolls(bench.engine.input()), QByteArrayList({"polls", "pause", "quit"}));
}

void TestLaunch::staleIndexPlaysTheNewest_data()
{
    QTest::addColumn<int>("index");
    for (int index : {-1, -7, 3, 500, 5000, INT_MIN, INT_MAX})
        QTest::addRow("%d", index) << index;
}

void TestLaunch::staleIndexPlaysTheNewest()
{
    QFETCH(int, index);
    PlayerBench bench(3);
    bench.open();
    bench.play(index);
    QVERIFY(bench.engine.waitForStarts(1));
    QCOMPARE(bench.played(), QStringList("/f/2.mp4"));
    QCOMPARE(playinglist.addrIndex, 2);
}

void TestLaunch::indexOutsideTheArrayStartsNothing_data()
{
    QTest::addColumn<int>("index");
    for (int index : {-1, 999, INT_MIN, INT_MAX})
        QTest::addRow("%d", index) << index;
}

void TestLaunch::indexOutsideTheArrayStartsNothing()
{
    QFETCH(int, index);
    PlayerBench bench(3);
    TestWindow &window = bench.open();
    for (int software : {0, 1}) {
        decodeSoftware = software;
        window.softAndVdpauPlay(index);
        mpvPlay(index);
        QCOMPARE(playinglist.state, 0);
        QCOMPARE(playinglist.addrIndex, 2);
        QVERIFY(!window.processTimer->isActive());
        QCOMPARE(playinglist.process_mplayer->state(), QProcess::NotRunning);
    }
    QVERIFY(bench.log.lines().filter("arglist:").isEmpty());
}

void TestLaunch::restartQuitsTheOldEngine()
{
    PlayerBench bench(2);
    bench.engine.setSilent();
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.engine.waitForInput(pollPair));
    window.softAndVdpauPlay(1);
    QVERIFY(bench.engine.waitForStarts(2));
    QTRY_VERIFY(bench.engine.starts().first().inputClosed);
    QCOMPARE(withoutPolls(bench.engine.starts().first().input), QByteArrayList({"polls", "quit"}));
    QCOMPARE(bench.engine.runningEngines(), QList<qint64>() << bench.engine.last().pid);
    QCOMPARE(playinglist.addrIndex, 1);
}

// While the box is open the old engine is gone. Were the end noticed there, another would start.
// The old one talks to its end, because its last output starts the polling at any other time.
void TestLaunch::hardwareWarning()
{
    PlayerBench bench(2);
    addrlist[1].codec_type = 2;
    playMode = 2;
    TestWindow &window = bench.open();
    bench.engine.on("get_time_pos", EngineAction::flood(1 << 30));
    bench.play(0);
    QVERIFY(bench.engine.waitForInput(pollPair));
    bench.engine.reset();
    decodeFlag = 2;
    QString seen;
    WhenModal answer([&](QWidget *widget) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        seen = box->windowTitle() + '|' + box->text();
        if (box->standardButtons() != QMessageBox::Ok || box->parent())
            seen += "|not as it should be";
        if (window.processTimer->isActive() || !bench.engine.runningEngines().isEmpty())
            seen += "|still at work";
        QTest::qWait(1200); // two polls and more
        if (window.processTimer->isActive() || bench.engine.starts().size() != 1)
            seen += "|worked on";
        widget->close();
    });
    window.softAndVdpauPlay(1);
    QVERIFY(answer.happened());
    QCOMPARE(seen, QString("提示|该视频格式可能不支持硬解码!"));
    QVERIFY(bench.engine.waitForStarts(2));
    QVERIFY(bench.engine.waitForInput(pollPair));
    QCOMPARE(bench.played(), QStringList({"/f/0.mp4", "/f/1.mp4"}));
    QVERIFY(bench.engine.last().arguments.contains("ffh264vdpau,ffhevcvdpau"));
    QCOMPARE(bench.engine.runningEngines().size(), 1);
}

void TestLaunch::hardwareWarningOnlyForOtherCodecs_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("codec");
    QTest::newRow("h264") << 2 << 0;
    QTest::newRow("hevc") << 2 << 1;
    QTest::newRow("other, software") << 0 << 2;
    QTest::newRow("other, threads") << 1 << 2;
}

void TestLaunch::hardwareWarningOnlyForOtherCodecs()
{
    QFETCH(int, mode);
    QFETCH(int, codec);
    PlayerBench bench(1);
    addrlist[0].codec_type = codec;
    bench.open();
    decodeFlag = mode;
    WhenModal unwanted([](QWidget *widget) { widget->close(); });
    bench.play(0);
    QVERIFY(bench.engine.waitForStarts(1));
    QVERIFY(!unwanted.happened());
}

// Even engines that ignore all requests are gone before the next one starts.
void TestLaunch::tenStartsInARow()
{
    PlayerBench bench(3);
    bench.engine.ignoreQuit();
    bench.engine.ignoreTerm();
    bench.engine.readDirectly(); // the second process looks like an engine for a moment
    TestWindow &window = bench.open();
    std::atomic<bool> done{false};
    std::atomic<int> most{0};
    std::thread watcher([&] {
        while (!done) {
            const int alive = bench.engine.runningEngines().size();
            if (alive > most)
                most = alive;
        }
    });
    for (int i = 0; i < 10; i++) {
        playingState = true;
        window.softAndVdpauPlay(i % 3);
        QVERIFY(bench.engine.waitForStarts(i + 1));
        if (i % 2 == 0)
            QVERIFY(bench.engine.waitForInput(pollPair)); // one that plays; the others just started
    }
    done = true;
    watcher.join();
    QCOMPARE(most.load(), 1);
    QCOMPARE(bench.engine.runningEngines(), QList<qint64>() << bench.engine.last().pid);
    QCOMPARE(bench.engine.starts().size(), 10);
}

void TestLaunch::brokenEngine_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("missing") << 0;
    QTest::newRow("not executable") << 1;
    QTest::newRow("a folder") << 2;
    QTest::newRow("no program") << 3;
}

// A failed start is not reported, nothing hangs, and the poll takes it for the end of the media.
void TestLaunch::brokenEngine()
{
    QFETCH(int, kind);
    PlayerBench bench(2);
    const QString program = bench.root.enginePath();
    QFile::remove(program);
    if (kind == 1)
        writeFile(program, "#!/bin/sh\n");
    if (kind == 2)
        QVERIFY(QDir().mkdir(program));
    if (kind == 3) {
        writeFile(program, "#!/no/such/interpreter\n");
        QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    addrlist[1].last_play_time = 100;
    lastTimePlayFlag = true;
    TestWindow &window = bench.open();
    WhenModal unwanted([](QWidget *widget) { widget->close(); });
    bench.play(1);
    QCOMPARE(playinglist.state, 1);
    QVERIFY(playingState);
    QVERIFY(window.processTimer->isActive());
    QCOMPARE(window.m_titleBar->m_titleLabel->text(), QString("1.mp4"));
    window.on_forwardBtn_clicked(); // lost
    window.on_playBtn_clicked(); // "pauses"
    window.on_playBtn_clicked();
    QTRY_COMPARE(playinglist.state, 0); // the next poll
    QVERIFY(!window.processTimer->isActive());
    QCOMPARE(addrlist[1].last_play_time, 100);
    QVERIFY(!unwanted.happened());
    if (kind == 2)
        QVERIFY(QDir().rmdir(program));
}

void TestLaunch::resume_data()
{
    QTest::addColumn<int>("saved");
    QTest::addColumn<QByteArray>("seek");
    const QByteArray none = {};
    QTest::newRow("0") << 0 << none;
    QTest::newRow("3") << 3 << none;
    QTest::newRow("4") << 4 << QByteArray("seek 4 2\n");
    QTest::newRow("5") << 5 << QByteArray("seek 5 2\n");
    QTest::newRow("6") << 6 << QByteArray("seek 1 2\n");
    QTest::newRow("7") << 7 << QByteArray("seek 2 2\n");
    QTest::newRow("100") << 100 << QByteArray("seek 95 2\n");
    QTest::newRow("largest") << INT_MAX << QByteArray("seek 2147483642 2\n");
    QTest::newRow("negative") << -1 << none;
    QTest::newRow("smallest") << INT_MIN << none; // of a file edited by hand
}

void TestLaunch::resume()
{
    QFETCH(int, saved);
    QFETCH(QByteArray, seek);
    PlayerBench bench(2);
    bench.engine.setSilent();
    addrlist[0].last_play_time = saved;
    addrlist[1].last_play_time = 50;
    lastTimePlayFlag = true;
    TestWindow &window = bench.open(true);
    bench.play(0);
    QCOMPARE(window.ui->stateLabel->isVisible(), !seek.isEmpty());
    if (!seek.isEmpty()) {
        QCOMPARE(window.ui->stateLabel->text(), QString("已自动跳转至上次播放位置"));
        QCOMPARE(window.stateLabelTimer->interval(), 2000);
    }
    bench.poll();
    QVERIFY(bench.engine.waitForInput(pollPair));
    window.on_stopBtn_clicked();
    QVERIFY(bench.engine.waitForInput("quit\n"));
    QByteArray expected = seek + pollPair;
    while (expected.size() + 5 < bench.engine.input().size())
        expected += pollPair;
    QCOMPARE(bench.engine.input(), expected + "quit\n");
}

void TestLaunch::noResumeUnlessWanted()
{
    PlayerBench bench(1);
    bench.engine.setSilent();
    addrlist[0].last_play_time = 100;
    TestWindow &window = bench.open(true);
    bench.play(0);
    QVERIFY(!window.ui->stateLabel->isVisible());
    QVERIFY(bench.engine.waitForInput(pollPair));
    window.on_stopBtn_clicked();
    QVERIFY(bench.engine.waitForInput("quit\n"));
    QCOMPARE(withoutPolls(bench.engine.input()), QByteArrayList({"polls", "quit"}));
    QCOMPARE(addrlist[0].last_play_time, 100);
}

void TestLaunch::closingEndsTheEngine()
{
    PlayerBench bench(1);
    bench.engine.ignoreQuit();
    bench.engine.ignoreTerm();
    lastTimePlayFlag = true;
    playMode = 2;
    TestWindow &window = bench.open(true);
    bench.play(0);
    QVERIFY(bench.showsLength("100", 100));
    QVERIFY(bench.showsPosition("42", 42));
    window.close();
    QVERIFY(bench.engine.runningEngines().isEmpty());
    QVERIFY(!window.processTimer->isActive());
    QVERIFY(bench.engine.waitForInput("quit\n"));
    QCOMPARE(addrlist[0].last_play_time, 42);
}

QTEST_MAIN(TestLaunch)
#include "tst_launch.moc"
