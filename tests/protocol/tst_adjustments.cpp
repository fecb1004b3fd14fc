// Volume, mute, speed, delays, subtitles and the decode mode: what the user sees and every byte the
// engine is sent, with and without something playing.
#include "common.h"
#include "enginebench.h"
#include "engineprocess.h"
#include "testsupport.h"
#include "testwindow.h"
#include "whenopen.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QToolButton>
#include <QtTest>

#include <clocale>
#include <functional>

class TestAdjustments : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

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
    void audioDelaySteps();
    void audioDelayAbsolute();
    void subDelaySteps();
    void subDelayAbsolute();
    void delaysNeedPlayback_data();
    void delaysNeedPlayback();
    void delayDialogs();
    void subtitleFileIsLoaded();
    void subtitleNamesAreEscaped();
    void subtitleWithALineBreakIsRefused();
    void subtitleDialogCancelled();
    void subtitleRemoved();
    void subtitleScale();
    void subtitlePosition();
    void decodeChangeWhilePlaying();
    void decodeChangeWhilePaused();
    void decodeChangeWhileStopped();
    void decodeForthAndBackKeepsTheWorker();
    void delaysSurviveANewFile();
    void commaLocale();

private:
    void startWindow();
    void play();
    // The input that action causes, as the engine got it; other commands of the poll left out.
    QByteArray sent(const std::function<void()> &action);

    QScopedPointer<InstallRoot> root;
    QScopedPointer<StandInEngine> engine;
    QScopedPointer<TestWindow> window;
};

void TestAdjustments::init()
{
    resetSharedState();
    root.reset(new InstallRoot);
    defaultPlayPath = root->historyFile();
    screenShotPath = root->path() + "/shots/";
    QVERIFY(QDir().mkpath(screenShotPath));
    engine.reset(new StandInEngine(root->path()));
    engine->setLength("100.00");
    engine->setPosition("40.0");
    addrlist[0].addr = "/film.mp4";
    addrlist[0].label = "film.mp4";
    addrlist[0].type = 1;
    addrNum = 1;
    defaultVolum = 30;
    startWindow();
}

void TestAdjustments::cleanup()
{
    window.reset();
    engine.reset();
    root.reset();
}

void TestAdjustments::startWindow()
{
    window.reset(new TestWindow(nullptr));
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.data()));
    QTRY_COMPARE(window->ui->volumSlider->value(), defaultVolum);
    QTRY_VERIFY(!window->volumSliderTimer->isActive());
}

void TestAdjustments::play()
{
    window->on_playBtn_clicked();
    QVERIFY(engine->waitForStarts(1));
    QTRY_COMPARE(window->currentPosition, 40);
}

QByteArray TestAdjustments::sent(const std::function<void()> &action)
{
    static int mark = 0;
    // Ends what was sent before, so that the poll's commands stand apart.
    const QByteArray before = "# before " + QByteArray::number(++mark) + "\n";
    const QByteArray after = "# after " + QByteArray::number(mark) + "\n";
    writeToEngine(before);
    action();
    writeToEngine(after);
    if (!engine->waitForInput(after))
        return "nothing came through";
    QByteArray input = engine->input();
    input = input.mid(input.indexOf(before) + before.size());
    input.truncate(input.indexOf(after));
    return input.replace("get_time_length\n", "").replace("get_time_pos\n", "");
}

static QImage iconOf(const QAbstractButton *button)
{
    return button->icon().pixmap(25, 25).toImage();
}

