// Adding, rewriting, emptying and searching the history, with every log line and limit.
#include "historysupport.h"
#include "testsupport.h"

#include <QFileInfo>
#include <QtTest>

#include <climits>

class TestHistoryWrite : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void appends();
    void appendKeepsForeignElementsAndDropsForeignMembers();
    void appendRefusesOtherShapes_data();
    void appendRefusesOtherShapes();
    void appendStartsAnewOnBadSyntax_data();
    void appendStartsAnewOnBadSyntax();
    void appendFailsWhereItCannotOpen();
    void creates();
    void createFailsWhereItCannotOpen();
    void rewrites();
    void rewriteTellsBeforeItWrites();
    void rewriteWithNoEntriesEmpties();
    void rewriteStopsAtAnEmptyAddress();
    void rewriteReplacesOtherShapes();
    void rewriteWritesAtMostTheCapacity_data();
    void rewriteWritesAtMostTheCapacity();
    void rewriteFailsWhereItCannotOpen();
    void empties();
    void addsEntries_data();
    void addsEntries();
    void addsAfterTheOthers();
    void addKeepsTheEntryInMemoryWhenTheFileIsRefused();
    void addDropsTheOldestWhenFull();
    void findsAddresses();
    void savesPositions();
    void ignoresPositionsOutsideTheArray_data();
    void ignoresPositionsOutsideTheArray();

private:
    QScopedPointer<InstallRoot> root;
    QScopedPointer<LogCapture> log;
};

void TestHistoryWrite::init()
{
    resetSharedState();
    root.reset(new InstallRoot);
    defaultPlayPath = root->historyFile();
    log.reset(new LogCapture);
}

void TestHistoryWrite::cleanup()
{
    log.reset();
    root.reset();
}

// Appending
void TestHistoryWrite::appends()
{
    HistoryAddrList first = entryFor("/home/u/a.mp4", 3);
    HistoryAddrList second = entryFor("/home/u/b.mp4");
    second.frame = 12.5f;
    QCOMPARE(insertJsonConfig(&first), 0);
    QCOMPARE(log->lines(),
             QStringList({"defaultPlayPath is----------> \"" + defaultPlayPath + "\"",
                          "Json file read err", "File open",
                          "file closed \"" + defaultPlayPath + "\""}));
    QCOMPARE(readFile(defaultPlayPath), documentText({first}));
    log->clear();
    QCOMPARE(insertJsonConfig(&second), 0);
    QCOMPARE(log->lines(),
             QStringList({"defaultPlayPath is----------> \"" + defaultPlayPath + "\"", parsed,
                          "Json file insert"}));
    QCOMPARE(readFile(defaultPlayPath), documentText({first, second}));
    QCOMPARE(addrNum, 0);
}

void TestHistoryWrite::appendKeepsForeignElementsAndDropsForeignMembers()
{
    writeFile(defaultPlayPath, "{\"version\":2,\"settings\":[7,{\"x\":null}],\"z\":{}}");
    HistoryAddrList entry = entryFor("/new");
    QCOMPARE(insertJsonConfig(&entry), 0);
    QCOMPARE(
        readFile(defaultPlayPath),
        "{\n    \"settings\": [\n        7,\n        {\n            \"x\": null\n        },\n" +
            elementText(entry) + "\n    ]\n}\n");
}

void TestHistoryWrite::appendRefusesOtherShapes_data() { addOtherShapes(); }

void TestHistoryWrite::appendRefusesOtherShapes()
{
    QFETCH(QByteArray, content);
    HistoryAddrList entry = entryFor("/new");
    writeFile(defaultPlayPath, content);
    if (content == "{\"settings\":[]}") {
        QCOMPARE(insertJsonConfig(&entry), 0);
        QCOMPARE(readFile(defaultPlayPath), documentText({entry}));
        return;
    }
    QCOMPARE(insertJsonConfig(&entry), -1);
    QCOMPARE(readFile(defaultPlayPath), content);
    QCOMPARE(log->lines(),
             QStringList({"defaultPlayPath is----------> \"" + defaultPlayPath + "\"", parsed}));
}

void TestHistoryWrite::appendStartsAnewOnBadSyntax_data() { addBadSyntax(); }

void TestHistoryWrite::appendStartsAnewOnBadSyntax()
{
    QFETCH(QByteArray, content);
    writeFile(defaultPlayPath, content);
    HistoryAddrList entry = entryFor("/new");
    QCOMPARE(insertJsonConfig(&entry), 0);
    QCOMPARE(readFile(defaultPlayPath), documentText({entry}));
    QCOMPARE(log->lines(),
             QStringList({"defaultPlayPath is----------> \"" + defaultPlayPath + "\"",
                          "Json file read err", "File open",
                          "file closed \"" + defaultPlayPath + "\""}));
}

