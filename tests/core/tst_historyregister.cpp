// The register of saves: who noted what, its lock, and where it can lie. The other player is this
// program with "--note" or "--hold".
#include "historyregister.h"
#include "smalldisk.h"
#include "testsupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QtTest>

#include <atomic>
#include <csignal>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

class TestHistoryRegister : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void tellsWhoNotedWhat();
    void keepsTheNoteOfWhatTheFileHolds();
    void staysSmall();
    void belongsToOneFile();
    void knowsAFileByEachOfItsNames();
    void survivesWhateverItHolds_data();
    void survivesWhateverItHolds();
    void isPrivate();
    void liesInTheCacheWithoutARuntimeFolder_data();
    void liesInTheCacheWithoutARuntimeFolder();
    void refusesAFolderThatOthersMayWrite_data();
    void refusesAFolderThatOthersMayWrite();
    void refusesWhatIsNoFileOfItsOwn_data();
    void refusesWhatIsNoFileOfItsOwn();
    void doesWithoutAnyFolder();
    void keepsTheOldNotesOnAFullDisk();
    void waitsForASave();
    void goesOnWithoutOneThatHangs();
    void isFreeAfterAKill();

private:
    QString folder() const { return runtime() + "/tarnivo-player"; }
    QString runtime() const { return place->filePath("run"); }
    QString cache() const { return place->filePath("cache"); }
    QString onlyRegister() const;

    QScopedPointer<QTemporaryDir> place;
    QScopedPointer<EnvironmentVariable> runtimeFolder;
    QScopedPointer<EnvironmentVariable> cacheFolder;
    QScopedPointer<LogCapture> log;
    QString history;
};

namespace {

const QByteArray first = HistoryRegister::fingerprint("first");
const QByteArray second = HistoryRegister::fingerprint("second");
const QByteArray third = HistoryRegister::fingerprint("third");

bool isAnothers(const QString &path, const QByteArray &fingerprint)
{
    return HistoryRegister(path).isAnothers(fingerprint);
}

void note(const QString &path, const QByteArray &current, const QByteArray &next)
{
    HistoryRegister(path).note(current, next);
}

// As another player does it.
bool noteElsewhere(const QString &path, const QByteArray &current, const QByteArray &next)
{
    return QProcess::execute(QCoreApplication::applicationFilePath(),
                             {"--note", path, current, next}) == 0;
}

bool hasOpen(const QString &path)
{
    for (const QFileInfo &link : QDir("/proc/self/fd").entryInfoList(QDir::Files)) {
        if (link.symLinkTarget() == path)
            return true;
    }
    return false;
}

// Another player in the middle of a save.
bool holdElsewhere(QProcess &holder, const QString &path)
{
    holder.start(QCoreApplication::applicationFilePath(), {"--hold", path});
    return holder.waitForReadyRead(30000) && holder.readAll() == "held\n";
}

int holdUntilInputEnds(const QString &path)
{
    const HistoryRegister held(path);
    printf("%s\n", held.isLocked() ? "held" : "not held");
    fflush(stdout);
    return getchar() == EOF ? 0 : 1;
}

} // namespace

void TestHistoryRegister::init()
{
    resetSharedState();
    place.reset(new QTemporaryDir);
    QVERIFY(QDir().mkpath(runtime()));
    QVERIFY(QDir().mkpath(cache()));
    runtimeFolder.reset(new EnvironmentVariable("XDG_RUNTIME_DIR", QFile::encodeName(runtime())));
    cacheFolder.reset(new EnvironmentVariable("XDG_CACHE_HOME", QFile::encodeName(cache())));
    history = place->filePath("config.json");
    writeFile(history, "{}");
    log.reset(new LogCapture);
}

void TestHistoryRegister::cleanup()
{
    QCOMPARE(log->lines(), QStringList()); // silent, whatever happens
    log.reset();
    runtimeFolder.reset();
    cacheFolder.reset();
    place.reset();
}

QString TestHistoryRegister::onlyRegister() const
{
    const QFileInfoList files = QDir(folder()).entryInfoList(QDir::Files | QDir::Hidden);
    return files.size() == 1 ? files.first().filePath() : QString();
}

void TestHistoryRegister::tellsWhoNotedWhat()
{
    QVERIFY(!isAnothers(history, first));
    note(history, second, first);
    QVERIFY(!isAnothers(history, first)); // its own
    QVERIFY(noteElsewhere(history, first, second));
    QVERIFY(isAnothers(history, second));
    QVERIFY(!isAnothers(history, first));
    QVERIFY(!isAnothers(history, third));
    QVERIFY(!isAnothers(history, QByteArray()));
    // The same content, written by this process last.
    note(history, second, second);
    QVERIFY(!isAnothers(history, second));
}

