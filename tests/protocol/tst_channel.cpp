// What the window writes to the engine, and when.
#include "playerbench.h"

#include <QMouseEvent>
#include <QSlider>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QToolButton>

#include <algorithm>
#include <climits>

class TestChannel : public QObject {
    Q_OBJECT

private slots:
    void wholeSessionToTheByte();
    void wholeSessionWithMouseAndTimer();
    void pollsTwiceASecond_data();
    void pollsTwiceASecond();
    void pausedEngineIsNotPolled();
    void outputWhilePausedRestartsTheTimerOnly();
    void stepButtons();
    void stepButtonsWithoutAnEngine();
    void sliderDrag_data();
    void sliderDrag();
    void barSeeks_data();
    void barSeeks();
    void barSeekWhilePaused();
    void reportedPositionsAreNotEchoed();
    void newLengthDoesNotSeek();
    void unterminatedCommandsAreLeftAlone();
};

namespace {

QPoint handleCentre(const QSlider *slider)
{
    QStyleOptionSlider option;
    option.initFrom(slider);
    option.subControls = QStyle::SC_None;
    option.orientation = slider->orientation();
    option.minimum = slider->minimum();
    option.maximum = slider->maximum();
    option.sliderPosition = slider->sliderPosition();
    option.sliderValue = slider->value();
    option.state |= QStyle::State_Horizontal;
    return slider->style()
        ->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, slider)
        .center();
}

// With the button held, which a moved pointer alone would not have.
void moveHeld(QSlider *slider, const QPoint &point)
{
    QMouseEvent event(QEvent::MouseMove, point, Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(slider, &event);
}

QByteArray seekTo(int seconds) { return "seek " + QByteArray::number(seconds) + " 2"; }

} // namespace

// Nothing turns the event loop in between, so no poll comes but those made here.
void TestChannel::wholeSessionToTheByte()
{
    PlayerBench bench(2);
    bench.engine.setSilent();
    addrlist[0].last_play_time = 100;
    lastTimePlayFlag = true;
    TestWindow &window = bench.open();
    bench.play(0);
    bench.poll();
    QVERIFY(bench.engine.waitForInput(pollPair));
    window.processTimer->stop();
    const QByteArray before = bench.engine.input();

    window.on_backwardBtn_clicked();
    window.on_forwardBtn_clicked();
    bench.poll();
    window.ui->processSlider->setValue(40);
    window.processSliderPressed();
    window.on_playBtn_clicked(); // pauses
    bench.poll();
    window.on_backwardBtn_clicked();
    window.processSliderPressed();
    window.processSliderPressed(70);
    window.on_playBtn_clicked(); // plays on
    bench.poll();
    bench.poll();
    window.processSliderPressed(12);
    window.on_stopBtn_clicked();
    bench.poll(); // finds no engine

    QVERIFY(bench.engine.waitForInput("quit\n"));
    QVERIFY(before.startsWith("seek 95 2\nget_time_length\nget_time_pos\n"));
    QCOMPARE(bench.engine.input().mid(before.size()),
             QByteArray("seek -5 0\n"
                        "seek +5 0\n"
                        "get_time_length\nget_time_pos\n"
                        "seek 40 2\n"
                        "pause\n"
                        "seek -5 0\n"
                        "seek 40 2\npause\n"
                        "seek 70 2\npause\n"
                        "pause\n"
                        "get_time_length\nget_time_pos\n"
                        "get_time_length\nget_time_pos\n"
                        "seek 12 2\n"
                        "quit\n"));
    QTRY_VERIFY(bench.engine.last().inputClosed);
}

