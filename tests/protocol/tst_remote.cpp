// The window on a session bus: what other programs see of it, what each of their calls makes it
// send to the engine, and that nothing of what they send does harm.
#include "aside.h"
#include "busbench.h"
#include "desktop.h"
#include "mpris.h"
#include "playerbench.h"
#include "terminationnotifier.h"
#include "whenopen.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QXmlStreamReader>

#include <cmath>
#include <limits>
#include <optional>

namespace {

const QString trackId = "mpris:trackid";
const QString readOnly = "org.freedesktop.DBus.Error.PropertyReadOnly";
const QString invalid = "org.freedesktop.DBus.Error.InvalidArgs";
const QString unknown = "org.freedesktop.DBus.Error.UnknownMethod";
const QString saver = "org.freedesktop.ScreenSaver";
const QString saverPath = "/org/freedesktop/ScreenSaver";

} // namespace

// The signals of the player, in their order.
class Signals : public QObject {
    Q_OBJECT

public:
    explicit Signals(BusClient &client)
    {
        client.own.connect(BusClient::player, "/org/mpris/MediaPlayer2", BusClient::properties,
                           "PropertiesChanged", this, SLOT(takeChanges(QDBusMessage)));
        client.own.connect(BusClient::player, "/org/mpris/MediaPlayer2", BusClient::playing,
                           "Seeked", this, SLOT(takeSeeked(QDBusMessage)));
    }

    QVariantMap last; // changes of all messages, the newest values
    QList<QStringList> names; // of the properties in each message
    QList<qlonglong> seeked;

private slots:
    void takeChanges(const QDBusMessage &message)
    {
        const QVariantMap changes = qdbus_cast<QVariantMap>(message.arguments().at(1));
        names << changes.keys();
        for (const QString &name : changes.keys())
            last.insert(name, changes.value(name));
    }
    void takeSeeked(const QDBusMessage &message)
    {
        seeked << message.arguments().at(0).toLongLong();
    }
};

class TestRemote : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void connectsAfterThePainting();
    void withoutABus_data();
    void withoutABus();
    void addressOfTheBus_data();
    void addressOfTheBus();
    void busThatDoesNotAnswer();
    void endOfTheBus();
    void secondPlayer();

    void introspectionSaysWhatIsSeen();
    void whatIsSeen();
    void positionWithoutALength();
    void positionDuringADrag();
    void playPauseStop();
    void callsWithNothingToDo();
    void screenStaysOn();
    void setPosition();
    void setPositionWhilePaused();
    void setPositionRefused_data();
    void setPositionRefused();
    void seekBy_data();
    void seekBy();
    void jumpsAreTold();
    void nextAndPrevious();
    void nextWhilePaused();
    void nextAfterADeletion();
    void repeatedListHasNoEnd();
    void playModes();
    void modeOfTheSettings();
    void volume();
    void rate();
    void rateOfANewFilm();
    void fullScreen();
    void raise();
    void openUri();
    void openUriRefused();
    void callsWhileABoxIsOpen();
    void noStartWhileABoxIsOpen_data();
    void noStartWhileABoxIsOpen();
    void callsDuringAProbe();
    void quitWithABox();
    void wrongCalls_data();
    void wrongCalls();
    void changesComeTogether();
    void nothingIsToldTwice();
    void floodOfCalls();

private:
    void openBench(int entries);
    void playAt(int index, const QByteArray &position, const QByteArray &length = "100");
    QByteArrayList sent() const { return withoutPolls(bench->engine.input()); }
    QString track(int entry) const;

    std::optional<SessionBus> bus;
    std::optional<PlayerBench> bench;
    std::optional<Desktop> desktop;
    std::optional<BusClient> client;
    std::optional<Signals> told;
};

void TestRemote::init() { bus.emplace(); }

void TestRemote::cleanup()
{
    told.reset();
    client.reset();
    desktop.reset();
    bench.reset();
    bus.reset();
    companyAfter = 10000;
    // After a signal no event loop runs until the main one has been entered again.
    QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(0); });
    QCoreApplication::exec();
}

void TestRemote::openBench(int entries)
{
    bench.emplace(entries);
    bench->open();
    desktop.emplace(*bench->window);
    bench->window->show();
    client.emplace(*bus);
    told.emplace(*client);
    QTRY_VERIFY(client->sees(BusClient::player));
}

void TestRemote::playAt(int index, const QByteArray &position, const QByteArray &length)
{
    bench->play(index);
    QVERIFY(bench->showsLength(length, length.toInt()));
    QVERIFY(bench->showsPosition(position, position.toInt()));
}

QString TestRemote::track(int entry) const { return mpris::trackPath(PlayerBench::address(entry)); }

void TestRemote::connectsAfterThePainting()
{
    bench.emplace(1);
    bench->open();
    desktop.emplace(*bench->window);
    client.emplace(*bus);
    QVERIFY(!client->sees(BusClient::player));
    bench->window->show();
    QTRY_VERIFY(client->sees(BusClient::player));
    desktop.reset();
    QTRY_VERIFY(!client->sees(BusClient::player));
}

