// The probe with the real ffprobe, on clips made here with ffmpeg.
#include "common.h"
#include "processes.h"
#include "testsupport.h"

#include <QDir>
#include <QProcess>
#include <QtTest>

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int attendances = 0;

class Impatient : public CommandCompany {
    bool attend() override { return ++attendances < 5; }
};

} // namespace

class TestProbe : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { resetSharedState(); }
    void cleanup() { QCOMPARE(strayFiles(), QStringList()); }
    void cleanupTestCase() { QDir::setCurrent("/"); }

    void h264();
    void hevcWithDurationTag();
    void otherCodec();
    void audioOnly();
    void coverPicture();
    void noStreams();
    void subtitlesAndPicturesAreAccepted();
    void refused_data();
    void refused();
    void truncatedMatroskaIsAccepted();
    void manyStreamsAreRefused();
    void hostileNames_data();
    void hostileNames();
    void nameThatIsNoUtf8();
    void relativeName();
    void whatNeverAnswers_data();
    void whatNeverAnswers();

private:
    QString clip(const QString &name) const { return dir.filePath(name); }
    void make(const QString &name, const QStringList &arguments);
    QStringList strayFiles() const
    {
        return QDir(clip("work")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    QTemporaryDir dir;
};

void TestProbe::make(const QString &name, const QStringList &arguments)
{
    QProcess ffmpeg;
    ffmpeg.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    ffmpeg.start("ffmpeg", QStringList{"-v", "error", "-nostdin", "-y"} + arguments << clip(name));
    QVERIFY(ffmpeg.waitForStarted());
    QVERIFY(ffmpeg.waitForFinished(60000));
    QCOMPARE(ffmpeg.exitCode(), 0);
}

void TestProbe::initTestCase()
{
    const QStringList sound = {"-f", "lavfi", "-i", "sine=duration=2:sample_rate=48000"};
    const auto picture = [](const QString &size, const QString &rate) {
        return QStringList{"-f", "lavfi", "-i",
                           "testsrc=size=" + size + ":rate=" + rate + ":duration=2"};
    };
    QVERIFY(dir.isValid());
    QVERIFY(QDir(dir.path()).mkdir("work"));
    QVERIFY(QDir::setCurrent(clip("work")));

    make("h264.mp4",
         picture("128x96", "25") + sound +
             QStringList{"-c:v", "libx264", "-c:a", "aac", "-ac", "2"});
    make("hevc.mkv",
         picture("128x96", "30000/1001") +
             QStringList{"-c:v", "libx265", "-x265-params", "log-level=error"});
    make("mpeg4.avi", picture("64x48", "10") + QStringList{"-c:v", "mpeg4"});
    make("sound.mp3", sound);
    make("picture.png", picture("32x16", "1") + QStringList{"-frames:v", "1"});
    make("cover.mp4",
         {"-i", clip("h264.mp4"), "-i", clip("picture.png"), "-map", "0", "-map", "1", "-c", "copy",
          "-disposition:v:1", "attached_pic"});
    make("many.mkv",
         QStringList{"-i", clip("sound.mp3")} +
                 QString("-map 0 ").repeated(12).split(' ', Qt::SkipEmptyParts)
             << "-c"
             << "copy");
    writeFile(clip("none.ffmeta"), ";FFMETADATA1\ntitle=x\n");
    writeFile(clip("subtitles.srt"), "1\n00:00:00,000 --> 00:00:01,000\nhello\n");
    writeFile(clip("text.txt"), "nothing but text\n");
    writeFile(clip("text.mp4"), "nothing but text\n");
    writeFile(clip("empty.mp4"), "");
    writeFile(clip("truncated.mp4"), readFile(clip("h264.mp4")).left(1500));
    writeFile(clip("truncated.mkv"), readFile(clip("hevc.mkv")).left(3000));
}

void TestProbe::h264()
{
    QVERIFY(probeMedia(clip("h264.mp4")));
    QCOMPARE(videoInfo.type, 0);
    QCOMPARE(videoInfo.width, 128);
    QCOMPARE(videoInfo.height, 96);
    QCOMPARE(videoInfo.frame, 25.0F);
    QCOMPARE(videoInfo.vcodecType, QString("H.264 / AVC / MPEG-4 AVC / MPEG-4 part 10"));
    QCOMPARE(videoInfo.duration, 2.0);
    QCOMPARE(videoInfo.showDuration, QString("00:00:02"));
    QVERIFY(videoInfo.bitRate > 1000);
    QCOMPARE(videoInfo.acodecType, QString("AAC (Advanced Audio Coding)"));
    QVERIFY(videoInfo.acodecRate > 1000);
    QCOMPARE(videoInfo.asampleRate, 48000);
    QCOMPARE(videoInfo.channels, 2);
}

void TestProbe::hevcWithDurationTag()
{
    QVERIFY(probeMedia(clip("hevc.mkv")));
    QCOMPARE(videoInfo.type, 1);
    QCOMPARE(videoInfo.width, 128);
    QCOMPARE(videoInfo.height, 96);
    QCOMPARE(videoInfo.frame, 30000.0F / 1001.0F);
    QCOMPARE(videoInfo.vcodecType, QString("H.265 / HEVC (High Efficiency Video Coding)"));
    QCOMPARE(videoInfo.duration, 0.0); // this container keeps it in a tag
    QCOMPARE(videoInfo.showDuration, QString("00:00:02"));
    QCOMPARE(videoInfo.bitRate, 0);
    QCOMPARE(videoInfo.acodecType, QString());
    QCOMPARE(videoInfo.channels, 0);
}

void TestProbe::otherCodec()
{
    QVERIFY(probeMedia(clip("mpeg4.avi")));
    QCOMPARE(videoInfo.type, 2);
    QCOMPARE(videoInfo.width, 64);
    QCOMPARE(videoInfo.height, 48);
    QCOMPARE(videoInfo.frame, 10.0F);
    QCOMPARE(videoInfo.vcodecType, QString("MPEG-4 part 2"));
}

void TestProbe::audioOnly()
{
    QVERIFY(probeMedia(clip("sound.mp3")));
    QCOMPARE(videoInfo.type, 0);
    QCOMPARE(videoInfo.width, 0);
    QCOMPARE(videoInfo.height, 0);
    QCOMPARE(videoInfo.frame, 0.0F);
    QCOMPARE(videoInfo.showDuration, QString());
    QCOMPARE(videoInfo.vcodecType, QString());
    QCOMPARE(videoInfo.acodecType, QString("MP3 (MPEG audio layer 3)"));
    QCOMPARE(videoInfo.acodecRate, 64000.0F);
    QCOMPARE(videoInfo.asampleRate, 48000);
    QCOMPARE(videoInfo.channels, 1);
}

void TestProbe::coverPicture()
{
    QVERIFY(probeMedia(clip("cover.mp4")));
    QCOMPARE(videoInfo.type, 2); // the picture's values, which come last
    QCOMPARE(videoInfo.width, 32);
    QCOMPARE(videoInfo.height, 16);
    QCOMPARE(videoInfo.frame, 0.0F);
    QCOMPARE(videoInfo.vcodecType, QString("PNG (Portable Network Graphics) image"));
    QCOMPARE(videoInfo.acodecType, QString("AAC (Advanced Audio Coding)"));
}

void TestProbe::noStreams()
{
    LogCapture log;
    QVERIFY(probeMedia(clip("none.ffmeta")));
    QVERIFY(log.contains("array size is  0"));
    QCOMPARE(videoInfo.width, 0);
}

void TestProbe::subtitlesAndPicturesAreAccepted()
{
    QVERIFY(probeMedia(clip("subtitles.srt")));
    QCOMPARE(videoInfo.vcodecType, QString());
    QVERIFY(probeMedia(clip("picture.png")));
    QCOMPARE(videoInfo.type, 2);
    QCOMPARE(videoInfo.width, 32);
}

void TestProbe::refused_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"text.txt", "text.mp4", "empty.mp4", "missing.mp4", "truncated.mp4",
                             "work", "no/such/folder.mp4"})
        QTest::newRow(name) << clip(name);
    QTest::newRow("no name") << QString();
    QTest::newRow("option") << QString("-version");
    QTest::newRow("dead stream") << QString("rtsp://127.0.0.1:1/x");
}

