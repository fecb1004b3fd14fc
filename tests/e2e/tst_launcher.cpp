// What the launcher is given reaches the engine as itself, through the installed player.
#include "installedplayer.h"
#include "processes.h"
#include "testsupport.h"
#include "toolbench.h"

#include <QDir>
#include <QProcess>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <algorithm>

class TestLauncher : public QObject {
    Q_OBJECT

private slots:
    void hostileNames();
    void manyNames();
    void fileUris();
    void addressesAndEmptyNames();
    void plainLocale();
    void withoutLocation();
    void bytesOutsideTheLocale();
    void withoutADisplay_data();
    void withoutADisplay();
    void otherPlatform();
};

namespace {

const char launcherPath[] = BUILD_DIR "/packaging/tarnivo-player";
constexpr int kMostLocations = 98;
constexpr int kFewLocations = 16; // of more, several are probed before one is played

// The player opens one location after the other and ends the engine of the one before. Here the
// probe answers only when that engine has recorded its start, so that none is missed.
void probeAfterEachStart(const StandInTools &tools, const StandInEngine &engine)
{
    const QByteArray folders = "engine='" + QFile::encodeName(engine.folder()) + "'\ntools='" +
        QFile::encodeName(tools.folder()) + "'\n";
    const QByteArray script = R"script(
cd "$engine" || exit
calls=$(cat calls 2>/dev/null || echo 0)
echo $((calls + 1)) >calls
tries=0
started() { cat log 2>/dev/null | grep -c '^[0-9]* [0-9]* start'; }
until [ "$(started)" -ge $calls ] || [ $tries -ge 1000 ]; do
    sleep 0.02
    tries=$((tries + 1))
done
exec cat "$tools/ffprobe.out"
)script";
    writeProgram(tools.folder() + "/ffprobe", folders + script);
}

// What the engine was started on, in order, when the launcher was given these. Empty when it
// went wrong.
QByteArrayList playedOf(const QStringList &locations, int expected,
                        const QMap<QString, QString> &environment = {})
{
    StandInTools tools;
    InstalledPlayer player;
    player.setConfig("[DEFAULT]\nfirst_start=0\n");
    player.setLauncher(QString::fromLatin1(launcherPath));
    for (auto variable = environment.cbegin(); variable != environment.cend(); ++variable)
        player.setEnvironment(variable.key(), variable.value());
    const StandInEngine &engine = player.standIn();
    probeAfterEachStart(tools, engine);
    if (!player.start(locations) || !engine.waitForStarts(expected, 60000))
        qWarning() << "not all were played:" << player.log().mid(0, 30);
    const QByteArray home = QFile::encodeName(player.home()) + '/';
    QByteArrayList played;
    for (const StandInEngine::Start &start : engine.starts()) {
        QByteArray location = start.arguments.value(0);
        if (location.startsWith(home))
            location.replace(0, home.size(), "~/"); // the working folder
        played << location;
    }
    return played;
}

// Names that a shell, an address, a percent decoding, an option parser or a terminal could take for
// something else.
// clang-format off
const char *const hostileTexts[] = {
    "-", "--", "-slave", "--help", "-style", "-wid 1", "~", "~root", "...", "..mp4", ". ", " ",
    "  two  blanks  ", " leads.mp4", "trails.mp4 ", "\n", "\n\n", "a\n.mp4\n", "\r\n", "%", "%%",
    "%%25", "%25", "%2525", "%41.mp4", "100%", "100%.mp4", "%2", "%zz", "%2F", "%00", "%0A",
    "%E7%89%87.mp4", "a%20b.mp4", "+.mp4", "%s%n%d.mp4", "$", "$HOME", "${HOME}.mp4",
    "$(touch x)", "`touch x`", "$((1+1))", "a;touch x", "a|touch x", "a&&touch x", "a & b", "a>x",
    "a<x", "!history", "!!", "\\", "\\\\", "\\n", "\\x41", "\\045", "\\0101", "\\c.mp4", "a\\",
    "'", "''", "'$'.mp4", "\"", "\"\"", "\"a\" 'b'.mp4", "*", "*.mp4", "?", "what?.mp4", "[a-z]",
    "[", "]", "{a,b}.mp4", "{", "}", "#", "#1.mp4", "a#b#c.mp4", "a?b?c.mp4", "a?b#c%d.mp4",
    "a#b?c#d.mp4", "1:2.mp4", "Movie:1.mp4", "http:film.mp4", "file:film.mp4", "C:\\a.mp4",
    "a@b:80.mp4", "name=value", "a,b.mp4", "a:b,c=d.mp4", "<b>x</b>.mp4", "&amp;.mp4", "^.mp4",
    "影片 第一集.mp4", "电影%20.mp4", "한국 🎬.mkv", "é.mp4", "e\u0301.mp4", "ß ñ Ω.mp4",
    "\u200eleft\u200f.mp4", "\u202egpm.mp4", "\ufeffbom.mp4", "\u0085next.mp4", "\u2028line.mp4",
    "\u00a0blank.mp4", "\u3000全角　空.mp4", "\ue000private.mp4", "zero\u200bwidth.mp4",
    "\U0001f468\u200d\U0001f469.mp4",
};
// clang-format on

