// Geometry, list toggle and state label of the real main window.
#include "common.h"
#include "testsupport.h"
#include "testwindow.h"

#include <QLabel>
#include <QListWidget>
#include <QProcess>
#include <QPushButton>
#include <QToolButton>
#include <QtTest>

class TestMainWindowLayout : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void startsCentred();
    void firstGeometry();
    void geometry_data();
    void geometry();
    void geometryWithHiddenList_data();
    void geometryWithHiddenList();
    void geometryMaximised_data();
    void geometryMaximised();
    void titleButtonsStayInside();
    void tinyWindow();
    void resizeInFullScreenChangesNothing();
    void listToggle();
    void listToggleKeepsItsFirstWidth();
    void listToggleInFullScreen();
    void resizeResetsVolume();
    void resizeHidesPopUps();
    void stateLabelHidesItself();
    void secondNoticeRestartsTheTimer();
    void stateLabelFollowsThePlayArea();
    void unplayedButtonPlays();

private:
    void show(TestWindow &window);
    void resizeTo(TestWindow &window, int width, int height);

    QScopedPointer<PlayerRoot> root;
};

void TestMainWindowLayout::initTestCase()
{
    QVERIFY2(QGuiApplication::platformName() == "xcb", "these tests need a real X server");
}

void TestMainWindowLayout::init()
{
    root.reset(new PlayerRoot);
    defaultVolum = 0; // any other shows a notice soon after the first layout
}

void TestMainWindowLayout::cleanup() { root.reset(); }

void TestMainWindowLayout::show(TestWindow &window)
{
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(QTest::qWaitForWindowActive(&window)); // the window manager has done its part
}

// Waits until the window has the size at the X server too, and the layout has followed; the answer
// to an earlier resize may still be on its way.
void TestMainWindowLayout::resizeTo(TestWindow &window, int width, int height)
{
    window.resize(width, height);
    const QString wanted = QString("%1x%2").arg(width).arg(height);
    QTRY_VERIFY([&] {
        QProcess xwininfo;
        xwininfo.start("xwininfo", {"-id", QString::number(window.winId())});
        return xwininfo.waitForFinished() &&
            xwininfo.readAll().contains("-geometry " + wanted.toLatin1());
    }());
    QTRY_VERIFY(window.size() == QSize(width, height) &&
                (fullScreenFlag || window.ui->playBtn->x() == (width - 50) / 2 - 100));
}

void TestMainWindowLayout::startsCentred()
{
    TestWindow window(nullptr);
    show(window);
    QTRY_COMPARE(window.pos(), QPoint((1280 - 945) / 2, (800 - 564) / 2));
    window.move(3, 5);
    QTRY_COMPARE(window.pos(), QPoint(3, 5));
    window.hide();
    show(window);
    QTRY_COMPARE(window.pos(), QPoint(167, 118));
}

// At the first layout the progress slider is still as high as in the form.
void TestMainWindowLayout::firstGeometry()
{
    TestWindow window(nullptr);
    show(window);
    QCOMPARE(window.ui->playWidget->geometry(), QRect(0, 40, 729, 411));
    QCOMPARE(window.listWidget->geometry(), QRect(729, 40, 211, 411));
    QCOMPARE(window.ui->processSlider->geometry(), QRect(0, 469, 734, 20));
    const struct {
        QWidget *widget;
        int x;
        int y;
    } places[] = {
        {window.ui->snapShotBtn, 23, 509},     {window.ui->openFileBtn, 104, 509},
        {window.ui->stopBtn, 205, 509},        {window.ui->backwardBtn, 276, 509},
        {window.ui->playBtn, 347, 509},        {window.ui->forwardBtn, 428, 509},
        {window.ui->volumBtn, 509, 509},       {window.ui->volumSlider, 550, 514},
        {window.ui->speedSetBtn, 712, 509},    {window.ui->fullScreenBtn, 793, 509},
        {window.ui->hideListBtn, 874, 509},    {window.ui->currentTimeLabel, 0, 454},
        {window.ui->totalTimeLabel, 669, 454}, {window.ui->stateLabel, 0, 40},
    };
    for (const auto &place : places)
        QCOMPARE(place.widget->pos(), QPoint(place.x, place.y));
    QCOMPARE(window.m_titleBar->width(), 940);
    QCOMPARE(window.ui->stateLabel->width(), 729);
    QCOMPARE(window.ui->stateLabel->height(), 22);

    resizeTo(window, 950, 570);
    resizeTo(window, 945, 564);
    QCOMPARE(window.ui->playWidget->size(), QSize(729, 412));
}

