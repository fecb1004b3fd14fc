#include "common.h"
#include "testsupport.h"

#include <QtTest>

#include <optional>

class TestSettingsStore : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void noFile();
    void noFolder();
    void rootThatCannotBeWritten();
    void folderInPlaceOfTheFile();
    void brokenFile_data();
    void brokenFile();
    void shippedFile();
    void everyKey();
    void reloadReplacesEverything();
    void recordFileIsKept();
    void decodeFlag_data();
    void decodeFlag();
    void numbersAreNotClamped_data();
    void numbersAreNotClamped();
    void switches_data();
    void switches();
    void selectors_data();
    void selectors();
    void selectorOutOfRange_data();
    void selectorOutOfRange();
    void writingKeepsTheRest();
    void roundTrip_data();
    void roundTrip();
    void handWrittenCommaReadsAsEmpty();
    void nothingIsCachedBetweenCalls();

private:
    void writeSettings(const QByteArray &content) { writeFile(root->configFile(), content); }

    std::optional<InstallRoot> root;
};

void TestSettingsStore::init()
{
    resetSharedState();
    root.emplace();
}

void TestSettingsStore::cleanup() { root.reset(); }

void TestSettingsStore::noFile()
{
    ::decodeFlag = 2;
    firstStartFlag = 1;
    lastTimePlayFlag = true;
    emptyListCheckFlag = true;
    decodeSoftware = 1;
    screenShotPath = "old";
    playMode = 4;
    getDefaultConfig();
    QCOMPARE(defaultPlayPath, root->historyFile());
    QCOMPARE(::decodeFlag, 0);
    QCOMPARE(firstStartFlag, 0);
    QCOMPARE(defaultVolum, 0);
    QCOMPARE(lastTimePlayFlag, false);
    QCOMPARE(emptyListCheckFlag, false);
    QCOMPARE(decodeSoftware, 0);
    QCOMPARE(screenShotPath, QString());
    QCOMPARE(playMode, 0);
    QCOMPARE(readFile(root->configFile()),
             "[DEFAULT]\nrecord_file=" + root->historyFile().toUtf8() + '\n');
}

void TestSettingsStore::noFolder()
{
    startPath = root->path() + "/not/there";
    getDefaultConfig();
    QCOMPARE(defaultPlayPath, startPath + "/files/config/config.json");
    QCOMPARE(readFile(startPath + "/files/config/config.ini"),
             "[DEFAULT]\nrecord_file=" + defaultPlayPath.toUtf8() + '\n');
}

void TestSettingsStore::rootThatCannotBeWritten()
{
    startPath = "/proc/self/nowhere"; // not even root can write there
    LogCapture log;
    getDefaultConfig();
    setDefaultConfig("70", SettingDefaultVolum);
    QCOMPARE(defaultPlayPath, QString("/proc/self/nowhere/files/config/config.json"));
    QCOMPARE(defaultVolum, 0);
    QCOMPARE(log.lines(), QStringList());
}

void TestSettingsStore::folderInPlaceOfTheFile()
{
    QVERIFY(QDir().mkpath(root->configFile()));
    LogCapture log;
    getDefaultConfig();
    setDefaultConfig("1", SettingDecodeFlag);
    QCOMPARE(defaultPlayPath, root->historyFile());
    QCOMPARE(::decodeFlag, 0);
    QVERIFY(QFileInfo(root->configFile()).isDir());
    QCOMPARE(log.lines(), QStringList());
}

void TestSettingsStore::brokenFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("no section") << QByteArray("decode_flag=1\ndefault_volum=50\n");
    QTest::newRow("other section") << QByteArray("[default]\ndecode_flag=1\n[X]\nplay_mode=3\n");
    QTest::newRow("bytes") << QByteArray("\0\xff\xfe[\x80\n==\n[]\n=1\n\x1b", 15);
    QTest::newRow("long line") << QByteArray(1 << 20, 'x');
}

void TestSettingsStore::brokenFile()
{
    QFETCH(QByteArray, content);
    writeSettings(content);
    getDefaultConfig();
    QCOMPARE(defaultPlayPath, root->historyFile());
    QCOMPARE(::decodeFlag, 0);
    QCOMPARE(firstStartFlag, 0);
    QCOMPARE(defaultVolum, 0);
    QCOMPARE(playMode, 0);
}

void TestSettingsStore::shippedFile()
{
    writeSettings(readFile(SOURCE_DIR "/packaging/config.ini"));
    getDefaultConfig();
    QCOMPARE(firstStartFlag, 1);
    QCOMPARE(defaultVolum, 30);
    QCOMPARE(lastTimePlayFlag, true);
    QCOMPARE(::decodeFlag, 0);
    QCOMPARE(emptyListCheckFlag, false);
    QCOMPARE(screenShotPath, QString());
    QCOMPARE(playMode, 0);
    QCOMPARE(defaultPlayPath, root->historyFile());
}

