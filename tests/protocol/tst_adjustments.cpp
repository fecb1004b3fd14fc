// Volume, mute, speed and the decode mode: what the user sees and every byte the engine is sent,
// with and without something playing.
#include "playerbench.h"

#include <QPushButton>
#include <QSettings>
#include <QToolButton>

class TestAdjustments : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup() { bench.reset(); }

    void volumeIcons_data();
    void volumeIcons();
    void volumeReachesTheEngine();
    void volumeNotSentWhenPaused();
    void sliderIsDebounced();
    void pressAndReleaseAreDirect();
    void muteAndBack();
    void muteWithNothingPlaying();
    void muteAtZero();
    void barVolume();
    void speeds_data();
    void speeds();
    void speedWithNothingPlaying();
    void speedButtonOpensThePopUp();
    void decodeChangeWhilePlaying();
    void decodeChangeWhilePaused();
    void decodeChangeWhileStopped();
    void decodeForthAndBackKeepsTheWorker();

private:
    QScopedPointer<PlayerBench> bench;
    TestWindow *window = nullptr;
};

void TestAdjustments::init()
{
    bench.reset(new PlayerBench);
    window = &bench->openFilm();
}

static bool shows(const QAbstractButton *button, const QString &name)
{
    return sameIcon(button->icon(), ":/image/controlicon/" + name + ".png");
}

void TestAdjustments::volumeIcons_data()
{
    QTest::addColumn<int>("volume");
    QTest::addColumn<QString>("icon");
    const struct {
        int volume;
        const char *icon;
    } rows[] = {{0, "mute"},  {1, "vol1"},  {24, "vol1"}, {25, "vol2"},
                {60, "vol2"}, {61, "vol3"}, {100, "vol3"}};
    for (const auto &row : rows)
        QTest::addRow("%d", row.volume) << row.volume << QString(row.icon);
}

void TestAdjustments::volumeIcons()
{
    QFETCH(int, volume);
    QFETCH(QString, icon);
    window->ui->volumSlider->setValue(volume);
    window->lastVol = 77;
    const QIcon barBefore = window->fsvc->voiceBtn->icon();
    window->volumSliderMoved();
    QCOMPARE(defaultVolum, volume);
    QVERIFY(shows(window->ui->volumBtn, icon));
    QCOMPARE(window->ui->volumSlider->toolTip(), "音量：" + QString::number(volume));
    QCOMPARE(muteFlag, volume == 0);
    QCOMPARE(window->lastVol, volume == 0 ? 10 : 77);
    // Mute always reaches the bar's button, a volume only while the bar is shown.
    if (volume == 0)
        QVERIFY(shows(window->fsvc->voiceBtn, "mute"));
    else
        QCOMPARE(window->fsvc->voiceBtn->icon().cacheKey(), barBefore.cacheKey());
    if (volume != 0) {
        QCOMPARE(window->ui->stateLabel->text(), "音量:" + QString::number(volume));
        QVERIFY(window->ui->stateLabel->isVisible());
        QCOMPARE(window->stateLabelTimer->interval(), 1000);
        window->fsvc->state = true;
        window->volumSliderMoved();
        QVERIFY(shows(window->fsvc->voiceBtn, icon));
    }
}

void TestAdjustments::volumeReachesTheEngine()
{
    QVERIFY(bench->playFilm());
    window->ui->volumSlider->setValue(55);
    QCOMPARE(bench->sent([&] { window->volumSliderMoved(); }), QByteArray("volume 55 2\n"));
    window->ui->volumSlider->setValue(0);
    QCOMPARE(bench->sent([&] { window->volumSliderMoved(); }), QByteArray("volume 0 2\n"));
}

void TestAdjustments::volumeNotSentWhenPaused()
{
    QVERIFY(bench->playFilm());
    window->on_playBtn_clicked();
    QCOMPARE(bench->sent([&] {
        window->volumSliderMoved();
        window->on_volumBtn_clicked();
        window->on_volumBtn_clicked();
    }),
             QByteArray());
}

void TestAdjustments::sliderIsDebounced()
{
    QVERIFY(bench->playFilm());
    const QByteArray input = bench->sent([&] {
        for (int volume = 31; volume <= 45; volume++)
            window->ui->volumSlider->setValue(volume);
        QCOMPARE(window->volumSliderTimer->interval(), 100);
        QVERIFY(window->volumSliderTimer->isActive());
        QCOMPARE(defaultVolum, 30);
        QTRY_VERIFY(!window->volumSliderTimer->isActive());
    });
    QCOMPARE(input, QByteArray("volume 45 2\n"));
    QCOMPARE(defaultVolum, 45);
}

void TestAdjustments::pressAndReleaseAreDirect()
{
    QVERIFY(bench->playFilm());
    QSlider *slider = window->ui->volumSlider;
    const QByteArray input = bench->sent([&] {
        slider->setSliderDown(true);
        slider->setSliderDown(false);
    });
    QCOMPARE(input, QByteArray("volume 30 2\nvolume 30 2\n"));
}

