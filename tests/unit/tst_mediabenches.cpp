// The tests' own tools for media, sound, the screen and the programs found on PATH.
#include "clips.h"
#include "processes.h"
#include "screen.h"
#include "soundbench.h"
#include "testsupport.h"
#include "toolbench.h"

#include <QDialog>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

class TestMediaBenches : public QObject {
    Q_OBJECT

private slots:
    void toolsAnswerAndRecord();
    void toolsGoMissing();
    void clipsAreWhatTheySay_data();
    void clipsAreWhatTheySay();
    void clipsAreKept();
    void brokenClips();
    void soundIsHeard();
    void silenceIsHeard();
    void withoutASoundServer();
    void screenIsSeen();
    void windowsAreFoundAndUsed();
    void personIsImitated();
};

namespace {

QByteArray runTool(const QString &program, const QStringList &arguments, int *status = nullptr)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(60000);
    if (status)
        *status = process.exitCode();
    return process.readAllStandardOutput();
}

} // namespace

void TestMediaBenches::toolsAnswerAndRecord()
{
    StandInTools tools;
    const QString odd = QStringLiteral("/片 '\"$HOME\\`x*.mp4");
    tools.setProbeAnswerFor(odd, "odd\nwithout end");
    QCOMPARE(runTool("ffprobe", {"-of", "json", odd}), QByteArray("odd\nwithout end"));
    const QJsonObject stream = QJsonDocument::fromJson(runTool("ffprobe", {"b", QString()}))
                                   .object()["streams"]
                                   .toArray()[0]
                                   .toObject();
    QCOMPARE(stream["codec_name"].toString(), QStringLiteral("h264"));
    QCOMPARE(stream["width"].toInt(), 320);
    QCOMPARE(stream["height"].toInt(), 240);
    QCOMPARE(tools.probeCalls().size(), 2);
    QCOMPARE(tools.probeCalls().at(0), QByteArrayList({"-of", "json", odd.toUtf8()}));
    QCOMPARE(tools.probeCalls().at(1), QByteArrayList({"b", ""}));
    tools.setProbeAnswer("changed");
    QCOMPARE(runTool("ffprobe", {"a"}), QByteArray("changed"));
    tools.setDpkgOutput("ii  libvdpau1\n");
    QCOMPARE(runTool("dpkg", {"-l"}), QByteArray("ii  libvdpau1\n"));
    QCOMPARE(tools.dpkgCalls(), QList<QByteArrayList>({{"-l"}}));
}

void TestMediaBenches::toolsGoMissing()
{
    int status = 0;
    {
        StandInTools tools;
        tools.setProbeExit(1);
        runTool("ffprobe", {"a"}, &status);
        QCOMPARE(status, 1);
        tools.setProbeMissing();
        tools.setDpkgMissing();
        QCOMPARE(runTool("ffprobe", {"a"}, &status), QByteArray());
        QCOMPARE(status, 127);
        QCOMPARE(runTool("dpkg", {"-l"}, &status), QByteArray());
        QCOMPARE(status, 127);
    }
    runTool("ffprobe", {"-version"}, &status);
    QCOMPARE(status, 0);
}

void TestMediaBenches::clipsAreWhatTheySay_data()
{
    QTest::addColumn<QString>("clip");
    QTest::addColumn<QStringList>("codecs");
    QTest::addColumn<double>("seconds");
    QTest::newRow("colour") << Clips::oneColour("red") << QStringList{"h264"} << 10.0;
    QTest::newRow("tone") << Clips::oneColour("#0000ff", 3, true) << QStringList{"h264", "aac"}
                          << 3.0;
    QTest::newRow("pattern") << Clips::pattern(2) << QStringList{"h264"} << 2.0;
    QTest::newRow("ntsc") << Clips::ntscRate() << QStringList{"h264"} << 3.0;
    QTest::newRow("hevc") << Clips::hevc(2) << QStringList{"hevc"} << 2.0;
    QTest::newRow("other") << Clips::otherCodec(2) << QStringList{"mpeg4"} << 2.0;
    QTest::newRow("matroska") << Clips::matroska(2) << QStringList{"h264"} << 2.0;
    QTest::newRow("audio") << Clips::audioOnly(2) << QStringList{"mp3"} << 2.0;
    QTest::newRow("cover") << Clips::audioWithCover(2) << QStringList{"mp3", "png"} << 2.0;
}

