// The installed player with the real engine under one window manager after the other: start, drag,
// maximise, restore, pin, pop-ups, each menu and dialog, full screen with its bar, and the end. The
// pictures and the table of what works are in the build folder's desktops/.
#include "clips.h"
#include "longform.h"
#include "playerhands.h"
#include "windowmanagers.h"

#include <QTest>

#include <csignal>

class TestDesktops : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void everything_data();
    void everything();
    void wayland();
    void cleanupTestCase();

private:
    struct Step {
        const char *name;
        bool (TestDesktops::*take)();
    };
    static const QVector<Step> steps;

    bool starts();
    bool drags();
    bool maximises();
    bool restores();
    bool pins();
    bool minimises();
    bool speeds();
    bool titleMenu();
    bool pictureMenus();
    bool listMenu();
    bool settings();
    bool information();
    bool delay();
    bool fileDialog();
    bool fullScreen();
    bool bar();
    bool dialogInFullScreen();
    bool leaves();
    bool closes();

    bool opensMenus(const QPoint &place, const QList<QStringList> &ways);
    bool isDialog(const QString &title);
    void take();

    QString folder;
    QString name; // of the window manager
    const char *step = "";
    bool taken = false; // the step's picture
    bool tiles = false; // windows get their places from the window manager
    QStringList table;
    QScopedPointer<WindowManager> manager;
    QScopedPointer<InstalledPlayer> player;
    QScopedPointer<PlayerHands> hands;
    QRect normal;
};

const QVector<TestDesktops::Step> TestDesktops::steps = {
    {"starts", &TestDesktops::starts},
    {"drags", &TestDesktops::drags},
    {"maximises", &TestDesktops::maximises},
    {"restores", &TestDesktops::restores},
    {"pins", &TestDesktops::pins},
    {"minimises", &TestDesktops::minimises},
    {"speeds", &TestDesktops::speeds},
    {"title-menu", &TestDesktops::titleMenu},
    {"picture-menus", &TestDesktops::pictureMenus},
    {"list-menu", &TestDesktops::listMenu},
    {"settings", &TestDesktops::settings},
    {"information", &TestDesktops::information},
    {"delay", &TestDesktops::delay},
    {"file-dialog", &TestDesktops::fileDialog},
    {"full-screen", &TestDesktops::fullScreen},
    {"bar", &TestDesktops::bar},
    {"dialog-in-full-screen", &TestDesktops::dialogInFullScreen},
    {"leaves", &TestDesktops::leaves},
    {"closes", &TestDesktops::closes},
};

namespace {

const QPoint nowhere(5, 795);

bool becomes(const std::function<bool()> &condition) { return QTest::qWaitFor(condition, 10000); }

} // namespace

void TestDesktops::initTestCase()
{
    folder = QStringLiteral(BUILD_DIR "/desktops/");
    QVERIFY(QDir().mkpath(folder));
    table << QString(24, ' ');
    for (const Step &one : steps)
        table << QString(one.name).leftJustified(24);
}

void TestDesktops::cleanupTestCase()
{
    manager.reset();
    QFile file(folder + "table.txt");
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(table.join('\n').toUtf8() + '\n');
    for (const QString &line : qAsConst(table))
        qInfo("%s", qPrintable(line));
}

// notThere: what the window manager does for no window; cannot: what does not work under it.
void TestDesktops::everything_data()
{
    QTest::addColumn<QStringList>("notThere");
    QTest::addColumn<QStringList>("cannot");
    QTest::newRow("openbox") << QStringList() << QStringList();
    if (!longForm())
        return;
    for (const char *other : {"xfwm4", "kwin_x11", "marco", "mutter"})
        QTest::newRow(other) << QStringList() << QStringList();
    QTest::newRow("i3") << QStringList{"drags", "maximises", "restores", "pins", "minimises"}
                        << QStringList{"dialog-in-full-screen"};
}

