// The player in the terms of MPRIS 2: every mapping, both ways, and what nobody should send.
#include "mpris.h"

#include <QDBusObjectPath>
#include <QFile>
#include <QRegularExpression>
#include <QtTest>

#include <cmath>
#include <limits>

class TestMpris : public QObject {
    Q_OBJECT

private slots:
    void emptyList();
    void playingFilm();
    void status_data();
    void status();
    void modes_data();
    void modes();
    void loopAsked_data();
    void loopAsked();
    void shuffleAsked();
    void speeds_data();
    void speeds();
    void volumes();
    void root();
    void trackPaths();
    void uris_data();
    void uris();
    void addresses_data();
    void addresses();
};

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
const double noNumber = std::nan("");

QVariantMap metadataOf(const PlayerView &view)
{
    return mpris::playerProperties(view).value("Metadata").toMap();
}

} // namespace

void TestMpris::emptyList()
{
    const QVariantMap expected{
        {"PlaybackStatus", "Stopped"},
        {"LoopStatus", "None"},
        {"Rate", 1.0},
        {"Shuffle", false},
        {"Metadata", QVariantMap()},
        {"Volume", 0.0},
        {"MinimumRate", 0.5},
        {"MaximumRate", 2.0},
        {"CanGoNext", false},
        {"CanGoPrevious", false},
        {"CanPlay", false},
        {"CanPause", false},
        {"CanSeek", false},
        {"CanControl", true},
    };
    QCOMPARE(mpris::playerProperties(PlayerView()), expected);
}

void TestMpris::playingFilm()
{
    PlayerView view;
    view.status = PlayerView::Playing;
    view.address = "/films/100% 电影.mp4";
    view.title = "100% 电影.mp4";
    view.length = 7200;
    view.speed = 125;
    view.volume = 30;
    view.hasNext = true;
    const QVariantMap properties = mpris::playerProperties(view);
    QCOMPARE(properties.value("Rate").toDouble(), 1.25);
    QCOMPARE(properties.value("Volume").toDouble(), 0.3);
    QCOMPARE(properties.value("CanPlay").toBool(), true);
    QCOMPARE(properties.value("CanPause").toBool(), true);
    QCOMPARE(properties.value("CanSeek").toBool(), true);
    QCOMPARE(properties.value("CanGoNext").toBool(), true);
    QCOMPARE(properties.value("CanGoPrevious").toBool(), false);
    const QVariantMap data = metadataOf(view);
    QCOMPARE(data.keys(),
             QStringList({"mpris:length", "mpris:trackid", "xesam:title", "xesam:url"}));
    QCOMPARE(data.value("mpris:length").userType(), int(QMetaType::LongLong));
    QCOMPARE(data.value("mpris:length").toLongLong(), Q_INT64_C(7200000000));
    QCOMPARE(qvariant_cast<QDBusObjectPath>(data.value("mpris:trackid")).path(),
             mpris::trackPath(view.address));
    QCOMPARE(data.value("xesam:title").toString(), view.title);
    QCOMPARE(data.value("xesam:url").toString(),
             QString("file:///films/100%25%20%E7%94%B5%E5%BD%B1.mp4"));

    view.hasNext = false;
    view.hasPrevious = true;
    view.length = 0;
    QCOMPARE(mpris::playerProperties(view).value("CanGoNext").toBool(), false);
    QCOMPARE(mpris::playerProperties(view).value("CanGoPrevious").toBool(), true);
    QCOMPARE(mpris::playerProperties(view).value("CanSeek").toBool(), false);
    QVERIFY(!metadataOf(view).contains("mpris:length"));
    view.address = "rtsp://host/a%20b?c";
    QCOMPARE(metadataOf(view).value("xesam:url").toString(), view.address);
}

void TestMpris::status_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("text");
    QTest::newRow("stopped") << int(PlayerView::Stopped) << "Stopped";
    QTest::newRow("playing") << int(PlayerView::Playing) << "Playing";
    QTest::newRow("paused") << int(PlayerView::Paused) << "Paused";
}

void TestMpris::status()
{
    QFETCH(int, status);
    PlayerView view;
    view.status = PlayerView::Status(status);
    QTEST(mpris::playerProperties(view).value("PlaybackStatus").toString(), "text");
}

