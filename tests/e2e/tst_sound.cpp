// What is heard: the real engine plays a tone into a sound server of the test's own.
#include "clips.h"
#include "film.h"
#include "playerhands.h"
#include "soundbench.h"

#include <QElapsedTimer>
#include <QPushButton>
#include <QTest>

class TestSound : public QObject {
    Q_OBJECT

private slots:
    void volumeAndMute();
    void volumeOfANewFilm_data();
    void volumeOfANewFilm();
    void doubleSpeed();
    void halfSpeed();
};

namespace {

// The tone's level as soon as it satisfies the condition; the last one heard otherwise.
template <typename Condition> double levelWhen(const PrivatePulse &pulse, Condition condition)
{
    double level = -1;
    for (int i = 0; i < 40 && !(level >= 0 && condition(level)); ++i)
        level = PrivatePulse::level(pulse.record(300));
    return level;
}

QString number(double value) { return QString::number(value, 'g', 4); }

int shownSecond(const TestWindow &window)
{
    const QStringList fields = window.ui->currentTimeLabel->text().split(':');
    return fields.value(0).toInt() * 3600 + fields.value(1).toInt() * 60 + fields.value(2).toInt();
}

// How many seconds of the film the time label moves on in a second of real time.
double pace(const TestWindow &window)
{
    const auto moved = [&window](int from) {
        return QTest::qWaitFor([&] { return shownSecond(window) != from; }, 10000);
    };
    if (!moved(shownSecond(window)))
        return 0;
    const int from = shownSecond(window);
    QElapsedTimer clock;
    clock.start();
    QTest::qWait(5000); // what is measured
    if (!moved(shownSecond(window)))
        return 0;
    return (shownSecond(window) - from) * 1000.0 / double(clock.elapsed());
}

} // namespace

void TestSound::volumeAndMute()
{
    PrivatePulse pulse;
    if (!pulse.isRunning())
        QSKIP(pulse.missing());
    InstalledPlayer player;
    player.setConfig("[DEFAULT]\nfirst_start=0\ndefault_volum=80\ndecode_flag=0\n");
    QVERIFY(player.start({Clips::oneColour("red", 120, true)}));
    PlayerHands hands(player);
    QVERIFY(hands.takeHold());
    QTRY_COMPARE_WITH_TIMEOUT(pulse.streams(), 1, 20000);
    QVERIFY(player.waitForLog("volum is  80"));

    // A volume that is said to the engine counts from the first one on.
    Screen::key("Down");
    Screen::key("Up");
    QTRY_VERIFY_WITH_TIMEOUT(player.log().filter("volum is  80").size() >= 2, 15000);
    levelWhen(pulse, [](double level) { return level > 0.01; });
    QTest::qWait(1000); // the engine's own buffer
    const double loud = PrivatePulse::level(pulse.record(500));
    QVERIFY2(loud > 0.02, qPrintable(number(loud)));

    for (int i = 0; i < 30; ++i)
        Screen::key("Down");
    QVERIFY(player.waitForLog("volum is  20"));
    double low = levelWhen(pulse, [&](double level) { return level < loud * 0.6; });
    // The first quieter piece may still hold some of the louder sound: until it falls no more.
    double next = PrivatePulse::level(pulse.record(500));
    while (next < low * 0.8) {
        low = next;
        next = PrivatePulse::level(pulse.record(500));
    }
    QVERIFY2(low < loud * 0.6 && low > 0.0001, qPrintable(number(low) + " of " + number(loud)));

    hands.click(PlayerHands::Mute);
    const double mute = levelWhen(pulse, [](double level) { return level == 0; });
    QCOMPARE(mute, 0.0);
    hands.click(PlayerHands::Mute);
    const double back = levelWhen(pulse, [&](double level) { return level > low * 0.5; });
    QVERIFY2(back > low * 0.5 && back < loud * 0.6, qPrintable(number(back) + " " + number(low)));

    // The slider: the middle button goes to a place at once.
    Screen::click(hands.at(QPoint(550 + 68, 526)), 2);
    const double high = levelWhen(pulse, [&](double level) { return level > loud * 0.7; });
    QVERIFY2(high > loud * 0.7, qPrintable(number(high) + " of " + number(loud)));
    Screen::click(hands.at(QPoint(551, 526)), 2);
    QCOMPARE(levelWhen(pulse, [](double level) { return level == 0; }), 0.0);
    QVERIFY(player.waitForLog("volum is  0"));
    player.close();
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
    QCOMPARE(player.setting("default_volum"), QStringLiteral("0"));
}

