// The probe with a stand-in ffprobe: command and quoting, reading, line filter, record.
#include "common.h"
#include "mediaprobe.h"
#include "testsupport.h"

#include <QDir>
#include <QTextCodec>
#include <QtTest>

#include <sys/resource.h>
#include <sys/wait.h>

#include <cerrno>
#include <vector>

namespace {

// Exactly as big as the program's own buffers, so that the address sanitizer sees every byte
// beside.
using Buffer = std::vector<char>;

Buffer bufferWith(const QByteArray &text)
{
    Buffer buffer(kProbeBufferSize, '\0');
    std::copy_n(text.begin(), std::min(text.size(), kProbeBufferSize), buffer.begin());
    return buffer;
}

QByteArray filtered(const QByteArray &text)
{
    Buffer in = bufferWith(text);
    const Buffer before = in;
    Buffer out(kProbeBufferSize, '\0');
    AnalyseToken(in.data(), out.data());
    if (in != before)
        qFatal("the filter changed its input");
    if (out.back() != '\0')
        qFatal("the filter wrote over the terminator");
    return QByteArray(out.data());
}

int parsed(const QByteArray &text)
{
    Buffer buffer = bufferWith(text);
    return readConfigFromBuffer(buffer.data());
}

int parsedStreams(const QByteArray &streams) { return parsed("{\"streams\":[" + streams + "]}"); }

struct videoInfo filledRecord()
{
    struct videoInfo record;
    record.frame = 25;
    record.type = 2;
    record.width = 1;
    record.height = 2;
    record.vcodecType = "video";
    record.duration = 3;
    record.showDuration = "00:00:03";
    record.bitRate = 4;
    record.acodecType = "audio";
    record.acodecRate = 5;
    record.asampleRate = 6;
    record.channels = 7;
    return record;
}

bool recordIsEmpty()
{
    return videoInfo.frame == 0 && videoInfo.type == 0 && videoInfo.width == 0 &&
        videoInfo.height == 0 && videoInfo.vcodecType.isEmpty() && videoInfo.duration == 0 &&
        videoInfo.showDuration.isEmpty() && videoInfo.bitRate == 0 &&
        videoInfo.acodecType.isEmpty() && videoInfo.acodecRate == 0 && videoInfo.asampleRate == 0 &&
        videoInfo.channels == 0;
}

// A stand-in ffprobe in front of PATH. It notes its arguments, each ended by a NUL, and prints an
// answer. The working folder is an empty one of its own while it lives.
class StubProbe {
public:
    StubProbe()
        : prefix(dir.filePath("bin"))
        , log("PROBE_LOG", QFile::encodeName(dir.filePath("arguments")))
        , answer("PROBE_ANSWER", QFile::encodeName(dir.filePath("answer")))
        , previousFolder(QDir::currentPath())
    {
        setAnswer("{\n    \"streams\": [\n    ]\n}\n");
        const QString program = dir.filePath("bin/ffprobe");
        writeFile(program,
                  "#!/bin/sh\nprintf '%s\\0' \"$@\" >>\"$PROBE_LOG\"\ncat \"$PROBE_ANSWER\"\n");
        QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QDir(dir.path()).mkdir("work");
        QDir::setCurrent(dir.filePath("work"));
    }
    ~StubProbe() { QDir::setCurrent(previousFolder); }

    void setAnswer(const QByteArray &text) { writeFile(dir.filePath("answer"), text); }

    // What the tool was called with since the last call of this.
    QList<QByteArray> arguments()
    {
        const QString path = dir.filePath("arguments");
        QList<QByteArray> all = ::readFile(path).split('\0');
        all.removeLast();
        QFile::remove(path);
        return all;
    }