void TestMpris::modes_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("loop");
    QTest::addColumn<bool>("shuffle");
    QTest::newRow("single") << 0 << "None" << false;
    QTest::newRow("sequential") << 1 << "None" << false;
    QTest::newRow("one") << 2 << "Track" << false;
    QTest::newRow("list") << 3 << "Playlist" << false;
    QTest::newRow("random") << 4 << "Playlist" << true;
    QTest::newRow("none there is") << 7 << "None" << false;
    QTest::newRow("negative") << -1 << "None" << false;
}

void TestMpris::modes()
{
    QFETCH(int, mode);
    PlayerView view;
    view.mode = mode;
    QTEST(mpris::playerProperties(view).value("LoopStatus").toString(), "loop");
    QTEST(mpris::playerProperties(view).value("Shuffle").toBool(), "shuffle");
}

void TestMpris::loopAsked_data()
{
    QTest::addColumn<QString>("status");
    QTest::addColumn<QList<int>>("asked"); // in each of the five modes
    QTest::newRow("None") << "None" << QList<int>{0, 1, 1, 1, 1};
    QTest::newRow("Track") << "Track" << QList<int>{2, 2, 2, 2, 2};
    QTest::newRow("Playlist") << "Playlist" << QList<int>{3, 3, 3, 3, 4};
    QTest::newRow("unknown") << "playlist" << QList<int>{-1, -1, -1, -1, -1};
    QTest::newRow("empty") << "" << QList<int>{-1, -1, -1, -1, -1};
}

void TestMpris::loopAsked()
{
    QFETCH(QString, status);
    QList<int> modes;
    for (int mode = 0; mode < 5; ++mode)
        modes << mpris::modeOfLoop(status, mode);
    QTEST(modes, "asked");
}

void TestMpris::shuffleAsked()
{
    const int without[] = {0, 1, 2, 3, 3};
    for (int mode = 0; mode < 5; ++mode) {
        QCOMPARE(mpris::modeOfShuffle(true, mode), 4);
        QCOMPARE(mpris::modeOfShuffle(false, mode), without[mode]);
    }
}

void TestMpris::speeds_data()
{
    QTest::addColumn<double>("rate");
    QTest::addColumn<int>("percent");
    const int percents[] = {50, 75, 100, 125, 150, 200};
    for (int percent : percents)
        QTest::addRow("%d", percent) << percent / 100.0 << percent;
    QTest::newRow("near 0.75") << 0.7 << 75;
    QTest::newRow("near 1.5") << 1.7 << 150;
    QTest::newRow("slowest") << 0.001 << 50;
    QTest::newRow("fastest") << 1e300 << 200;
    QTest::newRow("infinite") << infinity << 200;
    QTest::newRow("pause") << 0.0 << 0;
    QTest::newRow("backwards") << -1.0 << -1;
    QTest::newRow("infinite backwards") << -infinity << -1;
    QTest::newRow("no number") << noNumber << -1;
}

void TestMpris::speeds()
{
    QFETCH(double, rate);
    QTEST(mpris::speedOf(rate), "percent");
}

void TestMpris::volumes()
{
    QCOMPARE(mpris::volumeOf(0), 0);
    QCOMPARE(mpris::volumeOf(0.304), 30);
    QCOMPARE(mpris::volumeOf(0.306), 31);
    QCOMPARE(mpris::volumeOf(1), 100);
    QCOMPARE(mpris::volumeOf(1.01), 100);
    QCOMPARE(mpris::volumeOf(infinity), 100);
    QCOMPARE(mpris::volumeOf(-0.2), 0);
    QCOMPARE(mpris::volumeOf(-infinity), 0);
    QCOMPARE(mpris::volumeOf(noNumber), -1);
    for (int volume = 0; volume <= 100; ++volume)
        QCOMPARE(mpris::volumeOf(volume / 100.0), volume);
}

void TestMpris::root()
{
    QFile entry(SOURCE_DIR "/packaging/com.quelmark.player.desktop");
    QVERIFY(entry.open(QIODevice::ReadOnly));
    QString types = QRegularExpression("^MimeType=(.*);x-scheme-handler/rtsp;x-scheme-handler/"
                                       "rtmp;$",
                                       QRegularExpression::MultilineOption)
                        .match(entry.readAll())
                        .captured(1);
    QVERIFY(!types.isEmpty());
    PlayerView view;
    view.fullScreen = true;
    const QVariantMap expected{
        {"CanQuit", true},
        {"Fullscreen", true},
        {"CanSetFullscreen", true},
        {"CanRaise", true},
        {"HasTrackList", false},
        {"Identity", "Tarnivo Player"},
        {"DesktopEntry", "com.quelmark.player"},
        {"SupportedUriSchemes", QStringList({"file", "rtsp", "rtmp"})},
        {"SupportedMimeTypes", types.split(';')},
    };
    QCOMPARE(mpris::rootProperties(view), expected);
    QCOMPARE(mpris::rootProperties(PlayerView()).value("Fullscreen").toBool(), false);
}

