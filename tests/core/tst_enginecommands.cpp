#include "clocktext.h"
#include "common.h"
#include "enginecommands.h"
#include "testsupport.h"

#include <QLocale>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest>

#include <climits>
#include <clocale>
#include <cstdio>

using namespace enginecommands;

class TestEngineCommands : public QObject {
    Q_OBJECT

private slots:
    void fixedTexts();
    void seeks_data();
    void seeks();
    void volumes_data();
    void volumes();
    void speeds_data();
    void speeds();
    void delays_data();
    void delays();
    void numbersUnderCommaLocale();
    void subtitles_data();
    void subtitles();
    void subtitleLength();
    void engineArgumentLists_data();
    void engineArgumentLists();
    void screenshotArgument_data();
    void screenshotArgument();
    void streamFrameRates_data();
    void streamFrameRates();
    void windowIds_data();
    void windowIds();
    void mpvArgumentLists_data();
    void mpvArgumentLists();
    void answers_data();
    void answers();
    void remarks_data();
    void remarks();
    void subtitleFileNumbers();
    void clock_data();
    void clock();
};

void TestEngineCommands::fixedTexts()
{
    QCOMPARE(QByteArray(queryLength), QByteArray("get_time_length\n"));
    QCOMPARE(QByteArray(queryPosition), QByteArray("get_time_pos\n"));
    QCOMPARE(QByteArray(quit), QByteArray("quit\n"));
    QCOMPARE(QByteArray(togglePause), QByteArray("pause\n"));
    QCOMPARE(QByteArray(mpvPause), QByteArray("set pause yes\n"));
    QCOMPARE(QByteArray(mpvResume), QByteArray("set pause no\n"));
    QCOMPARE(QByteArray(seekBackward), QByteArray("seek -5 0\n"));
    QCOMPARE(QByteArray(seekForward), QByteArray("seek +5 0\n"));
    QCOMPARE(QByteArray(unmute), QByteArray("mute 0\n"));
    QCOMPARE(QByteArray(mute), QByteArray("mute 1\n"));
    QCOMPARE(QByteArray(audioDelayPlus), QByteArray("audio_delay  0.1\n"));
    QCOMPARE(QByteArray(audioDelayMinus), QByteArray("audio_delay  -0.1\n"));
    QCOMPARE(QByteArray(subDelayPlus), QByteArray("sub_delay 0.1\n"));
    QCOMPARE(QByteArray(subDelayMinus), QByteArray("sub_delay -0.1\n"));
    QCOMPARE(QByteArray(subVisible), QByteArray("sub_visibility 1\n"));
    QCOMPARE(QByteArray(subSelect), QByteArray("sub_select 1\n"));
    QCOMPARE(QByteArray(subHidden), QByteArray("sub_visibility 0\n"));
    QCOMPARE(QByteArray(subRemove), QByteArray("sub_remove 0\n"));
    QCOMPARE(QByteArray(subScalePlus), QByteArray("sub_scale 0.2\n"));
    QCOMPARE(QByteArray(subScaleMinus), QByteArray("sub_scale -0.2\n"));
    QCOMPARE(QByteArray(subPosUp), QByteArray("sub_pos -2\n"));
    QCOMPARE(QByteArray(subPosDown), QByteArray("sub_pos 2\n"));
    QCOMPARE(QByteArray(screenshot), QByteArray("screenshot 0"));
    QCOMPARE(qstrlen(screenshot), 12u); // no line end
}

void TestEngineCommands::seeks_data()
{
    QTest::addColumn<int>("seconds");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("start") << 0 << QByteArray("seek 0 2");
    QTest::newRow("short") << 95 << QByteArray("seek 95 2");
    QTest::newRow("thousands without separator") << 12345 << QByteArray("seek 12345 2");
    QTest::newRow("largest") << INT_MAX << QByteArray("seek 2147483647 2");
    QTest::newRow("negative") << -1 << QByteArray("seek -1 2");
}