void TestMediaBenches::clipsAreWhatTheySay()
{
    QFETCH(QString, clip);
    QFETCH(QStringList, codecs);
    QFETCH(double, seconds);
    const QJsonObject probed =
        QJsonDocument::fromJson(
            runTool("ffprobe",
                    {"-v", "error", "-of", "json", "-show_streams", "-show_format", clip}))
            .object();
    QStringList found;
    const QJsonArray streams = probed["streams"].toArray();
    for (const QJsonValue &stream : streams)
        found << stream["codec_name"].toString();
    QCOMPARE(found, codecs);
    QVERIFY(qAbs(probed["format"]["duration"].toString().toDouble() - seconds) < 0.2);
    if (clip == Clips::matroska(2))
        QVERIFY(probed["streams"][0]["tags"]["DURATION"].toString().startsWith("00:00:02"));
    if (clip == Clips::ntscRate())
        QCOMPARE(probed["streams"][0]["avg_frame_rate"].toString(), QStringLiteral("30000/1001"));
}

void TestMediaBenches::clipsAreKept()
{
    const QString clip = Clips::oneColour("red");
    const QDateTime made = QFileInfo(clip).lastModified();
    QCOMPARE(Clips::oneColour("red"), clip);
    QCOMPARE(QFileInfo(clip).lastModified(), made);
    QTemporaryDir folder;
    const QString copied =
        Clips::copy(clip, folder.filePath("夹 子"), QStringLiteral("片 '1'.mp4"));
    QVERIFY(copied.endsWith(QStringLiteral("/夹 子/片 '1'.mp4")));
    QCOMPARE(readFile(copied), readFile(clip));
    QVERIFY(QFile::exists(Clips::subtitles()));
}

void TestMediaBenches::brokenClips()
{
    for (const QString &clip : {Clips::truncated(), Clips::textFile()}) {
        int status = 0;
        runTool("ffprobe", {"-v", "quiet", "-show_streams", clip}, &status);
        QVERIFY2(status != 0, qPrintable(clip));
    }
}

void TestMediaBenches::soundIsHeard()
{
    PrivatePulse pulse;
    if (!pulse.isRunning())
        QSKIP(pulse.missing());
    QCOMPARE(pulse.streams(), 0);
    QProcess player;
    player.start("ffmpeg",
                 {"-nostdin", "-v", "error", "-re", "-i", Clips::audioOnly(10), "-f", "pulse",
                  "-device", "bench", "tone"});
    QTRY_COMPARE(pulse.streams(), 1);
    QByteArray sound;
    QTRY_VERIFY(PrivatePulse::level(sound = pulse.record(500)) > 0.05);
    QVERIFY2(qAbs(PrivatePulse::frequency(sound) - 440) < 10,
             qPrintable(QString::number(PrivatePulse::frequency(sound))));
    player.kill();
    player.waitForFinished();
}

void TestMediaBenches::silenceIsHeard()
{
    PrivatePulse pulse;
    if (!pulse.isRunning())
        QSKIP(pulse.missing());
    const QByteArray silence = pulse.record(300);
    QCOMPARE(silence.size(), PrivatePulse::rate * 3 / 10 * 2);
    QCOMPARE(PrivatePulse::level(silence), 0.0);
    QCOMPARE(PrivatePulse::frequency(silence), 0.0);
    QByteArray square; // 100 Hz, full scale
    for (int i = 0; i < PrivatePulse::rate; ++i) {
        const qint16 sample = i / (PrivatePulse::rate / 200) % 2 ? -32767 : 32767;
        square.append(reinterpret_cast<const char *>(&sample), 2);
    }
    QVERIFY(qAbs(PrivatePulse::level(square) - 1) < 0.001);
    QVERIFY(qAbs(PrivatePulse::frequency(square) - 100) <= 2);
}

// A desktop with another sound server, and a server that can't give what is asked for.
void TestMediaBenches::withoutASoundServer()
{
    QTemporaryDir folder;
    {
        const EnvironmentVariable nothingThere("PATH", QFile::encodeName(folder.path()));
        const PrivatePulse pulse;
        QVERIFY(!pulse.isRunning());
        QCOMPARE(QString(pulse.missing()), QString("there is no pulseaudio"));
    }
    for (const char *tool : {"pactl", "parec", "pulseaudio"})
        writeProgram(folder.filePath(tool), "exit 1\n");
    const PathPrefix ends(folder.path());
    QElapsedTimer clock;
    clock.start();
    const PrivatePulse pulse;
    QVERIFY(!pulse.isRunning());
    QCOMPARE(QString(pulse.missing()), QString("the private sound server gives no output"));
    QVERIFY2(clock.elapsed() < 10000, "its end is not noticed");
}

