// The installed player on a session bus, used by the programs that desktops use.
#include "busbench.h"
#include "clips.h"
#include "playerhands.h"
#include "processes.h"
#include "signalclip.h"

#include <QTest>

#include <csignal>
#include <optional>

class TestDesktop : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void mediaKeys();
    void listIsFollowed();
    void screenStaysOn_data();
    void screenStaysOn();
    void killedPlayerLetsGo();
    void twoPlayers();
    void quitWithADialog();
    void saysNothing_data();
    void saysNothing();

private:
    bool start(const QStringList &locations);
    QString status() { return run("playerctl", {"status"}); }
    static QString run(const QString &program, const QStringList &arguments);
    static QString method(const QString &name, const QStringList &arguments = {});

    std::optional<SessionBus> bus;
    std::optional<InstalledPlayer> player;
    std::optional<PlayerHands> hands;
};

namespace {

const QByteArray config = "[DEFAULT]\nfirst_start=0\ndefault_volum=30\ndecode_flag=0\n"
                          "default_last_time=1\n";
const QString saver = "org.freedesktop.ScreenSaver";

} // namespace

void TestDesktop::init()
{
    bus.emplace();
    player.emplace();
    player->setConfig(config);
}

void TestDesktop::cleanup()
{
    hands.reset();
    player.reset();
    bus.reset();
}

bool TestDesktop::start(const QStringList &locations)
{
    hands.emplace(*player);
    return player->start(locations) && hands->takeHold() &&
        QTest::qWaitFor([&] { return status() == (locations.isEmpty() ? "Stopped" : "Playing"); },
                        15000);
}

// What it prints, in one line.
QString TestDesktop::run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 20000))
        return "it does not end";
    return QString::fromUtf8(process.readAllStandardOutput()).simplified();
}

QString TestDesktop::method(const QString &name, const QStringList &arguments)
{
    return run("gdbus",
               QStringList{"call", "--session", "--dest", BusClient::player, "--object-path",
                           "/org/mpris/MediaPlayer2", "--method", name} +
                   arguments);
}

void TestDesktop::mediaKeys()
{
    const QString clip = Clips::oneColour("red", 60);
    QVERIFY(start({clip}));
    QVERIFY(hands->waitForPicture(Qt::red));
    QTRY_COMPARE(run("playerctl", {"metadata", "mpris:length"}), QString("60000000"));
    QCOMPARE(run("playerctl", {"metadata", "xesam:url"}), "file://" + clip);
    QCOMPARE(run("playerctl", {"metadata", "xesam:title"}), QFileInfo(clip).fileName());
    run("playerctl", {"play-pause"});
    QTRY_COMPARE(status(), QString("Paused"));
    run("playerctl", {"position", "40"});
    QTRY_VERIFY(run("playerctl", {"position"}).startsWith("40.0"));
    QCOMPARE(status(), QString("Paused"));
    run("playerctl", {"play"});
    QTRY_COMPARE(status(), QString("Playing"));
    QTRY_VERIFY(run("playerctl", {"position"}).toDouble() > 40.5);
    QVERIFY(run("playerctl", {"position"}).toDouble() < 59);
    run("playerctl", {"volume", "0.8"});
    QTRY_COMPARE(run("playerctl", {"volume"}), QString("0.800000"));
    run("playerctl", {"loop", "Track"});
    QTRY_COMPARE(player->setting("play_mode"), QString("2"));
    run("playerctl", {"shuffle", "On"});
    QTRY_COMPARE(player->setting("play_mode"), QString("4"));
    run("playerctl", {"stop"});
    QTRY_COMPARE(status(), QString("Stopped"));
    QTRY_VERIFY(player->engines().isEmpty());
}

void TestDesktop::listIsFollowed()
{
    const QString older = Clips::oneColour("red");
    const QString newer = Clips::oneColour("lime", 60);
    QVERIFY(start({older, newer}));
    QVERIFY(hands->waitForPicture(QColor("lime")));
    run("playerctl", {"next"});
    QVERIFY(hands->waitForPicture(Qt::red));
    run("playerctl", {"previous"});
    QVERIFY(hands->waitForPicture(QColor("lime")));
    run("playerctl", {"open", "file://" + older});
    QVERIFY(hands->waitForPicture(Qt::red));
    method("org.freedesktop.DBus.Properties.Set", {BusClient::root, "Fullscreen", "<true>"});
    QTRY_COMPARE(Screen::geometry(hands->mainWindow()), QRect(0, 0, 1280, 800));
    method("org.freedesktop.DBus.Properties.Set", {BusClient::root, "Fullscreen", "<false>"});
    QTRY_COMPARE(Screen::geometry(hands->mainWindow()).size(), QSize(945, 564));
    QCOMPARE(method("org.mpris.MediaPlayer2.Raise"), QString("()"));
    QCOMPARE(method("org.mpris.MediaPlayer2.Quit"), QString("()"));
    QVERIFY(player->waitForEnd());
    QCOMPARE(player->exitCode(), 0);
}