void TestEngineCommands::seeks()
{
    QFETCH(int, seconds);
    QFETCH(QByteArray, text);
    QCOMPARE(seekTo(seconds), text + '\n');
    QCOMPARE(seekToUnterminated(seconds), text);
}

void TestEngineCommands::volumes_data()
{
    QTest::addColumn<int>("percent");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("0") << 0 << QByteArray("volume 0 2\n");
    QTest::newRow("30") << 30 << QByteArray("volume 30 2\n");
    QTest::newRow("100") << 100 << QByteArray("volume 100 2\n");
}

void TestEngineCommands::volumes()
{
    QFETCH(int, percent);
    QTEST(setVolume(percent), "text");
}

void TestEngineCommands::speeds_data()
{
    QTest::addColumn<int>("percent");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("50") << 50 << QByteArray("speed_set 0.5\n");
    QTest::newRow("75") << 75 << QByteArray("speed_set 0.75\n");
    QTest::newRow("100") << 100 << QByteArray("speed_set 1\n");
    QTest::newRow("125") << 125 << QByteArray("speed_set 1.25\n");
    QTest::newRow("150") << 150 << QByteArray("speed_set 1.5\n");
    QTest::newRow("200") << 200 << QByteArray("speed_set 2\n");
    QTest::newRow("80") << 80 << QByteArray("speed_set 0.8\n");
    QTest::newRow("33") << 33 << QByteArray("speed_set 0.33\n");
    QTest::newRow("0") << 0 << QByteArray("speed_set 0\n");
}

void TestEngineCommands::speeds()
{
    QFETCH(int, percent);
    QTEST(setSpeed(percent / 100.0f), "text");
}

void TestEngineCommands::delays_data()
{
    QTest::addColumn<double>("seconds");
    QTest::addColumn<QByteArray>("number");
    QTest::newRow("zero") << 0.0 << QByteArray("0.000000");
    QTest::newRow("half") << 0.5 << QByteArray("0.500000");
    QTest::newRow("two steps back") << -(0.1 + 0.1) << QByteArray("-0.200000");
    QTest::newRow("three steps") << 0.1 + 0.1 + 0.1 << QByteArray("0.300000");
    QTest::newRow("ten") << 10.0 << QByteArray("10.000000");
    QTest::newRow("thousands") << -1234.5 << QByteArray("-1234.500000");
    QTest::newRow("rounded up") << 0.0000005001 << QByteArray("0.000001");
    QTest::newRow("rounded off") << 1.0000004 << QByteArray("1.000000");
}

void TestEngineCommands::delays()
{
    QFETCH(double, seconds);
    QFETCH(QByteArray, number);
    QCOMPARE(changeAudioDelay(seconds), "audio_delay " + number + '\n');
    QCOMPARE(changeSubDelay(seconds), "sub_delay " + number + '\n');
}

namespace {

// A German locale, made for this test, in force while it lives.
class CommaLocale {
public:
    CommaLocale()
    {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        const QString tool = QStandardPaths::findExecutable(
            "localedef", {"/usr/bin", "/usr/sbin", "/usr/local/bin"});
        if (tool.isEmpty() || !folder.isValid())
            return;
        QProcess::execute(
            tool, {"--no-archive", "-i", "de_DE", "-f", "UTF-8", folder.filePath("de_DE.UTF-8")});
        qputenv("LOCPATH", QFile::encodeName(folder.path()));
        setlocale(LC_ALL, "de_DE.UTF-8");
    }
    ~CommaLocale()
    {
        qunsetenv("LOCPATH");
        setlocale(LC_ALL, previous.constData());
        QLocale::setDefault(QLocale::c());
    }
    bool inForce() const
    {
        char text[32];
        snprintf(text, sizeof text, "%f", 0.5);
        return QByteArray(text) == "0,500000";
    }

private:
    QTemporaryDir folder;
    QByteArray previous = setlocale(LC_ALL, nullptr);
};

void checkNumbers()
{
    QCOMPARE(changeAudioDelay(0.5), QByteArray("audio_delay 0.500000\n"));
    QCOMPARE(changeSubDelay(-1234.25), QByteArray("sub_delay -1234.250000\n"));
    QCOMPARE(setSpeed(1.25f), QByteArray("speed_set 1.25\n"));
    QCOMPARE(seekTo(123456), QByteArray("seek 123456 2\n"));
    QCOMPARE(setVolume(100), QByteArray("volume 100 2\n"));
    HistoryAddrList entry;
    entry.type = 2;
    entry.frame = 29.97f;
    QCOMPARE(engineArguments(entry, 0, QString(), 1234567).value(3), QString("34.97"));
    QCOMPARE(engineArguments(entry, 0, QString(), 1234567).last(), QString("1234567"));
    QCOMPARE(parseAnswer("ANS_TIME_POSITION=1.6").seconds, 1);
    QCOMPARE(parseAnswer("ANS_LENGTH=20.99").seconds, 20);
    QCOMPARE(parseAnswer("ANS_LENGTH=20,99").seconds, 0);
    QCOMPARE(clockText(INT_MAX), QString("596523:14:07"));
}

} // namespace

