// The installed player on screens of other densities: on usual ones every pixel is as without
// scaling; on dense ones all grows, and the engine's area, full screen, pop-ups and the title bar
// keep to the screen's own pixels.
#include "clips.h"
#include "historysupport.h"
#include "playerhands.h"
#include "windowmanagers.h"

#include <QTest>

namespace {

// An X server of its own, with a window manager.
class Server {
public:
    Server() = default;
    Q_DISABLE_COPY(Server)
    ~Server()
    {
        manager.reset();
        process.terminate();
        if (!process.waitForFinished(5000))
            process.kill();
        process.waitForFinished();
        qputenv("DISPLAY", previous);
    }
    // What this process starts from now on, until its end, uses it.
    bool start(const QString &size, int density)
    {
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start("Xvfb",
                      {"-displayfd", "1", "-screen", "0", size + "x24", "-dpi",
                       QString::number(density), "-nolisten", "tcp", "-noreset", "-s", "0"});
        if (!process.waitForReadyRead(20000))
            return false;
        qputenv("DISPLAY", ":" + process.readAllStandardOutput().trimmed());
        return true;
    }
    bool startManager()
    {
        manager.reset(new WindowManager("openbox"));
        return manager->start();
    }

private:
    const QByteArray previous = qgetenv("DISPLAY");
    QProcess process;
    QScopedPointer<WindowManager> manager;
};

// A window of any server, not only of the one that this process draws on.
QImage pictureOf(qulonglong window)
{
    QProcess import;
    import.start("import", {"-window", QString::number(window), "png:-"});
    return import.waitForFinished() ? QImage::fromData(import.readAllStandardOutput()) : QImage();
}

bool isNear(const QPoint &one, const QPoint &other, double apart)
{
    return qAbs(one.x() - other.x()) <= apart && qAbs(one.y() - other.y()) <= apart;
}

} // namespace

class TestDensity : public QObject {
    Q_OBJECT

private slots:
    void everyPixelStays_data();
    void everyPixelStays();
    void everythingGrows_data();
    void everythingGrows();

private:
    QList<QImage> windowsOf(bool scaling);
    void begin();
    void engineFillsItsArea();
    void titleBarFollowsTheMouse();
    void popUpsAreAtThePointer();
    void maximisedAndBack();
    void fullScreenAndBack();
    void cleanEnd();

    QScopedPointer<InstalledPlayer> player;
    QScopedPointer<PlayerHands> hands;
    double factor = 1;
    QRect normal;
};

void TestDensity::everyPixelStays_data()
{
    QTest::addColumn<int>("server");
    QTest::addColumn<int>("desktop");
    for (int density : {75, 96, 100, 110, 119})
        QTest::addRow("X server: %d", density) << density << 0;
    QTest::newRow("desktop: 100") << 192 << 100;
}

QList<QImage> TestDensity::windowsOf(bool scaling)
{
    InstalledPlayer one;
    one.setConfig("[DEFAULT]\nfirst_start=0\ndefault_volum=40\ndecode_flag=0\n"
                  "snap_path=/shots/\n");
    one.setHistory(documentText(numberedEntries(3)));
    if (!scaling)
        one.setEnvironment("QT_ENABLE_HIGHDPI_SCALING", "0");
    PlayerHands its(one);
    QList<QImage> pictures;
    Screen::moveMouse(QPoint(5, 5));
    if (!one.start() || !its.takeHold() ||
        !QTest::qWaitFor([&] { return Screen::geometry(its.mainWindow()).width() == 945; }, 15000))
        return pictures;
    QTest::qWait(2500); // the notice of the volume goes
    pictures << pictureOf(its.mainWindow());
    its.click(PlayerHands::Settings);
    const qulonglong settings = one.dialog(QStringLiteral("设置"));
    if (settings && PlayerHands::focus(settings)) {
        Screen::moveMouse(QPoint(5, 5));
        QTest::qWait(500);
        pictures << pictureOf(settings);
    }
    return pictures;
}