// So that a kill between the note and the write loses nothing.
void TestHistoryRegister::keepsTheNoteOfWhatTheFileHolds()
{
    QVERIFY(noteElsewhere(history, QByteArray(), first));
    note(history, first, second); // never written
    QVERIFY(isAnothers(history, first));
    note(history, first, third); // never written
    QVERIFY(isAnothers(history, first));
    note(history, third, second); // written both
    QVERIFY(!isAnothers(history, first));
    QVERIFY(noteElsewhere(history, second, first));
    QVERIFY(!isAnothers(history, second));
    QVERIFY(isAnothers(history, first));
}

void TestHistoryRegister::staysSmall()
{
    for (int i = 0; i < 100; ++i)
        note(history, first, HistoryRegister::fingerprint(QByteArray::number(i)));
    QCOMPARE(QFileInfo(onlyRegister()).size(), 148);
}

void TestHistoryRegister::belongsToOneFile()
{
    const QString other = place->filePath("other.json");
    writeFile(other, "{}");
    QVERIFY(noteElsewhere(history, QByteArray(), first));
    QVERIFY(isAnothers(history, first));
    QVERIFY(!isAnothers(other, first));
    // Nor does one lock the other out.
    const HistoryRegister held(history);
    QVERIFY(held.isLocked());
    QVERIFY(HistoryRegister(other).isLocked());
}

void TestHistoryRegister::knowsAFileByEachOfItsNames()
{
    const QString link = place->filePath("link.json");
    QVERIFY(QFile::link(history, link));
    QVERIFY(QDir().mkpath(place->filePath("sub")));
    QVERIFY(noteElsewhere(history, QByteArray(), first));
    QVERIFY(isAnothers(link, first));
    QVERIFY(isAnothers(place->filePath("sub/../config.json"), first));
}

void TestHistoryRegister::survivesWhateverItHolds_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("zeros") << QByteArray(1000, '\0');
    QTest::newRow("line feeds") << QByteArray(1000, '\n');
    QTest::newRow("a short line") << first + " abc\n";
    QTest::newRow("a long line") << first + ' ' + QByteArray(1000, 'a') + '\n';
    QTest::newRow("behind the record")
        << QByteArray(1000, '\n') + first + ' ' + QByteArray(32, 'a') + '\n';
}

void TestHistoryRegister::survivesWhateverItHolds()
{
    QFETCH(QByteArray, content);
    note(history, first, second);
    writeFile(onlyRegister(), content);
    QVERIFY(!isAnothers(history, first));
    QVERIFY(noteElsewhere(history, second, first));
    QVERIFY(isAnothers(history, first));
}

void TestHistoryRegister::isPrivate()
{
    note(history, first, second);
    struct stat info;
    QCOMPARE(stat(QFile::encodeName(folder()).constData(), &info), 0);
    QCOMPARE(int(info.st_mode & 07777), 0700);
    QCOMPARE(stat(QFile::encodeName(onlyRegister()).constData(), &info), 0);
    QCOMPARE(int(info.st_mode & 07777), 01600);
    // It names no film and no file.
    QVERIFY(!readFile(onlyRegister()).contains("config"));
}

void TestHistoryRegister::liesInTheCacheWithoutARuntimeFolder_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("relative") << QByteArray("run");
    QTest::newRow("missing") << QByteArray("/no/such/folder");
    QTest::newRow("no folder") << QByteArray("/dev/null");
}

void TestHistoryRegister::liesInTheCacheWithoutARuntimeFolder()
{
    QFETCH(QByteArray, value);
    const EnvironmentVariable other("XDG_RUNTIME_DIR", value);
    QVERIFY(QDir().rmdir(cache())); // it is made
    QVERIFY(noteElsewhere(history, QByteArray(), first));
    QVERIFY(isAnothers(history, first));
    QCOMPARE(QDir(cache() + "/tarnivo-player").entryList(QDir::Files).size(), 1);
}

void TestHistoryRegister::refusesAFolderThatOthersMayWrite_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"everybody", "group", "link", "file", "stranger"})
        QTest::newRow(kind) << QString(kind);
}

void TestHistoryRegister::refusesAFolderThatOthersMayWrite()
{
    QFETCH(QString, kind);
    const QByteArray name = QFile::encodeName(folder());
    const QString real = place->filePath("real");
    QVERIFY(QDir().mkpath(real));
    if (kind == "link") {
        QVERIFY(QFile::link(real, folder()));
    } else if (kind == "file") {
        writeFile(folder(), "");
    } else {
        QVERIFY(QDir().mkpath(folder()));
        const mode_t rights = kind == "everybody" ? 0777 : kind == "group" ? 0770 : 0700;
        QCOMPARE(chmod(name.constData(), rights), 0);
    }
    if (kind == "stranger" && (getuid() != 0 || chown(name.constData(), 65534, 65534) != 0))
        QSKIP("not possible with the rights of this user");
    note(history, first, second);
    QVERIFY(QDir(real).isEmpty());
    QVERIFY(QDir(folder()).isEmpty());
    // The cache is taken instead.
    QCOMPARE(QDir(cache() + "/tarnivo-player").entryList(QDir::Files).size(), 1);
}