void TestEngineCommands::numbersUnderCommaLocale()
{
    CommaLocale locale;
    checkNumbers(); // in any case under Qt's own German default
    if (!locale.inForce())
        QSKIP("no German C locale could be made here (needs localedef and the package locales)");
    checkNumbers();
}

void TestEngineCommands::subtitles_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("plain") << "/home/u/a.srt" << QByteArray("sub_load /home/u/a.srt\n");
    QTest::newRow("Chinese") << QString("/home/字幕.srt")
                             << QByteArray("sub_load /home/\xe5\xad\x97\xe5\xb9\x95.srt\n");
    QTest::newRow("blanks") << "/s u b.srt" << QByteArray("sub_load /s\\ u\\ b.srt\n");
    QTest::newRow("two blanks") << "/a  b" << QByteArray("sub_load /a\\ \\ b\n");
    QTest::newRow("backslash") << "/a\\b" << QByteArray("sub_load /a\\\\b\n");
    QTest::newRow("backslash and blank") << "/a\\ b.srt" << QByteArray("sub_load /a\\\\\\ b.srt\n");
    QTest::newRow("ends in a backslash") << "/a\\" << QByteArray("sub_load /a\\\\\n");
    QTest::newRow("left alone") << "/a\tb\"c'd;e#f$g`h%20"
                                << QByteArray("sub_load /a\tb\"c'd;e#f$g`h%20\n");
    QTest::newRow("line feed") << "/x\nrun touch /tmp/y" << QByteArray();
    QTest::newRow("line feed at the end") << "/x\n" << QByteArray();
    QTest::newRow("carriage return") << "/x\rquit" << QByteArray();
}

void TestEngineCommands::subtitles()
{
    QFETCH(QString, name);
    QTEST(loadSubtitle(name), "text");
}

void TestEngineCommands::subtitleLength()
{
    // "sub_load ", 3,990 bytes and the line feed are 4,000 bytes.
    QCOMPARE(loadSubtitle(QString(3990, 'x')), "sub_load " + QByteArray(3990, 'x') + '\n');
    QCOMPARE(loadSubtitle(QString(3991, 'x')), QByteArray());
    // Bytes count, not characters, and after escaping.
    QCOMPARE(loadSubtitle(QString(1330, QChar(0x4e2d))).size(), 4000);
    QCOMPARE(loadSubtitle(QString(1331, QChar(0x4e2d))), QByteArray());
    QCOMPARE(loadSubtitle(QString(1995, ' ')).size(), 4000);
    QCOMPARE(loadSubtitle(QString(1996, ' ')), QByteArray());
}

