// No engine freezes the player, whatever it does: a heartbeat in the GUI thread goes on while it is
// silent, floods, prints what is no text, does not read, crashes or can't be started; the player
// stops and closes at once, has one engine at most, and keeps little of what nobody reads.
#include "engine.h"
#include "enginecommands.h"
#include "heartbeat.h"
#include "longform.h"
#include "ownprocess.h"
#include "playerbench.h"
#include "playorder.h"
#include "processes.h"

#include <QSlider>
#include <QtTest>

#include <csignal>
#include <functional>

namespace {

// What is read at once, what may stay unread, and room for the allocator.
constexpr qint64 memoryLimit = 8 << 20;
constexpr int stopLimit = 1000; // ms

qint64 floodSize() { return (longForm() ? 100 : 20) << 20; }

struct Hostile {
    const char *name;
    void (*setUp)(StandInEngine &engine);
    int watchMs; // while it plays
    int watchMsLong;
};

// At the start, and again while paused and while the slider is held, when nothing is read.
void always(StandInEngine &engine, const QByteArray &action)
{
    engine.atStart(action);
    engine.on("pause", action);
    engine.on("seek", action);
}

const Hostile hostiles[] = {
    {"never answers", [](StandInEngine &engine) { engine.setSilent(); }, 400, 60000},
    {"answers after 5 s",
     [](StandInEngine &engine) {
         for (const char *query : {"get_time_length", "get_time_pos"}) {
             engine.on(query, EngineAction::sleep(5000));
             engine.on(query, EngineAction::answer());
         }
     },
     400, 30000},
    {"floods", [](StandInEngine &engine) { always(engine, EngineAction::flood(floodSize())); }, 800,
     15000},
    {"floods with answers",
     [](StandInEngine &engine) {
         QByteArray answers;
         for (int i = 0; answers.size() < 1000000; ++i)
             answers += "ANS_TIME_POSITION=" + QByteArray::number(i % 19) +
                 ".5\nANS_LENGTH=" + QByteArray::number(19 + i % 3) + "\n";
         always(engine, EngineAction::print(answers));
     },
     800, 15000},
    {"a megabyte without a line end",
     [](StandInEngine &engine) { always(engine, EngineAction::print(QByteArray(1 << 20, 'x'))); },
     400, 5000},
    {"eight megabytes without a line end",
     [](StandInEngine &engine) { always(engine, EngineAction::print(QByteArray(8 << 20, 'x'))); },
     400, 5000},
    {"a megabyte of one answer",
     [](StandInEngine &engine) {
         always(engine,
                EngineAction::print("ANS_TIME_POSITION=" + QByteArray(1 << 20, '9') + "\n"));
     },
     400, 5000},
    {"invalid UTF-8",
     [](StandInEngine &engine) {
         always(
             engine,
             EngineAction::print(QByteArray("\xff\xfe\xc0\x80\xed\xa0\x80\n\xf5").repeated(5000) +
                                 QByteArray("ANS_LENGTH=\xff\xfe\n\0ANS_LENGTH\n", 27)));
     },
     400, 5000},
    {"only carriage returns",
     [](StandInEngine &engine) {
         always(engine, EngineAction::print(QByteArray("ANS_TIME_POSITION=7.0\r").repeated(50000)));
         engine.on("get_time_length", EngineAction::print("ANS_LENGTH=20.00\r"));
         engine.on("get_time_pos", EngineAction::print("ANS_TIME_POSITION=7.0\r"));
     },
     400, 5000},
    {"answers in Chinese",
     [](StandInEngine &engine) {
         always(engine,
                EngineAction::print(QByteArray("正在播放。答：长度＝二十秒\n").repeated(999)));
         engine.setLength("二十秒");
         engine.setPosition("第七秒");
     },
     400, 5000},
    {"ignores quit and signals",
     [](StandInEngine &engine) {
         engine.ignoreQuit();
         engine.ignoreTerm();
     },
     400, 5000},
    {"closes its input",
     [](StandInEngine &engine) { engine.after(300, EngineAction::closeInput()); }, 400, 5000},
    {"reads nothing for a minute",
     [](StandInEngine &engine) { engine.atStart(EngineAction::stopReading(60000)); }, 1500, 61000},
};

} // namespace

