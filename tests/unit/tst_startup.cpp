#include "common.h"
#include "startup.h"
#include "testsupport.h"
#include "toolbench.h"

#include <QApplication>
#include <QtTest>

#include <cerrno>
#include <cstdio>
#include <optional>
#include <sys/wait.h>
#include <unistd.h>

// The URLs of the command line are kept for the life of the program on purpose.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the leak checker asks for it by this name
extern "C" const char *__lsan_default_suppressions();
extern "C" const char *__lsan_default_suppressions() { return "leak:storeCommandLineLocations\n"; }

namespace {

// Arguments as main gets them.
class CommandLine {
public:
    explicit CommandLine(const QList<QByteArray> &locations)
        : texts(locations)
    {
        texts.prepend("player");
        for (QByteArray &text : texts)
            pointers.append(text.data());
        pointers.append(nullptr);
    }
    QStringList files() { return commandLineFiles(texts.size(), pointers.data()); }
    bool filesFirst() { return filesComeFirst(texts.size(), pointers.data()); }
    void store() { storeCommandLineLocations(texts.size(), pointers.data()); }

private:
    QList<QByteArray> texts;
    QVector<char *> pointers;
};

// What the list's reader sees: everything up to the first empty slot.
QStringList storedLocations()
{
    QStringList locations;
    for (const QString &location : rBtnOpenFile) {
        if (location.isEmpty())
            break;
        locations << location;
    }
    return locations;
}

} // namespace

class TestStartup : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void noLocations();
    void locations_data();
    void locations();
    void emptyLocationEndsTheList_data();
    void emptyLocationEndsTheList();
    void numberOfLocations_data();
    void numberOfLocations();
    void storingTwiceForgetsTheFirst();
    void applicationOptionsAreNoLocations();
    void packageList_data();
    void packageList();
    void notTheFirstStart();
    void firstStartWithoutHardware_data();
    void firstStartWithoutHardware();
    void firstStartWithHardware_data();
    void firstStartWithHardware();
    void firstStartHappensOnce();
    void noPackageTool();
    void longPackageList_data();
    void longPackageList();
    void noProcessIsLeft();
    void fallBack();
    void filesOfTheCommandLine_data();
    void filesOfTheCommandLine();
    void whatComesBeforeTheFiles_data();
    void whatComesBeforeTheFiles();

private:
    int packageToolRuns() const { return tools->dpkgCalls().size(); }

    std::optional<InstallRoot> root;
    std::optional<StandInTools> tools;
};

void TestStartup::init()
{
    resetSharedState();
    root.emplace();
    tools.emplace();
}

void TestStartup::cleanup()
{
    tools.reset();
    root.reset();
}

void TestStartup::noLocations()
{
    rBtnOpenFile[0] = "old";
    rBtnOpenFile[98] = "old";
    CommandLine({}).store();
    for (const QString &location : rBtnOpenFile)
        QCOMPARE(location, QString());
    storeCommandLineLocations(0, nullptr);
    QCOMPARE(rBtnOpenFile[0], QString());
}

void TestStartup::locations_data()
{
    QTest::addColumn<QByteArray>("argument");
    QTest::addColumn<QString>("location");
    const auto row = [](const char *argument, const QString &location) {
        QTest::newRow(argument) << QByteArray(argument) << location;
    };
    row("a.mp4", "a.mp4");
    row("/home/u/a b.mp4", "/home/u/a b.mp4");
    row("/视频/片.mp4", QString("/视频/片.mp4"));
    row("file:///home/u/a.mp4", "file:///home/u/a.mp4");
    row("file:///home/%E4%B8%AD.mp4", QString("file:///home/中.mp4"));
    row("rtsp://u@10.0.0.1:554/live?x=1", "rtsp://u@10.0.0.1:554/live?x=1");
    row("rtmp://host/app/stream", "rtmp://host/app/stream");
    row("/x/../y#1?z", "/x/../y#1?z");
    // Characters that no URL may hold come out encoded.
    row("a\"b", "a%22b");
    row("a\\b", "a%5Cb");
    row("a<b>", "a%3Cb%3E");
    row("a{b}", "a%7Bb%7D");
    row("a|b", "a%7Cb");
    row("a^b", "a%5Eb");
    row("a`b", "a%60b");
    QTest::newRow("line feed") << QByteArray("a\nb") << "a%0Ab";
    // What looks encoded is decoded, where that is not ambiguous.
    row("/x/%20a", "/x/ a");
    row("/x/%41", "/x/A");
    row("/x/%25", "/x/%25");
    row("/x/100%.mp4", "/x/100%25.mp4");
    row("/x/%zz", "/x/%25zz");
    row("Movie:1.mp4", "movie:1.mp4"); // a scheme
}

