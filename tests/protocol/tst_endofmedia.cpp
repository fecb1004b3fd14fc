// What follows when the engine ends, by itself or not, in each play mode.
#include "playerbench.h"
#include "processes.h"
#include "whenopen.h"

#include <QMessageBox>
#include <QPushButton>

#include <csignal>

class TestEndOfMedia : public QObject {
    Q_OBJECT

private slots:
    void order_data();
    void order();
    void randomOrder();
    void endNoticedByTheTimer_data();
    void endNoticedByTheTimer();
    void endWhilePaused();
    void lastOutputAfterTheEnd();
    void positionAtTheEnd_data();
    void positionAtTheEnd();
    void afterADeletion_data();
    void afterADeletion();
    void emptiedList_data();
    void emptiedList();
    void engineThatNeverStarts_data();
    void engineThatNeverStarts();
    void engineThatEndsAtOnce();
};

namespace {

// Ends the engine that plays, as a film that is over does, and lets the poll see it.
bool endFilm(PlayerBench &bench)
{
    if (!bench.engine.waitForStarts(1) || !Processes::end(bench.engine.runningEngines()) ||
        !bench.engineHasEnded())
        return false;
    bench.poll();
    return true;
}

// As at the start of a program.
void startRandomNumbers()
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    qsrand(1); // cppcheck-suppress qsrandCalled // the generator of the player
    QT_WARNING_POP
}

int nextRandomNumber()
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    return qrand(); // cppcheck-suppress qrandCalled // likewise
    QT_WARNING_POP
}

QStringList addresses(const QList<int> &numbers)
{
    QStringList addresses;
    for (int number : numbers)
        addresses << PlayerBench::address(number);
    return addresses;
}

} // namespace

void TestEndOfMedia::order_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("first");
    QTest::addColumn<QList<int>>("played");
    QTest::addColumn<int>("indexAtTheEnd");
    using Order = QList<int>;
    // At most four films are played to their end.
    QTest::newRow("single, one entry") << 0 << 1 << 0 << Order{0} << 0;
    QTest::newRow("single, newest") << 0 << 3 << 2 << Order{2} << 2;
    QTest::newRow("single, oldest") << 0 << 3 << 0 << Order{0} << 0;
    QTest::newRow("sequential, one entry") << 1 << 1 << 0 << Order{0} << -1;
    QTest::newRow("sequential, from the newest") << 1 << 3 << 2 << Order{2, 1, 0} << -1;
    QTest::newRow("sequential, oldest") << 1 << 3 << 0 << Order{0} << -1;
    QTest::newRow("repeat one, one entry") << 2 << 1 << 0 << Order{0, 0, 0, 0, 0} << 0;
    QTest::newRow("repeat one, middle") << 2 << 3 << 1 << Order{1, 1, 1, 1, 1} << 1;
    QTest::newRow("repeat list, one entry") << 3 << 1 << 0 << Order{0, 0, 0, 0, 0} << 0;
    QTest::newRow("repeat list, from the newest") << 3 << 3 << 2 << Order{2, 1, 0, 2, 1} << 1;
    QTest::newRow("repeat list, oldest") << 3 << 3 << 0 << Order{0, 2, 1, 0, 2} << 2;
    QTest::newRow("random, one entry") << 4 << 1 << 0 << Order{0, 0, 0, 0, 0} << 0;
    QTest::newRow("mode 5") << 5 << 3 << 1 << Order{1} << 1;
    QTest::newRow("mode -1") << -1 << 3 << 1 << Order{1} << 1;
}

void TestEndOfMedia::order()
{
    QFETCH(int, mode);
    QFETCH(int, count);
    QFETCH(int, first);
    QFETCH(QList<int>, played);
    QFETCH(int, indexAtTheEnd);
    PlayerBench bench(count);
    TestWindow &window = bench.open();
    playMode = mode;
    bench.play(first);
    for (int i = 1; i <= 4 && playinglist.state != 0; i++) {
        QVERIFY(bench.engine.waitForStarts(i));
        QVERIFY(endFilm(bench));
    }
    QVERIFY(bench.engine.waitForStarts(played.size()));
    QCOMPARE(bench.played(), addresses(played));
    QCOMPARE(playinglist.addrIndex, indexAtTheEnd);
    const bool goesOn = played.size() == 5;
    QCOMPARE(playinglist.state, goesOn ? 1 : 0);
    QCOMPARE(window.processTimer->isActive(), goesOn);
    QCOMPARE(playingState, goesOn);
    QCOMPARE(window.ui->playBtn->toolTip(), QString(goesOn ? "暂停" : "播放"));
    if (!goesOn) {
        // A spent sequence begins anew with the newest, any other with its entry.
        window.on_playBtn_clicked();
        QVERIFY(bench.engine.waitForStarts(played.size() + 1));
        QCOMPARE(bench.played().last(),
                 PlayerBench::address(indexAtTheEnd < 0 ? count - 1 : indexAtTheEnd));
    }
}

