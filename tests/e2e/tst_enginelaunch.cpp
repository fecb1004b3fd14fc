// How the installed player starts and ends engines, seen by the engine itself.
#include "clips.h"
#include "installedplayer.h"
#include "processes.h"
#include "screen.h"
#include "toolbench.h"

#include <QTest>

#include <algorithm>
#include <csignal>

class TestEngineLaunch : public QObject {
    Q_OBJECT

private slots:
    void argumentsOfFiles_data();
    void argumentsOfFiles();
    void argumentsOfStreams_data();
    void argumentsOfStreams();
    void commaInTheScreenshotFolder();
    void hardwareWarningStartsOneEngine();
    void hardwareWarningAfterEachEnd();
    void neverTwoEngines();
    void restartsAfterAnImmediateEnd();
    void noEngineIsLeft_data();
    void noEngineIsLeft();
    void noEngineIsLeftWhilePaused();
    void playedToTheEnd();
    void oddNamesOfTheCommandLine();
};

namespace {

const char quietConfig[] = "[DEFAULT]\nfirst_start=0\ndefault_volum=30\ndecode_flag=";

QByteArray config(int decodeFlag) { return quietConfig + QByteArray::number(decodeFlag) + "\n"; }

QByteArrayList decodeArguments(int decodeFlag)
{
    if (decodeFlag == 1)
        return {"-lavdopts", "threads=8"};
    if (decodeFlag == 2)
        return {"-vc", "ffh264vdpau,ffhevcvdpau"};
    return {};
}

// What follows the location, up to the end.
QByteArrayList commonArguments(InstalledPlayer &player, int decodeFlag)
{
    return QByteArrayList{"-slave", "-quiet", "-subcp", "cp936", "-mc", "10", "-zoom"} +
        decodeArguments(decodeFlag) +
        QByteArrayList{"-vf-add",
                       "screenshot=" + player.home().toUtf8() +
                           "/Pictures/TNPlayer_ScreenShot/shot",
                       "-wid", QByteArray::number(player.playArea())};
}

} // namespace

void TestEngineLaunch::argumentsOfFiles_data()
{
    QTest::addColumn<int>("decodeFlag");
    QTest::addColumn<QString>("location");
    QTest::newRow("software") << 0 << QStringLiteral("/films/a.mp4");
    QTest::newRow("threads") << 1 << QStringLiteral("/films/a.mp4");
    QTest::newRow("hardware") << 2 << QStringLiteral("/films/a.mp4");
    QTest::newRow("blanks and Chinese") << 0 << QStringLiteral("/电影 库/第 1 集.mp4");
    QTest::newRow("shell characters")
        << 1 << QStringLiteral("/films/$HOME 'a' \"b\" `c` & d;e*.mp4");
    QTest::newRow("web file") << 0 << QStringLiteral("http://127.0.0.1:9/a.mp4");
}

void TestEngineLaunch::argumentsOfFiles()
{
    QFETCH(int, decodeFlag);
    QFETCH(QString, location);
    StandInTools tools;
    InstalledPlayer player;
    player.setConfig(config(decodeFlag));
    StandInEngine &engine = player.standIn();
    QVERIFY(player.start({location}));
    QVERIFY(engine.waitForStarts(1));
    QVERIFY(player.playArea() != 0);
    QCOMPARE(engine.starts().first().arguments,
             QByteArrayList{location.toUtf8()} + commonArguments(player, decodeFlag));
    QTRY_VERIFY(Screen::isViewable(player.playArea()));
    QTRY_VERIFY(player.logContains("arglist:"));
    QVERIFY(engine.waitForInput("get_time_length\nget_time_pos\n"));
    QCOMPARE(engine.starts().size(), 1);
}

