// The probe with a stand-in ffprobe: command and quoting, reading the output, refusal.
#include "common.h"
#include "mediaprobe.h"
#include "oneprocessor.h"
#include "ownprocess.h"
#include "proberecord.h"
#include "processes.h"
#include "terminationnotifier.h"
#include "testsupport.h"
#include "toolbench.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QTextCodec>
#include <QtTest>

#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

namespace {

// The stand-in ffprobe, and an empty working folder while it lives.
class StubProbe {
public:
    StubProbe()
        : previousFolder(QDir::currentPath())
    {
        setAnswer("{\n    \"streams\": [\n    ]\n}\n");
        QDir::setCurrent(work.path());
    }
    ~StubProbe() { QDir::setCurrent(previousFolder); }

    void setAnswer(const QByteArray &text) { tools.setProbeAnswer(text); }

    // What the tool was called with since the last call of this.
    QList<QByteArray> arguments()
    {
        QList<QByteArray> all;
        const QList<QByteArrayList> calls = tools.probeCalls();
        while (told < calls.size())
            all += calls.at(told++);
        return all;
    }

    // How often it was called since the last call of arguments(). While it is held up, so many run.
    int calls() const { return tools.probeCalls().size() - told; }
    bool wasCalled() const { return calls() > 0; }

    // The files it was called with since the last call of arguments() or of this.
    QByteArrayList files()
    {
        QByteArrayList all;
        const QList<QByteArray> words = arguments();
        for (int i = 3; i < words.size(); i += 4)
            all << words.at(i);
        return all;
    }

    // From now on it answers only when it may go on.
    void holdUp() { tools.holdProbes(true); }
    void goOn() { tools.holdProbes(false); }
    // That file's probe never answers.
    void hangOn(const QString &file) { tools.setProbeScriptFor(file, "sleep 1000"); }
    int running() const
    {
        const QByteArray program = QFile::encodeName(tools.folder()) + "/ffprobe";
        const QList<qint64> all = Processes::withProgram("/bin/sh");
        return int(std::count_if(all.begin(), all.end(), [&](qint64 process) {
            return Processes::arguments(process).value(1) == program;
        }));
    }

    QStringList strayFiles() const
    {
        return QDir(work.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

private:
    StandInTools tools;
    QTemporaryDir work;
    QString previousFolder;
    int told = 0;
};

QStringList numberedFiles(int count)
{
    QStringList files;
    for (int i = 0; i < count; i++)
        files << QString("/%1.mp4").arg(i);
    return files;
}

QByteArrayList inBytes(const QStringList &files)
{
    QByteArrayList names;
    for (const QString &file : files)
        names << file.toUtf8();
    return names;
}

// What a shell, a format or a toolkit could take for more than a part of a name.
// clang-format off
const char *const hostileParts[] = {
    "\"", "\\", "$", "`", "'", "\"\"", "\\\\", "\\\"", "$(touch pwn)", "`touch pwn`",
    "\";touch pwn;\"", "\"$(touch pwn)\"", "'; touch pwn; '", "$HOME", "${HOME}", "$$",
    "$((1+1))", "\\$(touch pwn)", "\\`touch pwn\\`", "\\\"; touch pwn; \\\"", ";touch pwn",
    "|touch pwn", "&touch pwn&", "&&touch pwn", "||touch pwn", ">pwn", "<pwn", ">>pwn", "2>pwn",
    "\ntouch pwn\n", "\n", "\r\n", "\t", " ", "  ", "*", "?", "[a-z]", "{a,b}", "~", "~root", "!",
    "!!", "#", "# x", "%", "%20", "%41", "%s%n", "%00", "=", "+", "^", ",", ":", "@", "(", ")",
    "<b>x</b>", "\x01", "\x7f", "\x1b[31m", "中文", "日本語", "é", "e\u0301", "\u202e", "\u00a0",
    "\u200b", "\ufeff", "\xF0\x9F\x8E\xAC", "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB", "\\n",
    "\\0", "\\x41", "$'\\n'", "$\"x\"", "IFS", "$IFS", "${IFS}", "$(", "${", "`\"", "\"`", "$\\",
    "\\$", "$`", "`$(", ")`", "EOF\n", "<<EOF", "$0", "$@", "$*", "$#", "$?", "$!", "$-", "$_",
};

// What could be taken for an option, a folder or an address.
const char *const hostileWholes[] = {
    "-", "--", "-version", "-h", "-i x", "--help", "-o pwn", ".", "..", "/", "", " ",
    "file:///a%20b", "http://u:p@h/?a=b&c=d#e", "rtsp://h/s?x=$(touch pwn)", "a:b", "C:\\x\\",
    "con", "\\", "\"", "$", "`",
};
// clang-format on

QStringList hostileNames()
{
    QStringList names;
    for (const char *name : hostileWholes)
        names << name;
    for (const QString part : hostileParts) {
        names << part + ".mp4";
        names << "/home/u/a" + part + "b" + part;
    }
    QString longName = "/home/u/";
    while (longName.size() < 8 + 251)
        longName += "$\"`\\"[longName.size() % 4];
    names << longName + ".mp4"; // 255 bytes of file name
    names << QString(85, QChar(0x4e2d)); // 255 bytes in UTF-8
    names.removeDuplicates();
    return names;
}

} // namespace

class TestMediaProbe : public QObject {
    Q_OBJECT

private slots:
    void init() { resetSharedState(); }
    void cleanup() { endProbesAhead(); }