class TestHostileEngine : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void heartGoesOn_data();
    void heartGoesOn();
    void answersAreShownOnceTheyCome();
    void keepsLittleOfWhatIsUnread_data();
    void keepsLittleOfWhatIsUnread();
    void inputThatNobodyReads();
    void destroyedWhileNothingIsRead();
    void crashesAtEachCommand_data();
    void crashesAtEachCommand();
    void crashesAtQuit();
    void commandsToACrashedEngine();
    void cannotBeStarted_data();
    void cannotBeStarted();

private:
    void start();
    void stopInTime();
    void closeInTime();
    bool oneEngineAtMost() const;

    QScopedPointer<PlayerBench> bench;
    StandInEngine *engine = nullptr;
    TestWindow *window = nullptr;
    QTimer polls;
};

void TestHostileEngine::init()
{
    bench.reset(new PlayerBench);
    window = &bench->openFilm();
    engine = &bench->engine;
    engine->reset();
    varyJsonConfig(defaultPlayPath, addrlist);
    lastTimePlayFlag = true;
    if (longForm())
        return;
    // The polls of half a second in 50 ms.
    connect(&polls, &QTimer::timeout, window, [this] {
        if (window->processTimer->isActive())
            QMetaObject::invokeMethod(window->processTimer, "timeout");
    });
    polls.start(50);
}

void TestHostileEngine::cleanup()
{
    polls.stop();
    bench->window.reset();
    QVERIFY(engine->waitForNoEngine());
    QVERIFY(!engine->overlapped());
    bench.reset();
}

void TestHostileEngine::start()
{
    const int before = engine->starts().size();
    window->on_playBtn_clicked();
    QVERIFY(engine->waitForStarts(before + 1));
    QCOMPARE(engine->runningEngines().size(), 1);
}

