// Screens that come and go, and a window on the second one.
#include "longform.h"
#include "playerbench.h"
#include "screen.h"
#include "windowmanagers.h"

#include <QFileInfo>
#include <QScreen>

namespace {

const auto *const kSkipped = "two screens: in the long form, with Xorg and its driver dummy";

bool xrandr(const QStringList &arguments)
{
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.start(QStringLiteral("xrandr"), arguments);
    return process.waitForFinished() && process.exitCode() == 0;
}

// An X server with two screens side by side, 1024x768 each. Needs Xorg with the driver "dummy".
class TwoScreens {
public:
    TwoScreens() = default;
    Q_DISABLE_COPY(TwoScreens)
    ~TwoScreens()
    {
        process.terminate();
        if (!process.waitForFinished(5000))
            process.kill();
        process.waitForFinished();
    }
    static bool isWanted()
    {
        return longForm() && QFileInfo::exists(server) &&
            QFileInfo::exists("/usr/lib/xorg/modules/drivers/dummy_drv.so") &&
            !QStandardPaths::findExecutable("xrandr").isEmpty();
    }
    // From here on this process and its children use it.
    bool start()
    {
        QFile config(folder.filePath("xorg.conf"));
        if (!config.open(QIODevice::WriteOnly))
            return false;
        config.write("Section \"Device\"\nIdentifier \"d\"\nDriver \"dummy\"\n"
                     "VideoRam 64000\nEndSection\n"
                     "Section \"Monitor\"\nIdentifier \"m\"\nHorizSync 5-1000\n"
                     "VertRefresh 5-200\nEndSection\n"
                     "Section \"Screen\"\nIdentifier \"s\"\nDevice \"d\"\nMonitor \"m\"\n"
                     "DefaultDepth 24\nSubSection \"Display\"\nDepth 24\n"
                     "Modes \"1024x768\"\nVirtual 2048 768\nEndSubSection\nEndSection\n");
        config.close();
        process.start(server,
                      {"-displayfd", "1", "-config", config.fileName(), "-noreset", "-novtswitch",
                       "-sharevts", "-nolisten", "tcp", "-logfile", folder.filePath("xorg.log")});
        if (!process.waitForReadyRead(20000))
            return false;
        qputenv("DISPLAY", ":" + process.readAllStandardOutput().trimmed());
        // The second one counts as connected only after the next look at all of them.
        return xrandr({"--addmode", "DUMMY1", "1024x768"}) &&
            xrandr({"--output", "DUMMY1", "--mode", "1024x768", "--right-of", "DUMMY0"}) &&
            xrandr({"--query"});
    }

private:
    const static QString server;
    QTemporaryDir folder;
    QProcess process;
};

const QString TwoScreens::server = QStringLiteral("/usr/lib/xorg/Xorg");

} // namespace

class TestScreens : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup() { bench.reset(); }
    void cleanupTestCase() { manager.reset(); }

    void centredByTheFirstScreen();
    void positionOnTheSecond();
    void leavingFullScreenOnTheSecond_data();
    void leavingFullScreenOnTheSecond();
    void movedInWhenTheScreensHaveChanged(); // the last one: they stay so

private:
    void open();

    QScopedPointer<WindowManager> manager;
    QScopedPointer<PlayerBench> bench;
    TestWindow *window = nullptr;
};

void TestScreens::initTestCase()
{
    if (!TwoScreens::isWanted())
        return; // the display of with-display, with its window manager
    QCOMPARE(QGuiApplication::screens().size(), 2);
    manager.reset(new WindowManager("openbox"));
    QVERIFY(manager->start());
}

void TestScreens::open()
{
    bench.reset(new PlayerBench);
    window = &bench->openFilm();
}

// As long as the screens are those of the start, nothing but the formula counts.
void TestScreens::centredByTheFirstScreen()
{
    open();
    const QSize first = QGuiApplication::primaryScreen()->size();
    const QPoint centre((first.width() - 945) / 2, (first.height() - 564) / 2);
    QTRY_COMPARE(window->pos(), centre);
    window->screenWidth = 9000;
    QShowEvent shown;
    QApplication::sendEvent(window, &shown);
    QCOMPARE(window->pos(), QPoint((9000 - 945) / 2, centre.y()));
}