static QImage picture(const QString &name)
{
    return QIcon(":/image/controlicon/" + name + ".png").pixmap(25, 25).toImage();
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
    const QImage barBefore = iconOf(window->fsvc->voiceBtn);
    window->volumSliderMoved();
    QCOMPARE(defaultVolum, volume);
    QCOMPARE(iconOf(window->ui->volumBtn), picture(icon));
    QCOMPARE(window->ui->volumSlider->toolTip(), "音量：" + QString::number(volume));
    QCOMPARE(muteFlag, volume == 0);
    QCOMPARE(window->lastVol, volume == 0 ? 10 : 77);
    // Mute always reaches the bar's button, a volume only while the bar is shown.
    QCOMPARE(iconOf(window->fsvc->voiceBtn), volume == 0 ? picture("mute") : barBefore);
    if (volume != 0) {
        QCOMPARE(window->ui->stateLabel->text(), "音量:" + QString::number(volume));
        QVERIFY(window->ui->stateLabel->isVisible());
        QCOMPARE(window->stateLabelTimer->interval(), 1000);
        window->fsvc->state = true;
        window->volumSliderMoved();
        QCOMPARE(iconOf(window->fsvc->voiceBtn), picture(icon));
    }
}

void TestAdjustments::volumeReachesTheEngine()
{
    play();
    window->ui->volumSlider->setValue(55);
    QCOMPARE(sent([&] { window->volumSliderMoved(); }), QByteArray("volume 55 2\n"));
    window->ui->volumSlider->setValue(0);
    QCOMPARE(sent([&] { window->volumSliderMoved(); }), QByteArray("volume 0 2\n"));
}

void TestAdjustments::volumeNotSentWhenPaused()
{
    play();
    window->on_playBtn_clicked();
    QCOMPARE(sent([&] {
                 window->volumSliderMoved();
                 window->on_volumBtn_clicked();
                 window->on_volumBtn_clicked();
             }),
             QByteArray());
}