void TestRemote::withoutABus_data()
{
    QTest::addColumn<QByteArray>("address");
    QTest::newRow("disabled") << QByteArray("disabled:");
    QTest::newRow("gone") << QByteArray("unix:path=/nowhere/bus");
    QTest::newRow("none") << QByteArray();
    QTest::newRow("started") << QByteArray("autolaunch:");
    QTest::newRow("nonsense") << QByteArray("\xff;;=,:unix:");
}

void TestRemote::withoutABus()
{
    QFETCH(QByteArray, address);
    const EnvironmentVariable variable("DBUS_SESSION_BUS_ADDRESS", address);
    bench.emplace(1);
    bench->open();
    bench->log.clear();
    desktop.emplace(*bench->window);
    bench->window->show();
    QVERIFY(QTest::qWaitForWindowExposed(bench->window.get()));
    bench->play(0);
    QVERIFY(bench->showsPosition("42", 42));
    bench->window->on_stopBtn_clicked();
    QCOMPARE(bench->log.lines().filter("us", Qt::CaseInsensitive).filter("bus"), QStringList());
}

void TestRemote::addressOfTheBus_data()
{
    QTest::addColumn<QByteArray>("named");
    QTest::addColumn<QString>("address"); // "own": the socket in the run-time folder
    QTest::newRow("path") << QByteArray("unix:path=/a,guid=1") << "unix:path=/a,guid=1";
    QTest::newRow("abstract") << QByteArray("unix:abstract=/a") << "unix:abstract=/a";
    QTest::newRow("two") << QByteArray("unix:path=/a;tcp:host=b") << "unix:path=/a;tcp:host=b";
    QTest::newRow("one starts a bus") << QByteArray("autolaunch:;unix:path=/a") << "unix:path=/a";
    QTest::newRow("a program") << QByteArray("unixexec:path=/bin/x") << "";
    QTest::newRow("starts a bus") << QByteArray("autolaunch:scope=*user") << "";
    QTest::newRow("disabled") << QByteArray("disabled:") << "";
    QTest::newRow("empty") << QByteArray() << "own";
}

void TestRemote::addressOfTheBus()
{
    QFETCH(QByteArray, named);
    QFETCH(QString, address);
    const EnvironmentVariable variable("DBUS_SESSION_BUS_ADDRESS", named);
    QTemporaryDir folder(QDir::tempPath() + "/a~ü XXXXXX");
    const EnvironmentVariable runTime("XDG_RUNTIME_DIR", folder.path().toUtf8());
    QCOMPARE(Desktop::busAddress(), address == "own" ? "" : address);
    writeFile(folder.filePath("bus"), "");
    if (address == "own") {
        address = "unix:path=" + folder.filePath("bus");
        address.replace("~", "%7E").replace("ü", "%C3%BC").replace(" ", "%20");
    }
    QCOMPARE(Desktop::busAddress(), address);
}

// The window is used as ever.
void TestRemote::busThatDoesNotAnswer()
{
    bench.emplace(1);
    bench->open();
    desktop.emplace(*bench->window);
    bus->stand();
    bench->window->show();
    QVERIFY(QTest::qWaitForWindowExposed(bench->window.get()));
    playAt(0, "42");
    desktop.reset();
    bench->window->on_stopBtn_clicked();
    QVERIFY(bench->engineHasEnded());
    bus->go();
}

void TestRemote::endOfTheBus()
{
    openBench(1);
    playAt(0, "42");
    bus->end();
    bench->window->on_playBtn_clicked();
    bench->window->on_playBtn_clicked();
    QVERIFY(bench->showsPosition("44", 44));
    QVERIFY(bench->window->isVisible());
}

void TestRemote::secondPlayer()
{
    BusClient first(*bus);
    QVERIFY(first.own.registerService(BusClient::player));
    bench.emplace(1);
    bench->open();
    desktop.emplace(*bench->window);
    bench->window->show();
    client.emplace(*bus);
    const QString name =
        QString("%1.instance%2").arg(BusClient::player).arg(QCoreApplication::applicationPid());
    QTRY_VERIFY(client->sees(name));
    QVERIFY(client->call(BusClient::playing, "PlayPause", {}, name).type() ==
            QDBusMessage::ReplyMessage);
    QVERIFY(bench->engine.waitForStarts(1));
}

// Each property as "name type".
void TestRemote::introspectionSaysWhatIsSeen()
{
    openBench(1);
    const QString text = client->call("org.freedesktop.DBus.Introspectable", "Introspect")
                             .arguments()
                             .value(0)
                             .toString();
    QXmlStreamReader xml(text);
    QMap<QString, QStringList> described;
    QStringList writable;
    QString interface;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement())
            continue;
        const QString name = xml.attributes().value("name").toString();
        if (xml.name() == "interface")
            interface = name;
        if (xml.name() != "property")
            continue;
        described[interface] << name + ' ' + xml.attributes().value("type").toString();
        if (xml.attributes().value("access") == "readwrite")
            writable << name;
    }
    QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
    for (const QString &name : {QString(BusClient::root), QString(BusClient::playing)}) {
        const QVariantMap values = client->all(name);
        QStringList seen;
        for (auto value = values.cbegin(); value != values.cend(); ++value) {
            const bool isMap = value->userType() == qMetaTypeId<QDBusArgument>();
            seen << value.key() + ' ' +
                    (isMap ? value->value<QDBusArgument>().currentSignature()
                           : QString(QDBusMetaType::typeToSignature(value->userType())));
        }
        QStringList properties = described.value(name);
        properties.sort();
        QCOMPARE(properties, seen);
    }
    QCOMPARE(writable, QStringList({"Fullscreen", "LoopStatus", "Rate", "Shuffle", "Volume"}));
}

