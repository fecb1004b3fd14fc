// The full-screen control bar: construction, every signal, mouse, keyboard, timers, hiding, menu.
#include "common.h"
#include "engineprocess.h"
#include "fullscreenvideocontrl.h"
#include "speedwind.h"
#include "testsupport.h"

#include <QtTest>
#include <QtWidgets>

#include <memory>
#include <vector>

namespace {

using Bar = FullScreenVideoControl;

const char playIcon[] = ":/image/controlicon/play.png";
const char pauseIcon[] = ":/image/controlicon/pause.png";
const QSize screenSize(1280, 800);

// The bar with its handlers within reach of the test.
class OpenBar : public FullScreenVideoControl {
public:
    using FullScreenVideoControl::contextMenuEvent;
    using FullScreenVideoControl::focusOutEvent;
};

const QStringList &allSignals()
{
    static const QStringList names = {"mouseHide()",
                                      "floatPlay()",
                                      "processSliderSignal(int)",
                                      "voiceSliderSignal(int)",
                                      "fullScreenSignal()",
                                      "stopSignal()",
                                      "replaySignal()",
                                      "playBtnClickedSignal()",
                                      "forwardSignal()",
                                      "backwardSignal()",
                                      "volumSignal(int)",
                                      "exitFullScreenSignal()",
                                      "speedSetSignal(int)",
                                      "openFileBtnSignal()",
                                      "voiceDelayPlusSignal()",
                                      "voiceDelayReduceSignal()",
                                      "cancelAudioDelaySignal()",
                                      "setAudioDelaySignal()",
                                      "openSubTitleFileSignal()",
                                      "subTitleDelayIncreaseSignal()",
                                      "subTitleDelayReduceSignal()",
                                      "cancelSubDelaySignal()",
                                      "delSubTitleSignal()",
                                      "setSubDelaySignal()",
                                      "subScalePlusSignal()",
                                      "subScaleReduceSignal()",
                                      "subPosUpSignal()",
                                      "subPosDownSignal()"};
    return names;
}

// Everything the bar emits: take() gives what came since the last take, as "stopSignal()" or
// "volumSignal(30)", in the order of declaration.
class Emissions {
public:
    explicit Emissions(Bar *bar)
    {
        for (const QString &name : allSignals())
            spies.emplace_back(new QSignalSpy(bar, ("2" + name).toLatin1()));
    }

