// The real engine: the picture is really there, and so is the sound.
#include "clips.h"
#include "installedplayer.h"
#include "processes.h"
#include "screen.h"
#include "soundbench.h"

#include <QTest>

class TestPicture : public QObject {
    Q_OBJECT

private slots:
    void oneColourFillsThePlayArea_data();
    void oneColourFillsThePlayArea();
    void playsToTheEnd();
    void theNextPictureFollows();
    void soundIsHeard();
    void hardwareModeWithoutHardware();
    void loadsNoOpenGlForNothing();
};

namespace {

QByteArray config(int decodeFlag)
{
    return "[DEFAULT]\nfirst_start=0\ndefault_volum=60\ndecode_flag=" +
        QByteArray::number(decodeFlag) + "\n";
}

// Where the engine draws, on the screen.
QRect playArea(InstalledPlayer &player)
{
    return player.window() ? Screen::geometry(player.playArea()) : QRect();
}

} // namespace

void TestPicture::oneColourFillsThePlayArea_data()
{
    QTest::addColumn<int>("decodeFlag");
    QTest::addColumn<QString>("clip");
    QTest::addColumn<QColor>("colour");
    QTest::newRow("software, red") << 0 << Clips::oneColour("red") << QColor("red");
    QTest::newRow("threads, red") << 1 << Clips::oneColour("red") << QColor("red");
    QTest::newRow("software, blue") << 0 << Clips::oneColour("blue", 10, true) << QColor("blue");
    QTest::newRow("threads, H.265") << 1 << Clips::hevc() << QColor("blue");
    QTest::newRow("software, AVI") << 0 << Clips::otherCodec() << QColor("yellow");
    QTest::newRow("threads, Matroska") << 1 << Clips::matroska() << QColor("magenta");
}

void TestPicture::oneColourFillsThePlayArea()
{
    QFETCH(int, decodeFlag);
    QFETCH(QString, clip);
    QFETCH(QColor, colour);
    InstalledPlayer player;
    player.setConfig(config(decodeFlag));
    QVERIFY(player.start({clip}));
    const QRect area = playArea(player);
    QVERIFY(area.width() > 400 && area.height() > 300);
    QVERIFY2(Screen::waitForColour(area, colour, 0.8), qPrintable(player.log().join('\n')));
    QCOMPARE(player.engines().size(), 1);
    // Nothing of it outside the play area.
    const QRect extent = Screen::extent(Screen::grab(), colour);
    QVERIFY2(area.contains(extent), "the picture leaves the play area");
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
    QVERIFY(player.engines().isEmpty());
}

void TestPicture::playsToTheEnd()
{
    InstalledPlayer player;
    player.setConfig(config(0));
    QVERIFY(player.start({Clips::oneColour("red", 3)}));
    const QRect area = playArea(player);
    QVERIFY(Screen::waitForColour(area, Qt::red, 0.8));
    QTRY_VERIFY_WITH_TIMEOUT(player.engines().isEmpty(), 15000);
    QVERIFY(Screen::waitForColour(area, Qt::black, 0.99));
    QVERIFY(player.isRunning());
    QVERIFY(Processes::zombieChildrenOf(player.pid()).isEmpty());
}

void TestPicture::theNextPictureFollows()
{
    InstalledPlayer player;
    player.setConfig(config(1) + "play_mode=1\n");
    // The newest is played first, then the older one.
    QVERIFY(player.start({Clips::oneColour("lime", 10), Clips::oneColour("red", 3)}));
    const QRect area = playArea(player);
    QVERIFY(Screen::waitForColour(area, Qt::red, 0.8));
    QVERIFY(Screen::waitForColour(area, QColor("lime"), 0.8));
    QCOMPARE(player.engines().size(), 1);
}

void TestPicture::soundIsHeard()
{
    PrivatePulse pulse;
    if (!pulse.isRunning())
        QSKIP(pulse.missing());
    InstalledPlayer player;
    player.setConfig(config(0));
    QVERIFY(player.start({Clips::oneColour("red", 20, true)}));
    QTRY_COMPARE_WITH_TIMEOUT(pulse.streams(), 1, 15000);
    QByteArray sound;
    QTRY_VERIFY_WITH_TIMEOUT(PrivatePulse::level(sound = pulse.record(500)) > 0.01, 15000);
    QVERIFY2(qAbs(PrivatePulse::frequency(sound) - 440) < 10,
             qPrintable(QString::number(PrivatePulse::frequency(sound))));
    player.close();
    QVERIFY(player.waitForEnd());
    QTRY_COMPARE(pulse.streams(), 0);
}

// There is no picture then, but the end comes and is handled, and the next file starts.
void TestPicture::hardwareModeWithoutHardware()
{
    InstalledPlayer player;
    player.setConfig(config(2) + "play_mode=1\n");
    QVERIFY(player.start({Clips::pattern(2), Clips::oneColour("red", 3)}));
    QVERIFY(player.window());
    QTRY_COMPARE_WITH_TIMEOUT(player.log().filter("arglist:").size(), 3,
                              30000); // both, then the older
    QTRY_VERIFY_WITH_TIMEOUT(player.engines().isEmpty(), 15000);
    QVERIFY(player.isRunning());
    QTRY_VERIFY(Processes::zombieChildrenOf(player.pid()).isEmpty());
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
}

// Without a graphics device the engine would refuse it once it is there.
void TestPicture::loadsNoOpenGlForNothing()
{
    if (QFile::exists("/dev/dri") || QFile::exists("/dev/nvidiactl") || QFile::exists("/dev/dxg"))
        QSKIP("this machine may draw OpenGL");
    InstalledPlayer player;
    player.setConfig(config(0));
    QVERIFY(player.start({Clips::oneColour("red")}));
    QVERIFY(Screen::waitForColour(playArea(player), Qt::red, 0.8));
    const QByteArray libraries =
        readFile(QStringLiteral("/proc/%1/maps").arg(player.engines().value(0)));
    QVERIFY(libraries.contains("/libX11.so"));
    QVERIFY(!libraries.contains("libGLX_mesa") && !libraries.contains("libLLVM"));
}

QTEST_MAIN(TestPicture)
#include "tst_picture.moc"