void TestProbe::refused()
{
    QFETCH(QString, name);
    videoInfo.width = 5;
    QVERIFY(!probeMedia(name));
    QCOMPARE(videoInfo.width, 0);
}

void TestProbe::truncatedMatroskaIsAccepted()
{
    QVERIFY(probeMedia(clip("truncated.mkv"))); // its head has the streams
    QCOMPARE(videoInfo.type, 1);
    QCOMPARE(videoInfo.width, 128);
}

void TestProbe::manyStreamsAreRefused()
{
    QProcess ffprobe;
    ffprobe.start("ffprobe", {"-v", "quiet", "-of", "json", "-show_streams", clip("many.mkv")});
    QVERIFY(ffprobe.waitForFinished());
    QVERIFY(ffprobe.readAllStandardOutput().size() > 9998);
    QVERIFY(!probeMedia(clip("many.mkv")));
}

void TestProbe::hostileNames_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name :
         {"$(touch pwn).mp4", "`touch pwn`.mp4", "a\"b.mp4", "\";touch pwn;\".mp4", "a\\b.mp4",
          "a\\", "it's; touch pwn #.mp4", "a\nb.mp4", "-version.mp4", "中文 片.mp4",
          "\xF0\x9F\x8E\xAC.mp4", "%20?a=b&c|d>pwn.mp4", "$HOME ${PATH} $$.mp4", " .mp4 "})
        QTest::newRow(name) << QString::fromUtf8(name);
    QTest::newRow("255 bytes") << QString(251, '`') + ".mp4";
}