    QStringList take()
    {
        QStringList taken;
        for (int i = 0; i < allSignals().size(); ++i) {
            for (const QList<QVariant> &arguments : *spies[i]) {
                QString call = allSignals().at(i).section('(', 0, 0) + '(';
                if (!arguments.isEmpty())
                    call += arguments.first().toString();
                taken << call + ')';
            }
            spies[i]->clear();
        }
        return taken;
    }

private:
    std::vector<std::unique_ptr<QSignalSpy>> spies;
};

void fire(QTimer *timer) { QVERIFY(QMetaObject::invokeMethod(timer, "timeout")); }

// As the main window shows it over the video.
void showAsHost(Bar &bar)
{
    bar.setFixedSize(screenSize);
    bar.state = true;
    bar.titleLabel->setFixedSize(screenSize.width(), 80);
    bar.mouseTimer->start(5000);
    bar.move(0, 0);
    bar.show();
    bar.playBtn->setFocus();
    QVERIFY(QTest::qWaitForWindowExposed(&bar));
}

void showSpeedWindow(Bar &bar)
{
    bar.sw->state = 1;
    bar.sw->show();
}

bool shown(const Bar &bar) { return bar.state && bar.isVisible(); }

bool hidden(const Bar &bar) { return !bar.state && !bar.isVisible(); }

bool speedShown(const Bar &bar) { return bar.sw->state == 1 && bar.sw->isVisible(); }

bool speedHidden(const Bar &bar) { return bar.sw->state == 0 && !bar.sw->isVisible(); }

bool showsIcon(const QAbstractButton *button, const QString &path)
{
    const QImage expected = QIcon(path).pixmap(64, 64).toImage();
    return !expected.isNull() && button->icon().pixmap(64, 64).toImage() == expected;
}

// A mouse movement without a button held, straight to the bar.
void moveMouse(Bar &bar, const QPoint &position)
{
    QMouseEvent event(QEvent::MouseMove, position, bar.mapToGlobal(position), Qt::NoButton,
                      Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(&bar, &event);
}

// One line per entry: two blanks per level, " >" for a submenu, " (off)" when disabled.
QStringList outline(const QMenu *menu, int level = 0)
{
    QStringList lines;
    for (const QAction *action : menu->actions()) {
        lines << QString(2 * level, ' ') + action->text() + (action->menu() ? " >" : "") +
                (action->isEnabled() ? "" : " (off)");
        if (action->menu())
            lines << outline(action->menu(), level + 1);
    }
    return lines;
}

QList<QAction *> leaves(const QMenu *menu)
{
    QList<QAction *> found;
    for (QAction *action : menu->actions()) {
        if (action->menu())
            found << leaves(action->menu());
        else
            found << action;
    }
    return found;
}

// Opens the bar's menu and calls inspect while it stands open.
template <typename Inspect> void openMenu(OpenBar *bar, Inspect inspect)
{
    bool inspected = false;
    QTimer::singleShot(0, qApp, [&] {
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QVERIFY(menu);
        inspected = true;
        inspect(menu);
        if (QWidget *open = QApplication::activePopupWidget())
            open->close();
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(300, 300), QPoint(300, 300));
    bar->contextMenuEvent(&event);
    QVERIFY(inspected);
}

QList<QSpacerItem *> spacers(const QLayout *layout)
{
    QList<QSpacerItem *> found;
    for (int i = 0; i < layout->count(); ++i) {
        if (QSpacerItem *item = layout->itemAt(i)->spacerItem())
            found << item;
    }
    return found;
}

// "500x40 Expanding Minimum" for a spacer, the widget or layout otherwise.
QString described(const QSpacerItem *spacer)
{
    const auto policy = QMetaEnum::fromType<QSizePolicy::Policy>();
    return QString("%1x%2 %3 %4")
        .arg(spacer->sizeHint().width())
        .arg(spacer->sizeHint().height())
        .arg(policy.valueToKey(spacer->sizePolicy().horizontalPolicy()),
             policy.valueToKey(spacer->sizePolicy().verticalPolicy()));
}

} // namespace

class TestFullScreenVideoControl : public QObject {
    Q_OBJECT

private slots:
    void init();

    void window();
    void logsOfConstruction();
    void declaredButNeverCreated();
    void initialValues();
    void buttons();
    void buttonSizesAndIcons();
    void labels();
    void fileNamesAreNoMarkup();
    void voiceSlider();
    void voiceSliderTakesStoredVolume();
    void processSlider();
    void buttonRow();
    void voiceColumn();
    void mainColumn();
    void sliderColumn();
    void placesOnScreen();
    void paintsNothingItself();
    void accessibleNames();
    void timers();
    void declaredSignals();

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

    void singleClickTogglesAfterDelay();
    void doubleClickLeavesFullScreen();
    void pressPlaces();
    void pressThroughLabels();
    void rightPressOpensMenuOnly();
    void movesInsideAndAtTheBorder_data();
    void movesInsideAndAtTheBorder();
    void moveComparesWithParentGeometry();
    void moveShowsClock();
    void moveAndSpeedWindow();
    void moveOutsideHidesEvenOverSpeedButton();

    void inactivityInFullScreen();
    void inactivityOutsideFullScreen();
    void inactivityAfterFiveSeconds();
    void inactivityRecursWhileHidden();
    void processTimerDrivesNothing();
    void clickTimerFiresOnce();

    void altHides();
    void escapeInFullScreen();
    void escapeOutsideFullScreen();
    void otherKeysDoNothing();
    void everyKeyHidesSpeedWindow();

    void focusLoss();
    void deactivation();
    void filterPassesEverythingElse();

    void speedButtonToggles();
    void speedWindowPlace();
    void speedFocus_data();
    void speedFocus();
    void speedChoice_data();
    void speedChoice();

    void menuEntries();
    void menuDisabled();
    void menuEntriesEmit();
    void menuIsFreshAndDeleted();
    void menuOpensAtCursor();
    void menuOutlivesBar();

    void deletion();
    void deletionWithParent();
};

void TestFullScreenVideoControl::init()
{
    resetSharedState();
    QCursor::setPos(640, 700);
}

// Construction

void TestFullScreenVideoControl::window()
{
    const Bar bar;
    QCOMPARE(bar.windowFlags(), Qt::FramelessWindowHint | Qt::Tool | Qt::BypassWindowManagerHint);
    QCOMPARE(bar.windowOpacity(), 1.0);
    QVERIFY(bar.testAttribute(Qt::WA_TranslucentBackground));
    QVERIFY(bar.hasMouseTracking());
    QVERIFY(!bar.isVisible());
    QVERIFY(!bar.parent());
    QVERIFY(showFlag);
}

void TestFullScreenVideoControl::logsOfConstruction()
{
    const LogCapture log;
    const Bar bar;
    QCOMPARE(log.lines().size(), 2);
    QCOMPARE(log.lines().at(0), QString("voice btn x  0 30"));
    QVERIFY(
        log.lines().at(1).startsWith("QObject::connect: Incompatible sender/receiver arguments"));
    QVERIFY(log.lines().at(1).contains(
        "QSlider::sliderPressed() --> FullScreenVideoControl::processSliderPressed(int)"));
}

void TestFullScreenVideoControl::declaredButNeverCreated()
{
    const Bar bar;
    QVERIFY(!bar.percentLabel);
    QVERIFY(!bar.sliderLayout);
    QVERIFY(!bar.processLayout);
    QVERIFY(bar.centerWidget);
    QVERIFY(!bar.centerWidget->parent());
    QVERIFY(!bar.centerWidget->isVisible());
}

void TestFullScreenVideoControl::initialValues()
{
    const Bar bar;
    QCOMPARE(bar.state, false);
    QCOMPARE(bar.currentSpeed, 0);
    QCOMPARE(bar.currentPosition, 0);
    QCOMPARE(bar.sw->state, 0);
    QVERIFY(!bar.sw->isVisible());
    QVERIFY(!bar.sw->parent());
}

void TestFullScreenVideoControl::buttons()
{
    const Bar bar;
    const QList<QPushButton *> all = {bar.stopBtn,  bar.playBtn,  bar.forwardBtn,   bar.backwardBtn,
                                      bar.voiceBtn, bar.speedBtn, bar.fullScreenBtn};
    for (const QPushButton *button : all) {
        QVERIFY(button->isFlat());
        QVERIFY(button->autoFillBackground());
        QCOMPARE(button->palette().color(QPalette::Button), QColor(150, 150, 150, 100));
        QVERIFY(!button->hasMouseTracking());
    }
    QVERIFY(showsIcon(bar.stopBtn, ":/image/controlicon/stop.png"));
    QVERIFY(showsIcon(bar.playBtn, pauseIcon));
    QVERIFY(showsIcon(bar.forwardBtn, ":/image/controlicon/forward.png"));
    QVERIFY(showsIcon(bar.backwardBtn, ":/image/controlicon/backward.png"));
    QVERIFY(showsIcon(bar.voiceBtn, ":/image/controlicon/vol1.png"));
    QVERIFY(showsIcon(bar.fullScreenBtn, ":/image/controlicon/exitfull1.png"));
    QVERIFY(bar.speedBtn->icon().isNull());
    QCOMPARE(bar.speedBtn->text(), QString("倍速"));
    for (const QPushButton *button : all)
        QCOMPARE(button->text().isEmpty(), button != bar.speedBtn);
}

void TestFullScreenVideoControl::buttonSizesAndIcons()
{
    const Bar bar;
    for (const QPushButton *button :
         {bar.stopBtn, bar.forwardBtn, bar.backwardBtn, bar.fullScreenBtn, bar.voiceBtn}) {
        QCOMPARE(button->minimumSize(), QSize(30, 30));
        QCOMPARE(button->maximumSize(), QSize(30, 30));
    }
    QCOMPARE(bar.playBtn->minimumSize(), QSize(50, 50));
    QCOMPARE(bar.playBtn->maximumSize(), QSize(50, 50));
    for (const QPushButton *button : {bar.stopBtn, bar.playBtn, bar.forwardBtn, bar.backwardBtn,
                                      bar.speedBtn, bar.fullScreenBtn})
        QCOMPARE(button->iconSize(), QSize(30, 30));
    QCOMPARE(bar.voiceBtn->iconSize(), QSize(28, 28));
}

void TestFullScreenVideoControl::labels()
{
    const Bar bar;
    QCOMPARE(bar.timeLabel->styleSheet(),
             QString("background-color: transparent;font-size:15px;color:white"));
    QCOMPARE(bar.timeLabel->text(), QString());
    QCOMPARE(bar.titleLabel->minimumSize(), QSize(640, 100));
    QCOMPARE(bar.titleLabel->maximumSize(), QSize(640, 100));
    QCOMPARE(bar.blankLabel->minimumSize(), QSize(640, 480));
    QCOMPARE(bar.blankLabel->maximumSize(), QSize(640, 480));
    QCOMPARE(bar.blankTopLabel->minimumSize(), QSize(100, 20));
    QCOMPARE(bar.blankTopLabel->maximumSize(), QSize(100, 20));
    QCOMPARE(bar.btnBlankLabel->minimumSize(), QSize(100, 1));
    QCOMPARE(bar.btnBlankLabel->maximumSize(), QSize(100, 1));
    for (QLabel *label : {bar.currentTimeLabel, bar.totalTimeLabel}) {
        QCOMPARE(label->text(), QString("00:00:00"));
        QCOMPARE(label->minimumSize(), QSize(80, 15));
        QCOMPARE(label->maximumSize(), QSize(80, 15));
        label->ensurePolished();
        QCOMPARE(label->palette().color(QPalette::WindowText), QColor(Qt::white));
    }
    for (const QLabel *label :
         {bar.titleLabel, bar.blankLabel, bar.blankTopLabel, bar.btnBlankLabel})
        QCOMPARE(label->text(), QString());
}

void TestFullScreenVideoControl::fileNamesAreNoMarkup()
{
    const Bar bar;
    bar.titleLabel->setText("<b>x</b>.mp4");
    QCOMPARE(bar.titleLabel->text(), QString("<b>x</b>.mp4"));
    const QList<QLabel *> all = bar.findChildren<QLabel *>();
    QCOMPARE(all.size(), 8);
    for (const QLabel *label : all)
        QCOMPARE(label->textFormat(), Qt::PlainText);

    // Painted with its brackets it is wider than the bold letter alone.
    QLabel plain("x.mp4");
    bar.titleLabel->setMinimumSize(0, 0);
    QVERIFY(bar.titleLabel->sizeHint().width() > plain.sizeHint().width() * 3 / 2);
}

void TestFullScreenVideoControl::voiceSlider()
{
    const Bar bar;
    QCOMPARE(bar.voiceSlider->objectName(), QString("voice slider"));
    QCOMPARE(bar.voiceSlider->minimumSize(), QSize(100, 20));
    QCOMPARE(bar.voiceSlider->maximumSize(), QSize(100, 20));
    QCOMPARE(bar.voiceSlider->orientation(), Qt::Horizontal);
    QCOMPARE(bar.voiceSlider->minimum(), 0);
    QCOMPARE(bar.voiceSlider->maximum(), 99);
    QCOMPARE(
        bar.voiceSlider->styleSheet(),
        QString(
            " QSlider::add-page:Horizontal{ background-color: rgb(87, 97, 106); height:4px;} "
            "QSlider::sub-page:Horizontal     {background-color:rgba(7,208,255, 255); "
            "height:4px;}QSlider::groove:Horizontal "
            "{background:transparent;height:6px;}QSlider::handle:Horizontal { border: 0px ;width: "
            "5px;height:5px;margin: -7px -7px -7px -7px;background-color:rgba(57,108,100, 255);}"));
}

void TestFullScreenVideoControl::voiceSliderTakesStoredVolume()
{
    const QList<QPair<int, int>> volumes = {{0, 0},    {30, 30}, {99, 99},
                                            {100, 99}, {-5, 0},  {250, 99}};
    for (const auto &volume : volumes) {
        defaultVolum = volume.first;
        const Bar bar;
        QCOMPARE(bar.voiceSlider->value(), volume.second);
        QCOMPARE(defaultVolum, volume.first);
    }
}

void TestFullScreenVideoControl::processSlider()
{
    const Bar bar;
    QCOMPARE(bar.processSlider->orientation(), Qt::Horizontal);
    QCOMPARE(bar.processSlider->value(), 0);
    QCOMPARE(
        bar.processSlider->styleSheet(),
        QString(
            " QSlider::add-page:Horizontal{  background-color: rgb(87, 97, 106); height:4px;} "
            "QSlider::sub-page:Horizontal     {background-color:rgba(7,208,255, 255); "
            "height:4px;}QSlider::groove:Horizontal "
            "{background:transparent;height:6px;}QSlider::handle:Horizontal{height: "
            "30px;width:8px;border-image: url(:/images/ic_music_thumb.png); margin: -8 0px;} "));
}

void TestFullScreenVideoControl::buttonRow()
{
    const Bar bar;
    const QString small = "20x20 Fixed Minimum";
    const QString wide = "500x40 Expanding Minimum";
    struct Place {
        QString spacer;
        QWidget *widget;
        Qt::Alignment alignment;
    };
    const QList<Place> places = {{wide, nullptr, {}},
                                 {"160x40 Fixed Minimum", nullptr, {}},
                                 {"", bar.stopBtn, Qt::AlignLeft},
                                 {small, nullptr, {}},
                                 {"", bar.backwardBtn, {}},
                                 {small, nullptr, {}},
                                 {"", bar.playBtn, Qt::AlignCenter},
                                 {small, nullptr, {}},
                                 {"", bar.forwardBtn, {}},
                                 {small, nullptr, {}},
                                 {"", nullptr, {}}, // the volume column
                                 {small, nullptr, {}},
                                 {"", bar.speedBtn, Qt::AlignRight},
                                 {small, nullptr, {}},
                                 {"", bar.fullScreenBtn, Qt::AlignRight},
                                 {wide, nullptr, {}}};
    QCOMPARE(bar.btnLayout->count(), places.size());
    for (int i = 0; i < places.size(); ++i) {
        QLayoutItem *item = bar.btnLayout->itemAt(i);
        if (item->spacerItem())
            QCOMPARE(described(item->spacerItem()), places[i].spacer);
        else if (item->layout())
            QCOMPARE(item->layout(), bar.hVoiceLayout);
        else
            QCOMPARE(item->widget(), places[i].widget);
        QCOMPARE(item->spacerItem() == nullptr, places[i].spacer.isEmpty());
        QCOMPARE(item->alignment(), places[i].alignment);
    }
    QCOMPARE(bar.btnLayout->contentsMargins(), QMargins());
}

void TestFullScreenVideoControl::voiceColumn()
{
    const Bar bar;
    QCOMPARE(bar.hVoiceLayout->count(), 2);
    QCOMPARE(bar.hVoiceLayout->itemAt(0)->widget(), bar.voiceBtn);
    QCOMPARE(bar.hVoiceLayout->itemAt(1)->layout(), bar.voiceLayout);
    QCOMPARE(bar.voiceLayout->contentsMargins(), QMargins());
    QCOMPARE(bar.voiceLayout->count(), 3);
    QCOMPARE(bar.voiceLayout->itemAt(0)->widget(), bar.btnBlankLabel);
    QCOMPARE(bar.voiceLayout->itemAt(1)->widget(), bar.voiceSlider);
    QWidget *second = bar.voiceLayout->itemAt(2)->widget();
    QVERIFY(qobject_cast<QLabel *>(second));
    QVERIFY(second != bar.btnBlankLabel);
    QCOMPARE(second->minimumSize(), QSize(100, 1));
    QCOMPARE(second->maximumSize(), QSize(100, 1));
}

void TestFullScreenVideoControl::mainColumn()
{
    const Bar bar;
    QCOMPARE(bar.layout(), bar.mainLayout);
    QCOMPARE(bar.mainLayout->count(), 9);
    QCOMPARE(bar.mainLayout->itemAt(0)->widget(), bar.blankTopLabel);
    QCOMPARE(bar.mainLayout->itemAt(2)->widget(), bar.timeLabel);
    QCOMPARE(bar.mainLayout->itemAt(3)->layout(), bar.blankLayout);
    QCOMPARE(bar.mainLayout->itemAt(6)->layout(), bar.processSliderLayout);
    QCOMPARE(bar.mainLayout->itemAt(7)->layout(), bar.btnLayout);
    for (const int index : {1, 4, 8}) {
        QVERIFY(bar.mainLayout->itemAt(index)->spacerItem());
        QCOMPARE(described(bar.mainLayout->itemAt(index)->spacerItem()),
                 QString("20x200 Expanding Maximum"));
    }
    QVERIFY(bar.mainLayout->itemAt(5)->spacerItem());
    QCOMPARE(described(bar.mainLayout->itemAt(5)->spacerItem()),
             QString("20x300 Expanding Maximum"));
    QCOMPARE(spacers(bar.mainLayout).size(), 4);

    QCOMPARE(bar.blankLayout->count(), 2);
    QCOMPARE(bar.blankLayout->itemAt(0)->widget(), bar.titleLabel);
    QCOMPARE(bar.blankLayout->itemAt(1)->widget(), bar.blankLabel);
}

void TestFullScreenVideoControl::sliderColumn()
{
    const Bar bar;
    QCOMPARE(bar.processSliderLayout->count(), 2);
    QCOMPARE(bar.processSliderLayout->itemAt(0)->widget(), bar.processSlider);
    QCOMPARE(bar.processSliderLayout->itemAt(1)->layout(), bar.sliderLabelLayout);
    QCOMPARE(bar.sliderLabelLayout->count(), 2);
    QCOMPARE(bar.sliderLabelLayout->itemAt(0)->widget(), bar.currentTimeLabel);
    QCOMPARE(bar.sliderLabelLayout->itemAt(0)->alignment(), Qt::AlignLeft);
    QCOMPARE(bar.sliderLabelLayout->itemAt(1)->widget(), bar.totalTimeLabel);
    QCOMPARE(bar.sliderLabelLayout->itemAt(1)->alignment(), Qt::AlignRight);
}

void TestFullScreenVideoControl::placesOnScreen()
{
    Bar bar;
    showAsHost(bar);
    QTRY_COMPARE(bar.geometry(), QRect(QPoint(0, 0), screenSize));
    const QList<QWidget *> row = {bar.stopBtn,  bar.backwardBtn, bar.playBtn,  bar.forwardBtn,
                                  bar.voiceBtn, bar.voiceSlider, bar.speedBtn, bar.fullScreenBtn};
    for (int i = 1; i < row.size(); ++i)
        QVERIFY(row[i]->x() >= row[i - 1]->x() + row[i - 1]->width());
    for (const QWidget *widget : row) {
        QVERIFY(bar.rect().contains(widget->geometry()));
        QVERIFY(widget->y() > bar.processSlider->y());
    }
    QVERIFY(bar.titleLabel->y() < bar.processSlider->y());
    QVERIFY(bar.currentTimeLabel->y() > bar.processSlider->y());
    QCOMPARE(bar.currentTimeLabel->x(), bar.processSlider->x());
    QCOMPARE(bar.totalTimeLabel->geometry().right(), bar.processSlider->geometry().right());
    // About in the middle of the screen.
    QVERIFY(qAbs(bar.playBtn->geometry().center().x() - 640) < 100);
}

void TestFullScreenVideoControl::paintsNothingItself()
{
    Bar bar;
    showAsHost(bar);
    const QImage picture = bar.grab().toImage();
    QCOMPARE(picture.size(), screenSize);
    for (const QPoint &point : {QPoint(1, 1), QPoint(640, 300), QPoint(1278, 798)})
        QCOMPARE(picture.pixelColor(point).alpha(), 0);
    QVERIFY(picture.pixelColor(bar.playBtn->geometry().center()).alpha() > 0);
}

void TestFullScreenVideoControl::accessibleNames()
{
    const Bar bar;
    QCOMPARE(bar.stopBtn->accessibleName(), QString("停止"));
    QCOMPARE(bar.playBtn->accessibleName(), QString("播放"));
    QCOMPARE(bar.forwardBtn->accessibleName(), QString("快进"));
    QCOMPARE(bar.backwardBtn->accessibleName(), QString("快退"));
    QCOMPARE(bar.voiceBtn->accessibleName(), QString("音量"));
    QCOMPARE(bar.voiceSlider->accessibleName(), QString("音量"));
    QCOMPARE(bar.speedBtn->accessibleName(), QString("倍速"));
    QCOMPARE(bar.fullScreenBtn->accessibleName(), QString("退出全屏"));
    QCOMPARE(bar.processSlider->accessibleName(), QString("播放进度"));
}

void TestFullScreenVideoControl::timers()
{
    const Bar bar;
    QVERIFY(bar.mouseTimer->isActive());
    QCOMPARE(bar.mouseTimer->interval(), 5000);
    QVERIFY(bar.processTimer->isActive());
    QCOMPARE(bar.processTimer->interval(), 500);
    QVERIFY(!bar.mouseClickedTimer->isActive());
    for (const QTimer *timer : {bar.mouseTimer, bar.processTimer, bar.mouseClickedTimer}) {
        QCOMPARE(timer->parent(), &bar);
        QVERIFY(!timer->isSingleShot());
    }
}

void TestFullScreenVideoControl::declaredSignals()
{
    const QMetaObject &meta = Bar::staticMetaObject;
    QStringList names;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == QMetaMethod::Signal)
            names << meta.method(i).methodSignature();
    }
    QCOMPARE(names, allSignals());
}

