// The copy of a damaged history, put beside it before the first write over it.
#include "historysupport.h"
#include "smalldisk.h"
#include "testsupport.h"

#include <QDir>
#include <QFileInfo>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

class TestHistoryCopy : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void keepsWhatIsDamaged_data();
    void keepsWhatIsDamaged();
    void copiesNothingElse_data();
    void copiesNothingElse();
    void copiesNothingThatIsNotWrittenOver();
    void keepsTheOldestOnly();
    void goesWhenTheListIsCleared();
    void staysWhenAnotherFileIsCleared();
    void liesBesideTheNamedFile();
    void hasTheRightsOfTheFile();
    void belongsToTheOwnerOfTheFile();
    void failsInSilence_data();
    void failsInSilence();
    void staysWholeOnAFullDisk();

private:
    bool noCopy() const { return !QFileInfo::exists(copy) && !QFileInfo(copy).isSymLink(); }

    QScopedPointer<InstallRoot> root;
    QScopedPointer<LogCapture> log;
    QString copy;
};

namespace {

// The ways in which a history is written.
struct Way {
    const char *name;
    void (*write)();
};

const Way ways[] = {
    {"rewritten", [] { varyJsonConfig(defaultPlayPath, addrlist); }},
    {"emptied by a rewriting",
     [] {
         addrNum = 0;
         varyJsonConfig(defaultPlayPath, addrlist);
     }},
    {"position", [] { saveLastPlayTime(0, 5); }},
    {"added", [] { addToAddrList("/new"); }},
    {"created", [] { createJsonConfig(&addrlist[0]); }},
};

QByteArray withRefused()
{
    QJsonObject bad = goodObject("/bad");
    bad.remove("codec_type");
    return documentWith({goodObject("/first"), bad, goodObject("/third")});
}

struct Content {
    const char *name;
    QByteArray bytes;
};

QList<Content> damagedContents()
{
    return {
        {"text", "hello"},
        {"blank", " \n"},
        {"cut", documentText(numberedEntries(3)).chopped(40)},
        {"zeros", QByteArray(4096, '\0')},
        {"refused entry", withRefused()},
        {"entry that is a number", "{\"settings\":[7]}"},
        {"entry without an address", documentText({entryFor("/a"), entryFor(""), entryFor("/b")})},
        {"other shape", "[1, 2, 3]"},
        {"other member", "{\"Settings\":[]}"},
    };
}

} // namespace

void TestHistoryCopy::init()
{
    resetSharedState();
    root.reset(new InstallRoot);
    defaultPlayPath = root->historyFile();
    copy = defaultPlayPath + ".broken";
    log.reset(new LogCapture);
}

void TestHistoryCopy::cleanup()
{
    log.reset();
    root.reset();
}

void TestHistoryCopy::keepsWhatIsDamaged_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("way");
    for (const Content &content : damagedContents()) {
        for (int way = 0; way < int(std::size(ways)); ++way)
            QTest::addRow("%s, %s", content.name, ways[way].name) << content.bytes << way;
    }
}

// What is written, and the log, are those of an intact history.
void TestHistoryCopy::keepsWhatIsDamaged()
{
    QFETCH(QByteArray, content);
    QFETCH(int, way);
    QByteArray written;
    QStringList lines;
    // First with something in the place of the copy, so that none is made.
    for (bool inTheWay : {true, false}) {
        QDir(copy).removeRecursively();
        writeFile(defaultPlayPath, content);
        resetSharedState();
        defaultPlayPath = root->historyFile();
        readJsonConfig(defaultPlayPath);
        QVERIFY(noCopy());
        fillAddrList(2);
        if (inTheWay)
            QVERIFY(QDir().mkpath(copy));
        log->clear();
        ways[way].write();
        if (inTheWay) {
            written = readFile(defaultPlayPath);
            lines = log->lines();
        }
    }
    QCOMPARE(readFile(defaultPlayPath), written);
    QCOMPARE(log->lines(), lines);
    if (written == content) // another shape takes no entry
        QVERIFY(noCopy());
    else
        QCOMPARE(readFile(copy), content);
    QCOMPARE(QFileInfo(defaultPlayPath).dir().entryList(QDir::Files | QDir::Hidden).size(),
             written == content ? 1 : 2);
}