void TestRemote::whatIsSeen()
{
    openBench(3);
    const QVariantMap root = client->all(BusClient::root);
    QCOMPARE(root.value("Identity").toString(), QString("Tarnivo Player"));
    QCOMPARE(root.value("DesktopEntry").toString(), QString("com.quelmark.player"));
    QCOMPARE(
        root.keys(),
        QStringList({"CanQuit", "CanRaise", "CanSetFullscreen", "DesktopEntry", "Fullscreen",
                     "HasTrackList", "Identity", "SupportedMimeTypes", "SupportedUriSchemes"}));
    QCOMPARE(client->all().keys(),
             QStringList({"CanControl", "CanGoNext", "CanGoPrevious", "CanPause", "CanPlay",
                          "CanSeek", "LoopStatus", "MaximumRate", "Metadata", "MinimumRate",
                          "PlaybackStatus", "Position", "Rate", "Shuffle", "Volume"}));
    // The newest entry is in force before anything was played.
    QCOMPARE(client->get("PlaybackStatus").toString(), QString("Stopped"));
    QCOMPARE(client->get("CanGoNext").toBool(), true);
    QCOMPARE(client->get("CanGoPrevious").toBool(), false);
    QCOMPARE(client->metadata().value("xesam:url").toString(), QString("file:///f/2.mp4"));
    QCOMPARE(client->get("Position").toLongLong(), 0);

    playAt(1, "42");
    QCOMPARE(client->get("PlaybackStatus").toString(), QString("Playing"));
    QCOMPARE(client->get("Position").toLongLong(), 42000000);
    QCOMPARE(client->get("Position").userType(), int(QMetaType::LongLong));
    QCOMPARE(client->get("CanSeek").toBool(), true);
    QCOMPARE(client->get("CanGoPrevious").toBool(), true);
    const QVariantMap data = client->metadata();
    QCOMPARE(data.value("mpris:length").toLongLong(), 100000000);
    QCOMPARE(data.value("xesam:title").toString(), QString("1.mp4"));
    QCOMPARE(qvariant_cast<QDBusObjectPath>(data.value(trackId)).path(), track(1));
    const QByteArray input = bench->engine.input();
    client->all();
    QCOMPARE(withoutPolls(input), sent()); // asked for nothing more
    QTRY_COMPARE(told->last.value("PlaybackStatus").toString(), QString("Playing"));
    QTRY_COMPARE(told->last.value("CanSeek").toBool(), true);
}

// Its slider stands at 0 all the time.
void TestRemote::positionWithoutALength()
{
    openBench(1);
    bench->engine.setLength("0.00");
    bench->play(0);
    QVERIFY(bench->showsPosition("42", 42));
    QTRY_COMPARE(bench->window->ui->processSlider->maximum(), 0);
    QCOMPARE(client->get("Position").toLongLong(), 42000000);
    QCOMPARE(client->get("CanSeek").toBool(), false);
    QVERIFY(!client->metadata().contains("mpris:length"));
    client->ask("Seek", {Q_INT64_C(5000000)});
    client->ask("Pause");
    QVERIFY(bench->engine.waitForInput("pause\n"));
    QVERIFY(!bench->engine.input().contains("seek"));
}

void TestRemote::positionDuringADrag()
{
    openBench(1);
    playAt(0, "42");
    bench->window->ui->processSlider->setSliderDown(true);
    bench->window->ui->processSlider->setValue(90);
    QCOMPARE(client->get("Position").toLongLong(), 42000000);
    bench->window->ui->processSlider->setSliderDown(false);
    QCOMPARE(client->get("Position").toLongLong(), 90000000);
}

void TestRemote::playPauseStop()
{
    openBench(2);
    QCOMPARE(client->ask("PlayPause"), QString());
    QVERIFY(bench->engine.waitForStarts(1));
    QCOMPARE(bench->lastPlayed(), PlayerBench::address(1));
    QVERIFY(bench->showsPosition("42", 42));
    QCOMPARE(client->ask("PlayPause"), QString());
    QCOMPARE(client->get("PlaybackStatus").toString(), QString("Paused"));
    QCOMPARE(client->ask("Pause"), QString());
    QCOMPARE(client->ask("Play"), QString());
    QCOMPARE(client->get("PlaybackStatus").toString(), QString("Playing"));
    QCOMPARE(client->ask("Play"), QString());
    QCOMPARE(client->ask("Pause"), QString());
    QVERIFY(bench->engine.waitForInputCount("pause\n", 3));
    QCOMPARE(client->ask("Stop"), QString());
    QCOMPARE(client->get("PlaybackStatus").toString(), QString("Stopped"));
    QVERIFY(bench->engine.waitForInput("quit\n"));
    QByteArrayList commands = sent();
    commands.removeAll("polls");
    QCOMPARE(commands, QByteArrayList({"pause", "pause", "pause", "quit"}));
    QTRY_COMPARE(told->last.value("PlaybackStatus").toString(), QString("Stopped"));
    QCOMPARE(client->ask("Play"), QString());
    QVERIFY(bench->engine.waitForStarts(2));
}