void TestChannel::wholeSessionWithMouseAndTimer()
{
    PlayerBench bench(1);
    TestWindow &window = bench.open(true);
    bench.engine.setLength("100.00");
    bench.engine.setPosition("30.4");
    const auto click = [](QWidget *button) { QTest::mouseClick(button, Qt::LeftButton); };
    click(window.ui->playBtn);
    QTRY_COMPARE(window.ui->processSlider->value(), 30);
    QTRY_COMPARE(window.ui->processSlider->maximum(), 100);

    const auto drag = [&](int distance) {
        QSlider *slider = window.ui->processSlider;
        const QPoint from = handleCentre(slider);
        QTest::mousePress(slider, Qt::LeftButton, {}, from);
        moveHeld(slider, from + QPoint(distance, 0));
        const int released = slider->value();
        QTest::mouseRelease(slider, Qt::LeftButton, {}, from + QPoint(distance, 0));
        return released;
    };
    const int first = drag(200);
    QVERIFY(first > 45 && first < 75);
    QVERIFY(bench.engine.waitForInput(seekTo(first) + '\n'));
    bench.engine.setPosition("60.0");
    QTRY_COMPARE_WITH_TIMEOUT(window.ui->processSlider->value(), 60, PlayerBench::patience);
    click(window.ui->playBtn); // pauses
    const int second = drag(-100);
    QVERIFY(second > 40 && second < 60);
    click(window.ui->forwardBtn);
    click(window.ui->playBtn); // plays on
    const int polls = bench.engine.input().count(pollPair);
    QVERIFY(bench.engine.waitForInputCount(pollPair, polls + 1));
    click(window.ui->backwardBtn);
    click(window.ui->stopBtn);
    QVERIFY(bench.engine.waitForInput("quit\n"));

    const QByteArrayList expected{"polls",    seekTo(30), seekTo(first),  "polls", "pause",
                                  seekTo(60), "pause",    seekTo(second), "pause", "seek +5 0",
                                  "pause",    "polls",    "seek -5 0",    "quit"};
    QCOMPARE(withoutPolls(bench.engine.input()), expected);
}

void TestChannel::pollsTwiceASecond_data()
{
    QTest::addColumn<bool>("answers");
    QTest::newRow("silent engine") << false;
    QTest::newRow("answering engine") << true; // each answer starts the timer anew
}

// A busy machine can only make polls late, and seldom half of them.
void TestChannel::pollsTwiceASecond()
{
    QFETCH(bool, answers);
    PlayerBench bench(1);
    if (!answers)
        bench.engine.setSilent();
    bench.open();
    bench.play(0);
    qint64 median = 0;
    for (int round = 1; round <= 6; round++) {
        QVERIFY(bench.engine.waitForInputCount(pollPair, 6 * round, PlayerBench::patience));
        const QList<StandInEngine::Piece> pieces = bench.engine.last().pieces;
        QList<qint64> gaps;
        for (int i = qMax(1, pieces.size() - 6); i < pieces.size(); i++) {
            QCOMPARE(pieces.at(i).bytes, pollPair); // both at once
            gaps << pieces.at(i).at - pieces.at(i - 1).at;
        }
        std::sort(gaps.begin(), gaps.end());
        median = gaps.value(gaps.size() / 2);
        if (median >= 400000 && median <= 600000)
            break;
    }
    QVERIFY2(median >= 400000 && median <= 600000, qPrintable(QString::number(median)));
}

void TestChannel::pausedEngineIsNotPolled()
{
    PlayerBench bench(1);
    bench.engine.setSilent();
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.engine.waitForInput(pollPair));
    window.on_playBtn_clicked();
    QVERIFY(bench.engine.waitForInput("pause\n"));
    QVERIFY(!window.processTimer->isActive());
    QTest::qWait(1100); // two polls
    window.on_playBtn_clicked();
    QVERIFY(bench.engine.waitForInputCount("pause\n", 2));
    QVERIFY(bench.engine.input().contains("pause\npause\n"));
}

void TestChannel::outputWhilePausedRestartsTheTimerOnly()
{
    PlayerBench bench(1);
    bench.engine.setSilent();
    bench.engine.on("pause", EngineAction::print("chatter\n"), 1);
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.engine.waitForInput(pollPair));
    window.on_playBtn_clicked();
    QVERIFY(!window.processTimer->isActive());
    QTRY_VERIFY(window.processTimer->isActive());
    QCOMPARE(window.processTimer->interval(), 500);
    for (int i = 0; i < 3; i++)
        bench.poll();
    QVERIFY(window.processTimer->isActive());
    window.on_playBtn_clicked();
    QVERIFY(bench.engine.waitForInputCount("pause\n", 2));
    QVERIFY(bench.engine.input().contains("pause\npause\n"));
}