void TestHistoryCopy::copiesNothingElse_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("entries") << documentText(numberedEntries(3));
    QTest::newRow("no entries") << QByteArray("{\"settings\":[]}");
    QTest::newRow("written in another way") << QByteArray("{\"settings\":[]}\n\n");
    QTest::newRow("twice the same") << documentText({entryFor("/a"), entryFor("/a")});
    QJsonObject old = goodObject();
    old.remove("last_time");
    QTest::newRow("without a place") << documentWith({old});
}

void TestHistoryCopy::copiesNothingElse()
{
    QFETCH(QByteArray, content);
    for (const Way &way : ways) {
        writeFile(defaultPlayPath, content);
        fillAddrList(2);
        way.write();
        QVERIFY2(noCopy(), way.name);
    }
}

void TestHistoryCopy::copiesNothingThatIsNotWrittenOver()
{
    writeFile(defaultPlayPath, "[]");
    QCOMPARE(readJsonConfig(defaultPlayPath), 0);
    HistoryAddrList entry = entryFor("/new");
    QCOMPARE(insertJsonConfig(&entry), -1);
    QVERIFY(noCopy());

    const QString other = root->path() + "/other.json";
    writeFile(other, "hello");
    fillAddrList(2);
    varyJsonConfig(other, addrlist);
    QCOMPARE(readFile(other), documentText(numberedEntries(2)));
    QVERIFY(!QFileInfo::exists(other + ".broken"));
    QVERIFY(noCopy());
}

void TestHistoryCopy::keepsTheOldestOnly()
{
    fillAddrList(2);
    for (const char *content : {"first", "second"}) {
        writeFile(defaultPlayPath, content);
        saveLastPlayTime(0, 5);
        QCOMPARE(readFile(copy), QByteArray("first"));
    }
    // Also one that comes from somebody else.
    writeFile(copy, "mine");
    writeFile(defaultPlayPath, "third");
    saveLastPlayTime(0, 5);
    QCOMPARE(readFile(copy), QByteArray("mine"));
    QVERIFY(QFile::remove(copy));
    QVERIFY(QFile::link("nowhere", copy));
    writeFile(defaultPlayPath, "fourth");
    saveLastPlayTime(0, 5);
    QVERIFY(QFileInfo(copy).isSymLink());
    QVERIFY(!QFileInfo::exists(root->path() + "/files/config/nowhere"));
}

void TestHistoryCopy::goesWhenTheListIsCleared()
{
    fillAddrList(2);
    writeFile(defaultPlayPath, "hello");
    saveLastPlayTime(0, 5);
    QVERIFY(!noCopy());
    QVERIFY(emptyHistoryFile(defaultPlayPath));
    QVERIFY(noCopy());
    QCOMPARE(readFile(defaultPlayPath), QByteArray());
    // And none is made of what is cleared.
    writeFile(defaultPlayPath, "hello");
    QVERIFY(emptyHistoryFile(defaultPlayPath));
    QVERIFY(noCopy());
}

void TestHistoryCopy::staysWhenAnotherFileIsCleared()
{
    const QString other = root->path() + "/other.json";
    writeFile(copy, "mine");
    writeFile(other, "hello");
    writeFile(other + ".broken", "mine");
    QVERIFY(emptyHistoryFile(other));
    QVERIFY(!noCopy());
    QCOMPARE(readFile(other + ".broken"), QByteArray("mine"));
    // Or the clearing fails.
    defaultPlayPath = root->path() + "/no/such/folder.json";
    QVERIFY(!emptyHistoryFile(defaultPlayPath));
    QVERIFY(!noCopy());
}