void TestDesktops::everything()
{
    QFETCH(QStringList, notThere);
    QFETCH(QStringList, cannot);
    name = QTest::currentDataTag();
    manager.reset(new WindowManager(name));
    if (!manager->isInstalled())
        QSKIP(qPrintable(name + " is not installed"));
    QVERIFY(manager->start());
    table[0] += name.leftJustified(12);
    tiles = notThere.contains("drags");
    QStringList failed;
    for (int i = 0; i < steps.size(); ++i) {
        step = steps.at(i).name;
        if (notThere.contains(step)) {
            table[i + 1] += QString("-").leftJustified(12);
            continue;
        }
        taken = false;
        const bool works = (this->*steps.at(i).take)();
        if (!taken)
            take();
        table[i + 1] += QString(works ? "yes" : "no").leftJustified(12);
        if (!works && !cannot.contains(step))
            failed << step;
    }
    hands.reset();
    player.reset();
    QVERIFY2(failed.isEmpty(), qPrintable(failed.join(' ')));
}

void TestDesktops::take()
{
    QTest::qWait(300); // what is being drawn is drawn
    Screen::save(folder + name + '-' + step + ".png");
    taken = true;
}

bool TestDesktops::starts()
{
    Screen::moveMouse(nowhere);
    player.reset(new InstalledPlayer);
    player->setConfig("[DEFAULT]\nfirst_start=0\ndefault_volum=0\ndecode_flag=0\n");
    hands.reset(new PlayerHands(*player));
    if (!player->start({Clips::pattern(300)}) || !hands->takeHold() || !hands->pictureMoves(20000))
        return false;
    normal = Screen::geometry(hands->mainWindow());
    return tiles || normal == QRect(167, 118, 945, 564);
}

bool TestDesktops::drags()
{
    const QPoint grip = hands->at(PlayerHands::Title);
    bool follows = true;
    Screen::press(grip);
    for (const QPoint &way : {QPoint(10, 6), QPoint(90, 60), QPoint(-45, -33), QPoint(0, 0)}) {
        Screen::moveMouse(grip + way);
        follows = follows && becomes([&] {
                      return Screen::geometry(hands->mainWindow()) == normal.translated(way);
                  });
    }
    Screen::release();
    return follows;
}

bool TestDesktops::maximises()
{
    hands->click(PlayerHands::Maximize);
    return becomes([&] {
        return Screen::geometry(hands->mainWindow()) == Screen::whole() &&
            Screen::hasState(hands->mainWindow(), "_NET_WM_STATE_MAXIMIZED_VERT") &&
            hands->picture().size() == Screen::whole().size() - QSize(216, 152);
    });
}

bool TestDesktops::restores()
{
    hands->click(PlayerHands::Maximize);
    return becomes([&] { return Screen::geometry(hands->mainWindow()) == normal; });
}

bool TestDesktops::pins()
{
    for (const bool pinned : {true, false}) {
        hands->click(PlayerHands::Pin);
        const auto held = [&] {
            return Screen::hasState(hands->mainWindow(), "_NET_WM_STATE_ABOVE") == pinned;
        };
        if (!becomes(held))
            return false;
    }
    return true;
}

bool TestDesktops::minimises()
{
    hands->click(PlayerHands::Minimize);
    const auto isHidden = [&] {
        return Screen::hasState(hands->mainWindow(), "_NET_WM_STATE_HIDDEN");
    };
    const bool gone = becomes(isHidden);
    take();
    // xdotool finds that mutter does not say all that it can do, and refuses.
    const QString id = QString::number(hands->mainWindow());
    QProcess::execute(QStringLiteral("wmctrl"), {"-i", "-a", id});
    return becomes([&] { return !isHidden(); }) && gone && hands->takeHold();
}

bool TestDesktops::speeds()
{
    hands->click(PlayerHands::Speed);
    const bool shown = hands->waitForSpeeds();
    take();
    hands->click(PlayerHands::Speed);
    return hands->waitForSpeeds(false) && shown;
}

