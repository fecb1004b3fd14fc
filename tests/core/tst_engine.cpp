#include "common.h"
#include "engine.h"
#include "enginebench.h"
#include "enginecommands.h"
#include "testsupport.h"

#include <QtTest>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <optional>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// State letter of a process as in /proc/PID/stat; 0 when there is no such process.
char processState(qint64 pid)
{
    const QByteArray stat = readFile(QString("/proc/%1/stat").arg(pid));
    const int nameEnd = stat.lastIndexOf(')');
    return nameEnd < 0 || nameEnd + 2 >= stat.size() ? 0 : stat.at(nameEnd + 2);
}

bool isGone(qint64 pid)
{
    const char state = processState(pid);
    return state == 0 || state == 'Z' || state == 'X';
}

// A field of /proc/PID/status that holds a set of signals.
quint64 signalSet(qint64 pid, const QByteArray &field)
{
    for (const QByteArray &line : readFile(QString("/proc/%1/status").arg(pid)).split('\n')) {
        if (line.startsWith(field + ':'))
            return line.mid(field.size() + 1).trimmed().toULongLong(nullptr, 16);
    }
    return ~quint64(0);
}

QString openFile(qint64 pid, int descriptor)
{
    return QFile::symLinkTarget(QString("/proc/%1/fd/%2").arg(pid).arg(descriptor));
}

} // namespace

class TestEngineProcess : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void withoutAProcessObject();
    void neverStarted();
    void runningOrNot();
    void writesAreExact();
    void writesToADeadEngineAreLost();
    void writesToAnEngineThatWasQuitAreLost();
    void engineThatClosesItsInput();
    void quitDoesNotWaitForAStubbornEngine_data();
    void quitDoesNotWaitForAStubbornEngine();
    void quitNeedsNoRunningEngine();
    void tenStartsInARow();
    void missingProgram();
    void argumentsReachTheEngine();
    void channelsOfTheEngine();
    void signalsOfTheEngine();
    void engineDiesWithThePlayer_data();
    void engineDiesWithThePlayer();
    void engineOfALostPlayerNeverStarts();

private:
    // Starts a shell script as the engine. It runs when this returns.
    void startScript(const QString &script, const QStringList &arguments = {});

    std::optional<QTemporaryDir> folder;
    std::optional<EngineProcess> process;
};

void TestEngineProcess::init()
{
    resetSharedState();
    folder.emplace();
    QVERIFY(folder->isValid());
    process.emplace();
    playinglist.process_mplayer = &*process;
}

void TestEngineProcess::cleanup()
{
    process->kill();
    process->close();
    process.reset();
    playinglist.process_mplayer = nullptr;
    folder.reset();
}

void TestEngineProcess::startScript(const QString &script, const QStringList &arguments)
{
    process->start("/bin/sh", QStringList{"-c", script, "engine"} + arguments);
    QVERIFY(process->waitForStarted());
}

void TestEngineProcess::withoutAProcessObject()
{
    playinglist.process_mplayer = nullptr;
    LogCapture log;
    QVERIFY(!engineRuns());
    writeToEngine("pause\n");
    quitEngine();
    QCOMPARE(log.lines(), QStringList());
}

void TestEngineProcess::neverStarted()
{
    LogCapture log;
    QVERIFY(!engineRuns());
    writeToEngine("pause\n");
    quitEngine();
    QVERIFY(!engineRuns());
    QCOMPARE(log.lines(), QStringList());
}

void TestEngineProcess::runningOrNot()
{
    process->start("/bin/sh", {"-c", "read line"});
    QVERIFY(engineRuns()); // starting counts
    QVERIFY(process->waitForStarted());
    QVERIFY(engineRuns());
    writeToEngine("end\n");
    QVERIFY(process->waitForFinished());
    QVERIFY(!engineRuns());
}

void TestEngineProcess::writesAreExact()
{
    using namespace enginecommands;
    const StandInEngine engine(folder->path());
    process->start(engine.path(), QStringList());
    QVERIFY(process->waitForStarted());
    const QList<QByteArray> commands = {queryLength,
                                        queryPosition,
                                        togglePause,
                                        screenshot,
                                        queryLength,
                                        seekTo(95),
                                        seekToUnterminated(12),
                                        togglePause,
                                        changeAudioDelay(0.5),
                                        loadSubtitle(QString("/字 幕.srt")),
                                        QByteArray()};
    for (const QByteArray &command : commands)
        writeToEngine(command);
    process->closeWriteChannel();
    QTRY_VERIFY(engine.last().inputClosed);
    QCOMPARE(engine.input(),
             QByteArray("get_time_length\nget_time_pos\npause\nscreenshot 0get_time_length\n"
                        "seek 95 2\nseek 12 2pause\naudio_delay 0.500000\n"
                        "sub_load /\xe5\xad\x97\\ \xe5\xb9\x95.srt\n"));
}

