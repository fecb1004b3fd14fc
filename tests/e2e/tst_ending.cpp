// The player leaves nothing running, however it ends and whatever runs at that moment: no engine,
// no probe, no worker, no zombie.
#include "installedplayer.h"
#include "longform.h"
#include "playerhands.h"
#include "processes.h"
#include "screen.h"
#include "testsupport.h"
#include "toolbench.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>
#include <QThread>

#include <csignal>

namespace {

constexpr int leftoverLimit = 1000; // ms
constexpr int probeTime = 1500; // ms

constexpr int closeButton = 0;
constexpr int displayGone = -1;

struct Way {
    const char *name;
    int number; // of a signal, or one of the two above
};

const Way ways[] = {
    {"close button", closeButton},
    {"SIGTERM", SIGTERM},
    {"SIGINT", SIGINT},
    {"SIGHUP", SIGHUP},
    {"SIGKILL", SIGKILL},
    {"SIGSEGV", SIGSEGV},
    {"display gone", displayGone},
};

QByteArrayList threadsOf(qint64 pid)
{
    QByteArrayList names;
    const QDir tasks(QString("/proc/%1/task").arg(pid));
    for (const QString &task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        names << readFile(tasks.filePath(task + "/comm")).trimmed();
    return names;
}

// Signals that end a process wherever it is.
bool endsAtOnce(int way) { return way == SIGKILL || way == SIGSEGV; }

} // namespace

class TestEnding : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void whilePlaying_data();
    void whilePlaying();
    void whileProbing_data();
    void whileProbing();
    void whileProbingFromTheStart_data();
    void whileProbingFromTheStart();
    void whileABoxShowsFromTheStart_data();
    void whileABoxShowsFromTheStart();
    void atAnyMoment_data();
    void atAnyMoment();

private:
    void startPlayer(const QStringList &locations, bool ownDisplay = false);
    void endPlayer(int way);
    bool waitForEmptiness(int ms) const;

    QScopedPointer<StandInTools> tools;
    QScopedPointer<InstalledPlayer> player;
    QScopedPointer<QProcess> server;
    QList<qint64> seen;
};

void TestEnding::init()
{
    tools.reset(new StandInTools);
    player.reset(new InstalledPlayer);
    player->setConfig("[DEFAULT]\nfirst_start=0\ndefault_last_time=1\n");
    seen.clear();
}

void TestEnding::cleanup()
{
    player.reset();
    tools.reset();
    if (server) {
        server->kill();
        server->waitForFinished();
    }
    server.reset();
}

