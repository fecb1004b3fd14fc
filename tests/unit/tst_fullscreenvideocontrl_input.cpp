// The full-screen control bar: mouse, keyboard, focus and activation.
#include "fullscreenbar.h"

#include "common.h"
#include "testsupport.h"
#include "whenopen.h"

#include <QCursor>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>

namespace {

// Counts the moves of the pointer over a widget, taken or not.
class MoveCounter : public QObject {
public:
    explicit MoveCounter(const QWidget *widget)
        : watched(widget)
    {
        qApp->installEventFilter(this);
    }

    int count = 0;

    bool eventFilter(QObject *receiver, QEvent *event) override
    {
        count += receiver == watched && event->type() == QEvent::MouseMove;
        return false;
    }

private:
    const QWidget *watched;
};

} // namespace

class TestFullScreenVideoControlInput : public QObject {
    Q_OBJECT

private slots:
    void init();

    void singleClickTogglesAfterDelay();
    void doubleClickLeavesFullScreen();
    void pressPlaces();
    void pressThroughLabels();
    void rightPressOpensMenuOnly();
    void movesInsideAndAtTheBorder_data();
    void movesInsideAndAtTheBorder();
    void moveComparesWithParentGeometry();
    void moveShowsClock();
    void clockStaysInItsCorner();
    void pointerOverLabels();
    void pointerOverButtonsIsNotReported();
    void moveAndSpeedWindow();
    void moveOutsideHidesEvenOverSpeedButton();

    void altHides();
    void escapeInFullScreen();
    void escapeOutsideFullScreen();
    void otherKeysDoNothing();
    void everyKeyHidesSpeedWindow();

    void focusLoss();
    void deactivation();
    void filterPassesEverythingElse();
};

void TestFullScreenVideoControlInput::init()
{
    resetSharedState();
    QCursor::setPos(640, 700);
}

// Mouse

void TestFullScreenVideoControlInput::singleClickTogglesAfterDelay()
{
    Bar bar;
    showAsHost(bar);
    bar.mouseTimer->start(123456);
    Emissions emissions(&bar);
    QSignalSpy played(&bar, &Bar::playBtnClickedSignal);
    QElapsedTimer clock;
    clock.start();
    QTest::mouseClick(&bar, Qt::LeftButton, Qt::NoModifier, QPoint(640, 300));
    QVERIFY(bar.mouseClickedTimer->isActive());
    QCOMPARE(bar.mouseClickedTimer->interval(), 500);
    QCOMPARE(emissions.take(), QStringList());
    QVERIFY(played.wait(5000));
    QVERIFY(clock.elapsed() >= 450);
    QCOMPARE(emissions.take(), QStringList{"playBtnClickedSignal()"});
    QVERIFY(!bar.mouseClickedTimer->isActive());
    QCOMPARE(bar.mouseTimer->interval(), 5000);
    QVERIFY(shown(bar));
    QVERIFY(!played.wait(700)); // once only
}

void TestFullScreenVideoControlInput::doubleClickLeavesFullScreen()
{
    const LogCapture log;
    Bar bar;
    showAsHost(bar);
    Emissions emissions(&bar);
    const QPoint place(640, 300);
    QTest::mouseClick(&bar, Qt::LeftButton, Qt::NoModifier, place);
    QVERIFY(bar.mouseClickedTimer->isActive());
    QVERIFY(log.contains("mouse clicked"));
    QVERIFY(!log.contains("double clicked event top"));
    QTest::mouseDClick(&bar, Qt::LeftButton, Qt::NoModifier, place);
    QVERIFY(!bar.mouseClickedTimer->isActive());
    QVERIFY(log.contains("double clicked event top"));
    QCOMPARE(emissions.take(), QStringList{"fullScreenSignal()"});
    QSignalSpy played(&bar, &Bar::playBtnClickedSignal);
    QVERIFY(!played.wait(700));
}