void TestMainWindowLayout::geometry_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QRect>("playArea");
    QTest::addColumn<QRect>("list");
    QTest::addColumn<QRect>("slider");
    QTest::addColumn<int>("rowY");
    QTest::addColumn<int>("playX");
    QTest::addColumn<int>("hideListX");
    QTest::addColumn<QPoint>("totalTime");
    QTest::addColumn<int>("titleWidth");
    QTest::newRow("945x564") << QSize(945, 564) << QRect(0, 40, 729, 412)
                             << QRect(729, 40, 211, 412) << QRect(0, 469, 734, 20) << 509 << 347
                             << 874 << QPoint(669, 454) << 940;
    QTest::newRow("1200x700") << QSize(1200, 700) << QRect(0, 40, 984, 548)
                              << QRect(984, 40, 211, 548) << QRect(0, 605, 989, 20) << 645 << 475
                              << 1002 << QPoint(924, 590) << 1195;
    QTest::newRow("1000x600") << QSize(1000, 600) << QRect(0, 40, 784, 448)
                              << QRect(784, 40, 211, 448) << QRect(0, 505, 789, 20) << 545 << 375
                              << 902 << QPoint(724, 490) << 995;
    QTest::newRow("1001x601") << QSize(1001, 601) << QRect(0, 40, 785, 449)
                              << QRect(785, 40, 211, 449) << QRect(0, 506, 790, 20) << 546 << 375
                              << 902 << QPoint(725, 491) << 996;
    QTest::newRow("800x500") << QSize(800, 500) << QRect(0, 40, 584, 348)
                             << QRect(584, 40, 211, 348) << QRect(0, 405, 589, 20) << 445 << 275
                             << 802 << QPoint(524, 390) << 795;
}

void TestMainWindowLayout::geometry()
{
    QFETCH(QSize, size);
    QFETCH(QRect, playArea);
    QFETCH(QRect, list);
    QFETCH(QRect, slider);
    QFETCH(int, rowY);
    QFETCH(int, playX);
    QFETCH(int, hideListX);
    QFETCH(QPoint, totalTime);
    QFETCH(int, titleWidth);
    TestWindow window(nullptr);
    show(window);
    window.move(0, 0); // where the window manager leaves every size
    QTRY_COMPARE(window.pos(), QPoint(0, 0));
    resizeTo(window, 960, 580);
    resizeTo(window, size.width(), size.height());
    QCOMPARE(window.ui->playWidget->geometry(), playArea);
    QCOMPARE(window.listWidget->geometry(), list);
    QCOMPARE(window.ui->processSlider->geometry(), slider);
    QCOMPARE(window.ui->playBtn->pos(), QPoint(playX, rowY));
    QCOMPARE(window.ui->hideListBtn->pos(), QPoint(hideListX, rowY));
    QCOMPARE(window.ui->volumSlider->pos(), QPoint(playX + 2 * 81 + 41, rowY + 5));
    QCOMPARE(window.ui->totalTimeLabel->pos(), totalTime);
    QCOMPARE(window.ui->currentTimeLabel->pos(), QPoint(0, totalTime.y()));
    QCOMPARE(window.m_titleBar->width(), titleWidth);
    QVERIFY(window.ui->listWidget->isHidden());
    QCOMPARE(window.ui->stateLabel->pos(), playArea.topLeft());
    QCOMPARE(window.ui->stateLabel->width(), playArea.width());
    QCOMPARE(window.ui->resizeBtn->pos(),
             QPoint(window.x() + size.width() - 10, window.y() + size.height() - 10));
}

