// The full-screen control bar: every signal, and seeking.
#include "fullscreenbar.h"

#include "common.h"
#include "engine.h"
#include "enginebench.h"
#include "testsupport.h"

#include <QCursor>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionSlider>

class TestFullScreenVideoControlSignals : public QObject {
    Q_OBJECT

private slots:
    void init();

    void slotsEmit_data();
    void slotsEmit();
    void buttonsEmit_data();
    void buttonsEmit();
    void playIconFollowsPlayingState();
    void stopShowsPlayIcon();
    void slidersOfActivityRestartTimer();
    void voiceSliderEmits();
    void sliderPressEmitsNothing();

    void seekWritesEveryMove();
    void seekByRealDrag();
    void seekWithoutEngine();
    void valueChangesForwarded_data();
    void valueChangesForwarded();
    void valueChangeGuardComparesWithCurrentPosition();
};

void TestFullScreenVideoControlSignals::init()
{
    resetSharedState();
    QCursor::setPos(640, 700);
}

// Signals

void TestFullScreenVideoControlSignals::slotsEmit_data()
{
    QTest::addColumn<QString>("slot"); // a number in brackets is passed
    QTest::addColumn<QStringList>("emitted");
    QTest::addColumn<bool>("hides");

    const auto row = [](const char *slot, const QStringList &emitted, bool hides = false) {
        QTest::newRow(slot) << QString(slot) << emitted << hides;
    };
    row("playBtnClicked()", {"playBtnClickedSignal()"});
    row("forwardBtnClicked()", {"forwardSignal()"});
    row("backwardBtnClicked()", {"backwardSignal()"});
    row("voiceBtnClicked()", {"volumSignal(0)"});
    row("processSliderMoved(7)", {});
    row("stopBtnClicked()", {"stopSignal()"});
    row("fullScreenBtnClicked()", {"fullScreenSignal()"});
    row("processSliderPressed(7)", {"processSliderSignal(7)"});
    row("voiceSliderMoved(42)", {"volumSignal(42)"});
    row("voiceSliderMoved(0)", {"volumSignal(0)"});
    row("dataReceive()", {});
    row("speedBtnClicked()", {});
    row("recvChangeSpeed(125)", {"speedSetSignal(125)"}, true);
    row("recvChangeSpeed(-3)", {"speedSetSignal(-3)"}, true);
    row("openFileBtnTriggered()", {"openFileBtnSignal()"}, true);
    row("voiceDelayPlus()", {"voiceDelayPlusSignal()"});
    row("voiceDelayReduce()", {"voiceDelayReduceSignal()"});
    row("cancelAudioDelay()", {"cancelSubDelaySignal()"}); // crossed, intended
    row("setAudioDelay()", {"setAudioDelaySignal()"}, true);
    row("openSubTitleFile()", {"openSubTitleFileSignal()"}, true);
    row("subTitleDelayIncrease()", {"subTitleDelayIncreaseSignal()"});
    row("subTitleDelayReduce()", {"subTitleDelayReduceSignal()"});
    row("cancelSubDelay()", {"cancelSubDelaySignal()"});
    row("delSubTitle()", {"delSubTitleSignal()"});
    row("setSubDelay()", {"setSubDelaySignal()"}, true);
    row("subScalePlus()", {"subScalePlusSignal()"});
    row("subScaleReduce()", {"subScaleReduceSignal()"});
    row("subPosUp()", {"subPosUpSignal()"});
    row("subPosDown()", {"subPosDownSignal()"});
}

