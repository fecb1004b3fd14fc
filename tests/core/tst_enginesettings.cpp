#include "enginesettings.h"
#include "state.h"
#include "testsupport.h"

#include <QDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

class TestEngineSettings : public QObject {
    Q_OBJECT

private slots:
    void init();

    void foldersOfAPerson_data();
    void foldersOfAPerson();
    void environmentOfTheEngine_data();
    void environmentOfTheEngine();
    void partsInTheirOrder();
    void outputsOfAMachine_data();
    void outputsOfAMachine();
    void followsWhatThePersonHas();
    void nobodyElseReadsIt();
    void leftAloneWhereNothingIsNew();
    void withoutAFolder_data();
    void withoutAFolder();
    void ofThisProcess();
    void settingsOfTheInstallation();

private:
    QString made() const { return folders.together + "/config"; }

    QScopedPointer<QTemporaryDir> base;
    EngineFolders folders;
};

void TestEngineSettings::init()
{
    base.reset(new QTemporaryDir);
    folders = {base->filePath("ours"), base->filePath("theirs"), base->filePath("a/b/together"),
               base->filePath("devices")};
    writeFile(folders.ours + "/config", "[a]\nx=1\n");
    writeFile(folders.devices + "/dri/renderD128", "");
}

void TestEngineSettings::foldersOfAPerson_data()
{
    QTest::addColumn<QStringList>("variables");
    QTest::addColumn<QString>("theirs");
    QTest::addColumn<QString>("together");
    const QString inCache = "/com.quelmark.player/engine";
    QTest::newRow("usual") << QStringList{"HOME=/h"} << "/h/.mplayer"
                           << "/h/.cache" + inCache;
    QTest::newRow("a cache of its own")
        << QStringList{"HOME=/h", "XDG_CACHE_HOME=/c d"} << "/h/.mplayer"
        << "/c d" + inCache;
    QTest::newRow("no place for a cache")
        << QStringList{"HOME=/h", "XDG_CACHE_HOME=c"} << "/h/.mplayer"
        << "/h/.cache" + inCache;
    QTest::newRow("nobody's home") << QStringList{} << ""
                                   << "";
    QTest::newRow("empty home") << QStringList{"HOME="} << ""
                                << "";
}

void TestEngineSettings::foldersOfAPerson()
{
    QFETCH(QStringList, variables);
    QProcessEnvironment environment;
    for (const QString &variable : variables)
        environment.insert(variable.section('=', 0, 0), variable.section('=', 1));
    const EngineFolders found = engineFolders(environment);
    QCOMPARE(found.ours, startPath + "/files/engine");
    QTEST(found.theirs, "theirs");
    QTEST(found.together, "together");
    QCOMPARE(found.devices, QString("/dev"));
}

void TestEngineSettings::environmentOfTheEngine_data()
{
    QTest::addColumn<QStringList>("own");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("usual") << QStringList{"A=b c", "HOME=/h"} << "/f"
                           << QStringList{"A=b c", "FC_LANG=zh-cn", "HOME=/h", "MPLAYER_HOME=/f"};
    QTest::newRow("no folder") << QStringList{"HOME=/h"} << ""
                               << QStringList{"FC_LANG=zh-cn", "HOME=/h"};
    QTest::newRow("a language of the person's")
        << QStringList{"FC_LANG=ja"} << "/f" << QStringList{"FC_LANG=ja", "MPLAYER_HOME=/f"};
    QTest::newRow("a folder of the person's") << QStringList{"MPLAYER_HOME=/mine"} << "/f"
                                              << QStringList{"FC_LANG=zh-cn", "MPLAYER_HOME=/mine"};
    QTest::newRow("both, empty") << QStringList{"FC_LANG=", "MPLAYER_HOME="} << "/f"
                                 << QStringList{"FC_LANG=", "MPLAYER_HOME="};
}

void TestEngineSettings::environmentOfTheEngine()
{
    QFETCH(QStringList, own);
    QFETCH(QString, folder);
    QProcessEnvironment environment;
    for (const QString &variable : own)
        environment.insert(variable.section('=', 0, 0), variable.section('=', 1));
    QStringList result = engineEnvironment(environment, folder).toStringList();
    result.sort();
    QTEST(result, "expected");
}