void TestMediaBenches::screenIsSeen()
{
    QWidget window;
    window.setStyleSheet("background-color: #00ff00");
    window.setGeometry(200, 150, 300, 200);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QRect area(window.mapToGlobal(QPoint(0, 0)), window.size());
    QVERIFY(Screen::waitForColour(area, QColor("lime"), 0.99));
    QVERIFY(!Screen::waitForColour(area, Qt::red, 0.01, 100));
    QCOMPARE(Screen::geometry(window.winId()), area);
    QCOMPARE(Screen::extent(Screen::grab(), QColor("lime")), area);
    QCOMPARE(Screen::count(Screen::grab(area), QColor("lime")), 300 * 200);
    QCOMPARE(Screen::share(QImage(), Qt::red), 0.0);
    QTemporaryDir folder;
    Screen::save(folder.filePath("x.png"));
    QCOMPARE(QImage(folder.filePath("x.png")).size(), QSize(1280, 800));
}

void TestMediaBenches::windowsAreFoundAndUsed()
{
    QWidget first;
    first.setWindowTitle(QStringLiteral("第一"));
    first.setGeometry(100, 100, 300, 200);
    first.show();
    QVERIFY(QTest::qWaitForWindowActive(&first));
    QWidget second;
    second.setWindowTitle("second");
    second.setGeometry(150, 150, 300, 200);
    second.show();
    QVERIFY(QTest::qWaitForWindowActive(&second));
    QTRY_COMPARE(Screen::active(), second.winId());
    QCOMPARE(Screen::windowsNamed(QStringLiteral("第一")), QList<qulonglong>() << first.winId());
    QCOMPARE(Screen::waitForWindowNamed("second"), second.winId());
    QCOMPARE(Screen::waitForWindowNamed("third", 100), 0);
    QCOMPARE(Screen::processOf(first.winId()), QCoreApplication::applicationPid());
    const QList<qulonglong> own = Screen::windowsOf(QCoreApplication::applicationPid());
    QVERIFY(own.contains(first.winId()) && own.contains(second.winId()));
    QVERIFY(Screen::isAbove(second.winId(), first.winId()));
    Screen::activate(first.winId());
    QVERIFY(QTest::qWaitForWindowActive(&first));
    QTRY_VERIFY(Screen::isAbove(first.winId(), second.winId()));
    Screen::moveWindow(first.winId(), QPoint(400, 300));
    QTRY_VERIFY(Screen::geometry(first.winId()).x() >= 400);
    Screen::resizeWindow(first.winId(), QSize(350, 250));
    QTRY_COMPARE(first.size(), QSize(350, 250));
    first.setWindowState(Qt::WindowFullScreen);
    QTRY_VERIFY(Screen::hasState(first.winId(), "_NET_WM_STATE_FULLSCREEN"));
    Screen::closeWindow(second.winId());
    QTRY_VERIFY(!second.isVisible());
    QTRY_VERIFY(!Screen::isViewable(second.winId()));
    QVERIFY(Screen::isViewable(first.winId()));
}

void TestMediaBenches::personIsImitated()
{
    class Receiver : public QWidget {
    public:
        QStringList seen;

    protected:
        void keyPressEvent(QKeyEvent *event) override { seen << "key " + event->text(); }
        void mousePressEvent(QMouseEvent *event) override
        {
            seen << QStringLiteral("press %1 at %2,%3")
                        .arg(event->button())
                        .arg(event->x())
                        .arg(event->y());
        }
        void mouseReleaseEvent(QMouseEvent *) override { seen << "release"; }
    };
    Receiver receiver;
    receiver.setGeometry(200, 200, 200, 200);
    receiver.show();
    QVERIFY(QTest::qWaitForWindowActive(&receiver));
    const QPoint spot = receiver.mapToGlobal(QPoint(30, 40));
    Screen::click(spot);
    QTRY_COMPARE(receiver.seen, QStringList({"press 1 at 30,40", "release"}));
    receiver.seen.clear();
    Screen::press(spot, 3);
    QTRY_COMPARE(receiver.seen, QStringList{"press 2 at 30,40"});
    Screen::release(3);
    QTRY_COMPARE(receiver.seen.size(), 2);
    receiver.seen.clear();
    Screen::key("x");
    QTRY_COMPARE(receiver.seen, QStringList{"key x"});
}

QTEST_MAIN(TestMediaBenches)
#include "tst_mediabenches.moc"