void TestMainWindowLayout::geometryWithHiddenList_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QRect>("playArea");
    QTest::addColumn<QPoint>("listCorner");
    QTest::newRow("945x564") << QSize(945, 564) << QRect(0, 40, 940, 412) << QPoint(729, 40);
    QTest::newRow("1200x700") << QSize(1200, 700) << QRect(0, 40, 1195, 548) << QPoint(984, 40);
    QTest::newRow("1000x600") << QSize(1000, 600) << QRect(0, 40, 995, 448) << QPoint(784, 40);
}

void TestMainWindowLayout::geometryWithHiddenList()
{
    QFETCH(QSize, size);
    QFETCH(QRect, playArea);
    QFETCH(QPoint, listCorner);
    TestWindow window(nullptr);
    show(window);
    window.on_hideListBtn_clicked();
    resizeTo(window, 960, 580);
    resizeTo(window, size.width(), size.height());
    QCOMPARE(window.ui->playWidget->geometry(), playArea);
    QCOMPARE(window.listWidget->pos(), listCorner);
    QVERIFY(window.listWidget->isHidden());
    QCOMPARE(window.ui->processSlider->width(), size.width() - 211);
    QCOMPARE(window.m_titleBar->width(), size.width() - 5 + 211);
}

void TestMainWindowLayout::geometryMaximised_data()
{
    QTest::addColumn<bool>("listHidden");
    QTest::addColumn<QRect>("playArea");
    QTest::addColumn<int>("titleWidth");
    QTest::newRow("with the list") << false << QRect(0, 40, 1064, 648) << 1275;
    QTest::newRow("without it") << true << QRect(0, 40, 1275, 648) << 1486;
}

void TestMainWindowLayout::geometryMaximised()
{
    QFETCH(bool, listHidden);
    QFETCH(QRect, playArea);
    QFETCH(int, titleWidth);
    TestWindow window(nullptr);
    show(window);
    if (listHidden)
        window.on_hideListBtn_clicked();
    window.showMaximized();
    QTRY_COMPARE(window.size(), QSize(1280, 800));
    QTRY_COMPARE(window.ui->playWidget->geometry(), playArea);
    QVERIFY(window.isMaximized());
    QTRY_COMPARE(window.ui->processSlider->geometry(), QRect(0, 705, 1280 - 211 - 20, 20));
    QCOMPARE(window.listWidget->geometry(), QRect(1064, 40, 211, 648));
    QCOMPARE(window.listWidget->isHidden(), listHidden);
    QCOMPARE(window.ui->playBtn->pos(), QPoint(515, 745));
    QCOMPARE(window.ui->hideListBtn->pos(), QPoint(1042, 745));
    QCOMPARE(window.ui->totalTimeLabel->pos(), QPoint(1004, 690));
    QCOMPARE(window.ui->currentTimeLabel->pos(), QPoint(0, 690));
    QCOMPARE(window.m_titleBar->width(), titleWidth);
    window.showNormal();
    QTRY_COMPARE(window.size(), QSize(945, 564));
    QTRY_COMPARE(window.ui->processSlider->width(), 734);
}

// Whatever the bar's own width is: while the list is hidden that is more than the window's.
void TestMainWindowLayout::titleButtonsStayInside()
{
    TestWindow window(nullptr);
    show(window);
    const TitleBar *bar = window.m_titleBar;
    const auto end = [&] { return bar->m_closeButton->geometry().right() + 1; };
    const auto row = [&] { return end() - bar->m_thumbtackBtn->x(); };
    window.on_hideListBtn_clicked();
    resizeTo(window, 1000, 600);
    QCOMPARE(bar->width(), 995 + 211);
    QCOMPARE(end(), 1000);
    QCOMPARE(row(), 22 + 4 * 27);
    window.on_hideListBtn_clicked(); // the list is back, the bar as wide as before
    QCOMPARE(bar->width(), 995 + 211);
    QCOMPARE(end(), 1000);
    resizeTo(window, 945, 564);
    QCOMPARE(end(), 940);

    window.on_hideListBtn_clicked();
    bar->m_maximizeButton->click();
    QTRY_COMPARE(window.size(), QSize(1280, 800));
    QTRY_COMPARE(bar->width(), 1275 + 211);
    QTRY_COMPARE(end(), 1280);
    bar->m_maximizeButton->click();
    QTRY_COMPARE(window.size(), QSize(945, 564));
    QTRY_COMPARE(bar->width(), 940 + 211);
    QTRY_COMPARE(end(), 945);

    window.on_fullScreenBtn_clicked();
    QTRY_COMPARE(window.size(), QSize(1280, 800));
    window.showNormalWin();
    QTRY_COMPARE(window.size(), QSize(945, 564));
    QTRY_COMPARE(bar->width(), 940 + 211);
    QTRY_COMPARE(end(), 945);
    QCOMPARE(row(), 22 + 4 * 27);

    window.m_titleBar->setFixedWidth(995 + 211); // which the next size gives it as well
    QTRY_COMPARE(end(), 945);
    resizeTo(window, 1000, 600);
    QCOMPARE(bar->width(), 995 + 211);
    QCOMPARE(end(), 1000);
}