// Each way into a submenu is one list of keys.
bool TestDesktops::opensMenus(const QPoint &place, const QList<QStringList> &ways)
{
    hands->click(place, 3);
    int open = 1;
    bool opened = hands->waitForMenus(open);
    for (const QStringList &way : ways) {
        for (const QString &key : way)
            Screen::key(key);
        opened = opened && hands->waitForMenus(++open);
    }
    take();
    for (int i = 0; i < open; ++i)
        Screen::key("Escape");
    return hands->waitForMenus(0) && opened;
}

bool TestDesktops::titleMenu() { return opensMenus(PlayerHands::Title, {}); }

bool TestDesktops::pictureMenus()
{
    return opensMenus(PlayerHands::Video - QPoint(150, 80),
                      {{"Down", "Down", "Down", "Down", "Right"}});
}

bool TestDesktops::listMenu() { return opensMenus(PlayerHands::FirstRow, {}); }

// It is there, above the main window, takes the keys, and goes.
bool TestDesktops::isDialog(const QString &title)
{
    const qulonglong dialog = player->dialog(title);
    const bool shown = dialog && PlayerHands::focus(dialog) && Screen::isViewable(dialog) &&
        becomes([&] { return Screen::isAbove(dialog, hands->mainWindow()); }) &&
        Screen::whole().contains(Screen::geometry(dialog));
    take();
    Screen::key("Escape");
    return dialog && PlayerHands::waitForNoWindow(dialog) && shown && hands->takeHold();
}

bool TestDesktops::settings()
{
    hands->click(PlayerHands::Settings);
    return isDialog(QStringLiteral("设置"));
}

bool TestDesktops::information()
{
    hands->click(PlayerHands::Video, 3);
    if (!hands->waitForMenus(1))
        return false;
    Screen::key("Up"); // the last entry
    Screen::key("Return");
    return isDialog(QStringLiteral("媒体信息"));
}

bool TestDesktops::delay()
{
    hands->click(PlayerHands::Video, 3);
    if (!hands->waitForMenus(1))
        return false;
    for (const char *key : {"Down", "Down", "Down", "Down", "Right"})
        Screen::key(key);
    if (!hands->waitForMenus(2))
        return false;
    for (const char *key : {"Down", "Down", "Down", "Return"})
        Screen::key(key);
    return isDialog(QStringLiteral("Form"));
}

bool TestDesktops::fileDialog()
{
    Screen::key("ctrl+o");
    return isDialog(QStringLiteral("选择本地文件"));
}

bool TestDesktops::fullScreen()
{
    normal = Screen::geometry(hands->mainWindow());
    hands->click(PlayerHands::FullScreen);
    return becomes([&] {
        return Screen::geometry(hands->mainWindow()) == Screen::whole() &&
            hands->picture() == Screen::whole();
    });
}

bool TestDesktops::bar()
{
    Screen::moveMouse(QPoint(600, 300));
    Screen::moveMouse(QPoint(610, 310));
    const bool came = hands->waitForBar();
    take();
    Screen::moveMouse(nowhere); // on its border: it goes
    return hands->waitForBar(false) && came;
}

bool TestDesktops::dialogInFullScreen()
{
    Screen::key("ctrl+o");
    return isDialog(QStringLiteral("选择本地文件")) &&
        Screen::geometry(hands->mainWindow()) == Screen::whole();
}

bool TestDesktops::leaves()
{
    Screen::key("Escape");
    return becomes([&] {
               return Screen::geometry(hands->mainWindow()) == normal &&
                   hands->picture().topLeft() == normal.topLeft() + QPoint(0, 40);
           }) &&
        hands->pictureMoves();
}

bool TestDesktops::closes()
{
    Screen::closeWindow(hands->mainWindow());
    return player->waitForEnd() && player->exitCode() == 0 && player->engines().isEmpty();
}

