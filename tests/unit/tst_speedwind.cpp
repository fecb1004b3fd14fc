#include "screen.h"
#include "speedwind.h"
#include "testsupport.h"

#include <QCloseEvent>
#include <QPushButton>
#include <QSignalSpy>
#include <QToolTip>
#include <QVBoxLayout>
#include <QtTest>

namespace {
class OpenSpeedWind : public speedWind {
public:
    using speedWind::closeEvent;
    using speedWind::keyPressEvent;
};

struct Choice {
    QPushButton *speedWind::*button;
    void (speedWind::*slot)();
    const char *text;
    const char *toolTip;
    int percent;
};

// Top to bottom.
const Choice kChoices[] = {
    {&speedWind::speed200, &speedWind::speed200BtnClicked, "2.0x", "2.0倍速", 200},
    {&speedWind::speed150, &speedWind::speed150BtnClicked, "1.5x", "1.5倍速", 150},
    {&speedWind::speed125, &speedWind::speed125BtnClicked, "1.25x", "1.25倍速", 125},
    {&speedWind::speed100, &speedWind::speed100BtnClicked, "1.0x", "原倍速", 100},
    {&speedWind::speed075, &speedWind::speed075BtnClicked, "0.75x", "0.75倍速", 75},
    {&speedWind::speed050, &speedWind::speed050BtnClicked, "0.5x", "0.5倍速", 50},
};
constexpr int kChoiceCount = 6;

const QColor kMark(7, 158, 205);

QRect onScreen(const QWidget *widget)
{
    return QRect(widget->mapToGlobal(QPoint()), widget->size());
}

// Opened above the middle of the screen, where nothing shines through.
bool open(speedWind &pop, int code)
{
    Screen::moveMouse(QPoint(640, 700));
    if (!QTest::qWaitFor([] { return QCursor::pos() == QPoint(640, 700); }))
        return false;
    pop.setWindowOpacity(1);
    pop.toggleAtCursor(code);
    return QTest::qWaitForWindowExposed(&pop);
}

// The texts of the buttons that are seen to be marked.
QStringList marked(const speedWind &pop)
{
    QStringList texts;
    for (const Choice &choice : kChoices) {
        if (Screen::count(Screen::grab(onScreen(pop.*choice.button)), kMark, 10) > 20)
            texts << choice.text;
    }
    return texts;
}
} // namespace

class TestSpeedWind : public QObject {
    Q_OBJECT

private slots:
    void init();
    void windowAsBuilt();
    void buttonsInOrder();
    void slotChooses_data();
    void slotChooses();
    void clickChooses_data() { slotChooses_data(); }
    void clickChooses();
    void spaceOnTheFocusedButtonChooses();
    void openedAtTheCursor_data();
    void openedAtTheCursor();
    void focusFollowsTheSpeedCode_data();
    void focusFollowsTheSpeedCode();
    void secondPressHidesWithoutChoice();
    void deactivationHides();
    void everyOwnEventIsConsumed();
    void eventsOfOthersPass();
    void keyPressesOnItselfAreSwallowed();
    void keyPressEventHides();
    void closeHidesAndKeepsTheState();
    void closeEventDoesNothingElse();
    void dismissClears();
    void speedInForceIsMarked();
    void mouseOverIsSeen();
    void pressIsSeen();
    void toolTipsShow();
    void accessibleName();
};

void TestSpeedWind::init() { resetSharedState(); }

void TestSpeedWind::windowAsBuilt()
{
    speedWind pop;
    QCOMPARE(pop.windowFlags(),
             Qt::FramelessWindowHint | Qt::Tool | Qt::X11BypassWindowManagerHint);
    QVERIFY(qAbs(pop.windowOpacity() - 0.8) < 0.005);
    QCOMPARE(pop.minimumSize(), QSize(100, 400));
    QCOMPARE(pop.maximumSize(), QSize(100, 400));
    QCOMPARE(pop.size(), QSize(100, 400));
    QCOMPARE(pop.focusPolicy(), Qt::NoFocus);
    QCOMPARE(pop.state, 0);
    QCOMPARE(pop.speed, 0);
    QVERIFY(!pop.parentWidget());
    QVERIFY(pop.centerWidget && !pop.centerWidget->parentWidget());
    QVERIFY(!pop.centerWidget->isVisible());
    QVERIFY(pop.isHidden());

    QWidget owner;
    speedWind child(&owner);
    QCOMPARE(child.parentWidget(), &owner);
    QCOMPARE(child.windowFlags(),
             Qt::FramelessWindowHint | Qt::Tool | Qt::X11BypassWindowManagerHint);
}