void TestAdjustments::muteAndBack()
{
    QVERIFY(bench->playFilm());
    window->ui->volumSlider->setValue(70);
    QTRY_VERIFY(!window->volumSliderTimer->isActive());
    QCOMPARE(bench->sent([&] { QTest::mouseClick(window->ui->volumBtn, Qt::LeftButton); }),
             QByteArray("mute 1\n"));
    QVERIFY(muteFlag);
    QCOMPARE(window->lastVol, 70);
    QVERIFY(shows(window->ui->volumBtn, "mute"));
    QVERIFY(shows(window->fsvc->voiceBtn, "mute"));
    QCOMPARE(bench->sent([&] { QTest::mouseClick(window->ui->volumBtn, Qt::LeftButton); }),
             QByteArray("volume 70 2\nmute 0\n"));
    QVERIFY(!muteFlag);
    QVERIFY(shows(window->ui->volumBtn, "vol3"));
}

void TestAdjustments::muteWithNothingPlaying()
{
    window->on_volumBtn_clicked();
    QVERIFY(muteFlag);
    window->on_volumBtn_clicked();
    QVERIFY(!muteFlag);
    QVERIFY(bench->engine.starts().isEmpty());
}

// Taking the mute away with the slider at zero mutes again and clears the flag all the same.
void TestAdjustments::muteAtZero()
{
    QVERIFY(bench->playFilm());
    window->ui->volumSlider->setValue(0);
    QTRY_VERIFY(!window->volumSliderTimer->isActive());
    QVERIFY(muteFlag);
    QCOMPARE(bench->sent([&] { window->on_volumBtn_clicked(); }),
             QByteArray("volume 0 2\nmute 0\n"));
    QVERIFY(!muteFlag);
    QVERIFY(shows(window->ui->volumBtn, "mute"));
}

// The bar's value is not used, only whether it is zero.
void TestAdjustments::barVolume()
{
    QVERIFY(bench->playFilm());
    QCOMPARE(bench->sent([&] { window->fsvc->voiceSlider->setValue(70); }),
             QByteArray("volume 30 2\n"));
    QCOMPARE(window->ui->volumSlider->value(), 30);
    QCOMPARE(bench->sent([&] { window->fsvc->voiceSlider->setValue(0); }), QByteArray("mute 1\n"));
    QCOMPARE(bench->sent([&] { emit window->fsvc->volumSignal(0); }),
             QByteArray("volume 30 2\nmute 0\n"));
}

void TestAdjustments::speeds_data()
{
    QTest::addColumn<int>("percent");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("command");
    QTest::newRow("50") << 50 << 0 << "0.5x" << QByteArray("speed_set 0.5\n");
    QTest::newRow("75") << 75 << 1 << "0.75x" << QByteArray("speed_set 0.75\n");
    QTest::newRow("100") << 100 << 2 << "倍速" << QByteArray("speed_set 1\n");
    QTest::newRow("125") << 125 << 3 << "1.25x" << QByteArray("speed_set 1.25\n");
    QTest::newRow("150") << 150 << 4 << "1.5x" << QByteArray("speed_set 1.5\n");
    QTest::newRow("200") << 200 << 5 << "2.0x" << QByteArray("speed_set 2\n");
    QTest::newRow("unknown") << 80 << 2 << "倍速" << QByteArray("speed_set 0.8\n");
}

void TestAdjustments::speeds()
{
    QFETCH(int, percent);
    QFETCH(int, code);
    QFETCH(QString, text);
    QFETCH(QByteArray, command);
    QVERIFY(bench->playFilm());
    LogCapture log;
    QCOMPARE(bench->sent([&] { emit window->sw->changeSpeed(percent); }), command);
    QCOMPARE(window->currentSpeed, code);
    QCOMPARE(window->ui->speedSetBtn->text(), text);
    QVERIFY(log.contains("speed is  "));
    window->on_playBtn_clicked(); // paused: sent all the same
    QCOMPARE(bench->sent([&] { emit window->fsvc->speedSetSignal(percent); }), command);
    window->on_stopBtn_clicked();
    QCOMPARE(window->currentSpeed, 2);
    QCOMPARE(window->ui->speedSetBtn->text(), QString("倍速"));
}

void TestAdjustments::speedWithNothingPlaying()
{
    window->recvChangeSpeed(200);
    QCOMPARE(window->currentSpeed, 5);
    QCOMPARE(window->ui->speedSetBtn->text(), QString("2.0x"));
    QVERIFY(bench->engine.starts().isEmpty());
}

