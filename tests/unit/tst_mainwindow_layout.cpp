// Geometry, looks, list toggle and state label of the real main window.
#include "common.h"
#include "testsupport.h"
#include "testwindow.h"

#include <QLabel>
#include <QListWidget>
#include <QMediaPlayer>
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

    void formHoldsAllWidgets_data();
    void formHoldsAllWidgets();
    void looksAtConstruction();
    void buttonLooks_data();
    void buttonLooks();
    void sliderLooks();
    void placeholderCarriesTheBackground();
    void hardwareModeDisablesScreenshots();
    void startsCentred();
    void firstGeometry();
    void geometry_data();
    void geometry();
    void geometryWithHiddenList_data();
    void geometryWithHiddenList();
    void geometryMaximised();
    void resizeInFullScreenChangesNothing();
    void listToggle();
    void listToggleKeepsItsFirstWidth();
    void listToggleInFullScreen();
    void resizeResetsVolume();
    void resizeHidesPopUps();
    void stateLabelHidesItself();
    void secondNoticeRestartsTheTimer();
    void stateLabelFollowsThePlayArea();
    void stateLabelShowsNamesLiterally();
    void gripChangesTheCursorOnly();
    void unplayedButtonPlays();
    void accessibleNames();

private:
    void show(TestWindow &window);
    void resizeTo(TestWindow &window, int width, int height);

    QScopedPointer<InstallRoot> root;
};

static QRect geometryOf(const QWidget *widget) { return QRect(widget->pos(), widget->size()); }

void TestMainWindowLayout::initTestCase()
{
    QVERIFY2(QGuiApplication::platformName() == "xcb", "these tests need a real X server");
}

void TestMainWindowLayout::init()
{
    resetSharedState();
    root.reset(new InstallRoot);
    defaultPlayPath = root->historyFile();
    defaultVolum = 0; // any other shows a notice soon after the first layout
    screenShotPath = root->path() + "/shots/";
    QDir().mkpath(screenShotPath);
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

void TestMainWindowLayout::formHoldsAllWidgets_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QRect>("rect");
    QTest::addColumn<QString>("text");
    const struct {
        const char *name;
        const char *type;
        QRect rect;
        const char *text;
    } rows[] = {
        {"playWidget", "QWidget", {0, 40, 721, 428}, ""},
        {"listWidget", "QListWidget", {730, 40, 211, 431}, ""},
        {"playBtn", "QToolButton", {330, 520, 41, 35}, "..."},
        {"backwardBtn", "QToolButton", {260, 520, 32, 35}, "..."},
        {"forwardBtn", "QToolButton", {410, 520, 32, 35}, "..."},
        {"processSlider", "QSlider", {0, 490, 971, 21}, ""},
        {"stopBtn", "QToolButton", {180, 520, 32, 35}, "..."},
        {"currentTimeLabel", "QLabel", {0, 480, 63, 22}, "00:00:00"},
        {"totalTimeLabel", "QLabel", {860, 480, 63, 22}, "00:00:00"},
        {"openFileBtn", "QToolButton", {100, 520, 32, 35}, "..."},
        {"volumBtn", "QToolButton", {490, 520, 32, 35}, "..."},
        {"volumSlider", "QSlider", {540, 530, 81, 24}, ""},
        {"fullScreenBtn", "QToolButton", {750, 520, 32, 35}, "..."},
        {"hideListBtn", "QToolButton", {880, 520, 32, 35}, "..."},
        {"speedSetBtn", "QToolButton", {660, 520, 41, 35}, "..."},
        {"snapShotBtn", "QToolButton", {30, 520, 32, 35}, "..."},
        {"resizeBtn", "QPushButton", {930, 550, 16, 21}, "..."},
        {"stateLabel", "QLabel", {880, 510, 51, 22}, "state"},
    };
    for (const auto &row : rows)
        QTest::newRow(row.name) << QString(row.name) << QString(row.type) << row.rect
                                << QString(row.text);
}

