// The installed player with the real engine: full screen and its bar, staying on top, dragging,
// maximising and minimising while the film goes on.
#include "clips.h"
#include "installedplayer.h"
#include "screen.h"

#include <QElapsedTimer>
#include <QTest>
#include <QWidget>

class TestFullScreen : public QObject {
    Q_OBJECT

private slots:
    void tenRoundTrips();
    void barComesAndGoes();
    void barHidesByItself();
    void pinnedWhileTheFilmPlays();
    void drag();
    void titleBarDoubleClickAndMinimise();

private:
    void start(const QString &clip);
    void enter();
    qulonglong bar();
    bool barShown() { return bar() != 0; }
    void cleanEnd();

private slots:
    void cleanup() { player.reset(); }

private:
    QScopedPointer<InstalledPlayer> player;
    qulonglong window = 0;
    QRect normal;
    const QRect screen = QRect(0, 0, 1280, 800);
};

namespace {

const QPoint nowhere(5, 795);

void doubleClick(const QPoint &position) { Screen::click(position, 1, 2); }

// A window of another program's kind: a plain one of the test.
struct OtherWindow : QWidget {
    OtherWindow()
    {
        setWindowTitle("other");
        setGeometry(300, 200, 500, 400);
    }
    bool come()
    {
        show();
        if (!QTest::qWaitForWindowExposed(this))
            return false;
        return QTest::qWaitFor(
            [this] {
                Screen::activate(winId());
                return Screen::active() == winId();
            },
            10000);
    }
};

// True once two pictures of the area differ: the film goes on.
bool moves(const QRect &area)
{
    const QImage first = Screen::grab(area);
    return QTest::qWaitFor([&] { return Screen::grab(area) != first; }, 10000);
}

} // namespace

void TestFullScreen::start(const QString &clip)
{
    Screen::moveMouse(nowhere);
    player.reset(new InstalledPlayer);
    player->setConfig("[DEFAULT]\nfirst_start=0\ndefault_volum=0\ndecode_flag=0\n");
    QVERIFY(player->start({clip}));
    window = player->window();
    QVERIFY(window);
    QTRY_VERIFY_WITH_TIMEOUT(player->engines().size() == 1, 15000);
    normal = Screen::geometry(window);
    QCOMPARE(normal.size(), QSize(945, 564));
    QTRY_COMPARE(Screen::active(), window);
}

void TestFullScreen::enter()
{
    QTRY_VERIFY(!Screen::geometry(player->playArea()).isEmpty());
    doubleClick(Screen::geometry(player->playArea()).center());
    QTRY_VERIFY(Screen::hasState(window, "_NET_WM_STATE_FULLSCREEN"));
    QTRY_COMPARE(Screen::geometry(player->playArea()), screen);
}

// The bar is the one window of the player beside the main window that covers the screen.
qulonglong TestFullScreen::bar()
{
    for (qulonglong other : Screen::windowsOf(player->pid())) {
        if (other != window && Screen::geometry(other) == screen)
            return other;
    }
    return 0;
}

void TestFullScreen::cleanEnd()
{
    player->close();
    QVERIFY(player->waitForEnd());
    QCOMPARE(player->exitCode(), 0);
    QVERIFY(player->engines().isEmpty());
    QVERIFY2(!player->logContains("XCB error"), qPrintable(player->log().join('\n')));
    QVERIFY(!player->logContains("BadWindow") && !player->logContains("BadDrawable"));
}

void TestFullScreen::tenRoundTrips()
{
    start(Clips::oneColour("red", 120));
    QVERIFY(Screen::waitForColour(Screen::geometry(player->playArea()), Qt::red, 0.8));
    const qulonglong area = player->playArea();
    for (int i = 0; i < 10; ++i) {
        enter();
        Screen::moveMouse(nowhere); // on the bar's border: it goes
        QVERIFY2(Screen::waitForColour(screen, Qt::red, 0.99), qPrintable(QString::number(i)));
        Screen::key("Escape");
        QTRY_COMPARE(Screen::geometry(window), normal);
        QTRY_COMPARE(Screen::geometry(area),
                     QRect(normal.topLeft() + QPoint(0, 40), QSize(729, 412)));
        QVERIFY(Screen::waitForColour(Screen::geometry(area), Qt::red, 0.99));
    }
    QCOMPARE(player->engines().size(), 1);
    cleanEnd();
}

void TestFullScreen::barComesAndGoes()
{
    start(Clips::oneColour("red", 120));
    QVERIFY(Screen::waitForColour(Screen::geometry(player->playArea()), Qt::red, 0.8));
    enter();
    const auto movesIn = [&] {
        static int x = 400;
        Screen::moveMouse(QPoint(x = x == 400 ? 430 : 400, 300));
        Screen::moveMouse(QPoint(x + 5, 305));
        return barShown();
    };
    QTRY_VERIFY(movesIn());
    if (qEnvironmentVariableIsSet("SAVE_SCREENS")) {
        QTest::qWait(500);
        Screen::save(qEnvironmentVariable("SAVE_SCREENS") + "/bar.png");
    }
    QCOMPARE(Screen::active(), window); // the keys still go to the window

    Screen::key("Alt_L");
    QTRY_VERIFY(!barShown());
    QTRY_VERIFY(movesIn());

    OtherWindow other;
    QVERIFY(other.come());
    QTRY_VERIFY(!barShown());
    // Not until the player is active again.
    Screen::moveMouse(QPoint(100, 700));
    Screen::moveMouse(QPoint(120, 710));
    QTest::qWait(300); // nothing must come: there is no sign to wait for
    QVERIFY(!barShown());
    other.close();
    Screen::activate(window);
    QTRY_COMPARE(Screen::active(), window);
    QTRY_VERIFY(movesIn());

    Screen::key("Escape");
    QTRY_VERIFY(!barShown());
    QTRY_COMPARE(Screen::geometry(window), normal);
    movesIn();
    QVERIFY(!barShown());
    cleanEnd();
}