void TestRemote::callsWithNothingToDo()
{
    openBench(0);
    for (const char *method : {"Play", "PlayPause", "Pause", "Stop", "Next", "Previous"})
        QCOMPARE(client->ask(method), QString());
    QCOMPARE(client->ask("Seek", {Q_INT64_C(5000000)}), QString());
    QCOMPARE(client->get("PlaybackStatus").toString(), QString("Stopped"));
    QCOMPARE(client->metadata(), QVariantMap());
    QCOMPARE(client->get("CanPlay").toBool(), false);
    QVERIFY(bench->engine.starts().isEmpty());
}

void TestRemote::screenStaysOn()
{
    ScreenService service(*bus, {saver}, {saverPath});
    openBench(1);
    QCOMPARE(service.calls.size(), 0);
    playAt(0, "42");
    QTRY_COMPARE(service.held.size(), 1);
    bench->window->on_playBtn_clicked();
    QTRY_COMPARE(service.held.size(), 0);
    bench->window->on_playBtn_clicked();
    QTRY_COMPARE(service.held.size(), 1);
    bench->window->on_stopBtn_clicked();
    QTRY_COMPARE(service.held.size(), 0);
    bench->play(0);
    QTRY_COMPARE(service.held.size(), 1);
    bench->engine.after(1, EngineAction::exit());
    QVERIFY(bench->engineHasEnded()); // the end of the film
    bench->poll();
    QTRY_COMPARE(service.held.size(), 0);
    QCOMPARE(service.calls.size(), 6);
    bench->engine.reset();
    bench->play(0);
    QTRY_COMPARE(service.held.size(), 1);
    desktop.reset();
    QTRY_COMPARE(service.held.size(), 0);
}

void TestRemote::setPosition()
{
    openBench(1);
    playAt(0, "42");
    QCOMPARE(client->ask("SetPosition",
                         {QVariant::fromValue(QDBusObjectPath(track(0))), Q_INT64_C(80400000)}),
             QString());
    QVERIFY(bench->engine.waitForInput("seek 80 2\n"));
    QTRY_VERIFY(told->seeked.contains(80000000));
    QVERIFY(!bench->engine.input().contains("pause"));
}

void TestRemote::setPositionWhilePaused()
{
    openBench(1);
    playAt(0, "42");
    client->ask("Pause");
    client->ask("SetPosition",
                {QVariant::fromValue(QDBusObjectPath(track(0))), Q_INT64_C(43000000)});
    QVERIFY(bench->engine.waitForInput("seek 43 2\npause\n"));
    QTRY_VERIFY(told->seeked.endsWith(43000000));
    QCOMPARE(client->get("PlaybackStatus").toString(), QString("Paused"));
    QCOMPARE(client->get("Position").toLongLong(), 43000000);
    QCOMPARE(bench->window->ui->processSlider->value(), 43);
}

void TestRemote::setPositionRefused_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<qlonglong>("position");
    const QString own = track(0);
    QTest::newRow("negative") << own << Q_INT64_C(-1);
    QTest::newRow("beyond the end") << own << Q_INT64_C(100000001);
    QTest::newRow("huge") << own << std::numeric_limits<qlonglong>::max();
    QTest::newRow("smallest") << own << std::numeric_limits<qlonglong>::min();
    QTest::newRow("another entry") << track(1) << Q_INT64_C(50000000);
    QTest::newRow("no track") << "/org/mpris/MediaPlayer2/TrackList/NoTrack" << Q_INT64_C(50000000);
}

void TestRemote::setPositionRefused()
{
    QFETCH(QString, path);
    QFETCH(qlonglong, position);
    openBench(2);
    playAt(0, "42");
    QCOMPARE(client->ask("SetPosition", {QVariant::fromValue(QDBusObjectPath(path)), position}),
             QString());
    client->ask("Pause");
    QVERIFY(bench->engine.waitForInput("pause\n"));
    QVERIFY(!bench->engine.input().contains("seek"));
}

void TestRemote::seekBy_data()
{
    QTest::addColumn<qlonglong>("offset");
    QTest::addColumn<QByteArray>("sent"); // empty: what Next does
    QTest::newRow("forward") << Q_INT64_C(10000000) << QByteArray("seek 52 2\n");
    QTest::newRow("back") << Q_INT64_C(-10000000) << QByteArray("seek 32 2\n");
    QTest::newRow("a bit") << Q_INT64_C(600000) << QByteArray("seek 43 2\n");
    QTest::newRow("before the beginning") << Q_INT64_C(-90000000) << QByteArray("seek 0 2\n");
    QTest::newRow("smallest") << std::numeric_limits<qlonglong>::min() << QByteArray("seek 0 2\n");
    QTest::newRow("to the end") << Q_INT64_C(58000000) << QByteArray("seek 100 2\n");
    QTest::newRow("beyond the end") << Q_INT64_C(58000001) << QByteArray();
    QTest::newRow("largest") << std::numeric_limits<qlonglong>::max() << QByteArray();
}

