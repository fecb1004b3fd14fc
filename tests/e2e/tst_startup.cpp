// Starts of the installed player under every condition, and what its end leaves behind.
#include "clips.h"
#include "installedplayer.h"
#include "processes.h"
#include "screen.h"
#include "toolbench.h"

#include <QFile>
#include <QLabel>
#include <QLocalServer>
#include <QMessageBox>
#include <QRegularExpression>
#include <QTest>

#include <csignal>

class TestStartup : public QObject {
    Q_OBJECT

private slots:
    void startsWithoutAnything_data();
    void startsWithoutAnything();
    void loadsNoOpenGl();
    void hasItsIconAndLanguage();
    void missingSettingsAreMade();
    void shippedSettings();
    void emptyRootIsFilled();
    void unplayableEngine_data();
    void unplayableEngine();
    void noProbe();
    void noPackageList();
    void hardwareBoxAtTheFirstStart();
    void hardwareBoxIsClosedByASignal();
    void noBoxWithVdpau();
    void onlyTheIntendedWarnings();
    void startsAndClosesAgainAndAgain();
    void closingEmptiesTheList();
    void closingWithoutAHistoryFile();
    void probesBeforeTheScreenAnswers();
    void startsNoBus();
};

namespace {

const QString notice = QStringLiteral("提示");

// Whether the box on the screen shows this text: its label looks like that of such a box here.
bool boxShows(qulonglong box, const QString &text)
{
    QMessageBox same(QMessageBox::NoIcon, notice, text, QMessageBox::Ok);
    same.ensurePolished();
    same.adjustSize();
    const QImage expected = same.grab().toImage().convertToFormat(QImage::Format_RGB32);
    const auto *label = same.findChild<QLabel *>("qt_msgbox_label");
    const QRect place(label->mapTo(&same, QPoint()), label->size());
    return QTest::qWaitFor(
        [&] {
            const QImage shown = Screen::grab(Screen::geometry(box));
            return shown.size() == expected.size() &&
                shown.convertToFormat(QImage::Format_RGB32).copy(place) == expected.copy(place);
        },
        10000);
}

// Starts the player and sees that it lives, opens a file as far as it can, and ends properly.
void startAndClose(InstalledPlayer &player, const QStringList &locations = {})
{
    QVERIFY(player.start(locations));
    QVERIFY(player.window());
    QVERIFY(!player.waitForEnd(1500)); // some polls long
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
    QVERIFY(player.engines().isEmpty());
}

} // namespace

void TestStartup::startsWithoutAnything_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind :
         {"missing settings", "empty settings", "unreadable settings", "broken settings",
          "settings are a folder", "no config folder", "read-only root", "missing root"})
        QTest::newRow(kind) << QString(kind);
}

void TestStartup::startsWithoutAnything()
{
    QFETCH(QString, kind);
    StandInTools tools;
    InstalledPlayer player;
    player.standIn();
    if (kind == "missing settings") {
        QVERIFY(QFile::remove(player.configFile()));
    } else if (kind == "empty settings") {
        player.setConfig("");
    } else if (kind == "unreadable settings") {
        QVERIFY(QFile::setPermissions(player.configFile(), QFile::Permissions()));
    } else if (kind == "broken settings") {
        QByteArray noise;
        for (int i = 0; i < 20000; ++i)
            noise += char(i * 7919 >> 3);
        player.setConfig("[DEFAULT\n=\n" + noise + "\n[[[\ndecode_flag=\\x");
    } else if (kind == "settings are a folder") {
        QVERIFY(QFile::remove(player.configFile()) && QDir().mkpath(player.configFile() + "/x"));
    } else if (kind == "no config folder") {
        QVERIFY(QDir(player.root() + "/files/config").removeRecursively());
    } else if (kind == "read-only root") {
        player.setRoot(InstalledPlayer::Root::ReadOnly);
    } else {
        player.setRoot(InstalledPlayer::Root::Missing);
    }
    const bool playable = kind != "missing root";
    startAndClose(player, {"/films/a.mp4"});
    QCOMPARE(player.standIn().starts().size(), playable ? 1 : 0);
    if (playable) {
        QVERIFY(player.standIn().waitForInput("quit\n"));
        QCOMPARE(player.standIn().last().arguments.first(), QByteArray("/films/a.mp4"));
        QVERIFY(!player.standIn().last().arguments.contains("-lavdopts"));
        QVERIFY(!player.standIn().last().arguments.contains("-vc"));
    }
}

