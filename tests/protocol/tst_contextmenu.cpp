// The context menu of the video: when and where it opens, its entries and what they reach.
#include "clips.h"
#include "menuoutline.h"
#include "playerbench.h"
#include "realinput.h"
#include "screen.h"
#include "whenopen.h"

#include <QContextMenuEvent>
#include <QFileDialog>
#include <QMenu>
#include <QPointer>
#include <QSet>

class TestContextMenu : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup() { bench.reset(); }

    void menuByRightClick();
    void menuByKey();
    void menuInFullScreen();
    void menuPlaces_data();
    void menuPlaces();
    void menuNotElsewhere_data();
    void menuNotElsewhere();
    void menusAreKept();
    void submenusByMouse_data();
    void submenusByMouse();
    void entriesReachTheEngine_data();
    void entriesReachTheEngine();
    void entriesOpenDialogs();
    void entriesStopAndFullScreen();
    void entryShowsMediaInformation();
    void noMediaInformation_data();
    void noMediaInformation();

private:
    QPoint middle() const { return bench->videoOnScreen().center(); }
    // Opens the menu as a right click there does, and lets act look at it; it is closed after that.
    bool withMenu(const std::function<void(QMenu *)> &act);
    bool choose(const QStringList &way);
    QList<QMenu *> menus() const;

    QScopedPointer<PlayerBench> bench;
    TestWindow *window = nullptr;
};

namespace {

QAction *entry(const QMenu *menu, const QString &text)
{
    for (QAction *action : menu->actions()) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

} // namespace

void TestContextMenu::init()
{
    bench.reset(new PlayerBench);
    QFile::remove(bench->tools.folder() + "/ffprobe"); // the real one says what a film is
    window = &bench->openFilm(Clips::oneColour("red", 3));
    QVERIFY(window->windowActiveFlag);
    // Far from the last click, which would else count with the next one.
    QVERIFY(xdotool(pointTo(QPoint(1270, 790))));
}

bool TestContextMenu::withMenu(const std::function<void(QMenu *)> &act)
{
    WhenPopup open([&](QWidget *widget) {
        if (auto *menu = qobject_cast<QMenu *>(widget))
            act(menu);
        widget->close();
    });
    const QPoint point = window->ui->playWidget->geometry().center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, point, window->mapToGlobal(point));
    window->contextMenuEvent(&event);
    return open.happened();
}

// Takes an entry of the menu with the keyboard, down through the submenus.
bool TestContextMenu::choose(const QStringList &way)
{
    bool chosen = false;
    withMenu([&](QMenu *menu) {
        for (const QString &text : way) {
            QAction *action = entry(menu, text);
            QVERIFY2(action && action->isEnabled(), qPrintable(text));
            menu->setActiveAction(action);
            if (!action->menu()) {
                chosen = true;
                QTest::keyClick(menu, Qt::Key_Return);
                return;
            }
            QTest::keyClick(menu, Qt::Key_Right);
            menu = action->menu();
            QTRY_VERIFY(menu->isVisible());
        }
    });
    return chosen;
}

QList<QMenu *> TestContextMenu::menus() const
{
    QList<QMenu *> found;
    for (QMenu *menu : window->findChildren<QMenu *>(QString(), Qt::FindDirectChildrenOnly)) {
        if (menu->title() == "rBtnContexMenu")
            found << menu;
    }
    return found;
}

void TestContextMenu::menuByRightClick()
{
    QVERIFY(bench->playFilm());
    subTitleFlag = true;
    const QPoint point = middle();
    QStringList lines;
    QPoint place;
    WhenPopup open([&](QWidget *widget) {
        auto *menu = qobject_cast<QMenu *>(widget);
        QVERIFY(menu);
        QCOMPARE(menu->title(), QString("rBtnContexMenu"));
        QCOMPARE(menu->parentWidget(), window);
        lines = outline(menu);
        place = menu->pos();
        menu->close();
    });
    QVERIFY(click(point, 3));
    QTRY_VERIFY(open.happened());
    QCOMPARE(lines, windowOutline());
    QCOMPARE(place, point);

    subTitleFlag = false;
    playinglist.state = 0;
    QVERIFY(withMenu([&](QMenu *menu) { lines = outline(menu); }));
    QCOMPARE(lines, withoutStop(withoutSubtitle(windowOutline())));
    playinglist.state = 1;
}