void TestEngineCommands::engineArgumentLists_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("decodeFlag");
    QTest::addColumn<int>("codec");
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QStringList>("mode");

    const QStringList stream = {"-rtsp-stream-over-tcp", "-framedrop", "-fps", "30"};
    const QStringList threads = {"-lavdopts", "threads=8"};
    const QStringList hardware = {"-vc", "ffh264vdpau,ffhevcvdpau"};
    for (int codec = 0; codec <= 2; ++codec) {
        QTest::addRow("file, software, codec %d", codec)
            << 1 << 0 << codec << QStringList() << QStringList();
        QTest::addRow("file, threads, codec %d", codec)
            << 1 << 1 << codec << QStringList() << threads;
        QTest::addRow("file, hardware, codec %d", codec)
            << 1 << 2 << codec << QStringList() << hardware;
    }
    QTest::newRow("stream, software") << 2 << 0 << 0 << stream << QStringList();
    QTest::newRow("stream, threads") << 2 << 1 << 0 << stream << threads;
    QTest::newRow("stream, hardware") << 2 << 2 << 0 << stream << hardware;
    QTest::newRow("unset type, unknown mode") << 0 << 3 << 0 << QStringList() << QStringList();
}

void TestEngineCommands::engineArgumentLists()
{
    QFETCH(int, type);
    QFETCH(int, decodeFlag);
    QFETCH(int, codec);
    QFETCH(QStringList, before);
    QFETCH(QStringList, mode);
    HistoryAddrList entry;
    entry.type = type;
    entry.codec_type = codec;
    entry.frame = 25;
    entry.addr = QString("/视频/a b,c;\"d\".mp4");
    entry.label = "label";
    entry.last_play_time = 77; // resuming is a command, not an argument
    defaultVolum = 64; // and so is the volume
    const QStringList expected = before +
        QStringList{entry.addr, "-slave", "-quiet", "-subcp", "cp936", "-mc", "10", "-zoom"} +
        mode + QStringList{"-vf-add", "screenshot=/shots/shot", "-wid", "4194311"};
    QCOMPARE(engineArguments(entry, decodeFlag, "/shots/", 4194311), expected);
    resetSharedState();
}

void TestEngineCommands::screenshotArgument_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("argument");
    QTest::newRow("none") << ""
                          << "screenshot=shot";
    QTest::newRow("ordinary") << "/home/u/P/"
                              << "screenshot=/home/u/P/shot";
    QTest::newRow("comma") << "/a,b/"
                           << "screenshot=/a\\,b/shot";
    QTest::newRow("commas") << "/,,/"
                            << "screenshot=/\\,\\,/shot";
    QTest::newRow("backslash") << "/a\\b/"
                               << "screenshot=/a\\b/shot";
    QTest::newRow("colon, blank, equals") << "/a:b c=d/"
                                          << "screenshot=/a:b c=d/shot";
    QTest::newRow("Chinese") << QString("/图片/") << QString("screenshot=/图片/shot");
    QTest::newRow("root") << "//"
                          << "screenshot=//shot";
    QTest::newRow("no slash at the end") << "/a"
                                         << "screenshot=/ashot";
}

void TestEngineCommands::screenshotArgument()
{
    QFETCH(QString, folder);
    const QStringList arguments = engineArguments(HistoryAddrList(), 0, folder, 1);
    const int option = arguments.indexOf("-vf-add");
    QVERIFY(option >= 0);
    QTEST(arguments.value(option + 1), "argument");
}

void TestEngineCommands::streamFrameRates_data()
{
    QTest::addColumn<float>("frame");
    QTest::addColumn<QString>("text");
    QTest::newRow("25") << 25.0f << "30";
    QTest::newRow("29.97") << 29.97f << "34.97";
    QTest::newRow("23.976") << 23.976f << "28.976";
    QTest::newRow("six digits") << 23.976024f << "28.976";
    QTest::newRow("unknown") << 0.0f << "5";
    QTest::newRow("100") << 100.0f << "105";
}

void TestEngineCommands::streamFrameRates()
{
    QFETCH(float, frame);
    HistoryAddrList entry;
    entry.type = 2;
    entry.frame = frame;
    QTEST(engineArguments(entry, 0, QString(), 1).value(3), "text");
}

