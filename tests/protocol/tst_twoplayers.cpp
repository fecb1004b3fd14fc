// Two players share one history. Each is this program with "--player", which does what the window
// does to the list and the file; the file must hold after each step what one list would hold that
// both have worked on.
#include "common.h"
#include "historyregister.h"
#include "historysupport.h"
#include "killedwork.h"
#include "listwidget.h"
#include "longform.h"
#include "playerpair.h"
#include "testsupport.h"

#include <QApplication>
#include <QFileInfo>
#include <QIcon>
#include <QProcess>
#include <QRandomGenerator>
#include <QTextStream>
#include <QThread>
#include <QtTest>

#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

namespace {

void silence(QtMsgType, const QMessageLogContext &, const QString &) { }

HistoryEntries ownList()
{
    HistoryEntries entries;
    std::copy_n(addrlist, addrNum, std::back_inserter(entries));
    return entries;
}

QString storedList(const QString &path) { return textOf(historyEntries(readFile(path))); }

void load(const QString &path)
{
    resetSharedState();
    defaultPlayPath = path;
    readJsonConfig(path);
}

void openFilm(const QString &addr)
{
    playinglist.addrIndex = checkAddrExist(addr);
    if (playinglist.addrIndex < 0)
        addToAddrList(addr);
}

// As a person deletes a row of the list.
void deleteFilm(const QString &addr)
{
    ListWidget list;
    for (int i = addrNum - 1; i >= 0; --i)
        list.addItem(ListWidget::makeItem(addrlist[i], QIcon()));
    list.setCurrentRow(addrNum - 1 - checkAddrExist(addr));
    list.deleteSelected();
}

// As the list does it when the question was answered with Yes.
void clearList()
{
    if (!emptyHistoryFile(defaultPlayPath))
        return;
    for (int i = 0; i < addrNum; ++i)
        addrlist[i] = HistoryAddrList();
    addrNum = 0;
}

void act(const QString &path, const QStringList &words)
{
    const QString &verb = words.first();
    if (verb == "load")
        load(path);
    else if (verb == "open")
        openFilm(words.at(1));
    else if (verb == "stop")
        saveLastPlayTime(checkAddrExist(words.at(1)), words.at(2).toInt());
    else if (verb == "delete")
        deleteFilm(words.at(1));
    else if (verb == "clear")
        clearList();
}

// Each line is a step; the answer is the list in memory after it.
int playUntilInputEnds(const QString &path)
{
    qInstallMessageHandler(silence);
    load(path);
    QTextStream input(stdin);
    QTextStream output(stdout);
    output << textOf(ownList()) << '\n' << Qt::flush;
    for (QString line = input.readLine(); !line.isNull(); line = input.readLine()) {
        act(path, line.split(' '));
        output << textOf(ownList()) << '\n' << Qt::flush;
    }
    return 0;
}

QByteArray contentOf(const QString &text)
{
    QVector<HistoryAddrList> entries;
    for (const QString &word : text.split(' ', Qt::SkipEmptyParts))
        entries << entryFor(word.section(':', 0, 0), word.section(':', 1).toInt());
    return documentText(entries);
}

} // namespace

class TestTwoPlayers : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void everyOrder_data();
    void everyOrder();
    void randomEvenings();
    void killedAtEverySystemCall();
    void atTheSameTime();
    void oneFilmInBoth();
    void clearingClearsAll();
    void fullLists();
    void mergingIsSilentAndTouchesTheFileAlone();
    void oneThatHasEnded();
    void linkAndFile();
    void editedFilesAreTakenByTheLetter_data();
    void editedFilesAreTakenByTheLetter();
    void otherFilesAreTakenByTheLetter();
    void withoutARegisterTheLastWriterWins();
    void aPlayerThatHangsHoldsUpNobody();

private:
    void playEvening(QRandomGenerator &random);

    QScopedPointer<InstallRoot> root;
    QScopedPointer<LogCapture> log;
    QString path;
};

void TestTwoPlayers::init()
{
    resetSharedState();
    root.reset(new InstallRoot);
    path = root->historyFile();
    defaultPlayPath = path;
    log.reset(new LogCapture);
}