void TestMainWindowLayout::formHoldsAllWidgets()
{
    QFETCH(QString, name);
    QFETCH(QString, type);
    QFETCH(QRect, rect);
    QFETCH(QString, text);
    QMainWindow window;
    Ui::MainWindow form;
    form.setupUi(&window);
    QCOMPARE(window.size(), QSize(945, 564));
    QCOMPARE(window.windowTitle(), QString("MainWindow"));
    QCOMPARE(window.centralWidget()->objectName(), QString("centralWidget"));
    QWidget *widget = window.findChild<QWidget *>(name);
    QVERIFY(widget);
    QCOMPARE(widget->parentWidget(), window.centralWidget());
    QCOMPARE(QString(widget->metaObject()->className()), type);
    QCOMPARE(geometryOf(widget), rect);
    QCOMPARE(widget->property("text").toString(), text);
    if (type == "QSlider")
        QCOMPARE(widget->property("orientation").toInt(), int(Qt::Horizontal));
}

void TestMainWindowLayout::looksAtConstruction()
{
    LogCapture log;
    TestWindow window(nullptr);
    QCOMPARE(window.windowFlags(), Qt::WindowFlags(Qt::FramelessWindowHint | Qt::Window));
    const QBrush background = window.palette().brush(window.backgroundRole());
    QCOMPARE(background.style(), Qt::SolidPattern);
    QCOMPARE(background.color(), QColor(70, 70, 70, 255));
    QCOMPARE(window.windowTitle(), QString("MainWindow"));
    QCOMPARE(window.m_titleBar->m_titleLabel->text(), QString("Tarnivo播放器-影音版"));
    QCOMPARE(window.m_titleBar->height(), 30);
    QCOMPARE(window.m_titleBar->width(), 945);
    QCOMPARE(window.m_titleBar->m_iconLabel->pixmap(Qt::ReturnByValue).isNull(), false);
    QCOMPARE(window.screenWidth, 1280);
    QCOMPARE(window.screenHeight, 800);
    QVERIFY(log.contains("w= 1280  h= 800"));
    QVERIFY(log.contains("winid is  " + QString::number(playinglist.widID)));
    QCOMPARE(playinglist.widID, quint64(window.ui->playWidget->winId()));
    QVERIFY(playinglist.widID != 0);
    QVERIFY(playinglist.process_mplayer);
    QVERIFY(!playinglist.process_mplayer->parent());
    QCOMPARE(window.normalWidth, 945);
    QCOMPARE(window.normalHeight, 564);
    QCOMPARE(window.currentSpeed, 2);
    QCOMPARE(window.subTitleScale, 3.0);
    QCOMPARE(window.listHideFlag, false);
    QCOMPARE(playinglist.addrIndex, -1);
    QVERIFY(window.mplayer);
    QCOMPARE(window.mplayer->parent(), &window);
    QVERIFY(!window.sw->parent() && !window.fsvc->parent());
    QCOMPARE(window.ads->parent(), &window);
    QCOMPARE(window.listWidget->parent(), &window);
    QVERIFY(window.fsvc->hasMouseTracking());
    for (QWidget *widget :
         QList<QWidget *>{&window, window.ui->playWidget, window.ui->centralWidget})
        QVERIFY(widget->hasMouseTracking());
    QVERIFY(window.acceptDrops() && window.ui->playWidget->acceptDrops());
    for (QWidget *widget :
         QList<QWidget *>{&window, window.m_titleBar, window.listWidget, window.ui->volumSlider,
                          window.ui->processSlider, window.ui->resizeBtn})
        QCOMPARE(widget->focusPolicy(), Qt::NoFocus);
    QCOMPARE(window.ui->playWidget->styleSheet(), QString("background-color:black"));
    QCOMPARE(window.ui->stateLabel->styleSheet(),
             QString("background-color: transparent;font-size:15px;color:white"));
    QVERIFY(window.ui->stateLabel->isHidden());
    for (QLabel *label : {window.ui->currentTimeLabel, window.ui->totalTimeLabel}) {
        QCOMPARE(label->minimumSize(), QSize(80, 15));
        QCOMPARE(label->maximumSize(), QSize(80, 15));
        QCOMPARE(label->palette().color(QPalette::WindowText), QColor(Qt::white));
    }
    QCOMPARE(window.ui->resizeBtn->size(), QSize(10, 10));
    QVERIFY(window.ui->resizeBtn->isFlat() && window.ui->resizeBtn->isHidden());
}