// Smaller than its parts: nothing has a negative size, and all comes back.
void TestMainWindowLayout::tinyWindow()
{
    TestWindow window(nullptr);
    show(window);
    LogCapture log;
    for (int i = 0; i < 3; ++i) { // list shown, hidden and shown again
        resizeTo(window, 60 + i, 50);
        QCOMPARE(window.ui->playWidget->size(), QSize(i == 1 ? 56 : 0, 0));
        QCOMPARE(window.ui->processSlider->size(), QSize(0, 20));
        window.on_hideListBtn_clicked();
    }
    window.on_hideListBtn_clicked();
    resizeTo(window, 945, 564);
    QCOMPARE(window.ui->playWidget->geometry(), QRect(0, 40, 729, 412));
    QVERIFY2(log.lines().filter("QWidget::").isEmpty(), qPrintable(log.lines().join('\n')));
}

void TestMainWindowLayout::resizeInFullScreenChangesNothing()
{
    TestWindow window(nullptr);
    show(window);
    const QRect area = window.ui->playWidget->geometry();
    const QPoint button = window.ui->playBtn->pos();
    fullScreenFlag = true;
    resizeTo(window, 1100, 650);
    QCOMPARE(window.ui->playWidget->geometry(), area);
    QCOMPARE(window.ui->playBtn->pos(), button);
    fullScreenFlag = false;
}

// The first hide widens the area by five pixels more than the list, because the layout leaves a
// gap.
void TestMainWindowLayout::listToggle()
{
    TestWindow window(nullptr);
    show(window);
    const int height = window.ui->playWidget->height();
    QCOMPARE(window.ui->playWidget->width(), 729);
    window.on_hideListBtn_clicked();
    QCOMPARE(window.ui->playWidget->size(), QSize(945, height));
    QVERIFY(window.listWidget->isHidden() && window.listHideFlag);
    QCOMPARE(window.ui->hideListBtn->toolTip(), QString("显示列表"));
    QCOMPARE(window.ui->processSlider->size(), QSize(945, 20));
    QCOMPARE(window.ui->totalTimeLabel->pos(), QPoint(945 - 80 + 15, 454));
    window.on_hideListBtn_clicked();
    QCOMPARE(window.ui->playWidget->size(), QSize(734, height));
    QVERIFY(window.listWidget->isVisible() && !window.listHideFlag);
    QCOMPARE(window.ui->hideListBtn->toolTip(), QString("隐藏列表"));
    QCOMPARE(window.ui->processSlider->size(), QSize(734, 20));
    QCOMPARE(window.ui->totalTimeLabel->pos(), QPoint(734 - 80 + 15, 454));
    window.on_hideListBtn_clicked();
    QCOMPARE(window.ui->playWidget->width(), 945);
}

void TestMainWindowLayout::listToggleKeepsItsFirstWidth()
{
    TestWindow window(nullptr);
    show(window);
    window.on_hideListBtn_clicked();
    window.ui->listWidget->setFixedWidth(300);
    resizeTo(window, 1100, 650);
    window.on_hideListBtn_clicked();
    QCOMPARE(window.ui->playWidget->width(), 1100 - 211);
}