void TestEngineProcess::writesToADeadEngineAreLost()
{
    startScript("exit 3");
    QVERIFY(process->waitForFinished());
    LogCapture log;
    for (int i = 0; i < 100; ++i)
        writeToEngine("pause\n");
    quitEngine();
    QVERIFY(!engineRuns());
    QCOMPARE(log.lines(), QStringList());

    // None of it reaches the next engine.
    const StandInEngine engine(folder->path());
    process->start(engine.path(), QStringList());
    QVERIFY(process->waitForStarted());
    writeToEngine("seek 1 2\n");
    process->closeWriteChannel();
    QTRY_VERIFY(engine.last().inputClosed);
    QCOMPARE(engine.input(), QByteArray("seek 1 2\n"));
}

void TestEngineProcess::writesToAnEngineThatWasQuitAreLost()
{
    startScript("exec sleep 600");
    quitEngine();
    LogCapture log;
    writeToEngine("pause\n");
    QCOMPARE(log.lines(), QStringList());
    QVERIFY(!engineRuns());
}

// Runs in a process of its own, whose handling of SIGPIPE nothing has touched yet.
void TestEngineProcess::engineThatClosesItsInput()
{
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {"--closed-input"});
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), 0);
}

void TestEngineProcess::quitDoesNotWaitForAStubbornEngine_data()
{
    QTest::addColumn<QString>("script");
    QTest::newRow("ordinary") << "exec cat";
    QTest::newRow("ignores everything") << "trap '' TERM INT HUP; echo ready; exec sleep 600";
    QTest::newRow("never reads") << "echo ready; exec sleep 600";
    QTest::newRow("stopped") << "kill -STOP $$; exec sleep 600";
    QTest::newRow("floods") << "exec yes";
}

void TestEngineProcess::quitDoesNotWaitForAStubbornEngine()
{
    QFETCH(QString, script);
    startScript(script);
    const qint64 pid = process->processId();
    if (script.contains("ready"))
        QVERIFY(process->waitForReadyRead());
    if (script.contains("STOP"))
        QTRY_COMPARE(processState(pid), 'T');
    writeToEngine(QByteArray(1 << 20, 'x')); // more than a pipe holds
    QElapsedTimer timer;
    timer.start();
    quitEngine();
    QVERIFY2(timer.elapsed() < 2000, "quitting waits for the engine");
    QVERIFY(!engineRuns());
    QVERIFY(!process->isOpen());
    errno = 0;
    QCOMPARE(waitpid(pid_t(pid), nullptr, WNOHANG), -1); // no zombie
    QCOMPARE(errno, ECHILD);
}

void TestEngineProcess::quitNeedsNoRunningEngine()
{
    startScript("exit 0");
    QVERIFY(process->waitForFinished());
    quitEngine();
    quitEngine();
    QVERIFY(!engineRuns());
    QVERIFY(!process->isOpen());
}

void TestEngineProcess::tenStartsInARow()
{
    QList<qint64> pids;
    for (int i = 0; i < 10; ++i) {
        if (engineRuns())
            quitEngine();
        for (const qint64 pid : pids)
            QCOMPARE(processState(pid), char(0)); // never two at once, no zombie
        startScript("exec cat");
        QVERIFY(engineRuns());
        QVERIFY(!pids.contains(process->processId()));
        pids << process->processId();
    }
    quitEngine();
    QCOMPARE(processState(pids.last()), char(0));
}

void TestEngineProcess::missingProgram()
{
    process->start("/nonexistent/mplayer", {"a"});
    QVERIFY(!process->waitForStarted());
    LogCapture log;
    QVERIFY(!engineRuns());
    writeToEngine("pause\n");
    quitEngine();
    QCOMPARE(log.lines(), QStringList());
    startScript("exec cat"); // the object is still good
    QVERIFY(engineRuns());
}

void TestEngineProcess::argumentsReachTheEngine()
{
    HistoryAddrList entry;
    entry.type = 2;
    entry.frame = 25;
    entry.addr = QString("rtsp://h/直 播\n\"$(x)\"`y`\\;|&'*?");
    const QString record = folder->filePath("arguments");
    const QStringList arguments =
        enginecommands::engineArguments(entry, 1, QString("/图 片,/"), 77);
    startScript("printf '%s\\0' \"$0\" \"$@\" >" + record, arguments);
    QVERIFY(process->waitForFinished());
    const QByteArray expected =
        QByteArray("engine|-rtsp-stream-over-tcp|-framedrop|-fps|30|ADDR|-slave|-quiet|-subcp|"
                   "cp936|-mc|10|"
                   "-zoom|-lavdopts|threads=8|-vf-add|screenshot=FOLDERshot|-wid|77|")
            .replace('|', '\0')
            .replace("ADDR", entry.addr.toUtf8())
            .replace("FOLDER", QString("/图 片\\,/").toUtf8());
    QCOMPARE(readFile(record), expected);
}