    QStringList strayFiles() const
    {
        return QDir(dir.filePath("work"))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

private:
    QTemporaryDir dir;
    PathPrefix prefix;
    EnvironmentVariable log;
    EnvironmentVariable answer;
    QString previousFolder;
};

QStringList hostileNames()
{
    const QStringList parts = {
        "\"",
        "\\",
        "$",
        "`",
        "'",
        "\"\"",
        "\\\\",
        "\\\"",
        "$(touch pwn)",
        "`touch pwn`",
        "\";touch pwn;\"",
        "\"$(touch pwn)\"",
        "'; touch pwn; '",
        "$HOME",
        "${HOME}",
        "$$",
        "$((1+1))",
        "\\$(touch pwn)",
        "\\`touch pwn\\`",
        "\\\"; touch pwn; \\\"",
        ";touch pwn",
        "|touch pwn",
        "&touch pwn&",
        "&&touch pwn",
        "||touch pwn",
        ">pwn",
        "<pwn",
        ">>pwn",
        "2>pwn",
        "\ntouch pwn\n",
        "\n",
        "\r\n",
        "\t",
        " ",
        "  ",
        "*",
        "?",
        "[a-z]",
        "{a,b}",
        "~",
        "~root",
        "!",
        "!!",
        "#",
        "# x",
        "%",
        "%20",
        "%41",
        "%s%n",
        "%00",
        "=",
        "+",
        "^",
        ",",
        ":",
        "@",
        "(",
        ")",
        "<b>x</b>",
        "\x01",
        "\x7f",
        "\x1b[31m",
        "中文",
        "日本語",
        "é",
        "e\u0301",
        "\u202e",
        "\u00a0",
        "\u200b",
        "\ufeff",
        QString::fromUtf8("\xF0\x9F\x8E\xAC"),
        QString::fromUtf8("\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB"),
        "\\n",
        "\\0",
        "\\x41",
        "$'\\n'",
        "$\"x\"",
        "IFS",
        "$IFS",
        "${IFS}",
        "$(",
        "${",
        "`\"",
        "\"`",
        "$\\",
        "\\$",
        "$`",
        "`$(",
        ")`",
        "EOF\n",
        "<<EOF",
        "$0",
        "$@",
        "$*",
        "$#",
        "$?",
        "$!",
        "$-",
        "$_",
    };
    QStringList names = {
        "-",
        "--",
        "-version",
        "-h",
        "-i x",
        "--help",
        "-o pwn",
        ".",
        "..",
        "/",
        "",
        " ",
        "file:///a%20b",
        "http://u:p@h/?a=b&c=d#e",
        "rtsp://h/s?x=$(touch pwn)",
        "a:b",
        "C:\\x\\",
        "con",
        "\\",
        "\"",
        "$",
        "`",
    };
    for (const QString &part : parts) {
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

    void lineCheck_data();
    void lineCheck();
    void filter_data();
    void filter();
    void filterStaysInItsBuffer_data();
    void filterStaysInItsBuffer();

    void parseResult_data();
    void parseResult();
    void parseLog();
    void duration_data();
    void duration();
    void durationTag_data();
    void durationTag();
    void frameRate_data();
    void frameRate();
    void codec_data();
    void codec();
    void videoMembers();
    void videoNumbersOfTheWrongKind();
    void audioMembers();
    void missingAudioMembersChangeNothing();
    void coverPictureReplacesTheFilm();
    void otherStreamsAreIgnored();

    void probeFillsAndLogs();
    void probeResetsFirst();
    void probeDropsOtherLines();
    void refusedOutputs_data();
    void refusedOutputs();
    void longOutputIsRefused();
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

// In these charsets the letters end in the byte of a backslash or a back-tick, which would undo the
// quoting of what follows them.
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

void TestMediaProbe::lineCheck_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("kept");
    for (const char *line :
         {"\"", "[", "]", "{", "}", "   \"a\": 1,", "  {x", "],", "}garbage", "\"\n"})
        QTest::newRow(line) << QByteArray(line) << 1;
    for (const char *line : {"", " ", "     ", "a", "  a \"", "\t\"", "\t{", "\r", "1", ",", "(",
                             ":{", "'", "\\\"", "-", "\xe4\xb8\xad", "  \n\""})
        QTest::addRow("dropped %s", line) << QByteArray(line) << 0;
}

void TestMediaProbe::lineCheck()
{
    QFETCH(QByteArray, line);
    QFETCH(int, kept);
    QCOMPARE(checkJsonPara(line.data()), kept);
}

void TestMediaProbe::filter_data()
{
    QTest::addColumn<QByteArray>("in");
    QTest::addColumn<QByteArray>("out");
    using Bytes = QByteArray;
    QTest::newRow("nothing") << Bytes() << Bytes();
    QTest::newRow("line feeds") << Bytes("\n\n\n") << Bytes();
    QTest::newRow("ordinary") << Bytes("{\n    \"a\": [\n    ]\n}\n")
                              << Bytes("{\n    \"a\": [\n    ]\n}\n");
    QTest::newRow("banner") << Bytes("tool 5.1\n{\nwarning: {}\n  \"a\": 1\n\n}\nbye")
                            << Bytes("{\n  \"a\": 1\n}\n");
    QTest::newRow("end without line feed") << Bytes("{\n}") << Bytes("{\n}\n");
    QTest::newRow("one line") << Bytes("{\"a\": 1}") << Bytes("{\"a\": 1}\n");
    QTest::newRow("blank lines") << Bytes("\n\n{\n   \n}\n\n") << Bytes("{\n}\n");
    QTest::newRow("carriage returns") << Bytes("{\r\n\r\n}\r\n") << Bytes("{\r\n}\r\n");
    QTest::newRow("tabs") << Bytes("{\n\t\"a\": 1\n}") << Bytes("{\n}\n");
    QTest::newRow("value on its own line") << Bytes("{\n\"a\":\n1\n}") << Bytes("{\n\"a\":\n}\n");
    QTest::newRow("ends at a NUL") << Bytes("{\n}\n\0{\n}\n", 9) << Bytes("{\n}\n");
    QTest::newRow("order") << Bytes("]\n[\n}\n{\n") << Bytes("]\n[\n}\n{\n");
}

void TestMediaProbe::filter()
{
    QFETCH(QByteArray, in);
    QFETCH(QByteArray, out);
    QCOMPARE(filtered(in), out);
}

void TestMediaProbe::filterStaysInItsBuffer_data()
{
    QTest::addColumn<QByteArray>("in");
    QTest::addColumn<QByteArray>("out");
    const auto quotes = [](int count) { return QByteArray(count, '"'); };
    QTest::newRow("room for the line feed") << quotes(9997) << quotes(9997) + '\n';
    QTest::newRow("no room for the line feed") << quotes(9998) << quotes(9998);
    QTest::newRow("full with line feed") << quotes(9997) + '\n' << quotes(9997) + '\n';
    QTest::newRow("two lines") << quotes(4998) + '\n' + quotes(4999)
                               << quotes(4998) + '\n' + quotes(4999);
    QTest::newRow("short lines") << QByteArray("\"\n").repeated(4999)
                                 << QByteArray("\"\n").repeated(4999);
    QTest::newRow("dropped line at the end")
        << quotes(9000) + '\n' + QByteArray(997, 'x') << quotes(9000) + '\n';
    QTest::newRow("without terminator") << quotes(9999) << quotes(9998);
}

void TestMediaProbe::filterStaysInItsBuffer()
{
    QFETCH(QByteArray, in);
    QFETCH(QByteArray, out);
    QCOMPARE(filtered(in), out);
}

void TestMediaProbe::parseResult_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("result");
    using Bytes = QByteArray;
    QTest::newRow("empty") << Bytes() << -1;
    QTest::newRow("blank") << Bytes(" \n") << -1;
    QTest::newRow("garbage") << Bytes("x") << -1;
    QTest::newRow("cut off") << Bytes("{\"streams\":[{\"codec_type\":\"video\"") << -1;
    QTest::newRow("trailing comma") << Bytes("{\"streams\":[],}") << -1;
    QTest::newRow("array") << Bytes("[]") << -1;
    QTest::newRow("array of objects") << Bytes("[{\"streams\":[]}]") << -1;
    QTest::newRow("empty object") << Bytes("{}") << -1;
    QTest::newRow("other member") << Bytes("{\"format\":[]}") << -1;
    QTest::newRow("case") << Bytes("{\"Streams\":[]}") << -1;
    QTest::newRow("null streams") << Bytes("{\"streams\":null}") << -1;
    QTest::newRow("object streams") << Bytes("{\"streams\":{}}") << -1;
    QTest::newRow("text streams") << Bytes("{\"streams\":\"[]\"}") << -1;
    QTest::newRow("no streams") << Bytes("{\"streams\":[]}") << 0;
    QTest::newRow("odd streams")
        << Bytes(
               "{\"streams\":[1,\"x\",null,true,[],{},{\"width\":5},{\"codec_type\":7,\"width\":5},"
               "{\"codec_type\":null}]}")
        << 0;
}

void TestMediaProbe::parseResult()
{
    QFETCH(QByteArray, text);
    QFETCH(int, result);
    QCOMPARE(parsed(text), result);
    QVERIFY(recordIsEmpty());
}

void TestMediaProbe::parseLog()
{
    const QString start = "start to json";
    const QString good = "文件解析成功\n";
    LogCapture log;
    parsed("x");
    QCOMPARE(log.lines(), QStringList{start});
    log.clear();
    parsed("[]");
    QCOMPARE(log.lines(), (QStringList{start, good, "Json file read err"}));
    log.clear();
    parsed("{}");
    QCOMPARE(log.lines(), (QStringList{start, good}));
    log.clear();
    parsedStreams("1,2,{}");
    QCOMPARE(log.lines(), (QStringList{start, good, "array size is  3"}));
}

void TestMediaProbe::duration_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<double>("seconds");
    QTest::addColumn<QString>("shown");
    const auto row = [](const char *value, double seconds, const char *shown) {
        QTest::newRow(value) << QByteArray(value) << seconds << QString(shown);
    };
    row("\"0.000000\"", 0, "00:00:00");
    row("\"45.5\"", 45.5, "00:00:45");
    row("\"59.0\"", 59, "00:00:59");
    row("\"59.99\"", 59.99, "00:00:59");
    row("\"60\"", 60, "00:01:00");
    row("\"119.9\"", 119.9, "00:01:59");
    row("\"3599.99\"", 3599.99, "00:59:59");
    row("\"3600\"", 3600, "01:60:00");
    row("\"3725\"", 3725, "01:62:05");
    row("\"7530.000000\"", 7530, "02:125:30");
    row("\"360000\"", 360000, "100:6000:00");
    row("\"-5.5\"", -5.5, "00:00:-5");
    row("\"N/A\"", 0, "00:00:00");
    row("\"\"", 0, "00:00:00");
    row("45.5", 0, "00:00:00"); // a number, not a text
    row("null", 0, "00:00:00");
    row("\"1e300\"", 1e300, "35791394:2147483647:2147483647");
    row("\"inf\"", qInf(), "35791394:2147483647:2147483647");
    row("\"-1e300\"", -1e300, "00:00:-2147483648");
}

void TestMediaProbe::duration()
{
    QFETCH(QByteArray, value);
    QFETCH(double, seconds);
    QFETCH(QString, shown);
    const QByteArray tags = ",\"tags\":{\"DURATION\":\"09:09:09.000\"}"; // second choice only
    QCOMPARE(parsedStreams("{\"codec_type\":\"video\",\"duration\":" + value + tags + "}"), 0);
    QCOMPARE(videoInfo.duration, seconds);
    QCOMPARE(videoInfo.showDuration, shown);
}

void TestMediaProbe::durationTag_data()
{
    QTest::addColumn<QByteArray>("tags");
    QTest::addColumn<QString>("shown");
    QTest::newRow("usual") << QByteArray("{\"DURATION\":\"00:23:41.120000000\"}") << "00:23:41";
    QTest::newRow("short") << QByteArray("{\"DURATION\":\"0:23\"}") << "0:23";
    QTest::newRow("case") << QByteArray("{\"duration\":\"00:23:41.12\"}") << "";
    QTest::newRow("none") << QByteArray("{\"title\":\"x\"}") << "";
    QTest::newRow("number") << QByteArray("{\"DURATION\":5}") << "";
    QTest::newRow("no object") << QByteArray("\"DURATION\"") << "";
}

void TestMediaProbe::durationTag()
{
    QFETCH(QByteArray, tags);
    QFETCH(QString, shown);
    QCOMPARE(parsedStreams("{\"codec_type\":\"video\",\"tags\":" + tags + "}"), 0);
    QCOMPARE(videoInfo.showDuration, shown);
    QCOMPARE(videoInfo.duration, 0.0);
}

void TestMediaProbe::frameRate_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<float>("frame"); // starting from 12 of an earlier stream
    const auto row = [](const char *value, float frame) {
        QTest::newRow(value) << QByteArray(value) << frame;
    };
    row("\"25/1\"", 25);
    row("\"30000/1001\"", 30000.0F / 1001.0F);
    row("\"24000/1001\"", 24000.0F / 1001.0F);
    row("\"0/1\"", 0);
    row("\"100/1\"", 100);
    row("\"10001/100\"", 0);
    row("\"1000/1\"", 0);
    row("\"90000/1\"", 0);
    row("\"25/2/9\"", 12.5F);
    row("\"0/0\"", 12);
    row("\"25/0\"", 12);
    row("\"25/-1\"", 12);
    row("\"25/x\"", 12);
    row("\"25\"", 12);
    row("\"\"", 12);
    row("\"/\"", 12);
    row("25", 12);
}

