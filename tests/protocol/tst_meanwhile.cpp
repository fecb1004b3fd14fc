// What happens while a probe or a box holds the player up: an engine ends, something is dropped, a
// click was pending, a signal comes.
#include "mediaprobe.h"
#include "playerbench.h"
#include "terminationnotifier.h"
#include "whenopen.h"

#include <QDropEvent>
#include <QMimeData>
#include <QSignalSpy>

#include <csignal>

class TestMeanwhile : public QObject {
    Q_OBJECT

private slots:
    void cleanup();

    void engineEndsDuringACommand();
    void engineEndsDuringAProbe();
    void clickBeforeAWarning_data();
    void clickBeforeAWarning();
    void dropDuringAWarning();
    void signalDuringTheConstruction();
    void signalDuringAWarningOfTheConstruction();
    void dragEndsWithABox();
};

namespace {

void askForHardware(int entries)
{
    decodeFlag = 2;
    for (int i = 0; i < entries; ++i)
        addrlist[i].codec_type = 2;
}

// Files named on the command line.
void nameFiles(const QStringList &files)
{
    for (int i = 0; i < files.size(); ++i)
        rBtnOpenFile[i] = files.at(i);
}

} // namespace

// After a signal no event loop runs until the main one has been entered again.
void TestMeanwhile::cleanup()
{
    QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(0); });
    QCoreApplication::exec();
}

// The end of one child interrupts what waits for another.
void TestMeanwhile::engineEndsDuringACommand()
{
    PlayerBench bench(1);
    bench.open();
    bench.play(0);
    QVERIFY(bench.engine.waitForStarts(1));
    const QByteArray engine = QByteArray::number(bench.engine.runningEngines().first());
    // The command goes on only when the engine is gone, and has given the end time to be noticed.
    const QByteArray output =
        readCommandOutput("printf one; kill -9 " + engine + "; while [ -e /proc/" + engine +
                          " ] && ! grep -q 'State:.Z' /proc/" + engine +
                          "/status; do sleep 0.01; done; sleep 0.3; printf two");
    QCOMPARE(output, QByteArray("onetwo"));
    QVERIFY(bench.engineHasEnded());
}

void TestMeanwhile::engineEndsDuringAProbe()
{
    PlayerBench bench(1);
    bench.open();
    bench.engine.after(700, EngineAction::exit());
    bench.play(0);
    QVERIFY(bench.engine.waitForStarts(1));
    bench.tools.setProbeDelay(2000);
    WhenModal refusal([](QWidget *box) { box->close(); });
    bench.window->openAndDragFile("/f/new.mp4");
    QVERIFY(!refusal.happened());
    QCOMPARE(addrNum, 2);
    QCOMPARE(addrlist[1].addr, QString("/f/new.mp4"));
    QTRY_COMPARE(bench.lastPlayed(), QString("/f/new.mp4"));
}

void TestMeanwhile::clickBeforeAWarning_data()
{
    QTest::addColumn<bool>("onTheBar");
    QTest::newRow("on the picture") << false;
    QTest::newRow("on the bar") << true;
}

// The click would start the entry a second time, from inside the box.
void TestMeanwhile::clickBeforeAWarning()
{
    QFETCH(bool, onTheBar);
    PlayerBench bench(1);
    askForHardware(1);
    addrlist[0].last_play_time = 100;
    lastTimePlayFlag = true;
    TestWindow &window = bench.open(true);
    (onTheBar ? window.fsvc->mouseClickedTimer : window.mouseClickTimer)->start(500);
    int boxes = 0;
    WhenModal warning([&](QWidget *box) {
        QTest::qWait(700); // past the click's time
        for (const QWidget *widget : QApplication::topLevelWidgets())
            boxes += widget->isVisible() && widget->isModal();
        box->close();
    });
    bench.play(0);
    QVERIFY(warning.happened());
    QCOMPARE(boxes, 1);
    QVERIFY(bench.engine.waitForStarts(1));
    bench.poll();
    QVERIFY(bench.engine.waitForInput(pollPair));
    QCOMPARE(bench.engine.starts().size(), 1);
    QCOMPARE(withoutPolls(bench.engine.input()), QByteArrayList({"seek 95 2", "polls"}));
    QVERIFY(playingState);
    QVERIFY(!bench.log.contains("already running"));
}

// The box doesn't keep the desktop from dropping files on the window.
void TestMeanwhile::dropDuringAWarning()
{
    PlayerBench bench(2);
    askForHardware(1);
    addrlist[0].last_play_time = 100;
    addrlist[1].last_play_time = 60;
    lastTimePlayFlag = true;
    TestWindow &window = bench.open(true);
    QMimeData data;
    data.setUrls({QUrl("file:///f/1.mp4")});
    QDropEvent drop(QPointF(10, 100), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    WhenModal warning([&](QWidget *box) {
        window.dropEvent(&drop);
        box->close();
    });
    bench.play(0);
    QVERIFY(warning.happened());
    QVERIFY(bench.engine.waitForStarts(1));
    bench.poll();
    QVERIFY(bench.engine.waitForInput(pollPair));
    QCOMPARE(bench.played(), QStringList("/f/1.mp4"));
    QCOMPARE(withoutPolls(bench.engine.input()), QByteArrayList({"seek 55 2", "polls"}));
    QCOMPARE(playinglist.addrIndex, 1);
    QVERIFY(playingState);
    QVERIFY(!bench.log.contains("already running"));
}

void TestMeanwhile::signalDuringTheConstruction()
{
    PlayerBench bench;
    TerminationNotifier termination;
    bench.tools.setProbeAnswerFor("/bad.txt", "");
    nameFiles({"/bad.txt", "/f/1.mp4", "/f/2.mp4"});
    WhenModal refusal([](QWidget *) { raise(SIGTERM); });
    bench.open();
    QVERIFY(refusal.happened());
    QVERIFY(termination.isPending());
    QCOMPARE(bench.tools.probeCalls().size(), 1);
    QCOMPARE(addrNum, 0);
    QVERIFY(bench.engine.starts().isEmpty());
}

void TestMeanwhile::signalDuringAWarningOfTheConstruction()
{
    PlayerBench bench;
    TerminationNotifier termination;
    nameFiles({"/f/1.mp4", "/f/2.mp4"});
    bench.tools.setProbeAnswer(StandInTools::videoJson("vc1", 320, 240, "25/1"));
    WhenModal warning([](QWidget *) { raise(SIGTERM); });
    // Without the help that open() gives: it takes the hardware mode away for a while.
    decodeFlag = 2;
    bench.window = std::make_unique<TestWindow>();
    QVERIFY(warning.happened());
    QCOMPARE(bench.tools.probeCalls().size(), 1);
    QVERIFY(bench.engine.starts().isEmpty());
    QVERIFY(!bench.window->processTimer->isActive());
}

void TestMeanwhile::dragEndsWithABox()
{
    PlayerBench bench;
    TestWindow &window = bench.open(true);
    QTest::mousePress(window.m_titleBar, Qt::LeftButton, Qt::NoModifier, QPoint(300, 15));
    QVERIFY(window.m_titleBar->m_leftButtonPressed);
    WhenModal refusal([](QWidget *box) { box->close(); });
    bench.tools.setProbeAnswer("");
    window.openAndDragFile("/bad.txt");
    QVERIFY(refusal.happened());
    QVERIFY(!window.m_titleBar->m_leftButtonPressed);
}

QTEST_MAIN(TestMeanwhile)
#include "tst_meanwhile.moc"