void TestEngineCommands::windowIds_data()
{
    QTest::addColumn<quint64>("id");
    QTest::addColumn<QString>("text");
    QTest::newRow("zero") << quint64(0) << "0";
    QTest::newRow("ordinary") << quint64(0x1400007) << "20971527";
    QTest::newRow("above the signed range") << quint64(0xfffffffe) << "4294967294";
    QTest::newRow("32 bits only") << quint64(0x100000005) << "5";
}

void TestEngineCommands::windowIds()
{
    QFETCH(quint64, id);
    QTEST(engineArguments(HistoryAddrList(), 0, QString(), id).last(), "text");
    QTEST(mpvArguments(HistoryAddrList(), 0, id).last(), "text");
}

void TestEngineCommands::mpvArgumentLists_data()
{
    QTest::addColumn<int>("decodeFlag");
    QTest::addColumn<int>("type");
    QTest::addColumn<QStringList>("mode");
    QTest::newRow("software") << 0 << 1 << QStringList{"-hwdec=no"};
    QTest::newRow("threads") << 1 << 1 << QStringList{"-hwdec=no"};
    QTest::newRow("hardware") << 2 << 1 << QStringList{"-hwdec=auto", "-vo=gpu"};
    QTest::newRow("stream") << 0 << 2 << QStringList{"-hwdec=no"};
}

void TestEngineCommands::mpvArgumentLists()
{
    QFETCH(int, decodeFlag);
    QFETCH(int, type);
    QFETCH(QStringList, mode);
    HistoryAddrList entry;
    entry.type = type;
    entry.addr = "/a b.mp4";
    entry.label = "a b.mp4";
    const QStringList expected = QStringList{"/a b.mp4", "--title", "a b.mp4"} + mode +
        QStringList{"--no-quiet",
                    "--no-config",
                    "--terminal",
                    "--no-msg-color",
                    "--input-file=/dev/stdin",
                    "--no-fs",
                    "--sub-auto=fuzzy",
                    "--ao=pulse",
                    "--no-input-default-bindings",
                    "--input-x11-keyboard=no",
                    "--no-input-cursor",
                    "--cursor-autohide=no",
                    "-wid",
                    "4194311"};
    QCOMPARE(mpvArguments(entry, decodeFlag, 4194311), expected);
}

void TestEngineCommands::answers_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("seconds");
    const auto row = [](const QByteArray &line, Answer::Kind kind, int seconds) {
        QTest::newRow(line.isEmpty() ? "empty" : line.constData()) << line << int(kind) << seconds;
    };
    row("ANS_LENGTH=20.00", Answer::Length, 20);
    row("ANS_LENGTH=12.99", Answer::Length, 12);
    row("ANS_LENGTH 7", Answer::Length, 7); // any one separator
    row("ANS_LENGTH=100\r", Answer::Length, 100);
    row("ANS_LENGTH= 5", Answer::Length, 5);
    row("ANS_LENGTH=1e3", Answer::Length, 1000);
    row("ANS_LENGTH=16777217", Answer::Length, 16777216); // single precision
    row("ANS_LENGTH", Answer::Length, 0);
    row("ANS_LENGTH=", Answer::Length, 0);
    row("ANS_LENGTH=abc", Answer::Length, 0);
    row("ANS_LENGTH=12abc", Answer::Length, 0);
    row("ANS_LENGTH=1,5", Answer::Length, 0);
    row("ANS_LENGTHS=5", Answer::Length, 0);
    row("ANS_LENGTH=\xff\xfe", Answer::Length, 0);
    row("ANS_LENGTH=nan", Answer::Length, 0);
    row("ANS_LENGTH=inf", Answer::Length, INT_MAX);
    row("ANS_LENGTH=-inf", Answer::Length, 0);
    row("ANS_LENGTH=1e60", Answer::Length, INT_MAX);
    row("ANS_LENGTH=-1e60", Answer::Length, 0);
    row("ANS_LENGTH=1e999", Answer::Length, INT_MAX);
    row("ANS_LENGTH=2147483520", Answer::Length, 2147483520); // largest that fits
    row("ANS_LENGTH=2147483648", Answer::Length, INT_MAX);
    row("ANS_LENGTH=-2147483648", Answer::Length, 0);
    row("ANS_TIME_POSITION=1.6", Answer::Position, 1);
    row("ANS_TIME_POSITION=12.9", Answer::Position, 12);
    row("ANS_TIME_POSITION=0.0", Answer::Position, 0);
    row("ANS_TIME_POSITION=-0.9", Answer::Position, 0);
    row("ANS_TIME_POSITION=-1.5", Answer::Position, -1);
    row("ANS_TIME_POSITION=inf", Answer::Position, INT_MAX);
    row("ANS_TIME_POSITION=nan", Answer::Position, 0);
    row("ANS_TIME_POSITION", Answer::Position, 0);
    row("ANS_TIME_POSITION=x", Answer::Position, 0);
    row("ANS_ERROR=PROPERTY_UNAVAILABLE", Answer::Other, 0);
    row("ANS_TIME_POS=5", Answer::Other, 0);
    row(" ANS_LENGTH=5", Answer::Other, 0);
    row("ans_length=5", Answer::Other, 0);
    row("Playing ANS_LENGTH=5", Answer::Other, 0);
    row("", Answer::Other, 0);
    row("A", Answer::Other, 0);
    QTest::newRow("ends at a NUL") << QByteArray("ANS_LENGTH=12\0"
                                                 "34",
                                                 16)
                                   << int(Answer::Length) << 12;
    QTest::newRow("long") << "ANS_LENGTH=" + QByteArray(1 << 20, '9') << int(Answer::Length)
                          << INT_MAX;
}