void TestMainWindowLayout::buttonLooks_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("hint");
    QTest::addColumn<QString>("icon");
    QTest::addColumn<QSize>("iconSize");
    QTest::addColumn<bool>("autoFill");
    const struct {
        const char *name;
        const char *hint;
        const char *icon;
        QSize size;
        bool autoFill;
    } rows[] = {
        {"playBtn", "播放", "play", {45, 45}, true},
        {"backwardBtn", "快退", "backward", {36, 36}, true},
        {"forwardBtn", "快进", "forward", {36, 36}, false},
        {"stopBtn", "停止", "stop", {36, 36}, false},
        {"openFileBtn", "打开文件", "floder", {25, 25}, false},
        {"volumBtn", "音量", "vol1", {25, 25}, false},
        {"fullScreenBtn", "全屏", "fullscreen1", {30, 25}, false},
        {"hideListBtn", "隐藏列表", "list", {30, 25}, false},
        {"snapShotBtn", "截图", "camera", {25, 25}, false},
    };
    for (const auto &row : rows)
        QTest::newRow(row.name) << QString(row.name) << QString(row.hint) << QString(row.icon)
                                << row.size << row.autoFill;
}

void TestMainWindowLayout::buttonLooks()
{
    QFETCH(QString, name);
    QFETCH(QString, hint);
    QFETCH(QString, icon);
    QFETCH(QSize, iconSize);
    QFETCH(bool, autoFill);
    TestWindow window(nullptr);
    auto *button = window.findChild<QToolButton *>(name);
    QVERIFY(button);
    QCOMPARE(button->toolTip(), hint);
    QCOMPARE(button->iconSize(), iconSize);
    const QIcon expected(":/image/controlicon/" + icon + ".png");
    QVERIFY(!expected.isNull() && !expected.availableSizes().isEmpty());
    QCOMPARE(button->icon().pixmap(iconSize).toImage(), expected.pixmap(iconSize).toImage());
    QCOMPARE(button->focusPolicy(), Qt::NoFocus);
    QCOMPARE(button->styleSheet(), QString("color:white;background-color:gray"));
    if (autoFill)
        QVERIFY(button->autoFillBackground());
    QCOMPARE(window.ui->speedSetBtn->styleSheet(), QString("color:white;background-color:gray;"));
    QCOMPARE(window.ui->speedSetBtn->text(), QString("倍速"));
    QCOMPARE(window.ui->speedSetBtn->toolTip(), QString("倍速"));
    QVERIFY(window.ui->speedSetBtn->icon().isNull());
}

void TestMainWindowLayout::sliderLooks()
{
    TestWindow window(nullptr);
    QCOMPARE(
        window.ui->volumSlider->styleSheet(),
        QString(" QSlider::add-page:Horizontal{ background-color: rgb(87, 97, 106); height:4px;} "
                "QSlider::sub-page:Horizontal     {background-color:rgba(7,158,205, 255); "
                "height:4px;}QSlider::groove:Horizontal "
                "{background:transparent;height:6px;}QSlider::handle:Horizontal { border: 0px "
                ";width: 5px;height:5px;margin: -7px -7px -7px "
                "-7px;background-color:rgba(57,108,100, 255);}"));
    QCOMPARE(
        window.ui->processSlider->styleSheet(),
        QString(
            " QSlider::add-page:Horizontal{  background-color: rgb(87, 97, 106); height:4px;} "
            "QSlider::sub-page:Horizontal     {background-color:rgba(7,158,205, 255); "
            "height:4px;}QSlider::groove:Horizontal "
            "{background:transparent;height:6px;}QSlider::handle:Horizontal{height: "
            "30px;width:8px;border-image: url(:/images/ic_music_thumb.png); margin: -8 0px;} "));
    QCOMPARE(window.ui->volumSlider->minimum(), 0);
    QCOMPARE(window.ui->volumSlider->maximum(), 100);
    QCOMPARE(window.ui->volumSlider->value(), 0);
    QCOMPARE(window.ui->processSlider->minimum(), 0);
    QCOMPARE(window.ui->processSlider->maximum(), 99);
    QCOMPARE(window.ui->processSlider->value(), 0);
    QVERIFY(!window.ui->processSlider->autoFillBackground());
}