void TestDensity::everyPixelStays()
{
    QFETCH(int, server);
    QFETCH(int, desktop);
    Server other;
    QVERIFY(other.start("1280x800", server));
    QVERIFY(other.startManager());
    if (desktop)
        QVERIFY(Screen::setDensity(desktop));
    const QList<QImage> now = windowsOf(true);
    const QList<QImage> unscaled = windowsOf(false);
    QCOMPARE(now.size(), 2);
    QCOMPARE(unscaled.size(), 2);
    QCOMPARE(now.at(0).size(), QSize(945, 564));
    QVERIFY(now.at(0) == unscaled.at(0));
    QVERIFY(now.at(1) == unscaled.at(1));
}

void TestDensity::everythingGrows_data()
{
    QTest::addColumn<int>("density");
    QTest::addColumn<QString>("variable");
    QTest::addColumn<double>("expected");
    for (int density : {120, 144, 168, 192})
        QTest::addRow("%d", density)
            << density << QString() << (density == 168 ? 1.5 : density / 96.0);
    for (const char *chosen : {"1.25", "1.5", "1.75", "2"})
        QTest::addRow("factor %s", chosen) << 96 << QString(chosen) << QString(chosen).toDouble();
    QTest::newRow("192, factor 1.5") << 192 << "1.5" << 1.5;
}

void TestDensity::everythingGrows()
{
    QFETCH(int, density);
    QFETCH(QString, variable);
    QFETCH(double, expected);
    factor = expected;
    QVERIFY(Screen::setDensity(density));
    player.reset(new InstalledPlayer);
    player->setConfig("[DEFAULT]\nfirst_start=0\ndefault_volum=0\ndecode_flag=0\n");
    if (!variable.isEmpty())
        player->setEnvironment("QT_SCALE_FACTOR", variable);
    using Step = void (TestDensity::*)();
    for (Step step : {&TestDensity::begin, &TestDensity::engineFillsItsArea,
                      &TestDensity::titleBarFollowsTheMouse, &TestDensity::popUpsAreAtThePointer,
                      &TestDensity::maximisedAndBack, &TestDensity::fullScreenAndBack,
                      &TestDensity::cleanEnd}) {
        (this->*step)();
        if (QTest::currentTestFailed())
            break;
    }
    hands.reset();
    player.reset();
}

void TestDensity::begin()
{
    Screen::moveMouse(QPoint(5, 5));
    QVERIFY(player->start({Clips::oneColour("red", 120)}));
    hands.reset(new PlayerHands(*player, factor));
    QVERIFY(hands->takeHold());
    QTRY_VERIFY_WITH_TIMEOUT(player->engines().size() == 1, 15000);
    normal = Screen::geometry(hands->mainWindow());
    QVERIFY(qAbs(normal.width() - 945 * factor) <= 1 && qAbs(normal.height() - 564 * factor) <= 1);
    QVERIFY(isNear(normal.center(), Screen::whole().center(), 1 + factor));
}

void TestDensity::engineFillsItsArea()
{
    const QRect area = hands->picture();
    QVERIFY(isNear(area.topLeft(), normal.topLeft() + QPoint(0, qRound(40 * factor)), 1));
    // 412 high, or one less where the window got its size with the first layout.
    QVERIFY(qAbs(area.width() - 729 * factor) <= 1 + factor);
    QVERIFY(qAbs(area.height() - 411.5 * factor) <= 1 + factor);
    QVERIFY(Screen::waitForColour(area, Qt::red, 0.99));
    QVERIFY(area.contains(Screen::extent(Screen::grab(), Qt::red)));
}

void TestDensity::titleBarFollowsTheMouse()
{
    const QPoint grip = hands->at(PlayerHands::Title);
    Screen::press(grip);
    for (const QPoint &way : {QPoint(10, 6), QPoint(130, 90), QPoint(-45, 33), QPoint(0, 0)}) {
        Screen::moveMouse(grip + way);
        const auto there = [&] {
            return isNear(Screen::geometry(hands->mainWindow()).topLeft(), normal.topLeft() + way,
                          factor);
        };
        QTRY_VERIFY(there());
    }
    Screen::release();
}