void TestScreens::movedInWhenTheScreensHaveChanged()
{
    if (QStandardPaths::findExecutable("xrandr").isEmpty())
        QSKIP("xrandr is not installed");
    open();
    const QSize first = QGuiApplication::primaryScreen()->size();
    const QString name = QGuiApplication::primaryScreen()->name();
    QVERIFY(xrandr(
        {"--newmode", "small", "24.11", "640", "656", "720", "800", "480", "481", "484", "500"}));
    QVERIFY(xrandr({"--addmode", name, "small"}));
    QVERIFY(xrandr({"--output", name, "--mode", "small"}));
    QTRY_COMPARE(QGuiApplication::primaryScreen()->size(), QSize(640, 480));

    // Still seen where the formula puts it.
    QShowEvent shown;
    QApplication::sendEvent(window, &shown);
    QCOMPARE(window->pos(), QPoint((first.width() - 945) / 2, (first.height() - 564) / 2));
    // Out of sight.
    window->screenWidth = 9000;
    QApplication::sendEvent(window, &shown);
    QCOMPARE(window->pos(), QPoint(0, 0)); // larger than the screen that is left
    QTRY_COMPARE(Screen::geometry(window->winId()).topLeft(), QPoint(0, 0));
}

// The window's own place on its screen becomes the play area's place in the window.
void TestScreens::positionOnTheSecond()
{
    if (!TwoScreens::isWanted())
        QSKIP(kSkipped);
    open();
    for (const QPoint &place : {QPoint(1060, 50), QPoint(60, 50), QPoint(1030, 0)}) {
        window->move(place);
        QTRY_COMPARE(Screen::geometry(window->winId()).topLeft(), place);
        QTRY_COMPARE(window->pos(), place);
        window->showNormalWin();
        const int left = place.x() < 1024 ? 0 : 1024;
        QCOMPARE(window->ui->playWidget->pos(), place - QPoint(left, 0) + QPoint(0, 40));
    }
}

void TestScreens::leavingFullScreenOnTheSecond_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"xfwm4", "marco", "kwin_x11", "openbox"})
        QTest::newRow(name) << QString(name);
}

// Some window managers keep it there, others go to the first one with it.
void TestScreens::leavingFullScreenOnTheSecond()
{
    QFETCH(QString, name);
    if (!TwoScreens::isWanted())
        QSKIP(kSkipped);
    manager.reset(new WindowManager(name));
    if (!manager->isInstalled())
        QSKIP(qPrintable(name + " is not installed"));
    QVERIFY(manager->start());
    open();
    QCOMPARE(QGuiApplication::screens().at(1)->geometry(), QRect(1024, 0, 1024, 768));
    const QRect place(1060, 50, 945, 564);
    window->move(place.topLeft());
    QTRY_COMPARE(window->geometry(), place);
    QTRY_COMPARE(Screen::geometry(window->winId()), place);
    for (int i = 0; i < 3; ++i) {
        window->on_fullScreenBtn_clicked();
        QTRY_COMPARE(Screen::geometry(window->winId()).size(), QSize(1024, 768));
        QTRY_COMPARE(window->geometry(), Screen::geometry(window->winId()));
        QTRY_VERIFY(Screen::hasState(window->winId(), "_NET_WM_STATE_FULLSCREEN"));
        qInfo() << "full screen at" << window->geometry();
        window->showNormalWin();
        QTRY_COMPARE(Screen::geometry(window->winId()).size(), QSize(945, 564));
        QTRY_COMPARE(window->size(), QSize(945, 564));
        QCOMPARE(window->ui->playWidget->pos(), QPoint(0, 40));
    }
}

int main(int argc, char **argv)
{
    TwoScreens screens;
    if (TwoScreens::isWanted() && !screens.start())
        qFatal("an X server with two screens can't be started");
    QApplication app(argc, argv);
    TestScreens test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_screens.moc"