// It draws nothing with it, and loading it would take half of the start-up time.
void TestStartup::loadsNoOpenGl()
{
    InstalledPlayer player;
    QVERIFY(player.start());
    QVERIFY(player.window());
    const QByteArray libraries = readFile(QStringLiteral("/proc/%1/maps").arg(player.pid()));
    QVERIFY(libraries.contains("libqxcb.so"));
    QVERIFY(!libraries.contains("libqxcb-glx") && !libraries.contains("libLLVM"));
    player.close();
    QVERIFY(player.waitForEnd());
}

// Qt's catalogue stays mapped as long as it is used.
void TestStartup::hasItsIconAndLanguage()
{
    InstalledPlayer player;
    QVERIFY(player.start());
    const qulonglong window = player.window();
    QVERIFY(window);
    for (const char *size : {"16 x 16", "32 x 32", "64 x 64"})
        QVERIFY2(Screen::property(window, "_NET_WM_ICON").contains(size), size);
    QVERIFY(
        readFile(QStringLiteral("/proc/%1/maps").arg(player.pid())).contains("/qtbase_zh_CN.qm"));
    player.close();
    QVERIFY(player.waitForEnd());
}

void TestStartup::missingSettingsAreMade()
{
    InstalledPlayer player;
    QVERIFY(QFile::remove(player.configFile()));
    QVERIFY(player.start());
    QVERIFY(player.window());
    QCOMPARE(
        readFile(player.configFile()),
        QByteArray(
            "[DEFAULT]\nrecord_file=/opt/apps/com.quelmark.player/files/config/config.json\n"));
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.setting("default_volum"), QStringLiteral("0"));
}

void TestStartup::shippedSettings()
{
    InstalledPlayer player;
    QCOMPARE(player.setting("first_start"), QStringLiteral("1"));
    startAndClose(player);
    QCOMPARE(player.setting("first_start"), QStringLiteral("0"));
    QCOMPARE(player.setting("default_volum"), QStringLiteral("30"));
    QCOMPARE(player.setting("default_last_time"), QStringLiteral("1"));
    QCOMPARE(player.setting("decode_flag"), QString());
}

void TestStartup::emptyRootIsFilled()
{
    StandInTools tools;
    InstalledPlayer player;
    QVERIFY(QDir(player.root() + "/files/config").removeRecursively());
    startAndClose(player, {"/films/a.mp4"});
    QVERIFY(QFile::exists(player.configFile()));
    QVERIFY(readFile(player.historyFile()).contains("/films/a.mp4"));
}

void TestStartup::unplayableEngine_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind :
         {"none", "no program", "not executable", "a folder", "exits", "crashes"})
        QTest::newRow(kind) << QString(kind);
}

void TestStartup::unplayableEngine()
{
    QFETCH(QString, kind);
    StandInTools tools;
    InstalledPlayer player;
    player.setConfig("[DEFAULT]\nplay_mode=2\n"); // tries the same file again and again
    if (kind == "exits" || kind == "crashes") {
        player.standIn().atStart(kind == "exits" ? EngineAction::exit(1) : EngineAction::crash());
    } else {
        player.removeEngine();
        if (kind == "a folder")
            QVERIFY(QDir().mkpath(player.enginePath()));
        else if (kind != "none")
            writeFile(player.enginePath(), kind == "no program" ? "nothing" : "#!/bin/sh\n");
        if (kind == "no program")
            QFile::setPermissions(player.enginePath(), QFile::ReadOwner | QFile::ExeOwner);
    }
    startAndClose(player, {"/films/a.mp4"});
    QVERIFY(player.log().filter("arglist:").size() >= 2);
    QVERIFY(player.processes().isEmpty());
}