QStringList hostileNamesWritten()
{
    QStringList names;
    for (const char *name : hostileTexts)
        names << name;
    return names << QString(QChar(0xfffd)) << QString(QChar(0xffff)) + ".mp4"
                 << QString(255, QLatin1Char('x')) << QString(85, QChar(0x7247)); // the longest
}

// Every ASCII character but "/" alone between two letters, too.
QStringList hostileNames()
{
    QStringList names = hostileNamesWritten();
    for (char character = 1; character < 127; ++character) {
        if (character != '/')
            names << QStringLiteral("a%1b.mp4").arg(QLatin1Char(character));
    }
    names << QStringLiteral("a\x7f"
                            "b.mp4");
    names.removeDuplicates();
    return names;
}

} // namespace

void TestLauncher::hostileNames()
{
    const QStringList names = ::hostileNames();
    QVERIFY2(names.size() >= 200, QByteArray::number(names.size()));
    for (int first = 0; first < names.size(); first += kFewLocations) {
        const QStringList some = names.mid(first, kFewLocations);
        const QByteArrayList played = playedOf(some, some.size());
        for (int i = 0; i < some.size(); ++i)
            QCOMPARE(played.value(i), "~/" + QFile::encodeName(some.at(i)));
        QCOMPARE(played.size(), some.size());
    }
}

// All at once: each is probed once and comes into the list.
void TestLauncher::manyNames()
{
    const QStringList names = ::hostileNames().mid(0, kMostLocations);
    StandInTools tools;
    InstalledPlayer player;
    player.setConfig("[DEFAULT]\nfirst_start=0\n");
    player.setLauncher(QString::fromLatin1(launcherPath));
    player.standIn();
    QVERIFY(player.start(names));
    QVERIFY(player.window(60000));
    player.close();
    QVERIFY(player.waitForEnd());
    QStringList expected;
    for (const QString &name : names)
        expected << player.home() + '/' + name;
    QCOMPARE(storedAddresses(player.historyFile()), expected);
    QStringList probed;
    for (const QByteArrayList &call : tools.probeCalls())
        probed << QFile::decodeName(call.last());
    std::sort(probed.begin(), probed.end());
    std::sort(expected.begin(), expected.end());
    QCOMPARE(probed, expected);
}

// As file managers hand files over.
void TestLauncher::fileUris()
{
    QStringList uris;
    QByteArrayList expected;
    for (const QString &name : hostileNamesWritten()) {
        uris << QString::fromLatin1(QUrl::fromLocalFile("/films/" + name).toEncoded());
        expected << "/films/" + QFile::encodeName(name);
    }
    uris << "file://localhost/films/a%20b.mp4"
         << "file:/films/%e5%bd%b1.mp4"
         << "FILE:///films/100%.mp4";
    expected << "/films/a b.mp4"
             << "/films/\xe5\xbd\xb1.mp4"
             << "/films/100%.mp4";
    for (int first = 0; first < uris.size(); first += kFewLocations)
        QCOMPARE(
            playedOf(uris.mid(first, kFewLocations), expected.mid(first, kFewLocations).size()),
            expected.mid(first, kFewLocations));
}

void TestLauncher::addressesAndEmptyNames()
{
    const QByteArrayList played = playedOf(
        {"", "http://127.0.0.1:9/a%2520b.mp4?x=1&y=2", "", "/films//b/./c.mp4", "../d.mp4"}, 3);
    QCOMPARE(played.size(), 3);
    QCOMPARE(played.at(0), QByteArray("http://127.0.0.1:9/a%20b.mp4?x=1&y=2"));
    QCOMPARE(played.at(1), QByteArray("/films/b/c.mp4"));
    QVERIFY(played.at(2).startsWith('/') && played.at(2).endsWith("/d.mp4"));
    QVERIFY(!played.at(2).contains(".."));
}

