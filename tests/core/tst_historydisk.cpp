// The history file on awkward disks: full, not writable, foreign owners, links, mounts. Most of it
// runs in a child process (this program with "--child"), which may give up rights and mount file
// systems of its own.
#include "historysupport.h"
#include "smalldisk.h"
#include "testsupport.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QtTest>

#include <csignal>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {
int synced = 0; // files that were brought to the disk
} // namespace

// Also what the toolkit calls.
extern "C" int fdatasync(int descriptor)
{
    ++synced;
    return int(syscall(SYS_fdatasync, descriptor));
}

namespace {
constexpr uid_t stranger = 65534;
constexpr int childPassed = 0;
constexpr int childCannot = 77;

void silence(QtMsgType, const QMessageLogContext &, const QString &) { }

struct stat statOf(const QString &path)
{
    struct stat result = {};
    stat(QFile::encodeName(path).constData(), &result);
    return result;
}

// Says on the standard output what went wrong; the parent shows it.
bool check(bool condition, const char *what)
{
    if (!condition)
        printf("not so: %s\n", what);
    return condition;
}

bool becomeStranger()
{
    if (getuid() != 0)
        return true;
    const bool done = setgid(stranger) == 0 && setuid(stranger) == 0;
    // Without this the leak checker can't look at its own process any more.
    prctl(PR_SET_DUMPABLE, 1);
    return done;
}

// Both ways of saving leave the file as it is, and in memory the list goes on.
bool savingFails(const QByteArray &before)
{
    const int count = addrNum;
    addToAddrList("/films/too much.mkv");
    bool passed = check(readFile(defaultPlayPath) == before, "list unchanged by an addition");
    saveLastPlayTime(0, 4711);
    passed = check(readFile(defaultPlayPath) == before, "list unchanged by a position") && passed;
    HistoryAddrList entry = entryFor("/films/one.mkv");
    passed = check(insertJsonConfig(&entry) == -1, "insertion reports its failure") && passed;
    return check(addrNum == count + 1, "entry lives in memory") && passed;
}

bool savingWorks()
{
    HistoryAddrList entry = entryFor("/films/again.mkv");
    addrlist[addrNum] = entry;
    ++addrNum;
    synced = 0;
    varyJsonConfig(defaultPlayPath, addrlist);
    bool passed = check(synced > 0, "rewritten as far as the disk");
    QVector<HistoryAddrList> all;
    std::copy_n(addrlist, addrNum, std::back_inserter(all));
    if (!check(readFile(defaultPlayPath) == documentText(all), "rewritten in full"))
        return false;
    all << entryFor("/films/appended.mkv");
    synced = 0;
    const bool inserted = insertJsonConfig(&all.last()) == 0;
    passed = check(synced > 0, "appended as far as the disk") && passed;
    return check(inserted && readFile(defaultPlayPath) == documentText(all), "appended in full") &&
        passed;
}

int fullDisk(const QString &folder)
{
    SmallDisk disk(folder);
    if (!disk.isMounted())
        return childCannot;
    // So long a list that every save needs room.
    fillAddrList(300);
    varyJsonConfig(defaultPlayPath, addrlist);
    const QByteArray before = readFile(defaultPlayPath);
    bool passed = check(before == documentText(numberedEntries(300)), "written at first");
    passed = check(disk.fill(), "disk filled") && passed;
    passed = savingFails(before) && passed;
    passed = check(QDir(folder).entryList(QDir::Files | QDir::Hidden).size() == 2, "no leftover") &&
        passed;
    disk.makeRoom();
    passed = savingWorks() && passed;
    // A first entry where there is no room for it.
    emptyHistoryFile(defaultPlayPath);
    disk.fill();
    addToAddrList("/films/first.mkv");
    return check(readFile(defaultPlayPath).isEmpty(), "empty list stays empty") && passed
        ? childPassed
        : 1;
}

// A file that is a mount of its own can't be replaced.
bool mountOnItself(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    return mount(name.constData(), name.constData(), nullptr, MS_BIND, nullptr) == 0;
}

int mountedFile(const QString &folder)
{
    const SmallDisk disk(folder);
    if (!disk.isMounted())
        return childCannot;
    fillAddrList(300);
    varyJsonConfig(defaultPlayPath, addrlist);
    if (!mountOnItself(defaultPlayPath))
        return childCannot;
    const ino_t inode = statOf(defaultPlayPath).st_ino;
    bool passed = savingWorks();
    passed = check(statOf(defaultPlayPath).st_ino == inode, "still the mounted file") && passed;
    addrNum = 2;
    varyJsonConfig(defaultPlayPath, addrlist);
    passed =
        check(readFile(defaultPlayPath) == documentText(numberedEntries(2)), "shortened") && passed;
    return passed ? childPassed : 1;
}

int readOnlyDisk(const QString &folder)
{
    const QByteArray name = QFile::encodeName(folder);
    const QByteArray before = documentText(numberedEntries(2));
    writeFile(defaultPlayPath, before);
    fillAddrList(2);
    if (!SmallDisk::enterOwnMounts() ||
        mount(name.constData(), name.constData(), nullptr, MS_BIND, nullptr) != 0 ||
        mount(nullptr, name.constData(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) != 0)
        return childCannot;
    bool passed = check(readJsonConfig(defaultPlayPath) == -1, "can't be read for writing");
    passed = check(addrNum == 2, "nothing loaded") && passed;
    passed = check(!emptyHistoryFile(defaultPlayPath), "can't be emptied") && passed;
    return savingFails(before) && passed ? childPassed : 1;
}

// Writes beyond a limit fail, as on a full disk, where no file system may be mounted.
int limitedSize(const QString &)
{
    fillAddrList(50);
    varyJsonConfig(defaultPlayPath, addrlist);
    const QByteArray before = readFile(defaultPlayPath);
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{rlim_t(before.size()), RLIM_INFINITY};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
        return childCannot;
    bool passed = savingFails(before);
    const rlimit noLimit{RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &noLimit);
    return savingWorks() && passed ? childPassed : 1;
}

int lockedFolder(const QString &folder)
{
    fillAddrList(300);
    writeFile(defaultPlayPath, documentText(numberedEntries(300)));
    chmod(QFile::encodeName(defaultPlayPath).constData(), 0666);
    chmod(QFile::encodeName(folder).constData(), 0555);
    if (!becomeStranger())
        return childCannot;
    const struct stat before = statOf(defaultPlayPath);
    bool passed = check(access(QFile::encodeName(folder).constData(), W_OK) != 0, "locked");
    passed = savingWorks() && passed;
    addrNum = 1;
    varyJsonConfig(defaultPlayPath, addrlist);
    passed =
        check(readFile(defaultPlayPath) == documentText(numberedEntries(1)), "shortened") && passed;
    createJsonConfig(&addrlist[1]);
    passed = check(readFile(defaultPlayPath) == documentText({addrlist[1]}), "created") && passed;
    passed = check(statOf(defaultPlayPath).st_ino == before.st_ino, "the same file") && passed;
    return passed ? childPassed : 1;
}

// Written in place and no room: the list stays.
int lockedFolderOnFullDisk(const QString &folder)
{
    SmallDisk disk(folder);
    if (!disk.isMounted())
        return childCannot;
    fillAddrList(300);
    varyJsonConfig(defaultPlayPath, addrlist);
    const QByteArray before = readFile(defaultPlayPath);
    disk.fill();
    chmod(QFile::encodeName(defaultPlayPath).constData(), 0666);
    chmod(QFile::encodeName(folder).constData(), 0555);
    if (!becomeStranger())
        return childCannot;
    // By more than the rest of the last block.
    for (int i = 300; i < 400; ++i)
        addrlist[i] = entryFor("/films/" + QString(100, QChar('x')));
    addrNum = 400;
    varyJsonConfig(defaultPlayPath, addrlist);
    return check(readFile(defaultPlayPath) == before, "list unchanged") ? childPassed : 1;
}

// What counts is the folder of the file itself, not that of a link to it.
int linkIntoLockedFolder(const QString &folder)
{
    const QString link = folder + "/link.json";
    if (!QFile::link("locked/config.json", link) || !QDir(folder).mkdir("locked"))
        return childCannot;
    chmod(QFile::encodeName(folder).constData(), 0777);
    defaultPlayPath = folder + "/locked/config.json";
    writeFile(defaultPlayPath, QByteArray());
    chmod(QFile::encodeName(defaultPlayPath).constData(), 0666);
    chmod(QFile::encodeName(folder + "/locked").constData(), 0555);
    if (!becomeStranger())
        return childCannot;
    defaultPlayPath = link;
    return savingWorks() && check(QFileInfo(link).isSymLink(), "still a link") ? childPassed : 1;
}

// The user's folder with a file of somebody else's that he may write: it stays theirs.
int strangersFile(const QString &folder)
{
    if (getuid() != 0)
        return childCannot;
    writeFile(defaultPlayPath, documentText({}));
    chmod(QFile::encodeName(defaultPlayPath).constData(), 0666);
    chmod(QFile::encodeName(folder).constData(), 0777);
    if (!becomeStranger())
        return childCannot;
    const struct stat before = statOf(defaultPlayPath);
    bool passed = savingWorks();
    passed = check(statOf(defaultPlayPath).st_uid == 0, "owner kept") && passed;
    passed = check(statOf(defaultPlayPath).st_ino == before.st_ino, "the same file") && passed;
    passed = check(QDir(folder).entryList(QDir::Files | QDir::Hidden).size() == 1, "no leftover") &&
        passed;
    return passed ? childPassed : 1;
}

// One run by the administrator must not lock the user out.
int administratorsRun(const QString &)
{
    if (getuid() != 0)
        return childCannot;
    const QByteArray name = QFile::encodeName(defaultPlayPath);
    writeFile(defaultPlayPath, documentText({}));
    if (chown(name.constData(), stranger, stranger) != 0 || chmod(name.constData(), 0640) != 0)
        return childCannot;
    const struct stat before = statOf(defaultPlayPath);
    QFile reader(defaultPlayPath);
    bool passed = check(reader.open(QIODevice::ReadOnly), "opened");
    passed = savingWorks() && passed;
    const struct stat after = statOf(defaultPlayPath);
    passed = check(after.st_uid == stranger && after.st_gid == stranger, "owner kept") && passed;
    passed = check(after.st_mode == before.st_mode, "rights kept") && passed;
    passed = check(reader.readAll() == documentText({}), "replaced in one step") && passed;
    return passed ? childPassed : 1;
}

struct Scenario {
    const char *name;
    int (*run)(const QString &folder);
};

constexpr Scenario scenarios[] = {
    {"full disk", fullDisk},
    {"file is a mount", mountedFile},
    {"read-only disk", readOnlyDisk},
    {"limited file size", limitedSize},
    {"locked folder", lockedFolder},
    {"locked folder on a full disk", lockedFolderOnFullDisk},
    {"link into a locked folder", linkIntoLockedFolder},
    {"stranger's file", strangersFile},
    {"administrator's run", administratorsRun},
};

int runScenario(const QByteArray &name, const QString &folder)
{
    qInstallMessageHandler(silence);
    defaultPlayPath = folder + "/config.json";
    for (const Scenario &scenario : scenarios) {
        if (name == scenario.name)
            return scenario.run(folder);
    }
    return 2;
}
} // namespace

class TestHistoryDisk : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void survivesAwkwardDisks_data();
    void survivesAwkwardDisks();
    void readersSeeTheOldListOrTheNew();
    void keepsRights_data();
    void keepsRights();
    void followsLinks_data();
    void followsLinks();
    void leavesNothingBeside();
    void savesUnderALongName();

private:
    QScopedPointer<InstallRoot> root;
    QScopedPointer<LogCapture> log;
};

