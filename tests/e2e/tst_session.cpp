// A whole session of the installed player with the real engine: it says nothing that nobody
// expects, and it can be closed in every state.
#include "clips.h"
#include "playerhands.h"
#include "processes.h"
#include "signalclip.h"
#include "testsupport.h"

#include <QRegularExpression>
#include <QTest>

#include <csignal>
#include <functional>

class TestSession : public QObject {
    Q_OBJECT

private slots:
    void nothingUnexpectedIsSaid();
    void closing_data();
    void closing();
};

namespace {

const QByteArray config = "[DEFAULT]\nfirst_start=0\ndefault_volum=30\ndecode_flag=0\n"
                          "default_last_time=1\n";

// Lines of the toolkit and of X that tell of a fault, but for the ones that are known.
QStringList warnings(const QStringList &log)
{
    static const QStringList known{
        "QMetaObject::connectSlotsByName: No matching signal for on_unPlayedBtn_clicked()",
        "QObject::connect: Incompatible sender/receiver arguments",
        "        QSlider::sliderPressed() --> "
        "FullScreenVideoControl::processSliderPressed(int)",
        "defaultServiceProvider::requestService(): no service found for - "
        "\"org.qt-project.qt.mediaplayer\"",
    };
    static const QRegularExpression faulty(
        "^\\s*Q[A-Z]\\w*(::|\\b.*:)|^qt\\.|XCB|X Error|Bad(Window|Drawable|Match)|[Ww]arning|"
        "^libpng|\\) --> |requestService|[Aa]ssert|propagateSizeHints|^QPainter|Could not|Cannot");
    QStringList found = log.filter(faulty);
    for (const QString &line : known)
        found.removeAll(line);
    return found;
}

// Beyond the last second that resuming leaves out, so that the position counts.
bool playFromTheMiddle(PlayerHands &hands)
{
    if (!hands.takeHold() || !hands.waitForPicture(Qt::red))
        return false;
    Screen::click(hands.timeAt(30.0 / 80), 2);
    return hands.waitForPicture(QColor("lime"));
}

// The steps of a session, each of which uses the player as a person does.
void useTheControls(const PlayerHands &hands)
{
    Screen::key("space");
    Screen::click(hands.timeAt(0.6), 2);
    hands.click(PlayerHands::Play);
    Screen::key("Right");
    Screen::key("Left");
    Screen::key("Up");
    hands.click(PlayerHands::Mute, 1, 2);
    QVERIFY(hands.pictureMoves());
}

void useTheWindow(const PlayerHands &hands)
{
    hands.click(PlayerHands::HideList);
    hands.click(PlayerHands::HideList);
    hands.click(PlayerHands::Pin);
    QTRY_VERIFY(Screen::hasState(hands.mainWindow(), "_NET_WM_STATE_ABOVE"));
    hands.click(PlayerHands::Pin);
    QTRY_VERIFY(!Screen::hasState(hands.mainWindow(), "_NET_WM_STATE_ABOVE"));
    hands.click(PlayerHands::Title, 1, 2);
    QTRY_VERIFY(Screen::hasState(hands.mainWindow(), "_NET_WM_STATE_MAXIMIZED_VERT"));
    QTRY_COMPARE(Screen::geometry(hands.mainWindow()).width(), 1280);
    hands.click(PlayerHands::Title, 1, 2);
    QTRY_COMPARE(Screen::geometry(hands.mainWindow()).width(), 945);
}

void chooseASpeedAndTakeAPicture(InstalledPlayer &player, const PlayerHands &hands)
{
    hands.click(PlayerHands::Speed);
    QVERIFY(hands.waitForSpeeds());
    Screen::click(hands.at(PlayerHands::Speed) + QPoint(0, -359)); // 2.0x
    QVERIFY(hands.waitForSpeeds(false));
    QVERIFY(player.waitForLog("speed is  2"));

    Screen::key("alt+a");
    QDir shots(player.home() + "/Pictures/TNPlayer_ScreenShot");
    QTRY_VERIFY_WITH_TIMEOUT(!shots.entryList({"shot-*.png"}).isEmpty(), 15000);
}

void openMenusAndDialogs(InstalledPlayer &player, PlayerHands &hands)
{
    for (const QPoint &place : {PlayerHands::Video, PlayerHands::Title, PlayerHands::FirstRow}) {
        hands.click(place, 3);
        QVERIFY(hands.waitForMenus(1));
        Screen::key("Escape");
        QVERIFY(hands.waitForMenus(0));
    }
    hands.click(PlayerHands::Settings);
    const qulonglong settings = player.dialog(QStringLiteral("设置"));
    QVERIFY(settings && PlayerHands::focus(settings));
    Screen::key("Return");
    QVERIFY(PlayerHands::waitForNoWindow(settings));
    QVERIFY(hands.takeHold());
    Screen::key("ctrl+o");
    const qulonglong files = player.dialog(QStringLiteral("选择本地文件"));
    QVERIFY(files && PlayerHands::focus(files));
    Screen::key("Escape");
    QVERIFY(PlayerHands::waitForNoWindow(files));
}

void useFullScreen(const PlayerHands &hands)
{
    hands.click(PlayerHands::FullScreen);
    QTRY_COMPARE(hands.picture(), QRect(0, 0, 1280, 800));
    Screen::moveMouse(QPoint(600, 300));
    Screen::moveMouse(QPoint(610, 310));
    QVERIFY(hands.waitForBar());
    Screen::click(QPoint(600, 300), 3);
    QVERIFY(hands.waitForMenus(1));
    Screen::key("Escape");
    QVERIFY(hands.waitForMenus(0));
    Screen::key("Escape");
    QTRY_COMPARE(Screen::geometry(hands.mainWindow()).width(), 945);
    QVERIFY(hands.pictureMoves());
}

} // namespace