void TestDensity::popUpsAreAtThePointer()
{
    hands->click(PlayerHands::Speed);
    QVERIFY(hands->waitForSpeeds());
    const QPoint pointer = hands->at(PlayerHands::Speed);
    bool found = false;
    for (qulonglong id : Screen::windowsOf(player->pid())) {
        const QPoint corner = pointer - QPoint(50, 410) * factor;
        found = found || isNear(Screen::geometry(id).topLeft(), corner, 1 + factor);
    }
    QVERIFY(found);
    hands->click(PlayerHands::Speed);
    QVERIFY(hands->waitForSpeeds(false));

    hands->click(PlayerHands::Title, 3);
    QVERIFY(hands->waitForMenus(1));
    found = false;
    for (qulonglong id : Screen::windowsOf(player->pid()))
        found = found ||
            isNear(Screen::geometry(id).topLeft(), hands->at(PlayerHands::Title), 2 * factor);
    QVERIFY(found);
    Screen::key("Escape");
    QVERIFY(hands->waitForMenus(0));
}

void TestDensity::maximisedAndBack()
{
    normal = Screen::geometry(hands->mainWindow());
    hands->click(PlayerHands::Maximize);
    QTRY_COMPARE(Screen::geometry(hands->mainWindow()), Screen::whole());
    QTRY_VERIFY(qAbs(hands->picture().width() - (Screen::whole().width() - 216 * factor)) <= 2);
    QVERIFY(Screen::waitForColour(hands->picture(), Qt::red, 0.99));
    // The last button ends where the window does.
    Screen::click(Screen::whole().topRight() + QPoint(-41, 15) * factor);
    QTRY_COMPARE(Screen::geometry(hands->mainWindow()), normal);
    QVERIFY(Screen::waitForColour(hands->picture(), Qt::red, 0.99));
}

void TestDensity::fullScreenAndBack()
{
    const QRect before = hands->picture();
    const QRect all = Screen::whole();
    hands->click(PlayerHands::FullScreen);
    QTRY_VERIFY(hands->picture().contains(all));
    QVERIFY(hands->picture().width() <= all.width() + 4);
    QVERIFY(hands->picture().height() <= all.height() + 4);
    Screen::moveMouse(all.center());
    Screen::moveMouse(all.center() + QPoint(20, 20));
    const auto bar = [&] {
        for (qulonglong id : Screen::windowsOf(player->pid())) {
            const QRect place = Screen::geometry(id);
            if (id != hands->mainWindow() && place.topLeft() == QPoint(0, 0) &&
                isNear(place.bottomRight(), all.bottomRight(), factor))
                return true;
        }
        return false;
    };
    QTRY_VERIFY(bar());
    Screen::moveMouse(QPoint(3, all.height() - 3)); // on its border: it goes
    QTRY_VERIFY(!bar());
    QVERIFY(Screen::waitForColour(all, Qt::red, 0.99));
    // At the edges the engine may leave a row black, but the window's grey is nowhere.
    for (const QRect &edge :
         {QRect(all.width() - 1, 0, 1, all.height()), QRect(0, all.height() - 1, all.width(), 1)})
        QCOMPARE(Screen::count(Screen::grab(edge), QColor(70, 70, 70), 20), 0);
    Screen::key("Escape");
    QTRY_COMPARE(Screen::geometry(hands->mainWindow()), normal);
    QTRY_VERIFY(isNear(hands->picture().topLeft(), before.topLeft(), factor));
    QCOMPARE(hands->picture().size(), before.size());
    QVERIFY(Screen::waitForColour(hands->picture(), Qt::red, 0.99));
}

void TestDensity::cleanEnd()
{
    player->close();
    QVERIFY(player->waitForEnd());
    QCOMPARE(player->exitCode(), 0);
}

int main(int argc, char **argv)
{
    Server large;
    // 1602 scaled down by 1.75 and up again is 1601.
    if (!large.start("2560x1602", 96))
        qFatal("a large screen can't be had");
    QApplication application(argc, argv);
    if (!large.startManager())
        qFatal("no window manager on the large screen");
    TestDensity test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_density.moc"