void TestHistoryDisk::init()
{
    resetSharedState();
    root.reset(new InstallRoot);
    defaultPlayPath = root->historyFile();
    log.reset(new LogCapture);
}

void TestHistoryDisk::cleanup()
{
    log.reset();
    root.reset();
}

void TestHistoryDisk::survivesAwkwardDisks_data()
{
    QTest::addColumn<QString>("scenario");
    for (const Scenario &scenario : scenarios)
        QTest::newRow(scenario.name) << scenario.name;
}

void TestHistoryDisk::survivesAwkwardDisks()
{
    QFETCH(QString, scenario);
    // A stranger has to get there.
    QTemporaryDir outer("/tmp/historydisk.XXXXXX");
    QVERIFY(outer.isValid());
    const QString folder = outer.path() + "/config";
    QVERIFY(QDir().mkpath(folder));
    QCOMPARE(chmod(QFile::encodeName(outer.path()).constData(), 0755), 0);

    QProcess child;
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(QCoreApplication::applicationFilePath(), {"--child", scenario, folder});
    QVERIFY(child.waitForFinished(30000));
    chmod(QFile::encodeName(folder).constData(), 0755);
    chmod(QFile::encodeName(folder + "/locked").constData(), 0755);
    const QByteArray said = child.readAll();
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    if (child.exitCode() == childCannot)
        QSKIP("not possible with the rights of this user");
    QVERIFY2(child.exitCode() == childPassed, said.constData());
}