void TestMediaProbe::frameRate()
{
    QFETCH(QByteArray, value);
    QFETCH(float, frame);
    QCOMPARE(parsedStreams("{\"codec_type\":\"video\",\"r_frame_rate\":\"12/1\"},"
                           "{\"codec_type\":\"video\",\"r_frame_rate\":" +
                           value + ",\"avg_frame_rate\":\"50/1\"}"),
             0);
    QCOMPARE(videoInfo.frame, frame);
}

void TestMediaProbe::codec_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("type");
    QTest::newRow("h264") << QByteArray("h264") << 0;
    QTest::newRow("h265") << QByteArray("h265") << 1;
    QTest::newRow("hevc") << QByteArray("hevc") << 1;
    for (const char *name : {"mpeg4", "vp9", "H264", "HEVC", "h264 ", "mjpeg", "unknown", ""})
        QTest::addRow("other '%s'", name) << QByteArray(name) << 2;
}

void TestMediaProbe::codec()
{
    QFETCH(QByteArray, name);
    QFETCH(int, type);
    videoInfo.type = -1;
    parsedStreams("{\"codec_type\":\"video\",\"codec_name\":\"" + name + "\"}");
    QCOMPARE(videoInfo.type, type);
    parsedStreams("{\"codec_type\":\"video\"}"); // nameless: as it was
    QCOMPARE(videoInfo.type, type);
}