void TestFullScreen::barHidesByItself()
{
    start(Clips::oneColour("red", 120));
    enter();
    const auto wiggle = [this] {
        Screen::moveMouse(QPoint(400, 300));
        Screen::moveMouse(QPoint(420, 320));
        return bar();
    };
    QTRY_VERIFY(wiggle() != 0);
    const qulonglong shown = bar();
    QElapsedTimer clock;
    clock.start();
    Screen::moveMouse(QPoint(430, 330));
    QTRY_VERIFY_WITH_TIMEOUT(!Screen::isViewable(shown), 15000);
    QVERIFY2(clock.elapsed() > 4700, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(player->waitForLog("recv hide signal"));
    QTRY_VERIFY(wiggle() != 0);
    cleanEnd();
}

void TestFullScreen::pinnedWhileTheFilmPlays()
{
    start(Clips::pattern(120));
    const QRect film = Screen::geometry(player->playArea());
    QVERIFY(moves(film));
    const qulonglong area = player->playArea();
    // The buttons sit at the right end of the title bar: pin, settings, minimise, maximise, close.
    const QPoint end(normal.left() + 940, normal.top() + 15);
    const QPoint pin = end - QPoint(22 + 3 * 27 + 13, 0),
                 settings = end - QPoint(22 + 2 * 27 + 13, 0);

    OtherWindow other;
    QVERIFY(other.come());
    QTRY_VERIFY(Screen::isAbove(other.winId(), window));
    for (const bool pinned : {true, false, true}) {
        Screen::click(pin);
        QTRY_COMPARE(Screen::hasState(window, "_NET_WM_STATE_ABOVE"), pinned);
        QTRY_COMPARE(Screen::geometry(window), normal);
        QCOMPARE(player->window(), window);
        QCOMPARE(Screen::geometry(area), film);
        QVERIFY(Screen::isViewable(area));
        Screen::activate(other.winId());
        QTRY_COMPARE(Screen::active(), qulonglong(other.winId()));
        QTRY_COMPARE(Screen::isAbove(window, other.winId()), pinned);
        if (pinned)
            QVERIFY(moves(QRect(film.center() - QPoint(250, 190), QSize(500, 380))));
    }
    Screen::click(settings);
    const qulonglong dialog = player->dialog(QStringLiteral("设置"));
    QVERIFY(dialog);
    QTRY_VERIFY(Screen::isAbove(dialog, window));
    QVERIFY(moves(QRect(film.topLeft() + QPoint(100, 5), QSize(500, 50))) || moves(film));
    Screen::closeWindow(dialog);
    QTRY_VERIFY(Screen::windowsNamed("设置").isEmpty());

    // Pinned, into full screen and back: still the same window.
    Screen::activate(window);
    QTRY_COMPARE(Screen::active(), window);
    enter();
    QVERIFY(moves(screen));
    Screen::key("Escape");
    QTRY_COMPARE(Screen::geometry(window), normal);
    QVERIFY(moves(Screen::geometry(area)));
    other.close();
    cleanEnd();
}

void TestFullScreen::drag()
{
    start(Clips::pattern(120));
    const QPoint grip = normal.topLeft() + QPoint(200, 15);
    Screen::press(grip);
    for (const QPoint &way : {QPoint(3, 2), QPoint(60, 40), QPoint(-100, 70)}) {
        Screen::moveMouse(grip + way);
        QTRY_COMPARE(Screen::geometry(window).topLeft(), normal.topLeft() + way);
    }
    Screen::release();
    QVERIFY(moves(Screen::geometry(player->playArea())));
    cleanEnd();
}

void TestFullScreen::titleBarDoubleClickAndMinimise()
{
    start(Clips::pattern(120));
    QVERIFY(moves(Screen::geometry(player->playArea())));
    doubleClick(normal.topLeft() + QPoint(200, 15));
    QTRY_COMPARE(Screen::geometry(window), screen);
    QTRY_VERIFY(Screen::hasState(window, "_NET_WM_STATE_MAXIMIZED"));
    QTRY_COMPARE(Screen::geometry(player->playArea()).width(), 1280 - 216);
    QVERIFY(moves(Screen::geometry(player->playArea())));
    doubleClick(QPoint(900, 15));
    QTRY_COMPARE(Screen::geometry(window), normal);
    QVERIFY(moves(Screen::geometry(player->playArea())));

    // Brought back, it is centred again.
    Screen::press(normal.topLeft() + QPoint(400, 15));
    Screen::moveMouse(normal.topLeft() + QPoint(440, 45));
    QTRY_COMPARE(Screen::geometry(window), normal.translated(40, 30));
    Screen::release();
    Screen::click(QPoint(normal.left() + 40 + 940 - 22 - 27 - 13, normal.top() + 30 + 15));
    QTRY_VERIFY(Screen::hasState(window, "_NET_WM_STATE_HIDDEN"));
    QTRY_VERIFY(!Screen::isViewable(window));
    Screen::activate(window);
    QTRY_VERIFY(Screen::isViewable(window));
    QTRY_COMPARE(Screen::geometry(window), normal);
    QVERIFY(moves(Screen::geometry(player->playArea())));
    cleanEnd();
}

QTEST_MAIN(TestFullScreen)
#include "tst_fullscreen.moc"
