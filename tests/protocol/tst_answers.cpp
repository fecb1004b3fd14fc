// What the window makes of the engine's output.
#include "playerbench.h"

#include <QSignalSpy>
#include <QSlider>

#include <climits>

class TestAnswers : public QObject {
    Q_OBJECT

private slots:
    void lookBeforeTheFirstAnswer();
    void lengths_data();
    void lengths();
    void positions_data();
    void positions();
    void splitAcrossReads();
    void manyInOneRead();
    void otherLinesAreIgnored();
    void linesWhilePaused();
    void linesWhileTheSliderIsHeld();
    void megabyteWithoutALineEnd();
    void floodWhilePlaying();
    void floodWhilePaused();
    void outputAfterTheEnd();
};

namespace {

// What this process uses; a sanitizer keeps what was freed for a while.
qint64 residentBytes()
{
    if (underSanitizers())
        return 0;
    return readFile("/proc/self/statm").split(' ').value(1).toLongLong() * 4096;
}

QByteArray line(const QByteArray &text) { return EngineAction::print(text + '\n'); }

} // namespace

void TestAnswers::lookBeforeTheFirstAnswer()
{
    PlayerBench bench(1);
    bench.engine.setSilent();
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.engine.waitForInput(pollPair));
    for (const QSlider *slider : {window.ui->processSlider, window.fsvc->processSlider}) {
        QCOMPARE(slider->minimum(), 0);
        QCOMPARE(slider->maximum(), 99);
        QCOMPARE(slider->value(), 0);
    }
    for (const QLabel *label : {window.ui->currentTimeLabel, window.ui->totalTimeLabel,
                                window.fsvc->currentTimeLabel, window.fsvc->totalTimeLabel})
        QCOMPARE(label->text(), QString("00:00:00"));
    QCOMPARE(window.currentPosition, 0);
}

static void addNumbers()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<int>("seconds");
    QTest::addColumn<QString>("text");
    const struct {
        const char *answer;
        int seconds;
        const char *text;
    } rows[] = {
        {"0.99", 0, "00:00:00"},
        {"1", 1, "00:00:01"},
        {"12.9", 12, "00:00:12"},
        {"59", 59, "00:00:59"},
        {"60", 60, "00:01:00"},
        {"61.5", 61, "00:01:01"},
        {"3599.99", 3599, "00:59:59"},
        {"3600", 3600, "00:00:00"}, // intended
        {"3601", 3601, "01:00:01"},
        {"7200", 7200, "02:00:00"},
        {"360000", 360000, "100:00:00"},
        {"1e3", 1000, "00:16:40"},
        {" 7", 7, "00:00:07"},
        {"8\r", 8, "00:00:08"},
        {"", 0, "00:00:00"},
        {"abc", 0, "00:00:00"},
        {"12,5", 0, "00:00:00"},
        {"12s", 0, "00:00:00"},
        {"0x10", 0, "00:00:00"},
        {"1 2", 0, "00:00:00"},
        {"--5", 0, "00:00:00"},
        {"nan", 0, "00:00:00"},
        {"\xff\xfe", 0, "00:00:00"},
        {"2147483647", INT_MAX, "596523:14:07"},
        {"99999999999999999999", INT_MAX, "596523:14:07"},
        {"inf", INT_MAX, "596523:14:07"},
        {"-inf", 0, "00:00:00"},
        {"-99999999999999999999", 0, "00:00:00"},
    };
    for (const auto &row : rows)
        QTest::newRow(row.answer) << QByteArray(row.answer) << row.seconds << QString(row.text);
}

void TestAnswers::lengths_data() { addNumbers(); }

