// The context menus of the video: entries, texts, receivers and what is disabled when.
#include "common.h"
#include "fullscreenvideocontrl.h"
#include "menuoutline.h"
#include "playbackmenu.h"
#include "testsupport.h"

#include <QtTest>

namespace {

// Has every slot that the menus connect to and writes down which were called.
class Receiver : public QObject {
    Q_OBJECT

public:
    QStringList calls;

public slots:
    void open() { calls << "open"; }
    void fullScreen() { calls << "fullScreen"; }
    void stop() { calls << "stop"; }
    void information() { calls << "information"; }
    void voiceDelayPlus() { calls << "voiceDelayPlus"; }
    void voiceDelayReduce() { calls << "voiceDelayReduce"; }
    void cancelAudioDelay() { calls << "cancelAudioDelay"; }
    void setAudioDelay() { calls << "setAudioDelay"; }
    void openSubTitleFile() { calls << "openSubTitleFile"; }
    void subTitleDelayIncrease() { calls << "subTitleDelayIncrease"; }
    void subTitleDelayReduce() { calls << "subTitleDelayReduce"; }
    void cancelSubDelay() { calls << "cancelSubDelay"; }
    void setSubDelay() { calls << "setSubDelay"; }
    void delSubTitle() { calls << "delSubTitle"; }
    void subScalePlus() { calls << "subScalePlus"; }
    void subScaleReduce() { calls << "subScaleReduce"; }
    void subPosUp() { calls << "subPosUp"; }
    void subPosDown() { calls << "subPosDown"; }
};

PlaybackMenuKind windowKind()
{
    return {false, SLOT(open()), SLOT(fullScreen()), SLOT(stop()), true, SLOT(information())};
}

PlaybackMenuKind barKind()
{
    return {true, SLOT(open()), SLOT(fullScreen()), SLOT(stop()), false, nullptr};
}

QStringList outlineOf(const PlaybackMenuKind &kind)
{
    Receiver receiver;
    QMenu menu;
    fillPlaybackMenu(&menu, &receiver, kind);
    return outline(&menu);
}

QStringList callsOfAll(const PlaybackMenuKind &kind)
{
    Receiver receiver;
    QMenu menu;
    fillPlaybackMenu(&menu, &receiver, kind);
    for (QAction *action : leaves(&menu)) {
        const int before = receiver.calls.size();
        action->trigger();
        if (receiver.calls.size() != before + 1)
            receiver.calls << "not called once: " + action->text();
    }
    return receiver.calls;
}

// What the entries of the main window's menu call, from top to bottom.
QStringList windowCalls()
{
    return {"open",
            "fullScreen",
            "stop",
            "voiceDelayPlus",
            "voiceDelayReduce",
            "cancelAudioDelay",
            "setAudioDelay",
            "openSubTitleFile",
            "subTitleDelayIncrease",
            "subTitleDelayReduce",
            "cancelSubDelay",
            "setSubDelay",
            "delSubTitle",
            "subScalePlus",
            "subScaleReduce",
            "subPosUp",
            "subPosDown",
            "information"};
}

} // namespace

class TestPlaybackMenu : public QObject {
    Q_OBJECT

private slots:
    void init();

    void everythingLoaded();
    void nothingLoaded();
    void stopNeedsSomethingLoaded();
    void subtitleEntriesNeedSubtitle();
    void submenusAreDisabledAsWholes();
    void secondEntryTellsTheMode();
    void windowEntriesReachTheirSlots();
    void barEntriesReachTheirSlots();
    void entriesHaveNoShortcutsOrIcons();
    void disabledEntryDoesNotFire();
    void connectsWithoutComplaint();
    void barHasEverySlot();
};

void TestPlaybackMenu::init() { resetSharedState(); }

void TestPlaybackMenu::everythingLoaded()
{
    playinglist.state = 1;
    subTitleFlag = true;
    QCOMPARE(outlineOf(windowKind()), windowOutline());
    QCOMPARE(outlineOf(barKind()), barOutline());
}

void TestPlaybackMenu::nothingLoaded()
{
    QCOMPARE(outlineOf(windowKind()), withoutStop(withoutSubtitle(windowOutline())));
    QCOMPARE(outlineOf(barKind()), withoutStop(withoutSubtitle(barOutline())));
}

void TestPlaybackMenu::stopNeedsSomethingLoaded()
{
    subTitleFlag = true; // so that "stop" is the only entry in question
    for (const bool playing : {false, true}) { // paused or not is no matter
        playingState = playing;
        playinglist.state = 0;
        QCOMPARE(outlineOf(windowKind()).filter("(off)"), QStringList{"停止播放 (off)"});
        QCOMPARE(outlineOf(barKind()).filter("(off)"), QStringList{"停止播放 (off)"});
        for (const int state : {1, 2, -1}) {
            playinglist.state = state;
            QCOMPARE(outlineOf(windowKind()), windowOutline());
            QCOMPARE(outlineOf(barKind()), barOutline());
        }
    }
}

