// Which signal of which companion reaches the main window, and that each acts once.
#include "fullscreenbar.h"
#include "playerbench.h"
#include "whenopen.h"

#include <QFileDialog>
#include <QListWidgetItem>
#include <QSlider>
#include <QToolButton>
#include <QtTest>

class TestMainWindowWires : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void barSignalsActOnce_data();
    void barSignalsActOnce();
    void barOpensDialogsOnce_data();
    void barOpensDialogsOnce();
    void othersActOnce();
    void listActsOnce();
    void titleBarActsOnce();
    void barButtonsWithoutEffect();
    void stopFromTheBar();
    void fullScreenFromTheBar();
    void buttonsActOnce_data();
    void buttonsActOnce();
    void togglesActOnce();

private:
    void play();

    QScopedPointer<PlayerBench> bench;
    TestWindow *window = nullptr;
};

void TestMainWindowWires::init()
{
    bench.reset(new PlayerBench(2));
    window = &bench->open();
}

void TestMainWindowWires::cleanup() { bench.reset(); }

// The older entry, with an engine that tells nothing.
void TestMainWindowWires::play()
{
    bench->engine.setSilent();
    bench->play(0);
    QVERIFY(bench->engine.waitForStarts(1));
}

void TestMainWindowWires::barSignalsActOnce_data()
{
    QTest::addColumn<QString>("signal"); // a number in brackets is passed
    QTest::addColumn<QByteArray>("written");
    const auto row = [](const char *signal, const char *written) {
        QTest::newRow(signal) << QString(signal) << QByteArray(written);
    };
    row("processSliderSignal(2)", "seek 2 2\n");
    row("processSliderSignal(1)", "");
    row("playBtnClickedSignal()", "pause\n");
    row("forwardSignal()", "");
    row("backwardSignal()", "");
    row("volumSignal(0)", "mute 1\n");
    row("volumSignal(70)", "volume 0 2\n"); // the main window's own slider counts
    row("speedSetSignal(150)", "speed_set 1.5\n");
    row("voiceDelayPlusSignal()", "audio_delay  0.1\n");
    row("voiceDelayReduceSignal()", "audio_delay  -0.1\n");
    row("cancelAudioDelaySignal()", "audio_delay -0.500000\n");
    row("subTitleDelayIncreaseSignal()", "sub_delay 0.1\n");
    row("subTitleDelayReduceSignal()", "sub_delay -0.1\n");
    row("cancelSubDelaySignal()", "sub_delay -0.700000\n");
    row("delSubTitleSignal()", "sub_visibility 0\nsub_remove 0\n");
    row("subScalePlusSignal()", "sub_scale 0.2\n");
    row("subScaleReduceSignal()", "sub_scale -0.2\n");
    row("subPosUpSignal()", "sub_pos -2\n");
    row("subPosDownSignal()", "sub_pos 2\n");
    for (const char *unused :
         {"floatPlay()", "voiceSliderSignal(5)", "replaySignal()", "exitFullScreenSignal()"})
        row(unused, "");
}

void TestMainWindowWires::barSignalsActOnce()
{
    QFETCH(QString, signal);
    QFETCH(QByteArray, written);
    play();
    subTitleFlag = true;
    audioDelay = 0.5;
    subDelay = 0.7;
    const QByteArray name = signal.section('(', 0, 0).toLatin1();
    const QString argument = signal.section('(', 1).chopped(1);
    QCOMPARE(bench->sent([&] {
        QVERIFY(argument.isEmpty()
                    ? QMetaObject::invokeMethod(window->fsvc, name)
                    : QMetaObject::invokeMethod(window->fsvc, name, Q_ARG(int, argument.toInt())));
    }),
             written);
}

void TestMainWindowWires::barOpensDialogsOnce_data()
{
    QTest::addColumn<QString>("opened");
    QTest::newRow("openFileBtnSignal")
        << "视频文件(*.mp4 *.wmv *.avi *.flv *.rmvb *.mov *.mkv *.webm)";
    QTest::newRow("openSubTitleFileSignal") << "字幕文件(*.srt *.ass *.ssa *.vtt)";
    QTest::newRow("setAudioDelaySignal") << "delay 0";
    QTest::newRow("setSubDelaySignal") << "delay 1";
}

void TestMainWindowWires::barOpensDialogsOnce()
{
    QFETCH(QString, opened);
    play();
    subTitleFlag = true;
    QStringList dialogs;
    const WhenModal first([&](QWidget *dialog) {
        auto *files = qobject_cast<QFileDialog *>(dialog);
        dialogs << (files ? files->nameFilters().first() : QString("delay %1").arg(delayFlag));
        dialog->close();
        // A second one would open as soon as the first is closed.
        QTimer::singleShot(0, window, [&dialogs] {
            if (QWidget *second = QApplication::activeModalWidget()) {
                dialogs << "a second one";
                second->close();
            }
        });
    });
    QVERIFY(QMetaObject::invokeMethod(window->fsvc, QTest::currentDataTag()));
    QCOMPARE(dialogs, QStringList{opened});
}