void TestEngineSettings::partsInTheirOrder()
{
    QCOMPARE(engineSettingsFolder(folders, 30), folders.together);
    QCOMPARE(readFile(made()), QByteArray("[a]\nx=1\n\n[default]\nvolume=30\n[default]\n"));
    for (int volume : {101, 5000}) {
        QCOMPARE(engineSettingsFolder(folders, volume), folders.together);
        QVERIFY(readFile(made()).contains("\nvolume=100\n")); // as far as the slider goes
    }
    writeFile(folders.theirs + "/config", "ao=alsa\n[b]\ny=2");
    QCOMPARE(engineSettingsFolder(folders, 0), folders.together);
    QVERIFY(readFile(made()).endsWith("volume=0\n[default]\nao=alsa\n[b]\ny=2"));
}

void TestEngineSettings::outputsOfAMachine_data()
{
    QTest::addColumn<QStringList>("devices");
    QTest::addColumn<QByteArray>("outputs");
    const QByteArray noOpenGl = "vo=vdpau,xv,x11,\n";
    QTest::newRow("nothing") << QStringList{} << noOpenGl;
    QTest::newRow("others") << QStringList{"null", "input/mice", "renderD128"} << noOpenGl;
    QTest::newRow("a screen's memory") << QStringList{"fb0", "dri/card0"} << noOpenGl;
    QTest::newRow("a kernel driver") << QStringList{"dri/card0", "dri/renderD128"} << QByteArray();
    QTest::newRow("the second card's") << QStringList{"dri/renderD129"} << QByteArray();
    QTest::newRow("NVIDIA's driver") << QStringList{"nvidia0", "nvidiactl"} << QByteArray();
    QTest::newRow("a Windows host") << QStringList{"dxg"} << QByteArray();
}

// The person's choice comes later, so it counts.
void TestEngineSettings::outputsOfAMachine()
{
    QFETCH(QStringList, devices);
    QFETCH(QByteArray, outputs);
    QVERIFY(QDir(folders.devices).removeRecursively());
    for (const QString &device : devices)
        writeFile(folders.devices + '/' + device, "");
    writeFile(folders.theirs + "/config", "vo=sdl\n");
    QCOMPARE(engineSettingsFolder(folders, 30), folders.together);
    QCOMPARE(readFile(made()),
             "[a]\nx=1\n\n[default]\n" + outputs + "volume=30\n[default]\nvo=sdl\n");
}

// Fonts, keys, settings of single films: nothing that the engine would look for is lost.
void TestEngineSettings::followsWhatThePersonHas()
{
    writeFile(folders.theirs + "/config", "ao=alsa\n");
    writeFile(folders.theirs + "/input.conf", "x seek 1\n");
    writeFile(folders.theirs + "/字 幕.mp4.conf", "y=1\n");
    writeFile(folders.theirs + "/.hidden", "z\n");
    writeFile(folders.theirs + "/sub/film.srt", "1\n");
    QCOMPARE(engineSettingsFolder(folders, 30), folders.together);
    QVERIFY(!QFileInfo(made()).isSymLink());
    for (const char *name : {"/input.conf", "/字 幕.mp4.conf", "/.hidden", "/sub/film.srt"})
        QCOMPARE(readFile(folders.together + name), readFile(folders.theirs + name));

    QVERIFY(QFile::remove(folders.theirs + "/input.conf"));
    QVERIFY(QFile::remove(folders.theirs + "/config"));
    writeFile(folders.theirs + "/codecs.conf", "c\n");
    QVERIFY(QFile::remove(folders.together + "/.hidden"));
    QVERIFY(QFile::link("/nowhere", folders.together + "/.hidden"));
    QCOMPARE(engineSettingsFolder(folders, 30), folders.together);
    QCOMPARE(QDir(folders.together)
                 .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                            QDir::Name),
             QStringList({".hidden", "codecs.conf", "config", "sub", "字 幕.mp4.conf"}));
    QCOMPARE(readFile(folders.together + "/.hidden"), QByteArray("z\n"));
    QVERIFY(!readFile(made()).contains("ao="));
}

void TestEngineSettings::nobodyElseReadsIt()
{
    QVERIFY(QDir().mkpath(folders.together));
    QCOMPARE(chmod(QFile::encodeName(folders.together).constData(), 0755), 0);
    QCOMPARE(engineSettingsFolder(folders, 30), folders.together);
    struct stat status = {};
    QCOMPARE(stat(QFile::encodeName(folders.together).constData(), &status), 0);
    QCOMPARE(int(status.st_mode & 0777), 0700);
}