void TestTwoPlayers::cleanup()
{
    log.reset();
    root.reset();
}

void TestTwoPlayers::everyOrder_data()
{
    QTest::addColumn<bool>("firstIsKilled");
    QTest::addColumn<bool>("secondIsKilled");
    QTest::newRow("both close") << false << false;
    QTest::newRow("the first is killed") << true << false;
    QTest::newRow("the second is killed") << false << true;
    QTest::newRow("both are killed") << true << true;
}

// Each opens a film, stops it, deletes an old one and ends, in each of the 70 orders.
void TestTwoPlayers::everyOrder()
{
    QFETCH(bool, firstIsKilled);
    QFETCH(bool, secondIsKilled);
    const QStringList steps[2] = {{"open /f/a", "stop /f/a 10", "delete /f/old0", "end"},
                                  {"open /f/b", "stop /f/old2 20", "delete /f/old1", "end"}};
    int orders = 0;
    for (int order = 0; order < 256; ++order) {
        // Bit n tells whose turn the n-th step is.
        if (qPopulationCount(quint32(order)) != 4 || ++orders % rounds(7, 1) != 0)
            continue;
        writeFile(path, contentOf("/f/old0:1 /f/old1:2 /f/old2:3"));
        Model model;
        model.file = historyEntries(readFile(path));
        Player players[2] = {Player(path), Player(path)};
        model.load(0);
        model.load(1);
        int taken[2] = {0, 0};
        for (int turn = 0; turn < 8; ++turn) {
            const int who = order >> turn & 1;
            const QString step = steps[who].at(taken[who]++);
            if (step == "end") {
                if (who == 0 ? firstIsKilled : secondIsKilled)
                    players[who].kill();
                else
                    players[who].close();
            } else {
                model.act(who, step);
                QCOMPARE(players[who].act(step), textOf(model.lists[who]));
            }
            QCOMPARE(storedList(path), textOf(model.file));
        }
    }
    QCOMPARE(orders, 70);
}

// Two people at two windows, each with a will of their own, for one evening.
void TestTwoPlayers::playEvening(QRandomGenerator &random)
{
    QScopedPointer<Player> players[2];
    Model model;
    QFile::remove(path);
    for (int turn = 0; turn < 40; ++turn) {
        const int who = random.bounded(2);
        QScopedPointer<Player> &player = players[who];
        if (!player) {
            player.reset(new Player(path));
            model.load(who);
            QCOMPARE(player->first, textOf(model.lists[who]));
            continue;
        }
        const HistoryEntries &list = model.lists[who];
        const int kind = random.bounded(100);
        if (kind < 8) { // closed, or killed while it does nothing
            if (kind < 4)
                player->close();
            player.reset();
            continue;
        }
        QString step = QStringLiteral("open /f/%1").arg(random.bounded(8));
        const QString some = list.isEmpty() ? QString() : list.at(random.bounded(list.size())).addr;
        if (kind < 12)
            step = "clear";
        else if (kind < 60 && !list.isEmpty())
            step = QStringLiteral("stop %1 %2").arg(some).arg(random.bounded(4));
        else if (kind < 75 && !list.isEmpty())
            step = "delete " + some;
        const QString before = textOf(model.file);
        Model after = model;
        after.act(who, step);
        if (random.bounded(100) < 10) { // killed at work
            player->begin(step);
            QThread::usleep(random.bounded(3000));
            player->kill();
            player.reset();
            const QString stored = storedList(path);
            QVERIFY2(stored == before || stored == textOf(after.file), qPrintable(stored));
            if (stored == textOf(after.file))
                model = after;
            continue;
        }
        model = after;
        QCOMPARE(player->act(step), textOf(model.lists[who]));
        QVERIFY2(storedList(path) == textOf(model.file),
                 qPrintable(QStringLiteral("%1. %2: %3 (%4), not %5, before %6")
                                .arg(turn)
                                .arg(who)
                                .arg(step, storedList(path), textOf(model.file), before)));
    }
}