void TestChannel::stepButtons()
{
    PlayerBench bench(1);
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.engine.waitForInput(pollPair));
    for (QToolButton *button : {window.ui->backwardBtn, window.ui->forwardBtn}) {
        window.ui->playBtn->setIcon(QIcon());
        button->click();
        QVERIFY(sameIcon(window.ui->playBtn->icon(), ":/image/controlicon/pause.png"));
    }
    window.on_playBtn_clicked();
    for (QToolButton *button : {window.ui->backwardBtn, window.ui->forwardBtn}) {
        button->click(); // the engine plays on, the button doesn't tell: intended
        QVERIFY(sameIcon(window.ui->playBtn->icon(), ":/image/controlicon/play.png"));
    }
    QVERIFY(bench.engine.waitForInputCount("seek +5 0\n", 2));
    QCOMPARE(
        withoutPolls(bench.engine.input()),
        QByteArrayList({"polls", "seek -5 0", "seek +5 0", "pause", "seek -5 0", "seek +5 0"}));
}

void TestChannel::stepButtonsWithoutAnEngine()
{
    PlayerBench bench(1);
    TestWindow &window = bench.open();
    window.ui->backwardBtn->click();
    window.ui->forwardBtn->click();
    window.processSliderPressed();
    window.processSliderPressed(50);
    QVERIFY(sameIcon(window.ui->playBtn->icon(), ":/image/controlicon/play.png"));
    QVERIFY(bench.log.lines().filter("QIODevice").isEmpty());
    bench.play(0); // the lost commands stay lost
    QVERIFY(bench.engine.waitForInput(pollPair));
    QCOMPARE(withoutPolls(bench.engine.input()), QByteArrayList{"polls"});
}

void TestChannel::sliderDrag_data()
{
    QTest::addColumn<bool>("paused");
    QTest::newRow("playing") << false;
    QTest::newRow("paused") << true;
}

// A drag seeks to where the handle was grabbed and to where it was released.
void TestChannel::sliderDrag()
{
    QFETCH(bool, paused);
    PlayerBench bench(1);
    TestWindow &window = bench.open(true);
    bench.play(0);
    QVERIFY(bench.showsLength("200", 200));
    QVERIFY(bench.showsPosition("40", 40));
    if (paused)
        window.on_playBtn_clicked();
    QSlider *slider = window.ui->processSlider;
    const QPoint handle = handleCentre(slider);
    QTest::mousePress(slider, Qt::LeftButton, {}, handle);
    QVERIFY(slider->isSliderDown());
    QByteArrayList expected{seekTo(40)};
    if (paused)
        expected << "pause";
    const auto seeks = [&] {
        QByteArrayList sent = withoutPolls(bench.engine.input());
        sent.removeAll("polls");
        if (paused)
            sent.removeOne("pause"); // the one before the drag
        return sent;
    };
    QTRY_COMPARE(seeks(), expected);

    for (int step = 1; step <= 30; step++) // moving alone sends nothing
        moveHeld(slider, handle + QPoint(10 * step, 0));
    const int target = slider->value();
    QVERIFY2(target > 80 && target < 140, qPrintable(QString::number(target)));
    if (!paused) { // what is reported meanwhile does not move the handle
        bench.engine.setPosition("41");
        bench.poll();
        QTest::qWait(300);
        QCOMPARE(slider->value(), target);
        QCOMPARE(window.currentPosition, 40);
    }
    QCOMPARE(seeks(), expected);
    QTest::mouseRelease(slider, Qt::LeftButton, {}, handle + QPoint(300, 0));
    QVERIFY(!slider->isSliderDown());
    expected << seekTo(target);
    if (paused)
        expected << "pause";
    QTRY_COMPARE(seeks(), expected);
    window.on_stopBtn_clicked();
    QVERIFY(bench.engine.waitForInput("quit\n"));
    expected << "quit";
    QCOMPARE(seeks(), expected);
}

void TestChannel::barSeeks_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::addColumn<bool>("seeks");
    QTest::newRow("same") << 50 << 50 << false;
    QTest::newRow("one on") << 50 << 51 << false;
    QTest::newRow("one back") << 50 << 49 << false;
    QTest::newRow("two on") << 50 << 52 << true;
    QTest::newRow("two back") << 50 << 48 << true;
    QTest::newRow("start") << 50 << 0 << true;
    QTest::newRow("smallest") << INT_MAX << INT_MIN << true;
    QTest::newRow("largest") << -5 << INT_MAX << true;
}

