// Clicks on the progress sliders of the window and of the bar, and what the engine is told.
#include "playerbench.h"

#include <QListWidget>
#include <QProxyStyle>
#include <QSlider>
#include <QStyleOptionSlider>
#include <QWheelEvent>
#include <QtTest>

namespace {

struct OpenSlider : QSlider {
    using QSlider::initStyleOption;
};

QRect handleOf(const QSlider *slider)
{
    QStyleOptionSlider option;
    (slider->*&OpenSlider::initStyleOption)(&option);
    return slider->style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle,
                                           slider);
}

// A point of the slider this far along it.
QPoint at(const QSlider *slider, double share)
{
    return {qRound(slider->width() * share), slider->height() / 2};
}

QByteArray seekTo(int seconds) { return "seek " + QByteArray::number(seconds) + " 2"; }

void moveHeld(QSlider *slider, const QPoint &point)
{
    QMouseEvent event(QEvent::MouseMove, point, slider->mapToGlobal(point), Qt::NoButton,
                      Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(slider, &event);
}

// Turned through the application, so that it goes on to what is below where it is not taken.
void turnWheel(QWidget *widget, int steps)
{
    const QPointF middle(widget->rect().center());
    QWheelEvent event(middle, widget->mapToGlobal(middle.toPoint()), QPoint(),
                      QPoint(0, 120 * steps), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                      false);
    QCoreApplication::sendEvent(widget, &event);
}

// A style that puts the handle under the pointer at any press, as desktops have.
class JumpingStyle : public QProxyStyle {
public:
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *data) const override
    {
        if (hint == SH_Slider_AbsoluteSetButtons)
            return Qt::LeftButton;
        return QProxyStyle::styleHint(hint, option, widget, data);
    }
};

} // namespace

class TestProgressClicks : public QObject {
    Q_OBJECT

private slots:
    void cleanup();
    void strayClicksWhilePaused();
    void clickBesideTheHandle_data();
    void clickBesideTheHandle();
    void dragFromBesideTheHandle();
    void pressOnTheHandleMovesNothing_data();
    void pressOnTheHandleMovesNothing();
    void nothingToMove();
    void otherButtonsAreQts();
    void volumeSlidersAreQts();
    void wheelOnTheWindow();
    void wheelOnTheBar();
    void clickOnTheBar_data();
    void clickOnTheBar();
    void reportWhileTheBarsHandleIsHeld();
    void dragOnTheBar();

private:
    // A film that plays, or was paused, at this second of length.
    void play(int second, int length, bool paused = false);
    QByteArrayList sent() const; // since then, without polls
    void showBar() const;

    JumpingStyle jumpingStyle;
    std::unique_ptr<PlayerBench> bench;
    QSlider *slider = nullptr; // the window's
    QSlider *barSlider = nullptr;
    int sentBefore = 0;
};

void TestProgressClicks::cleanup() { bench.reset(); }

void TestProgressClicks::play(int second, int length, bool paused)
{
    bench = std::make_unique<PlayerBench>(1);
    bench->open(true);
    lastTimePlayFlag = true;
    bench->play(0);
    QVERIFY(bench->showsLength(QByteArray::number(length), length));
    QVERIFY(bench->showsPosition(QByteArray::number(second), second));
    slider = bench->window->ui->processSlider;
    barSlider = bench->window->fsvc->processSlider;
    QCOMPARE(slider->value(), second);
    sentBefore = 0;
    if (paused) {
        bench->window->on_playBtn_clicked();
        QVERIFY(bench->engine.waitForInput("pause\n"));
    }
    sentBefore = bench->engine.input().size();
}

QByteArrayList TestProgressClicks::sent() const
{
    QByteArrayList commands = withoutPolls(bench->engine.input().mid(sentBefore));
    commands.removeAll("polls");
    return commands;
}

// As the window shows it, beside the window, so that both can be clicked.
void TestProgressClicks::showBar() const
{
    FullScreenVideoControl *bar = bench->window->fsvc;
    bar->setFixedSize(1280, 800);
    bar->state = true;
    bar->mouseTimer->start(FullScreenVideoControl::hideAfter);
    bar->show();
    QVERIFY(QTest::qWaitForWindowExposed(bar));
}

// What is stored at the stop is where the engine has gone.
void TestProgressClicks::strayClicksWhilePaused()
{
    play(108, 200, true);
    const QRect handle = handleOf(slider);
    int last = 0;
    QByteArrayList expected;
    for (int before : {40, 20, 60}) {
        QTest::mouseClick(slider, Qt::LeftButton, {}, handle.center() - QPoint(before, 0));
        last = slider->value();
        expected << seekTo(last) << "pause" << seekTo(last) << "pause";
    }
    QVERIFY2(last > 80 && last < 105, qPrintable(QString::number(last)));
    QTRY_COMPARE(sent(), expected);
    QCOMPARE(slider->value(), last);
    bench->window->on_stopBtn_clicked();
    QCOMPARE(addrlist[0].last_play_time, last);
}

