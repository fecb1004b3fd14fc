// The saved place where the engine can say little: one behind the end of what is there, a medium
// without a length, a file that is gone.
#include "playerbench.h"
#include "processes.h"

using Actions = QList<QByteArray>;
Q_DECLARE_METATYPE(Actions)

class TestSavedPlace : public QObject {
    Q_OBJECT

private slots:
    void behindTheEnd();
    void endOfAResumedEngine_data();
    void endOfAResumedEngine();
    void endWithoutAResume();
    void engineThatCannotStart();
    void stopOfARunningEngine();
    void endOfAResumedEngineAfterADeletion();
    void lengthZero_data();
    void lengthZero();
    void lengthZeroThenAnother();
    void missingFile();
    void noWordOfAMissingFile_data();
    void noWordOfAMissingFile();

private:
    // One entry, whose file is there unless it is a stream.
    static void setFile(PlayerBench &bench, const QString &addr = QString())
    {
        addrlist[0].addr = addr.isEmpty() ? bench.root.path() + "/film.ts" : addr;
        if (addr.isEmpty())
            writeFile(addrlist[0].addr, "film");
        varyJsonConfig(defaultPlayPath, addrlist);
    }
};

namespace {
const QByteArray opening = "Playing film.\n";
const QByteArray picture = "VIDEO:  [H264]  320x240  0bpp  25.000 fps\n";
const QByteArray begun = "Starting playback...\n";
const QByteArray shown = "VO: [x11] 320x240 => 320x240 Planar YV12\n";
const QString missing = "文件不存在";
} // namespace

// The seek to it ends the engine; then the film plays from its beginning.
void TestSavedPlace::behindTheEnd()
{
    PlayerBench bench(1);
    setFile(bench);
    addrlist[0].last_play_time = 300;
    lastTimePlayFlag = true;
    playMode = 2;
    bench.engine.on("seek", EngineAction::exit());
    bench.open();
    bench.play(0);
    QVERIFY(bench.engine.waitForStarts(2));
    QCOMPARE(addrlist[0].last_play_time, 0);
    QCOMPARE(storedPosition(defaultPlayPath), 0);
    QVERIFY(bench.engine.waitForInput(pollPair));
    QCOMPARE(bench.engine.starts().first().input.left(11), QByteArray("seek 295 2\n"));
    QCOMPARE(withoutPolls(bench.engine.input()), QByteArrayList{"polls"});
    QVERIFY(bench.showsPosition("5", 5));
    QCOMPARE(bench.engine.starts().size(), 2);
}

void TestSavedPlace::endOfAResumedEngine_data()
{
    QTest::addColumn<QString>("addr"); // empty: a file that is there
    QTest::addColumn<Actions>("actions"); // of the engine
    QTest::addColumn<bool>("forgotten");
    const QByteArray end = EngineAction::exit();
    const auto say = [](const QByteArray &text) { return EngineAction::print(text); };
    const QString file;
    const QString stream = "http://127.0.0.1/film.ts";
    QTest::newRow("without a word") << file << Actions{end} << true;
    QTest::newRow("begun") << file << Actions{say(opening + begun), end} << true;
    QTest::newRow("begun, with a picture")
        << file << Actions{say(opening + picture + begun + shown), end} << true;
    QTest::newRow("stream, begun") << stream << Actions{say(opening + begun), end} << true;
    QTest::newRow("file that is gone") << "/f/none.ts" << Actions{end} << false;
    QTest::newRow("file that is gone, by its URL") << "file:///f/none.ts" << Actions{end} << false;
    QTest::newRow("not opened") << file << Actions{say(opening), end} << false;
    QTest::newRow("stream, not opened") << stream << Actions{say(opening), end} << false;
    QTest::newRow("no picture can be shown")
        << file << Actions{say(opening + picture + begun), end} << false;
    QTest::newRow("crash") << file << Actions{say(opening + begun), EngineAction::crash()} << false;
    QTest::newRow("crash that the engine reports")
        << file << Actions{say(opening + begun), EngineAction::exit(1)} << false;
    QTest::newRow("killed from outside")
        << file << Actions{say(opening + begun), EngineAction::sleep(60000)} << false;
}