void TestChannel::barSeeks()
{
    QFETCH(int, from);
    QFETCH(int, to);
    QFETCH(bool, seeks);
    PlayerBench bench(1);
    bench.engine.setSilent();
    TestWindow &window = bench.open();
    bench.play(0);
    window.currentPosition = from;
    emit window.fsvc->processSliderSignal(to);
    window.on_forwardBtn_clicked();
    QVERIFY(bench.engine.waitForInput("seek +5 0\n"));
    QCOMPARE(bench.engine.input().contains(seekTo(to) + "\nseek +5 0\n"), seeks);
    QCOMPARE(bench.engine.input().count("seek"), seeks ? 2 : 1);
    QVERIFY(!bench.engine.input().contains("pause"));
}

void TestChannel::barSeekWhilePaused()
{
    PlayerBench bench(1);
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.showsPosition("50", 50));
    window.on_playBtn_clicked();
    emit window.fsvc->processSliderSignal(51);
    emit window.fsvc->processSliderSignal(80);
    window.on_stopBtn_clicked();
    QVERIFY(bench.engine.waitForInput("quit\n"));
    QCOMPARE(withoutPolls(bench.engine.input()),
             QByteArrayList({"polls", "pause", "seek 80 2", "pause", "quit"}));
}

// The bar sends on what its slider is set to; only a person's choice may seek.
void TestChannel::reportedPositionsAreNotEchoed()
{
    PlayerBench bench(1);
    TestWindow &window = bench.open();
    window.fsvc->state = true; // as while it is shown
    bench.play(0);
    QVERIFY(bench.showsLength("100", 100));
    for (int seconds : {10, 12, 60, 3, 100, 0}) {
        QVERIFY(bench.showsPosition(QByteArray::number(seconds), seconds));
        QCOMPARE(window.fsvc->processSlider->value(), seconds);
    }
    window.fsvc->processSlider->setValue(70);
    window.on_stopBtn_clicked();
    QVERIFY(bench.engine.waitForInput("quit\n"));
    QCOMPARE(withoutPolls(bench.engine.input()), QByteArrayList({"polls", "seek 70 2", "quit"}));
}

// A shorter file clamps the bar's value, which must not be taken for a wish.
void TestChannel::newLengthDoesNotSeek()
{
    PlayerBench bench(1);
    TestWindow &window = bench.open();
    window.fsvc->state = true;
    bench.play(0);
    QVERIFY(bench.showsLength("100", 100));
    QVERIFY(bench.showsPosition("90", 90));
    bench.engine.setPosition("");
    QVERIFY(bench.showsLength("50", 50));
    QCOMPARE(window.fsvc->processSlider->maximum(), 50);
    QCOMPARE(window.fsvc->processSlider->value(), 50);
    QCOMPARE(window.currentPosition, 90);
    window.on_stopBtn_clicked();
    QVERIFY(bench.engine.waitForInput("quit\n"));
    QCOMPARE(withoutPolls(bench.engine.input()), QByteArrayList({"polls", "quit"}));
}

// Two commands have no line end of their own; the next command completes them.
void TestChannel::unterminatedCommandsAreLeftAlone()
{
    PlayerBench bench(1);
    bench.engine.setSilent();
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.engine.waitForInput(pollPair));
    window.processTimer->stop();
    const QByteArray before = bench.engine.input();
    window.on_snapShotBtn_clicked();
    window.on_playBtn_clicked();
    window.on_playBtn_clicked();
    window.on_snapShotBtn_clicked();
    bench.poll();
    window.on_stopBtn_clicked();
    QVERIFY(bench.engine.waitForInput("quit\n"));
    QCOMPARE(bench.engine.input().mid(before.size()),
             QByteArray("screenshot 0pause\npause\n"
                        "screenshot 0get_time_length\nget_time_pos\nquit\n"));
}

QTEST_MAIN(TestChannel)
#include "tst_channel.moc"