void TestSpeedWind::buttonsInOrder()
{
    speedWind pop;
    QCOMPARE(pop.layout(), pop.vlayout);
    QCOMPARE(pop.vlayout->count(), kChoiceCount);
    QCOMPARE(pop.findChildren<QPushButton *>().size(), kChoiceCount);
    for (int i = 0; i < kChoiceCount; ++i) {
        QPushButton *button = pop.*kChoices[i].button;
        QCOMPARE(pop.vlayout->itemAt(i)->widget(), button);
        QCOMPARE(button->text(), QString(kChoices[i].text));
        QCOMPARE(button->toolTip(), QString(kChoices[i].toolTip));
        QVERIFY(button->isFlat());
        QCOMPARE(button->parentWidget(), &pop);
    }
    pop.show();
    QVERIFY(QTest::qWaitForWindowExposed(&pop));
    int bottom = 0;
    for (const Choice &choice : kChoices) { // laid out in spite of the filter, all readable
        const QPushButton *button = pop.*choice.button;
        QVERIFY(button->y() > bottom);
        bottom = button->geometry().bottom();
        QVERIFY(pop.rect().contains(button->geometry()));
        QVERIFY(button->width() >= button->fontMetrics().horizontalAdvance(button->text()));
    }
}

void TestSpeedWind::slotChooses_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < kChoiceCount; ++i)
        QTest::newRow(kChoices[i].text) << i;
}

void TestSpeedWind::slotChooses()
{
    QFETCH(int, index);
    const Choice &choice = kChoices[index];
    speedWind pop;
    int stateAtSignal = -1;
    int speedAtSignal = -1;
    bool visibleAtSignal = false;
    LogCapture log;
    QStringList logAtSignal{"no signal"};
    connect(&pop, &speedWind::changeSpeed, &pop, [&] {
        logAtSignal = log.lines();
        stateAtSignal = pop.state;
        speedAtSignal = pop.speed;
        visibleAtSignal = pop.isVisible();
    });
    QSignalSpy chosen(&pop, SIGNAL(changeSpeed(int)));
    pop.toggleAtCursor(2);
    QCOMPARE(pop.state, 1);

    log.clear();
    (pop.*choice.slot)();
    QCOMPARE(chosen.size(), 1);
    QCOMPARE(chosen.first().first().toInt(), choice.percent);
    QCOMPARE(speedAtSignal, choice.percent); // set before the signal
    QCOMPARE(stateAtSignal, 1); // cleared and hidden after it
    QVERIFY(visibleAtSignal);
    QCOMPARE(logAtSignal, QStringList()); // comes after all that the speed changes
    QCOMPARE(log.lines(), QStringList("Send change speed signal"));
    QCOMPARE(pop.speed, choice.percent);
    QCOMPARE(pop.state, 0);
    QVERIFY(pop.isHidden());
}

void TestSpeedWind::clickChooses()
{
    QFETCH(int, index);
    const Choice &choice = kChoices[index];
    speedWind pop;
    QSignalSpy chosen(&pop, SIGNAL(changeSpeed(int)));
    pop.toggleAtCursor(2);
    QVERIFY(QTest::qWaitForWindowExposed(&pop));
    LogCapture log; // also keeps the line out of the test's output
    QTest::mouseClick(pop.*choice.button, Qt::LeftButton);
    QCOMPARE(chosen.size(), 1); // each button is connected once
    QCOMPARE(chosen.first().first().toInt(), choice.percent);
    QVERIFY(pop.isHidden());
    QCOMPARE(pop.state, 0);
}

void TestSpeedWind::spaceOnTheFocusedButtonChooses()
{
    speedWind pop;
    QSignalSpy chosen(&pop, SIGNAL(changeSpeed(int)));
    pop.toggleAtCursor(4);
    LogCapture log;
    QTest::keyClick(pop.focusWidget(), Qt::Key_Space);
    QCOMPARE(chosen.size(), 1);
    QCOMPARE(chosen.first().first().toInt(), 150);
    QVERIFY(pop.isHidden());
}

void TestSpeedWind::openedAtTheCursor_data()
{
    QTest::addColumn<QPoint>("cursor");
    QTest::newRow("middle") << QPoint(640, 700);
    QTest::newRow("near the top: partly off the screen") << QPoint(300, 20);
    QTest::newRow("left edge") << QPoint(3, 500);
    QTest::newRow("right edge") << QPoint(1275, 500);
}

void TestSpeedWind::openedAtTheCursor()
{
    QFETCH(QPoint, cursor);
    QCursor::setPos(cursor);
    QTRY_COMPARE(QCursor::pos(), cursor);
    speedWind pop;
    pop.toggleAtCursor(2);
    QVERIFY(pop.isVisible());
    QCOMPARE(pop.state, 1);
    QVERIFY(QTest::qWaitForWindowExposed(&pop));
    QCOMPARE(pop.pos(), cursor - QPoint(50, 410));
    QCOMPARE(pop.mapToGlobal(QPoint()), cursor - QPoint(50, 410));
    QCOMPARE(pop.geometry().bottom() + 1, cursor.y() - 10);
}