void TestAdjustments::sliderIsDebounced()
{
    play();
    const QByteArray input = sent([&] {
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
    play();
    QSlider *slider = window->ui->volumSlider;
    const QByteArray input = sent([&] {
        slider->setSliderDown(true);
        slider->setSliderDown(false);
    });
    QCOMPARE(input, QByteArray("volume 30 2\nvolume 30 2\n"));
}

void TestAdjustments::muteAndBack()
{
    play();
    window->ui->volumSlider->setValue(70);
    QTRY_VERIFY(!window->volumSliderTimer->isActive());
    QCOMPARE(sent([&] { QTest::mouseClick(window->ui->volumBtn, Qt::LeftButton); }),
             QByteArray("mute 1\n"));
    QVERIFY(muteFlag);
    QCOMPARE(window->lastVol, 70);
    QCOMPARE(iconOf(window->ui->volumBtn), picture("mute"));
    QCOMPARE(iconOf(window->fsvc->voiceBtn), picture("mute"));
    QCOMPARE(sent([&] { QTest::mouseClick(window->ui->volumBtn, Qt::LeftButton); }),
             QByteArray("volume 70 2\nmute 0\n"));
    QVERIFY(!muteFlag);
    QCOMPARE(iconOf(window->ui->volumBtn), picture("vol3"));
}

void TestAdjustments::muteWithNothingPlaying()
{
    window->on_volumBtn_clicked();
    QVERIFY(muteFlag);
    window->on_volumBtn_clicked();
    QVERIFY(!muteFlag);
    QVERIFY(engine->starts().isEmpty());
}

// Taking the mute away with the slider at zero mutes again and clears the flag all the same.
void TestAdjustments::muteAtZero()
{
    play();
    window->ui->volumSlider->setValue(0);
    QTRY_VERIFY(!window->volumSliderTimer->isActive());
    QVERIFY(muteFlag);
    QCOMPARE(sent([&] { window->on_volumBtn_clicked(); }), QByteArray("volume 0 2\nmute 0\n"));
    QVERIFY(!muteFlag);
    QCOMPARE(iconOf(window->ui->volumBtn), picture("mute"));
}

// The bar's value is not used, only whether it is zero.
void TestAdjustments::barVolume()
{
    play();
    QCOMPARE(sent([&] { window->fsvc->voiceSlider->setValue(70); }), QByteArray("volume 30 2\n"));
    QCOMPARE(window->ui->volumSlider->value(), 30);
    QCOMPARE(sent([&] { window->fsvc->voiceSlider->setValue(0); }), QByteArray("mute 1\n"));
    QCOMPARE(sent([&] { emit window->fsvc->volumSignal(0); }), QByteArray("volume 30 2\nmute 0\n"));
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
    play();
    LogCapture log;
    QCOMPARE(sent([&] { emit window->sw->changeSpeed(percent); }), command);
    QCOMPARE(window->currentSpeed, code);
    QCOMPARE(window->ui->speedSetBtn->text(), text);
    QVERIFY(log.contains("speed is  "));
    window->on_playBtn_clicked(); // paused: sent all the same
    QCOMPARE(sent([&] { emit window->fsvc->speedSetSignal(percent); }), command);
    window->on_stopBtn_clicked();
    QCOMPARE(window->currentSpeed, 2);
    QCOMPARE(window->ui->speedSetBtn->text(), QString("倍速"));
}

void TestAdjustments::speedWithNothingPlaying()
{
    window->recvChangeSpeed(200);
    QCOMPARE(window->currentSpeed, 5);
    QCOMPARE(window->ui->speedSetBtn->text(), QString("2.0x"));
    QVERIFY(engine->starts().isEmpty());
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

void TestAdjustments::audioDelaySteps()
{
    play();
    QCOMPARE(sent([&] {
                 window->voiceDelayPlus();
                 window->voiceDelayPlus();
                 window->voiceDelayReduce();
             }),
             QByteArray("audio_delay  0.1\naudio_delay  0.1\naudio_delay  -0.1\n"));
    QCOMPARE(audioDelay, 0.1);
    QCOMPARE(sent([&] { window->cancelAudioDelay(); }), QByteArray("audio_delay -0.100000\n"));
    QCOMPARE(audioDelay, 0.0);
}

void TestAdjustments::audioDelayAbsolute()
{
    play();
    window->voiceDelayPlus();
    window->voiceDelayPlus();
    QCOMPARE(sent([&] { emit window->ads->setAudioDelaySignal(0.5); }),
             QByteArray("audio_delay -0.200000\naudio_delay 0.500000\n"));
    QCOMPARE(audioDelay, 0.5);
}

void TestAdjustments::subDelaySteps()
{
    play();
    QCOMPARE(sent([&] {
                 window->subTitleDelayIncrease();
                 window->subTitleDelayReduce();
             }),
             QByteArray());
    subTitleFlag = true;
    QCOMPARE(sent([&] {
                 window->subTitleDelayIncrease();
                 window->subTitleDelayIncrease();
                 window->subTitleDelayReduce();
             }),
             QByteArray("sub_delay 0.1\nsub_delay 0.1\nsub_delay -0.1\n"));
    QCOMPARE(subDelay, 0.1);
    subTitleFlag = false; // cancelling asks only for playback
    QCOMPARE(sent([&] { window->cancelSubDelay(); }), QByteArray("sub_delay -0.100000\n"));
    QCOMPARE(subDelay, 0.0);
}

void TestAdjustments::subDelayAbsolute()
{
    play();
    subDelay = 0.25;
    QCOMPARE(sent([&] { emit window->ads->setSubDelaySignal(-1.5); }),
             QByteArray("sub_delay -0.250000\nsub_delay -1.500000\n"));
    QCOMPARE(subDelay, -1.5);
}

void TestAdjustments::delaysNeedPlayback_data()
{
    QTest::addColumn<bool>("paused");
    QTest::newRow("nothing loaded") << false;
    QTest::newRow("paused") << true;
}

void TestAdjustments::delaysNeedPlayback()
{
    QFETCH(bool, paused);
    const auto everything = [&] {
        window->voiceDelayPlus();
        window->voiceDelayReduce();
        window->cancelAudioDelay();
        window->recvAudioDelaySignal(2);
        window->subTitleDelayIncrease();
        window->subTitleDelayReduce();
        window->cancelSubDelay();
        window->recvSubDelaySignal(2);
        window->delSubTitle();
        window->subScalePlus();
        window->subScaleReduce();
        window->subPosUp();
    };
    subTitleFlag = true;
    audioDelay = 0.5;
    subDelay = 0.25;
    if (paused) {
        play();
        window->on_playBtn_clicked();
        QCOMPARE(sent(everything), QByteArray());
    } else {
        everything();
        QVERIFY(engine->starts().isEmpty());
    }
    QCOMPARE(audioDelay, 0.5);
    QCOMPARE(subDelay, 0.25);
    QCOMPARE(window->subTitleScale, 3.0);
}

void TestAdjustments::delayDialogs()
{
    play();
    const QByteArray input = sent([&] {
        audioDelay = 0.3;
        WhenModal answer([&](QWidget *dialog) {
            QCOMPARE(dialog, window->ads);
            QCOMPARE(window->ads->currentDelay, 0.3);
            QCOMPARE(delayFlag, 0);
            QCOMPARE(window->ads->sbox->value(), 300);
            window->ads->sbox->setValue(-250);
            dialog->findChild<QPushButton *>("confirmBtn")->click();
        });
        window->setAudioDelay();
        QVERIFY(answer.happened());
    });
    QCOMPARE(input, QByteArray("audio_delay -0.300000\naudio_delay -0.250000\n"));
    QCOMPARE(audioDelay, -0.25);

    const QByteArray subInput = sent([&] {
        WhenModal answer([&](QWidget *dialog) {
            QCOMPARE(delayFlag, 1);
            QCOMPARE(window->ads->currentDelay, 0.0);
            window->ads->sbox->setValue(1000);
            dialog->findChild<QPushButton *>("confirmBtn")->click();
        });
        window->setSubDelay();
        QVERIFY(answer.happened());
    });
    QCOMPARE(subInput, QByteArray("sub_delay 0.000000\nsub_delay 1.000000\n"));
}

// Chooses name in the file dialog that opens next.
static std::function<void(QWidget *)> choose(const QString &name)
{
    return [name](QWidget *widget) {
        auto *dialog = qobject_cast<QFileDialog *>(widget);
        QVERIFY(dialog);
        QCOMPARE(dialog->windowTitle(), QString("选择本地文件"));
        QCOMPARE(dialog->nameFilters(),
                 QStringList({"字幕文件(*.srt *.ass *.ssa *.vtt)", "All(*)"}));
        QCOMPARE(dialog->directory().absolutePath(), QString("/home"));
        if (name.isEmpty()) {
            dialog->reject();
            return;
        }
        dialog->selectNameFilter("All(*)");
        dialog->findChild<QLineEdit *>("fileNameEdit")->setText(name);
        QMetaObject::invokeMethod(dialog, "accept");
    };
}

void TestAdjustments::subtitleFileIsLoaded()
{
    play();
    const QString name = root->path() + "/plain.srt";
    writeFile(name, "1\n");
    LogCapture log;
    const QByteArray input = sent([&] {
        WhenModal answer(choose(name));
        window->openSubTitleFile();
        QVERIFY(answer.happened());
    });
    QCOMPARE(input, "sub_load " + name.toUtf8() + "\nsub_visibility 1\nsub_select 1\n");
    QVERIFY(subTitleFlag);
    QVERIFY(log.contains("Input Filename: \"" + name + "\""));
}

void TestAdjustments::subtitleNamesAreEscaped()
{
    play();
    const QString name = root->path() + "/字 幕\\x.srt";
    writeFile(name, "1\n");
    const QByteArray input = sent([&] {
        WhenModal answer(choose(name));
        window->openSubTitleFile();
    });
    QByteArray escaped = name.toUtf8();
    escaped.replace("\\", "\\\\").replace(" ", "\\ ");
    QCOMPARE(input, "sub_load " + escaped + "\nsub_visibility 1\nsub_select 1\n");
}

void TestAdjustments::subtitleWithALineBreakIsRefused()
{
    play();
    const QString name = root->path() + "/x\nrun touch pwned.srt";
    writeFile(name, "1\n");
    LogCapture log;
    const QByteArray input = sent([&] {
        WhenModal answer([&](QWidget *widget) {
            auto *dialog = qobject_cast<QFileDialog *>(widget);
            dialog->selectNameFilter("All(*)");
            dialog->setDirectory(root->path());
            // A line edit takes no line break; selecting does.
            dialog->selectFile(name);
            QTRY_COMPARE(dialog->selectedFiles(), QStringList(name));
            QMetaObject::invokeMethod(dialog, "accept");
        });
        window->openSubTitleFile();
    });
    QCOMPARE(input, QByteArray());
    QVERIFY(!subTitleFlag);
}

void TestAdjustments::subtitleDialogCancelled()
{
    play();
    const QByteArray input = sent([&] {
        WhenModal answer(choose(QString()));
        window->openSubTitleFile();
        QVERIFY(answer.happened());
    });
    QCOMPARE(input, QByteArray());
    QVERIFY(!subTitleFlag);

    window->on_playBtn_clicked(); // paused: a chosen file does nothing either
    const QString name = root->path() + "/plain.srt";
    writeFile(name, "1\n");
    QCOMPARE(sent([&] {
                 WhenModal answer(choose(name));
                 window->openSubTitleFile();
             }),
             QByteArray());
    QVERIFY(!subTitleFlag);
}

void TestAdjustments::subtitleRemoved()
{
    play();
    subTitleFlag = true;
    subDelay = 1.5;
    QCOMPARE(sent([&] { window->delSubTitle(); }), QByteArray("sub_visibility 0\nsub_remove 0\n"));
    QCOMPARE(subDelay, 0.0);
    QVERIFY(subTitleFlag);
}

void TestAdjustments::subtitleScale()
{
    play();
    QCOMPARE(sent([&] { window->subScalePlus(); }), QByteArray("sub_scale 0.2\n"));
    QCOMPARE(window->subTitleScale, 3.2);
    QCOMPARE(sent([&] { window->subScaleReduce(); }), QByteArray("sub_scale -0.2\n"));
    QCOMPARE(window->subTitleScale, 3.0);
    window->subTitleScale = 14.9;
    window->subScalePlus();
    QCOMPARE(window->subTitleScale, 15.0);
    window->subTitleScale = 0.6;
    window->subScaleReduce();
    QCOMPARE(window->subTitleScale, 0.5);
}

void TestAdjustments::subtitlePosition()
{
    play();
    QCOMPARE(sent([&] {
                 window->subPosUp();
                 window->subPosDown();
             }),
             QByteArray("sub_pos -2\nsub_pos 2\n"));
    window->on_playBtn_clicked(); // paused: only down is sent
    QCOMPARE(sent([&] {
                 window->subPosUp();
                 window->subPosDown();
             }),
             QByteArray("sub_pos 2\n"));
}

static QString storedDecodeFlag(const InstallRoot &root)
{
    return QSettings(root.configFile(), QSettings::IniFormat)
        .value("/DEFAULT/decode_flag")
        .toString();
}

void TestAdjustments::decodeChangeWhilePlaying()
{
    play();
    decodeFlag = 1;
    emit window->m_titleBar->decodeSetSignal();
    QCOMPARE(storedDecodeFlag(*root), QString("1"));
    QVERIFY(engine->waitForStarts(2));
    QVERIFY(engine->last().arguments.contains("threads=8"));
    QCOMPARE(engine->runningEngines().size(), 1);
    // Without a line end: whatever is sent next ends it.
    QVERIFY(engine->waitForInput("seek 40 2get_time_length\n"));
    QCOMPARE(window->curDecodeFlag, 1);
    QVERIFY(playingState);
    QCOMPARE(window->ui->stateLabel->text(), QString("当前解码模式：多线程软解"));
    QCOMPARE(window->stateLabelTimer->interval(), 2000);
    QVERIFY(window->ui->snapShotBtn->isEnabled());
    QCOMPARE(window->ui->snapShotBtn->toolTip(), QString("截图"));
    QVERIFY(window->snapThread->isRunning() && window->snapThread->runFlag);

    decodeFlag = 2;
    window->recvSetDecodeSignal();
    QVERIFY(engine->waitForStarts(3));
    QVERIFY(engine->last().arguments.contains("ffh264vdpau,ffhevcvdpau"));
    QVERIFY(!window->ui->snapShotBtn->isEnabled());
    QCOMPARE(window->ui->snapShotBtn->toolTip(), QString("请在软解模式下截图"));
    QCOMPARE(window->ui->snapShotBtn->accessibleName(), QString("请在软解模式下截图"));
    QCOMPARE(window->ui->stateLabel->text(), QString("当前解码模式：硬解"));
    QVERIFY(!window->snapThread->runFlag);
    QTRY_VERIFY(!window->snapThread->isRunning());

    decodeFlag = 0;
    window->recvSetDecodeSignal();
    QVERIFY(engine->waitForStarts(4));
    QCOMPARE(window->ui->stateLabel->text(), QString("当前解码模式：软解"));
    QVERIFY(window->snapThread->isRunning());
    window->recvSetDecodeSignal(); // nothing changed: no restart
    QCOMPARE(sent([] {}), QByteArray());
    QCOMPARE(engine->starts().size(), 4);
}

void TestAdjustments::decodeChangeWhilePaused()
{
    play();
    window->on_playBtn_clicked();
    decodeFlag = 1;
    QCOMPARE(sent([&] { window->recvSetDecodeSignal(); }), QByteArray());
    QCOMPARE(engine->starts().size(), 1);
    QCOMPARE(storedDecodeFlag(*root), QString("1"));
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
    play();
    QVERIFY(engine->last().arguments.contains("threads=8"));
    window->recvSetDecodeSignal();
    QVERIFY(engine->waitForStarts(2));
    QCOMPARE(window->curDecodeFlag, 1);
    window->recvSetDecodeSignal();
    QCOMPARE(sent([] {}), QByteArray());
    QCOMPARE(engine->starts().size(), 2);
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

void TestAdjustments::delaysSurviveANewFile()
{
    play();
    window->voiceDelayPlus();
    subTitleFlag = true;
    window->on_stopBtn_clicked();
    window->on_playBtn_clicked();
    QVERIFY(engine->waitForStarts(2));
    QCOMPARE(audioDelay, 0.1);
    QVERIFY(subTitleFlag);
    QVERIFY(engine->waitForInput("get_time_pos\n"));
    QVERIFY(!engine->input().contains("delay"));
}

// The engine reads numbers with a dot only, whatever the user's locale writes.
void TestAdjustments::commaLocale()
{
    const char *comma = nullptr;
    for (const char *name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8"}) {
        if (!comma && setlocale(LC_ALL, name) && QByteArray(localeconv()->decimal_point) == ",")
            comma = name;
    }
    if (!comma) {
        setlocale(LC_ALL, "C.UTF-8");
        QLocale::setDefault(QLocale(QLocale::German));
    }
    play();
    QCOMPARE(sent([&] {
                 window->recvAudioDelaySignal(0.5);
                 window->recvSubDelaySignal(0.25);
                 window->recvChangeSpeed(150);
             }),
             QByteArray("audio_delay 0.000000\naudio_delay 0.500000\nsub_delay 0.000000\n"
                        "sub_delay 0.250000\nspeed_set 1.5\n"));
    setlocale(LC_ALL, "C.UTF-8");
    QLocale::setDefault(QLocale::c());
}

QTEST_MAIN(TestAdjustments)
#include "tst_adjustments.moc"
