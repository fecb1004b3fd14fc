// Files that are shorter than the place where they were stopped: the real engine ends at once when
// it is sent there, and the film then plays from its beginning. And files that are gone.
#include "clips.h"
#include "film.h"
#include "soundbench.h"

#include <QTest>

class TestShortened : public QObject {
    Q_OBJECT

private slots:
    void playsFromTheBeginning_data();
    void playsFromTheBeginning();
    void missingFileKeepsItsPlace();
    void soundThatCannotBePlayedKeepsThePlace();
    void hardwareThatCannotShowItKeepsThePlace();
};

namespace {

QString clip(const QString &ending, const QStringList &codecs, bool sound)
{
    QStringList arguments{"-f", "lavfi", "-i", "testsrc=s=320x240:r=25:d=40"};
    if (sound)
        arguments << "-f"
                  << "lavfi"
                  << "-i"
                  << "sine=duration=40";
    return Clips::make(QString("forty-%1.%2").arg(sound ? "sound" : "silent", ending),
                       arguments + codecs +
                           QStringList{"-pix_fmt", "yuv420p", "-g", "25", "-t", "40"});
}

// Stopped at 300 s by an earlier, longer version.
void setUpHistory(const QString &file)
{
    lastTimePlayFlag = true;
    addrlist[0].addr = file;
    addrlist[0].label = getFileNameFromAddr(file);
    addrlist[0].type = 1;
    addrlist[0].last_play_time = 300;
    addrNum = 1;
}

} // namespace

void TestShortened::playsFromTheBeginning_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("sounds");
    QTest::newRow("mp3") << Clips::audioOnly(40) << true;
    QTest::newRow("mp3 with a picture") << Clips::audioWithCover(40) << true;
    for (bool sound : {false, true}) {
        const char *what = sound ? "with sound" : "silent";
        QTest::addRow("ts, %s", what) << clip("ts", {}, sound) << sound;
        QTest::addRow("flv, %s", what) << clip("flv", {"-ar", "44100"}, sound) << sound;
        QTest::addRow("mpg, %s", what) << clip("mpg", {}, sound) << sound;
        QTest::addRow("wmv, %s", what) << clip("wmv", {}, sound) << sound;
    }
}

// Within two starts; a third one would go on for ever.
void TestShortened::playsFromTheBeginning()
{
    QFETCH(QString, file);
    QFETCH(bool, sounds);
    PrivatePulse pulse;
    if (sounds && !pulse.isRunning())
        QSKIP(pulse.missing());
    Film film(Clips::oneColour("blue", 10));
    TestWindow &window = *film.window;
    window.on_stopBtn_clicked();
    setUpHistory(file);
    playMode = 2;
    playinglist.addrIndex = 0;
    LogCapture log;
    window.currentPosition = 0;
    window.on_playBtn_clicked();
    QTRY_VERIFY_WITH_TIMEOUT(window.currentPosition >= 2 && window.currentPosition < 30, 30000);
    QVERIFY(log.lines().filter("arglist:").size() <= 2);
    window.on_stopBtn_clicked();
    QVERIFY(addrlist[0].last_play_time < 30);
}

void TestShortened::missingFileKeepsItsPlace()
{
    Film film(Clips::oneColour("blue", 10));
    TestWindow &window = *film.window;
    window.on_stopBtn_clicked();
    setUpHistory("/none/film.ts");
    playMode = 0;
    window.on_playBtn_clicked();
    QTRY_COMPARE_WITH_TIMEOUT(playinglist.state, 0, 30000);
    QCOMPARE(addrlist[0].last_play_time, 300);
}

// There is no sound server, and the engine ends in good order.
void TestShortened::soundThatCannotBePlayedKeepsThePlace()
{
    const QString file = Clips::audioOnly(40);
    Film film(Clips::oneColour("blue", 10));
    TestWindow &window = *film.window;
    window.on_stopBtn_clicked();
    setUpHistory(file);
    addrlist[0].last_play_time = 20;
    playMode = 0;
    window.on_playBtn_clicked();
    QTRY_COMPARE_WITH_TIMEOUT(playinglist.state, 0, 30000);
    QCOMPARE(addrlist[0].last_play_time, 20);
}

// No server of these tests has such hardware, and the engine ends in good order as well.
void TestShortened::hardwareThatCannotShowItKeepsThePlace()
{
    const QString file = Clips::oneColour("blue", 120);
    Film film(Clips::oneColour("blue", 10));
    TestWindow &window = *film.window;
    window.on_stopBtn_clicked();
    setUpHistory(file);
    addrlist[0].last_play_time = 60;
    playMode = 0;
    decodeFlag = 2;
    window.on_playBtn_clicked();
    QTRY_COMPARE_WITH_TIMEOUT(playinglist.state, 0, 30000);
    QCOMPARE(addrlist[0].last_play_time, 60);
}

QTEST_MAIN(TestShortened)
#include "tst_shortened.moc"
