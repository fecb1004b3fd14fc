// Pictures of every window in every look, in the build folder's pictures/, for a person to look at;
// docs/images has the ones named playing, fullscreen and settings.
// What the test itself sees: each window comes, holds more than one colour, and goes again.
#include "clips.h"
#include "playerhands.h"
#include "testsupport.h"

#include <QDir>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>
#include <QTextCodec>

#include <csignal>

class TestPictures : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void mainWindow();
    void dialogs();
    void menus();
    void fullScreen();
    void barOverAnyFilm_data();
    void barOverAnyFilm();
    void screenshotsOff();

private:
    void begin();
    void end();
    void loadSubtitles();
    void keys(const QString &key, int times = 1) const;
    void take(const QString &name, const QRect &area = QRect()) const;
    // To the pixel, unless a factor does not divide the screen.
    bool coversTheScreen() const
    {
        const QRect area = hands->picture();
        return scale == 1 ? area == Screen::whole() : area.contains(Screen::whole());
    }
    qulonglong named(const QString &title) const;
    void takeDialog(const QString &name, const QString &title) const;

    // On a dense screen, or with a factor that the person has chosen.
    const int density = qEnvironmentVariableIntValue("PLAYER_PICTURES_DENSITY");
    const QByteArray factor = qgetenv("PLAYER_PICTURES_FACTOR");
    const double scale = !factor.isEmpty() ? factor.toDouble() : density ? density / 96.0 : 1;
    const int normalWidth = qRound(945 * scale);
    QString folder;
    QProcess compositor;
    QScopedPointer<InstalledPlayer> player;
    QScopedPointer<PlayerHands> hands;
};

namespace {

// Calm colours that flow into each other, for longer than this takes on a busy machine: what
// follows a film's end has other menus.
QString film()
{
    const QString gradients =
        "gradients=s=960x540:r=25:d=90:c0=0x16324f:c1=0xd96c3f:c2=0xf3c969:c3=0x2a9d8f:n=4:"
        "x0=0:y0=540:x1=960:y1=0:speed=0.004:seed=7";
    const QString once =
        Clips::make(QStringLiteral("gradients.mp4"),
                    {"-f", "lavfi", "-i", gradients, "-f", "lavfi", "-i",
                     "sine=frequency=440:sample_rate=44100:duration=90", "-c:v", "libx264",
                     "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-c:a", "aac", "-shortest"});
    return Clips::make(QStringLiteral("gradients-long.mp4"),
                       {"-stream_loop", "5", "-i", once, "-c", "copy"});
}

} // namespace

void TestPictures::initTestCase()
{
    folder = QStringLiteral(BUILD_DIR "/pictures%1%2/")
                 .arg(density ? QStringLiteral("-%1").arg(density) : QString(),
                      factor.isEmpty() ? QString() : "-x" + QString::fromLatin1(factor));
    QVERIFY(QDir().mkpath(folder));
    if (density)
        QVERIFY(Screen::setDensity(density));
    // Where there is one, half-transparent windows look as on a desktop.
    if (!QStandardPaths::findExecutable(QStringLiteral("xcompmgr")).isEmpty())
        compositor.start(QStringLiteral("setpriv"), {"--pdeathsig", "KILL", "xcompmgr"});
    begin();
}

void TestPictures::cleanupTestCase()
{
    end();
    compositor.kill();
    compositor.waitForFinished();
}

void TestPictures::begin()
{
    player.reset(new InstalledPlayer);
    player->setConfig("[DEFAULT]\nfirst_start=0\ndefault_volum=45\ndecode_flag=0\n"
                      "default_last_time=1\n");
    player->setEnvironment("FC_LANG", "zh-cn"); // a Chinese desktop's choice of fonts
    if (!factor.isEmpty())
        player->setEnvironment("QT_SCALE_FACTOR", QString::fromLatin1(factor));
    QStringList locations;
    for (const char *name : {"城市夜景.mp4", "纪录片 第一集.mp4",
                             "一个名字很长很长的电影文件 1080p.mp4", "海边日落.mp4"})
        locations << Clips::copy(film(), player->home(), QString::fromUtf8(name));
    QVERIFY(player->start(locations));
    hands.reset(new PlayerHands(*player, scale));
    QVERIFY(hands->takeHold());
    QVERIFY(hands->pictureMoves(20000));
    Screen::click(hands->timeAt(0.3), 2);
    Screen::moveMouse(QPoint(5, 5));
    QTest::qWait(2500); // the engine's own bar goes
}

void TestPictures::end()
{
    QVERIFY(player);
    player->signal(SIGTERM);
    QVERIFY(player->waitForEnd());
    QCOMPARE(player->exitCode(), 0);
}