void TestHistoryWrite::appendFailsWhereItCannotOpen()
{
    HistoryAddrList entry = entryFor("/new");
    defaultPlayPath = root->path();
    QCOMPARE(insertJsonConfig(&entry), -1);
    QCOMPARE(log->lines(),
             QStringList("defaultPlayPath is----------> \"" + defaultPlayPath + "\""));
}

// Creating
void TestHistoryWrite::creates()
{
    HistoryAddrList entry = entryFor("/only");
    writeFile(defaultPlayPath, documentText(numberedEntries(5)));
    createJsonConfig(&entry);
    QCOMPARE(readFile(defaultPlayPath), documentText({entry}));
    QCOMPARE(log->lines(), QStringList({"File open", "file closed \"" + defaultPlayPath + "\""}));
}

void TestHistoryWrite::createFailsWhereItCannotOpen()
{
    HistoryAddrList entry = entryFor("/only");
    defaultPlayPath = root->path();
    createJsonConfig(&entry);
    QCOMPARE(log->lines(), QStringList("File Open error"));
}

// Rewriting
void TestHistoryWrite::rewrites()
{
    const QStringList steps{"Vary json message 0", "Vary json message 1", "Vary json message 1"};
    fillAddrList(4);
    addrNum = 3;
    const QString other = root->path() + "/other.json";
    varyJsonConfig(other, addrlist);
    QCOMPARE(readFile(other), documentText(numberedEntries(3)));
    QVERIFY(!QFileInfo::exists(defaultPlayPath));
    QCOMPARE(log->lines(), steps);

    // A shorter list leaves nothing of the longer one.
    addrNum = 1;
    varyJsonConfig(other, addrlist);
    QCOMPARE(readFile(other), documentText(numberedEntries(1)));
}

namespace {
QByteArrayList fileAtMessages; // what the history holds at each
QtMessageHandler captured;
void readAtMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    fileAtMessages << readFile(defaultPlayPath);
    captured(type, context, text);
}
} // namespace

void TestHistoryWrite::rewriteTellsBeforeItWrites()
{
    writeFile(defaultPlayPath, "before");
    fillAddrList(2);
    addrNum = 2;
    fileAtMessages.clear();
    captured = qInstallMessageHandler(readAtMessage);
    varyJsonConfig(defaultPlayPath, addrlist);
    qInstallMessageHandler(captured);
    QCOMPARE(fileAtMessages, QByteArrayList({"before", "before", "before"}));
    QCOMPARE(readFile(defaultPlayPath), documentText(numberedEntries(2)));
}

void TestHistoryWrite::rewriteWithNoEntriesEmpties()
{
    writeFile(defaultPlayPath, documentText(numberedEntries(3)));
    addrlist[0] = entryFor("/a");
    varyJsonConfig(defaultPlayPath, addrlist);
    QVERIFY(QFileInfo::exists(defaultPlayPath));
    QCOMPARE(readFile(defaultPlayPath), QByteArray());
    QCOMPARE(log->lines(), QStringList("Vary json message 0"));
}

void TestHistoryWrite::rewriteStopsAtAnEmptyAddress()
{
    fillAddrList(4);
    addrlist[2].addr.clear();
    varyJsonConfig(defaultPlayPath, addrlist);
    QCOMPARE(readFile(defaultPlayPath), documentText(numberedEntries(2)));

    addrlist[0].addr = "";
    varyJsonConfig(defaultPlayPath, addrlist);
    QCOMPARE(readFile(defaultPlayPath), QByteArray("{\n    \"settings\": [\n    ]\n}\n"));
}

void TestHistoryWrite::rewriteReplacesOtherShapes()
{
    writeFile(defaultPlayPath, "[1, 2, 3]");
    fillAddrList(2);
    varyJsonConfig(defaultPlayPath, addrlist);
    QCOMPARE(readFile(defaultPlayPath), documentText(numberedEntries(2)));
}

void TestHistoryWrite::rewriteWritesAtMostTheCapacity_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("written");
    QTest::newRow("one below") << 998 << 998;
    QTest::newRow("full") << 999 << 999;
    QTest::newRow("one above") << 1000 << 999;
    QTest::newRow("far above") << 1200 << 999;
}

void TestHistoryWrite::rewriteWritesAtMostTheCapacity()
{
    QFETCH(int, count);
    QFETCH(int, written);
    QVector<HistoryAddrList> list = numberedEntries(count);
    addrNum = count;
    varyJsonConfig(defaultPlayPath, list.data());
    QCOMPARE(readFile(defaultPlayPath), documentText(numberedEntries(written)));
    QStringList expected{"Vary json message 0", "Vary json message 1", "Vary json message 1"};
    if (written == 999)
        expected.insert(2, "error while vary json config:too much");
    QCOMPARE(log->lines(), expected);
}