void TestEngineSettings::leftAloneWhereNothingIsNew()
{
    writeFile(folders.theirs + "/input.conf", "x seek 1\n");
    QCOMPARE(engineSettingsFolder(folders, 30), folders.together);
    const auto inode = [](const QString &name) {
        struct stat status = {};
        return lstat(QFile::encodeName(name).constData(), &status) == 0 ? status.st_ino : 0;
    };
    const auto config = inode(made());
    const auto link = inode(folders.together + "/input.conf");
    QVERIFY(config != 0 && link != 0);
    QCOMPARE(engineSettingsFolder(folders, 30), folders.together);
    QCOMPARE(inode(made()), config);
    QCOMPARE(inode(folders.together + "/input.conf"), link);
    QCOMPARE(engineSettingsFolder(folders, 31), folders.together);
    QVERIFY(inode(made()) != config);
    QVERIFY(readFile(made()).contains("\nvolume=31\n"));
}

void TestEngineSettings::withoutAFolder_data()
{
    QTest::addColumn<QString>("what");
    for (const char *what : {"nothing of ours", "no home", "a file in its place", "a pipe",
                             "a folder for a file", "a huge file"})
        QTest::newRow(what) << what;
}

// The engine then looks by itself, as if nothing had come with the player.
void TestEngineSettings::withoutAFolder()
{
    QFETCH(QString, what);
    QVERIFY(QDir().mkpath(folders.theirs));
    const QString theirs = folders.theirs + "/config";
    if (what == "nothing of ours")
        QVERIFY(QFile::remove(folders.ours + "/config"));
    else if (what == "no home")
        folders.theirs = folders.together = QString();
    else if (what == "a file in its place")
        writeFile(base->filePath("a"), "x");
    else if (what == "a pipe")
        QCOMPARE(mkfifo(QFile::encodeName(theirs).constData(), 0600), 0);
    else if (what == "a folder for a file")
        QVERIFY(QDir().mkpath(theirs));
    else
        writeFile(theirs, QByteArray((1 << 20) + 1, '#'));
    QCOMPARE(engineSettingsFolder(folders, 30), QString());
}

void TestEngineSettings::ofThisProcess()
{
    const InstallRoot root;
    const EnvironmentVariable home("HOME", QFile::encodeName(base->path()));
    const QString together = base->filePath(".cache/com.quelmark.player/engine");
    QVERIFY(!engineEnvironment(30).contains("MPLAYER_HOME"));
    QVERIFY(!QFile::exists(together));
    writeFile(root.path() + "/files/engine/config", "[a]\n");
    {
        const EnvironmentVariable mine("MPLAYER_HOME", "/mine");
        QCOMPARE(engineEnvironment(30).value("MPLAYER_HOME"), QString("/mine"));
        QVERIFY(!QFile::exists(together));
    }
    const EnvironmentVariable other("PLAYER_TEST", "a b");
    const QProcessEnvironment environment = engineEnvironment(44);
    QCOMPARE(environment.value("MPLAYER_HOME"), together);
    QCOMPARE(environment.value("FC_LANG"), QString("zh-cn"));
    QCOMPARE(environment.value("PLAYER_TEST"), QString("a b"));
    QVERIFY(readFile(together + "/config").contains("\nvolume=44\n"));
}

// Each line of the file that comes with the player says something, and each section that others
// refer to is there before them.
void TestEngineSettings::settingsOfTheInstallation()
{
    QSet<QString> sections;
    QSet<QString> endings;
    QString section;
    const QStringList lines =
        QString::fromUtf8(readFile(SOURCE_DIR "/packaging/engine/config")).split('\n');
    for (const QString &line : lines) {
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        if (line.startsWith('[')) {
            section = line.mid(1, line.size() - 2);
            sections << section;
            if (section.startsWith("extension."))
                endings << section.mid(10);
            continue;
        }
        QVERIFY2(line.contains('=') && !section.isEmpty(), qPrintable(line));
        if (line.startsWith("profile="))
            QVERIFY2(sections.contains(line.mid(8)), qPrintable(line));
    }
    for (const char *ending : {"mp4", "wmv", "avi", "flv", "rmvb", "mov", "mkv", "webm", "ts",
                               "m2ts", "mpg", "mpeg", "vob"}) {
        QVERIFY2(endings.contains(ending), ending);
        QVERIFY2(endings.contains(QString(ending).toUpper()), ending);
    }
}

QTEST_GUILESS_MAIN(TestEngineSettings)
#include "tst_enginesettings.moc"