// Signals

void TestFullScreenVideoControl::slotsEmit_data()
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

void TestFullScreenVideoControl::slotsEmit()
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

void TestFullScreenVideoControl::buttonsEmit_data()
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

void TestFullScreenVideoControl::buttonsEmit()
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

void TestFullScreenVideoControl::playIconFollowsPlayingState()
{
    Bar bar;
    Emissions emissions(&bar);
    playingState = true;
    bar.mouseClickedTimer->start(500);
    bar.mouseTimer->stop();
    bar.playBtnClicked();
    QVERIFY(showsIcon(bar.playBtn, playIcon));
    QVERIFY(!bar.mouseClickedTimer->isActive());
    QVERIFY(bar.mouseTimer->isActive());
    QCOMPARE(bar.mouseTimer->interval(), 5000);
    QCOMPARE(playingState, true);

    playingState = false;
    bar.playBtnClicked();
    QVERIFY(showsIcon(bar.playBtn, pauseIcon));
    QCOMPARE(playingState, false);
    QCOMPARE(emissions.take(), QStringList({"playBtnClickedSignal()", "playBtnClickedSignal()"}));
}

void TestFullScreenVideoControl::stopShowsPlayIcon()
{
    Bar bar;
    QVERIFY(showsIcon(bar.playBtn, pauseIcon));
    bar.mouseTimer->stop();
    bar.stopBtnClicked();
    QVERIFY(showsIcon(bar.playBtn, playIcon));
    QVERIFY(!bar.mouseTimer->isActive()); // stopping is not counted as activity
}

