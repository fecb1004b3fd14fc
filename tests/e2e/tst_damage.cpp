// The installed player starts, plays and closes with a damaged history or settings file, and keeps
// what can be kept.
#include "common.h"
#include "historysupport.h"
#include "installedplayer.h"
#include "longform.h"
#include "smalldisk.h"
#include "testsupport.h"
#include "toolbench.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>

class TestDamage : public QObject {
    Q_OBJECT

private slots:
    void history_data();
    void history();
    void settings_data();
    void settings();
    void cutAtEveryByte_data();
    void cutAtEveryByte();
    void fullDisk_data();
    void fullDisk();
};

namespace {

const char config[] = "[DEFAULT]\nfirst_start=0\ndefault_volum=30\ndefault_last_time=1\n";

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
    bool kept; // a copy of it, because something is lost
};

const Damage damages[] = {
    {"50 MB of noise", [] { return noise(50 << 20); }, 1, true},
    {"random bytes", [] { return noise(4096); }, 1, true},
    {"50 MB in one name", [] { return withText("label", '"' + QByteArray(50 << 20, 'x') + '"'); },
     4, false},
    {"10,000 entries", [] { return entriesText(10000); }, kHistoryCapacity, false},
    {"deep nesting",
     [] { return "{\"settings\":" + QByteArray(100000, '[') + QByteArray(100000, ']') + "}"; }, 1,
     true},
    {"wrong type", [] { return withText("frame", "\"25\""); }, 3, true},
    {"huge number", [] { return withText("last_time", "1e999"); }, 1, true},
    {"big number", [] { return withText("last_time", "99999999999"); }, 4, false},
    {"cut", [] { return entriesText(3).chopped(40); }, 1, true},
    {"empty", [] { return QByteArray(); }, 1, false},
    {"zeros", [] { return QByteArray(100000, '\0'); }, 1, true},
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

const QStringList replacements{"folder",     "link",          "link to nothing",
                               "unreadable", "locked folder", "read-only root"};

// Puts something else in the place of a file that would hold these bytes.
bool replaceFile(InstalledPlayer &player, const QString &path, const QString &kind,
                 const QByteArray &bytes)
{
    const QString real = "real." + QFileInfo(path).suffix();
    QFile::remove(path);
    if (kind == "folder")
        return QDir().mkpath(path + "/inside");
    if (kind.startsWith("link")) {
        if (kind == "link")
            writeFile(player.root() + '/' + real, bytes);
        return QFile::link("../../" + real, path);
    }
    writeFile(path, bytes);
    if (kind == "unreadable")
        return QFile::setPermissions(path, QFile::Permissions());
    if (kind == "locked folder")
        return QFile::setPermissions(QFileInfo(path).path(), QFile::ReadOwner | QFile::ExeOwner);
    player.setRoot(InstalledPlayer::Root::ReadOnly);
    return true;
}

// So that the test can look and clean up.
void unlock(const QString &path)
{
    const auto readAndWrite = QFile::ReadOwner | QFile::WriteOwner;
    QFile::setPermissions(QFileInfo(path).path(), readAndWrite | QFile::ExeOwner);
    if (QFileInfo(path).isFile())
        QFile::setPermissions(path, readAndWrite);
}

} // namespace