void TestRemote::seekBy()
{
    QFETCH(qlonglong, offset);
    QFETCH(QByteArray, sent);
    openBench(2);
    playAt(1, "42");
    QCOMPARE(client->ask("Seek", {offset}), QString());
    if (!sent.isEmpty()) {
        QVERIFY(bench->engine.waitForInput(sent));
        QCOMPARE(bench->engine.starts().size(), 1);
    } else {
        QVERIFY(bench->engine.waitForStarts(2));
        QCOMPARE(bench->lastPlayed(), PlayerBench::address(0));
    }
}

// The film goes on from elsewhere, whoever has sent it there; its ordinary course tells nothing.
void TestRemote::jumpsAreTold()
{
    openBench(1);
    playAt(0, "10");
    QTRY_COMPARE(told->seeked, QList<qlonglong>{10000000});
    QVERIFY(bench->showsPosition("11", 11));
    QVERIFY(bench->showsPosition("12", 12));
    bench->window->on_forwardBtn_clicked();
    QVERIFY(bench->showsPosition("77", 77));
    QTRY_COMPARE(told->seeked, QList<qlonglong>({10000000, 77000000}));
    bench->window->ui->processSlider->setValue(78);
    bench->window->processSliderPressed();
    QTRY_COMPARE(told->seeked, QList<qlonglong>({10000000, 77000000, 78000000}));
}

void TestRemote::nextAndPrevious()
{
    openBench(3);
    // Stopped it stays, but Play then plays the chosen one.
    client->ask("Next");
    QCOMPARE(qvariant_cast<QDBusObjectPath>(client->metadata().value(trackId)).path(), track(1));
    QCOMPARE(client->get("PlaybackStatus").toString(), QString("Stopped"));
    QVERIFY(bench->engine.starts().isEmpty());
    client->ask("Play");
    QVERIFY(bench->engine.waitForStarts(1));
    QCOMPARE(bench->lastPlayed(), PlayerBench::address(1));
    client->ask("Next");
    QVERIFY(bench->engine.waitForStarts(2));
    QCOMPARE(bench->lastPlayed(), PlayerBench::address(0));
    QCOMPARE(client->get("CanGoNext").toBool(), false);
    client->ask("Next"); // there is none
    client->ask("Previous");
    QVERIFY(bench->engine.waitForStarts(3));
    QCOMPARE(bench->lastPlayed(), PlayerBench::address(1));
    client->ask("Previous");
    QVERIFY(bench->engine.waitForStarts(4));
    QCOMPARE(bench->lastPlayed(), PlayerBench::address(2));
    QCOMPARE(client->get("CanGoPrevious").toBool(), false);
    QCOMPARE(client->get("PlaybackStatus").toString(), QString("Playing"));
    client->ask("Previous");
    client->ask("Stop");
    QCOMPARE(bench->engine.starts().size(), 4);
}

void TestRemote::nextWhilePaused()
{
    openBench(2);
    playAt(1, "42");
    client->ask("Pause");
    client->ask("Next");
    QVERIFY(bench->engine.waitForStarts(2));
    QCOMPARE(bench->lastPlayed(), PlayerBench::address(0));
    QVERIFY(bench->engine.waitForInput("pause\n"));
    QCOMPARE(client->get("PlaybackStatus").toString(), QString("Paused"));
    QCOMPARE(client->get("Position").toLongLong(), 0);
    QVERIFY(!client->metadata().contains("mpris:length"));
}

// Rows above the playing one are gone: what follows it is still its neighbour.
void TestRemote::nextAfterADeletion()
{
    openBench(4);
    playAt(2, "42");
    removeEntry(0);
    delete bench->window->listWidget->takeItem(3);
    client->ask("Next");
    QVERIFY(bench->engine.waitForStarts(2));
    QCOMPARE(bench->lastPlayed(), PlayerBench::address(1));
    QCOMPARE(client->get("CanGoNext").toBool(), false);
}

void TestRemote::repeatedListHasNoEnd()
{
    playMode = 0;
    openBench(3);
    playMode = 3;
    QCOMPARE(client->get("CanGoPrevious").toBool(), true);
    client->ask("Previous");
    client->ask("Play");
    QVERIFY(bench->engine.waitForStarts(1));
    QCOMPARE(bench->lastPlayed(), PlayerBench::address(0));
    client->ask("Next");
    QVERIFY(bench->engine.waitForStarts(2));
    QCOMPARE(bench->lastPlayed(), PlayerBench::address(2));
}

