// The second engine. Its place is fixed, so this program runs itself again where the stand-in is
// bound to it.
#include "engine.h"
#include "enginecommands.h"
#include "playerbench.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>

#include <cstdlib>
#include <unistd.h>

namespace {
const char mpvPath[] = "/usr/bin/mpv";
const char insideMark[] = "MPV_BENCH";
} // namespace

class TestMpv : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void arguments_data();
    void arguments();
    void startSetsNeitherTimerNorTitles();
    void pauseCommands();
    void restartSendsNoQuit();
    void restartOfOneThatReadsNothing();
    void restartAfterTheOtherEngine();
    void stopSendsQuit();
    void resumes();

private:
    TestWindow &openWithMpv();

    std::unique_ptr<PlayerBench> bench;
    std::unique_ptr<EnvironmentVariable> folder;
};

void TestMpv::init()
{
    bench = std::make_unique<PlayerBench>(3);
    folder = std::make_unique<EnvironmentVariable>("STANDIN_DIR",
                                                   QFile::encodeName(bench->engine.folder()));
    bench->engine.setSeenAs(mpvPath, "STANDIN_DIR=" + QFile::encodeName(bench->engine.folder()));
}

void TestMpv::cleanup()
{
    folder.reset();
    bench.reset();
}

// As the settings loader would never do.
TestWindow &TestMpv::openWithMpv()
{
    TestWindow &window = bench->open();
    decodeSoftware = 1;
    return window;
}

void TestMpv::arguments_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QByteArrayList>("decoding");
    QTest::newRow("software") << 0 << QByteArrayList{"-hwdec=no"};
    QTest::newRow("threads") << 1 << QByteArrayList{"-hwdec=no"};
    QTest::newRow("hardware") << 2 << QByteArrayList{"-hwdec=auto", "-vo=gpu"};
}

void TestMpv::arguments()
{
    QFETCH(int, mode);
    QFETCH(QByteArrayList, decoding);
    TestWindow &window = openWithMpv();
    decodeFlag = mode;
    addrlist[1].codec_type = 2; // no box for this engine
    addrlist[1].type = 2;
    addrlist[1].label = "片 名";
    bench->play(1);
    QVERIFY(bench->engine.waitForStarts(1));
    QByteArrayList expected;
    const quint64 id = window.ui->playWidget->winId();
    for (const QString &argument : enginecommands::mpvArguments(addrlist[1], mode, id))
        expected << argument.toLocal8Bit();
    QCOMPARE(expected.mid(3, decoding.size()), decoding);
    QCOMPARE(bench->engine.last().arguments, expected);
    QVERIFY(bench->log.contains("arglist: (\"/f/1.mp4\", \"--title\", "));
}

void TestMpv::startSetsNeitherTimerNorTitles()
{
    TestWindow &window = openWithMpv();
    const QString title = window.m_titleBar->m_titleLabel->text();
    const QString barTitle = window.fsvc->titleLabel->text();
    bench->play(0);
    QVERIFY(!window.processTimer->isActive());
    QCOMPARE(window.m_titleBar->m_titleLabel->text(), title);
    QCOMPARE(window.fsvc->titleLabel->text(), barTitle);
    QCOMPARE(playinglist.state, 1);
    QCOMPARE(playinglist.addrIndex, 0);
    QVERIFY(playingState);
    QCOMPARE(window.ui->playBtn->toolTip(), QString("暂停"));
}

void TestMpv::pauseCommands()
{
    TestWindow &window = openWithMpv();
    bench->play(0);
    for (int i = 0; i < 3; i++)
        window.on_playBtn_clicked();
    QVERIFY(bench->engine.waitForInputCount("set pause yes\n", 2));
    QCOMPARE(bench->engine.input(), QByteArray("set pause yes\nset pause no\nset pause yes\n"));
    QVERIFY(!playingState);
    QCOMPARE(window.ui->playBtn->toolTip(), QString("播放"));
}

void TestMpv::restartSendsNoQuit()
{
    TestWindow &window = openWithMpv();
    bench->play(0);
    window.on_forwardBtn_clicked();
    QVERIFY(bench->engine.waitForInput("seek +5 0\n"));
    window.softAndVdpauPlay(2);
    QVERIFY(bench->engine.waitForStarts(2));
    QTRY_VERIFY(bench->engine.starts().first().inputClosed);
    QVERIFY(!bench->engine.starts().first().input.contains("quit"));
    QCOMPARE(bench->engine.runningEngines(), QList<qint64>() << bench->engine.last().pid);
    QCOMPARE(bench->played(), QStringList({"/f/0.mp4", "/f/2.mp4"}));
    QCOMPARE(playinglist.addrIndex, 2);
}

