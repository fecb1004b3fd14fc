// The player under random use, with the real engine and the real probe: it does not crash, no
// sanitizer finds anything, nothing outlives it, its history stays readable, and its window
// answers.
//
// A bout is two minutes of one seed. What it did is in monkey-SEED.log in the build folder. By
// hand, with other seeds and times:
//     PLAYER_MONKEY_SEEDS=7-12 PLAYER_MONKEY_SECONDS=600 QTEST_FUNCTION_TIMEOUT=900000
//         tests/support/with-display build-asan/tests/random_tst_monkey
#include "clips.h"
#include "installedplayer.h"
#include "longform.h"
#include "monkey.h"
#include "processes.h"
#include "pulse.h"
#include "screen.h"
#include "testsupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QScopedPointer>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <csignal>

namespace {

constexpr int kBoutSeconds = 120;
constexpr int kRoundTime = 30000; // ms; then the player is closed, if it was not already
constexpr int kClosingTime = 60000; // ms
constexpr int kEndTime = 30000; // ms, from the window's end to the program's: the leak check
constexpr int kLeftoverTime = 2000; // ms
constexpr int kStepsBetweenChecks = 50;
constexpr int kLinesTold = 80; // of a log, after a fault
// ms. What the GUI thread may be held up by anything, and by a real probe on a loaded machine.
constexpr qint64 kSilence = 3000;
constexpr qint64 kProbeSilence = 20000;

// Takes from the window manager what could take the player out of play.
bool tameTheWindowManager()
{
    writeFile(QDir::homePath() + "/.config/openbox/rc.xml",
              readFile(QStringLiteral(SOURCE_DIR "/tests/random/openbox.xml")));
    QProcess::execute(QStringLiteral("openbox"), {"--reconfigure"});
    QProcess::execute(QStringLiteral("wmctrl"), {"-n", "1"});
    return QTest::qWaitFor(
        [] {
            QProcess tool;
            tool.start(QStringLiteral("xprop"), {"-root", "_OB_THEME", "_NET_NUMBER_OF_DESKTOPS"});
            tool.waitForFinished();
            const QByteArray answer = tool.readAll();
            return answer.contains("\"Onyx\"") && answer.contains("= 1\n");
        },
        15000);
}

bool isWholeNumber(const QJsonValue &value)
{
    return value.isDouble() && value.toDouble() == std::floor(value.toDouble());
}

// What is wrong with the history, or nothing. An emptied one has no bytes.
QString historyFault(const QByteArray &json)
{
    if (json.isEmpty())
        return QString();
    const QJsonDocument document = QJsonDocument::fromJson(json);
    const QJsonObject root = document.object();
    if (root.keys() != QStringList{"settings"} || !root.value("settings").isArray())
        return QStringLiteral("it has another shape");
    QStringList addresses;
    for (const auto &element : root.value("settings").toArray()) {
        const QJsonObject entry = element.toObject();
        if (entry.keys() !=
            QStringList{"addr", "codec_type", "frame", "height", "label", "last_time", "type",
                        "width"})
            return QStringLiteral("an entry has other members");
        for (const char *member : {"codec_type", "height", "last_time", "type", "width"}) {
            if (!isWholeNumber(entry.value(QLatin1String(member))))
                return QStringLiteral("%1 is no whole number").arg(member);
        }
        const QString address = entry.value("addr").toString();
        if (!entry.value("frame").isDouble() || entry.value("last_time").toDouble() < 0)
            return QStringLiteral("a number is wrong");
        if (!QFileInfo::exists(address) || addresses.contains(address))
            return QStringLiteral("the address %1 is wrong").arg(address);
        if (entry.value("label").toString() != QFileInfo(address).fileName())
            return QStringLiteral("the name of %1 is wrong").arg(address);
        addresses << address;
    }
    return QString();
}

} // namespace

class TestMonkey : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void bout_data();
    void bout();

private:
    void makeFilms();
    void startPlayer();
    void playARound();
    void closePlayer();
    bool goesOn() const;
    bool wasUsedEnough() const;
    void check();
    void checkEnd();
    QStringList findings() const;
    bool leakCheckFailed(const QStringList &files) const;
    void fail(const QString &what);
    void setUpPlayer();
    void report(const QString &log);

    QTemporaryDir folder;
    QStringList films;
    QScopedPointer<InstalledPlayer> player;
    QScopedPointer<Monkey> monkey;
    QScopedPointer<Pulse> pulse;
    QElapsedTimer clock;
    qint64 boutTime = 0; // ms
    qint64 longestSilence = 0; // ms
    qint64 longestProbe = 0; // ms
    QString fault;
};

void TestMonkey::initTestCase()
{
    QVERIFY(tameTheWindowManager());
    makeFilms();
}