void TestFullScreenVideoControl::slidersOfActivityRestartTimer()
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

void TestFullScreenVideoControl::voiceSliderEmits()
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

void TestFullScreenVideoControl::sliderPressEmitsNothing()
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

void TestFullScreenVideoControl::seekWritesEveryMove()
{
    QTemporaryDir folder;
    const QString path = folder.filePath("commands");
    EngineProcess engine;
    engine.start("sh", {"-c", "exec cat >\"$0\"", path});
    QVERIFY(engine.waitForStarted());
    playinglist.process_mplayer = &engine;

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
    QTRY_COMPARE(readFile(path), expected);
    QVERIFY(log.contains("process slider moved  77"));
    QCOMPARE(log.lines().filter("process slider moved ").size(), 6);
    // The value changes with each move, too.
    QCOMPARE(emissions.take(),
             QStringList({"processSliderSignal(2)", "processSliderSignal(77)",
                          "processSliderSignal(3600)", "processSliderSignal(4000)"}));

    // A change by the program writes nothing.
    bar.processSlider->setValue(10);
    QCOMPARE(emissions.take(), QStringList{"processSliderSignal(10)"});
    engine.closeWriteChannel();
    QVERIFY(engine.waitForFinished());
    QCOMPARE(readFile(path), expected);
}