// Wherever the pointer is, also in full screen.
void TestContextMenu::menuByKey()
{
    const auto pressed = [&](const QStringList &expected) {
        QStringList lines;
        WhenPopup open([&](QWidget *widget) {
            lines = outline(qobject_cast<QMenu *>(widget));
            widget->close();
        });
        QVERIFY(xdotool({"key", "Menu"}));
        QTRY_VERIFY(open.happened());
        QCOMPARE(lines, expected);
    };
    QVERIFY(bench->playFilm());
    subTitleFlag = true;
    pressed(windowOutline());
    QVERIFY(bench->enterFullScreen());
    QStringList expected = windowOutline();
    expected[1] = "退出全屏";
    pressed(expected);
}

void TestContextMenu::menuInFullScreen()
{
    QVERIFY(bench->playFilm());
    subTitleFlag = true;
    QVERIFY(bench->enterFullScreen());
    QStringList lines;
    QVERIFY(withMenu([&](QMenu *menu) { lines = outline(menu); }));
    QStringList expected = windowOutline();
    expected[1] = "退出全屏";
    QCOMPARE(lines, expected);
    QVERIFY(choose({"退出全屏"}));
    QVERIFY(!fullScreenFlag);
    QTRY_COMPARE(window->size(), QSize(945, 564));
}

void TestContextMenu::menuPlaces_data() { addPlayAreaPoints(); }

void TestContextMenu::menuPlaces()
{
    QFETCH(QPoint, point);
    QFETCH(bool, inside);
    WhenPopup open([&](QWidget *menu) {
        QCOMPARE(menu->pos(), QPoint(50, 60)); // at the cursor, wherever the event was
        menu->close();
    });
    QVERIFY(xdotool(pointTo(QPoint(50, 60))));
    QTRY_COMPARE(QCursor::pos(), QPoint(50, 60));
    QContextMenuEvent event(QContextMenuEvent::Mouse, point, window->mapToGlobal(point));
    window->contextMenuEvent(&event);
    QCOMPARE(open.happened(), inside);
    QCOMPARE(menus().size(), 1); // made in any case
    QCOMPARE(menus().first()->isEmpty(), !inside);
}

void TestContextMenu::menuNotElsewhere_data()
{
    QTest::addColumn<QPoint>("point");
    QTest::addColumn<int>("made");
    QTest::newRow("title bar") << QPoint(400, 15) << 0; // has its own
    QTest::newRow("button row") << QPoint(650, 555) << 1;
    QTest::newRow("stop button") << QPoint(210, 520) << 1;
    QTest::newRow("left edge of the video") << QPoint(0, 200) << 1;
    QTest::newRow("list") << QPoint(830, 300) << 0; // has its own
}

void TestContextMenu::menuNotElsewhere()
{
    QFETCH(QPoint, point);
    QFETCH(int, made);
    QString popup;
    WhenPopup open([&](QWidget *menu) {
        popup = menu->parentWidget() == window ? "the window's" : "another";
        menu->close();
    });
    QVERIFY(click(window->mapToGlobal(point), 3));
    if (made == 0)
        QTRY_COMPARE(popup, QString("another"));
    QTRY_COMPARE(menus().size(), made);
    QCOMPARE(open.happened(), made == 0);
    for (QMenu *menu : menus())
        QVERIFY(menu->isEmpty() && !menu->isVisible());
}