void TestFullScreenVideoControlSignals::slotsEmit()
{
    QFETCH(QString, slot);
    QFETCH(QStringList, emitted);
    QFETCH(bool, hides);

    Bar bar;
    showAsHost(bar);
    const bool speedSlot = slot == "speedBtnClicked()";
    if (!speedSlot)
        showSpeedWindow(bar);
    Emissions emissions(&bar);
    // A receiver that finds the bar still shown would open its dialog under it.
    bool hiddenWhenEmitted = true;
    const auto note = [&] { hiddenWhenEmitted = hiddenWhenEmitted && hidden(bar); };
    connect(&bar, &Bar::openFileBtnSignal, this, note);
    connect(&bar, &Bar::setAudioDelaySignal, this, note);
    connect(&bar, &Bar::openSubTitleFileSignal, this, note);
    connect(&bar, &Bar::setSubDelaySignal, this, note);
    connect(&bar, &Bar::speedSetSignal, this, note);

    const QByteArray name = slot.section('(', 0, 0).toLatin1();
    const QString argument = slot.section('(', 1).chopped(1);
    QVERIFY(argument.isEmpty()
                ? QMetaObject::invokeMethod(&bar, name)
                : QMetaObject::invokeMethod(&bar, name, Q_ARG(int, argument.toInt())));

    QCOMPARE(emissions.take(), emitted);
    QVERIFY(hiddenWhenEmitted);
    if (hides)
        QVERIFY(hidden(bar));
    else
        QVERIFY(shown(bar));
    QVERIFY(speedShown(bar)); // none of these closes the pop-up
}

void TestFullScreenVideoControlSignals::buttonsEmit_data()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<QStringList>("emitted");
    QTest::newRow("play") << 0 << QStringList{"playBtnClickedSignal()"};
    QTest::newRow("forward") << 1 << QStringList{"forwardSignal()"};
    QTest::newRow("backward") << 2 << QStringList{"backwardSignal()"};
    QTest::newRow("voice") << 3 << QStringList{"volumSignal(0)"};
    QTest::newRow("full screen") << 4 << QStringList{"fullScreenSignal()"};
    QTest::newRow("stop") << 5 << QStringList{"stopSignal()"};
    QTest::newRow("speed") << 6 << QStringList{};
}

void TestFullScreenVideoControlSignals::buttonsEmit()
{
    QFETCH(int, button);
    QFETCH(QStringList, emitted);
    Bar bar;
    showAsHost(bar);
    QPushButton *const all[] = {bar.playBtn,       bar.forwardBtn, bar.backwardBtn, bar.voiceBtn,
                                bar.fullScreenBtn, bar.stopBtn,    bar.speedBtn};
    Emissions emissions(&bar);
    QTest::mouseClick(all[button], Qt::LeftButton);
    QCOMPARE(emissions.take(), emitted);
    QVERIFY(shown(bar));
    QCOMPARE(speedShown(bar), all[button] == bar.speedBtn);
    QVERIFY(!bar.mouseClickedTimer->isActive());
}

void TestFullScreenVideoControlSignals::playIconFollowsPlayingState()
{
    Bar bar;
    Emissions emissions(&bar);
    playingState = true;
    bar.mouseClickedTimer->start(500);
    bar.mouseTimer->stop();
    bar.playBtnClicked();
    QVERIFY(sameIcon(bar.playBtn->icon(), playIcon));
    QVERIFY(!bar.mouseClickedTimer->isActive());
    QVERIFY(bar.mouseTimer->isActive());
    QCOMPARE(bar.mouseTimer->interval(), 5000);
    QCOMPARE(playingState, true);

    playingState = false;
    bar.playBtnClicked();
    QVERIFY(sameIcon(bar.playBtn->icon(), pauseIcon));
    QCOMPARE(playingState, false);
    QCOMPARE(emissions.take(), QStringList({"playBtnClickedSignal()", "playBtnClickedSignal()"}));
}

void TestFullScreenVideoControlSignals::stopShowsPlayIcon()
{
    Bar bar;
    QVERIFY(sameIcon(bar.playBtn->icon(), pauseIcon));
    bar.mouseTimer->stop();
    bar.stopBtnClicked();
    QVERIFY(sameIcon(bar.playBtn->icon(), playIcon));
    QVERIFY(!bar.mouseTimer->isActive()); // stopping is not counted as activity
}