void TestStartup::locations()
{
    QFETCH(QByteArray, argument);
    QFETCH(QString, location);
    CommandLine({argument}).store();
    QCOMPARE(storedLocations(), QStringList{location});
}

void TestStartup::emptyLocationEndsTheList_data()
{
    QTest::addColumn<QByteArray>("argument");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("number as scheme") << QByteArray("1:2.mp4");
    QTest::newRow("bad host") << QByteArray("http://[bad");
}

void TestStartup::emptyLocationEndsTheList()
{
    QFETCH(QByteArray, argument);
    CommandLine({"a.mp4", argument, "b.mp4"}).store();
    QCOMPARE(storedLocations(), QStringList{"a.mp4"});
    QCOMPARE(rBtnOpenFile[1], QString());
    QCOMPARE(rBtnOpenFile[2], QString("b.mp4")); // it keeps its slot
}

void TestStartup::numberOfLocations_data()
{
    QTest::addColumn<int>("given");
    QTest::addColumn<int>("stored");
    QTest::newRow("1") << 1 << 1;
    QTest::newRow("97") << 97 << 97;
    QTest::newRow("98") << 98 << 98;
    QTest::newRow("99") << 99 << 98;
    QTest::newRow("150") << 150 << 98;
}

void TestStartup::numberOfLocations()
{
    QFETCH(int, given);
    QFETCH(int, stored);
    QList<QByteArray> arguments;
    QStringList expected;
    for (int i = 1; i <= given; ++i) {
        arguments << QByteArray::number(i) + ".mp4";
        if (i <= stored)
            expected << QString::number(i) + ".mp4";
    }
    CommandLine(arguments).store();
    QCOMPARE(storedLocations(), expected);
    QCOMPARE(rBtnOpenFile[98], QString()); // always ends the list
}

void TestStartup::storingTwiceForgetsTheFirst()
{
    CommandLine({"a", "b", "c"}).store();
    CommandLine({"d"}).store();
    QCOMPARE(storedLocations(), QStringList{"d"});
    QCOMPARE(rBtnOpenFile[2], QString());
}

// Needs an application object made from a command line, so it runs in a process of its own.
void TestStartup::applicationOptionsAreNoLocations()
{
    QProcess child;
    child.setProcessChannelMode(QProcess::SeparateChannels);
    child.start(
        QCoreApplication::applicationFilePath(),
        {"--print-locations", "-style", "fusion", "a.mp4", "-platform", "offscreen", "b.mp4"});
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.exitCode(), 0);
    QCOMPARE(child.readAllStandardOutput(), QByteArray("a.mp4\nb.mp4\n"));
}

void TestStartup::packageList_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("count");
    QTest::newRow("empty") << "" << 0;
    QTest::newRow("blanks") << "    " << 0;
    QTest::newRow("driver") << "ii  vdpau-driver-all:amd64  1.5  amd64  driver" << 1;
    QTest::newRow("library") << "ii  libvdpau1:amd64  1.5  amd64  library" << 1;
    QTest::newRow("names alone") << "vdpau-driver-all libvdpau1" << 2;
    QTest::newRow("both in a list")
        << "ii  libvdpau1:amd64 1.5 amd64 lib\nii  vdpau-driver-all:amd64 1.5 amd64 driver\n"
        << 2;
    QTest::newRow("longer names") << "x libvdpau1000 vdpau-driver-allover" << 2;
    QTest::newRow("shorter names") << "x libvdpau vdpau-driver-al" << 0;
    QTest::newRow("other packages") << "ii  libvdpau-va-gl1:amd64 mesa-vdpau-drivers:amd64" << 0;
    QTest::newRow("inside a word") << "x xlibvdpau1 nvdpau-driver-all" << 0;
    QTest::newRow("capitals") << "x Libvdpau1 VDPAU-driver-all" << 0;
    QTest::newRow("after a line feed") << "ii x\nvdpau-driver-all y\nlibvdpau1 z" << 0;
    QTest::newRow("after a tab") << "ii\tlibvdpau1" << 0;
}

void TestStartup::packageList()
{
    QFETCH(QString, text);
    QFETCH(int, count);
    LogCapture log;
    QCOMPARE(checkVdpauSurport(text), count >= 1);
    QCOMPARE(log.lines(), QStringList{QString("checked count= %1").arg(count)});
}

void TestStartup::notTheFirstStart()
{
    tools->setDpkgOutput("");
    ::decodeFlag = 2;
    LogCapture log;
    QVERIFY(passFirstStart());
    QCOMPARE(packageToolRuns(), 0);
    QVERIFY(!QFile::exists(root->configFile()));
    QCOMPARE(log.lines(), QStringList());
}