void TestFullScreenVideoControlInput::pressPlaces()
{
    Bar bar;
    showAsHost(bar);
    const int edge = bar.processSlider->y();
    QVERIFY(edge > 100);
    const auto starts = [&bar](Qt::MouseButton button, int y) {
        bar.mouseClickedTimer->stop();
        QMouseEvent press(QEvent::MouseButtonPress, QPoint(3, y), bar.mapToGlobal(QPoint(3, y)),
                          button, button, Qt::NoModifier);
        QApplication::sendEvent(&bar, &press);
        const bool started = bar.mouseClickedTimer->isActive();
        bar.mouseClickedTimer->stop();
        return started;
    };
    QVERIFY(starts(Qt::LeftButton, 0));
    QVERIFY(starts(Qt::LeftButton, edge - 1));
    QVERIFY(!starts(Qt::LeftButton, edge));
    QVERIFY(!starts(Qt::LeftButton, edge + 1));
    QVERIFY(!starts(Qt::LeftButton, 799));
    QVERIFY(starts(Qt::MiddleButton, 300));
    QVERIFY(!starts(Qt::MiddleButton, edge));
    QVERIFY(!starts(Qt::RightButton, 300));

    // The right press is passed on, others are taken.
    for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton}) {
        QMouseEvent press(QEvent::MouseButtonPress, QPoint(3, 300), button, button, Qt::NoModifier);
        QApplication::sendEvent(&bar, &press);
        QCOMPARE(press.isAccepted(), button == Qt::LeftButton);
    }
}

void TestFullScreenVideoControlInput::pressThroughLabels()
{
    Bar bar;
    showAsHost(bar);
    for (QWidget *label : {bar.titleLabel, bar.blankLabel}) {
        bar.mouseClickedTimer->stop();
        QTest::mousePress(label, Qt::LeftButton, Qt::NoModifier, label->rect().center());
        QVERIFY(bar.mouseClickedTimer->isActive());
    }
    // A press on the slider itself is the slider's.
    bar.mouseClickedTimer->stop();
    QTest::mousePress(bar.processSlider, Qt::LeftButton, Qt::NoModifier, QPoint(300, 5));
    QVERIFY(!bar.mouseClickedTimer->isActive());
    QTest::mouseRelease(bar.processSlider, Qt::LeftButton, Qt::NoModifier, QPoint(300, 5));
}

void TestFullScreenVideoControlInput::rightPressOpensMenuOnly()
{
    const LogCapture log;
    Bar bar;
    showAsHost(bar);
    Emissions emissions(&bar);
    QString title;
    WhenPopup open([&title](QWidget *menu) {
        title = qobject_cast<QMenu *>(menu)->title();
        menu->close();
    });
    QTest::mouseClick(bar.windowHandle(), Qt::RightButton, Qt::NoModifier, QPoint(640, 300));
    QTRY_COMPARE(title, QString("rBtnContexMenu"));
    QVERIFY(!bar.mouseClickedTimer->isActive());
    QVERIFY(!log.contains("mouse clicked"));
    QVERIFY(shown(bar));
    QCOMPARE(emissions.take(), QStringList());
}

void TestFullScreenVideoControlInput::movesInsideAndAtTheBorder_data()
{
    QTest::addColumn<QPoint>("position");
    QTest::addColumn<bool>("inside");
    QTest::newRow("middle") << QPoint(640, 300) << true;
    QTest::newRow("left, 10") << QPoint(10, 300) << true;
    QTest::newRow("left, 9") << QPoint(9, 300) << false;
    QTest::newRow("right, 10") << QPoint(1270, 300) << true;
    QTest::newRow("right, 9") << QPoint(1271, 300) << false;
    QTest::newRow("top, 10") << QPoint(640, 10) << true;
    QTest::newRow("top, 9") << QPoint(640, 9) << false;
    QTest::newRow("bottom, 10") << QPoint(640, 790) << true;
    QTest::newRow("bottom, 9") << QPoint(640, 791) << false;
    QTest::newRow("corner") << QPoint(10, 10) << true;
    QTest::newRow("far corner") << QPoint(1270, 790) << true;
    QTest::newRow("origin") << QPoint(0, 0) << false;
}

void TestFullScreenVideoControlInput::movesInsideAndAtTheBorder()
{
    QFETCH(QPoint, position);
    QFETCH(bool, inside);
    for (const bool fullScreen : {false, true}) { // the mode is no matter
        fullScreenFlag = fullScreen;
        Bar bar;
        showAsHost(bar);
        bar.setCursor(Qt::BlankCursor);
        bar.mouseTimer->start(123456);
        showSpeedWindow(bar);
        Emissions emissions(&bar);
        moveMouse(bar, position);
        QVERIFY(speedHidden(bar));
        QCOMPARE(emissions.take(), QStringList());
        if (inside) {
            QVERIFY(shown(bar));
            QCOMPARE(bar.cursor().shape(), Qt::ArrowCursor);
            QCOMPARE(bar.mouseTimer->interval(), 5000);
        } else {
            QVERIFY(hidden(bar));
            QCOMPARE(bar.cursor().shape(), Qt::BlankCursor);
            QCOMPARE(bar.mouseTimer->interval(), 123456);
        }
    }
}