void TestHostileEngine::stopInTime()
{
    QElapsedTimer clock;
    clock.start();
    window->on_stopBtn_clicked();
    QVERIFY2(clock.elapsed() < stopLimit, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(!engineRuns());
    QTRY_VERIFY_WITH_TIMEOUT(engine->runningEngines().isEmpty(), stopLimit);
    QVERIFY(Processes::zombieChildrenOf(QCoreApplication::applicationPid()).isEmpty());
}

void TestHostileEngine::closeInTime()
{
    QElapsedTimer clock;
    clock.start();
    QVERIFY(window->close());
    QVERIFY2(clock.elapsed() < stopLimit, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(!engineRuns());
    QTRY_VERIFY_WITH_TIMEOUT(engine->runningEngines().isEmpty(), stopLimit);
    QVERIFY(Processes::zombieChildrenOf(QCoreApplication::applicationPid()).isEmpty());
}

bool TestHostileEngine::oneEngineAtMost() const
{
    return engine->runningEngines().size() <= 1 && !engine->overlapped();
}

void TestHostileEngine::heartGoesOn_data()
{
    QTest::addColumn<int>("which");
    int which = 0;
    for (const Hostile &hostile : hostiles)
        QTest::newRow(hostile.name) << which++;
}

// Plays, pauses, holds the slider, stops; plays again and closes.
void TestHostileEngine::heartGoesOn()
{
    QFETCH(int, which);
    const Hostile &hostile = hostiles[which];
    hostile.setUp(*engine);
    start();
    if (QTest::currentTestFailed())
        return;

    Heartbeat heart;
    const qint64 memory = OwnProcess::heap();
    heart.watch(longForm() ? hostile.watchMsLong : hostile.watchMs);
    QVERIFY(oneEngineAtMost());

    window->on_playBtn_clicked();
    QVERIFY(!playingState);
    heart.watch(rounds(200, 300));
    window->on_playBtn_clicked();
    QVERIFY(playingState);
    window->ui->processSlider->setSliderDown(true);
    heart.watch(rounds(200, 300));
    window->ui->processSlider->setSliderDown(false);
    heart.watch(rounds(200, 300));
    QVERIFY2(heart.isSteady(), heart.report());
    QVERIFY(heart.beats() > rounds(30, 50)); // of a hundred at least
    const qint64 growth = heart.peakHeap() - memory;
    QVERIFY2(growth < memoryLimit, qPrintable(QString::number(growth)));
    QVERIFY(oneEngineAtMost());
    QVERIFY(playinglist.state == 1);
    stopInTime();

    start();
    closeInTime();
}

// After seconds of silence everything is as it should be.
void TestHostileEngine::answersAreShownOnceTheyCome()
{
    const int silence = rounds(2000, 5000);
    engine->on("get_time_length", EngineAction::sleep(silence), 1);
    engine->on("get_time_length", EngineAction::answer());
    engine->setPosition("11.0");
    start();
    Heartbeat heart;
    const qint64 memory = OwnProcess::heap();
    QVERIFY(!heart.watchUntil([] { return false; }, silence * 2 / 5));
    QCOMPARE(window->ui->totalTimeLabel->text(), QString("00:00:00"));
    QVERIFY(heart.watchUntil([this] { return window->ui->totalTimeLabel->text() == "00:00:20"; },
                             20000));
    QVERIFY(heart.watchUntil([this] { return window->currentPosition == 11; }, 5000));
    QVERIFY2(heart.isSteady(), heart.report());
    const qint64 growth = heart.peakHeap() - memory;
    QVERIFY2(growth < memoryLimit, qPrintable(QString::number(growth)));
    stopInTime();
}

void TestHostileEngine::keepsLittleOfWhatIsUnread_data()
{
    QTest::addColumn<bool>("held");
    QTest::newRow("paused") << false;
    QTest::newRow("slider held") << true;
}

// Nothing is taken out while paused or held; all that the engine prints must go nevertheless.
void TestHostileEngine::keepsLittleOfWhatIsUnread()
{
    QFETCH(bool, held);
    engine->on("pause", EngineAction::flood(64 << 20));
    engine->on("seek", EngineAction::flood(64 << 20));
    engine->on("mute", EngineAction::exit(3));
    start();
    const qint64 memory = OwnProcess::heap();
    Heartbeat heart;
    if (held)
        window->ui->processSlider->setSliderDown(true);
    else
        window->on_playBtn_clicked();
    qint64 read = 0;
    connect(playinglist.process_mplayer, &QProcess::readyReadStandardOutput, window,
            [&] { read = qMax(read, playinglist.process_mplayer->bytesAvailable()); });
    // Read, and obeyed, only after the flood.
    writeToEngine(enginecommands::mute);
    QVERIFY(heart.watchUntil(
        [] { return playinglist.process_mplayer->state() == QProcess::NotRunning; }, 60000));
    QVERIFY2(heart.isSteady(), heart.report());
    QVERIFY2(read <= (1 << 18), qPrintable(QString::number(read)));
    const qint64 growth = heart.peakHeap() - memory;
    QVERIFY2(growth < memoryLimit, qPrintable(QString::number(growth)));
    if (held)
        window->ui->processSlider->setSliderDown(false);
}

static void sendMuch()
{
    for (int i = 0; i < 20000; ++i)
        writeToEngine("seek 1000000 2\n");
}

// A full pipe: what doesn't fit waits in the player and neither blocks it nor the end.
void TestHostileEngine::inputThatNobodyReads()
{
    engine->atStart(EngineAction::stopReading(60000));
    start();
    Heartbeat heart;
    QTimer::singleShot(100, window, sendMuch);
    heart.watch(1500);
    QVERIFY2(heart.isSteady(), heart.report());
    QVERIFY(playinglist.process_mplayer->bytesToWrite() > 100000);
    stopInTime();
    start();
    sendMuch();
    closeInTime();
}

// Without a kill the end of the window would wait until the engine has read everything.
void TestHostileEngine::destroyedWhileNothingIsRead()
{
    engine->atStart(EngineAction::stopReading(60000));
    start();
    sendMuch();
    QVERIFY(playinglist.process_mplayer->bytesToWrite() > 100000);
    QElapsedTimer clock;
    clock.start();
    bench->window.reset();
    QVERIFY2(clock.elapsed() < stopLimit, qPrintable(QString::number(clock.elapsed())));
    QTRY_VERIFY_WITH_TIMEOUT(engine->runningEngines().isEmpty(), stopLimit);
}

void TestHostileEngine::crashesAtEachCommand_data()
{
    QTest::addColumn<bool>("answersFirst");
    QTest::newRow("at") << false;
    QTest::newRow("after") << true;
}

static const char *const commands[] = {
    "seek -5 0\n",       "seek +5 0\n",       "seek 10 2\n",        "pause\n",
    "mute 1\n",          "volume 30 2\n",     "speed_set 1.5\n",    "audio_delay  0.1\n",
    "sub_delay 0.1\n",   "sub_load /a.srt\n", "sub_visibility 1\n", "sub_select 1\n",
    "sub_remove 0\n",    "sub_scale 0.2\n",   "sub_pos -2\n",       "screenshot 0",
    "get_time_length\n", "get_time_pos\n",
};

// Every end is noticed by a poll or by the engine's last output, and the next start is as any.
void TestHostileEngine::crashesAtEachCommand()
{
    QFETCH(bool, answersFirst);
    Heartbeat heart;
    const qint64 memory = OwnProcess::heap();
    for (const char *command : commands) {
        engine->reset();
        start();
        const QByteArray prefix = QByteArray(command).trimmed();
        if (answersFirst)
            engine->on(prefix, EngineAction::answer());
        engine->on(prefix, EngineAction::crash());
        writeToEngine(command);
        QVERIFY2(heart.watchUntil([] { return playinglist.state == 0; }, 10000), command);
        QVERIFY(engine->last().events.contains("crash"));
        QVERIFY(!playingState);
        QVERIFY(oneEngineAtMost());
        QVERIFY(engine->runningEngines().isEmpty());
        QVERIFY(Processes::zombieChildrenOf(QCoreApplication::applicationPid()).isEmpty());
    }
    QVERIFY2(heart.isSteady(), heart.report());
    const qint64 growth = heart.peakHeap() - memory;
    QVERIFY2(growth < memoryLimit, qPrintable(QString::number(growth)));
}

void TestHostileEngine::crashesAtQuit()
{
    engine->on("quit", EngineAction::crash());
    for (int i = 0; i < 10; ++i) {
        start();
        stopInTime();
        if (QTest::currentTestFailed())
            return;
    }
    start();
    closeInTime();
}

// It has crashed and the player doesn't know yet: a write must not end the player.
void TestHostileEngine::commandsToACrashedEngine()
{
    engine->atStart(EngineAction::crash());
    for (const char *command : commands) {
        window->on_playBtn_clicked();
        QCOMPARE(playinglist.state, 1);
        const qint64 pid = playinglist.process_mplayer->processId();
        QElapsedTimer clock;
        clock.start();
        while (Processes::alive(pid) && clock.elapsed() < 10000)
            QThread::msleep(1); // without events: nothing is noticed
        QVERIFY(!Processes::alive(pid));
        writeToEngine(command);
        writeToEngine(command);
        stopInTime();
        if (QTest::currentTestFailed())
            return;
    }
    window->on_playBtn_clicked();
    closeInTime();
}

void TestHostileEngine::cannotBeStarted_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind :
         {"missing", "not executable", "no program", "a folder", "a loop of links", "ends at once"})
        QTest::newRow(kind) << QString(kind);
}

