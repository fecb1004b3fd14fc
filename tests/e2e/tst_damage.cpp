// The installed player starts, plays and closes with a damaged history or settings file, keeps what
// can be kept, and leaves nothing running however it ends.
#include "common.h"
#include "historysupport.h"
#include "installedplayer.h"
#include "processes.h"
#include "testsupport.h"
#include "toolbench.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>

#include <csignal>

class TestDamage : public QObject {
    Q_OBJECT

private slots:
    void history_data();
    void history();
    void settings_data();
    void settings();
    void nothingIsLeft_data();
    void nothingIsLeft();
    void displayGone();
    void endsWhileProbing_data();
    void endsWhileProbing();
};

namespace {

const char config[] = "[DEFAULT]\nfirst_start=0\ndefault_volum=30\ndefault_last_time=1\n";
constexpr int leftoverLimit = 1000; // ms

QByteArray noise(int size)
{
    QRandomGenerator random(4711);
    QByteArray bytes(size, '\0');
    for (char &byte : bytes)
        byte = char(random.bounded(256));
    return bytes;
}

QByteArray entriesText(int count) { return documentText(numberedEntries(count)); }

QByteArray withText(const char *key, const QByteArray &value)
{
    QByteArray text = entriesText(3);
    const int at = text.lastIndexOf('"' + QByteArray(key) + "\": ") + int(strlen(key)) + 4;
    const int end = text.indexOf('\n', at);
    return text.replace(at, end - at, value + (text.at(end - 1) == ',' ? "," : ""));
}

struct Damage {
    const char *name;
    QByteArray (*content)();
    int entries; // that are there after one was added: what comes after a bad one is lost
};

const Damage damages[] = {
    {"50 MB of noise", [] { return noise(50 << 20); }, 1},
    {"50 MB in one name", [] { return withText("label", '"' + QByteArray(50 << 20, 'x') + '"'); },
     4},
    {"10,000 entries", [] { return entriesText(10000); }, kHistoryCapacity},
    {"deep nesting",
     [] { return "{\"settings\":" + QByteArray(100000, '[') + QByteArray(100000, ']') + "}"; }, 1},
    {"wrong type", [] { return withText("frame", "\"25\""); }, 3},
    {"huge number", [] { return withText("last_time", "1e999"); }, 1},
    {"big number", [] { return withText("last_time", "99999999999"); }, 4},
    {"cut", [] { return entriesText(3).chopped(40); }, 1},
    {"empty", [] { return QByteArray(); }, 1},
    {"zeros", [] { return QByteArray(100000, '\0'); }, 1},
};

// Plays a file and closes. The player must live for some polls.
void playAndClose(InstalledPlayer &player)
{
    QVERIFY(player.start({"/films/new.mp4"}));
    QVERIFY(player.window(30000));
    QVERIFY(player.standIn().waitForStarts(1));
    QVERIFY(player.standIn().waitForInput("get_time_pos\n"));
    QCOMPARE(player.standIn().last().arguments.first(), QByteArray("/films/new.mp4"));
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
    QVERIFY(player.engines().isEmpty());
}

} // namespace

void TestDamage::history_data()
{
    QTest::addColumn<QString>("kind");
    for (const Damage &damage : damages)
        QTest::newRow(damage.name) << QString(damage.name);
    for (const char *kind : {"folder", "link", "link to nothing", "unreadable", "read-only root"})
        QTest::newRow(kind) << QString(kind);
}

void TestDamage::history()
{
    QFETCH(QString, kind);
    StandInTools tools;
    InstalledPlayer player;
    player.setConfig(config);
    player.standIn();
    const QString path = player.historyFile();
    const QByteArray before = entriesText(3);
    int entries = 4;
    for (const Damage &damage : damages) {
        if (kind == damage.name) {
            player.setHistory(damage.content());
            entries = damage.entries;
        }
    }
    if (kind == "folder") {
        QVERIFY(QDir().mkpath(path + "/inside"));
    } else if (kind == "link") {
        writeFile(player.root() + "/real.json", before);
        QVERIFY(QFile::link("../../real.json", path));
    } else if (kind == "link to nothing") {
        QVERIFY(QFile::link("../../real.json", path));
        entries = 1;
    } else if (kind == "unreadable" || kind == "read-only root") {
        player.setHistory(before);
        if (kind == "unreadable")
            QVERIFY(QFile::setPermissions(path, QFile::Permissions()));
        else
            player.setRoot(InstalledPlayer::Root::ReadOnly);
    }

    playAndClose(player);
    if (QTest::currentTestFailed())
        return;
    if (kind == "folder") {
        QVERIFY(QFileInfo::exists(path + "/inside"));
    } else if (kind == "unreadable" || kind == "read-only root") {
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
        QCOMPARE(readFile(path), before);
    } else {
        const QJsonArray stored = storedEntries(path);
        QCOMPARE(stored.size(), entries);
        QCOMPARE(stored.last().toObject().value("addr").toString(), QString("/films/new.mp4"));
        QCOMPARE(QFileInfo(path).isSymLink(), kind.startsWith("link"));
    }
}

void TestDamage::settings_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"noise", "50 MB", "cut", "zeros", "wrong types", "huge numbers",
                             "one long line", "link", "dead lock"})
        QTest::newRow(kind) << QString(kind);
}