void TestDamage::history_data()
{
    QTest::addColumn<QString>("kind");
    for (const Damage &damage : damages)
        QTest::newRow(damage.name) << QString(damage.name);
    for (const QString &kind : replacements)
        QTest::newRow(qPrintable(kind)) << kind;
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
    int entries = kind == "link to nothing" ? 1 : 4;
    QByteArray kept;
    if (replacements.contains(kind))
        QVERIFY(replaceFile(player, path, kind, before));
    for (const Damage &damage : damages) {
        if (kind == damage.name) {
            player.setHistory(damage.content());
            entries = damage.entries;
            kept = damage.kept ? damage.content() : QByteArray();
        }
    }

    playAndClose(player);
    unlock(path);
    if (QTest::currentTestFailed())
        return;
    if (kind == "folder") {
        QVERIFY(QFileInfo::exists(path + "/inside"));
    } else if (kind == "unreadable" || kind == "read-only root") {
        QCOMPARE(readFile(path), before);
    } else {
        const QJsonArray stored = storedEntries(path);
        QCOMPARE(stored.size(), entries);
        QCOMPARE(stored.last().toObject().value("addr").toString(), QString("/films/new.mp4"));
        QCOMPARE(QFileInfo(path).isSymLink(), kind.startsWith("link"));
    }
    QCOMPARE(QFileInfo::exists(path + ".broken"), !kept.isEmpty());
    QVERIFY(readFile(path + ".broken") == kept);
}

namespace {

QByteArray withNumbers(const QByteArray &value)
{
    return "[DEFAULT]\nfirst_start=0\ndecode_flag=" + value + "\ndefault_volum=" + value +
        "\nplay_mode=" + value + "\nempty_list_exit=0\n";
}

struct SettingsDamage {
    const char *name;
    QByteArray (*content)();
    const char *kept; // a line that must still be there afterwards
};

const SettingsDamage settingsDamages[] = {
    {"noise", [] { return noise(100000); }, ""},
    {"random bytes", [] { return config + noise(4096); }, "first_start=0\n"},
    {"50 MB", [] { return config + QByteArray("x=y\n").repeated(13 << 20); },
     "default_last_time=1\n"},
    {"50 MB in one line",
     [] { return config + QByteArray("widget_num=") + QByteArray(50 << 20, 'x'); },
     "default_last_time=1\n"},
    {"10,000 entries",
     [] {
         QByteArray text = config;
         for (int i = 0; i < 10000; ++i)
             text += "key" + QByteArray::number(i) + "=" + QByteArray::number(i) + '\n';
         return text;
     },
     "key9999=9999\n"},
    {"deep nesting",
     [] {
         return config + QByteArray("a/").repeated(10000) + "b=1\n[" +
             QByteArray("a/").repeated(10000) + "]\nx=1\n" + QByteArray(100000, '[') + "\n";
     },
     "default_last_time=1\n"},
    {"cut", [] { return QByteArray(config).chopped(25); }, "first_start=0\n"},
    {"empty", [] { return QByteArray(); }, ""},
    {"zeros", [] { return QByteArray(100000, '\0'); }, ""},
    {"wrong types", [] { return withNumbers("@ByteArray(x)"); }, "first_start=0\n"},
    {"huge numbers", [] { return withNumbers("999999999999"); }, "first_start=0\n"},
};

} // namespace

void TestDamage::settings_data()
{
    QTest::addColumn<QString>("kind");
    for (const SettingsDamage &damage : settingsDamages)
        QTest::newRow(damage.name) << QString(damage.name);
    for (const QString &kind : replacements)
        QTest::newRow(qPrintable(kind)) << kind;
    QTest::newRow("dead lock") << "dead lock";
}

// The volume is saved at the end, and with it the file is whole again.
void TestDamage::settings()
{
    QFETCH(QString, kind);
    StandInTools tools;
    InstalledPlayer player;
    player.setHistory(entriesText(3));
    player.standIn();
    const QString path = player.configFile();
    player.setConfig(config);
    QByteArray kept = kind == "link to nothing" ? "default_volum=0\n" : "default_last_time=1\n";
    if (replacements.contains(kind))
        QVERIFY(replaceFile(player, path, kind, config));
    else if (kind == "dead lock") // as a player leaves it that was killed while it saved
        writeFile(path + ".lock", "999999999\ntarnivo-player\n\n");
    for (const SettingsDamage &damage : settingsDamages) {
        if (kind == damage.name) {
            player.setConfig(damage.content());
            kept = damage.kept;
        }
    }

    playAndClose(player);
    unlock(path);
    if (QTest::currentTestFailed())
        return;
    const bool readOnly = kind == "read-only root";
    if (kind == "folder") {
        QVERIFY(QFileInfo::exists(path + "/inside"));
    } else if (kind == "unreadable" || kind == "locked folder" || readOnly) {
        QCOMPARE(readFile(path), QByteArray(config));
    } else {
        QVERIFY(!player.setting("default_volum").isEmpty());
        QVERIFY2(readFile(path).contains(kept), kept);
        QCOMPARE(QFileInfo(path).isSymLink(), kind.startsWith("link"));
    }
    QCOMPARE(storedEntries(player.historyFile()).size(), readOnly ? 3 : 4);
}