    void commandOfOrdinaryNames_data();
    void commandOfOrdinaryNames();
    void commandEscapesFourCharacters();
    void nameWithNulIsRefused();
    void hostileNamesReachTheToolAsTheyAre();
    void unrepresentableNamesReachTheToolConverted();
    void charsetsThatHideSigns();

    void outputIsLimited_data();
    void outputIsLimited();
    void outputIsCollectedUntilTheEnd();
    void standardErrorIsNotRead();
    void nothingIsLeftBehind();
    void unstartableCommandGivesNothing();

    void probeFillsAndLogs();
    void probeResetsFirst();
    void probeDropsOtherLines();
    void refusedOutputs_data();
    void refusedOutputs();
    void longOutputIsRefused();

    void aheadIsTakenOnce();
    void aheadOfFewIsTheFirst();
    void aheadOfManyAsManyAsProcessors();
    void aheadOfManyOnOneProcessor();
    void aheadOfManyIsDoneBeforeTheFirstIsPlayed();
    void aheadOfManyBatchAfterBatch();
    void aheadDoesNotWaitForASlowOne();
    void aheadEndsWithASignal();
    void aheadOfOthers();
    void aheadAndNotAskedFor();
};

void TestMediaProbe::commandOfOrdinaryNames_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name :
         {"/home/u/a b.mp4", "/a.mp4", "a.mp4", "/中文/片.mkv", "rtsp://h:1/s?a=b&c",
          "/it's;|&<>(){}[]*?~#!%20.mp4", "-x.mp4", "", "a\nb.mp4"})
        QTest::newRow(name) << QString::fromUtf8(name);
}

void TestMediaProbe::commandOfOrdinaryNames()
{
    QFETCH(QString, name);
    QCOMPARE(probeCommand(name), "ffprobe -of json -show_streams \"" + name + "\"");
}

void TestMediaProbe::commandEscapesFourCharacters()
{
    QCOMPARE(probeCommand("/home/u/a b.mp4"),
             QStringLiteral("ffprobe -of json -show_streams \"/home/u/a b.mp4\""));
    QCOMPARE(probeCommand("a\"b\\c$d`e.mp4"),
             QStringLiteral("ffprobe -of json -show_streams \"a\\\"b\\\\c\\$d\\`e.mp4\""));
}

