// Full screen and back, the bar that comes there, staying on top.
#include "playerbench.h"
#include "realinput.h"
#include "screen.h"

#include <QLabel>
#include <QPushButton>

class TestModes : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup() { bench.reset(); }

    void enterFullScreen();
    void leaveFullScreen();
    void leavingUsesTheWindowsPosition();
    void leavingShowsAHiddenList();
    void leavingAMaximisedWindow();
    void leavingHidesTheBar();
    void tenRoundTrips();
    void resizeIsIgnoredInFullScreen();
    void fullScreenSignal();

    void moveShowsTheBar();
    void barCoversTheScreenUnderAPanel();
    void barNeedsEveryCondition_data();
    void barNeedsEveryCondition();
    void barPlaces_data();
    void barPlaces();
    void barIsShownOnce();
    void barTitle_data();
    void barTitle();
    void speedIsCopied();

    void alwaysOnTop();

private:
    QList<QWidget *> normalWidgets() const;
    void move(const QPoint &point) { bench->move(point); }
    bool barShown() const { return bench->barShown(); }
    bool barHidden() const { return bench->barHidden(); }

    QScopedPointer<PlayerBench> bench;
    TestWindow *window = nullptr;
    QRect screen;
};

void TestModes::init()
{
    bench.reset(new PlayerBench);
    window = &bench->openFilm();
    QVERIFY(window->windowActiveFlag);
    screen = QRect(0, 0, window->screenWidth, window->screenHeight);
    // Away from the video and from the buttons: no move comes from the real mouse.
    window->fsvc->mouseTimer->stop();
}

QList<QWidget *> TestModes::normalWidgets() const
{
    const Ui::MainWindow *ui = window->ui;
    return {window->m_titleBar, ui->currentTimeLabel, ui->totalTimeLabel, ui->processSlider,
            ui->openFileBtn,    ui->stopBtn,          ui->backwardBtn,    ui->playBtn,
            ui->forwardBtn,     ui->volumBtn,         ui->volumSlider,    ui->speedSetBtn,
            ui->fullScreenBtn,  window->listWidget,   ui->hideListBtn,    ui->snapShotBtn};
}

static QString sizeLine(const TestWindow *window)
{
    return QString("screen width: %1  screen height: %2")
        .arg(window->screenWidth)
        .arg(window->screenHeight);
}

void TestModes::enterFullScreen()
{
    const QSize before = window->ui->playWidget->size();
    for (QWidget *widget : normalWidgets())
        QVERIFY2(widget->isVisible(), qPrintable(widget->objectName()));
    window->ui->listWidget->show();
    window->widgetNormalWidth = window->widgetNormalHeight = 0;

    LogCapture log;
    window->ui->fullScreenBtn->click();
    QVERIFY(fullScreenFlag);
    for (QWidget *widget : normalWidgets())
        QVERIFY2(!widget->isVisible(), qPrintable(widget->objectName()));
    QVERIFY(!window->ui->listWidget->isVisible());
    QVERIFY(window->ui->playWidget->isVisible());
    QCOMPARE(log.lines().filter("screen"), QStringList(sizeLine(window)));
    QCOMPARE(QSize(window->widgetNormalWidth, window->widgetNormalHeight), before);
    QCOMPARE(window->ui->playWidget->minimumSize(), screen.size());
    QCOMPARE(window->ui->playWidget->maximumSize(), screen.size());
    QCOMPARE(window->ui->playWidget->pos(), QPoint(0, 0));
    QVERIFY(window->isFullScreen()); // at once, or it could not be left before the answer comes

    QTRY_VERIFY(bench->fillsScreen());
    QTRY_COMPARE(Screen::geometry(window->ui->playWidget->winId()), screen);
    QTRY_VERIFY(Screen::hasState(window->winId(), "_NET_WM_STATE_FULLSCREEN"));
    // The bar waits for the mouse, and its timer is not started.
    QVERIFY(barHidden());
    QVERIFY(!window->fsvc->mouseTimer->isActive());
}