void TestAnswers::lengths()
{
    QFETCH(QByteArray, answer);
    QFETCH(int, seconds);
    QFETCH(QString, text);
    PlayerBench bench(1);
    bench.engine.setSilent();
    bench.engine.atStart(line("ANS_LENGTH=5"));
    bench.engine.atStart(line("ANS_LENGTH=" + answer));
    bench.engine.atStart(line("ANS_TIME_POSITION=4.2"));
    TestWindow &window = bench.open();
    bench.play(0);
    QTRY_COMPARE(window.currentPosition, 4);
    QCOMPARE(window.ui->totalTimeLabel->text(), text);
    QCOMPARE(window.fsvc->totalTimeLabel->text(), text);
    for (const QSlider *slider : {window.ui->processSlider, window.fsvc->processSlider}) {
        QCOMPARE(slider->minimum(), 0);
        QCOMPARE(slider->maximum(), seconds);
    }
}

void TestAnswers::positions_data()
{
    addNumbers();
    QTest::newRow("-1") << QByteArray("-1") << -1 << "00:00:-1";
    QTest::newRow("-0.5") << QByteArray("-0.5") << 0 << "00:00:00";
}

void TestAnswers::positions()
{
    QFETCH(QByteArray, answer);
    QFETCH(int, seconds);
    QFETCH(QString, text);
    PlayerBench bench(1);
    bench.engine.setSilent();
    bench.engine.atStart(line("ANS_TIME_POSITION=33"));
    bench.engine.atStart(line("ANS_LENGTH=3000000000"));
    bench.engine.atStart(line("ANS_TIME_POSITION=" + answer));
    bench.engine.atStart(line("ANS_LENGTH=2999999999")); // rounds to the same
    TestWindow &window = bench.open();
    bench.play(0);
    QTRY_COMPARE(window.ui->totalTimeLabel->text(), QString("596523:14:07"));
    QTRY_COMPARE(window.currentPosition, seconds);
    QTRY_COMPARE(window.ui->currentTimeLabel->text(), text);
    QCOMPARE(window.fsvc->currentTimeLabel->text(), text);
    QCOMPARE(window.ui->processSlider->value(), qMax(0, seconds));
    QCOMPARE(window.fsvc->processSlider->value(), qMax(0, seconds));
}

void TestAnswers::splitAcrossReads()
{
    PlayerBench bench(1);
    bench.engine.setSilent();
    for (const char *piece : {"A", "NS_LEN", "GTH=1", "00.0", "0\nANS_TIME_POSITION", "=4",
                              "2.9\nANS_TIME_PO", "SITION=99"}) {
        bench.engine.atStart(EngineAction::print(piece));
        bench.engine.atStart(EngineAction::sleep(60));
    }
    TestWindow &window = bench.open();
    QSignalSpy values(window.ui->processSlider, SIGNAL(valueChanged(int)));
    bench.play(0);
    // The start of "Playing ..." completes the last line, whose number it spoils.
    QTRY_COMPARE_WITH_TIMEOUT(values.count(), 2, PlayerBench::patience);
    QCOMPARE(values.at(0).at(0).toInt(), 42);
    QCOMPARE(values.at(1).at(0).toInt(), 0);
    QCOMPARE(window.ui->processSlider->maximum(), 100);
    QCOMPARE(window.ui->totalTimeLabel->text(), QString("00:01:40"));
    QCOMPARE(window.ui->currentTimeLabel->text(), QString("00:00:00"));
}

void TestAnswers::manyInOneRead()
{
    PlayerBench bench(1);
    bench.engine.setSilent();
    QByteArray output;
    for (int i = 0; i <= 2000; i++)
        output += "ANS_LENGTH=" + QByteArray::number(3000 + i) +
            "\nchatter\nANS_TIME_POSITION=" + QByteArray::number(i) + ".5\n";
    bench.engine.atStart(EngineAction::print(output));
    TestWindow &window = bench.open();
    bench.play(0);
    QTRY_COMPARE(window.currentPosition, 2000);
    QCOMPARE(window.ui->processSlider->maximum(), 5000);
    QCOMPARE(window.ui->totalTimeLabel->text(), QString("01:23:20"));
    QCOMPARE(window.ui->currentTimeLabel->text(), QString("00:33:20"));
}