// In one folder with short names: they are typed.
void TestMonkey::makeFilms()
{
    const QString place = folder.path();
    films = QStringList{
        Clips::copy(Clips::oneColour("lime", 20, true), place, "a.mp4"),
        Clips::copy(Clips::pattern(6), place, "b.mp4"),
        Clips::copy(Clips::ntscRate(), place, "c.mp4"),
        Clips::copy(Clips::matroska(10), place, "d.mkv"),
        Clips::copy(Clips::otherCodec(10), place, "e.avi"),
        Clips::copy(Clips::audioOnly(5), place, "f.mp3"),
        Clips::copy(Clips::audioWithCover(10), place, "g.mp3"),
        Clips::copy(Clips::hevc(10), place, "h.mp4"),
        Clips::copy(Clips::truncated(), place, "i.mp4"),
        Clips::copy(Clips::textFile(), place, "j.mp4"),
        Clips::copy(Clips::subtitles(), place, "k.srt"),
        Clips::copy(Clips::oneColour("red", 60), place, "l.mp4"),
    };
}

void TestMonkey::fail(const QString &what)
{
    if (!fault.isEmpty())
        return;
    fault = what;
    monkey->note("FAULT " + what);
}

// Each round with other settings. The list stays.
void TestMonkey::startPlayer()
{
    QRandomGenerator &dice = monkey->dice();
    const QString settings =
        QStringLiteral("[DEFAULT]\nfirst_start=0\ndefault_volum=%1\ndecode_flag=%2\n"
                       "default_last_time=%3\nempty_list_exit=%4\nplay_mode=%5\n")
            .arg(dice.bounded(101))
            .arg(dice.bounded(2))
            .arg(dice.bounded(4) > 0 ? 1 : 0)
            .arg(dice.bounded(5) == 0 ? 1 : 0)
            .arg(dice.bounded(5));
    player->setConfig(settings.toUtf8());
    QStringList locations;
    const int least = monkey->count("seen: start") == 0 ? 1 : 0;
    for (int left = dice.bounded(least, 4); left > 0; --left)
        locations << films.at(dice.bounded(films.size()));
    monkey->note("start " + settings.simplified() + ' ' + locations.join(' '));
    monkey->tally("seen: start");
    if (!player->start(locations))
        return fail(QStringLiteral("the player does not start"));
    // A file that is refused is told in a box before there is a window.
    QElapsedTimer waiting;
    waiting.start();
    while (!player->window(500) && player->isRunning() && waiting.elapsed() < 60000) {
        for (qulonglong box : Screen::windowsNamed(QStringLiteral("提示"))) {
            Screen::activate(box);
            Screen::key(QStringLiteral("Escape"));
        }
    }
    const qulonglong window = player->window(100);
    if (!window)
        return fail(QStringLiteral("there is no window"));
    monkey->takeHold(*player);
    const auto probes = [this] {
        for (qint64 process : player->processes()) {
            if (Processes::arguments(process).value(0).endsWith("ffprobe"))
                return true;
        }
        return false;
    };
    pulse.reset(new Pulse(player->pid(), window, probes));
}

bool TestMonkey::goesOn() const
{
    return clock.elapsed() < boutTime || (!wasUsedEnough() && clock.elapsed() < 3 * boutTime);
}

// Whether the player has really been used, as far as can be seen from outside.
bool TestMonkey::wasUsedEnough() const
{
    return monkey->steps() >= 100 && monkey->count("seen: start") >= 3 &&
        monkey->count("seen: engine") >= 10 && monkey->count("seen: menu") >= 5 &&
        monkey->count("seen: dialog") >= 5 && monkey->count("seen: full screen") >= 2 &&
        monkey->count("seen: leak check") > 0;
}

// The longest silences of the round; they are looked at while it lasts, so that a fault is told
// where it happened.
void TestMonkey::check()
{
    if (pulse) {
        longestSilence = qMax(longestSilence, pulse->worst());
        longestProbe = qMax(longestProbe, pulse->worstExcused());
    }
    if (longestSilence > kSilence)
        fail(QStringLiteral("the window did not answer for %1 ms").arg(longestSilence));
    if (longestProbe > kProbeSilence)
        fail(QStringLiteral("the window did not answer for %1 ms while it probed")
                 .arg(longestProbe));
    if (!monkey->fault().isEmpty())
        fail(monkey->fault());
    if (monkey->steps() % kStepsBetweenChecks != 0)
        return;
    const QString wrong = historyFault(readFile(player->historyFile()));
    if (!wrong.isEmpty())
        fail("the history is broken: " + wrong);
    if (player->engines().size() > 1)
        fail(QStringLiteral("more than one engine runs"));
}

void TestMonkey::playARound()
{
    QElapsedTimer round;
    round.start();
    while (fault.isEmpty() && player->isRunning() && round.elapsed() < kRoundTime && goesOn()) {
        monkey->step();
        check();
    }
    monkey->tally(player->isRunning() ? "seen: forced end" : "seen: end");
    if (player->isRunning() && fault.isEmpty())
        closePlayer();
}

// By the close button of the window manager or by a signal, in turns. Without a window the player
// has been closed by the last steps and is about to end: a signal would then end it at once.
void TestMonkey::closePlayer()
{
    QElapsedTimer closing;
    closing.start();
    const bool bySignal = monkey->dice().bounded(2) == 0;
    if (bySignal && player->window(0)) {
        monkey->note("signal");
        player->signal(SIGTERM);
        if (!QTest::qWaitFor([this] { return !player->isRunning(); }, kClosingTime))
            fail(QStringLiteral("a signal does not end the player"));
    } else {
        while (player->isRunning() && closing.elapsed() < kClosingTime)
            monkey->stepTowardsEnd();
        if (player->isRunning())
            fail(QStringLiteral("the player can't be closed"));
    }
    check();
}

