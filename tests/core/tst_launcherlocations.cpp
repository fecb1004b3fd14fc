// What ./play makes of a name, read by the player as it reads its command line, must be that file.
#include "common.h"
#include "history.h"
#include "startup.h"
#include "testsupport.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

class TestLauncherLocations : public QObject {
    Q_OBJECT

private slots:
    void init() { resetSharedState(); }
    void namesArriveUnchanged_data();
    void namesArriveUnchanged();
    void relativePathsBecomeAbsolute_data();
    void relativePathsBecomeAbsolute();
    void filesOfUris_data();
    void filesOfUris();
    void foldersBehindLinks();
    void addressesAreLeftAlone_data();
    void addressesAreLeftAlone();
    void unplayableLocationsAreNamed_data();
    void unplayableLocationsAreNamed();

private:
    static QByteArray shell(const QString &command, const QString &argument,
                            const QString &folder = QStringLiteral("/"));
    static QByteArray playerArgument(const QString &location,
                                     const QString &folder = QStringLiteral("/"));
    static QString asReadByPlayer(QByteArray argument);
};

QByteArray TestLauncherLocations::shell(const QString &command, const QString &argument,
                                        const QString &folder)
{
    QProcess bash;
    bash.setWorkingDirectory(folder);
    bash.start("bash",
               {"-euo", "pipefail", "-c",
                "root=" SOURCE_DIR " person_prefix=() person_name=somebody\n"
                ". \"$root/tools/locations.sh\"\n" +
                    command,
                "bash", argument});
    if (!bash.waitForFinished() || bash.exitCode() != 0)
        qWarning() << bash.readAllStandardError();
    return bash.readAllStandardOutput();
}

// As ./play and as the installed launcher find it.
QByteArray TestLauncherLocations::playerArgument(const QString &location, const QString &folder)
{
    const QString command = QStringLiteral("player_argument \"$1\"; printf %s \"$argument\"");
    QProcess sh;
    sh.setWorkingDirectory(folder);
    sh.start("sh", {"-euc", ". " SOURCE_DIR "/packaging/locations.sh\n" + command, "sh", location});
    QByteArray argument = shell(command, location, folder);
    if (!sh.waitForFinished() || sh.readAllStandardOutput() != argument)
        return "different in another shell";
    return argument;
}

QString TestLauncherLocations::asReadByPlayer(QByteArray argument)
{
    QByteArray name = "player";
    char *argv[] = {name.data(), argument.data(), nullptr};
    storeCommandLineLocations(2, argv);
    return checkInputFileName(rBtnOpenFile[0]);
}

void TestLauncherLocations::namesArriveUnchanged_data()
{
    QTest::addColumn<QString>("path");
    const QStringList names = {
        "film.mp4",
        "two words.mp4",
        "100%.mp4",
        "%41.mp4",
        "%",
        "%%25",
        "a%2Fb.mp4",
        "%E7%89%87.mp4",
        "Movie:1.mp4",
        "1:2.mp4",
        "#1.mp4",
        "what?.mp4",
        "a?b#c%d.mp4",
        "\"quoted\".mp4",
        "it's.mp4",
        "back\\slash.mp4",
        "<b>x</b>.mp4",
        "{a}|^`b`.mp4",
        "[1].mp4",
        "$HOME $(id).mp4",
        "-slave",
        "line\nfeed.mp4",
        "ends\n",
        "tab\t.mp4",
        QStringLiteral("影片 第一集.mp4"),
        QStringLiteral("é ü 한국 🎬.mkv"),
        "a&b;c.mp4",
        "a@b:80.mp4",
        "~",
        "*.mp4",
    };
    for (const QString &name : names)
        QTest::addRow("%s", qPrintable(name.simplified())) << "/some folder/" + name;
}

void TestLauncherLocations::namesArriveUnchanged()
{
    QFETCH(QString, path);
    QCOMPARE(asReadByPlayer(playerArgument(path)), path);
}

void TestLauncherLocations::relativePathsBecomeAbsolute_data()
{
    QTest::addColumn<QString>("location");
    QTest::addColumn<QByteArray>("argument");
    QTest::newRow("name") << "film.mp4" << QByteArray("/usr/share/film.mp4");
    QTest::newRow("dash") << "-x.mp4" << QByteArray("/usr/share/-x.mp4");
    QTest::newRow("here") << "./film.mp4" << QByteArray("/usr/share/film.mp4");
    QTest::newRow("up") << "../film.mp4" << QByteArray("/usr/film.mp4");
    QTest::newRow("folder") << "a/b%20c.mp4" << QByteArray("/usr/share/a/b%2520c.mp4");
    QTest::newRow("looks like a scheme")
        << "http:film.mp4" << QByteArray("/usr/share/http:film.mp4");
    QTest::newRow("absolute") << "/a/film.mp4" << QByteArray("/a/film.mp4");
    QTest::newRow("doubled slash") << "//a//film.mp4" << QByteArray("/a/film.mp4");
}