void TestLauncher::plainLocale()
{
    const QString name = QStringLiteral("影片.mp4");
    QCOMPARE(playedOf({name}, 1, {{"LC_ALL", "C"}}), QByteArrayList{"~/" + name.toUtf8()});
}

void TestLauncher::withoutLocation()
{
    InstalledPlayer player;
    player.setConfig("[DEFAULT]\nfirst_start=0\n");
    player.setLauncher(QString::fromLatin1(launcherPath));
    QVERIFY(player.start());
    QVERIFY(player.window());
    QCOMPARE(Processes::arguments(player.pid()),
             QByteArrayList{"/opt/apps/com.quelmark.player/files/bin/tarnivo-player"});
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
}

// The player reads its command line as text, so bytes that are no text in the locale get lost; the
// others named with them still play.
void TestLauncher::bytesOutsideTheLocale()
{
    QCOMPARE(
        playedOf({"file:///films/a.mp4", "file:///films/%ff%fe.mp4", "file:///films/b.mp4"}, 3),
        QByteArrayList({"/films/a.mp4", "/films/\xef\xbf\xbd\xef\xbf\xbd.mp4", "/films/b.mp4"}));
}

void TestLauncher::withoutADisplay_data()
{
    QTest::addColumn<QString>("display"); // no variable at all where it is null
    QTest::addColumn<QByteArray>("notifier"); // what it does; none where it is empty
    const QByteArray works = "printf '%s\\n' \"$@\" >\"${0%/*}/told\"\n";
    QTest::newRow("none") << QString() << works;
    QTest::newRow("empty") << QString("") << works;
    QTest::newRow("server is not there") << QString(":4711.0") << works;
    QTest::newRow("no notifier") << QString() << QByteArray();
    QTest::newRow("notifier fails") << QString() << works + "echo x; echo y >&2; exit 3\n";
}

// As from a menu of a session that has no X11.
void TestLauncher::withoutADisplay()
{
    QFETCH(QString, display);
    QFETCH(QByteArray, notifier);
    QTemporaryDir dir;
    // The launcher sees these programs, and no other notifier.
    for (const char *tool : {"sh", "locale", "timeout", "grep"})
        QVERIFY(QFile::link(QStandardPaths::findExecutable(tool), dir.filePath(tool)));
    if (!notifier.isEmpty())
        writeProgram(dir.filePath("notify-send"), notifier);
    QProcess launcher;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("PATH", dir.path());
    environment.insert("WAYLAND_DISPLAY", "wayland-0");
    environment.remove("QT_QPA_PLATFORM");
    environment.remove("DISPLAY");
    if (!display.isNull())
        environment.insert("DISPLAY", display);
    launcher.setProcessEnvironment(environment);
    launcher.start(launcherPath, {"/films/a.mp4"});
    QVERIFY(launcher.waitForFinished());
    QCOMPARE(launcher.exitStatus(), QProcess::NormalExit);
    QCOMPARE(launcher.exitCode(), 1);
    QCOMPARE(launcher.readAllStandardOutput(), QByteArray());
    const QString said = QString::fromUtf8(launcher.readAllStandardError());
    QCOMPARE(said,
             "Tarnivo播放器需要 X11 显示，但现在没有可用的 X11 显示（DISPLAY=" + display +
                 "）。请在 X11 会话中启动，或先安装并启用 XWayland。\n");
    const QString told = QString::fromUtf8(readFile(dir.filePath("told")));
    if (notifier.isEmpty())
        QCOMPARE(told, QString());
    else
        QCOMPARE(told, "-i\ncom.quelmark.player\nTarnivo播放器\n" + said);
}

void TestLauncher::otherPlatform()
{
    InstalledPlayer player;
    player.setConfig("[DEFAULT]\nfirst_start=0\n");
    player.setLauncher(QString::fromLatin1(launcherPath));
    player.setEnvironment("DISPLAY", "");
    player.setEnvironment("QT_QPA_PLATFORM", "offscreen");
    QVERIFY(player.start());
    QVERIFY(player.waitForLog("winid is "));
}

QTEST_MAIN(TestLauncher)
#include "tst_launcher.moc"
