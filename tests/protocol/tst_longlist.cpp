// The list with many entries, and through long random work: the rule that maps rows to entries.
#include "playerbench.h"
#include "playorder.h"
#include "whenopen.h"

#include <QMessageBox>
#include <QPushButton>
#include <QRandomGenerator>

#include <ctime>

class TestLongList : public QObject {
    Q_OBJECT

private slots:
    void fillsQuickly();
    void openingOneMoreTouchesNoOther();
    void thousandthFile();
    void thousandthFileWhileTheOldestPlays();
    void deletionInAFullList();
    void randomWork_data();
    void randomWork();
};

namespace {

// Processor time of this thread, which a busy machine does not stretch.
double milliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1000 + double(now.tv_nsec) / 1e6;
}

double timeToOpen(int entries)
{
    double best = 1e9;
    for (int i = 0; i < 5; i++) {
        PlayerBench bench(entries);
        const double before = milliseconds();
        bench.open();
        best = qMin(best, milliseconds() - before);
    }
    return best;
}

// What the player should hold, worked out without its array and its widgets.
struct Model {
    QStringList entries; // oldest first
    int index = -1;
    int clickedRow = 0;
    bool loaded = false; // an engine was started and not stopped
    bool playing = false;
    int nextNew = kHistoryCapacity; // number of the next file that was never opened

    void stop()
    {
        playing = playing && !loaded;
        loaded = false;
    }
    void playOrPause()
    {
        if (entries.isEmpty())
            return;
        playing = !loaded || !playing;
        if (loaded)
            return;
        if (index < 0 || index >= entries.size())
            index = entries.size() - 1;
        loaded = true;
    }
    void change(int target)
    {
        if (playing || (loaded && index != target))
            stop();
        index = target;
        playOrPause();
    }
    void open(const QString &address)
    {
        int known = entries.indexOf(address);
        if (playing || (loaded && index != known))
            stop();
        if (known < 0) {
            if (entries.size() == kHistoryCapacity)
                entries.removeFirst();
            known = entries.size();
            entries << address;
        }
        index = known;
        playOrPause();
    }
    void playClicked()
    {
        const int target = entries.size() - 1 - clickedRow;
        if (target >= 0 && target < entries.size() && !(index == target && playing))
            change(target);
    }
    void remove(int row)
    {
        const int entry = entries.size() - 1 - row;
        if (index == entry)
            stop();
        else if (row > index)
            index--;
        entries.removeAt(entry);
    }
    void clear()
    {
        if (playing)
            stop();
        entries.clear();
        clickedRow = 0;
    }
    void endOfFilm(int mode, int drawn)
    {
        stop();
        if (entries.isEmpty())
            return;
        if (mode == 1) {
            index = qMax(-1, index - 1);
            if (index >= 0)
                playOrPause();
        } else if (mode == 2) {
            playOrPause();
        } else if (mode == 3) {
            index = index - 1 < 0 ? entries.size() - 1 : index - 1;
            playOrPause();
        } else if (mode == 4) {
            index = drawn;
            playOrPause();
        }
    }
};

} // namespace

void TestLongList::fillsQuickly()
{
    const double empty = timeToOpen(0);
    const double full = timeToOpen(kHistoryCapacity);
    QVERIFY2(full - empty < (underSanitizers() ? 500 : 50),
             qPrintable(QString::number(full - empty)));
    PlayerBench bench(kHistoryCapacity);
    TestWindow &window = bench.open();
    QCOMPARE(window.listWidget->count(), kHistoryCapacity);
    QCOMPARE(window.listWidget->item(0)->text(), QString("998.mp4"));
    QCOMPARE(window.listWidget->item(998)->text(), QString("0.mp4"));
}