void TestHistoryCopy::liesBesideTheNamedFile()
{
    const QString real = root->path() + "/elsewhere/real.json";
    writeFile(real, "hello");
    QVERIFY(QFile::link(real, defaultPlayPath));
    fillAddrList(2);
    saveLastPlayTime(1, 1);
    QCOMPARE(readFile(real), documentText(numberedEntries(2)));
    QCOMPARE(readFile(copy), QByteArray("hello"));
    QVERIFY(!QFileInfo(copy).isSymLink());
    QVERIFY(!QFileInfo::exists(real + ".broken"));
}

void TestHistoryCopy::hasTheRightsOfTheFile()
{
    for (const mode_t rights : {0600, 0640, 0644}) {
        QFile::remove(copy);
        writeFile(defaultPlayPath, "hello");
        QCOMPARE(chmod(QFile::encodeName(defaultPlayPath).constData(), rights), 0);
        fillAddrList(2);
        saveLastPlayTime(0, 5);
        struct stat info;
        QCOMPARE(stat(QFile::encodeName(copy).constData(), &info), 0);
        QCOMPARE(mode_t(info.st_mode & 07777), rights);
    }
}

// After one run by the administrator its user can still clear the list.
void TestHistoryCopy::belongsToTheOwnerOfTheFile()
{
    writeFile(defaultPlayPath, "hello");
    if (getuid() != 0 || chown(QFile::encodeName(defaultPlayPath).constData(), 65534, 65534) != 0)
        QSKIP("not possible with the rights of this user");
    fillAddrList(2);
    saveLastPlayTime(0, 5);
    struct stat info;
    QCOMPARE(stat(QFile::encodeName(copy).constData(), &info), 0);
    QCOMPARE(info.st_uid, uid_t(65534));
    QCOMPARE(readFile(copy), QByteArray("hello"));
}

void TestHistoryCopy::failsInSilence_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"a folder in the way", "a long name", "a pipe"})
        QTest::newRow(kind) << QString(kind);
}

void TestHistoryCopy::failsInSilence()
{
    QFETCH(QString, kind);
    if (kind == "a long name")
        defaultPlayPath = root->path() + '/' + QString(250, QChar('n'));
    else if (kind == "a folder in the way")
        QVERIFY(QDir().mkpath(copy + "/inside"));
    if (kind == "a pipe")
        QCOMPARE(mkfifo(QFile::encodeName(defaultPlayPath).constData(), 0600), 0);
    else
        writeFile(defaultPlayPath, "hello");
    fillAddrList(2);
    saveLastPlayTime(1, 1);
    QCOMPARE(readFile(defaultPlayPath), documentText(numberedEntries(2)));
    QCOMPARE(log->lines(),
             QStringList({"Vary json message 0", "Vary json message 1", "Vary json message 1"}));
    QCOMPARE(QFileInfo::exists(copy), kind == "a folder in the way");
    QVERIFY(emptyHistoryFile(defaultPlayPath));
    QCOMPARE(QFileInfo::exists(copy + "/inside"), kind == "a folder in the way");
}

void TestHistoryCopy::staysWholeOnAFullDisk()
{
    const QString folder = QFileInfo(defaultPlayPath).path();
    SmallDisk disk(folder);
    if (!disk.isMounted())
        QSKIP("no disk can be mounted here");
    const QByteArray content(100000, 'x');
    writeFile(defaultPlayPath, content);
    QVERIFY(disk.fill());
    fillAddrList(2);
    saveLastPlayTime(0, 5);
    QVERIFY(noCopy());
    for (const QString &name : QDir(folder).entryList(QDir::Files | QDir::Hidden))
        QVERIFY2(name == "config.json" || name == "filler", qPrintable(name));
    // Nothing was written over, and the next save keeps it.
    QCOMPARE(readFile(defaultPlayPath), content);
    disk.makeRoom();
    saveLastPlayTime(0, 5);
    QCOMPARE(readFile(copy), content);
}

int main(int argc, char *argv[])
{
    SmallDisk::enterOwnMounts();
    QCoreApplication application(argc, argv);
    TestHistoryCopy test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_historycopy.moc"