void TestPictures::keys(const QString &key, int times) const
{
    for (int i = 0; i < times; ++i) {
        Screen::key(key);
        QTest::qWait(50);
    }
}

void TestPictures::take(const QString &name, const QRect &area) const
{
    QTest::qWait(600); // what is being drawn is drawn
    const QImage picture = Screen::grab(area);
    QVERIFY(picture.save(folder + name + ".png"));
    QVERIFY2(Screen::share(picture, QColor(picture.pixel(picture.width() / 2, 1)), 5) < 0.995,
             qPrintable(name));
}

qulonglong TestPictures::named(const QString &title) const
{
    const qulonglong window = player->dialog(title);
    return window && PlayerHands::focus(window) ? window : 0;
}

void TestPictures::takeDialog(const QString &name, const QString &title) const
{
    const qulonglong window = named(title);
    QVERIFY2(window, qPrintable(title));
    take(name, Screen::geometry(window));
    take(name + "-in-place");
    Screen::key("Escape");
    QVERIFY(PlayerHands::waitForNoWindow(window));
}

void TestPictures::mainWindow()
{
    const auto own = [this] { return Screen::geometry(hands->mainWindow()); };
    take("playing", own());
    Screen::moveMouse(hands->at(PlayerHands::Snapshot));
    QTest::qWait(1500);
    take("tooltip", own());
    Screen::key("alt+a");
    QDir shots(player->home() + "/Pictures/TNPlayer_ScreenShot");
    QTRY_VERIFY_WITH_TIMEOUT(!shots.entryList({"shot-*.png"}).isEmpty(), 15000);
    take("notice", own());
    hands->click(PlayerHands::Mute);
    Screen::moveMouse(QPoint(5, 5));
    take("muted", own());
    hands->click(PlayerHands::Mute);
    hands->click(PlayerHands::HideList);
    take("list-hidden", own());
    hands->click(PlayerHands::HideList);
    hands->click(PlayerHands::Pin);
    Screen::moveMouse(QPoint(5, 5));
    take("pinned", own());
    hands->click(PlayerHands::Pin);
    hands->click(PlayerHands::Speed);
    QVERIFY(hands->waitForSpeeds());
    take("speed");
    Screen::moveMouse(hands->at(PlayerHands::Speed + QPoint(10, -300))); // 1.5x
    QTest::qWait(1500); // its tip comes
    take("speed-tip");
    Screen::click(hands->at(PlayerHands::Speed + QPoint(0, -182))); // 1.0x
    QVERIFY(hands->waitForSpeeds(false));
    hands->click(PlayerHands::Title, 1, 2);
    QTRY_COMPARE(own().width(), Screen::whole().width());
    take("maximised");
    hands->click(PlayerHands::Title, 1, 2);
    QTRY_COMPARE(own().width(), normalWidth);
    loadSubtitles();
    take("subtitle", own());
}

void TestPictures::loadSubtitles()
{
    const QString name = player->home() + "/film.srt";
    writeFile(name,
              "1\n00:00:00,000 --> 01:00:00,000\n" +
                  QTextCodec::codecForName("GBK")->fromUnicode("夕阳正好，海风正轻 HELLO") +
                  "\n\n");
    hands->click(PlayerHands::Video, 3);
    QVERIFY(hands->waitForMenus(1));
    keys("Down", 5);
    keys("Right");
    QVERIFY(hands->waitForMenus(2));
    keys("Return");
    QVERIFY(hands->fillFileDialog(name));
    QVERIFY(hands->takeHold());
    QTest::qWait(4000); // the engine's notice goes
}

void TestPictures::dialogs()
{
    hands->click(PlayerHands::Settings);
    const QString title = QStringLiteral("设置");
    const qulonglong settings = named(title);
    QVERIFY(settings);
    Screen::click(Screen::geometry(settings).topLeft() + QPoint(100, 32) * scale);
    take("settings-other", Screen::geometry(settings));
    Screen::click(Screen::geometry(settings).topLeft() + QPoint(30, 32) * scale);
    take("settings", Screen::geometry(hands->mainWindow()));
    takeDialog("settings-general", title);

    QVERIFY(hands->takeHold());
    hands->click(PlayerHands::Video, 3);
    QVERIFY(hands->waitForMenus(1));
    keys("Up"); // the last entry
    keys("Return");
    takeDialog("information", QStringLiteral("媒体信息"));

    QVERIFY(hands->takeHold());
    hands->click(PlayerHands::Video, 3);
    QVERIFY(hands->waitForMenus(1));
    keys("Down", 4);
    keys("Right");
    QVERIFY(hands->waitForMenus(2));
    keys("Down", 3);
    keys("Return");
    takeDialog("delay", QStringLiteral("Form"));

    QVERIFY(hands->takeHold());
    Screen::key("ctrl+o");
    takeDialog("open-file", QStringLiteral("选择本地文件"));
    QVERIFY(hands->takeHold());
    hands->click(PlayerHands::FirstRow, 3);
    QVERIFY(hands->waitForMenus(1));
    take("list-menu");
    keys("Up");
    keys("Return");
    takeDialog("question", QStringLiteral("提示"));
}