void TestSound::volumeOfANewFilm_data()
{
    QTest::addColumn<bool>("remembers"); // the sound server gives each program its last volume
    QTest::newRow("a server that forgets") << false;
    QTest::newRow("a server that remembers") << true;
}

// What the slider shows is heard, without a move of it and without a command; muted is muted.
void TestSound::volumeOfANewFilm()
{
    QFETCH(bool, remembers);
    PrivatePulse pulse;
    QVERIFY(pulse.isRunning());
    if (remembers)
        QVERIFY(pulse.load("module-stream-restore"));
    // Not by the macros, which count their looks and not the time these take.
    const auto comesTo = [&pulse](int percent) {
        return QTest::qWaitFor([&] { return pulse.volume() == percent; }, 20000);
    };
    Film film(Clips::oneColour("red", 120, true));
    TestWindow *window = film.window.data();
    QVERIFY2(comesTo(30), qPrintable(number(pulse.volume()))); // as the slider is at the start

    window->ui->volumSlider->setValue(72);
    QVERIFY2(comesTo(72), qPrintable(number(pulse.volume())));
    window->on_stopBtn_clicked();
    QTRY_COMPARE(pulse.streams(), 0);
    LogCapture log;
    window->openAndDragFile(Clips::oneColour("blue", 120, true));
    QVERIFY2(comesTo(72), qPrintable(number(pulse.volume())));
    QVERIFY(film.playsOn());
    QCOMPARE(pulse.volume(), 72);
    QVERIFY(levelWhen(pulse, [](double level) { return level > 0.01; }) > 0.01);
    QVERIFY(!log.contains("volum is "));

    window->on_volumBtn_clicked();
    window->on_stopBtn_clicked();
    QTRY_COMPARE(pulse.streams(), 0);
    window->on_playBtn_clicked();
    QVERIFY(film.playsOn());
    QTRY_COMPARE(pulse.streams(), 1);
    QCOMPARE(levelWhen(pulse, [](double level) { return level == 0; }), 0.0);
    window->on_volumBtn_clicked();
    QVERIFY2(comesTo(72), qPrintable(number(pulse.volume())));
    QVERIFY(levelWhen(pulse, [](double level) { return level > 0.01; }) > 0.01);
}

// The six buttons of the pop-up are the real ones; what moves is the time label.
void TestSound::doubleSpeed()
{
    PrivatePulse pulse;
    if (!pulse.isRunning())
        QSKIP(pulse.missing());
    Film film(Clips::oneColour("red", 120, true));
    QTRY_COMPARE_WITH_TIMEOUT(pulse.streams(), 1, 20000);
    const double usual = pace(*film.window);
    QVERIFY2(usual > 0.85 && usual < 1.15, qPrintable(number(usual)));
    film.window->sw->speed200->click();
    QCOMPARE(film.window->ui->speedSetBtn->text(), QStringLiteral("2.0x"));
    const double doubled = pace(*film.window);
    QVERIFY2(doubled > 1.7 * usual && doubled < 2.3 * usual, qPrintable(number(doubled)));
    film.window->sw->speed100->click();
    const double again = pace(*film.window);
    QVERIFY2(again > 0.85 && again < 1.15, qPrintable(number(again)));
    film.window->close();
    QTRY_COMPARE(pulse.streams(), 0);
}

void TestSound::halfSpeed()
{
    PrivatePulse pulse;
    if (!pulse.isRunning())
        QSKIP(pulse.missing());
    Film film(Clips::oneColour("red", 120, true));
    QTRY_COMPARE_WITH_TIMEOUT(pulse.streams(), 1, 20000);
    film.window->sw->speed050->click();
    const double halved = pace(*film.window);
    QVERIFY2(halved > 0.4 && halved < 0.6, qPrintable(number(halved)));
    film.window->close();
}

QTEST_MAIN(TestSound)
#include "tst_sound.moc"