void TestFullScreenVideoControlSignals::slidersOfActivityRestartTimer()
{
    Bar bar;
    const auto restarts = [&bar](auto action) {
        bar.mouseTimer->start(123456);
        action();
        return bar.mouseTimer->isActive() && bar.mouseTimer->interval() == 5000;
    };
    QVERIFY(restarts([&bar] { bar.playBtnClicked(); }));
    QVERIFY(restarts([&bar] { bar.voiceBtnClicked(); }));
    QVERIFY(restarts([&bar] { bar.voiceSliderMoved(5); }));
    QVERIFY(restarts([&bar] { bar.processSliderMoved(5); }));
    QVERIFY(!restarts([&bar] { bar.stopBtnClicked(); }));
    QVERIFY(!restarts([&bar] { bar.fullScreenBtnClicked(); }));
    QVERIFY(!restarts([&bar] { bar.forwardBtnClicked(); }));
    QVERIFY(!restarts([&bar] { bar.backwardBtnClicked(); }));
    QVERIFY(!restarts([&bar] { bar.speedBtnClicked(); }));
    QVERIFY(!restarts([&bar] { bar.processSliderPressed(5); }));
}

void TestFullScreenVideoControlSignals::voiceSliderEmits()
{
    Bar bar;
    Emissions emissions(&bar);
    bar.voiceSlider->setValue(31);
    bar.voiceSlider->setValue(31);
    bar.voiceSlider->setValue(0);
    bar.voiceSlider->setValue(120);
    QCOMPARE(emissions.take(),
             QStringList({"volumSignal(31)", "volumSignal(0)", "volumSignal(99)"}));
}

void TestFullScreenVideoControlSignals::sliderPressEmitsNothing()
{
    Bar bar;
    bar.state = true;
    bar.processSlider->setRange(0, 1000);
    bar.processSlider->setValue(500);
    Emissions emissions(&bar);
    QSignalSpy pressed(bar.processSlider, SIGNAL(sliderPressed()));
    bar.processSlider->setSliderDown(true);
    bar.processSlider->setSliderDown(false);
    QCOMPARE(pressed.count(), 1);
    QCOMPARE(emissions.take(), QStringList());
}

// Seeking

// A running engine, and all that it was sent.
class Recorded {
public:
    Recorded()
    {
        playinglist.process_mplayer = &process;
        process.start(engine.path(), QStringList());
    }
    ~Recorded() { playinglist.process_mplayer = nullptr; }

    bool isReady() const { return engine.waitForStarts(1); }
    QByteArray commands() const { return engine.input(); }
    QByteArray allCommands() // nothing can follow
    {
        process.closeWriteChannel();
        return QTest::qWaitFor([this] { return engine.last().inputClosed; }, 10000) ? commands()
                                                                                    : "unfinished";
    }

private:
    InstallRoot root;
    StandInEngine engine{root.path()};
    EngineProcess process;
};

void TestFullScreenVideoControlSignals::seekWritesEveryMove()
{
    Recorded engine;
    QVERIFY(engine.isReady());

    const LogCapture log;
    Bar bar;
    showAsHost(bar);
    Emissions emissions(&bar);
    bar.processSlider->setRange(0, 4000);
    bar.processSlider->setSliderDown(true);
    for (const int position : {1, 2, 77, 3600, 4000})
        bar.processSlider->setSliderPosition(position);
    bar.processSlider->setSliderDown(false);
    bar.processSliderMoved(-1);

    const QByteArray expected =
        "seek 1 2\nseek 2 2\nseek 77 2\nseek 3600 2\nseek 4000 2\nseek -1 2\n";
    QTRY_COMPARE(engine.commands(), expected);
    QVERIFY(log.contains("process slider moved  77"));
    QCOMPARE(log.lines().filter("process slider moved ").size(), 6);
    // The value changes with each move, too.
    QCOMPARE(emissions.take(),
             QStringList({"processSliderSignal(2)", "processSliderSignal(77)",
                          "processSliderSignal(3600)", "processSliderSignal(4000)"}));

    // A change by the program writes nothing.
    bar.processSlider->setValue(10);
    QCOMPARE(emissions.take(), QStringList{"processSliderSignal(10)"});
    QCOMPARE(engine.allCommands(), expected);
}