void TestAnswers::otherLinesAreIgnored()
{
    PlayerBench bench(1);
    bench.engine.setSilent();
    bench.engine.atStart(line("ANS_LENGTH=100\nANS_TIME_POSITION=50"));
    QByteArray garbage;
    for (int i = 0; i < 4096; i++)
        garbage += char(i * 7919 >> 3);
    bench.engine.atStart(line("\n" + garbage.replace("ANS_", "")));
    bench.engine.atStart(line(QByteArray("ANS_LENGTH=1\0", 13).prepend('\0')));
    for (const char *text :
         {"", " ANS_LENGTH=1", "ans_length=1", "ANS_LENGT", "xANS_TIME_POSITION=1", "ANS_TIME_POS",
          "ANS_ERROR=PROPERTY_UNAVAILABLE", "ANS_PERCENT_POSITION=1", "\rANS_LENGTH=1",
          "ID_LENGTH=1", "Failed to open /dev/x", "\xe7\x89\x87"})
        bench.engine.atStart(line(text));
    bench.engine.atStart(line("ANS_TIME_POSITION:51")); // whichever separator
    TestWindow &window = bench.open();
    bench.play(0);
    QTRY_COMPARE(window.currentPosition, 51);
    QCOMPARE(window.ui->processSlider->maximum(), 100);
}

// The line that is being read is lost, the rest waits for the next output after the pause.
void TestAnswers::linesWhilePaused()
{
    PlayerBench bench(1);
    bench.engine.setSilent();
    const QByteArray waiting = "ANS_TIME_POSITION=22\nANS_LENGTH=333\n";
    bench.engine.on("get_time_pos", line("ANS_TIME_POSITION=7"), 1);
    bench.engine.on("pause", EngineAction::print("ANS_LENGTH=111\n" + waiting), 1);
    bench.engine.on("pause", line("chatter"), 2);
    TestWindow &window = bench.open();
    bench.play(0);
    QTRY_COMPARE(window.currentPosition, 7); // so all it says at its start has come
    window.on_playBtn_clicked();
    QTRY_COMPARE(playinglist.process_mplayer->bytesAvailable(), qint64(waiting.size()));
    QCOMPARE(window.ui->totalTimeLabel->text(), QString("00:00:00"));
    QCOMPARE(window.currentPosition, 7);
    QVERIFY(window.processTimer->isActive());
    window.on_playBtn_clicked();
    QTRY_COMPARE(window.currentPosition, 22);
    QTRY_COMPARE(window.ui->totalTimeLabel->text(), QString("00:05:33"));
    QCOMPARE(playinglist.process_mplayer->bytesAvailable(), qint64(0));
}

void TestAnswers::linesWhileTheSliderIsHeld()
{
    PlayerBench bench(1);
    bench.engine.setSilent();
    const QByteArray waiting = "ANS_TIME_POSITION=22\nANS_LENGTH=333\n";
    bench.engine.on("get_time_pos", line("ANS_TIME_POSITION=7"), 1);
    bench.engine.on("seek", EngineAction::print("ANS_LENGTH=111\n" + waiting), 1);
    bench.engine.on("seek", line("chatter"), 2);
    TestWindow &window = bench.open();
    bench.play(0);
    QTRY_COMPARE(window.currentPosition, 7);
    QSlider *slider = window.ui->processSlider;
    slider->setSliderDown(true);
    QTRY_COMPARE(playinglist.process_mplayer->bytesAvailable(), qint64(waiting.size()));
    QCOMPARE(slider->maximum(), 99);
    QCOMPARE(window.currentPosition, 7);
    slider->setSliderDown(false);
    QTRY_COMPARE(window.currentPosition, 22);
    QTRY_COMPARE(slider->maximum(), 333);
    QCOMPARE(slider->value(), 22);
}