void TestMpris::trackPaths()
{
    const QRegularExpression valid("^(/[A-Za-z0-9_]+)+$");
    const QStringList addresses{
        "/a", "/b", "/a b", "/电影", "rtsp://h/-./", "", QString(9999, 'x')};
    QSet<QString> paths;
    for (const QString &address : addresses) {
        const QString path = mpris::trackPath(address);
        QVERIFY2(valid.match(path).hasMatch(), qPrintable(path));
        QCOMPARE(mpris::trackPath(address), path);
        paths << path;
    }
    QCOMPARE(paths.size(), addresses.size());
}

void TestMpris::uris_data()
{
    QTest::addColumn<QString>("uri");
    QTest::addColumn<QString>("address");
    QTest::newRow("file") << "file:///f/a.mp4"
                          << "/f/a.mp4";
    QTest::newRow("this machine") << "file://localhost/f/a.mp4"
                                  << "/f/a.mp4";
    QTest::newRow("encoded") << "file:///f/%E7%94%B5%E5%BD%B1%20100%25%3f%23.mp4"
                             << "/f/电影 100%?#.mp4";
    QTest::newRow("without slashes") << "file:/f/a.mp4"
                                     << "/f/a.mp4";
    QTest::newRow("great letters") << "FILE:///f/A.mp4"
                                   << "/f/A.mp4";
    QTest::newRow("shell") << "file:///f/%24(touch%20x)%60y%60%22;z"
                           << "/f/$(touch x)`y`\";z";
    QTest::newRow("rtsp") << "rtsp://10.0.0.1:554/a%20b?c=d&e"
                          << "rtsp://10.0.0.1:554/a%20b?c=d&e";
    QTest::newRow("rtmp") << "rtmp://host/live"
                          << "rtmp://host/live";
    QTest::newRow("great rtsp") << "RTSP://Host/A"
                                << "rtsp://Host/A";
    for (const char *bad : {"",
                            "/f/a.mp4",
                            "a.mp4",
                            "file:a.mp4",
                            "file://elsewhere/f/a.mp4",
                            "file://",
                            "file",
                            "http://h/a.mp4",
                            "rtsp",
                            "rtsp:",
                            "rtsp://",
                            "rtsp:///x",
                            "rtspx://h/",
                            "smb://h/a",
                            "cdda://1",
                            "-rtsp://h/",
                            "rtsp://h/a b\"c",
                            "rtsp://h/\nquit",
                            "file:///a%00b",
                            "file:///a\nb",
                            "javascript:x",
                            "%",
                            "file:///%zz",
                            ":",
                            "//h/x"})
        QTest::addRow("no: %s", bad) << bad << "";
    QTest::newRow("NUL") << QString("rtsp://h/a") + QChar(0) + "b"
                         << "";
    QTest::newRow("long") << "file:///" + QString(16376, 'x') << "/" + QString(16376, 'x');
    QTest::newRow("too long") << "file:///" + QString(16377, 'x') << "";
}

void TestMpris::uris()
{
    QFETCH(QString, uri);
    QTEST(mpris::addressOf(uri), "address");
}

// What a client is told opens the same file again.
void TestMpris::addresses_data()
{
    QTest::addColumn<QString>("address");
    for (const char *address : {"/a", "/f/电影 (1).mp4", "/f/100%.mp4", "/f/%41.mp4", "/f/a?b#c",
                                "/f/a\"b'c;d", "/f/~a", "//a//b", "rtsp://h/a%20b?c", "rtmp://h/l"})
        QTest::addRow("%s", address) << address;
}

void TestMpris::addresses()
{
    QFETCH(QString, address);
    PlayerView view;
    view.address = address;
    QCOMPARE(mpris::addressOf(metadataOf(view).value("xesam:url").toString()), address);
}

QTEST_APPLESS_MAIN(TestMpris)
#include "tst_mpris.moc"