void TestSession::nothingUnexpectedIsSaid()
{
    InstalledPlayer player;
    player.setConfig(config);
    QVERIFY(player.start({signalClip()}));
    PlayerHands hands(player);
    QVERIFY(playFromTheMiddle(hands));
    const std::function<void()> steps[] = {
        [&] { useTheControls(hands); },
        [&] { useTheWindow(hands); },
        [&] { chooseASpeedAndTakeAPicture(player, hands); },
        [&] { openMenusAndDialogs(player, hands); },
        [&] { useFullScreen(hands); },
    };
    for (const auto &step : steps) {
        QVERIFY(hands.takeHold());
        step();
        if (QTest::currentTestFailed())
            return;
    }

    hands.click(PlayerHands::Stop);
    QTRY_VERIFY(player.engines().isEmpty());
    hands.click(PlayerHands::Close);
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
    const QStringList unexpected = warnings(player.log());
    QVERIFY2(unexpected.isEmpty(), qPrintable(unexpected.join('\n')));
}

void TestSession::closing_data()
{
    QTest::addColumn<QString>("state");
    QTest::addColumn<bool>("bySignal");
    for (const char *state : {"playing", "paused", "full screen", "bar shown", "menu open",
                              "pop-up open", "file dialog open", "settings open", "shot pending"}) {
        QTest::addRow("%s, signal", state) << QString(state) << true;
    }
    for (const char *state : {"playing", "paused", "shot pending"})
        QTest::addRow("%s, button", state) << QString(state) << false;
}

void TestSession::closing()
{
    QFETCH(QString, state);
    QFETCH(bool, bySignal);
    InstalledPlayer player;
    player.setConfig(config);
    QVERIFY(player.start({signalClip()}));
    PlayerHands hands(player);
    QVERIFY(playFromTheMiddle(hands));
    // The position is asked for twice a second.
    QTest::qWait(1200);
    if (state == "paused") {
        Screen::key("space");
        QTRY_VERIFY(!hands.pictureMoves(1500));
    } else if (state == "full screen" || state == "bar shown") {
        hands.click(PlayerHands::FullScreen);
        QTRY_COMPARE(hands.picture(), QRect(0, 0, 1280, 800));
        if (state == "bar shown") {
            Screen::moveMouse(QPoint(600, 300));
            Screen::moveMouse(QPoint(610, 310));
            QVERIFY(hands.waitForBar());
        }
    } else if (state == "menu open") {
        hands.click(PlayerHands::Video, 3);
        QVERIFY(hands.waitForMenus(1));
    } else if (state == "pop-up open") {
        hands.click(PlayerHands::Speed);
        QVERIFY(hands.waitForSpeeds());
    } else if (state == "file dialog open") {
        Screen::key("ctrl+o");
        QVERIFY(player.dialog(QStringLiteral("选择本地文件")));
    } else if (state == "settings open") {
        hands.click(PlayerHands::Settings);
        QVERIFY(player.dialog(QStringLiteral("设置")));
    } else if (state == "shot pending") {
        hands.click(PlayerHands::Snapshot);
    }
    if (bySignal)
        player.signal(SIGTERM);
    else
        hands.click(PlayerHands::Close);
    QVERIFY(player.waitForEnd());
    QCOMPARE(player.exitCode(), 0);
    QTRY_VERIFY(player.processes().isEmpty());
    const int saved = storedPosition(player.historyFile());
    QVERIFY2(saved >= 28 && saved < 78, qPrintable(QString::number(saved)));
    QCOMPARE(player.setting("default_volum"), QStringLiteral("30"));
    const QStringList unexpected = warnings(player.log());
    QVERIFY2(unexpected.isEmpty(), qPrintable(unexpected.join('\n')));
}

QTEST_MAIN(TestSession)
#include "tst_session.moc"