void TestHistoryWrite::rewriteFailsWhereItCannotOpen()
{
    fillAddrList(1);
    varyJsonConfig(root->path(), addrlist);
    varyJsonConfig(root->path() + "/no/such/folder.json", addrlist);
    varyJsonConfig(QString(), addrlist);
    const QString failure = "Json File open fail! 138";
    // The toolkit has a word of its own on the file without a name.
    QCOMPARE(log->lines().filter("Json"), QStringList({failure, failure, failure}));
}

void TestHistoryWrite::empties()
{
    writeFile(defaultPlayPath, documentText(numberedEntries(3)));
    QFile reader(defaultPlayPath);
    QVERIFY(reader.open(QIODevice::ReadOnly));
    QVERIFY(emptyHistoryFile(defaultPlayPath));
    QVERIFY(QFileInfo::exists(defaultPlayPath));
    QCOMPARE(QFileInfo(defaultPlayPath).size(), 0);
    // Truncated, not replaced.
    QCOMPARE(reader.readAll(), QByteArray());

    QVERIFY(!emptyHistoryFile(root->path()));
    QVERIFY(!emptyHistoryFile(root->path() + "/no/such/folder.json"));
    QCOMPARE(log->lines(), QStringList());
}

// Adding
void TestHistoryWrite::addsEntries_data()
{
    QTest::addColumn<QString>("addr");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("label");
    QTest::addColumn<int>("type");
    QTest::newRow("path") << "/home/u/a.mp4"
                          << "/home/u/a.mp4"
                          << "a.mp4" << 1;
    QTest::newRow("file URL") << "file:///home/u/a.mp4"
                              << "/home/u/a.mp4"
                              << "a.mp4" << 1;
    QTest::newRow("rtmp") << "rtmp://192.0.2.10/live/cam"
                          << "rtmp://192.0.2.10/live/cam"
                          << "cam" << 2;
    QTest::newRow("rtsp") << "rtsp://192.0.2.10/stream1"
                          << "rtsp://192.0.2.10/stream1"
                          << "stream1" << 2;
    QTest::newRow("prefix only") << "rtspx"
                                 << "rtspx"
                                 << "rtspx" << 2;
    QTest::newRow("capital stream") << "RTSP://h/s"
                                    << "RTSP://h/s"
                                    << "s" << 1;
    QTest::newRow("stream inside") << "/rtsp://h/s"
                                   << "/rtsp://h/s"
                                   << "s" << 1;
    QTest::newRow("http") << "http://h/s.mp4"
                          << "http://h/s.mp4"
                          << "s.mp4" << 1;
    QTest::newRow("relative, begins with file") << "file1.mp4"
                                                << "p4"
                                                << "file1.mp4" << 1;
    QTest::newRow("file alone") << "file"
                                << ""
                                << "file" << 1;
    QTest::newRow("capital file") << "FILE:///a"
                                  << "FILE:///a"
                                  << "a" << 1;
    QTest::newRow("folder") << "/home/u/"
                            << "/home/u/"
                            << "" << 1;
}

void TestHistoryWrite::addsEntries()
{
    QFETCH(QString, addr);
    QFETCH(QString, stored);
    QFETCH(QString, label);
    QFETCH(int, type);
    ::videoInfo.type = 2;
    ::videoInfo.width = 720;
    ::videoInfo.height = 576;
    ::videoInfo.frame = 29.97f;
    addrlist[0].last_play_time = 99;
    playinglist.addrIndex = 7;
    addToAddrList(addr);
    QCOMPARE(addrNum, 1);
    QCOMPARE(playinglist.addrIndex, 0);
    const HistoryAddrList &entry = addrlist[0];
    QCOMPARE(entry.addr, stored);
    QCOMPARE(entry.label, label);
    QCOMPARE(entry.type, type);
    QCOMPARE(entry.codec_type, 2);
    QCOMPARE(entry.width, 720);
    QCOMPARE(entry.height, 576);
    QCOMPARE(entry.frame, 29.97f);
    QCOMPARE(entry.state, 1);
    QCOMPARE(entry.last_play_time, 0);
    QCOMPARE(readFile(defaultPlayPath), documentText({entry}));
    QCOMPARE(checkAddrExist(addr), 0);
}

void TestHistoryWrite::addsAfterTheOthers()
{
    fillAddrList(2);
    varyJsonConfig(defaultPlayPath, addrlist);
    addToAddrList("/home/u/new.mp4");
    QCOMPARE(addrNum, 3);
    QCOMPARE(playinglist.addrIndex, 2);
    QCOMPARE(addrlist[2].addr, QString("/home/u/new.mp4"));
    QCOMPARE(readFile(defaultPlayPath), documentText(numberedEntries(2) << addrlist[2]));
}

