// Lists in which nothing can be played, in the modes that never end: they come to rest, and nobody
// has to click boxes away for ever.
#include "longform.h"
#include "playerbench.h"
#include "playorder.h"
#include "processes.h"
#include "whenopen.h"

#include <QMessageBox>
#include <QPushButton>
#include <QSlider>

#include <functional>

class TestRunaway : public QObject {
    Q_OBJECT

private slots:
    void comesToRest_data();
    void comesToRest();
    void startsAnewByHand();
    void modesThatEnd_data();
    void modesThatEnd();
    void restIsSeen();
    void aPositionEndsTheRow();
    void aLongerLifeIsNotCounted();
    void actionsEndTheRow_data();
    void actionsEndTheRow();
    void boxes_data();
    void boxes();
    void boxAgainAfterAnAction();
    void byTheClock_data();
    void byTheClock();
};

namespace {

const QString notice = "无法播放";

// No engine can be started, because its input can't be opened, which is found out before a process
// is made and so costs little. A poll finds it gone at once.
void letNoEngineStart()
{
    playinglist.process_mplayer->setStandardInputFile(QStringLiteral("/none/input"));
}

void letEnginesStart(const PlayerBench &bench, const QByteArray &script)
{
    QFile::remove(bench.root.enginePath());
    writeProgram(bench.root.enginePath(), script);
    playinglist.process_mplayer->setStandardInputFile(QString());
}

int starts(const PlayerBench &bench) { return bench.log.lines().filter("arglist:").size(); }

bool isResting(const PlayerBench &bench)
{
    return !bench.window->processTimer->isActive() && playinglist.state == 0 && !playingState;
}

// Polls until nothing is started any more; gives the number of starts.
int pollsToRest(PlayerBench &bench, int limit = 2000)
{
    while (!isResting(bench) && starts(bench) < limit)
        bench.poll();
    return starts(bench);
}

// Lets a row grow to so many failures.
void fail(PlayerBench &bench, int count)
{
    for (int i = 0; i <= count; i++) // the first one is the person's own
        bench.poll();
}

// Closes each box that opens, and counts them.
class BoxCloser {
public:
    BoxCloser()
    {
        QObject::connect(&poll, &QTimer::timeout, &poll, [this] {
            if (QWidget *box = QApplication::activeModalWidget()) {
                ++count;
                box->close();
            }
        });
        poll.start(5);
    }
    int count = 0;

private:
    QTimer poll;
};

} // namespace

void TestRunaway::comesToRest_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("entries");
    QTest::addColumn<int>("starts"); // by the ends
    for (int mode : {PlayModeRepeatOne, PlayModeRepeatList, PlayModeRandom}) {
        QTest::addRow("mode %d, one", mode) << mode << 1 << 60;
        QTest::addRow("mode %d, fifty", mode) << mode << 50 << 60;
        QTest::addRow("mode %d, fifty-one", mode) << mode << 51 << 61;
        if (longForm())
            QTest::addRow("mode %d, full list", mode) << mode << kHistoryCapacity << 1009;
    }
}

void TestRunaway::comesToRest()
{
    QFETCH(int, mode);
    QFETCH(int, entries);
    QFETCH(int, starts);
    PlayerBench bench(entries);
    TestWindow &window = bench.open(true);
    letNoEngineStart();
    playMode = mode;
    bench.play(entries / 2);
    QCOMPARE(pollsToRest(bench), 1 + starts);
    QCOMPARE(window.ui->stateLabel->text(), notice);
    QVERIFY(window.ui->stateLabel->isVisible());
    QCOMPARE(window.stateLabelTimer->interval(), 2000);
    QCOMPARE(window.m_titleBar->m_titleLabel->text(), QString("Tarnivo播放器"));
    QCOMPARE(window.ui->playBtn->toolTip(), QString("播放"));
    QVERIFY(sameIcon(window.ui->playBtn->icon(), ":/image/controlicon/play.png"));
    // The index has moved on by as many steps as there were ends.
    if (mode == PlayModeRepeatOne)
        QCOMPARE(playinglist.addrIndex, entries / 2);
    else if (mode == PlayModeRepeatList)
        QCOMPARE(playinglist.addrIndex,
                 ((entries / 2 - (starts + 1)) % entries + entries) % entries);
    QVERIFY(playinglist.addrIndex >= 0 && playinglist.addrIndex < entries);
    QTest::qWait(600); // longer than a poll
    QVERIFY(isResting(bench));
}

