// The full-screen control bar: timers, speed pop-up, context menu, end.
#include "fullscreenbar.h"

#include "common.h"
#include "menuoutline.h"
#include "testsupport.h"
#include "whenopen.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QCursor>
#include <QMenu>
#include <QPushButton>

namespace {

// Opens the bar's menu and calls inspect while it stands open.
void openMenu(OpenBar *bar, const std::function<void(QMenu *)> &inspect)
{
    WhenPopup open([&inspect](QWidget *widget) {
        auto *menu = qobject_cast<QMenu *>(widget);
        QVERIFY(menu);
        inspect(menu);
        if (QWidget *popup = QApplication::activePopupWidget())
            popup->close();
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(300, 300), QPoint(300, 300));
    bar->contextMenuEvent(&event);
    QVERIFY(open.happened());
}

} // namespace

class TestFullScreenVideoControlPopups : public QObject {
    Q_OBJECT

private slots:
    void init();

    void inactivityInFullScreen();
    void inactivityOutsideFullScreen();
    void inactivityAfterFiveSeconds();
    void inactivityRecursWhileHidden();
    void processTimerDrivesNothing();
    void clickTimerFiresOnce();

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

void TestFullScreenVideoControlPopups::init()
{
    resetSharedState();
    QCursor::setPos(640, 700);
}

// Timers

void TestFullScreenVideoControlPopups::inactivityInFullScreen()
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

void TestFullScreenVideoControlPopups::inactivityOutsideFullScreen()
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

void TestFullScreenVideoControlPopups::inactivityAfterFiveSeconds()
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

void TestFullScreenVideoControlPopups::inactivityRecursWhileHidden()
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

void TestFullScreenVideoControlPopups::processTimerDrivesNothing()
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

void TestFullScreenVideoControlPopups::clickTimerFiresOnce()
{
    Bar bar;
    bar.mouseClickedTimer->start(500);
    Emissions emissions(&bar);
    fire(bar.mouseClickedTimer);
    QCOMPARE(emissions.take(), QStringList{"playBtnClickedSignal()"});
    QVERIFY(!bar.mouseClickedTimer->isActive());

    // Not even when a receiver starts it anew.
    connect(&bar, &Bar::playBtnClickedSignal, &bar, [&bar] { bar.mouseClickedTimer->start(500); });
    fire(bar.mouseClickedTimer);
    QVERIFY(!bar.mouseClickedTimer->isActive());
}

// Speed

void TestFullScreenVideoControlPopups::speedButtonToggles()
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

void TestFullScreenVideoControlPopups::speedWindowPlace()
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

void TestFullScreenVideoControlPopups::speedFocus_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    const char *const texts[] = {"0.5x", "0.75x", "1.0x", "1.25x", "1.5x", "2.0x"};
    for (int code = 0; code < 6; ++code)
        QTest::addRow("%d", code) << code << QString(texts[code]);
    for (const int code : {-1, 6, 100, INT_MIN})
        QTest::addRow("%d", code) << code << QString("1.0x");
}

void TestFullScreenVideoControlPopups::speedFocus()
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

void TestFullScreenVideoControlPopups::speedChoice_data()
{
    QTest::addColumn<int>("percent");
    for (const int percent : {50, 75, 100, 125, 150, 200})
        QTest::addRow("%d", percent) << percent;
}

void TestFullScreenVideoControlPopups::speedChoice()
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

void TestFullScreenVideoControlPopups::menuEntries()
{
    playinglist.state = 1;
    subTitleFlag = true;
    OpenBar bar;
    showAsHost(bar);
    for (const bool fullScreen : {false, true}) { // the second entry never changes
        fullScreenFlag = fullScreen;
        openMenu(&bar, [](QMenu *menu) {
            QCOMPARE(menu->title(), QString("rBtnContexMenu"));
            QCOMPARE(outline(menu), barOutline());
            for (const QAction *action : leaves(menu))
                QVERIFY(action->shortcuts().isEmpty());
        });
    }
    QVERIFY(shown(bar));
}

void TestFullScreenVideoControlPopups::menuDisabled()
{
    OpenBar bar;
    showAsHost(bar);
    const QStringList subtitleEntries = withoutSubtitle(barOutline()).filter("(off)");
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

void TestFullScreenVideoControlPopups::menuEntriesEmit()
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

void TestFullScreenVideoControlPopups::menuIsFreshAndDeleted()
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

void TestFullScreenVideoControlPopups::menuOpensAtCursor()
{
    OpenBar bar;
    showAsHost(bar);
    const QPoint cursor(200, 150); // far from the position that the event tells
    QCursor::setPos(cursor);
    QTRY_COMPARE(QCursor::pos(), cursor);
    openMenu(&bar, [&cursor](QMenu *menu) { QCOMPARE(menu->pos(), cursor); });
}

void TestFullScreenVideoControlPopups::menuOutlivesBar()
{
    auto *bar = new OpenBar;
    showAsHost(*bar);
    const QPointer<QWidget> watched = bar;
    openMenu(bar, [bar](QMenu *) { delete bar; });
    QVERIFY(!watched);
}

// The end

void TestFullScreenVideoControlPopups::deletion()
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

void TestFullScreenVideoControlPopups::deletionWithParent()
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

QTEST_MAIN(TestFullScreenVideoControlPopups)
#include "tst_fullscreenvideocontrl_popups.moc"