void TestFullScreenVideoControl::seekByRealDrag()
{
    QTemporaryDir folder;
    const QString path = folder.filePath("commands");
    EngineProcess engine;
    engine.start("sh", {"-c", "exec cat >\"$0\"", path});
    QVERIFY(engine.waitForStarted());
    playinglist.process_mplayer = &engine;

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
    engine.closeWriteChannel();
    QVERIFY(engine.waitForFinished());
    QCOMPARE(readFile(path), expected);
}

void TestFullScreenVideoControl::seekWithoutEngine()
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

void TestFullScreenVideoControl::valueChangesForwarded_data()
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

void TestFullScreenVideoControl::valueChangesForwarded()
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

void TestFullScreenVideoControl::valueChangeGuardComparesWithCurrentPosition()
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

// Mouse

void TestFullScreenVideoControl::singleClickTogglesAfterDelay()
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

void TestFullScreenVideoControl::doubleClickLeavesFullScreen()
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

void TestFullScreenVideoControl::pressPlaces()
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

void TestFullScreenVideoControl::pressThroughLabels()
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

void TestFullScreenVideoControl::rightPressOpensMenuOnly()
{
    const LogCapture log;
    Bar bar;
    showAsHost(bar);
    Emissions emissions(&bar);
    QString title;
    QTimer::singleShot(0, qApp, [&title] {
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QVERIFY(menu);
        title = menu->title();
        menu->close();
    });
    QTest::mouseClick(bar.windowHandle(), Qt::RightButton, Qt::NoModifier, QPoint(640, 300));
    QTRY_COMPARE(title, QString("rBtnContexMenu"));
    QVERIFY(!bar.mouseClickedTimer->isActive());
    QVERIFY(!log.contains("mouse clicked"));
    QVERIFY(shown(bar));
    QCOMPARE(emissions.take(), QStringList());
}