void TestHistoryDisk::readersSeeTheOldListOrTheNew()
{
    fillAddrList(3);
    varyJsonConfig(defaultPlayPath, addrlist);
    QFile reader(defaultPlayPath);
    QVERIFY(reader.open(QIODevice::ReadOnly));
    saveLastPlayTime(1, 4711);
    HistoryAddrList entry = entryFor("/new");
    QCOMPARE(insertJsonConfig(&entry), 0);
    createJsonConfig(&entry);
    QCOMPARE(reader.readAll(), documentText(numberedEntries(3)));
    QCOMPARE(readFile(defaultPlayPath), documentText({entry}));
}

void TestHistoryDisk::keepsRights_data()
{
    QTest::addColumn<int>("rights");
    QTest::newRow("private") << 0600;
    QTest::newRow("group") << 0660;
    QTest::newRow("usual") << 0644;
    QTest::newRow("everybody") << 0666;
}

void TestHistoryDisk::keepsRights()
{
    QFETCH(int, rights);
    writeFile(defaultPlayPath, "");
    QCOMPARE(chmod(QFile::encodeName(defaultPlayPath).constData(), mode_t(rights)), 0);
    fillAddrList(3);
    saveLastPlayTime(1, 4711);
    QCOMPARE(int(statOf(defaultPlayPath).st_mode & 07777), rights);
    addToAddrList("/new");
    QCOMPARE(int(statOf(defaultPlayPath).st_mode & 07777), rights);
}