void TestHistoryRegister::refusesWhatIsNoFileOfItsOwn_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"folder", "link", "pipe", "everybody's"})
        QTest::newRow(kind) << QString(kind);
}

void TestHistoryRegister::refusesWhatIsNoFileOfItsOwn()
{
    QFETCH(QString, kind);
    note(history, first, second);
    const QString path = onlyRegister();
    const QByteArray name = QFile::encodeName(path);
    const QString real = place->filePath("real");
    writeFile(real, "untouched");
    if (kind == "everybody's") {
        QCOMPARE(chmod(name.constData(), 0666), 0);
    } else {
        QVERIFY(QFile::remove(path));
        if (kind == "folder")
            QVERIFY(QDir().mkpath(path));
        else if (kind == "link")
            QVERIFY(QFile::link(real, path));
        else
            QCOMPARE(mkfifo(name.constData(), 0600), 0);
    }
    HistoryRegister refused(history);
    QVERIFY(!refused.isLocked());
    refused.note(first, second);
    QVERIFY(!refused.isAnothers(second));
    QCOMPARE(readFile(real), QByteArray("untouched"));
}

void TestHistoryRegister::doesWithoutAnyFolder()
{
    const EnvironmentVariable noRuntime("XDG_RUNTIME_DIR", "/dev/null");
    const EnvironmentVariable noCache("XDG_CACHE_HOME", "/dev/null/cache");
    HistoryRegister nowhere(history);
    QVERIFY(!nowhere.isLocked());
    nowhere.note(first, second);
    QVERIFY(!nowhere.isAnothers(second));
}

void TestHistoryRegister::keepsTheOldNotesOnAFullDisk()
{
    SmallDisk disk(runtime());
    if (!disk.isMounted())
        QSKIP("no disk can be mounted here");
    QVERIFY(disk.fill());
    note(history, first, second); // there is no room for it
    QVERIFY(!isAnothers(history, second));
    disk.makeRoom();
    QVERIFY(noteElsewhere(history, QByteArray(), first));
    QVERIFY(disk.fill());
    QVERIFY(isAnothers(history, first));
    note(history, first, second); // in the place of the old ones
    QVERIFY(isAnothers(history, first));
}

void TestHistoryRegister::waitsForASave()
{
    QProcess holder;
    QVERIFY(holdElsewhere(holder, history));
    // It ends when this one stands before the lock.
    std::atomic<bool> done{false};
    std::thread ending([&done, pid = pid_t(holder.processId()), path = onlyRegister()] {
        while (!done && !hasOpen(path))
            std::this_thread::yield();
        kill(pid, SIGKILL);
    });
    const bool locked = HistoryRegister(history).isLocked();
    done = true;
    ending.join();
    QVERIFY(locked);
    QVERIFY(holder.waitForFinished(30000));
}

void TestHistoryRegister::goesOnWithoutOneThatHangs()
{
    QVERIFY(noteElsewhere(history, QByteArray(), first));
    QProcess holder;
    QVERIFY(holdElsewhere(holder, history));
    kill(pid_t(holder.processId()), SIGSTOP);
    QElapsedTimer clock;
    clock.start();
    HistoryRegister refused(history, 300);
    const qint64 waited = clock.elapsed();
    QVERIFY2(waited >= 300 && waited < 8000, qPrintable(QString::number(waited)));
    QCOMPARE(HistoryRegister::kPatience, 2000); // what the player waits
    QVERIFY(!refused.isLocked());
    QVERIFY(!refused.isAnothers(first));
    refused.note(first, second);
    kill(pid_t(holder.processId()), SIGCONT);
    holder.closeWriteChannel();
    QVERIFY(holder.waitForFinished(30000));
    QVERIFY(isAnothers(history, first));
}

void TestHistoryRegister::isFreeAfterAKill()
{
    QProcess holder;
    QVERIFY(holdElsewhere(holder, history));
    holder.kill();
    QVERIFY(holder.waitForFinished(30000));
    QVERIFY(HistoryRegister(history).isLocked());
}

int main(int argc, char *argv[])
{
    if (argc == 5 && qstrcmp(argv[1], "--note") == 0) {
        HistoryRegister notes(QFile::decodeName(argv[2]));
        notes.note(argv[3], argv[4]);
        return notes.isLocked() ? 0 : 1;
    }
    if (argc == 3 && qstrcmp(argv[1], "--hold") == 0)
        return holdUntilInputEnds(QFile::decodeName(argv[2]));
    SmallDisk::enterOwnMounts();
    QCoreApplication application(argc, argv);
    TestHistoryRegister test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_historyregister.moc"