void TestSavedPlace::endOfAResumedEngine()
{
    QFETCH(QString, addr);
    QFETCH(Actions, actions);
    QFETCH(bool, forgotten);
    PlayerBench bench(1);
    setFile(bench, addr);
    addrlist[0].last_play_time = 300;
    lastTimePlayFlag = true;
    for (const QByteArray &action : qAsConst(actions))
        bench.engine.atStart(action);
    TestWindow &window = bench.open();
    bench.play(0);
    if (actions.last() == EngineAction::sleep(60000)) {
        QVERIFY(bench.engine.waitForStarts(1));
        QVERIFY(Processes::end({bench.engine.last().pid}));
    }
    bench.log.clear();
    QTRY_COMPARE_WITH_TIMEOUT(playinglist.state, 0, PlayerBench::patience);
    QCOMPARE(addrlist[0].last_play_time, forgotten ? 0 : 300);
    QCOMPARE(bench.rewrites(), forgotten ? 1 : 0);
    QCOMPARE(window.m_titleBar->m_titleLabel->text(), QString("Tarnivo播放器"));
}

void TestSavedPlace::endWithoutAResume()
{
    PlayerBench bench(1);
    setFile(bench);
    addrlist[0].last_play_time = 3; // too little for a seek
    lastTimePlayFlag = true;
    bench.engine.atStart(EngineAction::exit());
    bench.open();
    bench.play(0);
    QTRY_COMPARE_WITH_TIMEOUT(playinglist.state, 0, PlayerBench::patience);
    QCOMPARE(addrlist[0].last_play_time, 3);

    addrlist[0].last_play_time = 300;
    lastTimePlayFlag = false;
    bench.play(0);
    QTRY_COMPARE_WITH_TIMEOUT(playinglist.state, 0, PlayerBench::patience);
    QCOMPARE(addrlist[0].last_play_time, 300);

    // Switched off in the meantime, nothing is stored.
    lastTimePlayFlag = true;
    bench.play(0);
    lastTimePlayFlag = false;
    QTRY_COMPARE_WITH_TIMEOUT(playinglist.state, 0, PlayerBench::patience);
    QCOMPARE(addrlist[0].last_play_time, 300);
}

void TestSavedPlace::engineThatCannotStart()
{
    PlayerBench bench(1);
    setFile(bench);
    addrlist[0].last_play_time = 300;
    lastTimePlayFlag = true;
    TestWindow &window = bench.open();
    // One that ran well before leaves its exit code.
    bench.engine.atStart(EngineAction::exit());
    addrlist[0].last_play_time = 0;
    bench.play(0);
    QTRY_COMPARE_WITH_TIMEOUT(playinglist.state, 0, PlayerBench::patience);
    addrlist[0].last_play_time = 300;
    QVERIFY(QFile::remove(bench.root.enginePath()));
    bench.play(0);
    bench.poll();
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(addrlist[0].last_play_time, 300);
    QVERIFY(window.ui->stateLabel->text() != missing);
}

void TestSavedPlace::stopOfARunningEngine()
{
    PlayerBench bench(1);
    setFile(bench);
    addrlist[0].last_play_time = 300;
    lastTimePlayFlag = true;
    bench.engine.setSilent();
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.engine.waitForInput("seek 295 2\n"));
    window.on_stopBtn_clicked();
    QCOMPARE(addrlist[0].last_play_time, 300);
}

void TestSavedPlace::endOfAResumedEngineAfterADeletion()
{
    PlayerBench bench(5);
    for (int i = 0; i < 5; i++) {
        addrlist[i].addr = bench.root.path() + QString("/%1.ts").arg(i);
        addrlist[i].last_play_time = 100 + i;
        writeFile(addrlist[i].addr, "film");
    }
    lastTimePlayFlag = true;
    bench.engine.setSilent();
    bench.engine.on("get_time_pos", EngineAction::exit());
    TestWindow &window = bench.open();
    bench.play(1);
    window.listWidget->setCurrentRow(2);
    window.listWidget->deleteSelected();
    QCOMPARE(playinglist.addrIndex, 0);
    QTRY_COMPARE_WITH_TIMEOUT(playinglist.state, 0, PlayerBench::patience);
    QCOMPARE(addrlist[0].last_play_time, 100);
    QCOMPARE(addrlist[1].last_play_time, 0);
}