void TestRemote::playModes()
{
    openBench(1);
    const struct {
        const char *property;
        QVariant value;
        int mode;
        const char *loop;
        bool shuffle;
    } steps[] = {
        {"LoopStatus", "Track", 2, "Track", false},
        {"LoopStatus", "Playlist", 3, "Playlist", false},
        {"Shuffle", true, 4, "Playlist", true},
        {"LoopStatus", "Playlist", 4, "Playlist", true},
        {"Shuffle", false, 3, "Playlist", false},
        {"LoopStatus", "None", 1, "None", false},
    };
    for (const auto &step : steps) {
        QCOMPARE(client->set(step.property, step.value), QString());
        QCOMPARE(client->get("LoopStatus").toString(), QString(step.loop));
        QCOMPARE(client->get("Shuffle").toBool(), step.shuffle);
        QCOMPARE(playMode, step.mode);
        QVERIFY(readFile(bench->root.configFile())
                    .contains("play_mode=" + QByteArray::number(step.mode)));
    }
    QTRY_COMPARE(told->last.value("LoopStatus").toString(), QString("None"));
    QCOMPARE(client->set("LoopStatus", "Nonsense"), invalid);
    QCOMPARE(client->set("LoopStatus", true), invalid);
    QCOMPARE(client->set("Shuffle", "true"), invalid);
    QCOMPARE(playMode, 1);
}

void TestRemote::modeOfTheSettings()
{
    openBench(1);
    WhenModal dialog([&](QWidget *settings) {
        playMode = 2; // as confirmed in it
        settings->close();
    });
    bench->window->m_titleBar->settingsFunc();
    QVERIFY(dialog.happened());
    QTRY_COMPARE(told->last.value("LoopStatus").toString(), QString("Track"));
}

void TestRemote::volume()
{
    openBench(1);
    playAt(0, "42");
    QCOMPARE(client->set("Volume", 0.55), QString());
    QVERIFY(bench->engine.waitForInput("volume 55 2\n"));
    QCOMPARE(client->get("Volume").toDouble(), 0.55);
    QTRY_COMPARE(told->last.value("Volume").toDouble(), 0.55);
    QCOMPARE(bench->window->ui->volumSlider->value(), 55);
    QTRY_COMPARE(defaultVolum, 55);
    QCOMPARE(client->set("Volume", -3.0), QString());
    QTRY_VERIFY(muteFlag);
    QCOMPARE(client->set("Volume", 1e300), QString());
    QVERIFY(bench->engine.waitForInput("volume 100 2\n"));
    // The same again after it was muted.
    bench->window->toggleMute();
    QVERIFY(muteFlag);
    client->set("Volume", 1.0);
    QTRY_VERIFY(!muteFlag);
    QVERIFY(bench->engine.waitForInputCount("volume 100 2\n", 2));
    QCOMPARE(client->set("Volume", std::nan("")), invalid);
    QCOMPARE(client->set("Volume", 50), invalid); // a whole number is of another type
    QCOMPARE(client->get("Volume").toDouble(), 1.0);
}

void TestRemote::rate()
{
    openBench(1);
    QCOMPARE(client->set("Rate", 1.5), QString()); // stopped: the next film has its own
    QCOMPARE(client->get("Rate").toDouble(), 1.0);
    playAt(0, "42");
    QCOMPARE(client->set("Rate", 1.5), QString());
    QVERIFY(bench->engine.waitForInput("speed_set 1.5"));
    QCOMPARE(client->get("Rate").toDouble(), 1.5);
    QTRY_COMPARE(told->last.value("Rate").toDouble(), 1.5);
    QCOMPARE(bench->window->ui->speedSetBtn->text(), QString("1.5x"));
    client->set("Rate", 1.52); // is what is in force
    for (double bad : {-1.0, std::nan("")})
        QCOMPARE(client->set("Rate", bad), invalid);
    client->set("Rate", 0.0);
    QCOMPARE(client->get("PlaybackStatus").toString(), QString("Paused"));
    client->set("Rate", 2.0); // would make it go on
    QVERIFY(bench->engine.waitForInput("pause\n"));
    QCOMPARE(bench->engine.input().count("speed_set"), 1);
    QCOMPARE(client->get("Rate").toDouble(), 1.5);
}

void TestRemote::rateOfANewFilm()
{
    openBench(1);
    bench->window->recvChangeSpeed(200); // the button shows it, no engine has heard of it
    QCOMPARE(client->get("Rate").toDouble(), 1.0);
    playAt(0, "42");
    QCOMPARE(client->get("Rate").toDouble(), 1.0);
}

void TestRemote::fullScreen()
{
    openBench(1);
    QCOMPARE(client->set("Fullscreen", true, BusClient::root), QString());
    QTRY_VERIFY(bench->window->isFullScreen());
    QTRY_COMPARE(told->last.value("Fullscreen").toBool(), true);
    const QSize before(bench->window->widgetNormalWidth, bench->window->widgetNormalHeight);
    client->set("Fullscreen", true, BusClient::root);
    QCOMPARE(client->get("Fullscreen", BusClient::root).toBool(), true);
    QCOMPARE(QSize(bench->window->widgetNormalWidth, bench->window->widgetNormalHeight), before);
    client->set("Fullscreen", false, BusClient::root);
    QTRY_VERIFY(!bench->window->isFullScreen());
    QTRY_COMPARE(told->last.value("Fullscreen").toBool(), false);
    QCOMPARE(client->set("Fullscreen", "yes", BusClient::root), invalid);
}

namespace {
class RaiseCounter : public QObject {
public:
    int raises = 0;
    bool eventFilter(QObject *, QEvent *event) override
    {
        raises += event->type() == QEvent::ZOrderChange;
        return false;
    }
};
} // namespace