void TestLongList::openingOneMoreTouchesNoOther()
{
    PlayerBench bench(500);
    TestWindow &window = bench.open();
    QList<QListWidgetItem *> items;
    for (int row = 0; row < 500; row++)
        items << window.listWidget->item(row);
    int changed = 0;
    int inserted = 0;
    const QAbstractItemModel *model = window.listWidget->model();
    connect(model, &QAbstractItemModel::dataChanged, this, [&] { changed++; });
    connect(model, &QAbstractItemModel::modelReset, this, [&] { changed++; });
    connect(model, &QAbstractItemModel::rowsRemoved, this, [&] { changed++; });
    connect(model, &QAbstractItemModel::rowsInserted, this, [&] { inserted++; });
    window.openAndDragFile("/f/new.mp4");
    QCOMPARE(inserted, 1);
    QCOMPARE(changed, 0);
    QCOMPARE(window.listWidget->count(), 501);
    for (int row = 0; row < 500; row++)
        QCOMPARE(window.listWidget->item(row + 1), items.at(row));
    window.openAndDragFile("/f/17.mp4"); // a known one changes nothing at all
    QCOMPARE(inserted, 1);
    QCOMPARE(changed, 0);
}

void TestLongList::thousandthFile()
{
    PlayerBench bench(kHistoryCapacity);
    TestWindow &window = bench.open();
    QListWidgetItem *second = window.listWidget->item(0);
    window.openAndDragFile("/f/new.mp4");
    QCOMPARE(addrNum, kHistoryCapacity);
    QCOMPARE(window.listWidget->count(), kHistoryCapacity);
    QCOMPARE(window.listWidget->item(0)->text(), QString("new.mp4"));
    QCOMPARE(window.listWidget->item(1), second);
    QCOMPARE(window.listWidget->item(998)->text(), QString("1.mp4"));
    QCOMPARE(addrlist[0].addr, QString("/f/1.mp4"));
    QCOMPARE(addrlist[998].addr, QString("/f/new.mp4"));
    QCOMPARE(playinglist.addrIndex, 998);
    QVERIFY(bench.engine.waitForStarts(1));
    QCOMPARE(bench.played(), QStringList("/f/new.mp4"));
    QCOMPARE(storedEntries(defaultPlayPath).size(), kHistoryCapacity);
    addrNum = 0;
    QCOMPARE(readJsonConfig(defaultPlayPath), 0);
    QCOMPARE(addrNum, kHistoryCapacity);
    QCOMPARE(addrlist[0].addr, QString("/f/1.mp4"));
    QCOMPARE(addrlist[998].addr, QString("/f/new.mp4"));
}

void TestLongList::thousandthFileWhileTheOldestPlays()
{
    PlayerBench bench(kHistoryCapacity);
    lastTimePlayFlag = true;
    bench.engine.setLength("100");
    TestWindow &window = bench.open();
    bench.play(1);
    QVERIFY(bench.showsLength("100", 100));
    QVERIFY(bench.showsPosition("42", 42));
    window.openAndDragFile("/f/new.mp4");
    QCOMPARE(addrlist[0].addr, QString("/f/1.mp4"));
    QCOMPARE(addrlist[0].last_play_time, 42); // moved along with its entry
    QCOMPARE(addrlist[998].last_play_time, 0);
    QVERIFY(bench.engine.waitForStarts(2));
    QCOMPARE(bench.played(), QStringList({"/f/1.mp4", "/f/new.mp4"}));
}

void TestLongList::deletionInAFullList()
{
    PlayerBench bench(kHistoryCapacity);
    TestWindow &window = bench.open();
    window.listWidget->setCurrentRow(0);
    window.listWidget->deleteSelected();
    QCOMPARE(addrNum, 998);
    QVERIFY(addrlist[998].addr.isEmpty());
    QCOMPARE(addrlist[998].state, 0);
    QCOMPARE(window.listWidget->item(0)->text(), QString("997.mp4"));
    QCOMPARE(storedEntries(defaultPlayPath).size(), 998);
    window.openAndDragFile("/f/new.mp4");
    QCOMPARE(window.listWidget->count(), kHistoryCapacity);
    QCOMPARE(window.listWidget->item(998)->text(), QString("0.mp4"));
}

void TestLongList::randomWork_data()
{
    QTest::addColumn<int>("entries");
    QTest::addColumn<int>("rounds");
    QTest::newRow("short list") << 5 << (underSanitizers() ? 2000 : 10000);
    QTest::newRow("full list") << kHistoryCapacity - 3 << (underSanitizers() ? 60 : 200);
}