void TestStartup::firstStartWithoutHardware_data()
{
    QTest::addColumn<int>("mode");
    QTest::newRow("software") << 0;
    QTest::newRow("threads") << 1;
}

void TestStartup::firstStartWithoutHardware()
{
    QFETCH(int, mode);
    tools->setDpkgOutput("");
    decodeFlag = mode;
    firstStartFlag = 1;
    QVERIFY(passFirstStart());
    QCOMPARE(packageToolRuns(), 0);
    QCOMPARE(readFile(root->configFile()), QByteArray("[DEFAULT]\nfirst_start=0\n"));
    QCOMPARE(decodeFlag, mode);
}

void TestStartup::firstStartWithHardware_data()
{
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<bool>("passed");
    QTest::newRow("no packages") << QByteArray() << false;
    QTest::newRow("driver") << QByteArray("ii  vdpau-driver-all:amd64  1.5  vdpau driver\n")
                            << true;
    QTest::newRow("library") << QByteArray("ii  libvdpau1:amd64  1.5  vdpau library\n") << true;
    // Lines without "vdpau" do not even count towards the length that is read.
    QTest::newRow("late in a long list")
        << QByteArray(20000, 'x') + '\n' + QByteArray("ii  libvdpau1  x\n").repeated(2) << true;
    QTest::newRow("others") << QByteArray("ii  mesa-vdpau-drivers  vdpau stuff\nii  vlc x\n")
                            << false;
}

void TestStartup::firstStartWithHardware()
{
    QFETCH(QByteArray, output);
    QFETCH(bool, passed);
    tools->setDpkgOutput(output);
    ::decodeFlag = 2;
    firstStartFlag = 1;
    LogCapture log;
    QCOMPARE(passFirstStart(), passed);
    QCOMPARE(tools->dpkgCalls(), QList<QByteArrayList>{{"-l"}});
    QCOMPARE(log.lines().value(0), QString("dpkg -l|grep vdpau "));
    QCOMPARE(readFile(root->configFile()), QByteArray("[DEFAULT]\nfirst_start=0\n"));
    QCOMPARE(::decodeFlag, 2); // the caller's turn
}

void TestStartup::firstStartHappensOnce()
{
    tools->setDpkgOutput("");
    writeFile(root->configFile(), "[DEFAULT]\nfirst_start=1\ndecode_flag=2\n");
    getDefaultConfig();
    QVERIFY(!passFirstStart());
    fallBackToSoftwareDecoding();
    QCOMPARE(packageToolRuns(), 1);

    getDefaultConfig(); // the next start
    QCOMPARE(firstStartFlag, 0);
    QCOMPARE(::decodeFlag, 1);
    QVERIFY(passFirstStart());
    QCOMPARE(packageToolRuns(), 1);
    QCOMPARE(readFile(root->configFile()),
             "[DEFAULT]\ndecode_flag=1\nfirst_start=0\nrecord_file=" +
                 root->historyFile().toUtf8() + '\n');
}

void TestStartup::noPackageTool()
{
    EnvironmentVariable nothing("PATH", "/nonexistent");
    ::decodeFlag = 2;
    firstStartFlag = 1;
    QVERIFY(!passFirstStart());
}

void TestStartup::longPackageList_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<bool>("passed");
    QTest::newRow("last place that fits") << 9998 - 9 << true;
    QTest::newRow("one byte too far") << 9998 - 8 << false;
    QTest::newRow("far beyond") << 500000 << false;
}

void TestStartup::longPackageList()
{
    QFETCH(int, offset);
    QFETCH(bool, passed);
    QByteArray output = "vdpau ";
    output += QByteArray(offset - output.size() - 1, 'x') + " libvdpau1 end\n";
    QCOMPARE(output.indexOf("libvdpau1"), offset);
    tools->setDpkgOutput(output);
    ::decodeFlag = 2;
    firstStartFlag = 1;
    QCOMPARE(passFirstStart(), passed);
}

void TestStartup::noProcessIsLeft()
{
    tools->setDpkgOutput("ii  libvdpau1  vdpau \n");
    ::decodeFlag = 2;
    firstStartFlag = 1;
    QVERIFY(passFirstStart());
    errno = 0;
    QCOMPARE(waitpid(-1, nullptr, WNOHANG), -1); // no child, not even a finished one
    QCOMPARE(errno, ECHILD);
}