void TestMediaProbe::nameWithNulIsRefused()
{
    const QString name = QString("/a") + QChar(QChar::Null) + "b.mp4";
    QCOMPARE(probeCommand(name), QString());

    StubProbe stub;
    videoInfo = filledRecord();
    QVERIFY(!probeMedia(name));
    QVERIFY(recordIsEmpty());
    QVERIFY(stub.arguments().isEmpty());
}

void TestMediaProbe::hostileNamesReachTheToolAsTheyAre()
{
    const QStringList names = hostileNames();
    QVERIFY2(names.size() >= 200, qPrintable(QString::number(names.size())));

    StubProbe stub;
    for (const QString &name : names) {
        QVERIFY2(probeMedia(name), qPrintable(name));
        QCOMPARE(stub.arguments(),
                 (QList<QByteArray>{"-of", "json", "-show_streams", name.toUtf8()}));
        QCOMPARE(stub.strayFiles(), QStringList());
    }
}

// File names that are no UTF-8 are already replaced when Qt reads them, and half a surrogate pair
// has no bytes at all. The tool then gets a name that isn't there, but no more than a name.
void TestMediaProbe::unrepresentableNamesReachTheToolConverted()
{
    const QStringList names = {
        QFile::decodeName("/a\xff\xfe.mp4"),
        QFile::decodeName("/\xc0\xa2;touch pwn.mp4"),
        QFile::decodeName("/\xe4\xb8\"`touch pwn`\xe4.mp4"),
        QString(QChar(0xd83c)) + "`touch pwn`.mp4",
        "a" + QString(QChar(0xdf00)) + "$(touch pwn)",
    };
    StubProbe stub;
    for (const QString &name : names) {
        QVERIFY(probeMedia(name));
        QCOMPARE(stub.arguments(),
                 (QList<QByteArray>{"-of", "json", "-show_streams", name.toLocal8Bit()}));
        QCOMPARE(stub.strayFiles(), QStringList());
    }
}

// In these encodings the characters end in the byte of a backslash or a back-tick, which would undo
// the quoting of what follows them.
void TestMediaProbe::charsetsThatHideSigns()
{
    QTextCodec *codec = QTextCodec::codecForName("GBK");
    QVERIFY(codec);
    QCOMPARE(codec->fromUnicode(QString(QChar(0x4e57))), QByteArray("\x81\x5c"));
    const QStringList refused = {"/乗$(touch pwn).mp4", "/乗\";touch pwn;\".mp4", "/乗",
                                 "/乗`touch pwn`"};
    StubProbe stub;
    QTextCodec *previous = QTextCodec::codecForLocale();
    QTextCodec::setCodecForLocale(codec);
    bool anyAccepted = false;
    for (const QString &name : refused)
        anyAccepted = anyAccepted || probeMedia(name);
    const bool ordinary = probeMedia("/中文 $(x).mp4");
    QTextCodec::setCodecForLocale(previous);

    QVERIFY(!anyAccepted);
    QVERIFY(ordinary);
    QCOMPARE(stub.strayFiles(), QStringList());
    QCOMPARE(
        stub.arguments(),
        (QList<QByteArray>{"-of", "json", "-show_streams", codec->fromUnicode("/中文 $(x).mp4")}));
    QVERIFY(probeMedia("/乗$(touch pwn).mp4")); // nothing is hidden in UTF-8
}

void TestMediaProbe::outputIsLimited_data()
{
    QTest::addColumn<int>("printed");
    QTest::addColumn<int>("read");
    QTest::newRow("nothing") << 0 << 0;
    QTest::newRow("one byte") << 1 << 1;
    QTest::newRow("below") << 9997 << 9997;
    QTest::newRow("full") << 9998 << 9998;
    QTest::newRow("one more") << 9999 << 9998;
    QTest::newRow("much more") << 1000000 << 9998;
}

