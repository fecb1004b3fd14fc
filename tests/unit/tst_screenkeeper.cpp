// Which services are asked to keep the screen on, in which order, and that each gets back what it
// gave: early, late, or after it was gone.
#include "screenkeeper.h"

#include "busbench.h"

#include <QtTest>

#include <optional>

class TestScreenKeeper : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void servicesAndPlaces_data();
    void servicesAndPlaces();
    void onlyOneIsAsked();
    void onceForEachFilm();
    void refusalGoesOn();
    void nobodyIsThere();
    void lateAnswerIsGivenBack();
    void lateAnswerIsKept();
    void neverAnswered();
    void serviceComesBack();
    void serviceDiesWithoutAnAnswer();
    void serviceComesUpWhileAnotherIsAsked();
    void serviceIsGoneWhilePaused();
    void endOfThePlayer();
    void endOfTheBus();

private:
    std::optional<SessionBus> bus;
    std::optional<ScreenKeeper> keeper;
};

namespace {

const QString saver = "org.freedesktop.ScreenSaver";
const QString saverPath = "/org/freedesktop/ScreenSaver";
const QString saverCall = saverPath + " " + saver + " ";
const QString power = "org.freedesktop.PowerManagement";
const QString inhibit = "org.freedesktop.PowerManagement.Inhibit";
const QString inhibitPath = "/org/freedesktop/PowerManagement/Inhibit";
const QString asked = "Inhibit Tarnivo播放器 正在播放影片";

} // namespace

void TestScreenKeeper::init()
{
    bus.emplace();
    keeper.emplace(bus->connection());
}

void TestScreenKeeper::cleanup()
{
    keeper.reset();
    bus.reset();
}

void TestScreenKeeper::servicesAndPlaces_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("interface");
    QTest::newRow("screen saver") << saver << saverPath << saver;
    QTest::newRow("its old place") << saver << "/ScreenSaver" << saver;
    QTest::newRow("power management") << inhibit << inhibitPath << inhibit;
    QTest::newRow("by its other name") << power << inhibitPath << inhibit;
}

void TestScreenKeeper::servicesAndPlaces()
{
    QFETCH(QString, name);
    QFETCH(QString, path);
    QFETCH(QString, interface);
    ScreenService service(*bus, {name}, {path});
    keeper->keepOn(true);
    QTRY_COMPARE(service.held.size(), 1);
    keeper->keepOn(false);
    QTRY_COMPARE(service.held.size(), 0);
    const QString call = path + " " + interface + " ";
    QCOMPARE(service.calls, QStringList({call + asked, call + "UnInhibit 41"}));
}

void TestScreenKeeper::onlyOneIsAsked()
{
    ScreenService second(*bus, {power, inhibit}, {inhibitPath});
    ScreenService first(*bus, {saver}, {saverPath, "/ScreenSaver"});
    keeper->keepOn(true);
    QTRY_COMPARE(first.held.size(), 1);
    keeper->keepOn(false);
    QTRY_COMPARE(first.calls, QStringList({saverCall + asked, saverCall + "UnInhibit 41"}));
    QCOMPARE(second.calls, QStringList());
}

void TestScreenKeeper::onceForEachFilm()
{
    ScreenService service(*bus, {saver}, {saverPath});
    for (int i = 1; i <= 3; ++i) {
        keeper->keepOn(true);
        keeper->keepOn(true);
        QTRY_COMPARE(service.calls.size(), 2 * i - 1);
        QTRY_COMPARE(service.held.size(), 1);
        keeper->keepOn(false);
        keeper->keepOn(false);
        QTRY_COMPARE(service.calls.size(), 2 * i);
        QCOMPARE(service.calls.last(), saverCall + QString("UnInhibit %1").arg(40 + i));
    }
}

void TestScreenKeeper::refusalGoesOn()
{
    ScreenService first(*bus, {saver}, {saverPath, "/ScreenSaver"});
    first.refuses = true; // cppcheck-suppress unreadVariable // it is read when called
    ScreenService second(*bus, {power}, {inhibitPath});
    keeper.emplace(bus->connection()); // hears of nobody who comes up
    keeper->keepOn(true);
    QTRY_COMPARE(second.held.size(), 1);
    QCOMPARE(first.calls, QStringList({saverCall + asked, "/ScreenSaver " + saver + " " + asked}));
    keeper->keepOn(false);
    QTRY_COMPARE(second.held.size(), 0);
    QCOMPARE(first.calls.size(), 2);
}

void TestScreenKeeper::nobodyIsThere()
{
    keeper->keepOn(true);
    keeper->keepOn(false);
    keeper->keepOn(true);
    ScreenService late(*bus, {saver}, {saverPath});
    QTRY_COMPARE(late.held.size(), 1);
    QCOMPARE(late.calls, QStringList(saverCall + asked));
}