namespace {

// A Wayland desktop whose one screen is the display of the test, with an X server in it.
class Weston {
public:
    Weston() = default;
    Q_DISABLE_COPY(Weston)
    ~Weston()
    {
        process.terminate();
        if (!process.waitForFinished(5000))
            process.kill();
        process.waitForFinished();
        qputenv("DISPLAY", outer);
    }
    static bool isInstalled()
    {
        return !QStandardPaths::findExecutable("weston").isEmpty() &&
            !QStandardPaths::findExecutable("Xwayland").isEmpty();
    }
    bool start()
    {
        QFile settings(folder.filePath("weston.ini"));
        if (!settings.open(QIODevice::WriteOnly))
            return false;
        settings.write("[core]\nidle-time=0\n[shell]\nanimation=none\nstartup-animation=none\n"
                       "locking=false\npanel-position=none\n");
        settings.close();
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start("weston",
                      {"-c", settings.fileName(), "--backend=x11-backend.so", "--use-pixman",
                       "--xwayland", "--width=1280", "--height=800", "--fullscreen",
                       "--socket=desktops"});
        const auto listens = [&] {
            log += process.readAllStandardOutput();
            const int at = log.indexOf("listening on display :");
            if (at >= 0)
                inner = log.mid(log.indexOf(':', at)).split('\n').first().trimmed();
            return !inner.isEmpty();
        };
        return QTest::qWaitFor(listens, 15000);
    }
    // Where windows are asked about, and where the mouse and the keys are.
    void lookInside() { qputenv("DISPLAY", inner); }
    void actOutside() { qputenv("DISPLAY", outer); }
    QByteArray display() const { return inner; }

private:
    const QByteArray outer = qgetenv("DISPLAY");
    QByteArray inner;
    QByteArray log;
    QTemporaryDir folder;
    QProcess process;
};

} // namespace

// The title bar can't be dragged there, and the bar of full screen does not come.
void TestDesktops::wayland()
{
    if (!longForm() || !Weston::isInstalled())
        QSKIP("in the long form, with weston and Xwayland");
    manager.reset(new WindowManager("openbox"));
    QVERIFY(manager->start());
    Weston weston;
    QVERIFY(weston.start());
    name = "weston";
    step = "starts";
    player.reset(new InstalledPlayer);
    player->setConfig("[DEFAULT]\nfirst_start=0\ndefault_volum=0\ndecode_flag=0\n");
    player->setEnvironment("DISPLAY", weston.display());
    QVERIFY(player->start({Clips::pattern(300)}));
    const auto named = [&](const QString &title) {
        weston.lookInside();
        qulonglong found = 0;
        for (qulonglong id : Screen::windowsOf(player->pid())) {
            if (Screen::title(id) == title)
                found = id;
        }
        weston.actOutside();
        return found;
    };
    const auto place = [&](qulonglong id) {
        weston.lookInside();
        const QRect found = Screen::geometry(id);
        weston.actOutside();
        return found;
    };
    QTRY_VERIFY_WITH_TIMEOUT(named("MainWindow") != 0, 15000);
    const qulonglong window = named("MainWindow");
    QTRY_COMPARE(place(window), QRect(167, 118, 945, 564));
    const QRect sample(220, 220, 600, 300);
    const auto moves = [&](int ms) {
        const QImage before = Screen::grab(sample);
        return QTest::qWaitFor([&] { return Screen::grab(sample) != before; }, ms);
    };
    QVERIFY(moves(15000));
    take();

    step = "file-dialog";
    Screen::key("ctrl+o");
    QTRY_VERIFY(named("选择本地文件") != 0);
    take();
    Screen::key("Escape");
    QTRY_VERIFY(named("选择本地文件") == 0);

    // Weston's pointer goes as far as the display's, from another place: both go to the corner.
    step = "full-screen";
    Screen::moveMouse(Screen::whole().bottomRight());
    QTest::qWait(500);
    Screen::moveMouse(QPoint(0, 0));
    QTest::qWait(500);
    Screen::click(QPoint(500, 350), 1, 2);
    QTRY_COMPARE(place(window).size(), Screen::whole().size());
    QVERIFY(moves(15000));
    take();
    Screen::key("Escape");
    QTRY_COMPARE(place(window).size(), QSize(945, 564));
    player->signal(SIGTERM);
    QVERIFY(player->waitForEnd());
    QCOMPARE(player->exitCode(), 0);
    QVERIFY(player->engines().isEmpty());
    player.reset();
}

QTEST_MAIN(TestDesktops)
#include "tst_desktops.moc"