void TestSettingsStore::everyKey()
{
    writeSettings("[DEFAULT]\nrecord_file=/a/history\nwidget_num=5\nrotation_interval=6\n"
                  "decode_flag=1\nfirst_start=7\ndefault_volum=64\ndefault_last_time=1\n"
                  "empty_list_exit=1\ndecode_software=1\nsnap_path=/shots/\nplay_mode=3\n");
    const QByteArray before = readFile(root->configFile());
    getDefaultConfig();
    QCOMPARE(defaultPlayPath, QString("/a/history"));
    QCOMPARE(::decodeFlag, 1);
    QCOMPARE(firstStartFlag, 7);
    QCOMPARE(defaultVolum, 64);
    QCOMPARE(lastTimePlayFlag, true);
    QCOMPARE(emptyListCheckFlag, true);
    QCOMPARE(decodeSoftware, 0); // never the other engine
    QCOMPARE(screenShotPath, QString("/shots/"));
    QCOMPARE(playMode, 3);
    QCOMPARE(readFile(root->configFile()), before); // nothing to repair, nothing written
}

void TestSettingsStore::reloadReplacesEverything()
{
    writeSettings("[DEFAULT]\nrecord_file=/a/history\ndecode_flag=2\n");
    decodeSoftware = 1;
    defaultVolum = 88;
    getDefaultConfig();
    QCOMPARE(defaultVolum, 0);
    QCOMPARE(decodeSoftware, 0);
    QCOMPARE(::decodeFlag, 2);
}

void TestSettingsStore::recordFileIsKept()
{
    writeSettings("[DEFAULT]\nrecord_file=\nplay_mode=2\n");
    getDefaultConfig(); // an empty path counts as none
    QCOMPARE(defaultPlayPath, root->historyFile());
    QCOMPARE(readFile(root->configFile()),
             "[DEFAULT]\nplay_mode=2\nrecord_file=" + root->historyFile().toUtf8() + '\n');
}

void TestSettingsStore::decodeFlag_data()
{
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<int>("loaded");
    QTest::newRow("0") << QByteArray("0") << 0;
    QTest::newRow("1") << QByteArray("1") << 1;
    QTest::newRow("2") << QByteArray("2") << 2;
    QTest::newRow("3") << QByteArray("3") << 2;
    QTest::newRow("7") << QByteArray("7") << 2;
    QTest::newRow("-1") << QByteArray("-1") << 2;
    QTest::newRow("text") << QByteArray("abc") << 0;
    QTest::newRow("empty") << QByteArray("") << 0;
    QTest::newRow("fraction") << QByteArray("1.5") << 0;
    QTest::newRow("huge") << QByteArray("99999999999") << 2;
}

void TestSettingsStore::decodeFlag()
{
    QFETCH(QByteArray, stored);
    writeSettings("[DEFAULT]\ndecode_flag=" + stored + '\n');
    getDefaultConfig();
    QTEST(::decodeFlag, "loaded");
}

void TestSettingsStore::numbersAreNotClamped_data()
{
    QTest::addColumn<QByteArray>("volume");
    QTest::addColumn<int>("loadedVolume");
    QTest::addColumn<QByteArray>("mode");
    QTest::addColumn<int>("loadedMode");
    QTest::newRow("ordinary") << QByteArray("100") << 100 << QByteArray("4") << 4;
    QTest::newRow("below") << QByteArray("-5") << -5 << QByteArray("-1") << -1;
    QTest::newRow("above") << QByteArray("250") << 250 << QByteArray("9") << 9;
    QTest::newRow("text") << QByteArray("loud") << 0 << QByteArray("x") << 0;
}

void TestSettingsStore::numbersAreNotClamped()
{
    QFETCH(QByteArray, volume);
    QFETCH(QByteArray, mode);
    writeSettings("[DEFAULT]\ndefault_volum=" + volume + "\nplay_mode=" + mode + '\n');
    getDefaultConfig();
    QTEST(defaultVolum, "loadedVolume");
    QTEST(playMode, "loadedMode");
}

void TestSettingsStore::switches_data()
{
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<bool>("on");
    QTest::newRow("0") << QByteArray("0") << false;
    QTest::newRow("1") << QByteArray("1") << true;
    QTest::newRow("2") << QByteArray("2") << true;
    QTest::newRow("-1") << QByteArray("-1") << true;
    QTest::newRow("word") << QByteArray("true") << false; // an integer is asked for
    QTest::newRow("empty") << QByteArray() << false;
}

void TestSettingsStore::switches()
{
    QFETCH(QByteArray, stored);
    QFETCH(bool, on);
    writeSettings("[DEFAULT]\ndefault_last_time=" + stored + '\n');
    getDefaultConfig();
    QCOMPARE(lastTimePlayFlag, on);
    QCOMPARE(emptyListCheckFlag, false);

    root.reset();
    root.emplace();
    writeSettings("[DEFAULT]\nempty_list_exit=" + stored + '\n');
    getDefaultConfig();
    QCOMPARE(emptyListCheckFlag, on);
    QCOMPARE(lastTimePlayFlag, false);
}