// Only closed, it would first have to read all that was sent to it.
void TestMpv::restartOfOneThatReadsNothing()
{
    bench->engine.atStart(EngineAction::stopReading(60000));
    TestWindow &window = openWithMpv();
    bench->play(0);
    QVERIFY(bench->engine.waitForStarts(1));
    for (int i = 0; i < 20000; ++i)
        writeToEngine("seek 1000000 2\n");
    QVERIFY(playinglist.process_mplayer->bytesToWrite() > 100000);
    QElapsedTimer clock;
    clock.start();
    window.softAndVdpauPlay(2);
    QVERIFY2(clock.elapsed() < 5000, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(bench->engine.waitForStarts(2));
}

void TestMpv::restartAfterTheOtherEngine()
{
    TestWindow &window = bench->open();
    bench->play(0);
    QVERIFY(bench->engine.waitForInput(pollPair));
    decodeSoftware = 1;
    window.softAndVdpauPlay(1);
    QVERIFY(bench->engine.waitForStarts(2));
    QTRY_VERIFY(bench->engine.starts().first().inputClosed);
    QCOMPARE(withoutPolls(bench->engine.starts().first().input), QByteArrayList{"polls"});
    QCOMPARE(bench->engine.last().arguments.value(1), QByteArray("--title"));
}

void TestMpv::stopSendsQuit()
{
    TestWindow &window = openWithMpv();
    bench->play(0);
    window.on_forwardBtn_clicked();
    QVERIFY(bench->engine.waitForInput("seek +5 0\n"));
    window.on_stopBtn_clicked();
    QVERIFY(bench->engine.waitForInput("quit\n"));
    QVERIFY(bench->engine.input().endsWith("quit\n"));
    QVERIFY(bench->engine.runningEngines().isEmpty());
    QCOMPARE(playinglist.state, 0);
    QVERIFY(!window.processTimer->isActive());
}

void TestMpv::resumes()
{
    TestWindow &window = openWithMpv();
    addrlist[0].last_play_time = 100;
    lastTimePlayFlag = true;
    bench->play(0);
    window.on_playBtn_clicked();
    QVERIFY(bench->engine.waitForInput("set pause yes\n"));
    QCOMPARE(bench->engine.input(), QByteArray("seek 95 2\nset pause yes\n"));
}

// Runs this program where mpvPath is the stand-in. /usr/bin is laid out anew for that, from links
// to where the true one is bound, because nothing may be put into the true one.
static int runInside(const QStringList &arguments)
{
    QTemporaryDir base;
    const QString programs = base.filePath("programs");
    const QString links = base.filePath("links");
    if (!QDir().mkpath(programs) || !QDir().mkpath(links))
        qFatal("cannot make folders in %s", qPrintable(base.path()));
    const QStringList names =
        QDir("/usr/bin")
            .entryList(QDir::Files | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QString &name : names) {
        if (name != "mpv")
            QFile::link(programs + '/' + name, links + '/' + name);
    }
    {
        InstallRoot root;
        StandInEngine engine(root.path());
        if (!QFile::copy(engine.path(), links + "/mpv"))
            qFatal("cannot copy the stand-in engine");
    }
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start("bwrap",
                  QStringList{"--die-with-parent", "--dev-bind", "/", "/", "--bind", "/usr/bin",
                              programs, "--bind", links, "/usr/bin", "--setenv", insideMark, "1"} +
                      arguments);
    if (!process.waitForStarted() || !process.waitForFinished(-1) ||
        process.exitStatus() != QProcess::NormalExit)
        return 125;
    return process.exitCode();
}

int main(int argc, char **argv)
{
    if (!qEnvironmentVariableIsSet(insideMark)) {
        QCoreApplication application(argc, argv);
        QStringList arguments = application.arguments();
        arguments[0] = QCoreApplication::applicationFilePath();
        return runInside(arguments);
    }
    QApplication application(argc, argv);
    TestMpv test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_mpv.moc"