void TestDesktop::screenStaysOn_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("path");
    QTest::newRow("screen saver") << saver << "/org/freedesktop/ScreenSaver";
    QTest::newRow("power management") << "org.freedesktop.PowerManagement.Inhibit"
                                      << "/org/freedesktop/PowerManagement/Inhibit";
}

void TestDesktop::screenStaysOn()
{
    QFETCH(QString, name);
    QFETCH(QString, path);
    ScreenService service(*bus, {name}, {path});
    QVERIFY(start({Clips::oneColour("red", 5)}));
    QTRY_COMPARE(service.held.size(), 1);
    Screen::key("space");
    QTRY_COMPARE(service.held.size(), 0);
    Screen::key("space");
    QTRY_COMPARE(service.held.size(), 1);
    QTRY_COMPARE_WITH_TIMEOUT(service.held.size(), 0, 20000); // the film has ended
    hands->click(PlayerHands::Play);
    QTRY_COMPARE(service.held.size(), 1);
    player->close();
    QVERIFY(player->waitForEnd());
    QTRY_COMPARE(service.held.size(), 0);
}

void TestDesktop::killedPlayerLetsGo()
{
    ScreenService service(*bus, {saver}, {"/org/freedesktop/ScreenSaver"});
    QVERIFY(start({Clips::oneColour("red", 60)}));
    QTRY_COMPARE(service.held.size(), 1);
    player->signal(SIGKILL);
    QTRY_COMPARE(service.held.size(), 0);
    QCOMPARE(service.calls.size(), 1);
}

void TestDesktop::twoPlayers()
{
    QVERIFY(start({}));
    InstalledPlayer second(&*player);
    QVERIFY(second.start());
    QVERIFY(second.window());
    const QString name = QString("tarnivo_player.instance%1").arg(second.pid());
    QTRY_VERIFY(run("playerctl", {"-l"}).split(' ').contains(name));
    QCOMPARE(run("playerctl", {"-p", name, "status"}), QString("Stopped"));
    second.close();
    QVERIFY(second.waitForEnd());
    QTRY_COMPARE(run("playerctl", {"-l"}), QString("tarnivo_player"));
}

void TestDesktop::quitWithADialog()
{
    QVERIFY(start({Clips::oneColour("red", 60)}));
    hands->click(PlayerHands::Settings);
    QVERIFY(player->dialog(QStringLiteral("设置")));
    QCOMPARE(method("org.mpris.MediaPlayer2.Quit"), QString("()"));
    QVERIFY(player->waitForEnd());
    QCOMPARE(player->exitCode(), 0);
    QVERIFY(player->engines().isEmpty());
}

void TestDesktop::saysNothing_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("bus") << "own";
    QTest::newRow("no bus") << "disabled:";
    QTest::newRow("bus is gone") << "unix:path=/nowhere/bus";
}

// The log, the engine's arguments and what it is sent are the same with and without a bus.
void TestDesktop::saysNothing()
{
    QFETCH(QString, address);
    StandInEngine &engine = player->standIn();
    player->setEnvironment("DBUS_SESSION_BUS_ADDRESS", address == "own" ? bus->address : address);
    hands.emplace(*player);
    QVERIFY(player->start({Clips::oneColour("red", 60)}));
    QVERIFY(hands->takeHold());
    QVERIFY(engine.waitForInput("get_time_pos\n"));
    QVERIFY(engine.waitForInput("volume 30 2\n")); // the slider rests
    if (address == "own") {
        BusClient client(*bus);
        QTRY_COMPARE(client.get("PlaybackStatus").toString(), QString("Playing"));
    }
    hands->click(PlayerHands::Stop);
    QVERIFY(engine.waitForInput("quit\n"));
    QByteArray input = engine.input();
    input.replace("get_time_length\nget_time_pos\n", "");
    QCOMPARE(input, QByteArray("volume 30 2\nquit\n"));
    QVERIFY2(player->log().filter("bus", Qt::CaseInsensitive).isEmpty(),
             qPrintable(player->log().join('\n')));
    player->close();
    QVERIFY(player->waitForEnd());
}

QTEST_MAIN(TestDesktop)
#include "tst_desktop.moc"