void TestSettingsStore::selectors_data()
{
    QTest::addColumn<int>("selector");
    QTest::addColumn<QByteArray>("key");
    QTest::newRow("0") << 0 << QByteArray("record_file");
    QTest::newRow("1") << 1 << QByteArray("widget_num");
    QTest::newRow("2") << 2 << QByteArray("rotation_interval");
    QTest::newRow("3") << 3 << QByteArray("decode_flag");
    QTest::newRow("4") << 4 << QByteArray("first_start");
    QTest::newRow("5") << 5 << QByteArray("default_volum");
    QTest::newRow("6") << 6 << QByteArray("default_last_time");
    QTest::newRow("7") << 7 << QByteArray("empty_list_exit");
    QTest::newRow("8") << 8 << QByteArray("decode_software");
    QTest::newRow("9") << 9 << QByteArray("snap_path");
    QTest::newRow("10") << 10 << QByteArray("play_mode");
}

void TestSettingsStore::selectors()
{
    QFETCH(int, selector);
    QFETCH(QByteArray, key);
    defaultPlayPath = "before";
    setDefaultConfig("42", selector);
    QCOMPARE(readFile(root->configFile()), "[DEFAULT]\n" + key + "=42\n");
    QCOMPARE(defaultPlayPath, QString(selector == 0 ? "42" : "before"));
    // Only the file is written; the live values belong to the callers.
    QCOMPARE(::decodeFlag, 0);
    QCOMPARE(firstStartFlag, 0);
    QCOMPARE(defaultVolum, 30);
    QCOMPARE(screenShotPath, QString());
    QCOMPARE(playMode, 0);
}

void TestSettingsStore::selectorOutOfRange_data()
{
    QTest::addColumn<int>("selector");
    for (const int selector : {11, 12, 1000, -1, INT_MAX, INT_MIN})
        QTest::addRow("%d", selector) << selector;
}

void TestSettingsStore::selectorOutOfRange()
{
    QFETCH(int, selector);
    const QByteArray content = "[DEFAULT]\nplay_mode=2\n";
    writeSettings(content);
    defaultPlayPath = "before";
    setDefaultConfig("x", selector);
    QCOMPARE(readFile(root->configFile()), content);
    QCOMPARE(defaultPlayPath, QString("before"));
}

void TestSettingsStore::writingKeepsTheRest()
{
    writeSettings("[DEFAULT]\nfirst_start=1\nsnap_path=/shots/\n\n[OTHER]\nkey=value\n");
    setDefaultConfig("0", SettingFirstStart);
    setDefaultConfig("55", SettingDefaultVolum);
    QCOMPARE(readFile(root->configFile()),
             QByteArray("[DEFAULT]\ndefault_volum=55\nfirst_start=0\nsnap_path=/shots/\n\n"
                        "[OTHER]\nkey=value\n"));
}

void TestSettingsStore::roundTrip_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("plain") << "/home/u/Pictures/" << QByteArray("snap_path=/home/u/Pictures/\n");
    QTest::newRow("Chinese and comma")
        << QString("/图,片/") << QByteArray("snap_path=\"/\\x56fe,\\x7247/\"\n");
    QTest::newRow("semicolon") << "/a;b/" << QByteArray("snap_path=\"/a;b/\"\n");
    QTest::newRow("equals") << "/a=b/" << QByteArray("snap_path=\"/a=b/\"\n");
    QTest::newRow("quote and backslash") << "/a\"b\\c/" << QByteArray("snap_path=/a\\\"b\\\\c/\n");
    QTest::newRow("blanks") << "/a  b / " << QByteArray("snap_path=\"/a  b / \"\n");
    QTest::newRow("percent") << "/a%20b/" << QByteArray("snap_path=/a%20b/\n");
    QTest::newRow("at sign") << "@a/" << QByteArray("snap_path=@@a/\n");
    QTest::newRow("empty") << "" << QByteArray("snap_path=\n");
}

void TestSettingsStore::roundTrip()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, line);
    setDefaultConfig(text, SettingSnapPath);
    QCOMPARE(readFile(root->configFile()), "[DEFAULT]\n" + line);
    getDefaultConfig();
    QCOMPARE(screenShotPath, text);
}

void TestSettingsStore::handWrittenCommaReadsAsEmpty()
{
    writeSettings("[DEFAULT]\nsnap_path=/a,b/\nplay_mode=2;not part of it\n");
    getDefaultConfig();
    QCOMPARE(screenShotPath, QString());
    QCOMPARE(playMode, 2);
}

void TestSettingsStore::nothingIsCachedBetweenCalls()
{
    setDefaultConfig("10", SettingDefaultVolum);
    getDefaultConfig();
    QCOMPARE(defaultVolum, 10);
    writeSettings("[DEFAULT]\ndefault_volum=20\nplay_mode=1\n"); // by somebody else
    getDefaultConfig();
    QCOMPARE(defaultVolum, 20);
    QCOMPARE(playMode, 1);
    QVERIFY(QFile::remove(root->configFile()));
    getDefaultConfig();
    QCOMPARE(defaultVolum, 0);
    QCOMPARE(playMode, 0);
}

QTEST_GUILESS_MAIN(TestSettingsStore)
#include "tst_settingsstore.moc"