void TestHistoryWrite::addKeepsTheEntryInMemoryWhenTheFileIsRefused()
{
    writeFile(defaultPlayPath, "[]");
    addToAddrList("/home/u/new.mp4");
    QCOMPARE(addrNum, 1);
    QCOMPARE(addrlist[0].addr, QString("/home/u/new.mp4"));
    QCOMPARE(readFile(defaultPlayPath), QByteArray("[]"));
    saveLastPlayTime(0, 5);
    QCOMPARE(readFile(defaultPlayPath), documentText({addrlist[0]}));
}

void TestHistoryWrite::addDropsTheOldestWhenFull()
{
    fillAddrList(999);
    varyJsonConfig(defaultPlayPath, addrlist);
    log->clear();
    addToAddrList("/home/u/new.mp4");
    QCOMPARE(addrNum, 999);
    QCOMPARE(playinglist.addrIndex, 998);
    QVector<HistoryAddrList> expected = numberedEntries(999);
    expected.removeFirst();
    expected << addrlist[998];
    QCOMPARE(addrlist[998].addr, QString("/home/u/new.mp4"));
    QCOMPARE(addrlist[0].addr, QString("/films/1.mkv"));
    QCOMPARE(addrlist[0].last_play_time, 1);
    QCOMPARE(addrlist[997].addr, QString("/films/998.mkv"));
    QCOMPARE(readFile(defaultPlayPath), documentText(expected));
    QCOMPARE(log->lines(),
             QStringList({"Vary json message 0", "Vary json message 1", "Vary json message 1",
                          "defaultPlayPath is----------> \"" + defaultPlayPath + "\"", parsed,
                          "Json file insert"}));
    QCOMPARE(checkAddrExist("/films/0.mkv"), -1);
    QCOMPARE(checkAddrExist("/home/u/new.mp4"), 998);
}

// Searching and positions
void TestHistoryWrite::findsAddresses()
{
    fillAddrList(3);
    addrlist[1] = entryFor("/home/u/a.mp4");
    QCOMPARE(checkAddrExist("/home/u/a.mp4"), 1);
    QCOMPARE(checkAddrExist("file:///home/u/a.mp4"), 1);
    QCOMPARE(checkAddrExist("/home/u/A.mp4"), -1);
    QCOMPARE(checkAddrExist("FILE:///home/u/a.mp4"), -1);
    QCOMPARE(checkAddrExist("/home/u/a.mp"), -1);
    QCOMPARE(checkAddrExist(""), -1);
    QCOMPARE(checkAddrExist("/films/2.mkv"), 2);
    // The first of two, and nothing beyond the count.
    addrlist[2] = addrlist[1];
    addrlist[3] = entryFor("/beyond");
    QCOMPARE(checkAddrExist("/home/u/a.mp4"), 1);
    QCOMPARE(checkAddrExist("/beyond"), -1);
    addrlist[2].addr = "p4";
    QCOMPARE(checkAddrExist("file1.mp4"), 2);
    addrNum = 0;
    QCOMPARE(checkAddrExist("/films/0.mkv"), -1);
    addrNum = 5000;
    QCOMPARE(checkAddrExist("/nowhere"), -1);
}

void TestHistoryWrite::savesPositions()
{
    fillAddrList(3);
    saveLastPlayTime(1, 4711);
    QVector<HistoryAddrList> expected = numberedEntries(3);
    expected[1].last_play_time = 4711;
    QCOMPARE(addrlist[1].last_play_time, 4711);
    QCOMPARE(readFile(defaultPlayPath), documentText(expected));
    QCOMPARE(log->lines(),
             QStringList({"Vary json message 0", "Vary json message 1", "Vary json message 1"}));

    fillAddrList(999);
    saveLastPlayTime(998, 5);
    expected = numberedEntries(999);
    expected[998].last_play_time = 5;
    QCOMPARE(readFile(defaultPlayPath), documentText(expected));
}

void TestHistoryWrite::ignoresPositionsOutsideTheArray_data()
{
    QTest::addColumn<int>("index");
    QTest::newRow("before") << -1;
    QTest::newRow("behind") << 999;
    QTest::newRow("lowest") << INT_MIN;
    QTest::newRow("highest") << INT_MAX;
}

void TestHistoryWrite::ignoresPositionsOutsideTheArray()
{
    QFETCH(int, index);
    fillAddrList(3);
    writeFile(defaultPlayPath, "untouched");
    saveLastPlayTime(index, 5);
    QCOMPARE(readFile(defaultPlayPath), QByteArray("untouched"));
    QCOMPARE(log->lines(), QStringList());
    for (int i = 0; i < 3; ++i)
        QCOMPARE(addrlist[i].last_play_time, i);
}

QTEST_GUILESS_MAIN(TestHistoryWrite)
#include "tst_historywrite.moc"