void TestEngineCommands::answers()
{
    QFETCH(QByteArray, line);
    const Answer answer = parseAnswer(line);
    QTEST(int(answer.kind), "kind");
    QTEST(answer.seconds, "seconds");
}

void TestEngineCommands::remarks_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("number");
    QTest::addColumn<QByteArray>("name");
    const auto row = [](const char *line, Remark::Kind kind) {
        QTest::newRow(line) << QByteArray(line) << int(kind) << 0 << QByteArray();
    };
    row("Playing /f/a.mp4.", Remark::Opening);
    row("VIDEO:  [H264]  320x240  0bpp  25.000 fps    0.0 kbps ( 0.0 kbyte/s)", Remark::HasPicture);
    row("Starting playback...", Remark::Begun);
    row("VO: [x11] 320x240 => 320x240 Planar YV12  [zoom]", Remark::ShowsPicture);
    row("[lavf] stream 1: subtitle (srt), -sid 0", Remark::OwnSubtitles);
    row("[lavf] stream 2: subtitle (ssa), -sid 1, a b", Remark::OwnSubtitles);
    row("[mkv] Track ID 3: subtitles (S_TEXT/ASS) \"a b\", -sid 1, -slang und",
        Remark::OwnSubtitles);
    row("[Ogg] stream 1: subtitles (SRT-like text subtitles), -sid 0", Remark::OwnSubtitles);
    row("[asfheader] Subtitle stream found, -sid 0", Remark::OwnSubtitles);
    row("VIDEO H264(pid=256) NO AUDIO! (try increasing -tsprobe) SUB DVB(pid=257)  PROGRAM N. 1",
        Remark::OwnSubtitles);
    row("VIDEO H264(pid=256) AUDIO MPA(pid=258) SUB Teletext(pid=257)  PROGRAM N. 1",
        Remark::OwnSubtitles);
    row("NO VIDEO! AUDIO MPA(pid=258) SUB DVB(pid=257)  PROGRAM N. 1", Remark::OwnSubtitles);
    row("VIDEO H264(pid=256) AUDIO MPA(pid=258) NO SUBS (yet)!  PROGRAM N. 1", Remark::Other);
    row("[lavf] stream 0: video (h264), -vid 0", Remark::Other);
    row("[lavf] stream 0: video (subtitle), -vid 0", Remark::Other);
    row("[mkv] Track ID 1: video (V_MPEG4/ISO/AVC), -vid 0", Remark::Other);
    row(" title: [lavf] stream 1: subtitle (srt), -sid 0", Remark::Other);
    row(" comment: Playing /f/a.mp4.", Remark::Other);
    row("Load subtitles in ./", Remark::Other);
    row("ANS_TIME_POSITION=3.0", Remark::Other);
    row("", Remark::Other);
    row("SUB: Added subtitle file", Remark::Other);
    row("SUB: Added subtitle file (", Remark::Other);
    row("SUB: Added subtitle file (1)", Remark::Other);
    row("SUB: Added subtitle file (): /a", Remark::Other);
    row("SUB: Added subtitle file (0): /a", Remark::Other);
    row("SUB: Added subtitle file (-1): /a", Remark::Other);
    row("SUB: Added subtitle file (x): /a", Remark::Other);
    row("SUB: Added subtitle file (99999999999): /a", Remark::Other);
    row("SUB: Removed subtitle file (1): /a", Remark::Other);
    const auto file = [](const char *line, int number, const char *name) {
        QTest::newRow(line) << QByteArray(line) << int(Remark::AddedSubtitle) << number
                            << QByteArray(name);
    };
    file("SUB: Added subtitle file (1): ./a.srt", 1, "./a.srt");
    file("SUB: Added subtitle file (12): /a b\\c.srt", 12, "/a b\\c.srt");
    file("SUB: Added subtitle file (2): /x (3): y.srt", 2, "/x (3): y.srt");
    file("SUB: Added subtitle file (1): ", 1, "");
}