void TestContextMenu::menusAreKept()
{
    QList<QPointer<QMenu>> kept;
    for (int i = 1; i <= 4; ++i) {
        QVERIFY(withMenu([&](QMenu *menu) { kept << menu; }));
        QCOMPARE(menus().size(), i);
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    for (const QPointer<QMenu> &menu : qAsConst(kept))
        QVERIFY(menu && menu->actions().size() == 6 && !menu->isVisible() && !menu->windowHandle());
    QCOMPARE(QSet<QMenu *>(kept.begin(), kept.end()).size(), 4);
    bench->window.reset();
    for (const QPointer<QMenu> &menu : qAsConst(kept))
        QVERIFY(menu.isNull());
}

// With the mouse alone, down to the deepest entry.

void TestContextMenu::submenusByMouse_data()
{
    QTest::addColumn<bool>("onBar");
    QTest::newRow("window") << false;
    QTest::newRow("full-screen bar") << true;
}

void TestContextMenu::submenusByMouse()
{
    QFETCH(bool, onBar);
    QVERIFY(bench->playFilm());
    subTitleFlag = true;
    if (onBar) {
        QVERIFY(bench->enterFullScreen());
        QVERIFY(xdotool(pointTo(QPoint(400, 300)) + pointTo(QPoint(420, 310))));
        QTRY_VERIFY(window->fsvc->isVisible());
        QVERIFY(QTest::qWaitForWindowExposed(window->fsvc));
    }
    // Points at an entry and gives its submenu once it is open.
    const auto into = [](QMenu *menu, const QString &text) {
        QAction *action = entry(menu, text);
        const QPoint place = menu->mapToGlobal(menu->actionGeometry(action).center());
        for (int i = 0; i < 10; ++i) {
            xdotool(pointTo(place + QPoint(3 * (i % 2), 0)));
            if (QTest::qWaitFor([&] { return action->menu()->isVisible(); }, 1000))
                return action->menu();
        }
        return static_cast<QMenu *>(nullptr);
    };
    const QByteArray input = bench->sent([&] {
        WhenPopup open([&](QWidget *widget) {
            QCOMPARE(widget->parentWidget(), onBar ? static_cast<QWidget *>(window->fsvc) : window);
            QTRY_VERIFY(QGuiApplication::mouseButtons() == Qt::NoButton);
            QMenu *subtitles = into(qobject_cast<QMenu *>(widget), "字幕设置");
            QVERIFY(subtitles);
            QMenu *places = into(subtitles, "字幕位置设置");
            QVERIFY(places && QTest::qWaitForWindowExposed(places));
            if (qEnvironmentVariableIsSet("SAVE_SCREENS"))
                Screen::save(qEnvironmentVariable("SAVE_SCREENS") +
                             (onBar ? "/barmenu.png" : "/menu.png"));
            const QRect last = places->actionGeometry(entry(places, "下移-(Ctrl+D)"));
            QVERIFY(click(places->mapToGlobal(last.center())));
            QTRY_VERIFY(!widget->isVisible());
        });
        QVERIFY(click(bench->videoOnScreen().topLeft() + QPoint(60, 60), 3));
        QTRY_VERIFY(open.happened());
        QTRY_VERIFY(!QApplication::activePopupWidget());
    });
    QCOMPARE(input, QByteArray("sub_pos 2\n"));
    // Kept menus don't keep their windows, of which an X server has room for so many only.
    for (const QMenu *menu : window->findChildren<QMenu *>())
        QVERIFY(!menu->windowHandle());
}

void TestContextMenu::entriesReachTheEngine_data()
{
    QTest::addColumn<QStringList>("way");
    QTest::addColumn<QByteArray>("input");
    const QString sound = "声音同步", subtitles = "字幕设置";
    const auto row = [](const QStringList &way, const QByteArray &input) {
        QTest::newRow(qPrintable(way.join('/'))) << way << input;
    };
    row({sound, "声音延时+(100ms)"}, "audio_delay  0.1\n");
    row({sound, "声音延时-(100ms)"}, "audio_delay  -0.1\n");
    row({sound, "取消延时"}, "audio_delay -0.500000\n");
    row({subtitles, "字幕延时+（100ms）"}, "sub_delay 0.1\n");
    row({subtitles, "字幕延时-（100ms）"}, "sub_delay -0.1\n");
    row({subtitles, "取消延时"}, "sub_delay -0.250000\n");
    row({subtitles, "删除字幕"}, "sub_visibility 0\nsub_remove 0\n");
    row({subtitles, "字幕字体大小", "字体+(Ctrl+E)"}, "sub_scale 0.2\n");
    row({subtitles, "字幕字体大小", "字体-(Ctrl+R)"}, "sub_scale -0.2\n");
    row({subtitles, "字幕位置设置", "上移(Ctrl+U)"}, "sub_pos -2\n");
    row({subtitles, "字幕位置设置", "下移-(Ctrl+D)"}, "sub_pos 2\n");
}

void TestContextMenu::entriesReachTheEngine()
{
    QFETCH(QStringList, way);
    QFETCH(QByteArray, input);
    QVERIFY(bench->playFilm());
    subTitleFlag = true;
    audioDelay = 0.5;
    subDelay = 0.25;
    QCOMPARE(bench->sent([&] { QVERIFY(choose(way)); }), input);
}

void TestContextMenu::entriesOpenDialogs()
{
    QVERIFY(bench->playFilm());
    subTitleFlag = true;
    QStringList opened;
    const auto chooseDialog = [&](const QStringList &way) {
        WhenModal answer([&](QWidget *dialog) {
            opened << (dialog == window->ads
                           ? QString("delay %1").arg(delayFlag)
                           : qobject_cast<QFileDialog *>(dialog)->nameFilters().first());
            dialog->close();
        });
        return choose(way) && answer.happened();
    };
    const QByteArray input = bench->sent([&] {
        QVERIFY(chooseDialog({"打开文件"}));
        QVERIFY(chooseDialog({"声音同步", "延时设置"}));
        QVERIFY(chooseDialog({"字幕设置", "延时设置"}));
        QVERIFY(chooseDialog({"字幕设置", "字幕选择"}));
    });
    QCOMPARE(input, QByteArray());
    QCOMPARE(opened,
             QStringList({"视频文件(*.mp4 *.wmv *.avi *.flv *.rmvb *.mov *.mkv *.webm)", "delay 0",
                          "delay 1", "字幕文件(*.srt *.ass *.ssa *.vtt)"}));
}

void TestContextMenu::entriesStopAndFullScreen()
{
    QVERIFY(bench->playFilm());
    QVERIFY(choose({"全屏"}));
    QVERIFY(fullScreenFlag);
    QTRY_VERIFY(bench->fillsScreen());
    QVERIFY(choose({"停止播放"}));
    QCOMPARE(playinglist.state, 0);
    QVERIFY(bench->engine.waitForInput("quit\n"));
    QVERIFY(bench->engine.waitForNoEngine());
    QVERIFY(fullScreenFlag);
}

void TestContextMenu::entryShowsMediaInformation()
{
    QVERIFY(bench->playFilm());
    bool right = false;
    WhenModal answer([&](QWidget *dialog) {
        right = dialog->inherits("showVideoInfo") && dialog->isVisible();
        QCOMPARE(::videoInfo.width, 320);
        dialog->close();
    });
    QVERIFY(choose({"媒体信息"}));
    QVERIFY(answer.happened());
    QVERIFY(right);
    for (const QDialog *dialog : window->findChildren<QDialog *>())
        QVERIFY(!dialog->inherits("showVideoInfo")); // it goes when it is closed
}

void TestContextMenu::noMediaInformation_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("film");
    const QString film = Clips::oneColour("red", 3);
    QTest::newRow("nothing loaded") << 0 << 0 << film;
    QTest::newRow("no entry") << 1 << -1 << film;
    QTest::newRow("beyond") << 1 << 999 << film;
    QTest::newRow("far beyond") << 1 << 2000000000 << film;
    QTest::newRow("file gone") << 1 << 0 << "/nowhere/film.mp4";
    QTest::newRow("no film any more") << 1 << 0 << Clips::textFile();
}

void TestContextMenu::noMediaInformation()
{
    QFETCH(int, state);
    QFETCH(int, index);
    QFETCH(QString, film);
    playinglist.state = state;
    playinglist.addrIndex = index;
    addrlist[0].addr = film;
    WhenModal open([](QWidget *dialog) { dialog->close(); });
    QVERIFY(choose({"媒体信息"}));
    window->showVideoInfoFuc();
    QTest::qWait(50); // nothing must come of it: there is no sign to wait for
    QVERIFY(!open.happened());
    playinglist.state = 0;
}

QTEST_MAIN(TestContextMenu)
#include "tst_contextmenu.moc"