void TestMainWindowLayout::listToggleInFullScreen()
{
    TestWindow window(nullptr);
    show(window);
    fullScreenFlag = true;
    window.on_hideListBtn_clicked();
    QCOMPARE(window.listHideFlag, false);
    QCOMPARE(window.ui->playWidget->width(), 729);
    QVERIFY(window.listWidget->isVisible());
    fullScreenFlag = false;
}

// What the user has set is taken over 100 ms later; until then a resize takes it back.
void TestMainWindowLayout::resizeResetsVolume()
{
    defaultVolum = 40;
    TestWindow window(nullptr);
    show(window);
    QCOMPARE(window.ui->volumSlider->value(), 40);
    window.ui->volumSlider->setValue(70);
    window.resize(1000, 600);
    QTRY_COMPARE(window.ui->playBtn->x(), 375);
    QCOMPARE(window.ui->volumSlider->value(), 40);
    window.ui->volumSlider->setValue(70);
    QTRY_COMPARE(defaultVolum, 70);
    resizeTo(window, 1001, 601);
    QCOMPARE(window.ui->volumSlider->value(), 70);
}

void TestMainWindowLayout::resizeHidesPopUps()
{
    TestWindow window(nullptr);
    show(window);
    window.on_speedSetBtn_clicked();
    QVERIFY(window.sw->isVisible());
    window.fsvc->sw->state = 1;
    window.fsvc->sw->show();
    window.fsvc->state = true;
    window.fsvc->show();
    resizeTo(window, 1000, 600);
    QVERIFY(!window.sw->isVisible() && window.sw->state == 0);
    QVERIFY(!window.fsvc->sw->isVisible() && window.fsvc->sw->state == 0);
    QVERIFY(!window.fsvc->isVisible());
    QVERIFY(window.fsvc->state);
    window.on_speedSetBtn_clicked();
    QVERIFY(window.sw->isVisible());
    window.sw->dismiss();
}

void TestMainWindowLayout::stateLabelHidesItself()
{
    TestWindow window(nullptr);
    show(window);
    QElapsedTimer clock;
    clock.start();
    window.showStateLabel("abc", 300);
    QCOMPARE(window.ui->stateLabel->text(), QString("abc"));
    QCOMPARE(window.ui->stateLabel->width(), 45);
    QVERIFY(window.ui->stateLabel->isVisible());
    QTRY_VERIFY(!window.ui->stateLabel->isVisible());
    QVERIFY2(clock.elapsed() >= 280, "hidden too early");
    QVERIFY(!window.stateLabelTimer->isActive());
    window.showStateLabel("当前解码模式：软解", 2000);
    QCOMPARE(window.ui->stateLabel->width(), 15 * 9);
    QCOMPARE(window.stateLabelTimer->interval(), 2000);
}

void TestMainWindowLayout::secondNoticeRestartsTheTimer()
{
    TestWindow window(nullptr);
    show(window);
    window.showStateLabel("a", 400);
    QTRY_VERIFY(window.stateLabelTimer->remainingTime() < 200);
    window.showStateLabel("bb", 400);
    QVERIFY(window.stateLabelTimer->remainingTime() > 300);
    QCOMPARE(window.ui->stateLabel->width(), 30);
}

void TestMainWindowLayout::stateLabelFollowsThePlayArea()
{
    TestWindow window(nullptr);
    show(window);
    window.showStateLabel("abc", 2000);
    QCOMPARE(window.ui->stateLabel->width(), 45);
    resizeTo(window, 1000, 600);
    QCOMPARE(window.ui->stateLabel->width(), 784);
    QCOMPARE(window.ui->stateLabel->height(), 22);
}

void TestMainWindowLayout::unplayedButtonPlays()
{
    addrlist[0].addr = "/a.mp4";
    addrNum = 1;
    TestWindow window(nullptr);
    window.on_unPlayedBtn_clicked(); // no engine is installed: the start fails, the state is set
    QCOMPARE(playinglist.state, 1);
    QCOMPARE(playingState, true);
    window.on_unPlayedBtn_clicked();
    QCOMPARE(playingState, false);
}

QTEST_MAIN(TestMainWindowLayout)
#include "tst_mainwindow_layout.moc"
