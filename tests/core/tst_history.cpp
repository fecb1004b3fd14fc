// The history file as it is read: its format, and what becomes of damaged, foreign and huge files.
// Writing is in tst_historywrite.cpp, awkward disks are in tst_historydisk.cpp.
#include "historysupport.h"
#include "longform.h"
#include "testsupport.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QtTest>

#include <climits>
#include <limits>

class TestHistory : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void writesTheExactBytes();
    void widensTheFrameRate();
    void storesAnInfiniteFrameRateAsZero();
    void roundTripsHostileTexts();
    void loadsAnEntry();
    void refusesElements_data();
    void refusesElements();
    void readsNumbersAsIntegers_data();
    void readsNumbersAsIntegers();
    void ignoresOtherShapes_data();
    void ignoresOtherShapes();
    void failsOnBadSyntax_data();
    void failsOnBadSyntax();
    void createsAMissingFile();
    void failsWhereItCannotOpen();
    void usesTheDefaultPath();
    void fillsByIndexAndCountsByAcceptance();
    void loadsAtMostTheCapacity();
    void survivesATruncatedFile();
    void survivesDeepNesting_data();
    void survivesDeepNesting();
    void survivesAHugeFile();
    void survivesRandomDamage();

private:
    QScopedPointer<InstallRoot> root;
    QScopedPointer<LogCapture> log;
};

void TestHistory::init()
{
    resetSharedState();
    root.reset(new InstallRoot);
    defaultPlayPath = root->historyFile();
    log.reset(new LogCapture);
}

void TestHistory::cleanup()
{
    log.reset();
    root.reset();
}

// The format
void TestHistory::writesTheExactBytes()
{
    addrlist[0] = entryFor("/home/user/Videos/a.mp4");
    HistoryAddrList &stream = addrlist[1];
    stream.addr = "rtsp://192.0.2.10/stream1";
    stream.label = "stream1";
    stream.type = 2;
    stream.width = 640;
    stream.height = 480;
    stream.frame = 12.5f;
    stream.codec_type = 2;
    stream.last_play_time = 77;
    stream.state = 1;
    stream.pid_mplayer = 4711;
    stream.subTitleAddr = "/not/stored.srt";
    addrNum = 2;
    varyJsonConfig(defaultPlayPath, addrlist);
    QCOMPARE(readFile(defaultPlayPath),
             QByteArray("{\n"
                        "    \"settings\": [\n"
                        "        {\n"
                        "            \"addr\": \"/home/user/Videos/a.mp4\",\n"
                        "            \"codec_type\": 1,\n"
                        "            \"frame\": 25,\n"
                        "            \"height\": 1080,\n"
                        "            \"label\": \"a.mp4\",\n"
                        "            \"last_time\": 0,\n"
                        "            \"type\": 1,\n"
                        "            \"width\": 1920\n"
                        "        },\n"
                        "        {\n"
                        "            \"addr\": \"rtsp://192.0.2.10/stream1\",\n"
                        "            \"codec_type\": 2,\n"
                        "            \"frame\": 12.5,\n"
                        "            \"height\": 480,\n"
                        "            \"label\": \"stream1\",\n"
                        "            \"last_time\": 77,\n"
                        "            \"type\": 2,\n"
                        "            \"width\": 640\n"
                        "        }\n"
                        "    ]\n"
                        "}\n"));
}

void TestHistory::widensTheFrameRate()
{
    HistoryAddrList entry = entryFor("/a");
    entry.frame = 23.976f;
    const QJsonObject object = entryToJson(entry);
    QCOMPARE(object.value("frame").toDouble(), 23.975999832153320);
    createJsonConfig(&entry);
    QVERIFY(readFile(defaultPlayPath).contains("\"frame\": 23.97599983215332,\n"));
    HistoryAddrList back;
    QVERIFY(entryFromJson(object, &back));
    QCOMPARE(back.frame, 23.976f);
}

void TestHistory::storesAnInfiniteFrameRateAsZero()
{
    // What a hand-edited 1e300 becomes as a float; as null it would hide the entry next time.
    QJsonObject object = goodObject();
    object.insert("frame", 1e300);
    HistoryAddrList entry;
    QVERIFY(entryFromJson(object, &entry));
    QCOMPARE(entryToJson(entry).value("frame"), QJsonValue(0));
    entry.frame = std::numeric_limits<float>::quiet_NaN();
    QCOMPARE(entryToJson(entry).value("frame"), QJsonValue(0));
}