void TestRunaway::startsAnewByHand()
{
    PlayerBench bench(2);
    TestWindow &window = bench.open();
    letNoEngineStart();
    playMode = PlayModeRepeatList;
    bench.play(0);
    QCOMPARE(pollsToRest(bench), 61);
    for (int i = 2; i <= 3; i++) {
        const int index = playinglist.addrIndex;
        window.on_playBtn_clicked();
        QCOMPARE(playinglist.state, 1);
        QCOMPARE(window.m_titleBar->m_titleLabel->text(), addrlist[index].label);
        QCOMPARE(pollsToRest(bench), 61 * i);
    }
}

void TestRunaway::modesThatEnd_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("starts");
    QTest::newRow("single") << int(PlayModeSingle) << 1;
    QTest::newRow("sequential") << int(PlayModeSequential) << 200;
}

void TestRunaway::modesThatEnd()
{
    QFETCH(int, mode);
    QFETCH(int, starts);
    PlayerBench bench(200);
    TestWindow &window = bench.open();
    letNoEngineStart();
    playMode = mode;
    bench.play(199);
    QCOMPARE(pollsToRest(bench), starts);
    QVERIFY(window.ui->stateLabel->text() != notice);
    QCOMPARE(playinglist.addrIndex, mode == PlayModeSingle ? 199 : -1);
}

// Also over a notice that is shown.
void TestRunaway::restIsSeen()
{
    PlayerBench bench(1);
    TestWindow &window = bench.open(true);
    letEnginesStart(bench, "exit 0\n");
    playMode = PlayModeRepeatOne;
    bench.play(0);
    while (!isResting(bench) && starts(bench) < 100) {
        QVERIFY(bench.engineHasEnded());
        bench.poll();
        if (!isResting(bench))
            QVERIFY(window.ui->stateLabel->text() == "文件不存在");
    }
    QCOMPARE(starts(bench), 61);
    QCOMPARE(window.ui->stateLabel->text(), notice);
    QTRY_VERIFY(!window.ui->stateLabel->isVisible());
}

// One film among many that plays for a moment is enough to go on.
void TestRunaway::aPositionEndsTheRow()
{
    PlayerBench bench(1);
    TestWindow &window = bench.open();
    letNoEngineStart();
    playMode = PlayModeRepeatOne;
    bench.play(0);
    fail(bench, 58);
    // Started by the end of the 59th; the next end would be the last.
    letEnginesStart(bench, "echo ANS_TIME_POSITION=1\n");
    bench.poll();
    QTRY_COMPARE_WITH_TIMEOUT(window.currentPosition, 1, PlayerBench::patience);
    QVERIFY(bench.engineHasEnded());
    letNoEngineStart();
    QCOMPARE(starts(bench), 61);
    window.processTimer->start(500);
    QCOMPARE(pollsToRest(bench), 61 + 60);
}

void TestRunaway::aLongerLifeIsNotCounted()
{
    PlayerBench bench(1);
    TestWindow &window = bench.open();
    letNoEngineStart();
    playMode = PlayModeRepeatOne;
    bench.play(0);
    fail(bench, 58);
    letEnginesStart(bench, "exec sleep 2.2\n");
    bench.poll();
    QVERIFY(bench.engineHasEnded());
    letNoEngineStart();
    window.processTimer->start(500);
    QCOMPARE(pollsToRest(bench), 62);
}

void TestRunaway::actionsEndTheRow_data()
{
    QTest::addColumn<QString>("action");
    for (const char *action :
         {"stop and play", "pause and play", "back", "ahead", "seek", "open", "open in vain",
          "play a row", "play the row that plays", "delete", "confirm the settings"})
        QTest::newRow(action) << QString(action);
}