void TestModes::leaveFullScreen()
{
    window->resize(1000, 600);
    QTRY_COMPARE(window->ui->playWidget->width(), 1000 - 216);
    const QRect before = window->geometry();
    const QRect video = window->ui->playWidget->geometry();
    QVERIFY(bench->enterFullScreen());
    window->m_titleBar->setFixedWidth(77);

    LogCapture log;
    window->showNormalWin();
    QVERIFY(!fullScreenFlag);
    for (QWidget *widget : normalWidgets())
        QVERIFY2(widget->isVisible(), qPrintable(widget->objectName()));
    QVERIFY(!window->ui->listWidget->isVisible());
    QCOMPARE(log.lines().filter("screen"), QStringList(sizeLine(window)));
    QCOMPARE(window->ui->playWidget->minimumSize(), video.size());
    QCOMPARE(window->ui->playWidget->maximumSize(), video.size());
    QCOMPARE(window->m_titleBar->width(), video.width() + 211);
    // The window manager has not moved the window back yet.
    QCOMPARE(window->pos(), QPoint(0, 0));
    QCOMPARE(window->ui->playWidget->pos(), QPoint(0, 40));

    QTRY_COMPARE(window->geometry(), before);
    QTRY_COMPARE(window->ui->playWidget->geometry(), video);
    QVERIFY(!window->isFullScreen());
    QTRY_VERIFY(!Screen::hasState(window->winId(), "_NET_WM_STATE_FULLSCREEN"));
    QTRY_COMPARE(window->m_titleBar->width(), 995);
}

// The window's own place on the screen becomes the play area's place in the window.
void TestModes::leavingUsesTheWindowsPosition()
{
    window->move(60, 35);
    QTRY_COMPARE(window->pos(), QPoint(60, 35));
    window->widgetNormalWidth = 500;
    window->widgetNormalHeight = 300;
    window->showNormalWin();
    QCOMPARE(window->ui->playWidget->geometry(), QRect(60, 35 + 30 + 10, 500, 300));
    QCOMPARE(window->m_titleBar->width(), 711);
}

void TestModes::leavingShowsAHiddenList()
{
    window->ui->hideListBtn->click();
    QVERIFY(!window->listWidget->isVisible());
    QVERIFY(bench->enterFullScreen());
    window->showNormalWin();
    QVERIFY(window->listWidget->isVisible());
    QVERIFY(window->listHideFlag);
    QTRY_VERIFY(!window->isFullScreen() && window->width() < screen.width());
    QVERIFY(window->listWidget->isVisible());
}

void TestModes::leavingAMaximisedWindow()
{
    window->showMaximized();
    QTRY_COMPARE(window->size(), screen.size());
    QVERIFY(bench->enterFullScreen());
    window->showNormalWin();
    QTRY_VERIFY(!window->isFullScreen() && !window->isMaximized());
    QTRY_COMPARE(window->size(), QSize(945, 564));
}

void TestModes::leavingHidesTheBar()
{
    QVERIFY(bench->enterFullScreen());
    move(QPoint(300, 300));
    QVERIFY(barShown());
    window->showNormalWin();
    QVERIFY(barHidden());
}

void TestModes::tenRoundTrips()
{
    LogCapture log;
    const qulonglong video = window->ui->playWidget->winId();
    QRect before = window->geometry();
    for (int i = 0; i < 10; ++i) {
        QVERIFY(bench->enterFullScreen());
        window->showNormalWin();
        QTRY_COMPARE(window->geometry(), before);
        QTRY_COMPARE(window->ui->playWidget->geometry(), QRect(0, 40, 729, 412));
    }
    QCOMPARE(qulonglong(window->ui->playWidget->winId()), video);
    QVERIFY(Screen::isViewable(video));
    QVERIFY2(!log.contains("XCB error"), qPrintable(log.lines().join('\n')));
}

void TestModes::resizeIsIgnoredInFullScreen()
{
    QVERIFY(bench->enterFullScreen());
    move(QPoint(300, 300));
    window->ui->volumSlider->setValue(55);
    const QRect slider = window->ui->processSlider->geometry();
    QResizeEvent event(QSize(700, 500), screen.size());
    QApplication::sendEvent(window, &event);
    QCOMPARE(bench->videoOnScreen(), screen);
    QCOMPARE(window->ui->processSlider->geometry(), slider);
    QCOMPARE(window->ui->volumSlider->value(), 55);
    QVERIFY(barShown());
}

void TestModes::fullScreenSignal()
{
    LogCapture log;
    window->recvFullScreenSignal(); // in the normal window: nothing
    QVERIFY(!fullScreenFlag && !log.contains("screen width:"));
    QVERIFY(bench->enterFullScreen());
    window->fsvc->fullScreenBtnClicked();
    QVERIFY(!fullScreenFlag);
    QTRY_VERIFY(!window->isFullScreen());
}

namespace {
class PlaceWhenShown : public QObject {
public:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show)
            place = static_cast<QWidget *>(watched)->pos();
        return false;
    }
    QPoint place{-1, -1};
};
} // namespace