void TestAnswers::megabyteWithoutALineEnd()
{
    PlayerBench bench(1);
    bench.engine.setLength("50");
    bench.engine.setPosition("20");
    TestWindow &window = bench.open();
    bench.play(0);
    QTRY_COMPARE(window.currentPosition, 20);
    const qint64 before = residentBytes();
    qint64 most = 0;
    const auto watch = connect(playinglist.process_mplayer, &QProcess::readyRead, this, [&] {
        most = qMax(most, playinglist.process_mplayer->bytesAvailable());
    });
    // Four megabytes, then a line end; what follows counts again.
    for (int i = 0; i < 4; i++)
        bench.engine.on("seek", EngineAction::print(QByteArray(1 << 20, 'x')));
    bench.engine.on("seek", EngineAction::print("\nANS_TIME_POSITION=30\n"));
    bench.engine.setPosition(""); // polls that wait meanwhile tell no other
    window.on_forwardBtn_clicked();
    QTRY_COMPARE_WITH_TIMEOUT(window.currentPosition, 30, PlayerBench::patience);
    bench.engine.setPosition("40");
    QTRY_COMPARE_WITH_TIMEOUT(window.currentPosition, 40, PlayerBench::patience);
    disconnect(watch);
    QVERIFY2(most < 3 << 20, qPrintable(QString::number(most)));
    QVERIFY(residentBytes() - before < 64 << 20);
    QCOMPARE(window.ui->processSlider->maximum(), 50);
}

// The window answers while the engine talks, and keeps nothing of it.
void TestAnswers::floodWhilePlaying()
{
    PlayerBench bench(1);
    bench.engine.setSilent();
    bench.engine.atStart(EngineAction::flood(16 << 20));
    bench.engine.atStart(line("\nANS_LENGTH=77")); // the flood ends amid a line
    TestWindow &window = bench.open();
    const qint64 before = residentBytes();
    int ticks = 0;
    QTimer ticker;
    connect(&ticker, &QTimer::timeout, this, [&] { ticks++; });
    ticker.start(1);
    bench.play(0);
    QTRY_COMPARE_WITH_TIMEOUT(window.ui->processSlider->maximum(), 77, 2 * PlayerBench::patience);
    QVERIFY2(ticks >= 10, qPrintable(QString::number(ticks)));
    QVERIFY(residentBytes() - before < 64 << 20);
}

void TestAnswers::floodWhilePaused()
{
    PlayerBench bench(1);
    bench.engine.setSilent();
    bench.engine.on("pause", EngineAction::flood(64 << 20), 1);
    bench.engine.on("pause", EngineAction::exit(), 1);
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.engine.waitForInput(pollPair));
    const qint64 before = residentBytes();
    qint64 most = 0;
    int ticks = 0;
    connect(playinglist.process_mplayer, &QProcess::readyRead, this, [&] {
        most = qMax(most, playinglist.process_mplayer->bytesAvailable());
        ticks++;
    });
    window.on_playBtn_clicked();
    QTRY_COMPARE_WITH_TIMEOUT(playinglist.state, 0, 2 * PlayerBench::patience); // noticed by a poll
    QVERIFY(ticks >= 10);
    QVERIFY2(most < 3 << 20, qPrintable(QString::number(most)));
    QVERIFY(residentBytes() - before < 64 << 20);
    QCOMPARE(window.ui->processSlider->maximum(), 99);
}

// Output that comes when the engine has gone ends the playback's look.
void TestAnswers::outputAfterTheEnd()
{
    PlayerBench bench(1);
    bench.engine.after(0, EngineAction::exit());
    TestWindow &window = bench.open();
    bench.play(0);
    QVERIFY(bench.engineHasEnded());
    QVERIFY(window.processTimer->isActive());
    window.dataReceive();
    QCOMPARE(playinglist.state, 0);
    QVERIFY(!playingState);
    QVERIFY(window.processTimer->isActive()); // the next poll chooses what follows
    QTRY_VERIFY(!window.processTimer->isActive());
    QCOMPARE(bench.engine.starts().size(), 1);
}

QTEST_MAIN(TestAnswers)
#include "tst_answers.moc"
