// The probe's pure parts: line filter, parser, record.
#include "common.h"
#include "mediaprobe.h"
#include "proberecord.h"
#include "testsupport.h"

#include <QtTest>

#include <algorithm>
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

} // namespace

class TestMediaProbeParse : public QObject {
    Q_OBJECT

private slots:
    void init() { resetSharedState(); }

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
};

void TestMediaProbeParse::lineCheck_data()
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

void TestMediaProbeParse::lineCheck()
{
    QFETCH(QByteArray, line);
    QFETCH(int, kept);
    QCOMPARE(checkJsonPara(line.data()), kept);
}

void TestMediaProbeParse::filter_data()
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

void TestMediaProbeParse::filter()
{
    QFETCH(QByteArray, in);
    QFETCH(QByteArray, out);
    QCOMPARE(filtered(in), out);
}

void TestMediaProbeParse::filterStaysInItsBuffer_data()
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

void TestMediaProbeParse::filterStaysInItsBuffer()
{
    QFETCH(QByteArray, in);
    QFETCH(QByteArray, out);
    QCOMPARE(filtered(in), out);
}

void TestMediaProbeParse::parseResult_data()
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

void TestMediaProbeParse::parseResult()
{
    QFETCH(QByteArray, text);
    QFETCH(int, result);
    QCOMPARE(parsed(text), result);
    QVERIFY(recordIsEmpty());
}

void TestMediaProbeParse::parseLog()
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

void TestMediaProbeParse::duration_data()
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

void TestMediaProbeParse::duration()
{
    QFETCH(QByteArray, value);
    QFETCH(double, seconds);
    QFETCH(QString, shown);
    const QByteArray tags = ",\"tags\":{\"DURATION\":\"09:09:09.000\"}"; // second choice only
    QCOMPARE(parsedStreams("{\"codec_type\":\"video\",\"duration\":" + value + tags + "}"), 0);
    QCOMPARE(videoInfo.duration, seconds);
    QCOMPARE(videoInfo.showDuration, shown);
}

void TestMediaProbeParse::durationTag_data()
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

void TestMediaProbeParse::durationTag()
{
    QFETCH(QByteArray, tags);
    QFETCH(QString, shown);
    QCOMPARE(parsedStreams("{\"codec_type\":\"video\",\"tags\":" + tags + "}"), 0);
    QCOMPARE(videoInfo.showDuration, shown);
    QCOMPARE(videoInfo.duration, 0.0);
}

void TestMediaProbeParse::frameRate_data()
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

void TestMediaProbeParse::frameRate()
{
    QFETCH(QByteArray, value);
    QFETCH(float, frame);
    QCOMPARE(parsedStreams("{\"codec_type\":\"video\",\"r_frame_rate\":\"12/1\"},"
                           "{\"codec_type\":\"video\",\"r_frame_rate\":" +
                           value + ",\"avg_frame_rate\":\"50/1\"}"),
             0);
    QCOMPARE(videoInfo.frame, frame);
}

void TestMediaProbeParse::codec_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("type");
    QTest::newRow("h264") << QByteArray("h264") << 0;
    QTest::newRow("h265") << QByteArray("h265") << 1;
    QTest::newRow("hevc") << QByteArray("hevc") << 1;
    for (const char *name : {"mpeg4", "vp9", "H264", "HEVC", "h264 ", "mjpeg", "unknown", ""})
        QTest::addRow("other '%s'", name) << QByteArray(name) << 2;
}

void TestMediaProbeParse::codec()
{
    QFETCH(QByteArray, name);
    QFETCH(int, type);
    videoInfo.type = -1;
    parsedStreams("{\"codec_type\":\"video\",\"codec_name\":\"" + name + "\"}");
    QCOMPARE(videoInfo.type, type);
    parsedStreams("{\"codec_type\":\"video\"}"); // nameless: as it was
    QCOMPARE(videoInfo.type, type);
}

void TestMediaProbeParse::videoMembers()
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

void TestMediaProbeParse::videoNumbersOfTheWrongKind()
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

void TestMediaProbeParse::audioMembers()
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

void TestMediaProbeParse::missingAudioMembersChangeNothing()
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

void TestMediaProbeParse::coverPictureReplacesTheFilm()
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

void TestMediaProbeParse::otherStreamsAreIgnored()
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

QTEST_GUILESS_MAIN(TestMediaProbeParse)
#include "tst_mediaprobeparse.moc"