void TestPlaybackMenu::subtitleEntriesNeedSubtitle()
{
    playinglist.state = 1;
    QCOMPARE(outlineOf(windowKind()), withoutSubtitle(windowOutline()));
    QCOMPARE(outlineOf(barKind()), withoutSubtitle(barOutline()));
}

void TestPlaybackMenu::submenusAreDisabledAsWholes()
{
    Receiver receiver;
    QMenu menu;
    fillPlaybackMenu(&menu, &receiver, barKind());
    QVERIFY(menu.actions().at(3)->menu()->isEnabled());
    const QMenu *subtitles = menu.actions().at(4)->menu();
    QVERIFY(subtitles->isEnabled());
    for (const int index : {6, 7}) {
        const QMenu *submenu = subtitles->actions().at(index)->menu();
        QVERIFY(submenu);
        QVERIFY(!submenu->isEnabled());
        QCOMPARE(submenu->actions().size(), 2);
        for (const QAction *action : submenu->actions())
            QVERIFY(action->isEnabled());
    }
}

void TestPlaybackMenu::secondEntryTellsTheMode()
{
    playinglist.state = 1;
    subTitleFlag = true;
    PlaybackMenuKind kind = windowKind();
    kind.fullScreen = true;
    QStringList expected = windowOutline();
    expected[1] = "退出全屏";
    QCOMPARE(outlineOf(kind), expected);
}

void TestPlaybackMenu::windowEntriesReachTheirSlots()
{
    playinglist.state = 1;
    subTitleFlag = true;
    QCOMPARE(callsOfAll(windowKind()), windowCalls());
}

void TestPlaybackMenu::barEntriesReachTheirSlots()
{
    playinglist.state = 1;
    subTitleFlag = true;
    QStringList expected = windowCalls();
    expected.removeLast(); // "information"
    expected.swapItemsAt(11, 12); // "setSubDelay" and "delSubTitle"
    QCOMPARE(callsOfAll(barKind()), expected);
}

void TestPlaybackMenu::entriesHaveNoShortcutsOrIcons()
{
    Receiver receiver;
    QMenu menu;
    fillPlaybackMenu(&menu, &receiver, windowKind());
    QList<QAction *> all = leaves(&menu);
    QCOMPARE(all.size(), 18);
    all << menu.actions() << menu.actions().at(4)->menu()->actions();
    for (const QAction *action : qAsConst(all)) {
        QVERIFY2(action->shortcuts().isEmpty(), qPrintable(action->text()));
        QVERIFY2(action->icon().isNull(), qPrintable(action->text()));
        QVERIFY2(!action->isCheckable(), qPrintable(action->text()));
    }
}

void TestPlaybackMenu::disabledEntryDoesNotFire()
{
    Receiver receiver;
    QMenu menu;
    fillPlaybackMenu(&menu, &receiver, windowKind());
    menu.popup(QPoint(100, 100));
    QVERIFY(QTest::qWaitForWindowExposed(&menu));
    const auto click = [&menu](int index) {
        const QRect place = menu.actionGeometry(menu.actions().at(index));
        QTest::mouseMove(&menu, place.center());
        QTest::mouseClick(&menu, Qt::LeftButton, Qt::NoModifier, place.center());
    };
    click(2); // "停止播放", nothing loaded
    QCOMPARE(receiver.calls, QStringList());
    QVERIFY(menu.isVisible());
    click(0);
    QCOMPARE(receiver.calls, QStringList{"open"});
    QVERIFY(!menu.isVisible());
}

void TestPlaybackMenu::connectsWithoutComplaint()
{
    const LogCapture log;
    outlineOf(windowKind());
    outlineOf(barKind());
    QCOMPARE(log.lines(), QStringList());
}

// The slots stand in the menu as texts, so only a look at the class tells that they exist.
void TestPlaybackMenu::barHasEverySlot()
{
    const QMetaObject &own = Receiver::staticMetaObject;
    const QList<QByteArray> namedByKind = {"open()", "fullScreen()", "stop()", "information()"};
    int checked = 0;
    for (int i = own.methodOffset(); i < own.methodCount(); ++i) {
        const QByteArray signature = own.method(i).methodSignature();
        if (namedByKind.contains(signature))
            continue;
        QVERIFY2(FullScreenVideoControl::staticMetaObject.indexOfSlot(signature) >= 0, signature);
        ++checked;
    }
    QCOMPARE(checked, 14);
}

QTEST_MAIN(TestPlaybackMenu)
#include "tst_playbackmenu.moc"