void TestEngineLaunch::argumentsOfStreams_data()
{
    QTest::addColumn<int>("decodeFlag");
    QTest::addColumn<QString>("location");
    QTest::addColumn<QByteArray>("rate");
    QTest::addColumn<QByteArray>("shown");
    QTest::newRow("software 25") << 0 << "rtsp://127.0.0.1:9/live" << QByteArray("25/1")
                                 << QByteArray("30");
    QTest::newRow("threads 25") << 1 << "rtsp://127.0.0.1:9/live" << QByteArray("25/1")
                                << QByteArray("30");
    QTest::newRow("hardware 25") << 2 << "rtsp://127.0.0.1:9/live" << QByteArray("25/1")
                                 << QByteArray("30");
    QTest::newRow("rtmp 29.97") << 1 << "rtmp://127.0.0.1:9/a?b=c&d" << QByteArray("2997/100")
                                << QByteArray("34.97");
    QTest::newRow("unknown rate") << 0 << "rtsp://127.0.0.1:9/live" << QByteArray("0/0")
                                  << QByteArray("5");
}

void TestEngineLaunch::argumentsOfStreams()
{
    QFETCH(int, decodeFlag);
    QFETCH(QString, location);
    QFETCH(QByteArray, rate);
    QFETCH(QByteArray, shown);
    StandInTools tools;
    tools.setProbeAnswer(StandInTools::videoJson("h264", 640, 480, rate));
    InstalledPlayer player;
    player.setConfig(config(decodeFlag));
    StandInEngine &engine = player.standIn();
    QVERIFY(player.start({location}));
    QVERIFY(engine.waitForStarts(1));
    QCOMPARE(
        engine.starts().first().arguments,
        QByteArrayList({"-rtsp-stream-over-tcp", "-framedrop", "-fps", shown, location.toUtf8()}) +
            commonArguments(player, decodeFlag));
}

void TestEngineLaunch::commaInTheScreenshotFolder()
{
    StandInTools tools;
    InstalledPlayer player;
    const QString folder = player.home() + "/a,b c/";
    QVERIFY(QDir().mkpath(folder));
    player.setConfig(config(0) + "snap_path=\"" + folder.toUtf8() + "\"\n");
    StandInEngine &engine = player.standIn();
    QVERIFY(player.start({"/films/a.mp4"}));
    QVERIFY(engine.waitForStarts(1));
    const QByteArray escaped = "screenshot=" + player.home().toUtf8() + "/a\\,b c/shot";
    const QByteArrayList arguments = engine.starts().first().arguments;
    QCOMPARE(arguments.value(arguments.indexOf("-vf-add") + 1), escaped);
}

// The warning runs an event loop while the old engine is dead: nothing else may start meanwhile.
void TestEngineLaunch::hardwareWarningStartsOneEngine()
{
    StandInTools tools;
    tools.setProbeAnswerFor("/films/second.avi",
                            StandInTools::videoJson("mpeg4", 320, 240, "25/1"));
    InstalledPlayer player;
    player.setConfig(config(2) + "play_mode=2\n");
    StandInEngine &engine = player.standIn();
    QVERIFY(player.start({"/films/first.mp4", "/films/second.avi"}));
    const qulonglong box = player.dialog(QStringLiteral("提示"));
    QVERIFY(box);
    QCOMPARE(engine.starts().size(), 1);
    // Four times the polling interval: whatever would start by itself has started.
    QVERIFY(!engine.waitForStarts(2, 2000));
    QVERIFY(engine.runningEngines().isEmpty());
    Screen::activate(box);
    QTRY_COMPARE(Screen::active(), box);
    Screen::key("Return");
    QVERIFY(engine.waitForStarts(2));
    QVERIFY(!engine.waitForStarts(3, 1500));
    QCOMPARE(engine.starts().last().arguments.first(), QByteArray("/films/second.avi"));
    QCOMPARE(engine.runningEngines().size(), 1);
    QVERIFY(!engine.overlapped());
}