// Paused before the service has answered.
void TestScreenKeeper::lateAnswerIsGivenBack()
{
    ScreenService service(*bus, {saver}, {saverPath});
    service.silent = true;
    keeper->keepOn(true);
    QTRY_COMPARE(service.unanswered.size(), 1);
    keeper->keepOn(false);
    service.answerAll();
    QTRY_COMPARE(service.calls, QStringList({saverCall + asked, saverCall + "UnInhibit 41"}));
    QCOMPARE(service.held.size(), 0);
    keeper->keepOn(true);
    QTRY_COMPARE(service.held.size(), 1);
}

// Paused and played again before that: one call is enough.
void TestScreenKeeper::lateAnswerIsKept()
{
    ScreenService service(*bus, {saver}, {saverPath});
    service.silent = true;
    keeper->keepOn(true);
    keeper->keepOn(false);
    keeper->keepOn(true);
    QTRY_COMPARE(service.unanswered.size(), 1);
    service.answerAll();
    QTRY_COMPARE(service.held.size(), 1);
    keeper->keepOn(false);
    QTRY_COMPARE(service.calls, QStringList({saverCall + asked, saverCall + "UnInhibit 41"}));
}

void TestScreenKeeper::neverAnswered()
{
    ScreenService service(*bus, {saver}, {saverPath});
    service.silent = true; // cppcheck-suppress unreadVariable // it is read when called
    for (int i = 0; i < 100; ++i) {
        keeper->keepOn(true);
        keeper->keepOn(false);
    }
    QTRY_COMPARE(service.calls.size(), 1);
    keeper.reset();
    QCOMPARE(service.calls.size(), 1);
}

void TestScreenKeeper::serviceComesBack()
{
    ScreenService service(*bus, {saver}, {saverPath});
    keeper->keepOn(true);
    QTRY_COMPARE(service.held.size(), 1);
    service.goAway();
    service.comeBack();
    QTRY_COMPARE(service.held.size(), 1);
    keeper->keepOn(false);
    QTRY_COMPARE(service.calls,
                 QStringList({saverCall + asked, saverCall + asked, saverCall + "UnInhibit 42"}));
}

// The bus answers for it.
void TestScreenKeeper::serviceDiesWithoutAnAnswer()
{
    ScreenService other(*bus, {power}, {inhibitPath});
    ScreenService dying(*bus, {saver}, {saverPath});
    dying.silent = true;
    keeper.emplace(bus->connection());
    keeper->keepOn(true);
    QTRY_COMPARE(dying.unanswered.size(), 1);
    dying.die();
    QTRY_COMPARE(other.held.size(), 1);
    keeper->keepOn(false);
    QTRY_COMPARE(other.held.size(), 0);
}

void TestScreenKeeper::serviceComesUpWhileAnotherIsAsked()
{
    ScreenService other(*bus, {power}, {inhibitPath});
    other.silent = other.refuses = true;
    keeper->keepOn(true);
    QTRY_COMPARE(other.unanswered.size(), 1);
    ScreenService service(*bus, {saver}, {saverPath});
    other.answerAll();
    QTRY_COMPARE(service.held.size(), 1);
}

void TestScreenKeeper::serviceIsGoneWhilePaused()
{
    ScreenService service(*bus, {saver}, {saverPath});
    keeper->keepOn(true);
    QTRY_COMPARE(service.held.size(), 1);
    keeper->keepOn(false);
    QTRY_COMPARE(service.held.size(), 0);
    service.goAway();
    service.comeBack();
    keeper->keepOn(true);
    QTRY_COMPARE(service.held.size(), 1);
    QCOMPARE(service.calls.size(), 3);
}

void TestScreenKeeper::endOfThePlayer()
{
    ScreenService service(*bus, {saver}, {saverPath});
    {
        ScreenKeeper ending(QDBusConnection::connectToBus(bus->address, "ending"));
        ending.keepOn(true);
        QTRY_COMPARE(service.held.size(), 1);
    }
    QDBusConnection::disconnectFromBus("ending");
    QTRY_COMPARE(service.held.size(), 0);
    QCOMPARE(service.calls.size(), 1);
}

void TestScreenKeeper::endOfTheBus()
{
    ScreenService service(*bus, {saver}, {saverPath});
    keeper->keepOn(true);
    QTRY_COMPARE(service.held.size(), 1);
    bus->end();
    keeper->keepOn(false);
    keeper->keepOn(true);
    QCOMPARE(service.calls.size(), 1);
}

QTEST_GUILESS_MAIN(TestScreenKeeper)
#include "tst_screenkeeper.moc"