void TestTwoPlayers::randomEvenings()
{
    QRandomGenerator random(4711);
    for (int evening = 0; evening < rounds(12, 200); ++evening) {
        playEvening(random);
        if (QTest::currentTestFailed()) {
            qWarning("evening %d", evening);
            return;
        }
    }
}

// Whatever a killed player has left behind, the others go on with all lists, also one that has read
// neither.
void TestTwoPlayers::killedAtEverySystemCall()
{
    if (!canTrace())
        QSKIP("processes may not be traced here");
    Player second(path);
    Player third(path);
    int changes = 0;
    bool killed = true;
    int count = 1;
    for (; killed; ++count) {
        writeFile(path, contentOf("/f/old:1 /f/older:2"));
        load(path);
        second.act("load");
        third.act("load");
        second.act("open /f/b");
        second.act("stop /f/old 5");
        const QString before = "/f/old:5 /f/older:2 /f/b:0";
        QCOMPARE(storedList(path), before);
        killed = killAtSystemCall(count, [] {
            qInstallMessageHandler(silence);
            addToAddrList("/f/a");
        });
        const QString after = storedList(path);
        const QString added = after == before ? "" : " /f/a:0";
        QVERIFY2(after == before + added, qPrintable(QString::number(count) + after));
        changes += after != before;
        third.act("stop /f/older 3");
        QCOMPARE(storedList(path), "/f/old:5 /f/older:3 /f/b:0" + added);
        second.act("stop /f/b 7");
        QCOMPARE(storedList(path), "/f/old:5 /f/older:3 /f/b:7" + added);
        removeLeftovers(path);
    }
    QVERIFY(changes > 1);
    QVERIFY(count > changes + 50);
}

// Neither waits for the other.
void TestTwoPlayers::atTheSameTime()
{
    const int films = rounds(50, 400);
    Player players[2] = {Player(path), Player(path)};
    for (int i = 0; i < films; ++i) {
        for (int who : {0, 1}) {
            const QString addr = QStringLiteral("/f/%1-%2").arg(who).arg(i);
            players[who].begin("open " + addr);
            players[who].begin(QStringLiteral("stop %1 %2").arg(addr).arg(i));
        }
    }
    for (int i = 0; i < films * 2; ++i) {
        for (Player &player : players)
            QVERIFY(player.answer() != "no answer");
    }
    QMap<QString, int> places;
    for (const HistoryAddrList &entry : historyEntries(readFile(path)))
        places.insert(entry.addr, entry.last_play_time);
    QCOMPARE(places.size(), films * 2);
    for (int i = 0; i < films; ++i) {
        for (int who : {0, 1})
            QCOMPARE(places.value(QStringLiteral("/f/%1-%2").arg(who).arg(i), -1), i);
    }
}

void TestTwoPlayers::oneFilmInBoth()
{
    writeFile(path, contentOf("/f/old:1"));
    Player first(path);
    Player second(path);
    QCOMPARE(first.act("open /f/x"), QString("/f/old:1 /f/x:0"));
    first.act("stop /f/x 300");
    // The second begins it at 0, and the place of the first stays until it has one of its own.
    QCOMPARE(second.act("open /f/x"), QString("/f/old:1 /f/x:0"));
    QCOMPARE(storedList(path), QString("/f/old:1 /f/x:300"));
    second.act("stop /f/old 2");
    QCOMPARE(storedList(path), QString("/f/old:2 /f/x:300"));
    second.act("stop /f/x 0"); // watched to its end
    QCOMPARE(storedList(path), QString("/f/old:2 /f/x:0"));
    first.act("stop /f/old 3");
    QCOMPARE(storedList(path), QString("/f/old:3 /f/x:0"));
    // Deleted in one, played on in the other.
    first.act("delete /f/x");
    QCOMPARE(storedList(path), QString("/f/old:3"));
    second.act("stop /f/old 4");
    QCOMPARE(storedList(path), QString("/f/old:4"));
    second.act("stop /f/x 9");
    QCOMPARE(storedList(path), QString("/f/old:4 /f/x:9"));
    first.act("stop /f/old 5");
    QCOMPARE(storedList(path), QString("/f/old:5 /f/x:9"));
}