// Repeating one file: the box comes between the end of one engine and the start of the next.
void TestEngineLaunch::hardwareWarningAfterEachEnd()
{
    StandInTools tools;
    tools.setProbeAnswer(StandInTools::videoJson("mpeg4", 320, 240, "25/1"));
    InstalledPlayer player;
    player.setConfig(config(2) + "play_mode=2\n");
    StandInEngine &engine = player.standIn();
    engine.after(300, EngineAction::exit());
    QVERIFY(player.start({"/films/a.avi"}));
    for (int i = 0; i < 3; ++i) {
        const qulonglong box = player.dialog(QStringLiteral("提示"));
        QVERIFY(box);
        QVERIFY(!engine.waitForStarts(i + 1, 2000));
        QVERIFY(player.engines().isEmpty());
        Screen::closeWindow(box);
        QVERIFY(engine.waitForStarts(i + 1));
        QTRY_VERIFY(!Screen::windows().contains(box));
    }
    QVERIFY(!engine.overlapped());
}

void TestEngineLaunch::neverTwoEngines()
{
    StandInTools tools;
    tools.setProbeDelay(200); // so that most engines live long enough to record their start
    InstalledPlayer player;
    player.setConfig(config(0));
    StandInEngine &engine = player.standIn();
    engine.ignoreQuit();
    engine.ignoreTerm();
    QStringList locations;
    for (int i = 0; i < 10; ++i)
        locations << QStringLiteral("/films/%1.mp4").arg(i);
    QVERIFY(player.start(locations));
    QVERIFY(player.window());
    QTRY_COMPARE(player.log().filter("arglist:").size(), 10);
    QTRY_COMPARE(engine.last().arguments.value(0), locations.last().toUtf8());
    QVERIFY(engine.starts().size() > 1);
    QVERIFY(!engine.overlapped());
    QCOMPARE(engine.runningEngines(), QList<qint64>() << engine.last().pid);
    QVERIFY(Processes::zombieChildrenOf(player.pid()).isEmpty());
    const auto allToldToQuit = [&engine] {
        QList<StandInEngine::Start> ended = engine.starts();
        ended.removeLast();
        return std::all_of(ended.begin(), ended.end(), [](const StandInEngine::Start &start) {
            return start.inputClosed && start.input.endsWith("quit\n");
        });
    };
    QTRY_VERIFY(allToldToQuit());
    QVERIFY(!engine.input().contains("quit"));
}

// Repeating one file whose engine ends at once goes on for ever, one engine at a time.
void TestEngineLaunch::restartsAfterAnImmediateEnd()
{
    StandInTools tools;
    InstalledPlayer player;
    player.setConfig(config(0) + "play_mode=2\n");
    StandInEngine &engine = player.standIn();
    engine.atStart(EngineAction::exit(1));
    QVERIFY(player.start({"/films/a.mp4"}));
    QVERIFY(engine.waitForStarts(4));
    const QList<StandInEngine::Start> starts = engine.starts();
    QVERIFY(starts.at(3).at - starts.at(0).at > 1000000); // only the polling restarts it
    QVERIFY(!engine.overlapped());
    QTRY_VERIFY(Processes::zombieChildrenOf(player.pid()).isEmpty());
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
    QVERIFY(player.engines().isEmpty());
}

void TestEngineLaunch::noEngineIsLeft_data()
{
    QTest::addColumn<int>("number"); // 0: the close button
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<bool>("realEngine");
    for (bool real : {false, true}) {
        const char *with = real ? "real" : "stand-in";
        QTest::addRow("close, %s", with) << 0 << 0 << real;
        QTest::addRow("SIGTERM, %s", with) << SIGTERM << 0 << real;
        QTest::addRow("SIGINT, %s", with) << SIGINT << 0 << real;
        QTest::addRow("SIGHUP, %s", with) << SIGHUP << 0 << real;
        QTest::addRow("SIGKILL, %s", with) << SIGKILL << 128 + SIGKILL << real;
        QTest::addRow("SIGSEGV, %s", with) << SIGSEGV << 128 + SIGSEGV << real;
        QTest::addRow("SIGABRT, %s", with) << SIGABRT << 128 + SIGABRT << real;
    }
}