void TestMediaProbe::videoMembers()
{
    QCOMPARE(
        parsedStreams(
            "{\"codec_type\":\"video\",\"codec_name\":\"hevc\",\"codec_long_name\":\"H.265 / "
            "中文\",\"width\":1920,\"height\":1080,\"duration\":\"61.5\",\"bit_rate\":\"1205959\","
            "\"r_frame_rate\":\"25/1\",\"sample_rate\":\"1\",\"channels\":9}"),
        0);
    QCOMPARE(videoInfo.type, 1);
    QCOMPARE(videoInfo.vcodecType, QString("H.265 / 中文"));
    QCOMPARE(videoInfo.width, 1920);
    QCOMPARE(videoInfo.height, 1080);
    QCOMPARE(videoInfo.duration, 61.5);
    QCOMPARE(videoInfo.showDuration, QString("00:01:01"));
    QCOMPARE(videoInfo.bitRate, 1205959);
    QCOMPARE(videoInfo.frame, 25.0F);
    QCOMPARE(videoInfo.acodecType, QString());
    QCOMPARE(videoInfo.asampleRate, 0);
    QCOMPARE(videoInfo.channels, 0);
}

void TestMediaProbe::videoNumbersOfTheWrongKind()
{
    const auto video = [](const QByteArray &members) {
        videoInfo = filledRecord();
        parsedStreams("{\"codec_type\":\"video\"," + members + "}");
    };
    video("\"width\":\"640\",\"height\":\"480\"");
    QCOMPARE(videoInfo.width, 0);
    QCOMPARE(videoInfo.height, 0);
    video("\"width\":640.5,\"height\":1e12");
    QCOMPARE(videoInfo.width, 0);
    QCOMPARE(videoInfo.height, 0);
    for (const char *rate :
         {"128000", "\"x\"", "\"\"", "\"12.5\"", "\"2147483648\"", "null", "{}"}) {
        video("\"bit_rate\":" + QByteArray(rate));
        QCOMPARE(videoInfo.bitRate, 0);
    }
    video("\"bit_rate\":\"2147483647\"");
    QCOMPARE(videoInfo.bitRate, 2147483647);
}