void TestEngineCommands::remarks()
{
    QFETCH(QByteArray, line);
    const Remark remark = parseRemark(line);
    QTEST(int(remark.kind), "kind");
    QTEST(remark.number, "number");
    QTEST(remark.name, "name");
}

void TestEngineCommands::subtitleFileNumbers()
{
    QCOMPARE(showSubtitleFile(1), QByteArray("sub_file 0\n"));
    QCOMPARE(showSubtitleFile(12), QByteArray("sub_file 11\n"));
}

void TestEngineCommands::clock_data()
{
    QTest::addColumn<int>("total");
    QTest::addColumn<int>("hours");
    QTest::addColumn<int>("minutes");
    QTest::addColumn<int>("seconds");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << 0 << 0 << 0 << 0 << "00:00:00";
    QTest::newRow("9") << 9 << 0 << 0 << 9 << "00:00:09";
    QTest::newRow("59") << 59 << 0 << 0 << 59 << "00:00:59";
    QTest::newRow("60") << 60 << 0 << 1 << 0 << "00:01:00";
    QTest::newRow("61") << 61 << 0 << 1 << 1 << "00:01:01";
    QTest::newRow("3599") << 3599 << 0 << 59 << 59 << "00:59:59";
    QTest::newRow("3600") << 3600 << 0 << 0 << 0 << "00:00:00"; // intended
    QTest::newRow("3601") << 3601 << 1 << 0 << 1 << "01:00:01";
    QTest::newRow("7199") << 7199 << 1 << 59 << 59 << "01:59:59";
    QTest::newRow("7200") << 7200 << 2 << 0 << 0 << "02:00:00";
    QTest::newRow("45296") << 45296 << 12 << 34 << 56 << "12:34:56";
    QTest::newRow("360000") << 360000 << 100 << 0 << 0 << "100:00:00";
    QTest::newRow("largest") << INT_MAX << 596523 << 14 << 7 << "596523:14:07";
    QTest::newRow("-1") << -1 << 0 << 0 << -1 << "00:00:-1";
    QTest::newRow("-75") << -75 << 0 << 0 << -75 << "00:00:-75";
}

void TestEngineCommands::clock()
{
    QFETCH(int, total);
    const ClockTime time = splitSeconds(total);
    QTEST(time.hours, "hours");
    QTEST(time.minutes, "minutes");
    QTEST(time.seconds, "seconds");
    QTEST(clockText(total), "text");
}

QTEST_GUILESS_MAIN(TestEngineCommands)
#include "tst_enginecommands.moc"