void TestEndOfMedia::randomOrder()
{
    startRandomNumbers();
    PlayerBench bench(3);
    bench.open();
    playMode = 4;
    bench.play(0);
    for (int i = 1; i <= 12; i++) {
        QVERIFY(bench.engine.waitForStarts(i));
        QVERIFY(endFilm(bench));
        QVERIFY(playinglist.addrIndex >= 0 && playinglist.addrIndex < 3);
    }
    QVERIFY(bench.engine.waitForStarts(13));
    QStringList played = bench.played();
    for (const QString &address : qAsConst(played))
        QVERIFY(addresses({0, 1, 2}).contains(address));
    // Nothing seeds the generator: every start of the player goes through the same numbers.
    startRandomNumbers();
    for (int i = 1; i <= 12; i++)
        QCOMPARE(played.at(i), PlayerBench::address(nextRandomNumber() % 3));
    QVERIFY(played.removeDuplicates() > 0);
    QVERIFY(played.size() > 1);
}

void TestEndOfMedia::endNoticedByTheTimer_data()
{
    QTest::addColumn<QByteArray>("end");
    QTest::newRow("by itself") << QByteArray();
    QTest::newRow("exit code 1") << EngineAction::exit(1);
    QTest::newRow("crash") << EngineAction::crash();
}

void TestEndOfMedia::endNoticedByTheTimer()
{
    QFETCH(QByteArray, end);
    PlayerBench bench(3);
    TestWindow &window = bench.open();
    playMode = 1;
    if (end.isEmpty()) {
        bench.engine.setLength("0.8");
        bench.engine.endAtLength();
    } else {
        bench.engine.on("get_time_pos", end, 2);
    }
    bench.play(2);
    QTRY_COMPARE_WITH_TIMEOUT(playinglist.addrIndex, -1, PlayerBench::patience);
    QCOMPARE(bench.played(), addresses({2, 1, 0}));
    QCOMPARE(playinglist.state, 0);
    QVERIFY(!window.processTimer->isActive());
    QCOMPARE(window.m_titleBar->m_titleLabel->text(), QString("Tarnivo播放器"));
    QVERIFY(bench.engine.runningEngines().isEmpty());
    for (const StandInEngine::Start &start : bench.engine.starts())
        QCOMPARE(start.events,
                 QByteArrayList{end.isEmpty()        ? "exit 0"
                                    : end == "crash" ? "crash"
                                                     : "exit 1"});
}

// Output while paused keeps the timer going, so an end is noticed then, too.
void TestEndOfMedia::endWhilePaused()
{
    PlayerBench bench(2);
    TestWindow &window = bench.open();
    playMode = 2;
    bench.engine.on("pause", EngineAction::print("chatter\n"), 1);
    bench.play(1);
    QVERIFY(bench.engine.waitForInput(pollPair));
    window.on_playBtn_clicked();
    QTRY_VERIFY(window.processTimer->isActive());
    QVERIFY(Processes::end({bench.engine.last().pid}));
    QVERIFY(bench.engine.waitForStarts(2));
    QVERIFY(playingState);
    QCOMPARE(bench.played(), addresses({1, 1}));
}

// An end may be noticed by the output first; what follows is still chosen, once.
void TestEndOfMedia::lastOutputAfterTheEnd()
{
    PlayerBench bench(2);
    TestWindow &window = bench.open();
    playMode = 2;
    bench.engine.on("get_time_pos", EngineAction::flood(100000), 1);
    bench.engine.on("get_time_pos", EngineAction::exit(), 1);
    bench.play(1);
    QVERIFY(bench.engineHasEnded());
    bench.engine.reset();
    window.dataReceive();
    QCOMPARE(playinglist.state, 0);
    window.dataReceive();
    QVERIFY(bench.engine.waitForStarts(2));
    QVERIFY(bench.engine.waitForInputCount(pollPair, 2));
    QCOMPARE(bench.played(), addresses({1, 1}));
    QCOMPARE(playinglist.state, 1);
}

void TestEndOfMedia::positionAtTheEnd_data()
{
    QTest::addColumn<int>("position");
    QTest::addColumn<int>("saved");
    QTest::newRow("played to the end") << 99 << 0;
    QTest::newRow("crashed amid") << 40 << 40;
}

void TestEndOfMedia::positionAtTheEnd()
{
    QFETCH(int, position);
    QFETCH(int, saved);
    PlayerBench bench(2);
    lastTimePlayFlag = true;
    addrlist[1].last_play_time = 50;
    bench.open();
    bench.play(1);
    QVERIFY(bench.showsLength("100", 100));
    QVERIFY(bench.showsPosition(QByteArray::number(position), position));
    bench.log.clear();
    QVERIFY(endFilm(bench));
    QCOMPARE(addrlist[1].last_play_time, saved);
    QCOMPARE(bench.rewrites(), 1);
}