void TestMainWindowLayout::placeholderCarriesTheBackground()
{
    TestWindow window(nullptr);
    const QBrush brush =
        window.ui->listWidget->palette().brush(window.ui->listWidget->backgroundRole());
    QCOMPARE(brush.texture().toImage(), QPixmap(":/image/background.jpg").toImage());
    QVERIFY(!brush.texture().isNull());
    show(window);
    QVERIFY(window.ui->listWidget->isHidden());
    QVERIFY(window.listWidget->isVisible());
}

void TestMainWindowLayout::hardwareModeDisablesScreenshots()
{
    decodeFlag = 2;
    TestWindow window(nullptr);
    QVERIFY(!window.ui->snapShotBtn->isEnabled());
    QCOMPARE(window.ui->snapShotBtn->toolTip(), QString("硬解模式下不支持截图"));
    QVERIFY(!window.snapThread->isRunning());
    QCOMPARE(window.curDecodeFlag, 2);
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
    QCOMPARE(geometryOf(window.ui->playWidget), QRect(0, 40, 729, 411));
    QCOMPARE(geometryOf(window.listWidget), QRect(729, 40, 211, 411));
    QCOMPARE(geometryOf(window.ui->processSlider), QRect(0, 469, 734, 20));
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
    QCOMPARE(geometryOf(window.ui->playWidget), playArea);
    QCOMPARE(geometryOf(window.listWidget), list);
    QCOMPARE(geometryOf(window.ui->processSlider), slider);
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
    QCOMPARE(geometryOf(window.ui->playWidget), playArea);
    QCOMPARE(window.listWidget->pos(), listCorner);
    QVERIFY(window.listWidget->isHidden());
    QCOMPARE(window.ui->processSlider->width(), size.width() - 211);
    QCOMPARE(window.m_titleBar->width(), size.width() - 5 + 211);
}

void TestMainWindowLayout::geometryMaximised()
{
    TestWindow window(nullptr);
    show(window);
    window.showMaximized();
    QTRY_COMPARE(window.size(), QSize(1280, 800));
    QTRY_COMPARE(window.ui->playWidget->width(), 1280 - 211 - 5);
    QVERIFY(window.isMaximized());
    QTRY_COMPARE(window.ui->processSlider->width(), 1280 - 211 - 20);
    QCOMPARE(window.ui->processSlider->height(), 20);
    window.showNormal();
    QTRY_COMPARE(window.size(), QSize(945, 564));
    QTRY_COMPARE(window.ui->processSlider->width(), 734);
}

void TestMainWindowLayout::resizeInFullScreenChangesNothing()
{
    TestWindow window(nullptr);
    show(window);
    const QRect area = geometryOf(window.ui->playWidget);
    const QPoint button = window.ui->playBtn->pos();
    fullScreenFlag = true;
    resizeTo(window, 1100, 650);
    QCOMPARE(geometryOf(window.ui->playWidget), area);
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

void TestMainWindowLayout::stateLabelShowsNamesLiterally()
{
    TestWindow window(nullptr);
    QCOMPARE(window.ui->stateLabel->textFormat(), Qt::PlainText);
    QCOMPARE(window.m_titleBar->m_titleLabel->textFormat(), Qt::PlainText);
    QCOMPARE(window.fsvc->titleLabel->textFormat(), Qt::PlainText);
}

void TestMainWindowLayout::gripChangesTheCursorOnly()
{
    TestWindow window(nullptr);
    show(window);
    const QSize size = window.size();
    window.on_resizeBtn_pressed();
    QCOMPARE(window.cursor().shape(), Qt::SizeFDiagCursor);
    QCOMPARE(window.size(), size);
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

void TestMainWindowLayout::accessibleNames()
{
    TestWindow window(nullptr);
    for (QToolButton *button : window.centralWidget()->findChildren<QToolButton *>())
        QCOMPARE(button->accessibleName(), button->toolTip());
    for (QSlider *slider : {window.ui->volumSlider, window.ui->processSlider})
        QVERIFY(!slider->accessibleName().isEmpty());
    window.on_hideListBtn_clicked();
    QCOMPARE(window.ui->hideListBtn->accessibleName(), QString("显示列表"));
}

QTEST_MAIN(TestMainWindowLayout)
#include "tst_mainwindow_layout.moc"