void TestDamage::cutAtEveryByte_data()
{
    QTest::addColumn<bool>("cutHistory");
    QTest::newRow("history") << true;
    QTest::newRow("settings") << false;
}

// In the short form at some of them.
void TestDamage::cutAtEveryByte()
{
    QFETCH(bool, cutHistory);
    StandInTools tools;
    InstalledPlayer player;
    player.standIn();
    const QByteArray whole = cutHistory ? entriesText(2) : QByteArray(config);
    for (int size = 0; size < whole.size(); size += rounds(whole.size() / 7, 1)) {
        player.setHistory(cutHistory ? whole.left(size) : entriesText(2));
        player.setConfig(cutHistory ? QByteArray(config) : whole.left(size));
        playAndClose(player);
        if (QTest::currentTestFailed()) {
            qWarning("cut to %d bytes", size);
            return;
        }
        player.standIn().clear();
        // A list can be read without its last line end only.
        const int kept = cutHistory && size < whole.size() - 1 ? 0 : 2;
        QCOMPARE(storedEntries(player.historyFile()).size(), kept + 1);
        // A setting that stands before the cut is kept.
        for (const char *key : {"first_start", "default_last_time"}) {
            const int end = whole.indexOf('\n', whole.indexOf(key));
            if (cutHistory || size >= end)
                QVERIFY(!player.setting(key).isEmpty());
        }
        QVERIFY(!player.setting("default_volum").isEmpty());
    }
}

void TestDamage::fullDisk_data()
{
    QTest::addColumn<int>("entries");
    QTest::addColumn<bool>("withSettings");
    QTest::newRow("long list") << 300 << true; // so long that every save needs room
    QTest::newRow("empty list") << 0 << true;
    QTest::newRow("nothing there") << -1 << false;
}

// What was there stays, and the next run saves again once there is room.
void TestDamage::fullDisk()
{
    QFETCH(int, entries);
    QFETCH(bool, withSettings);
    StandInTools tools;
    InstalledPlayer player;
    player.standIn();
    SmallDisk disk(QFileInfo(player.historyFile()).path());
    if (!disk.isMounted())
        QSKIP("no disk can be mounted here");
    const QByteArray history = entries > 0 ? entriesText(entries) : QByteArray();
    if (entries >= 0)
        player.setHistory(history);
    if (withSettings)
        player.setConfig(config);
    QVERIFY(disk.fill());

    playAndClose(player);
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(readFile(player.historyFile()), history);
    QCOMPARE(readFile(player.configFile()), withSettings ? QByteArray(config) : QByteArray());
    const QStringList files{"config.ini", "config.json", "filler"};
    const QDir folder(QFileInfo(player.historyFile()).path());
    for (const QString &file : folder.entryList(QDir::Files | QDir::Hidden))
        QVERIFY2(files.contains(file), qPrintable(file)); // no rest of a failed save

    disk.makeRoom();
    player.standIn().clear();
    playAndClose(player);
    QCOMPARE(storedEntries(player.historyFile()).size(), qMax(0, entries) + 1);
    QVERIFY(!player.setting("default_volum").isEmpty());
}

int main(int argc, char *argv[])
{
    SmallDisk::enterOwnMounts();
    QApplication application(argc, argv);
    TestDamage test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_damage.moc"