void TestStartup::noProbe()
{
    StandInTools tools;
    tools.setProbeMissing();
    InstalledPlayer player;
    StandInEngine &engine = player.standIn();
    QVERIFY(player.start({"/films/a.mp4"}));
    const qulonglong box = player.dialog(notice);
    QVERIFY(box);
    Screen::activate(box);
    QTRY_COMPARE(Screen::active(), box);
    Screen::key("Return");
    QVERIFY(player.window());
    QVERIFY(engine.starts().isEmpty());
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
}

void TestStartup::noPackageList()
{
    StandInTools tools;
    tools.setDpkgMissing();
    InstalledPlayer player;
    player.setConfig("[DEFAULT]\nfirst_start=1\ndecode_flag=2\n");
    QVERIFY(player.start());
    const qulonglong box = player.dialog(notice);
    QVERIFY(box);
    Screen::closeWindow(box);
    QVERIFY(player.window());
    QCOMPARE(player.setting("decode_flag"), QStringLiteral("1"));
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
}

void TestStartup::hardwareBoxAtTheFirstStart()
{
    StandInTools tools;
    tools.setDpkgOutput("ii  libavcodec59:amd64   7:5.1.9   amd64   vdpau nowhere\n");
    InstalledPlayer player;
    StandInEngine &engine = player.standIn();
    player.setConfig("[DEFAULT]\nfirst_start=1\ndecode_flag=2\n");
    QVERIFY(player.start({"/films/a.mp4"}));
    const qulonglong box = player.dialog(notice);
    QVERIFY(box);
    QVERIFY(boxShows(box, QStringLiteral("系统暂不支持硬解码!")));
    QCOMPARE(tools.dpkgCalls(), QList<QByteArrayList>({{"-l"}}));
    QVERIFY(player.logContains("dpkg -l|grep vdpau "));
    QVERIFY(player.logContains("checked count= 0"));
    QCOMPARE(player.setting("first_start"), QStringLiteral("0"));
    QCOMPARE(player.setting("decode_flag"), QStringLiteral("2"));
    QVERIFY(Screen::windowsNamed("MainWindow").isEmpty()); // first the answer, then the window
    Screen::activate(box);
    QTRY_COMPARE(Screen::active(), box);
    Screen::key("Return");
    QVERIFY(player.window()); // the box was the last window; the program goes on
    QVERIFY(engine.waitForStarts(1));
    QVERIFY(engine.last().arguments.contains("threads=8"));
    QVERIFY(!engine.last().arguments.contains("-vc"));
    QCOMPARE(player.setting("decode_flag"), QStringLiteral("1"));
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);

    QVERIFY(player.start());
    QVERIFY(player.window());
    QVERIFY(Screen::windowsNamed(notice).isEmpty());
    QCOMPARE(tools.dpkgCalls().size(), 1);
}

void TestStartup::hardwareBoxIsClosedByASignal()
{
    StandInTools tools;
    InstalledPlayer player;
    player.setConfig("[DEFAULT]\nfirst_start=1\ndecode_flag=2\n");
    QVERIFY(player.start());
    QVERIFY(player.dialog(notice));
    player.signal(SIGTERM);
    QVERIFY(player.waitForEnd());
    QVERIFY(player.processes().isEmpty());
}

void TestStartup::noBoxWithVdpau()
{
    StandInTools tools;
    tools.setDpkgOutput("ii  libvdpau1:amd64   1.5-2   amd64   Video Decode\n");
    InstalledPlayer player;
    player.setConfig("[DEFAULT]\nfirst_start=1\ndecode_flag=2\n");
    QVERIFY(player.start());
    QVERIFY(player.window());
    QVERIFY(Screen::windowsNamed(notice).isEmpty());
    QVERIFY(player.logContains("checked count= 1"));
    QCOMPARE(player.setting("decode_flag"), QStringLiteral("2"));
    QCOMPARE(player.setting("first_start"), QStringLiteral("0"));
}

// A signal or slot that is not there shows only here.
void TestStartup::onlyTheIntendedWarnings()
{
    InstalledPlayer player;
    startAndClose(player);
    const QStringList warnings =
        player.log().filter(QRegularExpression("QObject::connect|QMetaObject::connectSlotsByName"));
    QCOMPARE(warnings.size(), 2);
    QCOMPARE(
        warnings
            .filter(
                "QMetaObject::connectSlotsByName: No matching signal for on_unPlayedBtn_clicked()")
            .size(),
        1);
    QCOMPARE(warnings.filter("QObject::connect: Incompatible sender/receiver arguments").size(), 1);
    QVERIFY(player.log().filter("QThread").isEmpty());
}