void TestMediaProbe::audioMembers()
{
    QCOMPARE(parsedStreams(
                 "{\"codec_type\":\"audio\",\"codec_name\":\"aac\",\"codec_long_name\":\"AAC\","
                 "\"bit_rate\":\"128001\",\"sample_rate\":\"44100\",\"channels\":6,"
                 "\"width\":5,\"duration\":\"7\",\"r_frame_rate\":\"25/1\"}"),
             0);
    QCOMPARE(videoInfo.acodecType, QString("AAC"));
    QCOMPARE(videoInfo.acodecRate, 128001.0F);
    QCOMPARE(videoInfo.asampleRate, 44100);
    QCOMPARE(videoInfo.channels, 6);
    QCOMPARE(videoInfo.type, 0);
    QCOMPARE(videoInfo.width, 0);
    QCOMPARE(videoInfo.height, 0);
    QCOMPARE(videoInfo.frame, 0.0F);
    QCOMPARE(videoInfo.duration, 0.0);
    QCOMPARE(videoInfo.showDuration, QString());
}

void TestMediaProbe::missingAudioMembersChangeNothing()
{
    videoInfo = filledRecord();
    parsedStreams("{\"codec_type\":\"audio\"}");
    QCOMPARE(videoInfo.acodecType, QString("audio"));
    QCOMPARE(videoInfo.acodecRate, 5.0F);
    QCOMPARE(videoInfo.asampleRate, 6);
    QCOMPARE(videoInfo.channels, 7);
    parsedStreams(
        "{\"codec_type\":\"audio\",\"bit_rate\":\"x\",\"sample_rate\":8,\"channels\":\"2\"}");
    QCOMPARE(videoInfo.acodecRate, 0.0F);
    QCOMPARE(videoInfo.asampleRate, 0);
    QCOMPARE(videoInfo.channels, 0);
}