void TestHistory::roundTripsHostileTexts()
{
    const QStringList names{
        "/a \"quoted\" \\ back/slash\n\t\r.mp4",
        QString::fromUtf8("/影片/中文 🎬.mkv"),
        "/$(touch pwn)`id`.mp4",
        "/%20%41.mp4",
        "/<b>x</b>.mp4",
        QString(4000, QChar('x')),
        QString("/nul") + QChar(0) + "behind",
        "/" + QString(QChar(0xfffd)),
        "/settings\":[]}",
    };
    for (const QString &name : names)
        addToAddrList(name);
    const int count = addrNum;
    QCOMPARE(count, names.size());
    for (HistoryAddrList &entry : addrlist)
        entry = HistoryAddrList();
    addrNum = 0;
    QCOMPARE(readJsonConfig(defaultPlayPath), 0);
    QCOMPARE(addrNum, count);
    for (int i = 0; i < count; ++i)
        QCOMPARE(addrlist[i].addr, names.at(i));
}

// Reading
void TestHistory::loadsAnEntry()
{
    QJsonObject stream = goodObject("rtsp://192.0.2.10/stream1");
    stream.insert("type", 2);
    stream.insert("codec_type", 0);
    stream.insert("frame", 29.97);
    stream.remove("last_time");
    stream.insert("foreign", true);
    const QByteArray content = documentWith({goodObject(), stream});
    writeFile(defaultPlayPath, content);
    addrlist[1].state = 5;
    QCOMPARE(readJsonConfig(defaultPlayPath), 0);
    QCOMPARE(addrNum, 2);
    QCOMPARE(addrlist[0].addr, QString("/home/u/a.mp4"));
    QCOMPARE(addrlist[0].label, QString("a.mp4"));
    QCOMPARE(addrlist[0].type, 1);
    QCOMPARE(addrlist[0].width, 1920);
    QCOMPARE(addrlist[0].height, 1080);
    QCOMPARE(addrlist[0].frame, 25.0f);
    QCOMPARE(addrlist[0].codec_type, 1);
    QCOMPARE(addrlist[0].last_play_time, 42);
    QCOMPARE(addrlist[0].state, 0);
    QCOMPARE(addrlist[1].addr, QString("rtsp://192.0.2.10/stream1"));
    QCOMPARE(addrlist[1].type, 2);
    QCOMPARE(addrlist[1].codec_type, 0);
    QCOMPARE(addrlist[1].frame, 29.97f);
    QCOMPARE(addrlist[1].last_play_time, 0);
    QCOMPARE(addrlist[1].state, 5);
    QCOMPARE(log->lines(),
             QStringList({parsed, "1:/home/u/a.mp4:0:1", "2:rtsp://192.0.2.10/stream1:1:2"}));
    QCOMPARE(readFile(defaultPlayPath), content);
}

void TestHistory::refusesElements_data()
{
    QTest::addColumn<QJsonValue>("element");
    for (const char *key : {"addr", "label", "type", "width", "height", "frame", "codec_type"}) {
        QJsonObject missing = goodObject();
        missing.remove(key);
        QTest::addRow("%s missing", key) << QJsonValue(missing);
        const bool isText = goodObject().value(key).isString();
        const QJsonValue swapped = isText ? QJsonValue(1) : QJsonValue("1");
        const QJsonArray wrongValues{swapped, true, QJsonValue::Null, QJsonArray{1}, QJsonObject{}};
        for (int i = 0; i < wrongValues.size(); ++i) {
            QJsonObject wrong = goodObject();
            wrong.insert(key, wrongValues.at(i));
            QTest::addRow("%s of wrong type %d", key, i) << QJsonValue(wrong);
        }
    }
    QTest::newRow("null") << QJsonValue(QJsonValue::Null);
    QTest::newRow("text") << QJsonValue("/home/u/a.mp4");
    QTest::newRow("number") << QJsonValue(1);
    QTest::newRow("array") << QJsonValue(QJsonArray{goodObject()});
    QTest::newRow("empty object") << QJsonValue(QJsonObject{});
}

void TestHistory::refusesElements()
{
    QFETCH(QJsonValue, element);
    writeFile(defaultPlayPath, documentWith({element}));
    QCOMPARE(readJsonConfig(defaultPlayPath), 0);
    QCOMPARE(addrNum, 0);
    QCOMPARE(addrlist[0].addr, QString());
    QCOMPARE(addrlist[0].width, 0);
    QCOMPARE(log->lines(), QStringList(parsed));

    HistoryAddrList entry = entryFor("/untouched", 9);
    QVERIFY(!entryFromJson(element.toObject(), &entry));
    QCOMPARE(elementText(entry), elementText(entryFor("/untouched", 9)));
}