void TestProgressClicks::clickBesideTheHandle_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<bool>("paused");
    QTest::addColumn<double>("share");
    for (int length : {3, 10, 200, 7200}) {
        for (bool paused : {false, true}) {
            for (double share : {0.0, 0.3, 0.62, 0.999})
                QTest::addRow("%d s, %s, at %g", length, paused ? "paused" : "playing", share)
                    << length << paused << share;
        }
    }
}

void TestProgressClicks::clickBesideTheHandle()
{
    QFETCH(int, length);
    QFETCH(bool, paused);
    QFETCH(double, share);
    play(length * 45 / 100, length, paused);
    const QPoint point = at(slider, share);
    QVERIFY(!handleOf(slider).contains(point));
    QSignalSpy values(slider, SIGNAL(valueChanged(int)));

    QTest::mousePress(slider, Qt::LeftButton, {}, point);
    const int value = slider->value();
    // No other second lies nearer.
    const double pixels = double(slider->width() - handleOf(slider).width()) / length;
    QVERIFY2(qAbs(handleOf(slider).center().x() - point.x()) <= pixels / 2 + 5,
             qPrintable(QString::number(value)));
    QVERIFY(slider->isSliderDown());
    QByteArrayList expected{seekTo(value)};
    if (paused)
        expected << "pause";
    QTRY_COMPARE(sent(), expected);
    QTest::mouseRelease(slider, Qt::LeftButton, {}, point);
    QVERIFY(!slider->isSliderDown());
    QTRY_COMPARE(sent(), expected + expected);
    QCOMPARE(slider->value(), value);
    QVERIFY(values.size() <= 1);
}

// The handle has come under the pointer and goes with it from there.
void TestProgressClicks::dragFromBesideTheHandle()
{
    play(100, 7200);
    const QPoint from = at(slider, 0.5);
    QTest::mousePress(slider, Qt::LeftButton, {}, from);
    const int first = slider->value();
    moveHeld(slider, from);
    QCOMPARE(slider->value(), first);
    const QRect grabbed = handleOf(slider);
    moveHeld(slider, from + QPoint(100, 0));
    QVERIFY(qAbs(handleOf(slider).x() - grabbed.x() - 100) <= 1);
    const int last = slider->value();
    QTest::mouseRelease(slider, Qt::LeftButton, {}, from + QPoint(100, 0));
    QTRY_COMPARE(sent(), QByteArrayList({seekTo(first), seekTo(last)}));
}

void TestProgressClicks::pressOnTheHandleMovesNothing_data()
{
    QTest::addColumn<bool>("jumping");
    QTest::newRow("usual style") << false;
    QTest::newRow("style that jumps") << true;
}

void TestProgressClicks::pressOnTheHandleMovesNothing()
{
    QFETCH(bool, jumping);
    play(3333, 7200);
    if (jumping)
        slider->setStyle(&jumpingStyle);
    const QRect handle = handleOf(slider);
    QSignalSpy values(slider, SIGNAL(valueChanged(int)));
    QSignalSpy moves(slider, SIGNAL(sliderMoved(int)));
    QByteArrayList expected;
    for (const QPoint &point : {handle.topLeft(), handle.center(), handle.bottomRight()}) {
        QTest::mousePress(slider, Qt::LeftButton, {}, point);
        QVERIFY(slider->isSliderDown());
        QTest::mouseRelease(slider, Qt::LeftButton, {}, point);
        QVERIFY(!slider->isSliderDown());
        expected << seekTo(3333) << seekTo(3333);
    }
    QCOMPARE(slider->value(), 3333);
    QCOMPARE(handleOf(slider), handle);
    QVERIFY(values.isEmpty() && moves.isEmpty());
    QTRY_COMPARE(sent(), expected);

    // Beside it such a style goes where the others go.
    QTest::mouseClick(slider, Qt::LeftButton, {}, handle.center() + QPoint(200, 0));
    QCOMPARE(values.size(), 1);
    QVERIFY(qAbs(handleOf(slider).center().x() - handle.center().x() - 200) <= 1);
}

// Without a length there is nowhere to go. The press goes on to the window.
void TestProgressClicks::nothingToMove()
{
    play(3, 10);
    slider->setRange(0, 0);
    QTest::mouseClick(slider, Qt::LeftButton, {}, at(slider, 0.7));
    QVERIFY(!slider->isSliderDown());
    QCOMPARE(slider->value(), 0);
    slider->setRange(0, 10);
    slider->setValue(3);
    slider->setEnabled(false);
    QTest::mouseClick(slider, Qt::LeftButton, {}, at(slider, 0.7));
    QCOMPARE(slider->value(), 3);
    slider->setEnabled(true);
    QTest::mousePress(slider, Qt::RightButton, {}, at(slider, 0.1));
    // Left while right is held.
    QMouseEvent both(QEvent::MouseButtonPress, at(slider, 0.7), Qt::LeftButton,
                     Qt::LeftButton | Qt::RightButton, Qt::NoModifier);
    QCoreApplication::sendEvent(slider, &both);
    QCOMPARE(slider->value(), 3);
    QVERIFY(!slider->isSliderDown());
    QCOMPARE(sent(), QByteArrayList());
}