void TestMediaProbe::coverPictureReplacesTheFilm()
{
    parsedStreams(
        "{\"codec_type\":\"video\",\"codec_name\":\"h264\",\"codec_long_name\":\"H.264\",\"width\":"
        "1920,"
        "\"height\":1080,\"duration\":\"100\",\"bit_rate\":\"5000\",\"r_frame_rate\":\"25/1\"},"
        "{\"codec_type\":\"audio\",\"codec_long_name\":\"one\",\"channels\":1},"
        "{\"codec_type\":\"video\",\"codec_name\":\"mjpeg\",\"width\":300,\"height\":200,"
        "\"r_frame_rate\":\"90000/1\"},"
        "{\"codec_type\":\"audio\",\"codec_long_name\":\"two\"}");
    QCOMPARE(videoInfo.type, 2);
    QCOMPARE(videoInfo.width, 300);
    QCOMPARE(videoInfo.height, 200);
    QCOMPARE(videoInfo.frame, 0.0F);
    QCOMPARE(videoInfo.vcodecType, QString()); // these two also when missing
    QCOMPARE(videoInfo.bitRate, 0);
    QCOMPARE(videoInfo.duration, 100.0);
    QCOMPARE(videoInfo.showDuration, QString("00:01:40"));
    QCOMPARE(videoInfo.acodecType, QString("two"));
    QCOMPARE(videoInfo.channels, 1);
}

void TestMediaProbe::otherStreamsAreIgnored()
{
    for (const char *kind : {"subtitle", "data", "attachment", "Video", "AUDIO", ""}) {
        QCOMPARE(parsedStreams("{\"codec_type\":\"" + QByteArray(kind) +
                               "\",\"codec_name\":\"srt\",\"codec_long_name\":\"x\",\"width\":5,"
                               "\"height\":5,\"duration\":\"9\",\"bit_rate\":\"9\",\"channels\":9,"
                               "\"r_frame_rate\":\"9/1\",\"sample_rate\":\"9\"}"),
                 0);
        QVERIFY(recordIsEmpty());
    }
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

QTEST_GUILESS_MAIN(TestMediaProbe)
#include "tst_mediaprobe.moc"