void TestEndOfMedia::afterADeletion_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("playing");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("index"); // after the deletion
    QTest::addColumn<int>("next"); // entry that follows, -1 for none
    // Of three entries; a row is compared with an index, so some neighbours count as moved.
    QTest::newRow("sequential, newest deleted") << 1 << 1 << 0 << 1 << 0;
    QTest::newRow("sequential, oldest deleted") << 1 << 1 << 2 << 0 << -1;
    QTest::newRow("sequential, -1") << 1 << 0 << 1 << -1 << -1;
    QTest::newRow("repeat one, -1 plays the newest") << 2 << 0 << 1 << -1 << 2;
    QTest::newRow("repeat one, oldest deleted") << 2 << 2 << 2 << 2 << 2;
    QTest::newRow("repeat list, -1 wraps to the newest") << 3 << 0 << 1 << -1 << 2;
    QTest::newRow("repeat list, newest deleted") << 3 << 0 << 0 << 0 << 1;
    QTest::newRow("single") << 0 << 1 << 0 << 1 << -1;
}

void TestEndOfMedia::afterADeletion()
{
    QFETCH(int, mode);
    QFETCH(int, playing);
    QFETCH(int, row);
    QFETCH(int, index);
    QFETCH(int, next);
    PlayerBench bench(3);
    TestWindow &window = bench.open();
    playMode = mode;
    bench.play(playing);
    QVERIFY(bench.engine.waitForStarts(1));
    window.listWidget->setCurrentRow(row);
    window.listWidget->deleteSelected();
    QCOMPARE(playinglist.addrIndex, index);
    QCOMPARE(playinglist.state, 1);
    QVERIFY(endFilm(bench));
    if (next < 0) {
        QCOMPARE(playinglist.state, 0);
        QCOMPARE(bench.engine.starts().size(), 1);
        return;
    }
    QVERIFY(bench.engine.waitForStarts(2));
    QCOMPARE(bench.played().last(), PlayerBench::address(next));
}

void TestEndOfMedia::emptiedList_data()
{
    QTest::addColumn<int>("mode");
    for (int mode = 0; mode <= 4; mode++)
        QTest::addRow("mode %d", mode) << mode;
}

void TestEndOfMedia::emptiedList()
{
    QFETCH(int, mode);
    PlayerBench bench(3);
    TestWindow &window = bench.open();
    playMode = mode;
    bench.play(1);
    QVERIFY(bench.engine.waitForInput(pollPair));
    window.on_playBtn_clicked(); // a paused engine outlives the list
    WhenModal yes(
        [](QWidget *box) { qobject_cast<QMessageBox *>(box)->button(QMessageBox::Yes)->click(); });
    window.listWidget->emptyList();
    QCOMPARE(addrNum, 0);
    QVERIFY(endFilm(bench));
    window.checkPlayMode();
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(playinglist.addrIndex, 1);
    QVERIFY(!window.processTimer->isActive());
    QCOMPARE(bench.engine.starts().size(), 1);
}

void TestEndOfMedia::engineThatNeverStarts_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QList<int>>("titles"); // what is tried, by the title
    using Order = QList<int>;
    QTest::newRow("single") << 0 << Order{2};
    QTest::newRow("sequential") << 1 << Order{2, 1, 0};
    QTest::newRow("repeat one") << 2 << Order{2, 2, 2, 2};
    QTest::newRow("repeat list") << 3 << Order{2, 1, 0, 2};
}

void TestEndOfMedia::engineThatNeverStarts()
{
    QFETCH(int, mode);
    QFETCH(QList<int>, titles);
    PlayerBench bench(3);
    QVERIFY(QFile::remove(bench.root.enginePath()));
    TestWindow &window = bench.open();
    playMode = mode;
    lastTimePlayFlag = true;
    addrlist[2].last_play_time = 60;
    bench.play(2);
    for (int number : qAsConst(titles)) {
        QCOMPARE(playinglist.state, 1);
        QVERIFY(window.processTimer->isActive());
        QCOMPARE(window.m_titleBar->m_titleLabel->text(), QString("%1.mp4").arg(number));
        bench.poll();
    }
    QCOMPARE(playinglist.state, mode < 2 ? 0 : 1);
    QCOMPARE(addrlist[2].last_play_time, 60);
    window.on_stopBtn_clicked();
}

// Tries again with each poll, and the window stays alive.
void TestEndOfMedia::engineThatEndsAtOnce()
{
    PlayerBench bench(2);
    bench.engine.atStart(EngineAction::exit());
    TestWindow &window = bench.open();
    playMode = 2;
    bench.play(1);
    QVERIFY(bench.engine.waitForStarts(4, PlayerBench::patience));
    const QList<StandInEngine::Start> starts = bench.engine.starts();
    for (int i = 1; i < starts.size(); i++)
        QVERIFY(starts.at(i).at - starts.at(i - 1).at >= 400000); // no quicker than the timer
    bench.engine.reset();
    QVERIFY(bench.showsPosition("5", 5));
    window.on_stopBtn_clicked();
    QVERIFY(!window.processTimer->isActive());
}

QTEST_MAIN(TestEndOfMedia)
#include "tst_endofmedia.moc"
