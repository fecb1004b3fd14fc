// What the real main window is made of and how it looks before anything happens.
#include "common.h"
#include "icons.h"
#include "testsupport.h"
#include "testwindow.h"

#include <QLabel>
#include <QListWidget>
#include <QMediaPlayer>
#include <QPushButton>
#include <QToolButton>
#include <QtTest>

class TestMainWindowLooks : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void formHoldsAllWidgets_data();
    void formHoldsAllWidgets();
    void formKeepsItsOrder();
    void noticeLiesOnTop();
    void looksAtConstruction();
    void fieldsAtConstruction();
    void buttonLooks_data();
    void buttonLooks();
    void sliderLooks();
    void placeholderCarriesTheBackground();
    void hardwareModeDisablesScreenshots();
    void disabledScreenshotButtonIsPale();
    void stateLabelShowsNamesLiterally();
    void gripChangesTheCursorOnly();
    void accessibleNames();

private:
    QScopedPointer<PlayerRoot> root;
};

void TestMainWindowLooks::init()
{
    root.reset(new PlayerRoot);
    defaultVolum = 0; // any other shows a notice soon after the first layout
}

void TestMainWindowLooks::cleanup() { root.reset(); }

void TestMainWindowLooks::formHoldsAllWidgets_data()
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

void TestMainWindowLooks::formHoldsAllWidgets()
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
    QCOMPARE(widget->geometry(), rect);
    QCOMPARE(widget->property("text").toString(), text);
    if (type == "QSlider")
        QCOMPARE(widget->property("orientation").toInt(), int(Qt::Horizontal));
}

void TestMainWindowLooks::formKeepsItsOrder()
{
    QMainWindow window;
    Ui::MainWindow form;
    form.setupUi(&window);
    QStringList names;
    for (const QObject *child : form.centralWidget->children())
        names << child->objectName();
    QCOMPARE(names,
             QStringList({"playWidget", "listWidget", "playBtn", "backwardBtn", "forwardBtn",
                          "processSlider", "stopBtn", "currentTimeLabel", "totalTimeLabel",
                          "openFileBtn", "volumBtn", "volumSlider", "fullScreenBtn", "hideListBtn",
                          "speedSetBtn", "snapShotBtn", "resizeBtn", "stateLabel"}));
}

// The video and all its siblings have X11 windows of their own, and the last one is on top.
void TestMainWindowLooks::noticeLiesOnTop()
{
    TestWindow window(nullptr);
    QVERIFY(window.ui->playWidget->internalWinId());
    QVERIFY(window.ui->stateLabel->internalWinId());
    QCOMPARE(window.centralWidget()->children().constLast(),
             static_cast<QObject *>(window.ui->stateLabel));
    QVERIFY(!QCoreApplication::testAttribute(Qt::AA_DontCreateNativeWidgetSiblings));
}

void TestMainWindowLooks::looksAtConstruction()
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
    QVERIFY(sameIcon(window.ui->resizeBtn->icon(), ":/image/controlicon/triangle.png"));
}

void TestMainWindowLooks::fieldsAtConstruction()
{
    maxFlag = true;
    TestWindow window(nullptr);
    QVERIFY(!maxFlag);
    QVERIFY(!window.windowActiveFlag);
    QCOMPARE(window.currentPosition, 0);
    QCOMPARE(window.lastVol, 0);
    QCOMPARE(window.widgetNormalWidth, 0);
    QCOMPARE(window.widgetNormalHeight, 0);
    const QList<QTimer *> timers{window.processTimer, window.mouseClickTimer,
                                 window.stateLabelTimer, window.volumSliderTimer};
    for (QTimer *timer : timers)
        QVERIFY(timer->parent() == &window && !timer->isActive());

    // Never used.
    QVERIFY(!window.mainLayout && !window.btnLayout && !window.processLabelLayout);
    QVERIFY(!window.subTitleLabel && window.subTitleFileName.isEmpty());
    QCOMPARE(window.subTitlePos, 0);
    QCOMPARE(window.windWidth, 0);
    QCOMPARE(window.winHeight, 0);
}

void TestMainWindowLooks::buttonLooks_data()
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

