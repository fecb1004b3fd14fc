// The tests' own tools: a stand-in that lies makes every test lie.
#include "enginebench.h"
#include "processes.h"
#include "testsupport.h"

#include <QProcess>
#include <QTest>

#include <csignal>

class TestBenches : public QObject {
    Q_OBJECT

private slots:
    void engineRecordsArguments();
    void engineRecordsQuitBeforeAKill();
    void engineAnswers();
    void engineAnswersAsScripted();
    void engineCrashes();
    void engineExits();
    void engineIgnoresQuitAndTerm();
    void engineEndsAtItsLength();
    void engineFloods();
    void engineLeavesInputUnread();
    void engineClosesInput();
    void engineNoticesAnother();
    void engineIsEndedWithItsBench();
    void processesAreFound();
};

namespace {

void start(QProcess &process, const StandInEngine &engine, const QStringList &arguments = {})
{
    process.start(engine.path(), arguments);
    QVERIFY(process.waitForStarted());
    QVERIFY(engine.waitForStarts(1));
}

void finish(QProcess &process)
{
    process.kill();
    process.waitForFinished();
}

QByteArray readUntil(QProcess &process, const QByteArray &text)
{
    QByteArray output;
    const auto seen = [&] {
        output += process.readAllStandardOutput();
        return output.contains(text);
    };
    return QTest::qWaitFor(seen, 10000) ? output : "not seen, but: " + output;
}

} // namespace

void TestBenches::engineRecordsArguments()
{
    InstallRoot root;
    StandInEngine engine(root.path());
    QVERIFY(engine.starts().isEmpty());
    QCOMPARE(engine.last().pid, 0);
    QProcess process;
    const QStringList arguments{QStringLiteral("一 部.mp4"), QString(), QStringLiteral("-"),
                                QStringLiteral("a\nb\\\"'"), QStringLiteral("-wid")};
    start(process, engine, arguments);
    QByteArrayList expected;
    for (const QString &argument : arguments)
        expected << argument.toLocal8Bit();
    QCOMPARE(engine.last().arguments, expected);
    QCOMPARE(engine.last().pid, process.processId());
    QCOMPARE(engine.runningEngines(), QList<qint64>() << process.processId());
    finish(process);
    QVERIFY(engine.waitForNoEngine());
    start(process, engine);
    QVERIFY(engine.waitForStarts(2));
    QCOMPARE(engine.starts().size(), 2);
    finish(process);
}

void TestBenches::engineRecordsQuitBeforeAKill()
{
    InstallRoot root;
    StandInEngine engine(root.path());
    for (int i = 1; i <= 20; ++i) {
        QProcess process;
        process.start(engine.path(), QStringList());
        QVERIFY(process.waitForStarted());
        QVERIFY(engine.waitForStarts(i));
        process.write("pause\n");
        QVERIFY(engine.waitForInput("pause\n"));
        process.write("quit\n");
        process.kill();
        process.close();
        QVERIFY(engine.waitForInput("quit\n"));
        QCOMPARE(engine.input(), QByteArray("pause\nquit\n"));
        QVERIFY(engine.runningEngines().isEmpty());
        QTRY_VERIFY(engine.last().inputClosed);
    }
}

void TestBenches::engineAnswers()
{
    InstallRoot root;
    StandInEngine engine(root.path());
    engine.setLength("100.00");
    engine.setClock(30);
    QProcess process;
    start(process, engine, {QStringLiteral("a.mp4")});
    QVERIFY(readUntil(process, "Starting playback").startsWith("Playing a.mp4.\n"));
    process.write("get_time_length\nget_time_pos\n");
    QByteArray output = readUntil(process, "ANS_TIME_POSITION=30.");
    QVERIFY(output.contains("ANS_LENGTH=100.00\n"));
    QVERIFY(output.contains("ANS_TIME_POSITION=30."));
    process.write("pause\nseek 50 2\npause\nget_time_pos\n");
    QVERIFY(readUntil(process, "POSITION=50.0\n").contains("ANS_TIME_POSITION=50.0\n"));
    process.write("seek -5 0\npause\nget_time_pos\n");
    QVERIFY(readUntil(process, "POSITION=45.0\n").contains("ANS_TIME_POSITION=45.0\n"));
    engine.setPosition("nonsense");
    process.write("get_time_pos\n");
    QVERIFY(readUntil(process, "=nonsense\n").contains("ANS_TIME_POSITION=nonsense\n"));
    engine.setSilent();
    process.write("get_time_pos\nget_time_length\nquit\n");
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.readAllStandardOutput(), QByteArray());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(engine.last().events.contains("exit 0"));
}

void TestBenches::engineAnswersAsScripted()
{
    InstallRoot root;
    StandInEngine engine(root.path());
    engine.on("get_time_length", EngineAction::print("ANS_LEN"));
    engine.on("get_time_length", EngineAction::sleep(100));
    engine.on("get_time_length", EngineAction::print("GTH=7\n\xff\xfe\rgarbage"));
    engine.on("pause", EngineAction::print("second\n"), 2);
    QProcess process;
    start(process, engine);
    readUntil(process, "Starting playback...\n");
    process.write("get_time_length\n");
    QCOMPARE(readUntil(process, "garbage"), QByteArray("ANS_LENGTH=7\n\xff\xfe\rgarbage"));
    process.write("pause\npause\npause\nquit\n");
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.readAllStandardOutput(), QByteArray("second\n"));
}