void TestMediaProbe::outputIsLimited()
{
    QFETCH(int, printed);
    QFETCH(int, read);
    const QByteArray count = QByteArray::number(printed);
    const QByteArray output = readCommandOutput("head -c " + count + " /dev/zero | tr '\\0' x");
    QCOMPARE(output, QByteArray(read, 'x'));
}

void TestMediaProbe::outputIsCollectedUntilTheEnd()
{
    QCOMPARE(readCommandOutput("printf a; sleep 0.1; printf b; sleep 0.1; printf '\\0c'; exit 3"),
             QByteArray("ab\0c", 4));
}

void TestMediaProbe::standardErrorIsNotRead()
{
    QCOMPARE(readCommandOutput("{ echo out; echo err >&2; } 2>/dev/null"), QByteArray("out\n"));
    QCOMPARE(readCommandOutput("echo 'the line below is intended' >&2; no-such-program-here"),
             QByteArray());
}

void TestMediaProbe::nothingIsLeftBehind()
{
    const auto openFiles = [] {
        return QDir("/proc/self/fd").entryList(QDir::AllEntries | QDir::System).size();
    };
    const int before = openFiles();
    QCOMPARE(readCommandOutput("echo x"), QByteArray("x\n"));
    QCOMPARE(readCommandOutput("exec true"), QByteArray());
    QCOMPARE(readCommandOutput("yes").size(), 9998); // still writing when the pipe closes
    errno = 0;
    QCOMPARE(waitpid(-1, nullptr, WNOHANG), -1);
    QCOMPARE(errno, ECHILD); // not even a zombie
    QCOMPARE(openFiles(), before);
}

void TestMediaProbe::unstartableCommandGivesNothing()
{
    rlimit previous;
    QCOMPARE(getrlimit(RLIMIT_NOFILE, &previous), 0);
    rlimit none = previous;
    none.rlim_cur = 0;
    QCOMPARE(setrlimit(RLIMIT_NOFILE, &none), 0);
    const QByteArray output = readCommandOutput("echo x");
    videoInfo = filledRecord();
    const bool accepted = probeMedia("/a.mp4");
    QCOMPARE(setrlimit(RLIMIT_NOFILE, &previous), 0);

    QCOMPARE(output, QByteArray());
    QVERIFY(!accepted);
    QVERIFY(recordIsEmpty());
    QCOMPARE(readCommandOutput("echo x"), QByteArray("x\n"));
}

void TestMediaProbe::probeFillsAndLogs()
{
    StubProbe stub;
    stub.setAnswer("{\n  \"streams\": [\n    {\n      \"codec_type\": \"video\",\n      \"width\": "
                   "64\n    }\n  ]\n}\n");
    LogCapture log;
    QVERIFY(probeMedia("/中 $文.mp4"));
    QCOMPARE(videoInfo.width, 64);
    QCOMPARE(log.lines(),
             (QStringList{"ffprobe -of json -show_streams \"/中 \\$文.mp4\"", "start to json",
                          "文件解析成功\n", "array size is  1"}));
}

void TestMediaProbe::probeResetsFirst()
{
    StubProbe stub;
    videoInfo = filledRecord();
    QVERIFY(probeMedia("/a.mp4"));
    QVERIFY(recordIsEmpty());

    stub.setAnswer("");
    videoInfo = filledRecord();
    QVERIFY(!probeMedia("/a.mp4"));
    QVERIFY(recordIsEmpty());
}

void TestMediaProbe::probeDropsOtherLines()
{
    StubProbe stub;
    stub.setAnswer("warning: x\n{\n[no] good\n");
    QVERIFY(!probeMedia("/a.mp4"));
    stub.setAnswer("warning: x\n\n{\nmore {\n    \"streams\": [\n   ***\n    ]\n}\nbye");
    QVERIFY(probeMedia("/a.mp4"));
}

void TestMediaProbe::refusedOutputs_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("no streams") << QByteArray("{\n\n}\n");
    QTest::newRow("no JSON") << QByteArray("Usage: x\n");
    QTest::newRow("array") << QByteArray("[\n]\n");
}