void TestLauncherLocations::relativePathsBecomeAbsolute()
{
    QFETCH(QString, location);
    QFETCH(QByteArray, argument);
    QCOMPARE(playerArgument(location, "/usr/share"), argument);
}

void TestLauncherLocations::filesOfUris_data()
{
    QTest::addColumn<QString>("uri");
    QTest::addColumn<QString>("path");
    QTest::newRow("plain") << "file:///a/film.mp4"
                           << "/a/film.mp4";
    QTest::newRow("this machine") << "file://localhost/a/film.mp4"
                                  << "/a/film.mp4";
    QTest::newRow("one slash") << "file:/a/film.mp4"
                               << "/a/film.mp4";
    QTest::newRow("capitals") << "FILE://LocalHost/a/film.mp4"
                              << "/a/film.mp4";
    QTest::newRow("blank") << "file:///a/two%20words.mp4"
                           << "/a/two words.mp4";
    QTest::newRow("Chinese") << "file:///%E5%BD%B1%e7%89%87.mp4" << QStringLiteral("/影片.mp4");
    QTest::newRow("not encoded") << QStringLiteral("file:///影 片.mp4")
                                 << QStringLiteral("/影 片.mp4");
    QTest::newRow("percent signs") << "file:///%25%2541%.mp4"
                                   << "/%%41%.mp4";
    QTest::newRow("no digits") << "file:///%%4g%zz%1"
                               << "/%%4g%zz%1";
    QTest::newRow("zero") << "file:///a%00b"
                          << "/a%00b";
    QTest::newRow("line feeds") << "file:///a%0Ab%0a%0a"
                                << "/a\nb\n\n";
    QTest::newRow("backslashes") << "file:///\\101%5C101\\c\\"
                                 << "/\\101\\101\\c\\";
    QTest::newRow("shell signs") << "file:///$(id)%60id%60*"
                                 << "/$(id)`id`*";
    QTest::newRow("address in the name") << "file:///a%3A%2F%2Fb"
                                         << "/a:/b";
}

void TestLauncherLocations::filesOfUris()
{
    QFETCH(QString, uri);
    QFETCH(QString, path);
    QCOMPARE(asReadByPlayer(playerArgument(uri)), path);
}

// A folder's ".." is where the system finds it, which is not what the path's text says.
void TestLauncherLocations::foldersBehindLinks()
{
    QTemporaryDir dir;
    const QString base = QFileInfo(dir.path()).canonicalFilePath();
    QVERIFY(QDir(base).mkpath("films/deep"));
    QVERIFY(QFile::link(base + "/films/deep", base + "/link"));
    QCOMPARE(playerArgument("link/../a.mp4", base), (base + "/films/a.mp4").toUtf8());
    QCOMPARE(playerArgument("link/a.mp4", base), (base + "/link/a.mp4").toUtf8());
    QCOMPARE(playerArgument("missing/../a.mp4", base), (base + "/missing/../a.mp4").toUtf8());
}

void TestLauncherLocations::addressesAreLeftAlone_data()
{
    QTest::addColumn<QString>("address");
    for (const char *address : {"rtsp://host:554/live?user=a%20b&x=1", "rtmp://host/app/stream",
                                "http://host/film%41.mp4", "file://other/a/film%20one.mp4"})
        QTest::newRow(address) << address;
}

void TestLauncherLocations::addressesAreLeftAlone()
{
    QFETCH(QString, address);
    QCOMPARE(playerArgument(address), address.toUtf8());
}

void TestLauncherLocations::unplayableLocationsAreNamed_data()
{
    QTest::addColumn<QString>("location");
    QTest::addColumn<QByteArray>("problem");
    QTest::newRow("empty") << "" << QByteArray("an empty name was given as a location.");
    QTest::newRow("folder") << "/usr" << QByteArray("/usr is a folder.");
    QTest::newRow("missing") << "/usr/no such.mp4"
                             << QByteArray("there is no file /usr/no such.mp4.");
    QTest::newRow("file") << "/etc/passwd" << QByteArray();
    QTest::newRow("address") << "rtsp://host/live" << QByteArray();
    QTest::newRow("file of a URI") << "file:///etc/pass%77d" << QByteArray();
    QTest::newRow("missing file of a URI")
        << "file:///usr/no%20such.mp4" << QByteArray("there is no file /usr/no such.mp4.");
}

void TestLauncherLocations::unplayableLocationsAreNamed()
{
    QFETCH(QString, location);
    QFETCH(QByteArray, problem);
    QCOMPARE(shell(QStringLiteral("check_location \"$1\"; printf %s \"$problem\""), location),
             problem);
}

QTEST_GUILESS_MAIN(TestLauncherLocations)
#include "tst_launcherlocations.moc"