void TestFullScreenVideoControlSignals::seekByRealDrag()
{
    Recorded engine;
    QVERIFY(engine.isReady());

    Bar bar;
    showAsHost(bar);
    bar.processSlider->setRange(0, 1000);
    QSignalSpy moved(bar.processSlider, SIGNAL(sliderMoved(int)));
    QStyleOptionSlider option;
    option.initFrom(bar.processSlider);
    option.orientation = Qt::Horizontal;
    option.minimum = 0;
    option.maximum = 1000;
    const QRect handle = bar.processSlider->style()->subControlRect(
        QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, bar.processSlider);
    const QPoint start = handle.center();
    QTest::mousePress(bar.processSlider, Qt::LeftButton, Qt::NoModifier, start);
    for (const int distance : {200, 400, 600}) {
        const QPoint position = start + QPoint(distance, 0);
        QMouseEvent move(QEvent::MouseMove, position, bar.processSlider->mapToGlobal(position),
                         Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(bar.processSlider, &move);
    }
    QTest::mouseRelease(bar.processSlider, Qt::LeftButton, Qt::NoModifier, start + QPoint(600, 0));

    QCOMPARE(moved.count(), 3);
    QByteArray expected;
    for (const QList<QVariant> &arguments : moved)
        expected += "seek " + QByteArray::number(arguments.first().toInt()) + " 2\n";
    QVERIFY(moved.at(0).first().toInt() < moved.at(2).first().toInt());
    QCOMPARE(engine.allCommands(), expected);
}

void TestFullScreenVideoControlSignals::seekWithoutEngine()
{
    Bar bar;
    playinglist.process_mplayer = nullptr;
    bar.processSliderMoved(12);
    EngineProcess engine; // never started
    playinglist.process_mplayer = &engine;
    bar.processSliderMoved(12);
    QCOMPARE(engine.state(), QProcess::NotRunning);
    QVERIFY(bar.mouseTimer->isActive());
}

void TestFullScreenVideoControlSignals::valueChangesForwarded_data()
{
    QTest::addColumn<bool>("state");
    QTest::addColumn<int>("value");
    QTest::addColumn<bool>("forwarded");
    for (const int value : {-1, 0, 1})
        QTest::addRow("shown %d", value) << true << value << false;
    for (const int value : {2, 3, 7200, -2, INT_MAX, INT_MIN})
        QTest::addRow("shown %d", value) << true << value << true;
    for (const int value : {-2, -1, 0, 1, 2, 7200})
        QTest::addRow("not shown %d", value) << false << value << false;
}

void TestFullScreenVideoControlSignals::valueChangesForwarded()
{
    QFETCH(bool, state);
    QFETCH(int, value);
    QFETCH(bool, forwarded);
    const QStringList expected =
        forwarded ? QStringList{QString("processSliderSignal(%1)").arg(value)} : QStringList();

    Bar bar;
    bar.state = state;
    Emissions emissions(&bar);
    bar.processSliderPressed(value);
    QCOMPARE(emissions.take(), expected);

    // The same through the slider, as the main window moves it.
    bar.processSlider->setRange(INT_MIN, INT_MAX);
    bar.processSlider->blockSignals(true);
    bar.processSlider->setValue(5);
    bar.processSlider->blockSignals(false);
    emissions.take();
    bar.processSlider->setValue(value);
    QCOMPARE(emissions.take(), expected);
    QCOMPARE(bar.currentPosition, 0);
}

void TestFullScreenVideoControlSignals::valueChangeGuardComparesWithCurrentPosition()
{
    Bar bar;
    bar.state = true;
    bar.currentPosition = 50;
    Emissions emissions(&bar);
    for (int value = 47; value <= 53; ++value)
        bar.processSliderPressed(value);
    QCOMPARE(emissions.take(),
             QStringList({"processSliderSignal(47)", "processSliderSignal(48)",
                          "processSliderSignal(52)", "processSliderSignal(53)"}));
}

QTEST_MAIN(TestFullScreenVideoControlSignals)
#include "tst_fullscreenvideocontrl_signals.moc"