void TestBenches::engineCrashes()
{
    InstallRoot root;
    StandInEngine engine(root.path());
    engine.on("pause", EngineAction::crash());
    QProcess process;
    start(process, engine);
    process.write("pause\n");
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(process.exitCode(), int(SIGSEGV));
    engine.reset();
    engine.atStart(EngineAction::crash());
    start(process, engine);
    QVERIFY(process.state() == QProcess::NotRunning || process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    QCOMPARE(engine.last().events, QByteArrayList{"crash"});
}

void TestBenches::engineExits()
{
    InstallRoot root;
    StandInEngine engine(root.path());
    engine.after(200, EngineAction::exit(3));
    engine.after(100, EngineAction::print("before\n"));
    QProcess process;
    start(process, engine);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 3);
    QVERIFY(process.readAllStandardOutput().endsWith("before\n"));
}

void TestBenches::engineIgnoresQuitAndTerm()
{
    InstallRoot root;
    StandInEngine engine(root.path());
    engine.ignoreQuit();
    engine.ignoreTerm();
    QProcess process;
    start(process, engine);
    process.write("quit\nget_time_pos\n");
    readUntil(process, "ANS_TIME_POSITION");
    process.terminate();
    QTRY_VERIFY(engine.last().events.contains("signal 15"));
    process.write("get_time_length\n");
    QVERIFY(readUntil(process, "ANS_LENGTH=20.00\n").contains("ANS_LENGTH"));
    process.closeWriteChannel();
    QTRY_VERIFY(engine.last().inputClosed);
    QCOMPARE(engine.runningEngines().size(), 1);
    finish(process);
}

void TestBenches::engineEndsAtItsLength()
{
    InstallRoot root;
    StandInEngine engine(root.path());
    engine.setLength("2.5");
    engine.setClock(2);
    engine.endAtLength();
    QProcess process;
    start(process, engine);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 0);
}

void TestBenches::engineFloods()
{
    InstallRoot root;
    StandInEngine engine(root.path());
    engine.on("pause", EngineAction::flood(5000000));
    engine.on("pause", EngineAction::exit());
    QProcess process;
    start(process, engine);
    readUntil(process, "Starting playback...\n");
    process.write("pause\n");
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.readAllStandardOutput().size(), 5000000);
}

void TestBenches::engineLeavesInputUnread()
{
    InstallRoot root;
    StandInEngine engine(root.path());
    engine.on("pause", EngineAction::stopReading(500));
    QProcess process;
    start(process, engine);
    process.write("pause\n");
    QVERIFY(engine.waitForInput("pause\n"));
    process.write("get_time_pos\n");
    QVERIFY(engine.waitForInput("get_time_pos\n"));
    const QList<StandInEngine::Piece> pieces = engine.last().pieces;
    QCOMPARE(pieces.size(), 2);
    QVERIFY(pieces.at(1).at - pieces.at(0).at >= 450000);
    finish(process);
}

void TestBenches::engineClosesInput()
{
    InstallRoot root;
    StandInEngine engine(root.path());
    engine.on("pause", EngineAction::closeInput());
    engine.on("pause", EngineAction::print("closed\n"));
    QProcess process;
    start(process, engine);
    process.write("pause\n");
    QVERIFY(readUntil(process, "closed\n").contains("closed"));
    process.write("quit\n");
    QVERIFY(!process.waitForFinished(300));
    QCOMPARE(engine.input(), QByteArray("pause\n"));
    finish(process);
}

void TestBenches::engineNoticesAnother()
{
    InstallRoot root;
    StandInEngine engine(root.path());
    QProcess first;
    start(first, engine);
    finish(first);
    QProcess second;
    second.start(engine.path(), QStringList());
    QVERIFY(engine.waitForStarts(2));
    QVERIFY(!engine.overlapped());
    QProcess third;
    third.start(engine.path(), QStringList());
    QVERIFY(engine.waitForStarts(3));
    QTRY_VERIFY(engine.overlapped());
    QCOMPARE(engine.runningEngines().size(), 2);
    finish(second);
    finish(third);
}

void TestBenches::engineIsEndedWithItsBench()
{
    InstallRoot root;
    QProcess process;
    {
        StandInEngine engine(root.path());
        start(process, engine);
    }
    QVERIFY(!Processes::alive(process.processId()));
    QVERIFY(process.waitForFinished());
    QVERIFY(!QFile::exists(root.enginePath()));
}

void TestBenches::processesAreFound()
{
    EnvironmentVariable mark("BENCH_MARK", Processes::ownMark());
    QProcess process;
    process.start(QStringLiteral("/usr/bin/sleep"), {QStringLiteral("60")});
    QVERIFY(process.waitForStarted());
    const qint64 pid = process.processId();
    QTRY_COMPARE(Processes::arguments(pid), QByteArrayList({"/usr/bin/sleep", "60"}));
    QVERIFY(Processes::alive(pid));
    QCOMPARE(Processes::parentOf(pid), QCoreApplication::applicationPid());
    QVERIFY(Processes::childrenOf(QCoreApplication::applicationPid()).contains(pid));
    QCOMPARE(Processes::withEnvironment("BENCH_MARK=" + Processes::ownMark()),
             QList<qint64>() << pid);
    QVERIFY(Processes::withProgram("/usr/bin/sleep").contains(pid));
    QVERIFY(Processes::end({pid}));
    QVERIFY(!Processes::alive(pid));
    QVERIFY(Processes::isZombie(pid));
    QCOMPARE(Processes::zombieChildrenOf(QCoreApplication::applicationPid()),
             QList<qint64>() << pid);
    process.waitForFinished();
    QVERIFY(!Processes::isZombie(pid));
}

QTEST_MAIN(TestBenches)
#include "tst_benches.moc"