void TestFullScreenVideoControlInput::moveComparesWithParentGeometry()
{
    Bar bar;
    showAsHost(bar);
    bar.setFixedSize(600, 400);
    bar.move(100, 50);
    QTRY_COMPARE(bar.geometry(), QRect(100, 50, 600, 400));
    const auto stays = [&bar](const QPoint &position) {
        bar.state = true;
        bar.show();
        moveMouse(bar, position);
        return shown(bar);
    };
    // The position counts from the bar's own corner, the limits from the screen's.
    QVERIFY(stays(QPoint(110, 60)));
    QVERIFY(!stays(QPoint(109, 60)));
    QVERIFY(!stays(QPoint(110, 59)));
    QVERIFY(!stays(QPoint(50, 200)));
    QVERIFY(stays(QPoint(690, 440)));
    QVERIFY(!stays(QPoint(691, 440)));
    QVERIFY(!stays(QPoint(690, 441)));
}

void TestFullScreenVideoControlInput::moveShowsClock()
{
    Bar bar;
    showAsHost(bar);
    QCOMPARE(bar.timeLabel->text(), QString());
    for (const QPoint &position : {QPoint(640, 300), QPoint(2, 2)}) { // inside and outside
        bar.timeLabel->clear();
        const QString before = QTime::currentTime().toString("hh:mm");
        moveMouse(bar, position);
        const QString after = QTime::currentTime().toString("hh:mm");
        QVERIFY(bar.timeLabel->text() == before || bar.timeLabel->text() == after);
        QCOMPARE(bar.timeLabel->text().size(), 5);
        QCOMPARE(bar.timeLabel->minimumWidth(), 50);
        QCOMPARE(bar.timeLabel->maximumWidth(), 50);
        QCOMPARE(bar.timeLabel->pos(), QPoint(0, 0));
        QCoreApplication::sendPostedEvents(); // the layout answers to the new text
        QCOMPARE(bar.timeLabel->pos(), QPoint(0, 0));
    }
}

void TestFullScreenVideoControlInput::clockStaysInItsCorner()
{
    Bar bar;
    showAsHost(bar);
    const auto settled = [&] {
        QCoreApplication::sendPostedEvents();
        return bar.timeLabel->pos();
    };
    moveMouse(bar, QPoint(640, 300));
    QCOMPARE(settled(), QPoint(0, 0));
    const QRect place = bar.timeLabel->geometry();
    moveMouse(bar, QPoint(650, 300));
    QCOMPARE(settled(), QPoint(0, 0));
    QCOMPARE(bar.timeLabel->geometry(), place);
    bar.titleLabel->setText("another film.mp4");
    QCOMPARE(settled(), QPoint(0, 0));
    bar.timeLabel->setText("00:00"); // a minute later
    QCOMPARE(settled(), QPoint(0, 0));
    bar.hideBar();
    bar.setFixedSize(1000, 700);
    showAsHost(bar);
    QCOMPARE(settled(), QPoint(0, 0));
}

// With the real pointer: the labels cover much of the bar and must not swallow its moves.
void TestFullScreenVideoControlInput::pointerOverLabels()
{
    Bar bar;
    showAsHost(bar);
    for (const QLabel *label : {bar.titleLabel, bar.blankLabel}) {
        bar.setCursor(Qt::BlankCursor);
        bar.mouseTimer->start(123456);
        const QPoint place = label->geometry().center();
        QVERIFY(QRect(20, 20, 1240, 760).contains(place));
        QCursor::setPos(place);
        QTRY_COMPARE(bar.cursor().shape(), Qt::ArrowCursor);
        QCOMPARE(bar.mouseTimer->interval(), 5000);
        QVERIFY(shown(bar));
    }
}