void TestProgressClicks::otherButtonsAreQts()
{
    play(20, 200);
    QTest::mouseClick(slider, Qt::RightButton, {}, at(slider, 0.5));
    QCOMPARE(slider->value(), 20);
    QCOMPARE(sent(), QByteArrayList());
    QTest::mousePress(slider, Qt::MiddleButton, {}, at(slider, 0.5)); // goes there by itself
    QVERIFY(qAbs(slider->value() - 100) <= 1);
    QVERIFY(slider->isSliderDown());
    QTest::mouseRelease(slider, Qt::MiddleButton, {}, at(slider, 0.5));
    const QByteArray seek = seekTo(slider->value());
    QTRY_COMPARE(sent(), QByteArrayList({seek, seek}));
}

void TestProgressClicks::volumeSlidersAreQts()
{
    play(20, 200);
    for (QSlider *volume : {bench->window->ui->volumSlider, bench->window->fsvc->voiceSlider}) {
        volume->setValue(20);
        QTest::mouseClick(volume, Qt::LeftButton, {}, at(volume, 0.8));
        QCOMPARE(volume->value(), 30); // a page
        turnWheel(volume, 1);
        QVERIFY(volume->value() > 30);
    }
}

void TestProgressClicks::wheelOnTheWindow()
{
    play(108, 200, true);
    const int volume = bench->window->ui->volumSlider->value();
    for (int steps : {-1, -1, -1, 1, 5}) {
        turnWheel(slider, steps);
        QCOMPARE(slider->value(), 108);
    }
    QCOMPARE(bench->window->ui->volumSlider->value(), volume);
    QCOMPARE(barSlider->value(), 108);
    bench->window->on_stopBtn_clicked();
    QCOMPARE(addrlist[0].last_play_time, 108);
    QVERIFY(bench->engine.waitForInput("quit\n"));
    QCOMPARE(sent(), QByteArrayList{"quit"});
}

// There each change is a seek, whoever makes it.
void TestProgressClicks::wheelOnTheBar()
{
    play(108, 200);
    showBar();
    turnWheel(barSlider, -1);
    QVERIFY(barSlider->value() < 108);
    QTRY_COMPARE(sent(), QByteArrayList{seekTo(barSlider->value())});
}

void TestProgressClicks::clickOnTheBar_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<bool>("paused");
    for (int length : {20, 200, 7200}) {
        for (bool paused : {false, true})
            QTest::addRow("%d s, %s", length, paused ? "paused" : "playing") << length << paused;
    }
}

void TestProgressClicks::clickOnTheBar()
{
    QFETCH(int, length);
    QFETCH(bool, paused);
    play(length / 4, length, paused);
    showBar();
    QTest::mousePress(barSlider, Qt::LeftButton, {}, at(barSlider, 0.75));
    const int value = barSlider->value();
    QVERIFY(qAbs(value - length * 3 / 4) <= length / 100 + 1);
    QVERIFY(barSlider->isSliderDown());
    QTest::mouseRelease(barSlider, Qt::LeftButton, {}, at(barSlider, 0.75));
    QByteArrayList expected{seekTo(value)};
    if (paused)
        expected << "pause";
    bench->window->on_forwardBtn_clicked();
    expected << "seek +5 0"; // and nothing in between
    QTRY_COMPARE(sent(), expected);

    const QRect handle = handleOf(barSlider);
    QTest::mouseClick(barSlider, Qt::LeftButton, {}, handle.topLeft() + QPoint(1, 1));
    bench->window->on_forwardBtn_clicked();
    expected << "seek +5 0";
    QTRY_COMPARE(sent(), expected);
    QCOMPARE(handleOf(barSlider), handle);
}

// A click lasts a tenth of a second, and the engine tells its place twice a second.
void TestProgressClicks::reportWhileTheBarsHandleIsHeld()
{
    play(50, 200);
    showBar();
    QTest::mousePress(barSlider, Qt::LeftButton, {}, at(barSlider, 0.75));
    const int chosen = barSlider->value();
    QVERIFY(bench->showsPosition("51", 51)); // still from where it was
    QVERIFY(bench->showsPosition(QByteArray::number(chosen - 3), chosen - 3)); // a key frame
    QTest::mouseRelease(barSlider, Qt::LeftButton, {}, at(barSlider, 0.75));
    bench->window->on_forwardBtn_clicked();
    QTRY_COMPARE(sent(), QByteArrayList({seekTo(chosen), "seek +5 0"}));
}

void TestProgressClicks::dragOnTheBar()
{
    play(50, 200, true);
    showBar();
    QTest::mousePress(barSlider, Qt::LeftButton, {}, at(barSlider, 0.5));
    const int first = barSlider->value();
    moveHeld(barSlider, at(barSlider, 0.6));
    const int last = barSlider->value();
    QTest::mouseRelease(barSlider, Qt::LeftButton, {}, at(barSlider, 0.6));
    QVERIFY(last > first);
    // The drag is told twice: as a move by hand, and as a change.
    QTRY_COMPARE(sent(),
                 QByteArrayList({seekTo(first), "pause", seekTo(last), seekTo(last), "pause"}));
}

QTEST_MAIN(TestProgressClicks)
#include "tst_progressclicks.moc"