void TestEngineLaunch::noEngineIsLeft()
{
    QFETCH(int, number);
    QFETCH(int, exitCode);
    QFETCH(bool, realEngine);
    InstalledPlayer player;
    player.setConfig(config(0));
    if (!realEngine) {
        player.standIn().ignoreQuit();
        player.standIn().ignoreTerm();
    }
    QVERIFY(player.start({Clips::pattern(10)}));
    QVERIFY(player.window());
    QTRY_COMPARE_WITH_TIMEOUT(player.engines().size(), 1, 15000);
    const qint64 engine = player.engines().first();
    QCOMPARE(Processes::parentOf(engine), player.pid());
    QVERIFY(QFile::remove(player.configFile()));
    if (number == 0)
        player.close();
    else
        player.signal(number);
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), exitCode);
    QTRY_VERIFY_WITH_TIMEOUT(!Processes::alive(engine), 1000);
    QVERIFY(player.engines().isEmpty());
    // A signal one can catch closes the window as its button does, so the volume is kept.
    QCOMPARE(player.setting("default_volum"), exitCode == 0 ? QStringLiteral("30") : QString());
    QVERIFY(!player.logContains("QThread: Destroyed"));
    QVERIFY(!player.logContains("QProcess: Destroyed"));
}

void TestEngineLaunch::noEngineIsLeftWhilePaused()
{
    StandInTools tools;
    InstalledPlayer player;
    player.setConfig(config(0));
    StandInEngine &engine = player.standIn();
    QVERIFY(player.start({"/films/a.mp4"}));
    const qulonglong window = player.window();
    QVERIFY(window);
    QVERIFY(engine.waitForInput("get_time_pos\n"));
    Screen::activate(window);
    QTRY_COMPARE(Screen::active(), window);
    Screen::key("space");
    QVERIFY(engine.waitForInput("pause\n"));
    player.signal(SIGTERM);
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
    QVERIFY(player.engines().isEmpty());
    QVERIFY(engine.waitForInput("quit\n"));
    QCOMPARE(engine.input().count("pause\n"), 1);
}

void TestEngineLaunch::playedToTheEnd()
{
    StandInTools tools;
    InstalledPlayer player;
    player.setConfig(config(0));
    StandInEngine &engine = player.standIn();
    engine.setLength("1.00");
    engine.endAtLength();
    QVERIFY(player.start({"/films/a.mp4"}));
    QVERIFY(engine.waitForStarts(1));
    QVERIFY(engine.waitForNoEngine());
    // Play mode 0 plays one file only; the next poll sees the end and leaves no zombie.
    QTRY_VERIFY(Processes::zombieChildrenOf(player.pid()).isEmpty());
    QVERIFY(!engine.waitForStarts(2, 1500));
    QVERIFY(engine.last().events.contains("exit 0"));
    QVERIFY(player.isRunning());
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
}

// The toolkit's own options are no locations, an empty argument ends the list, Chinese names pass.
void TestEngineLaunch::oddNamesOfTheCommandLine()
{
    StandInTools tools;
    InstalledPlayer player;
    player.setConfig(config(0));
    StandInEngine &engine = player.standIn();
    const QString chinese = QStringLiteral("/电影/中文 片.mp4");
    QVERIFY(player.start({"-style", "fusion", chinese, "/films/b.mp4", "", "/films/c.mp4"}));
    QVERIFY(engine.waitForStarts(2));
    QVERIFY(!engine.waitForStarts(3, 1000));
    QCOMPARE(engine.starts().at(0).arguments.first(), chinese.toUtf8());
    QCOMPARE(engine.starts().at(1).arguments.first(), QByteArray("/films/b.mp4"));
    QCOMPARE(tools.probeCalls().size(), 2);
    QCOMPARE(tools.probeCalls().first(),
             QByteArrayList({"-of", "json", "-show_streams", chinese.toUtf8()}));
    QVERIFY(readFile(player.historyFile()).contains(chinese.toUtf8()));
}

QTEST_MAIN(TestEngineLaunch)
#include "tst_enginelaunch.moc"