// Buttons and sliders keep the pointer to themselves: intended.
void TestFullScreenVideoControlInput::pointerOverButtonsIsNotReported()
{
    Bar bar;
    showAsHost(bar);
    for (QWidget *widget : QList<QWidget *>{bar.playBtn, bar.processSlider, bar.voiceSlider}) {
        bar.setCursor(Qt::BlankCursor);
        bar.mouseTimer->start(123456);
        MoveCounter counter(widget);
        const QPoint place = widget->geometry().center();
        QCursor::setPos(place);
        QTRY_VERIFY(counter.count > 0);
        const int before = counter.count;
        QCursor::setPos(place + QPoint(3, 3));
        QTRY_VERIFY(counter.count > before);
        QCOMPARE(bar.cursor().shape(), Qt::BlankCursor);
        QCOMPARE(bar.mouseTimer->interval(), 123456);
    }
}

void TestFullScreenVideoControlInput::moveAndSpeedWindow()
{
    Bar bar;
    showAsHost(bar);
    const QRect button = bar.speedBtn->geometry();
    const int right = button.x() + button.width();
    const int bottom = button.y() + button.height();
    const auto keeps = [&bar](const QPoint &position) {
        showSpeedWindow(bar);
        moveMouse(bar, position);
        return speedShown(bar) ? 1 : speedHidden(bar) ? 0 : -1;
    };
    QCOMPARE(keeps(button.center()), 1);
    QCOMPARE(keeps(QPoint(button.x() + 1, button.y() + 1)), 1);
    QCOMPARE(keeps(QPoint(right - 1, bottom - 1)), 1);
    QCOMPARE(keeps(QPoint(button.x(), button.center().y())), 0);
    QCOMPARE(keeps(QPoint(right, button.center().y())), 0);
    QCOMPARE(keeps(QPoint(button.center().x(), button.y())), 0);
    QCOMPARE(keeps(QPoint(button.center().x(), bottom)), 0);
    QCOMPARE(keeps(QPoint(640, 300)), 0);
    QVERIFY(shown(bar));
}

void TestFullScreenVideoControlInput::moveOutsideHidesEvenOverSpeedButton()
{
    Bar bar;
    showAsHost(bar);
    bar.move(5000, 0); // now every position inside the bar counts as outside
    showSpeedWindow(bar);
    moveMouse(bar, bar.speedBtn->geometry().center());
    QVERIFY(hidden(bar));
    QVERIFY(speedHidden(bar));
}

// Keyboard

void TestFullScreenVideoControlInput::altHides()
{
    for (const bool fullScreen : {false, true}) {
        fullScreenFlag = fullScreen;
        const LogCapture log;
        Bar bar;
        showAsHost(bar);
        showSpeedWindow(bar);
        Emissions emissions(&bar);
        QTest::keyPress(&bar, Qt::Key_Alt);
        QVERIFY(hidden(bar));
        QVERIFY(speedHidden(bar));
        QCOMPARE(emissions.take(), QStringList());
        QVERIFY(log.lines().contains(QString("key num: %1").arg(int(Qt::Key_Alt))));
    }
}

void TestFullScreenVideoControlInput::escapeInFullScreen()
{
    fullScreenFlag = true;
    const LogCapture log;
    Bar bar;
    showAsHost(bar);
    showSpeedWindow(bar);
    bar.mouseClickedTimer->start(500);
    Emissions emissions(&bar);
    QTest::keyPress(&bar, Qt::Key_Escape);
    QCOMPARE(emissions.take(), QStringList{"fullScreenSignal()"});
    QVERIFY(!bar.mouseClickedTimer->isActive());
    QVERIFY(speedHidden(bar));
    QVERIFY(shown(bar)); // hiding it is up to the main window
    QVERIFY(log.lines().contains(QString("key num: %1").arg(int(Qt::Key_Escape))));
}

void TestFullScreenVideoControlInput::escapeOutsideFullScreen()
{
    Bar bar;
    showAsHost(bar);
    showSpeedWindow(bar);
    bar.mouseClickedTimer->start(500);
    Emissions emissions(&bar);
    QTest::keyPress(&bar, Qt::Key_Escape);
    QCOMPARE(emissions.take(), QStringList());
    QVERIFY(bar.mouseClickedTimer->isActive());
    QVERIFY(shown(bar));
    QVERIFY(!bar.sw->isVisible());
    QCOMPARE(bar.sw->state, 1); // hidden only
}