void TestFullScreenVideoControl::movesInsideAndAtTheBorder_data()
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

void TestFullScreenVideoControl::movesInsideAndAtTheBorder()
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

void TestFullScreenVideoControl::moveComparesWithParentGeometry()
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

void TestFullScreenVideoControl::moveShowsClock()
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
    }
}

void TestFullScreenVideoControl::moveAndSpeedWindow()
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

void TestFullScreenVideoControl::moveOutsideHidesEvenOverSpeedButton()
{
    Bar bar;
    showAsHost(bar);
    bar.move(5000, 0); // now every position inside the bar counts as outside
    showSpeedWindow(bar);
    moveMouse(bar, bar.speedBtn->geometry().center());
    QVERIFY(hidden(bar));
    QVERIFY(speedHidden(bar));
}

// Timers

void TestFullScreenVideoControl::inactivityInFullScreen()
{
    fullScreenFlag = true;
    Bar bar;
    showAsHost(bar);
    showSpeedWindow(bar);
    Emissions emissions(&bar);
    fire(bar.mouseTimer);
    QCOMPARE(emissions.take(), QStringList{"mouseHide()"});
    QCOMPARE(bar.cursor().shape(), Qt::BlankCursor);
    QVERIFY(hidden(bar));
    QVERIFY(speedHidden(bar));
    moveMouse(bar, QPoint(640, 300));
    QCOMPARE(bar.cursor().shape(), Qt::ArrowCursor);
}

void TestFullScreenVideoControl::inactivityOutsideFullScreen()
{
    Bar bar;
    showAsHost(bar);
    bar.setCursor(Qt::ArrowCursor);
    showSpeedWindow(bar);
    Emissions emissions(&bar);
    fire(bar.mouseTimer);
    QCOMPARE(emissions.take(), QStringList());
    QCOMPARE(bar.cursor().shape(), Qt::ArrowCursor);
    QVERIFY(hidden(bar));
    QVERIFY(speedHidden(bar));
}