void TestEnding::startPlayer(const QStringList &locations, bool ownDisplay)
{
    if (ownDisplay) {
        server.reset(new QProcess);
        server->start("Xvfb",
                      {"-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp"});
        QVERIFY(server->waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(server->canReadLine(), 30000);
        player->setEnvironment("DISPLAY", ':' + server->readLine().trimmed());
    }
    // One that does not end by itself.
    player->standIn().ignoreQuit();
    player->standIn().ignoreTerm();
    QVERIFY(player->start(locations));
}

void TestEnding::endPlayer(int way)
{
    seen += player->processes();
    if (way == closeButton)
        player->close();
    else if (way == displayGone)
        server->kill();
    else
        player->signal(way);
}

// An orphan that has ended is a zombie until the system's first process takes notice; that does not
// count, but one that the player's own processes leave unread does.
bool TestEnding::waitForEmptiness(int ms) const
{
    const auto gone = [this](qint64 pid) {
        return !Processes::alive(pid) &&
            !(Processes::isZombie(pid) && seen.contains(Processes::parentOf(pid)));
    };
    return QTest::qWaitFor(
        [&] {
            return player->processes().isEmpty() && std::all_of(seen.begin(), seen.end(), gone);
        },
        ms);
}

static void addWays()
{
    QTest::addColumn<int>("way");
    for (const Way &way : ways)
        QTest::newRow(way.name) << way.number;
}

static void addSignals()
{
    QTest::addColumn<int>("way");
    for (const Way &way : ways) {
        if (way.number > 0)
            QTest::newRow(way.name) << way.number;
    }
}

void TestEnding::whilePlaying_data() { addWays(); }

void TestEnding::whilePlaying()
{
    QFETCH(int, way);
    startPlayer({"/films/new.mp4"}, way == displayGone);
    QVERIFY(player->standIn().waitForInput("get_time_pos\n"));
    QVERIFY(way == displayGone || player->window());
    QVERIFY(threadsOf(player->pid()).contains("handleSnapFileT")); // the kernel cuts names
    QVERIFY(Processes::zombieChildrenOf(player->pid()).isEmpty());

    endPlayer(way);
    QElapsedTimer clock;
    clock.start();
    QVERIFY(player->waitForEnd());
    QVERIFY(waitForEmptiness(leftoverLimit));
    if (way >= 0)
        QCOMPARE(player->exitCode(), endsAtOnce(way) ? 128 + way : 0);
    else
        QVERIFY(player->exitCode() != 0);
    // Measured only where nothing else runs.
    QVERIFY2(!longForm() || clock.elapsed() < leftoverLimit,
             qPrintable(QString::number(clock.elapsed())));
    QVERIFY(!Processes::alive(player->standIn().last().pid));
}

void TestEnding::whileProbing_data() { addWays(); }

// An engine plays, and a second file is being probed, which holds up the whole player: closing
// waits for the probe. A signal ends a probe that never answers, and so does the player's death; of
// what it has started nothing is left, though that ignores requests.
void TestEnding::whileProbing()
{
    QFETCH(int, way);
    const QString second = player->home() + "/second.mp4";
    writeFile(second, "film");
    const auto slowDown = [&] {
        if (way > 0)
            tools->setProbeScriptFor(second, "trap '' TERM HUP INT; sleep 1000 & sleep 1000");
        else
            tools->setProbeDelay(probeTime);
    };
    if (way == displayGone) {
        slowDown();
        startPlayer({"/films/new.mp4", second}, true);
    } else {
        startPlayer({"/films/new.mp4"});
        QVERIFY(player->standIn().waitForInput("get_time_pos\n"));
        slowDown();
        PlayerHands hands(*player);
        QVERIFY(hands.takeHold());
        QVERIFY(hands.chooseFile("ctrl+o", second));
    }
    QTRY_COMPARE(tools->probeCalls().size(), 2);
    QCOMPARE(player->engines().size(), 1);
    endPlayer(way);
    QVERIFY(player->waitForEnd());
    QVERIFY(waitForEmptiness(leftoverLimit));
    if (way != displayGone)
        QCOMPARE(player->exitCode(), endsAtOnce(way) ? 128 + way : 0);
    QCOMPARE(tools->probeCalls().size(), 2);
}

void TestEnding::whileProbingFromTheStart_data() { addSignals(); }

// Before the window shows.
void TestEnding::whileProbingFromTheStart()
{
    QFETCH(int, way);
    const QString hanging = "/films/hanging.mp4";
    tools->setProbeScriptFor(hanging, "trap '' TERM HUP INT; sleep 1000 & sleep 1000");
    startPlayer({hanging, "/films/second.mp4"});
    QTRY_COMPARE(tools->probeCalls().size(), 1);
    QVERIFY(player->waitForLog("ffprobe -of json")); // it runs before its turn
    endPlayer(way);
    QVERIFY(player->waitForEnd());
    QVERIFY(waitForEmptiness(leftoverLimit));
    QCOMPARE(player->exitCode(), endsAtOnce(way) ? 128 + way : 0);
    QCOMPARE(tools->probeCalls().size(), 1);
}

void TestEnding::whileABoxShowsFromTheStart_data() { addSignals(); }

// Its event loop takes the signal; the window, which has not shown yet, ends all the same.
void TestEnding::whileABoxShowsFromTheStart()
{
    QFETCH(int, way);
    const QString refused = "/films/bad.txt";
    tools->setProbeAnswerFor(refused, "{\n}\n");
    startPlayer({refused});
    QVERIFY(player->dialog("提示"));
    endPlayer(way);
    QVERIFY(player->waitForEnd());
    QVERIFY(waitForEmptiness(leftoverLimit));
    QCOMPARE(player->exitCode(), endsAtOnce(way) ? 128 + way : 0);
}

void TestEnding::atAnyMoment_data() { addSignals(); }

// From the first moment on: start-up, the probes of two files, the engine's start, playing.
void TestEnding::atAnyMoment()
{
    QFETCH(int, way);
    QRandomGenerator random(4711);
    tools->setProbeDelay(50);
    for (int round = 0; round < rounds(3, 50); ++round) {
        startPlayer({"/films/new.mp4", "/films/second.mp4"});
        QThread::msleep(random.bounded(700));
        endPlayer(way);
        QVERIFY(player->waitForEnd());
        QVERIFY2(waitForEmptiness(leftoverLimit), qPrintable(QString::number(round)));
        seen.clear();
    }
}

QTEST_MAIN(TestEnding)
#include "tst_ending.moc"