void TestAdjustments::speedButtonOpensThePopUp()
{
    QCursor::setPos(700, 650);
    QTRY_COMPARE(QCursor::pos(), QPoint(700, 650));
    QTest::mouseClick(window->ui->speedSetBtn, Qt::LeftButton);
    QVERIFY(window->sw->isVisible());
    QCOMPARE(window->sw->pos(), QPoint(650, 240));
    QCOMPARE(window->sw->state, 1);
    QTest::mouseClick(window->ui->speedSetBtn, Qt::LeftButton);
    QVERIFY(!window->sw->isVisible());
    QCOMPARE(window->sw->state, 0);
}

static QString storedDecodeFlag(const InstallRoot &root)
{
    return QSettings(root.configFile(), QSettings::IniFormat)
        .value("/DEFAULT/decode_flag")
        .toString();
}

void TestAdjustments::decodeChangeWhilePlaying()
{
    QVERIFY(bench->playFilm());
    decodeFlag = 1;
    emit window->m_titleBar->decodeSetSignal();
    QCOMPARE(storedDecodeFlag(bench->root), QString("1"));
    QVERIFY(bench->engine.waitForStarts(2));
    QVERIFY(bench->engine.last().arguments.contains("threads=8"));
    QCOMPARE(bench->engine.runningEngines().size(), 1);
    // Without a line end: whatever is sent next ends it.
    QVERIFY(bench->engine.waitForInput("seek 40 2get_time_length\n"));
    QCOMPARE(window->curDecodeFlag, 1);
    QVERIFY(playingState);
    QCOMPARE(window->ui->stateLabel->text(), QString("当前解码模式：多线程软解"));
    QCOMPARE(window->stateLabelTimer->interval(), 2000);
    QVERIFY(window->ui->snapShotBtn->isEnabled());
    QCOMPARE(window->ui->snapShotBtn->toolTip(), QString("截图"));
    QVERIFY(window->snapThread->isRunning() && window->snapThread->runFlag);

    decodeFlag = 2;
    window->recvSetDecodeSignal();
    QVERIFY(bench->engine.waitForStarts(3));
    QVERIFY(bench->engine.last().arguments.contains("ffh264vdpau,ffhevcvdpau"));
    QVERIFY(!window->ui->snapShotBtn->isEnabled());
    QCOMPARE(window->ui->snapShotBtn->toolTip(), QString("请在软解模式下截图"));
    QCOMPARE(window->ui->snapShotBtn->accessibleName(), QString("请在软解模式下截图"));
    QCOMPARE(window->ui->stateLabel->text(), QString("当前解码模式：硬解"));
    QVERIFY(!window->snapThread->runFlag);
    QTRY_VERIFY(!window->snapThread->isRunning());

    decodeFlag = 0;
    window->recvSetDecodeSignal();
    QVERIFY(bench->engine.waitForStarts(4));
    QCOMPARE(window->ui->stateLabel->text(), QString("当前解码模式：软解"));
    QVERIFY(window->snapThread->isRunning());
    window->recvSetDecodeSignal(); // nothing changed: no restart
    QCOMPARE(bench->sent([] {}), QByteArray());
    QCOMPARE(bench->engine.starts().size(), 4);
}

void TestAdjustments::decodeChangeWhilePaused()
{
    QVERIFY(bench->playFilm());
    window->on_playBtn_clicked();
    decodeFlag = 1;
    QCOMPARE(bench->sent([&] { window->recvSetDecodeSignal(); }), QByteArray());
    QCOMPARE(bench->engine.starts().size(), 1);
    QCOMPARE(storedDecodeFlag(bench->root), QString("1"));
    QCOMPARE(window->curDecodeFlag, 0);
    QCOMPARE(window->ui->stateLabel->text(), QString("当前解码模式：多线程软解"));
}

// The mode in effect is only noted at a restart, so the next confirmation restarts once for
// nothing.
void TestAdjustments::decodeChangeWhileStopped()
{
    decodeFlag = 1;
    window->recvSetDecodeSignal();
    QCOMPARE(window->curDecodeFlag, 0);
    QVERIFY(bench->playFilm());
    QVERIFY(bench->engine.last().arguments.contains("threads=8"));
    window->recvSetDecodeSignal();
    QVERIFY(bench->engine.waitForStarts(2));
    QCOMPARE(window->curDecodeFlag, 1);
    window->recvSetDecodeSignal();
    QCOMPARE(bench->sent([] {}), QByteArray());
    QCOMPARE(bench->engine.starts().size(), 2);
}

void TestAdjustments::decodeForthAndBackKeepsTheWorker()
{
    QVERIFY(window->snapThread->isRunning());
    decodeFlag = 2;
    window->recvSetDecodeSignal();
    decodeFlag = 0;
    window->recvSetDecodeSignal();
    QVERIFY(window->snapThread->runFlag);
    // Longer than the worker's longest pause: it would have ended by now.
    QElapsedTimer clock;
    clock.start();
    QTRY_VERIFY(clock.elapsed() > 700);
    QVERIFY(window->snapThread->isRunning());
}

QTEST_MAIN(TestAdjustments)
#include "tst_adjustments.moc"