void TestFullScreenVideoControl::inactivityAfterFiveSeconds()
{
    fullScreenFlag = true;
    Bar bar;
    showAsHost(bar);
    QSignalSpy quiet(&bar, &Bar::mouseHide);
    QTest::qWait(500);
    moveMouse(bar, QPoint(640, 300)); // counts from here
    QElapsedTimer clock;
    clock.start();
    QVERIFY(quiet.wait(10000));
    QVERIFY2(clock.elapsed() >= 4700, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(hidden(bar));
}

void TestFullScreenVideoControl::inactivityRecursWhileHidden()
{
    fullScreenFlag = true;
    Bar bar;
    QVERIFY(!bar.isVisible());
    QSignalSpy quiet(&bar, &Bar::mouseHide);
    bar.mouseTimer->setInterval(20);
    QVERIFY(quiet.wait());
    QVERIFY(quiet.wait());
    QVERIFY(bar.mouseTimer->isActive());
    QVERIFY(!bar.isVisible());
}

void TestFullScreenVideoControl::processTimerDrivesNothing()
{
    Bar bar;
    showAsHost(bar);
    showSpeedWindow(bar);
    Emissions emissions(&bar);
    QSignalSpy ticks(bar.processTimer, SIGNAL(timeout()));
    bar.processTimer->setInterval(5);
    QTRY_VERIFY(ticks.count() > 3);
    QCOMPARE(emissions.take(), QStringList());
    QVERIFY(shown(bar));
    QVERIFY(speedShown(bar));
    QVERIFY(bar.processTimer->isActive());
}

void TestFullScreenVideoControl::clickTimerFiresOnce()
{
    Bar bar;
    bar.mouseClickedTimer->start(500);
    Emissions emissions(&bar);
    fire(bar.mouseClickedTimer);
    QCOMPARE(emissions.take(), QStringList{"playBtnClickedSignal()"});
    QVERIFY(!bar.mouseClickedTimer->isActive());
}

// Keyboard

void TestFullScreenVideoControl::altHides()
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

void TestFullScreenVideoControl::escapeInFullScreen()
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

void TestFullScreenVideoControl::escapeOutsideFullScreen()
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

void TestFullScreenVideoControl::otherKeysDoNothing()
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

void TestFullScreenVideoControl::everyKeyHidesSpeedWindow()
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

void TestFullScreenVideoControl::focusLoss()
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

void TestFullScreenVideoControl::deactivation()
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

void TestFullScreenVideoControl::filterPassesEverythingElse()
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

// Speed

void TestFullScreenVideoControl::speedButtonToggles()
{
    Bar bar;
    showAsHost(bar);
    Emissions emissions(&bar);
    QTest::mouseClick(bar.speedBtn, Qt::LeftButton);
    QVERIFY(speedShown(bar));
    QTest::mouseClick(bar.speedBtn, Qt::LeftButton);
    QVERIFY(speedHidden(bar));
    QTest::mouseClick(bar.speedBtn, Qt::LeftButton);
    QVERIFY(speedShown(bar));
    QCOMPARE(emissions.take(), QStringList());
    QVERIFY(shown(bar));
}

void TestFullScreenVideoControl::speedWindowPlace()
{
    Bar bar;
    showAsHost(bar);
    for (const QPoint &cursor : {QPoint(700, 740), QPoint(20, 100)}) {
        QCursor::setPos(cursor);
        QTRY_COMPARE(QCursor::pos(), cursor);
        bar.sw->dismiss();
        bar.speedBtnClicked();
        QTRY_COMPARE(bar.sw->pos(), cursor - QPoint(50, 410));
    }
}

void TestFullScreenVideoControl::speedFocus_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    const char *const texts[] = {"0.5x", "0.75x", "1.0x", "1.25x", "1.5x", "2.0x"};
    for (int code = 0; code < 6; ++code)
        QTest::addRow("%d", code) << code << QString(texts[code]);
    for (const int code : {-1, 6, 100, INT_MIN})
        QTest::addRow("%d", code) << code << QString("1.0x");
}

void TestFullScreenVideoControl::speedFocus()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    Bar bar;
    bar.currentSpeed = code;
    bar.speedBtnClicked();
    const auto *focused = qobject_cast<QPushButton *>(bar.sw->focusWidget());
    QVERIFY(focused);
    QCOMPARE(focused->text(), text);
    QCOMPARE(bar.currentSpeed, code);
}

void TestFullScreenVideoControl::speedChoice_data()
{
    QTest::addColumn<int>("percent");
    for (const int percent : {50, 75, 100, 125, 150, 200})
        QTest::addRow("%d", percent) << percent;
}

void TestFullScreenVideoControl::speedChoice()
{
    QFETCH(int, percent);
    Bar bar;
    showAsHost(bar);
    bar.speedBtnClicked();
    Emissions emissions(&bar);
    const QMap<int, QPushButton *> choices = {{50, bar.sw->speed050},  {75, bar.sw->speed075},
                                              {100, bar.sw->speed100}, {125, bar.sw->speed125},
                                              {150, bar.sw->speed150}, {200, bar.sw->speed200}};
    choices[percent]->click();
    QCOMPARE(emissions.take(), QStringList{QString("speedSetSignal(%1)").arg(percent)});
    QVERIFY(hidden(bar));
    QVERIFY(speedHidden(bar));
}

// Context menu