// One thing that a person does, to the window and to the model alike.
static void doSomething(PlayerBench &bench, Model &model, QRandomGenerator &random, bool full)
{
    TestWindow &window = *bench.window;
    const int choice = int(random.bounded(1000));
    const int rows = model.entries.size();
    const int row = rows > 0 ? int(random.bounded(rows)) : -1;
    if (choice < 100) {
        const QString address = PlayerBench::address(model.nextNew++);
        window.openAndDragFile(address);
        model.open(address);
    } else if (choice < 130 && rows > 0) {
        const QString address = model.entries.at(row);
        window.openAndDragFile(address);
        model.open(address);
    } else if (choice < (full ? 180 : 230) && rows > 0) {
        window.listWidget->setCurrentRow(row);
        window.listWidget->deleteSelected();
        model.remove(row);
    } else if (choice < 560 && rows > 0) {
        window.listWidget->setCurrentRow(row);
        window.listWidget->getListName(window.listWidget->item(row));
        model.clickedRow = row;
    } else if (choice < 660) {
        window.listWidget->playSelectedList(); // perhaps with a row that is gone
        model.playClicked();
    } else if (choice < 710) {
        window.playSelected(row);
        const int target = rows - 1 - row;
        if (row >= 0 && model.index != target)
            model.change(target);
    } else if (choice < 830) {
        window.on_stopBtn_clicked();
        model.stop();
    } else if (choice < 900) {
        window.on_playBtn_clicked();
        model.playOrPause();
    } else if (choice < 995 || full) {
        playMode = int(random.bounded(7)) - 1;
        bench.poll(); // finds no engine
        model.endOfFilm(playMode, playinglist.addrIndex);
    } else {
        window.processTimer->stop(); // the box turns the event loop
        WhenModal yes([](QWidget *box) {
            qobject_cast<QMessageBox *>(box)->button(QMessageBox::Yes)->click();
        });
        window.listWidget->emptyList();
        model.clear();
    }
}

// Whether an entry and its row are what the model has.
static bool entryAgrees(const TestWindow &window, const Model &model, int entry)
{
    const QString row = window.listWidget->item(rowOfEntry(entry, addrNum))->text();
    return addrlist[entry].addr == model.entries.at(entry) && addrlist[entry].label == row &&
        row == getFileNameFromAddr(model.entries.at(entry));
}

// No engine starts, because its input can't be opened, which is found out before a process is made
// and so costs little; to the window it is one that dies at once.
void TestLongList::randomWork()
{
    QFETCH(int, entries);
    QFETCH(int, rounds);
    PlayerBench bench(entries);
    // One that starts quicker than the shell script of the bench; most of the time goes there.
    writeProgram(bench.tools.folder() + "/ffprobe",
                 "echo '" + StandInTools::videoJson("h264", 320, 240, "25/1") + "'\n");
    TestWindow &window = bench.open();
    playinglist.process_mplayer->setStandardInputFile(bench.root.path() + "/none");
    QRandomGenerator random(20240131);
    Model model;
    for (int i = 0; i < entries; i++)
        model.entries << PlayerBench::address(i);
    model.index = entries - 1;

    for (int round = 0; round < rounds; round++) {
        doSomething(bench, model, random, entries > 100);

        const QByteArray at = "round " + QByteArray::number(round);
        QVERIFY2(addrNum == model.entries.size(), at);
        QVERIFY2(window.listWidget->count() == model.entries.size(), at);
        QVERIFY2(playinglist.addrIndex == model.index, at);
        QVERIFY2(playingState == model.playing, at);
        QVERIFY2((playinglist.state == 1) == model.loaded, at);
        if (addrNum > 0)
            QVERIFY2(entryAgrees(window, model, int(random.bounded(addrNum))), at);
        if (round % 500 == 499 || round == rounds - 1) {
            for (int i = 0; i < addrNum; i++)
                QVERIFY2(entryAgrees(window, model, i), at);
            QVERIFY2(storedEntries(defaultPlayPath).size() == model.entries.size(), at);
            bench.log.clear();
        }
    }
    window.processTimer->stop();
}

QTEST_MAIN(TestLongList)
#include "tst_longlist.moc"