void TestStartup::fallBack()
{
    writeFile(root->configFile(), "[DEFAULT]\ndecode_flag=2\nfirst_start=0\n");
    ::decodeFlag = 2;
    fallBackToSoftwareDecoding();
    QCOMPARE(::decodeFlag, 1); // with threads, not the plain one
    QCOMPARE(readFile(root->configFile()), QByteArray("[DEFAULT]\ndecode_flag=1\nfirst_start=0\n"));
}

void TestStartup::filesOfTheCommandLine_data()
{
    QTest::addColumn<QList<QByteArray>>("arguments");
    QTest::addColumn<QStringList>("files");
    using Arguments = QList<QByteArray>;
    QTest::newRow("none") << Arguments() << QStringList();
    QTest::newRow("one") << Arguments{"/f/a.mp4"} << QStringList{"/f/a.mp4"};
    QTest::newRow("an address and a name")
        << Arguments{"rtsp://h/s?a=b", "b c.mp4"} << QStringList{"rtsp://h/s?a=b", "b c.mp4"};
    QTest::newRow("decoded") << Arguments{"/f/%41%20b.mp4"} << QStringList{"/f/A b.mp4"};
    QTest::newRow("nothing behind an empty one")
        << Arguments{"a.mp4", "", "c.mp4"} << QStringList{"a.mp4"};
    QTest::newRow("an empty one first") << Arguments{"", "c.mp4"} << QStringList();
    Arguments many;
    QStringList most;
    for (int i = 0; i < 150; i++) {
        many << QByteArray::number(i);
        if (i < 98)
            most << many.last();
    }
    QTest::newRow("too many") << many << most;
}

// What is read ahead is what the window then asks for.
void TestStartup::filesOfTheCommandLine()
{
    QFETCH(QList<QByteArray>, arguments);
    QFETCH(QStringList, files);
    CommandLine line(arguments);
    QCOMPARE(line.files(), files);
    line.store();
    QStringList asked;
    for (const QString &location : storedLocations())
        asked << checkInputFileName(location);
    QCOMPARE(asked, files);
}

void TestStartup::whatComesBeforeTheFiles_data()
{
    QTest::addColumn<QList<QByteArray>>("arguments");
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<bool>("filesFirst");
    using Arguments = QList<QByteArray>;
    const QByteArray later = "first_start=0\ndecode_flag=2\n";
    QTest::newRow("a file") << Arguments{"a.mp4"} << later << true;
    QTest::newRow("no file") << Arguments() << later << false;
    QTest::newRow("an option first") << Arguments{"-style", "x", "a.mp4"} << later << false;
    QTest::newRow("an option last") << Arguments{"a.mp4", "-x"} << later << false;
    QTest::newRow("a minus inside") << Arguments{"a-b.mp4"} << later << true;
    QTest::newRow("first start, hardware")
        << Arguments{"a.mp4"} << QByteArray("first_start=1\ndecode_flag=2\n") << false;
    QTest::newRow("first start, a mode that means hardware")
        << Arguments{"a.mp4"} << QByteArray("first_start=1\ndecode_flag=7\n") << false;
    QTest::newRow("first start, software")
        << Arguments{"a.mp4"} << QByteArray("first_start=1\ndecode_flag=1\n") << true;
    QTest::newRow("no settings") << Arguments{"a.mp4"} << QByteArray() << true;
}

void TestStartup::whatComesBeforeTheFiles()
{
    QFETCH(QList<QByteArray>, arguments);
    QFETCH(QByteArray, settings);
    QFETCH(bool, filesFirst);
    if (!settings.isEmpty())
        writeFile(root->configFile(), "[DEFAULT]\n" + settings);
    const QByteArray before = readFile(root->configFile());
    LogCapture log;
    QCOMPARE(CommandLine(arguments).filesFirst(), filesFirst);
    QCOMPARE(readFile(root->configFile()), before);
    QCOMPARE(log.lines(), QStringList());
    // As passFirstStart() would see it.
    getDefaultConfig();
    QVERIFY(!filesFirst || firstStartFlag == 0 || ::decodeFlag != DecodeHardware);
}

// Start-up's way from the command line to the list, printed.
[[noreturn]] static void printLocations(int argc, char *argv[])
{
    QApplication application(argc, argv);
    storeCommandLineLocations(argc, argv);
    for (const QString &location : storedLocations())
        puts(location.toLocal8Bit().constData());
    fflush(stdout);
    _exit(0); // what Qt's plug-ins leave behind is nothing to look at here
}

int main(int argc, char *argv[])
{
    if (argc > 1 && qstrcmp(argv[1], "--print-locations") == 0) {
        argv[1] = argv[0];
        printLocations(argc - 1, argv + 1);
    }
    QCoreApplication application(argc, argv);
    TestStartup test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_startup.moc"