void TestFullScreenVideoControlInput::otherKeysDoNothing()
{
    fullScreenFlag = true;
    playinglist.state = 1;
    Bar bar;
    showAsHost(bar);
    bar.mouseClickedTimer->start(123456);
    Emissions emissions(&bar);
    const LogCapture log;
    QStringList expected;
    const auto press = [&](int key, Qt::KeyboardModifiers modifiers) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QApplication::sendEvent(&bar, &event);
        expected << QString("key num: %1").arg(key);
    };
    const QMetaEnum keys = QMetaEnum::fromType<Qt::Key>();
    for (int i = 0; i < keys.keyCount(); ++i) {
        const int key = keys.value(i);
        // Tab and Backtab are the focus chain's.
        if (key == Qt::Key_Alt || key == Qt::Key_Escape || key == Qt::Key_Tab ||
            key == Qt::Key_Backtab)
            continue;
        press(key, Qt::NoModifier);
    }
    for (const int key : {Qt::Key_E, Qt::Key_R, Qt::Key_U, Qt::Key_D, Qt::Key_O, Qt::Key_Space})
        press(key, Qt::ControlModifier);
    press(Qt::Key_A, Qt::AltModifier);
    QVERIFY(expected.size() > 400);
    QCOMPARE(log.lines(), expected);
    QCOMPARE(emissions.take(), QStringList());
    QVERIFY(shown(bar));
    QVERIFY(bar.mouseClickedTimer->isActive());
}

void TestFullScreenVideoControlInput::everyKeyHidesSpeedWindow()
{
    Bar bar;
    showAsHost(bar);
    for (const int key : {Qt::Key_F5, Qt::Key_Space, Qt::Key_Control, Qt::Key_Left}) {
        showSpeedWindow(bar);
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(&bar, &event);
        QVERIFY(!bar.sw->isVisible());
        QCOMPARE(bar.sw->state, 1);
        QVERIFY(shown(bar));
    }
}

// Focus and activation

void TestFullScreenVideoControlInput::focusLoss()
{
    const LogCapture log;
    OpenBar bar;
    showAsHost(bar);
    QApplication::setActiveWindow(&bar);
    bar.playBtn->setFocus();
    QVERIFY(bar.playBtn->hasFocus());
    showSpeedWindow(bar);
    QFocusEvent lost(QEvent::FocusOut);
    bar.focusOutEvent(&lost);
    QVERIFY(shown(bar));
    QVERIFY(speedShown(bar));
    QCOMPARE(log.lines().filter("lose focus").size(), 1);

    bar.stopBtn->setFocus();
    QVERIFY(!bar.playBtn->hasFocus());
    bar.focusOutEvent(&lost);
    QVERIFY(hidden(bar));
    QVERIFY(speedHidden(bar));
    QCOMPARE(log.lines().filter("lose focus").size(), 2);
}

void TestFullScreenVideoControlInput::deactivation()
{
    Bar bar;
    showAsHost(bar);
    showSpeedWindow(bar);
    Emissions emissions(&bar);
    QEvent deactivated(QEvent::WindowDeactivate);
    QVERIFY(QApplication::sendEvent(&bar, &deactivated));
    QVERIFY(hidden(bar));
    QVERIFY(speedHidden(bar));
    QCOMPARE(emissions.take(), QStringList());

    QVERIFY(bar.eventFilter(&bar, &deactivated)); // consumed
}

void TestFullScreenVideoControlInput::filterPassesEverythingElse()
{
    Bar bar;
    showAsHost(bar);
    showSpeedWindow(bar);
    for (const QEvent::Type type : {QEvent::WindowActivate, QEvent::KeyPress, QEvent::MouseMove,
                                    QEvent::FocusOut, QEvent::Leave, QEvent::Hide, QEvent::Close,
                                    QEvent::ApplicationDeactivate, QEvent::ActivationChange}) {
        QEvent event(type);
        QVERIFY(!bar.eventFilter(&bar, &event));
    }
    QEvent deactivated(QEvent::WindowDeactivate);
    for (QObject *other : {static_cast<QObject *>(bar.playBtn), static_cast<QObject *>(bar.sw),
                           static_cast<QObject *>(qApp)})
        QVERIFY(!bar.eventFilter(other, &deactivated));
    QVERIFY(shown(bar));
    QVERIFY(speedShown(bar));
}

QTEST_MAIN(TestFullScreenVideoControlInput)
#include "tst_fullscreenvideocontrl_input.moc"