void TestTwoPlayers::clearingClearsAll()
{
    writeFile(path, contentOf("/f/old:1 /f/older:2"));
    Player first(path);
    Player second(path);
    second.act("open /f/b");
    first.act("clear");
    QCOMPARE(readFile(path), QByteArray());
    // What the other still shows stays cleared, but for what it plays.
    QCOMPARE(second.act("delete /f/older"), QString("/f/old:1 /f/b:0"));
    QCOMPARE(readFile(path), QByteArray());
    second.act("stop /f/b 7");
    QCOMPARE(storedList(path), QString("/f/b:7"));
    QCOMPARE(first.act("open /f/a"), QString("/f/a:0"));
    QCOMPARE(storedList(path), QString("/f/b:7 /f/a:0"));
    second.act("open /f/c");
    QCOMPARE(storedList(path), QString("/f/b:7 /f/a:0 /f/c:0"));
    second.act("stop /f/c 8");
    QCOMPARE(storedList(path), QString("/f/b:7 /f/c:8 /f/a:0"));
}

void TestTwoPlayers::fullLists()
{
    writeFile(path, documentText(numberedEntries(999)));
    Player first(path);
    Player second(path);
    first.act("open /f/a");
    second.act("open /f/b");
    second.act("stop /films/500.mkv 4711");
    first.act("stop /f/a 5");
    // Each has dropped the oldest of what was there.
    const HistoryEntries stored = historyEntries(readFile(path));
    QCOMPARE(stored.size(), 999);
    QCOMPARE(stored.first().addr, QString("/films/2.mkv"));
    QCOMPARE(stored.at(498).last_play_time, 4711);
    QCOMPARE(textOf(stored.mid(997)), QString("/f/a:5 /f/b:0"));
}

void TestTwoPlayers::mergingIsSilentAndTouchesTheFileAlone()
{
    writeFile(path, contentOf("/f/old:1 /f/gone:2"));
    load(path);
    Player other(path);
    other.act("open /f/b");
    other.act("stop /f/old 9");
    other.act("delete /f/gone");

    log->clear();
    addToAddrList("/f/a");
    QCOMPARE(log->lines(),
             QStringList(
                 {"defaultPlayPath is----------> \"" + path + "\"", parsed, "Json file insert"}));
    QCOMPARE(textOf(ownList()), QString("/f/old:1 /f/gone:2 /f/a:0"));
    QCOMPARE(storedList(path), QString("/f/old:9 /f/b:0 /f/a:0"));

    log->clear();
    saveLastPlayTime(2, 5);
    QCOMPARE(log->lines(),
             QStringList({"Vary json message 0", "Vary json message 1", "Vary json message 1"}));
    QCOMPARE(textOf(ownList()), QString("/f/old:1 /f/gone:2 /f/a:5"));
    QCOMPARE(storedList(path), QString("/f/old:9 /f/a:5 /f/b:0"));
    QCOMPARE(playinglist.addrIndex, 2);
    QCOMPARE(QFileInfo(path).dir().entryList(QDir::Files | QDir::Hidden),
             QStringList("config.json"));

    other.act("clear");
    log->clear();
    addToAddrList("/f/c");
    QCOMPARE(log->lines(),
             QStringList({"defaultPlayPath is----------> \"" + path + "\"", "Json file read err",
                          "File open", "file closed \"" + path + "\""}));
    QCOMPARE(readFile(path), historyDocument(HistoryEntries{addrlist[3]}));
    QCOMPARE(addrNum, 4);
}

void TestTwoPlayers::oneThatHasEnded()
{
    Player first(path);
    {
        Player second(path);
        second.act("open /f/b");
        second.act("stop /f/b 8");
        second.close();
    }
    first.act("open /f/a");
    QCOMPARE(storedList(path), QString("/f/b:8 /f/a:0"));
    // One that starts now knows all, and what it deletes is gone.
    Player third(path);
    QCOMPARE(third.first, QString("/f/b:8 /f/a:0"));
    third.act("delete /f/b");
    first.act("stop /f/a 7");
    QCOMPARE(storedList(path), QString("/f/a:7"));
}