// The sliders, the speeds and the delay dialogs.
void TestMainWindowWires::othersActOnce()
{
    play();
    window->ui->processSlider->setRange(0, 100);
    window->ui->processSlider->setValue(30);
    window->ui->volumSlider->setValue(70);
    QTRY_VERIFY(!window->volumSliderTimer->isActive());
    const auto sentBy = [this](QObject *sender, const char *signal,
                               QGenericArgument argument = QGenericArgument()) {
        return bench->sent([&] { QVERIFY(QMetaObject::invokeMethod(sender, signal, argument)); });
    };
    QSlider *place = window->ui->processSlider;
    QCOMPARE(sentBy(place, "sliderPressed"), QByteArray("seek 30 2\n"));
    QCOMPARE(sentBy(place, "sliderReleased"), QByteArray("seek 30 2\n"));
    QSlider *volume = window->ui->volumSlider;
    QCOMPARE(sentBy(volume, "sliderPressed"), QByteArray("volume 70 2\n"));
    QCOMPARE(sentBy(volume, "sliderReleased"), QByteArray("volume 70 2\n"));
    QCOMPARE(sentBy(window->sw, "changeSpeed", Q_ARG(int, 200)), QByteArray("speed_set 2\n"));
    QCOMPARE(sentBy(window->ads, "setAudioDelaySignal", Q_ARG(double, 0.3)),
             QByteArray("audio_delay 0.000000\naudio_delay 0.300000\n"));
    subTitleFlag = true;
    QCOMPARE(sentBy(window->ads, "setSubDelaySignal", Q_ARG(double, 0.4)),
             QByteArray("sub_delay 0.000000\nsub_delay 0.400000\n"));
}

// What the engine prints is read; a double click and the menu play a row, each by one new engine.
void TestMainWindowWires::listActsOnce()
{
    play();
    QListWidgetItem *newest = window->listWidget->item(0);
    window->listWidget->currentIndex = 0;
    emit window->listWidget->itemDoubleClicked(newest);
    QVERIFY(bench->engine.waitForStarts(2));
    QCOMPARE(bench->played(), QStringList({PlayerBench::address(0), PlayerBench::address(1)}));
    QVERIFY(bench->showsPosition("12.0", 12));
    window->listWidget->currentIndex = 1;
    emit window->listWidget->sig_play(window->listWidget->item(1));
    QVERIFY(bench->engine.waitForStarts(3));
    QCOMPARE(bench->lastPlayed(), PlayerBench::address(0));
    emit window->listWidget->removeAndStopSignal();
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(bench->engine.starts().size(), 3);
}

void TestMainWindowWires::titleBarActsOnce()
{
    int shows = 0; // the window is shown anew each time
    class Counter : public QObject {
    public:
        explicit Counter(int &count)
            : count(count)
        {
        }
        bool eventFilter(QObject *, QEvent *event) override
        {
            count += event->type() == QEvent::Show;
            return false;
        }
        int &count;
    } counter(shows);
    window->installEventFilter(&counter);
    for (const bool onTop : {true, false}) {
        shows = 0;
        emit window->m_titleBar->setWindowAlwaysOnTopSignal(onTop);
        QCOMPARE(bool(window->windowFlags() & Qt::WindowStaysOnTopHint), onTop);
        QCOMPARE(shows, 1);
    }
    decodeFlag = DecodeHardware;
    emit window->m_titleBar->decodeSetSignal();
    QCOMPARE(window->ui->snapShotBtn->toolTip(), QString("请在软解模式下截图"));
    emit window->snapThread->saveSnapShotSignal("/a.png");
    QCOMPARE(window->ui->stateLabel->text(), QString("截图已保存至/a.png"));
}

void TestMainWindowWires::barButtonsWithoutEffect()
{
    play();
    QCOMPARE(bench->sent([this] {
        window->fsvc->forwardBtn->click();
        window->fsvc->backwardBtn->click();
    }),
             QByteArray());
}

void TestMainWindowWires::stopFromTheBar()
{
    play();
    window->fsvc->stopBtn->click();
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(playingState, false);
    QCOMPARE(playinglist.process_mplayer->state(), QProcess::NotRunning);
}

void TestMainWindowWires::fullScreenFromTheBar()
{
    window->fsvc->fullScreenBtn->click(); // not in full screen: nothing to leave
    QVERIFY(!fullScreenFlag && window->isHidden());
    window->on_fullScreenBtn_clicked();
    QVERIFY(fullScreenFlag);
    emit window->fsvc->mouseHide();
    QCOMPARE(window->cursor().shape(), Qt::BlankCursor);
    window->fsvc->fullScreenBtn->click();
    QVERIFY(!fullScreenFlag);
    // The pointer is seen again at once, over the list and the title bar as well.
    QCOMPARE(window->cursor().shape(), Qt::ArrowCursor);
    QCOMPARE(window->listWidget->cursor().shape(), Qt::ArrowCursor);
}

void TestMainWindowWires::buttonsActOnce_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QByteArray>("written");
    QTest::newRow("play") << "playBtn" << QByteArray("pause\n");
    QTest::newRow("backward") << "backwardBtn" << QByteArray("seek -5 0\n");
    QTest::newRow("forward") << "forwardBtn" << QByteArray("seek +5 0\n");
    QTest::newRow("volume") << "volumBtn" << QByteArray("mute 1\n");
    QTest::newRow("screenshot") << "snapShotBtn" << QByteArray("screenshot 0");
}

// The form binds its slots by name; an explicit connection beside that would call them twice.
void TestMainWindowWires::buttonsActOnce()
{
    QFETCH(QString, button);
    QFETCH(QByteArray, written);
    play();
    window->ui->snapShotBtn->setEnabled(true);
    QCOMPARE(bench->sent([&] { window->findChild<QToolButton *>(button)->click(); }), written);
}

// Called twice, each of these would look as if nothing had happened.
void TestMainWindowWires::togglesActOnce()
{
    window->ui->hideListBtn->click();
    QVERIFY(window->listHideFlag);
    window->ui->speedSetBtn->click();
    QCOMPARE(window->sw->state, 1);
    QVERIFY(window->sw->isVisible());
    play();
    window->ui->stopBtn->click();
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(playinglist.process_mplayer->state(), QProcess::NotRunning);
}

QTEST_MAIN(TestMainWindowWires)
#include "tst_mainwindow_wires.moc"