void TestPictures::menus()
{
    QVERIFY(hands->takeHold());
    hands->click(PlayerHands::Title, 3);
    QVERIFY(hands->waitForMenus(1));
    take("title-menu");
    keys("Escape");
    QVERIFY(hands->waitForMenus(0));

    hands->click(PlayerHands::Video - QPoint(150, 80), 3);
    QVERIFY(hands->waitForMenus(1));
    keys("Down", 4);
    keys("Right");
    QVERIFY(hands->waitForMenus(2));
    take("menu-sound");
    keys("Left");
    QVERIFY(hands->waitForMenus(1));
    keys("Down");
    keys("Right");
    QVERIFY(hands->waitForMenus(2));
    keys("Down", 6);
    keys("Right");
    QVERIFY(hands->waitForMenus(3));
    take("menu-size");
    keys("Left");
    keys("Down");
    keys("Right");
    QVERIFY(hands->waitForMenus(3));
    take("menu-position");
    keys("Escape", 3);
    QVERIFY(hands->waitForMenus(0));
}

void TestPictures::fullScreen()
{
    QVERIFY(hands->takeHold());
    hands->click(PlayerHands::FullScreen);
    QTRY_VERIFY(coversTheScreen());
    Screen::moveMouse(QPoint(600, 300));
    Screen::moveMouse(QPoint(610, 310));
    QVERIFY(hands->waitForBar());
    keys("Up"); // the bar's volume button follows only while it is shown
    QTest::qWait(1500); // the notice about it goes
    Screen::moveMouse(QPoint(620, 320)); // the clock comes with a movement over the bar
    take("fullscreen");
    Screen::click(QPoint(400, 300), 3);
    QVERIFY(hands->waitForMenus(1));
    keys("Down", 5);
    keys("Right");
    QVERIFY(hands->waitForMenus(2));
    keys("Down", 6);
    keys("Right");
    QVERIFY(hands->waitForMenus(3));
    take("fullscreen-menu");
    keys("Escape", 3);
    QVERIFY(hands->waitForMenus(0));
    Screen::key("Escape");
    QTRY_COMPARE(Screen::geometry(hands->mainWindow()).width(), normalWidth);
}

void TestPictures::barOverAnyFilm_data()
{
    QTest::addColumn<QString>("colour");
    QTest::newRow("bright") << "white";
    QTest::newRow("dark") << "black";
}

void TestPictures::barOverAnyFilm()
{
    QFETCH(QString, colour);
    QVERIFY(hands->takeHold());
    const QString film =
        Clips::make(colour + ".mp4",
                    {"-f", "lavfi", "-i", "color=c=" + colour + ":s=640x400:d=90", "-c:v",
                     "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p"});
    QVERIFY(hands->chooseFile("ctrl+o", Clips::copy(film, player->home(), colour + ".mp4")));
    QVERIFY(hands->waitForPicture(QColor(colour)));
    QVERIFY(hands->takeHold());
    hands->click(PlayerHands::FullScreen);
    QTRY_VERIFY(coversTheScreen());
    QTest::qWait(1500); // the engine's own bar goes
    Screen::moveMouse(QPoint(600, 300));
    Screen::moveMouse(QPoint(610, 310));
    QVERIFY(hands->waitForBar());
    Screen::moveMouse(QPoint(620, 320));
    take(QString("fullscreen-") + QTest::currentDataTag());
    Screen::key("Escape");
    QTRY_COMPARE(Screen::geometry(hands->mainWindow()).width(), normalWidth);
}

void TestPictures::screenshotsOff()
{
    end();
    player.reset(new InstalledPlayer);
    player->setConfig("[DEFAULT]\nfirst_start=0\ndecode_flag=2\n");
    QVERIFY(player->start());
    hands.reset(new PlayerHands(*player, scale));
    QVERIFY(hands->takeHold());
    take("screenshots-off", Screen::geometry(hands->mainWindow()));
}

QTEST_MAIN(TestPictures)
#include "tst_pictures.moc"