QStringList TestMonkey::findings() const
{
    QStringList files;
    const QDir home(player->home());
    for (const QString &name : home.entryList({"sanitizer.*"}))
        files << home.filePath(name);
    return files;
}

// Of the leak check itself, on a loaded machine (see with-display), without a finding.
bool TestMonkey::leakCheckFailed(const QStringList &files) const
{
    for (const QString &file : files) {
        const QByteArray text = readFile(file);
        if (!text.contains("LeakSanitizer has encountered a fatal error") ||
            text.contains("ERROR: AddressSanitizer") || text.contains("detected memory leaks") ||
            text.contains("runtime error"))
            return false;
    }
    return !files.isEmpty();
}

void TestMonkey::checkEnd()
{
    pulse.reset();
    if (!fault.isEmpty() && player->isRunning())
        return; // the bench ends it
    if (!player->waitForEnd(kEndTime))
        return fail(QStringLiteral("the player does not end"));
    const QStringList files = findings();
    for (const QString &file : files)
        qWarning("%s", readFile(file).constData());
    if (!leakCheckFailed(files))
        monkey->tally("seen: leak check");
    if (!files.isEmpty() && !leakCheckFailed(files))
        fail(QStringLiteral("a sanitizer has found something"));
    else if (files.isEmpty() && player->exitCode() != 0)
        fail(QStringLiteral("the player ended with %1").arg(player->exitCode()));
    for (const QString &file : files)
        QFile::remove(file);
    if (!QTest::qWaitFor([this] { return player->processes().isEmpty(); }, kLeftoverTime)) {
        for (qint64 process : player->processes())
            fail("this outlives the player: " +
                 QString::fromLocal8Bit(Processes::arguments(process).join(' ')));
    }
    const QString wrong = historyFault(readFile(player->historyFile()));
    if (!wrong.isEmpty())
        fail("the history is broken: " + wrong);
}

void TestMonkey::setUpPlayer()
{
    player.reset(new InstalledPlayer);
    player->confine();
    // Findings go to files of the home, which are looked at after each end; undefined behaviour is
    // told in the player's log, and by its exit code.
    player->setEnvironment("ASAN_OPTIONS", // those of with-display; the last path counts
                           QString::fromLocal8Bit(qgetenv("ASAN_OPTIONS")) +
                               ":log_path=" + player->home() + "/sanitizer");
    for (const char *name : {"TMPDIR", "XDG_RUNTIME_DIR"}) {
        const QString own = player->home() + '/' + QString(name).toLower();
        QDir().mkpath(own);
        QFile::setPermissions(own, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        player->setEnvironment(name, own);
    }
}

void TestMonkey::report(const QString &log)
{
    qInfo("%s; longest silence %lld ms, while probing %lld ms; every step is in %s",
          qPrintable(monkey->report()), longestSilence, longestProbe, qPrintable(log));
    if (fault.isEmpty())
        return;
    const QStringList said = player->log();
    const QStringList steps = QString::fromUtf8(readFile(log)).split('\n');
    qWarning("the player said:\n%s",
             qPrintable(said.mid(qMax(0, said.size() - kLinesTold)).join('\n')));
    qWarning("the last steps were:\n%s",
             qPrintable(steps.mid(qMax(0, steps.size() - kLinesTold)).join('\n')));
}

void TestMonkey::bout_data()
{
    QTest::addColumn<quint32>("seed");
    // More than one seed only in the long form: thirty minutes.
    const QString chosen =
        qEnvironmentVariable("PLAYER_MONKEY_SEEDS", longForm() ? QStringLiteral("1-15") : "1");
    const uint last = chosen.section('-', -1).toUInt();
    for (uint seed = chosen.section('-', 0, 0).toUInt(); seed <= last; ++seed)
        QTest::addRow("seed %u", seed) << quint32(seed);
}

void TestMonkey::bout()
{
    QFETCH(quint32, seed);
    const int seconds = qEnvironmentVariableIntValue("PLAYER_MONKEY_SECONDS");
    boutTime = qint64(seconds > 0 ? seconds : kBoutSeconds) * 1000;
    const QString log = QStringLiteral(BUILD_DIR) + QStringLiteral("/monkey-%1.log").arg(seed);
    fault.clear();
    longestSilence = longestProbe = 0;
    monkey.reset(new Monkey(seed, films, log));
    setUpPlayer();

    clock.start();
    while (fault.isEmpty() && goesOn()) {
        startPlayer();
        if (fault.isEmpty())
            playARound();
        checkEnd();
    }
    report(log);
    QVERIFY2(fault.isEmpty(), qPrintable(fault));
    QVERIFY(wasUsedEnough());
}

QTEST_MAIN(TestMonkey)
#include "tst_monkey.moc"