void TestModes::moveShowsTheBar()
{
    QVERIFY(bench->playFilm());
    QVERIFY(bench->enterFullScreen());
    FullScreenVideoControl *bar = window->fsvc;
    bar->move(50, 60);
    PlaceWhenShown shown;
    bar->installEventFilter(&shown);
    window->setCursor(Qt::WaitCursor);
    move(QPoint(300, 300));
    QVERIFY(barShown());
    QCOMPARE(shown.place, QPoint(0, 0)); // so it never flashes up elsewhere
    QCOMPARE(window->cursor().shape(), Qt::ArrowCursor);
    QCOMPARE(bar->minimumSize(), screen.size());
    QCOMPARE(bar->maximumSize(), screen.size());
    QVERIFY(bar->focusWidget() == bar->playBtn);
    QCOMPARE(bar->titleLabel->minimumSize(), QSize(screen.width(), 80));
    QCOMPARE(bar->titleLabel->maximumSize(), QSize(screen.width(), 80));
    QCOMPARE(bar->titleLabel->text(), QString("the film"));
    QCOMPARE(bar->titleLabel->alignment(), Qt::AlignHCenter | Qt::AlignTop);
    QCOMPARE(bar->titleLabel->font().pointSize(), 18);
    QCOMPARE(bar->titleLabel->palette().color(QPalette::WindowText), QColor(Qt::white));
    QVERIFY(bar->mouseTimer->isActive());
    QCOMPARE(bar->mouseTimer->interval(), 5000);
    QVERIFY(QTest::qWaitForWindowExposed(bar));
    QCOMPARE(bar->geometry(), screen);
    QTRY_COMPARE(Screen::geometry(bar->winId()), screen);
    // It takes neither the focus nor the activity from the window.
    QVERIFY(window->windowActiveFlag);
    QVERIFY(window->isActiveWindow());
}

// A panel takes 40 pixels off the top of what windows may use; the bar covers that as well.
void TestModes::barCoversTheScreenUnderAPanel()
{
    QWidget panel;
    panel.setAttribute(Qt::WA_X11NetWmWindowTypeDock);
    panel.setAttribute(Qt::WA_ShowWithoutActivating);
    panel.setGeometry(0, 0, screen.width(), 40);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    QCOMPARE(QProcess::execute("xprop",
                               {"-id", QString::number(panel.winId()), "-f", "_NET_WM_STRUT", "32c",
                                "-set", "_NET_WM_STRUT", "0,0,40,0"}),
             0);
    const auto workArea = [] {
        QProcess xprop;
        xprop.start("xprop", {"-root", "_NET_WORKAREA"});
        xprop.waitForFinished();
        return xprop.readAllStandardOutput();
    };
    QTRY_VERIFY2(workArea().contains("0, 40, 1280, 760"), workArea().constData());
    window->activateWindow();
    QTRY_VERIFY(window->windowActiveFlag);
    QVERIFY(bench->enterFullScreen());
    move(QPoint(300, 300));
    QVERIFY(barShown());
    QVERIFY(QTest::qWaitForWindowExposed(window->fsvc));
    QCOMPARE(window->fsvc->geometry(), screen);
    QTRY_COMPARE(Screen::geometry(window->fsvc->winId()), screen);
}

void TestModes::barNeedsEveryCondition_data()
{
    QTest::addColumn<bool>("fullScreen");
    QTest::addColumn<int>("software");
    QTest::addColumn<bool>("active");
    QTest::addColumn<bool>("shown");
    QTest::newRow("all") << true << 0 << true << true;
    QTest::newRow("normal window") << false << 0 << true << false;
    QTest::newRow("other engine") << true << 1 << true << false;
    QTest::newRow("other engine, negative") << true << -1 << true << false;
    QTest::newRow("not active") << true << 0 << false << false;
}

void TestModes::barNeedsEveryCondition()
{
    QFETCH(bool, fullScreen);
    QFETCH(int, software);
    QFETCH(bool, active);
    QFETCH(bool, shown);
    fullScreenFlag = fullScreen;
    decodeSoftware = software;
    window->windowActiveFlag = active;
    move(window->ui->playWidget->geometry().center());
    QVERIFY(shown ? barShown() : barHidden());
    QCOMPARE(window->fsvc->mouseTimer->isActive(), shown);
    fullScreenFlag = false;
}

void TestModes::barPlaces_data()
{
    // Relative to a play area at 3, 5; what counts is the screen's size, not the area's.
    QTest::addColumn<QPoint>("point");
    QTest::addColumn<bool>("shown");
    QTest::newRow("left edge") << QPoint(3, 300) << false;
    QTest::newRow("left") << QPoint(4, 300) << true;
    QTest::newRow("top edge") << QPoint(300, 5) << false;
    QTest::newRow("top") << QPoint(300, 6) << true;
    QTest::newRow("right") << QPoint(3 + 1280 - 1, 300) << true;
    QTest::newRow("right edge") << QPoint(3 + 1280, 300) << false;
    QTest::newRow("bottom") << QPoint(300, 5 + 800 - 1) << true;
    QTest::newRow("bottom edge") << QPoint(300, 5 + 800) << false;
    QTest::newRow("outside") << QPoint(-1, -1) << false;
}