void TestStartup::startsAndClosesAgainAndAgain()
{
    InstalledPlayer player;
    player.setConfig("[DEFAULT]\ndecode_flag=0\n");
    for (int i = 0; i < 10; ++i) {
        QVERIFY(player.start());
        QVERIFY(player.window());
        player.close();
        QVERIFY(player.waitForEnd());
        QCOMPARE(player.exitCode(), 0);
        QVERIFY(!player.logContains("QThread: Destroyed"));
    }
}

void TestStartup::closingEmptiesTheList()
{
    StandInTools tools;
    InstalledPlayer player;
    player.setConfig("[DEFAULT]\ndefault_last_time=1\nempty_list_exit=1\ndefault_volum=42\n");
    StandInEngine &engine = player.standIn();
    engine.setLength("100.00");
    engine.setClock(50);
    QVERIFY(player.start({"/films/a.mp4"}));
    QVERIFY(player.window());
    QVERIFY(engine.waitForInputCount("get_time_pos\n", 2));
    QVERIFY(readFile(player.historyFile()).contains("/films/a.mp4"));
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
    QVERIFY(QFile::exists(player.historyFile()));
    QCOMPARE(QFileInfo(player.historyFile()).size(), 0);
    QCOMPARE(player.setting("default_volum"), QStringLiteral("42"));
    QVERIFY(player.engines().isEmpty());
    QVERIFY(engine.waitForInput("quit\n"));
    QVERIFY(!player.logContains("QThread: Destroyed"));
}

void TestStartup::closingWithoutAHistoryFile()
{
    InstalledPlayer player;
    player.setConfig("[DEFAULT]\nempty_list_exit=1\ndefault_volum=42\n");
    QVERIFY(QDir().mkpath(player.historyFile() + "/x"));
    QVERIFY(player.start());
    QVERIFY(player.window());
    QFile::remove(player.configFile());
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
    QVERIFY(player.log().contains("Json File open fail! 1692"));
    QCOMPARE(player.setting("default_volum"), QStringLiteral("42"));
}

// An X server that takes the connection and then says nothing holds up everything but the probe,
// which dies with the player.
void TestStartup::probesBeforeTheScreenAnswers()
{
    QLocalServer screen;
    int number = 300;
    while (!screen.listen("/tmp/.X11-unix/X" + QString::number(number)) && number < 400)
        number++;
    QVERIFY2(screen.isListening(), qPrintable(screen.errorString()));
    StandInTools tools;
    tools.setProbeDelay(1000000);
    InstalledPlayer player;
    player.standIn();
    player.setConfig("[DEFAULT]\nfirst_start=0\ndecode_flag=1\n");
    player.setEnvironment("DISPLAY", ":" + QString::number(number));
    QVERIFY(player.start({"/f/a%20b.mp4"}));
    QTRY_COMPARE_WITH_TIMEOUT(
        tools.probeCalls(), (QList<QByteArrayList>{{"-of", "json", "-show_streams", "/f/a b.mp4"}}),
        15000);
    QVERIFY(!player.logContains("ffprobe"));
    player.signal(SIGKILL);
    QVERIFY(player.waitForEnd());
    QTRY_COMPARE_WITH_TIMEOUT(player.processes(), QList<qint64>(), 15000);
}

// The toolkit's library would have one started by dbus-launch, where that is installed.
void TestStartup::startsNoBus()
{
    InstalledPlayer player;
    player.standIn();
    player.setEnvironment("DBUS_SESSION_BUS_ADDRESS", QString());
    QVERIFY(player.start());
    QVERIFY(player.window());
    QVERIFY(!player.waitForEnd(500));
    for (const qint64 process : player.processes())
        QVERIFY2(!Processes::arguments(process).value(0).contains("dbus"),
                 Processes::arguments(process).join(' '));
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
}

QTEST_MAIN(TestStartup)
#include "tst_startup.moc"
