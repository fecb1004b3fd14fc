// No list is ever lost: a process that adds entries, saves positions and deletes rows is stopped at
// every system call it makes and killed there, and then over and over at random moments. The file
// must hold the list of before or after the interrupted step, byte for byte.
#include "common.h"
#include "killedwork.h"
#include "listwidget.h"
#include "longform.h"
#include "testsupport.h"

#include <QApplication>
#include <QFileInfo>
#include <QIcon>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QRandomGenerator>
#include <QThread>
#include <QtTest>

#include <unistd.h>

namespace {
using Entries = QVector<HistoryAddrList>;

void silence(QtMsgType, const QMessageLogContext &, const QString &) { }

Entries currentEntries()
{
    Entries entries;
    std::copy_n(addrlist, addrNum, std::back_inserter(entries));
    return entries;
}

// What a file with these entries holds; without entries it is empty.
QByteArray contentFor(const Entries &entries)
{
    if (entries.isEmpty())
        return QByteArray();
    QJsonArray array;
    for (const HistoryAddrList &entry : entries)
        array.append(entryToJson(entry));
    return QJsonDocument(QJsonObject{{"settings", array}}).toJson();
}

void load(const QString &path)
{
    resetSharedState();
    defaultPlayPath = path;
    readJsonConfig(path);
}

// As a person deletes a row of the list.
void deleteRow(int row)
{
    ListWidget list;
    for (int i = addrNum - 1; i >= 0; --i)
        list.addItem(ListWidget::makeItem(addrlist[i], QIcon()));
    list.setCurrentRow(row);
    list.deleteSelected();
}

enum Step { Addition, Position, Deletion };

Step kindOf(int step)
{
    static const Step kinds[] = {Addition, Position, Deletion, Addition, Position};
    return addrNum == 0 ? Addition : kinds[step % 5];
}

// The work of the process that gets killed. It depends on the step's number and the list only, so
// the parent can foresee it.
void takeStep(int step)
{
    switch (kindOf(step)) {
    case Addition:
        ::videoInfo.width = step;
        ::videoInfo.frame = 23.976f;
        addToAddrList(QStringLiteral("/films/step %1.mkv").arg(step));
        break;
    case Position:
        saveLastPlayTime(step * 7 % addrNum, step);
        break;
    case Deletion:
        deleteRow(step * 7 % addrNum);
        break;
    }
}

// All that the file may hold when a step from the list at path was cut short: that list, the one
// after the step, and with a full list the one that has made room for the new entry.
QList<QByteArray> allowedContents(const QString &path, int step)
{
    load(path);
    const Entries before = currentEntries();
    const bool addition = kindOf(step) == Addition;
    takeStep(step);
    const Entries after = currentEntries();
    QList<QByteArray> allowed{contentFor(before), contentFor(after)};
    if (before.size() == kHistoryCapacity && addition)
        allowed << contentFor(before.mid(1));
    return allowed;
}

int workUntilKilled(const QString &path, int step)
{
    qInstallMessageHandler(silence);
    load(path);
    for (;; ++step) {
        takeStep(step);
        // A byte for each step that is done.
        if (write(STDOUT_FILENO, "x", 1) != 1)
            return 1;
    }
}

void fillAddrList(int count)
{
    for (int i = 0; i < count; ++i) {
        addrlist[i].addr = QStringLiteral("/films/%1.mkv").arg(i);
        addrlist[i].label = QStringLiteral("%1.mkv").arg(i);
        addrlist[i].last_play_time = i;
    }
    addrNum = count;
}
} // namespace

class TestHistoryKill : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void killedAtEverySystemCall_data();
    void killedAtEverySystemCall();
    void killedAtRandom_data();
    void killedAtRandom();

private:
    QScopedPointer<InstallRoot> root;
    QScopedPointer<LogCapture> log;
};

void TestHistoryKill::init()
{
    resetSharedState();
    root.reset(new InstallRoot);
    log.reset(new LogCapture);
}

void TestHistoryKill::cleanup()
{
    log.reset();
    root.reset();
}

void TestHistoryKill::killedAtEverySystemCall_data()
{
    QTest::addColumn<int>("entries");
    QTest::addColumn<int>("step");
    QTest::newRow("first entry") << 0 << 0;
    QTest::newRow("another entry") << 3 << 0;
    QTest::newRow("position") << 3 << 4;
    QTest::newRow("deletion") << 3 << 2;
    QTest::newRow("deletion of the last") << 1 << 2;
    QTest::newRow("entry in a full list") << 999 << 0;
    QTest::newRow("position in a full list") << 999 << 4;
    QTest::newRow("deletion in a full list") << 999 << 2;
}