void TestTwoPlayers::linkAndFile()
{
    const QString link = root->path() + "/link.json";
    writeFile(path, contentOf("/f/old:1"));
    QVERIFY(QFile::link(path, link));
    Player first(path);
    Player second(link);
    second.act("open /f/b");
    first.act("open /f/a");
    first.act("stop /f/a 7");
    second.act("stop /f/b 8");
    QCOMPARE(storedList(path), QString("/f/old:1 /f/b:8 /f/a:7"));
    QVERIFY(QFileInfo(link).isSymLink());
}

void TestTwoPlayers::editedFilesAreTakenByTheLetter_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("another list") << contentOf("/f/edited:3");
    QTest::newRow("one byte more") << contentOf("/f/old:1 /f/b:0") + ' ';
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("damaged") << QByteArray("{\"settings\":[");
}

void TestTwoPlayers::editedFilesAreTakenByTheLetter()
{
    QFETCH(QByteArray, content);
    writeFile(path, contentOf("/f/old:1"));
    Player first(path);
    Player second(path);
    second.act("open /f/b");
    writeFile(path, content);
    first.act("stop /f/old 7");
    QCOMPARE(readFile(path), contentOf("/f/old:7"));
}

void TestTwoPlayers::otherFilesAreTakenByTheLetter()
{
    const QString other = root->path() + "/other.json";
    load(path);
    Player elsewhere(other); // for which it is the history
    elsewhere.act("open /f/b");
    openFilm("/f/a");
    varyJsonConfig(other, addrlist);
    QCOMPARE(storedList(other), QString("/f/a:0"));
}

void TestTwoPlayers::withoutARegisterTheLastWriterWins()
{
    const QStringList nowhere{"XDG_RUNTIME_DIR=/dev/null", "XDG_CACHE_HOME=/dev/null/cache"};
    writeFile(path, contentOf("/f/old:1"));
    Player first(path, nowhere);
    Player second(path, nowhere);
    second.act("open /f/b");
    first.act("stop /f/old 7");
    QCOMPARE(storedList(path), QString("/f/old:7"));
    second.act("stop /f/b 8");
    QCOMPARE(storedList(path), QString("/f/old:1 /f/b:8"));
}

// It holds the lock while its disk does not answer, or a debugger has stopped it.
void TestTwoPlayers::aPlayerThatHangsHoldsUpNobody()
{
    if (!canTrace())
        QSKIP("processes may not be traced here");
    writeFile(path, contentOf("/f/old:1"));
    load(path);
    Player other(path);
    other.act("open /f/b");
    other.act("stop /f/b 8");
    pid_t hanging = 0;
    {
        const HistoryRegister held(path); // a copy of this process keeps the lock
        hanging = fork();
        if (hanging == 0) {
            pause();
            _exit(0);
        }
    }
    openFilm("/f/a");
    QCOMPARE(storedList(path), QString("/f/old:1 /f/b:8 /f/a:0"));
    saveLastPlayTime(1, 7);
    QCOMPARE(storedList(path), QString("/f/old:1 /f/a:7")); // unlocked, by the letter
    kill(hanging, SIGKILL);
    waitpid(hanging, nullptr, 0);
    other.act("stop /f/b 9");
    saveLastPlayTime(1, 6);
    QVERIFY(storedList(path).contains("/f/b:9"));
    QVERIFY(storedList(path).contains("/f/a:6"));
}

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen"); // the list need not be seen
    if (argc == 3 && qstrcmp(argv[1], "--player") == 0) {
        QApplication application(argc, argv);
        return playUntilInputEnds(QFile::decodeName(argv[2]));
    }
    // A kill is no loss of power: memory shows the same as a disk, and sooner.
    if (QFileInfo("/dev/shm").isWritable())
        qputenv("TMPDIR", "/dev/shm");
    QApplication application(argc, argv);
    TestTwoPlayers test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_twoplayers.moc"