void TestModes::barPlaces()
{
    QFETCH(QPoint, point);
    QFETCH(bool, shown);
    QCOMPARE(screen.size(), QSize(1280, 800));
    window->ui->playWidget->move(3, 5);
    fullScreenFlag = true;
    window->currentSpeed = 4;
    window->fsvc->currentSpeed = 0;
    move(point);
    QVERIFY(shown ? barShown() : barHidden());
    QCOMPARE(window->fsvc->currentSpeed, 4); // wherever the mouse is
    fullScreenFlag = false;
}

void TestModes::barIsShownOnce()
{
    QVERIFY(bench->enterFullScreen());
    window->fsvc->state = true;
    move(QPoint(300, 300));
    QVERIFY(!window->fsvc->isVisible());
    QVERIFY(!window->fsvc->mouseTimer->isActive());
    window->fsvc->state = false;
    move(QPoint(300, 301));
    QVERIFY(barShown());
}

void TestModes::barTitle_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("title");
    QTest::newRow("first") << 1 << 0 << "the film";
    QTest::newRow("last") << 1 << 998 << "<b>last</b>";
    QTest::newRow("nothing loaded") << 0 << 0 << "as before";
    QTest::newRow("no entry") << 1 << -1 << "as before";
    QTest::newRow("beyond") << 1 << 999 << "as before";
    QTest::newRow("far beyond") << 1 << 2000000000 << "as before";
}

void TestModes::barTitle()
{
    QFETCH(int, state);
    QFETCH(int, index);
    QFETCH(QString, title);
    addrlist[998].label = "<b>last</b>";
    playinglist.state = state;
    playinglist.addrIndex = index;
    fullScreenFlag = true;
    window->fsvc->titleLabel->setText("as before");
    move(QPoint(300, 300));
    QVERIFY(barShown()); // with or without a title
    QCOMPARE(window->fsvc->titleLabel->text(), title);
    QCOMPARE(window->fsvc->titleLabel->font().pointSize(), 18);
    fullScreenFlag = false;
    playinglist.state = 0;
}

void TestModes::speedIsCopied()
{
    window->currentSpeed = 5;
    window->fsvc->currentSpeed = 1;
    move(QPoint(300, 300));
    QCOMPARE(window->fsvc->currentSpeed, 1); // not in the normal window
    fullScreenFlag = true;
    decodeSoftware = 1;
    move(QPoint(300, 300));
    QCOMPARE(window->fsvc->currentSpeed, 1);
    decodeSoftware = 0;
    window->windowActiveFlag = false;
    move(QPoint(300, 300));
    QVERIFY(barHidden());
    QCOMPARE(window->fsvc->currentSpeed, 5);
    fullScreenFlag = false;
}

void TestModes::alwaysOnTop()
{
    LogCapture log;
    const Qt::WindowFlags plain = Qt::Window | Qt::FramelessWindowHint;
    QList<QWidget *> natives = normalWidgets();
    natives << window << window->ui->playWidget;
    QList<qulonglong> ids;
    for (QWidget *widget : qAsConst(natives))
        ids << widget->internalWinId();
    const QPoint centre((window->screenWidth - window->width()) / 2,
                        (window->screenHeight - window->height()) / 2);
    for (const bool onTop : {true, false, true, true, false}) {
        window->move(11, 22);
        QTRY_COMPARE(window->pos(), QPoint(11, 22));
        emit window->m_titleBar->setWindowAlwaysOnTopSignal(onTop);
        QCOMPARE(window->windowFlags(), onTop ? plain | Qt::WindowStaysOnTopHint : plain);
        QVERIFY(window->isVisible());
        QTRY_COMPARE(window->pos(), centre);
        QTRY_COMPARE(Screen::geometry(window->winId()).topLeft(), centre);
        QTRY_COMPARE(Screen::hasState(window->winId(), "_NET_WM_STATE_ABOVE"), onTop);
        for (int i = 0; i < natives.size(); ++i) {
            QCOMPARE(qulonglong(natives.at(i)->internalWinId()), ids.at(i));
            QVERIFY(ids.at(i) == 0 || Screen::isViewable(ids.at(i)));
        }
    }
    QCOMPARE(playinglist.widID, qulonglong(window->ui->playWidget->internalWinId()));
    QVERIFY2(!log.contains("XCB error"), qPrintable(log.lines().join('\n')));
}

QTEST_MAIN(TestModes)
#include "tst_modes.moc"