void TestMainWindowLooks::buttonLooks()
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
    QVERIFY(sameIcon(button->icon(), ":/image/controlicon/" + icon + ".png"));
    QCOMPARE(button->focusPolicy(), Qt::NoFocus);
    QCOMPARE(button->styleSheet(), QString("color:white;background-color:gray"));
    if (autoFill)
        QVERIFY(button->autoFillBackground());
    QCOMPARE(window.ui->speedSetBtn->styleSheet(), QString("color:white;background-color:gray;"));
    QCOMPARE(window.ui->speedSetBtn->text(), QString("倍速"));
    QCOMPARE(window.ui->speedSetBtn->toolTip(), QString("倍速"));
    QVERIFY(window.ui->speedSetBtn->icon().isNull());
}

void TestMainWindowLooks::sliderLooks()
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

void TestMainWindowLooks::placeholderCarriesTheBackground()
{
    TestWindow window(nullptr);
    const QBrush brush =
        window.ui->listWidget->palette().brush(window.ui->listWidget->backgroundRole());
    QCOMPARE(brush.texture().toImage(), QPixmap(":/image/background.jpg").toImage());
    QVERIFY(!brush.texture().isNull());
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(window.ui->listWidget->isHidden());
    QVERIFY(window.listWidget->isVisible());
}

void TestMainWindowLooks::hardwareModeDisablesScreenshots()
{
    decodeFlag = 2;
    TestWindow window(nullptr);
    QVERIFY(!window.ui->snapShotBtn->isEnabled());
    QCOMPARE(window.ui->snapShotBtn->toolTip(), QString("硬解模式下不支持截图"));
    QVERIFY(!window.snapThread->isRunning());
    QCOMPARE(window.curDecodeFlag, 2);
}

// As it looks, not only as it acts.
void TestMainWindowLooks::disabledScreenshotButtonIsPale()
{
    TestWindow window(nullptr);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QToolButton *button = window.ui->snapShotBtn;
    const auto whitePixels = [&] {
        const QImage look = button->grab().toImage();
        int count = 0;
        for (int y = 4; y < look.height() - 4; y++) {
            for (int x = 4; x < look.width() - 4; x++)
                count += look.pixelColor(x, y).lightness() > 230;
        }
        return count;
    };
    const int enabled = whitePixels();
    QVERIFY(enabled > 40);
    decodeFlag = 2;
    window.recvSetDecodeSignal();
    QVERIFY(!button->isEnabled());
    QCOMPARE(whitePixels(), 0);
    QVERIFY(!button->icon().pixmap(button->iconSize(), QIcon::Disabled).isNull());
    decodeFlag = 0;
    window.recvSetDecodeSignal();
    QCOMPARE(whitePixels(), enabled);
}

void TestMainWindowLooks::stateLabelShowsNamesLiterally()
{
    TestWindow window(nullptr);
    QCOMPARE(window.ui->stateLabel->textFormat(), Qt::PlainText);
    QCOMPARE(window.m_titleBar->m_titleLabel->textFormat(), Qt::PlainText);
    QCOMPARE(window.fsvc->titleLabel->textFormat(), Qt::PlainText);
}

void TestMainWindowLooks::gripChangesTheCursorOnly()
{
    TestWindow window(nullptr);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QSize size = window.size();
    QVERIFY(QMetaObject::invokeMethod(window.ui->resizeBtn, "pressed"));
    QCOMPARE(window.cursor().shape(), Qt::SizeFDiagCursor);
    QCOMPARE(window.size(), size);
}

void TestMainWindowLooks::accessibleNames()
{
    TestWindow window(nullptr);
    for (QToolButton *button : window.centralWidget()->findChildren<QToolButton *>())
        QCOMPARE(button->accessibleName(), button->toolTip());
    for (QSlider *slider : {window.ui->volumSlider, window.ui->processSlider})
        QVERIFY(!slider->accessibleName().isEmpty());
    window.on_hideListBtn_clicked();
    QCOMPARE(window.ui->hideListBtn->accessibleName(), QString("显示列表"));
}

QTEST_MAIN(TestMainWindowLooks)
#include "tst_mainwindow_looks.moc"