void TestHistory::readsNumbersAsIntegers_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("value");
    QTest::newRow("plain") << QByteArray("7") << 7;
    QTest::newRow("negative") << QByteArray("-7") << -7;
    QTest::newRow("whole, written as fraction") << QByteArray("7.0") << 7;
    QTest::newRow("exponent") << QByteArray("7e2") << 700;
    QTest::newRow("fraction") << QByteArray("1.5") << 0;
    QTest::newRow("biggest") << QByteArray("2147483647") << INT_MAX;
    QTest::newRow("too big") << QByteArray("2147483648") << 0;
    QTest::newRow("far too big") << QByteArray("1e300") << 0;
}

void TestHistory::readsNumbersAsIntegers()
{
    QFETCH(QByteArray, text);
    QFETCH(int, value);
    writeFile(defaultPlayPath,
              "{\"settings\":[{\"addr\":\"/a\",\"label\":\"a\",\"frame\":1.5,\"type\":" + text +
                  ",\"width\":" + text + ",\"height\":" + text + ",\"codec_type\":" + text +
                  ",\"last_time\":" + text + "}]}");
    QCOMPARE(readJsonConfig(defaultPlayPath), 0);
    QCOMPARE(addrNum, 1);
    QCOMPARE(addrlist[0].type, value);
    QCOMPARE(addrlist[0].width, value);
    QCOMPARE(addrlist[0].height, value);
    QCOMPARE(addrlist[0].codec_type, value);
    QCOMPARE(addrlist[0].last_play_time, value);
    QCOMPARE(addrlist[0].frame, 1.5f);
}

void TestHistory::ignoresOtherShapes_data() { addOtherShapes(); }

void TestHistory::ignoresOtherShapes()
{
    QFETCH(QByteArray, content);
    writeFile(defaultPlayPath, content);
    QCOMPARE(readJsonConfig(defaultPlayPath), 0);
    QCOMPARE(addrNum, 0);
    QCOMPARE(log->lines(), QStringList(parsed));
    QCOMPARE(readFile(defaultPlayPath), content);
}

void TestHistory::failsOnBadSyntax_data() { addBadSyntax(); }

void TestHistory::failsOnBadSyntax()
{
    QFETCH(QByteArray, content);
    writeFile(defaultPlayPath, content);
    QCOMPARE(readJsonConfig(defaultPlayPath), -1);
    QCOMPARE(addrNum, 0);
    QCOMPARE(log->lines(), QStringList("Json file read err"));
    QCOMPARE(readFile(defaultPlayPath), content);
}

void TestHistory::createsAMissingFile()
{
    QVERIFY(!QFileInfo::exists(defaultPlayPath));
    QCOMPARE(readJsonConfig(defaultPlayPath), -1);
    QCOMPARE(log->lines(), QStringList("Json file read err"));
    QVERIFY(QFileInfo::exists(defaultPlayPath));
    QCOMPARE(QFileInfo(defaultPlayPath).size(), 0);

    addToAddrList("/home/u/a.mp4");
    QCOMPARE(storedAddresses(defaultPlayPath), QStringList("/home/u/a.mp4"));
}

void TestHistory::failsWhereItCannotOpen()
{
    QCOMPARE(readJsonConfig(root->path()), -1);
    QCOMPARE(readJsonConfig(root->path() + "/no/such/folder.json"), -1);
    QCOMPARE(log->lines(), QStringList({"Json File open fail!", "Json File open fail!"}));
    QCOMPARE(addrNum, 0);
}

void TestHistory::usesTheDefaultPath()
{
    writeFile(root->historyFile(), documentWith({goodObject()}));
    defaultPlayPath.clear();
    QCOMPARE(readJsonConfig(QString()), 0);
    QCOMPARE(addrNum, 1);

    const QString other = root->path() + "/other.json";
    writeFile(other, documentWith({goodObject("/x/1"), goodObject("/x/2"), goodObject("/x/3")}));
    addrNum = 0;
    QCOMPARE(readJsonConfig(other), 0);
    QCOMPARE(addrNum, 3);
    QCOMPARE(addrlist[2].addr, QString("/x/3"));
}

void TestHistory::fillsByIndexAndCountsByAcceptance()
{
    QJsonObject bad = goodObject("/bad");
    bad.remove("codec_type");
    writeFile(defaultPlayPath, documentWith({goodObject("/first"), bad, goodObject("/third")}));
    QCOMPARE(readJsonConfig(defaultPlayPath), 0);
    QCOMPARE(addrNum, 2);
    QCOMPARE(addrlist[0].addr, QString("/first"));
    QCOMPARE(addrlist[1].addr, QString());
    QCOMPARE(addrlist[2].addr, QString("/third"));
    QCOMPARE(log->lines(), QStringList({parsed, "1:/first:0:1", "1:/third:2:2"}));

    // The rewrite ends at the empty slot.
    varyJsonConfig(defaultPlayPath, addrlist);
    QCOMPARE(readFile(defaultPlayPath), documentText({entryFor("/first", 42)}));
}