void TestMediaProbe::refusedOutputs()
{
    QFETCH(QByteArray, answer);
    StubProbe stub;
    stub.setAnswer(answer);
    QVERIFY(!probeMedia("/a.mp4"));
}

void TestMediaProbe::longOutputIsRefused()
{
    // Good to the last byte at the limit, cut off beyond it.
    const QByteArray head = "{\n    \"streams\": [\n    ],\n    \"x\": \"";
    const QByteArray tail = "\"\n}\n";
    StubProbe stub;
    stub.setAnswer(head + QByteArray(9998 - head.size() - tail.size(), 'x') + tail);
    QVERIFY(probeMedia("/a.mp4"));
    stub.setAnswer(head + QByteArray(9999 - head.size() - tail.size(), 'x') + tail);
    QVERIFY(probeMedia("/a.mp4")); // only the last line feed is lost, and comes back
    stub.setAnswer(head + QByteArray(10000 - head.size() - tail.size(), 'x') + tail);
    QVERIFY(!probeMedia("/a.mp4"));
}

void TestMediaProbe::aheadIsTakenOnce()
{
    StubProbe stub;
    stub.setAnswer("{\n\"streams\": [\n{ \"codec_type\": \"video\", \"width\": 640 }\n]\n}\n");
    LogCapture log;
    probeAhead({"/a b.mp4"});
    QTRY_VERIFY(stub.wasCalled());
    QCOMPARE(log.lines(), QStringList());
    QCOMPARE(videoInfo.width, 0);
    QVERIFY(probeMedia("/a b.mp4"));
    QCOMPARE(log.lines().value(0), QString("ffprobe -of json -show_streams \"/a b.mp4\""));
    QCOMPARE(videoInfo.width, 640);
    QCOMPARE(stub.files(), QByteArrayList{"/a b.mp4"});
    QVERIFY(probeMedia("/a b.mp4"));
    QCOMPARE(stub.files(), QByteArrayList{"/a b.mp4"});
}

void TestMediaProbe::aheadOfFewIsTheFirst()
{
    StubProbe stub;
    const QStringList files = numberedFiles(16);
    probeAhead(files);
    QVERIFY(probeMedia(files[0]));
    QCOMPARE(stub.files(), QByteArrayList{"/0.mp4"});
    for (const QString &file : files.mid(1))
        QVERIFY(probeMedia(file));
    QCOMPARE(stub.files(), inBytes(files.mid(1)));
}

void TestMediaProbe::aheadOfManyAsManyAsProcessors()
{
    StubProbe stub;
    stub.holdUp();
    const QStringList files = numberedFiles(17);
    cpu_set_t own;
    QCOMPARE(sched_getaffinity(0, sizeof own, &own), 0);
    const int atOnce = qMin(CPU_COUNT(&own), 17);
    probeAhead(files);
    QTRY_COMPARE(stub.calls(), atOnce);
    QTest::qWait(100); // for one too many
    QCOMPARE(stub.calls(), atOnce);
    stub.goOn();
    for (const QString &file : files)
        QVERIFY(probeMedia(file));
    QByteArrayList called = stub.files();
    QByteArrayList names = inBytes(files);
    std::sort(called.begin(), called.end());
    std::sort(names.begin(), names.end());
    QCOMPARE(called, names); // each once
}