void TestDamage::settings()
{
    QFETCH(QString, kind);
    StandInTools tools;
    InstalledPlayer player;
    const QByteArray numbers = "decode_flag=%1\ndefault_volum=%1\nplay_mode=%1\nfirst_start=%1\n";
    player.setHistory(entriesText(3));
    if (kind == "noise")
        player.setConfig(noise(100000));
    else if (kind == "50 MB")
        player.setConfig(config + QByteArray("x=y\n").repeated(13 << 20));
    else if (kind == "cut")
        player.setConfig(QByteArray(config).chopped(25));
    else if (kind == "zeros")
        player.setConfig(QByteArray(100000, '\0'));
    else if (kind == "wrong types")
        player.setConfig("[DEFAULT]\n" + QByteArray(numbers).replace("%1", "@ByteArray(x)"));
    else if (kind == "huge numbers")
        player.setConfig("[DEFAULT]\nrecord_file=\n" +
                         QByteArray(numbers)
                             .replace("%1", "999999999999")
                             .replace("first_start=999999999999", "first_start=0"));
    else if (kind == "one long line")
        player.setConfig(config + QByteArray("widget_num=") + QByteArray(1 << 20, 'x') + "\n");
    else
        player.setConfig(config);
    if (kind == "link") {
        QVERIFY(QFile::rename(player.configFile(), player.root() + "/real.ini"));
        QVERIFY(QFile::link("../../real.ini", player.configFile()));
    } else if (kind == "dead lock") {
        // As a player leaves it that was killed while it saved.
        writeFile(player.configFile() + ".lock", "999999999\ntarnivo-player\n\n");
    }
    player.standIn();
    playAndClose(player);
    if (QTest::currentTestFailed())
        return;
    // The volume is saved at the end, and with it the file is whole again.
    QVERIFY(!player.setting("default_volum").isEmpty());
    if (kind == "link" || kind == "dead lock" || kind == "50 MB")
        QCOMPARE(player.setting("default_last_time"), QString("1"));
    QCOMPARE(QFileInfo(player.configFile()).isSymLink(), kind == "link");
    QCOMPARE(storedEntries(player.historyFile()).size(), 4);
}

void TestDamage::nothingIsLeft_data()
{
    QTest::addColumn<int>("number"); // 0: the close button
    QTest::newRow("close") << 0;
    for (int number : {SIGTERM, SIGINT, SIGHUP, SIGKILL, SIGSEGV})
        QTest::addRow("signal %d", number) << number;
}

// No process at all: engine, probe, worker, zombie.
void TestDamage::nothingIsLeft()
{
    QFETCH(int, number);
    StandInTools tools;
    InstalledPlayer player;
    player.setConfig(config);
    StandInEngine &engine = player.standIn();
    engine.ignoreQuit();
    engine.ignoreTerm();
    QVERIFY(player.start({"/films/new.mp4"}));
    QVERIFY(player.window());
    QVERIFY(engine.waitForInput("get_time_pos\n"));
    const qint64 pid = player.pid();
    const qint64 enginePid = engine.last().pid;
    if (number == 0)
        player.close();
    else
        player.signal(number);
    QVERIFY(player.waitForEnd());
    QTRY_VERIFY_WITH_TIMEOUT(player.processes().isEmpty(), leftoverLimit);
    QTRY_VERIFY_WITH_TIMEOUT(!QFileInfo::exists(QString("/proc/%1").arg(pid)), leftoverLimit);
    QVERIFY(!Processes::alive(enginePid));
}

// Its display goes and takes the player along, and with it the engine.
void TestDamage::displayGone()
{
    StandInTools tools;
    QProcess server;
    server.start("Xvfb", {"-displayfd", "1", "-screen", "0", "800x600x24", "-nolisten", "tcp"});
    QVERIFY(server.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(server.canReadLine(), 30000);
    InstalledPlayer player;
    player.setConfig(config);
    player.setEnvironment("DISPLAY", ':' + server.readLine().trimmed());
    StandInEngine &engine = player.standIn();
    engine.ignoreQuit();
    engine.ignoreTerm();
    QVERIFY(player.start({"/films/new.mp4"}));
    QVERIFY(engine.waitForInput("get_time_pos\n"));
    const qint64 enginePid = engine.last().pid;
    server.kill();
    QVERIFY(server.waitForFinished());
    QVERIFY(player.waitForEnd());
    QVERIFY(player.exitCode() != 0);
    QTRY_VERIFY_WITH_TIMEOUT(player.processes().isEmpty(), leftoverLimit);
    QVERIFY(!Processes::alive(enginePid));
}

void TestDamage::endsWhileProbing_data()
{
    QTest::addColumn<int>("number");
    for (int number : {SIGTERM, SIGKILL})
        QTest::addRow("signal %d", number) << number;
}

// The probe holds up the whole player: a request to end waits for it. When the player is killed the
// probe ends by itself, at the latest when it writes.
void TestDamage::endsWhileProbing()
{
    QFETCH(int, number);
    StandInTools tools;
    tools.setProbeDelay(1500);
    InstalledPlayer player;
    player.setConfig(config);
    player.standIn();
    QVERIFY(player.start({"/films/new.mp4"}));
    QTRY_COMPARE(tools.probeCalls().size(), 1);
    player.signal(number);
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), number == SIGTERM ? 0 : 128 + SIGKILL);
    QTRY_VERIFY_WITH_TIMEOUT(player.processes().isEmpty(), 1500 + leftoverLimit);
    QCOMPARE(tools.probeCalls().size(), 1);
}

QTEST_MAIN(TestDamage)
#include "tst_damage.moc"