void TestSavedPlace::lengthZero_data()
{
    QTest::addColumn<QByteArray>("length");
    QTest::addColumn<bool>("wanted");
    QTest::addColumn<bool>("byItself");
    QTest::addColumn<int>("saved"); // 77 before
    QTest::newRow("zero") << QByteArray("0.00") << true << false << 42;
    QTest::newRow("less than a second") << QByteArray("0.9") << true << false << 42;
    QTest::newRow("not wanted") << QByteArray("0.00") << false << false << 77;
    QTest::newRow("ended by itself") << QByteArray("0.00") << true << true << 0;
}

void TestSavedPlace::lengthZero()
{
    QFETCH(QByteArray, length);
    QFETCH(bool, wanted);
    QFETCH(bool, byItself);
    QFETCH(int, saved);
    PlayerBench bench(1);
    addrlist[0].last_play_time = 77;
    TestWindow &window = bench.open();
    bench.play(0);
    lastTimePlayFlag = wanted;
    QVERIFY(bench.showsLength(length, 0));
    QVERIFY(bench.showsPosition("42.5", 42));
    QCOMPARE(window.ui->processSlider->value(), 0);
    if (byItself) {
        QVERIFY(Processes::end(bench.engine.runningEngines()));
        QVERIFY(bench.engineHasEnded());
        bench.poll();
    } else {
        window.on_stopBtn_clicked();
    }
    QCOMPARE(addrlist[0].last_play_time, saved);
    QCOMPARE(storedPosition(defaultPlayPath), wanted ? saved : 0);
    // The next engine has told no length and no position.
    bench.engine.setSilent();
    addrlist[0].last_play_time = 88;
    bench.play(0);
    QVERIFY(bench.engine.waitForStarts(2));
    window.on_stopBtn_clicked();
    QCOMPARE(addrlist[0].last_play_time, 88);
}

// What was told last counts.
void TestSavedPlace::lengthZeroThenAnother()
{
    PlayerBench bench(1);
    lastTimePlayFlag = true;
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.showsLength("0", 0));
    QVERIFY(bench.showsLength("100", 100));
    QVERIFY(bench.showsPosition("99", 99));
    window.on_stopBtn_clicked();
    QCOMPARE(addrlist[0].last_play_time, 0);
}

void TestSavedPlace::missingFile()
{
    PlayerBench bench(1);
    bench.engine.atStart(EngineAction::exit());
    TestWindow &window = bench.open(true);
    bench.play(0);
    QTRY_VERIFY_WITH_TIMEOUT(window.ui->stateLabel->isVisible(), PlayerBench::patience);
    QCOMPARE(window.ui->stateLabel->text(), missing);
    QCOMPARE(window.stateLabelTimer->interval(), 2000);
    QCOMPARE(playinglist.state, 0);
    QTRY_VERIFY(!window.ui->stateLabel->isVisible());
}

void TestSavedPlace::noWordOfAMissingFile_data()
{
    QTest::addColumn<int>("reason");
    const char *reasons[] = {"file there", "a stream", "never started", "position told",
                             "another notice"};
    for (int reason = 0; reason < 5; reason++)
        QTest::newRow(reasons[reason]) << reason;
}

void TestSavedPlace::noWordOfAMissingFile()
{
    QFETCH(int, reason);
    PlayerBench bench(1);
    if (reason == 0)
        setFile(bench);
    else if (reason == 1)
        setFile(bench, "rtsp://127.0.0.1/film");
    else if (reason == 2)
        QVERIFY(QFile::remove(bench.root.enginePath()));
    else if (reason == 3)
        bench.engine.atStart(EngineAction::print("ANS_TIME_POSITION=3\n"));
    bench.engine.atStart(EngineAction::exit());
    TestWindow &window = bench.open(true);
    if (reason == 4)
        window.showStateLabel("a notice", 60000);
    bench.play(0);
    QVERIFY(bench.engineHasEnded());
    bench.poll();
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(window.ui->stateLabel->isVisible(), reason == 4);
    QVERIFY(window.ui->stateLabel->text() != missing);
}

QTEST_MAIN(TestSavedPlace)
#include "tst_savedplace.moc"