void TestRunaway::actionsEndTheRow()
{
    QFETCH(QString, action);
    PlayerBench bench(3);
    bench.tools.setProbeAnswerFor("/bad.txt", "");
    TestWindow &window = bench.open();
    letNoEngineStart();
    playMode = PlayModeRepeatOne;
    bench.play(1);
    fail(bench, 59);
    QVERIFY(!isResting(bench));
    BoxCloser closer;
    if (action == "stop and play") {
        window.on_stopBtn_clicked();
        window.on_playBtn_clicked();
    } else if (action == "pause and play") {
        window.on_playBtn_clicked();
        window.on_playBtn_clicked();
    } else if (action == "back") {
        window.on_backwardBtn_clicked();
    } else if (action == "ahead") {
        window.on_forwardBtn_clicked();
    } else if (action == "seek") {
        window.processSliderPressed();
    } else if (action == "open") {
        window.openAndDragFile("/f/0.mp4");
    } else if (action == "open in vain") {
        window.openAndDragFile("/bad.txt");
        window.processTimer->start(500);
    } else if (action == "play a row") {
        window.playSelected(0);
    } else if (action == "play the row that plays") {
        window.listWidget->currentIndex = 1;
        window.playSelectedItem(nullptr);
    } else if (action == "delete") {
        window.listWidget->setCurrentRow(2);
        window.listWidget->deleteSelected();
    } else {
        window.recvSetDecodeSignal();
    }
    bench.log.clear();
    QVERIFY(pollsToRest(bench) >= 59);
    QCOMPARE(window.ui->stateLabel->text(), notice);
}

void TestRunaway::boxes_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("entries");
    QTest::addColumn<int>("boxes"); // the person's own start has one, then three for each entry
    QTest::newRow("repeat one") << int(PlayModeRepeatOne) << 2 << 1 + 3;
    QTest::newRow("repeat list") << int(PlayModeRepeatList) << 2 << 1 + 2 * 3;
    QTest::newRow("random, one entry") << int(PlayModeRandom) << 1 << 1 + 3;
}

void TestRunaway::boxes()
{
    QFETCH(int, mode);
    QFETCH(int, entries);
    QFETCH(int, boxes);
    PlayerBench bench(entries);
    for (int i = 0; i < entries; i++)
        addrlist[i].codec_type = 2;
    bench.open();
    letNoEngineStart();
    decodeFlag = 2;
    playMode = mode;
    BoxCloser closer;
    bench.play(0);
    QCOMPARE(closer.count, 1);
    QCOMPARE(pollsToRest(bench), 61);
    QCOMPARE(closer.count, boxes);
}

void TestRunaway::boxAgainAfterAnAction()
{
    PlayerBench bench(1);
    addrlist[0].codec_type = 2;
    TestWindow &window = bench.open();
    letNoEngineStart();
    decodeFlag = 2;
    playMode = PlayModeRepeatOne;
    BoxCloser closer;
    bench.play(0);
    for (int i = 0; i < 10; i++)
        bench.poll();
    QCOMPARE(closer.count, 4);
    window.on_stopBtn_clicked();
    window.on_playBtn_clicked();
    QCOMPARE(closer.count, 5);
}

// Left alone, with the real timer. The short form sees the beginning only.
void TestRunaway::byTheClock_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("entries");
    QTest::newRow("repeat one") << int(PlayModeRepeatOne) << 3;
    if (!longForm())
        return;
    QTest::newRow("repeat list") << int(PlayModeRepeatList) << 3;
    QTest::newRow("repeat a long list") << int(PlayModeRepeatList) << 100;
    QTest::newRow("random") << int(PlayModeRandom) << 3;
}

void TestRunaway::byTheClock()
{
    QFETCH(int, mode);
    QFETCH(int, entries);
    PlayerBench bench(entries);
    TestWindow &window = bench.open(true);
    letEnginesStart(bench, "exit 0\n");
    for (int i = 0; i < entries; i++)
        addrlist[i].codec_type = 2;
    decodeFlag = 2;
    playMode = mode;
    BoxCloser closer;
    bench.play(0);
    const int all = 1 + qMax(60, entries + 10);
    const int watched = rounds(6, all);
    QTRY_COMPARE_WITH_TIMEOUT(starts(bench), watched, 4 * PlayerBench::patience);
    if (!longForm()) {
        window.on_stopBtn_clicked();
        QTest::qWait(600); // longer than a poll
        QCOMPARE(starts(bench), watched);
        return;
    }
    QTRY_VERIFY_WITH_TIMEOUT(isResting(bench), PlayerBench::patience);
    QCOMPARE(window.ui->stateLabel->text(), notice);
    QTest::qWait(5000);
    QCOMPARE(starts(bench), all);
    QVERIFY(isResting(bench));
    QVERIFY(closer.count <= 1 + 3 * entries);
    if (mode == PlayModeRepeatOne)
        QCOMPARE(closer.count, 4);
}

QTEST_MAIN(TestRunaway)
#include "tst_runaway.moc"