// Tried again at every poll, because one file is repeated.
void TestHostileEngine::cannotBeStarted()
{
    QFETCH(QString, kind);
    polls.stop(); // how often it is tried is looked at
    playMode = PlayModeRepeatOne;
    const QString path = engine->path();
    QVERIFY(QFile::remove(path));
    if (kind == "a folder")
        QVERIFY(QDir().mkdir(path));
    else if (kind == "a loop of links")
        QVERIFY(QFile::link(path, path));
    else if (kind == "ends at once")
        QVERIFY(QFile::link("/bin/false", path));
    else if (kind != "missing")
        writeFile(path, "nothing");
    if (kind == "no program")
        QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::ExeOwner));

    const auto starts = [this] { return bench->log.lines().filter("arglist:").size(); };
    window->on_playBtn_clicked();
    QElapsedTimer clock;
    clock.start();
    Heartbeat heart;
    QVERIFY(heart.watchUntil([&] { return starts() >= 3; }, 10000));
    QVERIFY2(clock.elapsed() >= 900, qPrintable(QString::number(clock.elapsed()))); // two polls
    QVERIFY2(heart.isSteady(), heart.report());
    QTRY_VERIFY(!engineRuns()); // one that ends at once may just have been started
    QTRY_VERIFY(Processes::zombieChildrenOf(QCoreApplication::applicationPid()).isEmpty());
    stopInTime();
    window->on_playBtn_clicked();
    writeToEngine("pause\n");
    closeInTime();
    if (kind == "a folder")
        QVERIFY(QDir().rmdir(path));
}

QTEST_MAIN(TestHostileEngine)
#include "tst_hostileengine.moc"