void TestEngineProcess::channelsOfTheEngine()
{
    startScript("echo answer; echo noise >&2; exec sleep 600");
    const qint64 pid = process->processId();
    QVERIFY(process->waitForReadyRead());
    QCOMPARE(process->readAll(), QByteArray("answer\n"));
    QVERIFY(openFile(pid, 0).contains("pipe:"));
    QVERIFY(openFile(pid, 1).contains("pipe:"));
    QCOMPARE(openFile(pid, 2), QString("/dev/null"));
    QCOMPARE(process->processChannelMode(), QProcess::SeparateChannels);
}

void TestEngineProcess::signalsOfTheEngine()
{
    startScript("echo ready; exec sleep 600");
    const qint64 pid = process->processId();
    QVERIFY(process->waitForReadyRead());
    QTRY_COMPARE(signalSet(pid, "SigCgt"), quint64(0)); // none is handled after exec
    QCOMPARE(signalSet(pid, "SigBlk"), quint64(0));
    QCOMPARE(signalSet(pid, "SigIgn") & (quint64(1) << (SIGPIPE - 1)), quint64(0));
}

void TestEngineProcess::engineDiesWithThePlayer_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGKILL") << SIGKILL;
    QTest::newRow("SIGSEGV") << SIGSEGV;
    QTest::newRow("SIGTERM") << SIGTERM;
}

void TestEngineProcess::engineDiesWithThePlayer()
{
    QFETCH(int, signal);
    QProcess player;
    player.start(QCoreApplication::applicationFilePath(), {"--player"});
    QVERIFY(player.waitForReadyRead());
    const qint64 enginePid = player.readLine().toLongLong();
    QVERIFY(enginePid > 0);
    QVERIFY(!isGone(enginePid));
    kill(pid_t(player.processId()), signal);
    QTRY_VERIFY_WITH_TIMEOUT(isGone(enginePid), 1000);
    QTRY_COMPARE(player.state(), QProcess::NotRunning);
}

void TestEngineProcess::engineOfALostPlayerNeverStarts()
{
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(),
                {"--lost-player", folder->filePath("started")});
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(child.exitCode(), 1);
    QVERIFY(!QFile::exists(folder->filePath("started")));
}

// A player with a running engine that only ends when it is killed.
static int runPlayer(int argc, char *argv[])
{
    signal(SIGSEGV, SIG_DFL); // a sanitizer would report it instead of dying of it
    QCoreApplication application(argc, argv);
    EngineProcess engine;
    engine.start("sleep", {"600"});
    if (!engine.waitForStarted())
        return 1;
    printf("%lld\n", engine.processId());
    fflush(stdout);
    return application.exec();
}

// As if the player had died between fork and exec: the engine's parent is not the one that made the
// process object. Returns the engine's exit code.
static int runLostPlayer(int argc, char *argv[])
{
    EngineProcess engine;
    const pid_t child = fork();
    if (child == 0) {
        QCoreApplication application(argc, argv);
        engine.start("/bin/sh", {"-c", "echo >\"$1\"", "engine", argv[2]});
        engine.waitForFinished();
        _exit(engine.exitCode());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 99;
}

// Writes to an engine whose input is closed: the player survives it.
static int runClosedInput(int argc, char *argv[])
{
    signal(SIGPIPE, SIG_DFL);
    QCoreApplication application(argc, argv);
    EngineProcess engine;
    engine.start("/bin/sh", {"-c", "exec 0<&-; echo closed; exec sleep 600"});
    if (!engine.waitForReadyRead())
        return 1;
    playinglist.process_mplayer = &engine;
    for (int i = 0; i < 10; ++i) {
        writeToEngine("pause\n");
        engine.waitForBytesWritten(100);
    }
    const bool alive = engineRuns();
    quitEngine();
    playinglist.process_mplayer = nullptr;
    return alive && !engineRuns() ? 0 : 2;
}

int main(int argc, char *argv[])
{
    const QByteArray mode = argc > 1 ? argv[1] : "";
    if (mode == "--player")
        return runPlayer(argc, argv);
    if (mode == "--lost-player")
        return runLostPlayer(argc, argv);
    if (mode == "--closed-input")
        return runClosedInput(argc, argv);
    QCoreApplication application(argc, argv);
    TestEngineProcess test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_engine.moc"