void TestSpeedWind::focusFollowsTheSpeedCode_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << 0 << "0.5x";
    QTest::newRow("1") << 1 << "0.75x";
    QTest::newRow("2") << 2 << "1.0x";
    QTest::newRow("3") << 3 << "1.25x";
    QTest::newRow("4") << 4 << "1.5x";
    QTest::newRow("5") << 5 << "2.0x";
    QTest::newRow("-1") << -1 << "1.0x";
    QTest::newRow("6") << 6 << "1.0x";
    QTest::newRow("100") << 100 << "1.0x";
}

void TestSpeedWind::focusFollowsTheSpeedCode()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    speedWind pop;
    pop.speed075->setFocus(); // left from an earlier opening
    if (code == 1)
        pop.speed200->setFocus();
    pop.toggleAtCursor(code);
    auto *focused = qobject_cast<QPushButton *>(pop.focusWidget());
    QVERIFY(focused);
    QCOMPARE(focused->text(), text);
}

void TestSpeedWind::secondPressHidesWithoutChoice()
{
    speedWind pop;
    QSignalSpy chosen(&pop, SIGNAL(changeSpeed(int)));
    pop.toggleAtCursor(2);
    QVERIFY(pop.isVisible());
    pop.toggleAtCursor(2);
    QVERIFY(pop.isHidden());
    QCOMPARE(pop.state, 0);
    pop.toggleAtCursor(2);
    QVERIFY(pop.isVisible());
    QCOMPARE(pop.state, 1);
    QCOMPARE(chosen.size(), 0);

    // Owners write the state directly: it decides, not the visibility.
    pop.hide();
    pop.toggleAtCursor(2);
    QVERIFY(pop.isHidden());
    QCOMPARE(pop.state, 0);
}

void TestSpeedWind::deactivationHides()
{
    speedWind pop;
    QSignalSpy chosen(&pop, SIGNAL(changeSpeed(int)));
    pop.toggleAtCursor(2);
    QEvent event(QEvent::WindowDeactivate);
    QVERIFY(QApplication::sendEvent(&pop, &event));
    QVERIFY(pop.isHidden());
    QCOMPARE(pop.state, 0);
    QCOMPARE(chosen.size(), 0);
    pop.toggleAtCursor(2); // the next press shows it again
    QVERIFY(pop.isVisible());
}

void TestSpeedWind::everyOwnEventIsConsumed()
{
    speedWind pop;
    pop.state = 1;
    for (int type = 1; type <= QEvent::MaxUser; type += type < 512 ? 1 : 997) {
        if (type == QEvent::WindowDeactivate)
            continue;
        QEvent event(static_cast<QEvent::Type>(type));
        QVERIFY2(pop.eventFilter(&pop, &event), qPrintable(QString::number(type)));
    }
    QCOMPARE(pop.state, 1);
    QEvent deactivate(QEvent::WindowDeactivate);
    QVERIFY(pop.eventFilter(&pop, &deactivate));
    QCOMPARE(pop.state, 0);
}

void TestSpeedWind::eventsOfOthersPass()
{
    speedWind pop;
    pop.toggleAtCursor(2);
    for (int type = 1; type < 512; ++type) {
        QEvent event(static_cast<QEvent::Type>(type));
        QVERIFY2(!pop.eventFilter(pop.speed100, &event), qPrintable(QString::number(type)));
    }
    QVERIFY(pop.isVisible());
    QCOMPARE(pop.state, 1);
}

void TestSpeedWind::keyPressesOnItselfAreSwallowed()
{
    speedWind pop;
    pop.toggleAtCursor(2);
    for (Qt::Key key : {Qt::Key_Escape, Qt::Key_A, Qt::Key_Space}) {
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
        QVERIFY(QApplication::sendEvent(&pop, &press));
    }
    QVERIFY(pop.isVisible());
    QCOMPARE(pop.state, 1);
}

void TestSpeedWind::keyPressEventHides()
{
    for (Qt::Key key : {Qt::Key_Escape, Qt::Key_A, Qt::Key_Space, Qt::Key_Return}) {
        OpenSpeedWind pop;
        QSignalSpy chosen(&pop, SIGNAL(changeSpeed(int)));
        pop.toggleAtCursor(2);
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
        pop.keyPressEvent(&press);
        QVERIFY(pop.isHidden());
        QCOMPARE(pop.state, 0);
        QCOMPARE(chosen.size(), 0);
    }
}