void TestHistoryDisk::followsLinks_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<bool>("exists");
    QTest::newRow("absolute") << "ROOT/elsewhere/real.json" << true;
    QTest::newRow("relative") << "../../elsewhere/real.json" << true;
    QTest::newRow("link to a link") << "second.json" << true;
    QTest::newRow("target missing") << "ROOT/elsewhere/real.json" << false;
}

void TestHistoryDisk::followsLinks()
{
    QFETCH(QString, target);
    QFETCH(bool, exists);
    const QString real = root->path() + "/elsewhere/real.json";
    QVERIFY(QDir().mkpath(QFileInfo(real).path()));
    if (exists)
        writeFile(real, documentText(numberedEntries(1)));
    QVERIFY(QFile::link(real, QFileInfo(defaultPlayPath).path() + "/second.json"));
    target.replace("ROOT", root->path());
    QVERIFY(QFile::link(target, defaultPlayPath));

    fillAddrList(2);
    varyJsonConfig(defaultPlayPath, addrlist);
    QVERIFY(QFileInfo(defaultPlayPath).isSymLink());
    QCOMPARE(readFile(real), documentText(numberedEntries(2)));
    addToAddrList("/new");
    QVERIFY(QFileInfo(defaultPlayPath).isSymLink());
    QVERIFY(!QFileInfo(real).isSymLink());
    QCOMPARE(readFile(real), documentText(numberedEntries(2) << addrlist[2]));
    QCOMPARE(QDir(QFileInfo(real).path()).entryList(QDir::Files | QDir::Hidden),
             QStringList("real.json"));
}

void TestHistoryDisk::leavesNothingBeside()
{
    for (int i = 0; i < 20; ++i) {
        addToAddrList(QStringLiteral("/films/%1.mkv").arg(i));
        saveLastPlayTime(i, 10);
    }
    QCOMPARE(QDir(QFileInfo(defaultPlayPath).path()).entryList(QDir::Files | QDir::Hidden),
             QStringList("config.json"));
}

void TestHistoryDisk::savesUnderALongName()
{
    // No room for a second name beside it.
    defaultPlayPath = root->path() + '/' + QString(255, QChar('n'));
    fillAddrList(3);
    saveLastPlayTime(1, 1);
    QCOMPARE(readFile(defaultPlayPath), documentText(numberedEntries(3)));
    saveLastPlayTime(2, 4711);
    QVector<HistoryAddrList> expected = numberedEntries(3);
    expected[2].last_play_time = 4711;
    QCOMPARE(readFile(defaultPlayPath), documentText(expected));
}

int main(int argc, char *argv[])
{
    if (argc == 4 && qstrcmp(argv[1], "--child") == 0)
        return runScenario(argv[2], QFile::decodeName(argv[3]));
    QCoreApplication application(argc, argv);
    TestHistoryDisk test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_historydisk.moc"