void TestHistoryKill::killedAtEverySystemCall()
{
    if (!canTrace())
        QSKIP("processes may not be traced here");
    QFETCH(int, entries);
    QFETCH(int, step);
    const QString path = root->historyFile();
    fillAddrList(entries);
    const QByteArray before = contentFor(currentEntries());
    writeFile(path, before);
    const QList<QByteArray> allowed = allowedContents(path, step);
    QCOMPARE(allowed.first(), before);

    const auto restore = [&] {
        removeLeftovers(path);
        writeFile(path, before);
        load(path);
    };
    const auto work = [step] {
        qInstallMessageHandler(silence);
        takeStep(step);
    };

    // What lies there while the step is stopped at a system call is what a kill there leaves.
    QList<QByteArray> seen{before};
    restore();
    QVERIFY(!stopAtSystemCalls(work, [&](int) {
        seen << readFile(path);
        return true;
    }));
    for (int i = 1; i < seen.size(); ++i)
        QVERIFY2(allowed.contains(seen.at(i)),
                 qPrintable(QString("at %1: %2 bytes").arg(i).arg(seen.at(i).size())));
    QCOMPARE(readFile(path), allowed.at(1));
    QVERIFY(seen.size() - seen.count(before) > 1); // it was stopped on both sides of the change
    QVERIFY(seen.count(before) > 1);

    // Really killed on both sides of each change; in the long form at every call.
    int kills = 0;
    for (int count = 1; count < seen.size(); ++count) {
        const bool besideAChange = seen.at(count) != seen.at(count - 1) ||
            (count + 1 < seen.size() && seen.at(count) != seen.at(count + 1));
        if (!longForm() && !besideAChange)
            continue;
        // Another run may have done its work in fewer calls.
        bool killed = false;
        for (int at = count; !killed && at > 0; at -= 5) {
            restore();
            killed = killAtSystemCall(at, work);
            const QByteArray content = readFile(path);
            QVERIFY2(allowed.contains(content),
                     qPrintable(QString("killed at %1: %2 bytes").arg(at).arg(content.size())));
        }
        kills += killed;
    }
    QVERIFY(kills > 1);
}

void TestHistoryKill::killedAtRandom_data()
{
    QTest::addColumn<int>("entries");
    QTest::newRow("short list") << 0;
    QTest::newRow("long list, soon full") << 990;
}

void TestHistoryKill::killedAtRandom()
{
    QFETCH(int, entries);
    const int kills = rounds(25, 250);
    const QString path = root->historyFile();
    const QString model = path + ".model";
    fillAddrList(entries);
    writeFile(path, contentFor(currentEntries()));

    QRandomGenerator random(4711);
    int step = 0;
    QSet<int> interrupted;
    // On, if need be, until each kind of step was interrupted.
    for (int round = 0; round < kills || interrupted.size() < 3; ++round) {
        writeFile(model, readFile(path));
        QProcess worker;
        worker.start(QCoreApplication::applicationFilePath(),
                     {"--child", path, QString::number(step)});
        // Killed at no particular moment once it is at work.
        QVERIFY(worker.waitForReadyRead(30000));
        QThread::usleep(random.bounded(20000));
        worker.kill();
        QVERIFY(worker.waitForFinished(30000));
        QCOMPARE(worker.exitStatus(), QProcess::CrashExit);
        const int done = worker.readAll().size();
        QVERIFY(done > 0);

        const QByteArray content = readFile(path);
        load(model);
        for (int i = 0; i < done; ++i, ++step)
            takeStep(step);
        interrupted << kindOf(step);
        // The steps done are in the model's file by now, the interrupted one is not.
        QVERIFY2(allowedContents(model, step).contains(content),
                 qPrintable(QString::number(round)));
        // The interrupted step is not repeated.
        ++step;

        load(path);
        QCOMPARE(contentFor(currentEntries()), content);
    }
    QCOMPARE(interrupted.size(), 3);
}

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen"); // the list need not be seen
    if (argc == 4 && qstrcmp(argv[1], "--child") == 0) {
        QApplication application(argc, argv);
        return workUntilKilled(QFile::decodeName(argv[2]), QByteArray(argv[3]).toInt());
    }
    // A kill is no loss of power: memory shows the same as a disk, and sooner.
    if (QFileInfo("/dev/shm").isWritable())
        qputenv("TMPDIR", "/dev/shm");
    QApplication application(argc, argv);
    TestHistoryKill test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_historykill.moc"