void TestSpeedWind::closeHidesAndKeepsTheState()
{
    speedWind pop;
    pop.toggleAtCursor(2);
    QVERIFY(pop.close());
    QVERIFY(pop.isHidden());
    QCOMPARE(pop.state, 1); // the close event is swallowed like every other
}

void TestSpeedWind::closeEventDoesNothingElse()
{
    OpenSpeedWind pop;
    QSignalSpy chosen(&pop, SIGNAL(changeSpeed(int)));
    QSignalSpy finished(&pop, SIGNAL(finished(int)));
    pop.toggleAtCursor(2);
    QCloseEvent event;
    pop.closeEvent(&event); // returns: it does not recurse without end
    QVERIFY(event.isAccepted());
    QVERIFY(pop.isHidden()); // by the second close()
    QCOMPARE(pop.state, 1);
    QCOMPARE(chosen.size(), 0);
    QCOMPARE(finished.size(), 0);
}

void TestSpeedWind::dismissClears()
{
    speedWind pop;
    pop.dismiss();
    QCOMPARE(pop.state, 0);
    pop.toggleAtCursor(5);
    pop.dismiss();
    QVERIFY(pop.isHidden());
    QCOMPARE(pop.state, 0);
}

void TestSpeedWind::speedInForceIsMarked()
{
    speedWind pop;
    for (const auto &row : QList<QPair<int, QString>>{{2, "1.0x"},
                                                      {0, "0.5x"},
                                                      {1, "0.75x"},
                                                      {5, "2.0x"},
                                                      {4, "1.5x"},
                                                      {3, "1.25x"},
                                                      {3, "1.25x"},
                                                      {-1, "1.0x"}}) {
        QVERIFY(open(pop, row.first));
        QTRY_COMPARE(marked(pop), QStringList(row.second));
        pop.dismiss();
    }
}

// On the screen, not only in the widget: the pop-up's own update requests end in its filter.
void TestSpeedWind::mouseOverIsSeen()
{
    speedWind pop;
    QVERIFY(open(pop, 2));
    QTRY_COMPARE(marked(pop), QStringList("1.0x"));
    const QImage resting = Screen::grab(onScreen(&pop));
    const auto changed = [&](const QPushButton *button) {
        const QRect place = onScreen(button);
        return Screen::grab(place) != resting.copy(place.translated(-pop.pos()));
    };
    for (int i = 0; i < 2; ++i) { // again after it was hidden
        for (const Choice &choice : kChoices) {
            Screen::moveMouse(onScreen(pop.*choice.button).center());
            QTRY_VERIFY(changed(pop.*choice.button));
            for (const Choice &other : kChoices) {
                if (&other != &choice)
                    QTRY_VERIFY(!changed(pop.*other.button));
            }
        }
        Screen::moveMouse(onScreen(pop.speed050).center());
        QTRY_VERIFY(changed(pop.speed050));
        pop.dismiss();
        QVERIFY(open(pop, 2));
        QTRY_COMPARE(Screen::grab(onScreen(&pop)), resting);
    }
}

void TestSpeedWind::pressIsSeen()
{
    speedWind pop;
    QSignalSpy chosen(&pop, SIGNAL(changeSpeed(int)));
    LogCapture log;
    QVERIFY(open(pop, 2));
    const QPoint middle = onScreen(pop.speed150).center();
    Screen::moveMouse(middle);
    QTRY_VERIFY(pop.speed150->underMouse());
    const QRect place = onScreen(pop.speed150);
    const QImage over = Screen::grab(place);
    Screen::press(middle);
    QTRY_VERIFY(pop.speed150->isDown());
    QTRY_VERIFY(Screen::grab(place) != over);
    Screen::moveMouse(QPoint(middle.x(), onScreen(pop.speed050).center().y()));
    QTRY_VERIFY(!pop.speed150->isDown());
    QVERIFY(pop.speed150->isFlat());
    Screen::moveMouse(middle);
    QTRY_VERIFY(pop.speed150->isDown());
    Screen::release();
    QTRY_COMPARE(chosen.size(), 1);
    QVERIFY(pop.isHidden());
}

void TestSpeedWind::toolTipsShow()
{
    speedWind pop;
    QVERIFY(open(pop, 2));
    for (const Choice &choice : kChoices) {
        Screen::moveMouse(onScreen(pop.*choice.button).center());
        QTRY_COMPARE(QToolTip::text(), QString(choice.toolTip));
        QVERIFY(QToolTip::isVisible());
    }
    QVERIFY(!pop.isActiveWindow());
    Screen::moveMouse(QPoint(5, 5));
    QTRY_VERIFY(!QToolTip::isVisible());
}

void TestSpeedWind::accessibleName()
{
    const speedWind pop;
    QCOMPARE(pop.accessibleName(), QString("倍速"));
}

QTEST_MAIN(TestSpeedWind)
#include "tst_speedwind.moc"