// Also with a window manager that leaves an activated window where it is in the stack.
void TestRemote::raise()
{
    openBench(1);
    bench->window->showMinimized();
    RaiseCounter counter;
    bench->window->installEventFilter(&counter);
    QTRY_VERIFY(bench->window->isMinimized());
    QVERIFY(client->call(BusClient::root, "Raise").type() == QDBusMessage::ReplyMessage);
    QTRY_VERIFY(!bench->window->isMinimized());
    QTRY_VERIFY(bench->window->isActiveWindow());
    QCOMPARE(counter.raises, 1);
}

void TestRemote::openUri()
{
    openBench(1);
    QCOMPARE(client->ask("OpenUri", {"file:///new/%E7%94%B5%20%24(x).mp4"}), QString());
    QVERIFY(bench->engine.waitForStarts(1));
    QCOMPARE(bench->lastPlayed(), QString("/new/电 $(x).mp4"));
    QCOMPARE(bench->rows(), QStringList({"电 $(x).mp4", "0.mp4"}));
    QCOMPARE(client->ask("OpenUri", {"RTSP://host/a%20b"}), QString());
    QVERIFY(bench->engine.waitForStarts(2));
    QVERIFY(bench->engine.last().arguments.contains("rtsp://host/a%20b"));
    QCOMPARE(addrlist[2].type, int(EntryStream));
    QCOMPARE(client->ask("OpenUri", {"file:///f/0.mp4"}), QString());
    QVERIFY(bench->engine.waitForStarts(3));
    QCOMPARE(addrNum, 3);
}

void TestRemote::openUriRefused()
{
    openBench(1);
    for (const QString &uri : {QString("http://h/a"), QString(), QString("/f/0.mp4"),
                               QString("rtsp://h/\nquit"), "file:///" + QString(2000000, 'x')})
        QCOMPARE(client->ask("OpenUri", {uri}), invalid);
    QVERIFY(bench->tools.probeCalls().isEmpty());
}

// A dialog keeps nobody from pausing, but nothing is opened behind it.
void TestRemote::noStartWhileABoxIsOpen_data()
{
    QTest::addColumn<QString>("method");
    QTest::newRow("Play") << "Play";
    QTest::newRow("PlayPause") << "PlayPause";
}

// A start may open a second box, and a new row would stand where a menu's row was.
void TestRemote::noStartWhileABoxIsOpen()
{
    QFETCH(QString, method);
    openBench(2);
    WhenModal box([&](QWidget *settings) {
        client->ask(method);
        client->get("PlaybackStatus"); // answered after it was done
        settings->close();
    });
    bench->window->m_titleBar->settingsFunc();
    QVERIFY(box.happened());
    QString refusal;
    WhenPopup menu([&](QWidget *open) {
        refusal = client->ask("OpenUri", {"file:///new.mp4"});
        client->ask(method);
        client->get("PlaybackStatus");
        open->close();
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5));
    QCoreApplication::sendEvent(bench->window->listWidget->viewport(), &event);
    QVERIFY(menu.happened());
    QCOMPARE(refusal, QString("org.freedesktop.DBus.Error.Failed"));
    QCOMPARE(playinglist.state, 0);
    QVERIFY(bench->engine.starts().isEmpty());
    QCOMPARE(addrNum, 2);
    client->ask(method);
    QVERIFY(bench->engine.waitForStarts(1));
}

void TestRemote::callsWhileABoxIsOpen()
{
    openBench(2);
    playAt(1, "42");
    QStringList answers;
    WhenModal box([&](QWidget *settings) {
        answers << client->ask("Pause") << client->get("PlaybackStatus").toString()
                << client->ask("OpenUri", {"file:///new.mp4"}) << client->ask("Next")
                << client->ask("Seek", {Q_INT64_C(90000000)})
                << client->get("PlaybackStatus").toString();
        settings->close();
    });
    bench->window->m_titleBar->settingsFunc();
    QVERIFY(box.happened());
    QCOMPARE(answers,
             QStringList({"", "Paused", "org.freedesktop.DBus.Error.Failed", "", "", "Paused"}));
    QCOMPARE(bench->engine.starts().size(), 1);
    QVERIFY(bench->tools.probeCalls().isEmpty());
}

// What a client asks for meanwhile is done when it is over.
void TestRemote::callsDuringAProbe()
{
    openBench(1);
    playAt(0, "42");
    companyAfter = 300;
    const QString answer = bench->root.path() + "/answer";
    const QString mayGoOn = bench->root.path() + "/go";
    writeFile(answer, StandInTools::videoJson("h264", 320, 240, "25/1"));
    const QString script =
        QString("while [ ! -e '%1' ]; do sleep 0.05; done; cat '%2'").arg(mayGoOn, answer);
    bench->tools.setProbeScriptFor("/slow.mp4", script.toUtf8());

    const auto call = [this](const char *method, const QVariantList &arguments) {
        QDBusMessage message = QDBusMessage::createMethodCall(
            BusClient::player, "/org/mpris/MediaPlayer2", BusClient::playing, method);
        message.setArguments(arguments);
        return client->own.asyncCall(message);
    };
    QList<QDBusPendingCall> calls;
    bool stillPlayed = false;
    Aside meanwhile([&] {
        if (!QApplication::activeModalWidget())
            return false;
        if (calls.isEmpty())
            calls << call("Pause", {}) << call("OpenUri", {"file:///f/0.mp4"});
        if (!calls.last().isFinished())
            return false;
        stillPlayed = playingState;
        writeFile(mayGoOn, "");
        return true;
    });
    client->ask("OpenUri", {"file:///slow.mp4"});
    QTRY_VERIFY(meanwhile.happened());
    QVERIFY(stillPlayed);
    QVERIFY(!calls.first().isError());
    QVERIFY(calls.last().isError());
    QVERIFY(bench->engine.waitForStarts(2));
    QCOMPARE(bench->lastPlayed(), QString("/slow.mp4"));
    QTRY_COMPARE(client->get("PlaybackStatus").toString(), QString("Paused"));
    QVERIFY(bench->engine.waitForInput("pause\n"));
}