void TestFullScreenVideoControl::menuEntries()
{
    playinglist.state = 1;
    subTitleFlag = true;
    OpenBar bar;
    showAsHost(bar);
    const QStringList expected = {"打开文件",
                                  "退出全屏",
                                  "停止播放",
                                  "声音同步 >",
                                  "  声音延时+(100ms)",
                                  "  声音延时-(100ms)",
                                  "  取消延时",
                                  "  延时设置",
                                  "字幕设置 >",
                                  "  字幕选择",
                                  "  字幕延时+（100ms）",
                                  "  字幕延时-（100ms）",
                                  "  取消延时",
                                  "  删除字幕",
                                  "  延时设置",
                                  "  字幕字体大小 >",
                                  "    字体+(Ctrl+E)",
                                  "    字体-(Ctrl+R)",
                                  "  字幕位置设置 >",
                                  "    上移(Ctrl+U)",
                                  "    下移-(Ctrl+D)"};
    for (const bool fullScreen : {false, true}) { // the second entry never changes
        fullScreenFlag = fullScreen;
        openMenu(&bar, [&expected](QMenu *menu) {
            QCOMPARE(menu->title(), QString("rBtnContexMenu"));
            QCOMPARE(outline(menu), expected);
            for (const QAction *action : leaves(menu))
                QVERIFY(action->shortcuts().isEmpty());
        });
    }
    QVERIFY(shown(bar));
}

void TestFullScreenVideoControl::menuDisabled()
{
    OpenBar bar;
    showAsHost(bar);
    const QStringList subtitleEntries = {"  字幕延时+（100ms） (off)", "  字幕延时-（100ms） (off)",
                                         "  取消延时 (off)",           "  删除字幕 (off)",
                                         "  延时设置 (off)",           "  字幕字体大小 > (off)",
                                         "  字幕位置设置 > (off)"};
    const auto disabled = [&bar] {
        QStringList lines;
        openMenu(&bar, [&lines](QMenu *menu) { lines = outline(menu).filter("(off)"); });
        return lines;
    };
    QCOMPARE(disabled(), QStringList("停止播放 (off)") + subtitleEntries);
    playinglist.state = 1;
    QCOMPARE(disabled(), subtitleEntries);
    subTitleFlag = true;
    QCOMPARE(disabled(), QStringList());
    playinglist.state = 0;
    QCOMPARE(disabled(), QStringList("停止播放 (off)"));
}

void TestFullScreenVideoControl::menuEntriesEmit()
{
    playinglist.state = 1;
    subTitleFlag = true;
    const QStringList expected = {"openFileBtnSignal()",
                                  "fullScreenSignal()",
                                  "stopSignal()",
                                  "voiceDelayPlusSignal()",
                                  "voiceDelayReduceSignal()",
                                  "cancelSubDelaySignal()", // crossed, intended
                                  "setAudioDelaySignal()",
                                  "openSubTitleFileSignal()",
                                  "subTitleDelayIncreaseSignal()",
                                  "subTitleDelayReduceSignal()",
                                  "cancelSubDelaySignal()",
                                  "delSubTitleSignal()",
                                  "setSubDelaySignal()",
                                  "subScalePlusSignal()",
                                  "subScaleReduceSignal()",
                                  "subPosUpSignal()",
                                  "subPosDownSignal()"};
    const QList<int> hiding = {0, 6, 7, 12};
    OpenBar bar;
    Emissions emissions(&bar);
    for (int i = 0; i < expected.size(); ++i) {
        showAsHost(bar);
        showSpeedWindow(bar);
        openMenu(&bar, [i](QMenu *menu) { leaves(menu).at(i)->trigger(); });
        QCOMPARE(emissions.take(), QStringList{expected[i]});
        QCOMPARE(hidden(bar), hiding.contains(i));
        QCOMPARE(shown(bar), !hiding.contains(i));
        QVERIFY(speedShown(bar));
    }
}

void TestFullScreenVideoControl::menuIsFreshAndDeleted()
{
    OpenBar bar;
    showAsHost(bar);
    QPointer<QMenu> first;
    openMenu(&bar, [&first](QMenu *menu) { first = menu; });
    QVERIFY(!first);
    QCOMPARE(bar.findChildren<QMenu *>().size(), 0);
    openMenu(&bar, [&bar](QMenu *) { QCOMPARE(bar.findChildren<QMenu *>().size(), 5); });
    QCOMPARE(bar.findChildren<QMenu *>().size(), 0);
}

void TestFullScreenVideoControl::menuOpensAtCursor()
{
    OpenBar bar;
    showAsHost(bar);
    const QPoint cursor(200, 150); // far from the position that the event tells
    QCursor::setPos(cursor);
    QTRY_COMPARE(QCursor::pos(), cursor);
    openMenu(&bar, [&cursor](QMenu *menu) { QCOMPARE(menu->pos(), cursor); });
}

void TestFullScreenVideoControl::menuOutlivesBar()
{
    auto *bar = new OpenBar;
    showAsHost(*bar);
    const QPointer<QWidget> watched = bar;
    openMenu(bar, [bar](QMenu *) { delete bar; });
    QVERIFY(!watched);
}

// The end

void TestFullScreenVideoControl::deletion()
{
    auto *bar = new Bar;
    showAsHost(*bar);
    showSpeedWindow(*bar);
    QList<QPointer<QObject>> owned;
    for (QObject *object : bar->findChildren<QObject *>())
        owned << object;
    owned << bar->sw << bar->centerWidget;
    QVERIFY(owned.size() > 20);
    delete bar;
    for (const QPointer<QObject> &object : qAsConst(owned))
        QVERIFY(!object);
}

void TestFullScreenVideoControl::deletionWithParent()
{
    auto *parent = new QWidget;
    auto *bar = new Bar(parent);
    const QPointer<QObject> speedWindow = bar->sw;
    const QPointer<QObject> watched = bar;
    QVERIFY(bar->isWindow());
    delete parent;
    QVERIFY(!watched);
    QVERIFY(!speedWindow);
}

QTEST_MAIN(TestFullScreenVideoControl)
#include "tst_fullscreenvideocontrl.moc"
