// Activation, cursors, and pop-ups that go with the window or the mouse.
#include "playerbench.h"

class TestActivation : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup() { bench.reset(); }

    void deactivationHidesTheBar();
    void popUpsGoWithTheActivation();
    void popUpGoesWithTheBar_data();
    void popUpGoesWithTheBar();
    void filterConsumesActivationOnly();

    void mouseHideBlanksTheCursor();
    void gripCursor();
    void moveDismissesTheSpeedPopUp_data();
    void moveDismissesTheSpeedPopUp();

private:
    void move(const QPoint &point) { bench->move(point); }
    bool barShown() const { return bench->barShown(); }
    bool barHidden() const { return bench->barHidden(); }

    QScopedPointer<PlayerBench> bench;
    TestWindow *window = nullptr;
};

void TestActivation::init()
{
    bench.reset(new PlayerBench);
    window = &bench->openFilm();
    QVERIFY(window->windowActiveFlag);
    window->fsvc->mouseTimer->stop();
}

void TestActivation::deactivationHidesTheBar()
{
    QVERIFY(bench->enterFullScreen());
    move(QPoint(300, 300));
    QVERIFY(barShown());
    QVERIFY(QTest::qWaitForWindowExposed(window->fsvc));
    QWidget other;
    other.show();
    QVERIFY(QTest::qWaitForWindowExposed(&other));
    other.activateWindow();
    QTRY_VERIFY(!window->windowActiveFlag);
    QVERIFY(barHidden());
    move(QPoint(310, 300));
    QVERIFY(barHidden());
    window->activateWindow();
    QTRY_VERIFY(window->windowActiveFlag);
    QVERIFY(barHidden()); // only a movement brings it
    move(QPoint(320, 300));
    QVERIFY(barShown());
}

// The pop-ups are never the active window, so they get no notice of their own.
void TestActivation::popUpsGoWithTheActivation()
{
    window->sw->toggleAtCursor(2);
    QVERIFY(QTest::qWaitForWindowExposed(window->sw));
    window->fsvc->sw->toggleAtCursor(2);
    QVERIFY(QTest::qWaitForWindowExposed(window->fsvc->sw));
    QVERIFY(window->windowActiveFlag && window->sw->isVisible());
    QWidget other;
    other.show();
    QVERIFY(QTest::qWaitForWindowExposed(&other));
    other.activateWindow();
    QTRY_VERIFY(!window->windowActiveFlag);
    QVERIFY(!window->sw->isVisible() && window->sw->state == 0);
    QVERIFY(!window->fsvc->sw->isVisible() && window->fsvc->sw->state == 0);
}

void TestActivation::popUpGoesWithTheBar_data()
{
    QTest::addColumn<int>("key");
    QTest::newRow("Alt") << int(Qt::Key_Alt);
    QTest::newRow("Escape") << int(Qt::Key_Escape);
    QTest::newRow("left otherwise") << 0;
}

void TestActivation::popUpGoesWithTheBar()
{
    QFETCH(int, key);
    QVERIFY(bench->enterFullScreen());
    move(QPoint(300, 300));
    QVERIFY(barShown());
    window->fsvc->sw->toggleAtCursor(2);
    QVERIFY(window->fsvc->sw->isVisible());
    if (key)
        QTest::keyClick(window, static_cast<Qt::Key>(key));
    else
        window->showNormalWin();
    QVERIFY(barHidden());
    QVERIFY(!window->fsvc->sw->isVisible() && window->fsvc->sw->state == 0);
    QCOMPARE(fullScreenFlag, key == Qt::Key_Alt);
}

void TestActivation::filterConsumesActivationOnly()
{
    window->windowActiveFlag = false;
    QEvent activate(QEvent::WindowActivate);
    QEvent deactivate(QEvent::WindowDeactivate);
    QVERIFY(window->eventFilter(window, &activate));
    QVERIFY(window->windowActiveFlag);
    window->fsvc->show();
    window->fsvc->state = true;
    for (QObject *other :
         {static_cast<QObject *>(window->fsvc), static_cast<QObject *>(window->ui->playWidget)}) {
        QVERIFY(!window->eventFilter(other, &deactivate));
        QVERIFY(window->windowActiveFlag && barShown());
    }
    QVERIFY(window->eventFilter(window, &deactivate));
    QVERIFY(!window->windowActiveFlag && barHidden());
    QVERIFY(!window->eventFilter(window->fsvc, &activate));
    QVERIFY(!window->windowActiveFlag);
    for (int type = 1; type < QEvent::User; ++type) {
        QEvent event(static_cast<QEvent::Type>(type));
        const bool ours = type == QEvent::WindowActivate || type == QEvent::WindowDeactivate;
        QCOMPARE(window->eventFilter(window, &event), ours);
    }
    // And it is installed on the window itself.
    window->windowActiveFlag = false;
    QApplication::sendEvent(window, &activate);
    QVERIFY(window->windowActiveFlag);
}

void TestActivation::mouseHideBlanksTheCursor()
{
    QVERIFY(bench->enterFullScreen());
    move(QPoint(300, 300));
    LogCapture log;
    QVERIFY(QMetaObject::invokeMethod(window->fsvc->mouseTimer, "timeout"));
    QCOMPARE(log.lines().filter("recv"), QStringList("recv hide signal"));
    QCOMPARE(window->cursor().shape(), Qt::BlankCursor);
    QVERIFY(barHidden());
    move(QPoint(310, 300));
    QCOMPARE(window->cursor().shape(), Qt::ArrowCursor);
    QVERIFY(barShown());
}

void TestActivation::gripCursor()
{
    QWidget *grip = window->ui->resizeBtn;
    grip->move(400, 300);
    const struct {
        QPoint point;
        Qt::CursorShape shape;
    } places[] = {{{405, 305}, Qt::SizeFDiagCursor}, {{401, 301}, Qt::SizeFDiagCursor},
                  {{409, 309}, Qt::SizeFDiagCursor}, {{400, 305}, Qt::ArrowCursor},
                  {{405, 300}, Qt::ArrowCursor},     {{410, 305}, Qt::ArrowCursor},
                  {{405, 310}, Qt::ArrowCursor}};
    for (const auto &place : places) {
        window->setCursor(Qt::WaitCursor);
        move(place.point);
        QCOMPARE(window->cursor().shape(), place.shape);
    }
}

void TestActivation::moveDismissesTheSpeedPopUp_data()
{
    QTest::addColumn<QPoint>("fromCorner");
    QTest::addColumn<bool>("kept");
    QTest::newRow("first pixel inside") << QPoint(1, 1) << true;
    QTest::newRow("last pixel inside") << QPoint(40, 34) << true;
    QTest::newRow("left edge") << QPoint(0, 10) << false;
    QTest::newRow("top edge") << QPoint(10, 0) << false;
    QTest::newRow("right edge") << QPoint(41, 10) << false;
    QTest::newRow("bottom edge") << QPoint(10, 35) << false;
    QTest::newRow("far away") << QPoint(-300, -300) << false;
}

void TestActivation::moveDismissesTheSpeedPopUp()
{
    QFETCH(QPoint, fromCorner);
    QFETCH(bool, kept);
    QCOMPARE(window->ui->speedSetBtn->size(), QSize(41, 35));
    window->sw->toggleAtCursor(2);
    QVERIFY(window->sw->isVisible() && window->sw->state == 1);
    move(window->ui->speedSetBtn->pos() + fromCorner);
    QCOMPARE(window->sw->isVisible(), kept);
    QCOMPARE(window->sw->state, kept ? 1 : 0);
}

QTEST_MAIN(TestActivation)
#include "tst_activation.moc"