// As a signal: the dialog ends, too.
void TestRemote::quitWithABox()
{
    openBench(1);
    TerminationNotifier termination;
    connect(&termination, SIGNAL(requested()), bench->window.get(), SLOT(close()));
    bool left = false;
    QTimer::singleShot(0, this, [&] {
        bench->window->m_titleBar->settingsFunc();
        left = true;
    });
    WhenModal box([&](QWidget *) { client->call(BusClient::root, "Quit"); });
    QApplication::exec();
    QVERIFY(box.happened());
    QVERIFY(termination.isPending());
    QVERIFY(left);
    QVERIFY(!bench->window->isVisible());
}

void TestRemote::wrongCalls_data()
{
    QTest::addColumn<QString>("interface");
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("error");
    const QString player = BusClient::playing;
    const QString properties = BusClient::properties;
    const QVariant value = QVariant::fromValue(QDBusVariant(0.5));
    QTest::newRow("method") << player << "Nonsense" << QVariantList() << unknown;
    QTest::newRow("method of the other") << player << "Quit" << QVariantList() << unknown;
    QTest::newRow("too many") << player << "Pause" << QVariantList{1} << invalid;
    QTest::newRow("too few") << player << "Seek" << QVariantList() << invalid;
    QTest::newRow("type") << player << "Seek" << QVariantList{"5"} << invalid;
    QTest::newRow("track type") << player << "SetPosition" << QVariantList{track(0), Q_INT64_C(1)}
                                << invalid;
    QTest::newRow("interface") << "org.nobody"
                               << "Play" << QVariantList()
                               << "org.freedesktop.DBus.Error.UnknownInterface";
    QTest::newRow("property") << properties << "Get" << QVariantList{player, "Nonsense"}
                              << "org.freedesktop.DBus.Error.UnknownProperty";
    QTest::newRow("its interface") << properties << "GetAll" << QVariantList{"org.nobody"}
                                   << "org.freedesktop.DBus.Error.UnknownInterface";
    QTest::newRow("get, too few") << properties << "Get" << QVariantList{player} << unknown;
    QTest::newRow("read only") << properties << "Set"
                               << QVariantList{player, "PlaybackStatus", value} << readOnly;
    QTest::newRow("position") << properties << "Set" << QVariantList{player, "Position", value}
                              << readOnly;
    QTest::newRow("set nonsense") << properties << "Set" << QVariantList{player, "X", value}
                                  << "org.freedesktop.DBus.Error.UnknownProperty";
}

void TestRemote::wrongCalls()
{
    QFETCH(QString, interface);
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    openBench(1);
    QTEST(client->call(interface, method, arguments).errorName(), "error");
    QVERIFY(bench->engine.starts().isEmpty());
}

void TestRemote::changesComeTogether()
{
    openBench(2);
    bench->engine.setSilent();
    bench->play(0);
    QTRY_COMPARE(
        told->names,
        QList<QStringList>({{"CanGoNext", "CanGoPrevious", "Metadata", "PlaybackStatus"}}));
}

void TestRemote::nothingIsToldTwice()
{
    openBench(1);
    playAt(0, "42");
    QTRY_VERIFY(told->last.contains("CanSeek"));
    QVERIFY(bench->showsPosition("43", 43));
    told->names.clear();
    QVERIFY(bench->showsPosition("44", 44));
    client->set("Volume", 0.21);
    QTRY_COMPARE(told->names, QList<QStringList>({{"Volume"}}));
}

// Any number of calls: each is answered, and the window is itself.
void TestRemote::floodOfCalls()
{
    openBench(1);
    playAt(0, "42");
    QList<QDBusPendingCall> answers;
    for (int i = 0; i < 2000; ++i) {
        QDBusMessage message = QDBusMessage::createMethodCall(
            BusClient::player, "/org/mpris/MediaPlayer2", BusClient::playing, "PlayPause");
        answers << client->own.asyncCall(message);
    }
    QTRY_VERIFY_WITH_TIMEOUT(answers.last().isFinished(), 30000);
    QVERIFY(!answers.last().isError());
    QCOMPARE(client->get("PlaybackStatus").toString(), QString("Playing"));
    QVERIFY(bench->engine.waitForInputCount("pause\n", 2000, 30000));
}

QTEST_MAIN(TestRemote)
#include "tst_remote.moc"