void TestHistory::loadsAtMostTheCapacity()
{
    writeFile(defaultPlayPath, documentText(numberedEntries(1200)));
    QCOMPARE(readJsonConfig(defaultPlayPath), 0);
    QCOMPARE(addrNum, 999);
    QCOMPARE(addrlist[0].addr, QString("/films/0.mkv"));
    QCOMPARE(addrlist[998].addr, QString("/films/998.mkv"));
    QCOMPARE(log->lines().size(), 1 + 999);
    QCOMPARE(log->lines().last(), QString("1:/films/998.mkv:998:999"));

    // Elements beyond the array don't count, even where earlier ones were refused.
    resetSharedState();
    QJsonArray elements{QJsonValue::Null};
    for (int i = 1; i < 1200; ++i)
        elements.append(goodObject());
    writeFile(root->historyFile(), documentWith(elements));
    QCOMPARE(readJsonConfig(root->historyFile()), 0);
    QCOMPARE(addrNum, 998);
}

void TestHistory::survivesATruncatedFile()
{
    const QByteArray whole = documentText(numberedEntries(3));
    for (int size = 0; size < whole.size() - 1; ++size) {
        QFile::remove(defaultPlayPath);
        writeFile(defaultPlayPath, whole.left(size));
        QCOMPARE(readJsonConfig(defaultPlayPath), -1);
        QCOMPARE(addrNum, 0);
        // Every save is synchronised to the disk, which may be slow.
        if (size % 50 != 0)
            continue;
        HistoryAddrList entry = entryFor("/new");
        QCOMPARE(insertJsonConfig(&entry), 0);
        QCOMPARE(readFile(defaultPlayPath), documentText({entry}));
    }
    // Only the last line feed may be missing.
    writeFile(defaultPlayPath, whole.left(whole.size() - 1));
    QCOMPARE(readJsonConfig(defaultPlayPath), 0);
    QCOMPARE(addrNum, 3);
}

void TestHistory::survivesDeepNesting_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("arrays") << QByteArray(1000000, '[');
    QTest::newRow("objects") << QByteArray("{\"settings\":").repeated(200000);
    QTest::newRow("closed arrays")
        << "{\"settings\":[" + QByteArray(100000, '[') + QByteArray(100000, ']') + "]}";
}

void TestHistory::survivesDeepNesting()
{
    QFETCH(QByteArray, content);
    writeFile(defaultPlayPath, content);
    QCOMPARE(readJsonConfig(defaultPlayPath), -1);
    QCOMPARE(addrNum, 0);
}

void TestHistory::survivesAHugeFile()
{
    const int size = rounds(10, 50) * 1000 * 1000;
    const QByteArray element = elementText(entryFor("/films/many.mkv"));
    QByteArray content = "{\"settings\":[";
    content.reserve(size + 1000);
    while (content.size() < size)
        content += element + ',';
    content += element + "]}";
    writeFile(defaultPlayPath, content);
    QCOMPARE(readJsonConfig(defaultPlayPath), 0);
    QCOMPARE(addrNum, 999);

    // One text of that size.
    resetSharedState();
    QJsonObject longName = goodObject();
    longName.insert("addr", QString(size, QChar('a')));
    writeFile(root->historyFile(), documentWith({longName, goodObject()}));
    QCOMPARE(readJsonConfig(root->historyFile()), 0);
    QCOMPARE(addrNum, 2);
    QCOMPARE(addrlist[0].addr.size(), size);
}

void TestHistory::survivesRandomDamage()
{
    const QByteArray whole = documentText(numberedEntries(4));
    QRandomGenerator random(20230817);
    int loaded = 0;
    for (int round = 0; round < 2000; ++round) {
        QByteArray damaged = whole;
        for (int n = random.bounded(1, 4); n > 0; --n)
            damaged[random.bounded(damaged.size())] = char(random.bounded(256));
        resetSharedState();
        // Some disks take their time over a file cut short and written again.
        QFile::remove(root->historyFile());
        writeFile(root->historyFile(), damaged);
        const int result = readJsonConfig(root->historyFile());
        QVERIFY(result == 0 || (result == -1 && addrNum == 0));
        QVERIFY(addrNum >= 0 && addrNum <= 4);
        loaded += addrNum;
    }
    QVERIFY(loaded > 0 && loaded < 8000);
}

QTEST_GUILESS_MAIN(TestHistory)
#include "tst_history.moc"