void TestProbe::hostileNames()
{
    QFETCH(QString, name);
    const QString path = clip(name);
    QVERIFY(QFile::copy(clip("mpeg4.avi"), path));
    const bool accepted = probeMedia(path);
    QVERIFY(QFile::remove(path));
    QVERIFY(accepted);
    QCOMPARE(videoInfo.width, 64);
    QVERIFY(!probeMedia(path)); // it was that very file
}

// Qt can't hold such a name, so the file isn't found; it is refused like a missing one.
void TestProbe::nameThatIsNoUtf8()
{
    const QByteArray source = QFile::encodeName(clip("mpeg4.avi"));
    const QByteArray target = QFile::encodeName(dir.path()) + "/\xff`touch pwn`\xfe.mp4";
    QCOMPARE(rename(source.constData(), target.constData()), 0);
    const bool accepted = probeMedia(QFile::decodeName(target));
    QCOMPARE(rename(target.constData(), source.constData()), 0);
    QVERIFY(!accepted);
}

void TestProbe::relativeName()
{
    QVERIFY(probeMedia("../mpeg4.avi"));
    QCOMPARE(videoInfo.width, 64);
}

void TestProbe::whatNeverAnswers_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("FIFO") << clip("fifo");
    QTest::newRow("silent server") << QString("http://127.0.0.1:%1/film.mp4");
    QTest::newRow("silent stream") << QString("rtsp://127.0.0.1:%1/live");
}

void TestProbe::whatNeverAnswers()
{
    QFETCH(QString, name);
    // A server that lets itself be reached, and says nothing.
    const int server = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    QCOMPARE(bind(server, reinterpret_cast<sockaddr *>(&address), length), 0);
    QCOMPARE(listen(server, 1), 0);
    QCOMPARE(getsockname(server, reinterpret_cast<sockaddr *>(&address), &length), 0);
    if (name.contains('%'))
        name = name.arg(ntohs(address.sin_port));
    mkfifo(QFile::encodeName(clip("fifo")).constData(), 0600);
    const EnvironmentVariable mark("PROBE_BENCH", Processes::ownMark());
    attendances = 0;
    companyAfter = 1000;
    videoInfo.width = 5;
    const bool accepted = probeMedia(
        name, []() -> std::unique_ptr<CommandCompany> { return std::make_unique<Impatient>(); });
    companyAfter = 10000;
    close(server);
    QVERIFY(!accepted);
    QVERIFY(probeWasGivenUp());
    QCOMPARE(attendances, 5);
    QCOMPARE(videoInfo.width, 0);
    QTRY_COMPARE(Processes::withEnvironment("PROBE_BENCH=" + Processes::ownMark()),
                 QList<qint64>());
    QVERIFY(probeMedia(clip("mpeg4.avi")));
    QVERIFY(!probeWasGivenUp());
}

QTEST_GUILESS_MAIN(TestProbe)
#include "tst_probe.moc"