// The one that is waited for is the one that runs.
void TestMediaProbe::aheadOfManyOnOneProcessor()
{
    const OneProcessor one;
    StubProbe stub;
    stub.holdUp();
    const QStringList files = numberedFiles(17);
    probeAhead(files);
    QTRY_COMPARE(stub.calls(), 1);
    int most = 0;
    std::thread other([&] {
        for (int i = 0; i < 30; i++) {
            most = qMax(most, stub.calls());
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        stub.goOn();
    });
    for (const QString &file : files)
        QVERIFY(probeMedia(file));
    other.join();
    QCOMPARE(most, 1);
    QCOMPARE(stub.files(), inBytes(files));
}

// Where one is waited for, the others are done before it is played. The first two may be done
// before they are asked for.
void TestMediaProbe::aheadOfManyIsDoneBeforeTheFirstIsPlayed()
{
    StubProbe stub;
    const QStringList files = numberedFiles(20);
    probeAhead(files);
    for (const QString &file : files.mid(0, 3))
        QVERIFY(probeMedia(file));
    QCOMPARE(stub.calls(), 20);
    QCOMPARE(stub.running(), 0);
    for (const QString &file : files.mid(3))
        QVERIFY(probeMedia(file));
    QCOMPARE(stub.calls(), 20);
}

// Each keeps files open.
void TestMediaProbe::aheadOfManyBatchAfterBatch()
{
    StubProbe stub;
    const QStringList files = numberedFiles(98);
    const int filesBefore = OwnProcess::openFiles();
    probeAhead(files);
    QList<int> calls = {0};
    for (const QString &file : files) {
        QVERIFY(probeMedia(file));
        QVERIFY(OwnProcess::openFiles() - filesBefore <= 200);
        if (calls.last() != stub.calls())
            calls << stub.calls();
    }
    QCOMPARE(calls.last(), 98);
    QVERIFY2(calls.size() <= 5, QByteArray::number(calls.size()));
    QCOMPARE(OwnProcess::openFiles(), filesBefore);
}

void TestMediaProbe::aheadDoesNotWaitForASlowOne()
{
    StubProbe stub;
    stub.hangOn("/15.mp4");
    const QStringList files = numberedFiles(20);
    probeAhead(files);
    for (const QString &file : files.mid(0, 15))
        QVERIFY(probeMedia(file));
    QVERIFY(stub.running() > 0);
    endProbesAhead();
    QTRY_COMPARE(stub.running(), 0);
}

void TestMediaProbe::aheadEndsWithASignal()
{
    TerminationNotifier notifier;
    StubProbe stub;
    stub.hangOn("/5.mp4");
    const QStringList files = numberedFiles(20);
    probeAhead(files);
    std::thread other([&] {
        const QDeadlineTimer deadline(10000);
        while (stub.calls() < 6 && !deadline.hasExpired())
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        raise(SIGTERM);
    });
    probeMedia(files[0]);
    probeMedia(files[1]);
    other.join();
    QVERIFY(!probeMedia(files[2]));
    QVERIFY(probeWasGivenUp());
    endProbesAhead();
    QTRY_COMPARE(stub.running(), 0);
}

// What is asked for in between is probed as ever, and takes nothing away.
void TestMediaProbe::aheadOfOthers()
{
    StubProbe stub;
    probeAhead({"/a.mp4"});
    QTRY_VERIFY(stub.wasCalled());
    QVERIFY(probeMedia("/b.mp4"));
    QVERIFY(probeMedia("/a.mp4"));
    QCOMPARE(stub.files(), (QByteArrayList{"/a.mp4", "/b.mp4"}));
}

void TestMediaProbe::aheadAndNotAskedFor()
{
    StubProbe stub;
    stub.holdUp();
    probeAhead({"/a.mp4"});
    QTRY_VERIFY(stub.wasCalled()); // it runs before it has written that down
    QVERIFY(stub.running() > 0);
    endProbesAhead();
    QTRY_COMPARE(stub.running(), 0);
    QCOMPARE(waitpid(-1, nullptr, WNOHANG), pid_t(-1));
    stub.goOn();
    QVERIFY(probeMedia("/a.mp4"));
    QCOMPARE(stub.files(), (QByteArrayList{"/a.mp4", "/a.mp4"}));
}

QTEST_GUILESS_MAIN(TestMediaProbe)
#include "tst_mediaprobe.moc"
