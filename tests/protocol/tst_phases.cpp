// What each thing that can happen does in each state the player can be in: what is written to the
// engine, what is shown, whether it is polled, and the place that is kept. The table of
// docs/architecture.md, cell by cell.
#include "engine.h"
#include "enginecommands.h"
#include "playerbench.h"
#include "playorder.h"
#include "whenopen.h"

#include <QPushButton>

#include <functional>
#include <map>

namespace {

enum State { Stopped, Playing, Paused, Boxed, Ended, EndedPaused, Ending, Closed };

const char *const stateNames[] = {"stopped",
                                  "playing",
                                  "paused",
                                  "the box of a start is open",
                                  "ended, not yet noticed",
                                  "ended while paused",
                                  "being ended",
                                  "closed"};

enum Event {
    PlayButton,
    StopButton,
    Poll,
    Output,
    Slider,
    Forward,
    OtherRow,
    OpenFile,
    DeleteRow,
    DecodeChange,
    Close,
};

const char *const eventNames[] = {"play button", "stop button", "poll",         "output",
                                  "slider",      "forward",     "other row",    "file opened",
                                  "row deleted", "decode mode", "window closed"};

constexpr char mark[] = "# mark";
constexpr int savedPlace = 42;
constexpr int loaded = 1; // the entry it is all about, of three

// Commands; the button that is shown and the name in the title; polls or not; the entry's place.
struct Cell {
    State state;
    Event event;
    const char *outcome;
};

const Cell cells[] = {
    {Stopped, PlayButton, "start 2.mp4 | pause 2.mp4 polls 0"},
    {Stopped, StopButton, " | play - rests 0"},
    {Stopped, Poll, " | play - rests 0"},
    {Stopped, Output, " | play - rests 0"},
    {Stopped, Slider, " | play - rests 0"},
    {Stopped, Forward, " | play - rests 0"},
    {Stopped, OtherRow, "start 0.mp4 | pause 0.mp4 polls 0"},
    {Stopped, OpenFile, "start new.mp4 | pause new.mp4 polls 0"},
    {Stopped, DeleteRow, " | play - rests gone"},
    {Stopped, DecodeChange, " | play - rests 0"},
    {Stopped, Close, " | play - rests 0"},
    {Playing, PlayButton, "pause | play 1.mp4 rests 0"},
    {Playing, StopButton, "quit | play - rests 42"},
    {Playing, Poll, " | pause 1.mp4 polls 0"},
    {Playing, Output, " | pause 1.mp4 polls 0"},
    {Playing, Slider, "seek 7 2 | pause 1.mp4 polls 0"},
    {Playing, Forward, "seek +5 0 | pause 1.mp4 polls 0"},
    {Playing, OtherRow, "quit, start 0.mp4 | pause 0.mp4 polls 42"},
    {Playing, OpenFile, "quit, start new.mp4 | pause new.mp4 polls 42"},
    {Playing, DeleteRow, "quit | play - rests gone"},
    {Playing, DecodeChange,
     "quit, start 1.mp4, seek 37 2, seek 42 2 (no line end) | pause 1.mp4 polls 42"},
    {Playing, Close, "quit | play - rests 42"},
    {Paused, PlayButton, "pause | pause 1.mp4 polls 0"},
    {Paused, StopButton, "quit | play - rests 42"},
    {Paused, Poll, " | play 1.mp4 rests 0"},
    {Paused, Output, " | play 1.mp4 polls 0"},
    {Paused, Slider, "seek 7 2, pause | play 1.mp4 rests 0"},
    {Paused, Forward, "seek +5 0 | play 1.mp4 rests 0"},
    {Paused, OtherRow, "quit, start 0.mp4 | pause 0.mp4 polls 42"},
    {Paused, OpenFile, "quit, start new.mp4 | pause new.mp4 polls 42"},
    {Paused, DeleteRow, "quit | play - rests gone"},
    {Paused, DecodeChange, " | play 1.mp4 rests 0"},
    {Paused, Close, "quit | play - rests 42"},
    {Boxed, PlayButton, "start 1.mp4, seek 37 2 | pause 1.mp4 polls 42"},
    {Boxed, StopButton, " | play - rests 42"},
    {Boxed, Poll, "start 1.mp4, seek 37 2 | pause 1.mp4 polls 42"},
    {Boxed, Output, "start 1.mp4, seek 37 2 | pause 1.mp4 polls 42"},
    {Boxed, Slider, "start 1.mp4, seek 37 2 | pause 1.mp4 polls 42"},
    {Boxed, Forward, "start 1.mp4, seek 37 2 | pause 1.mp4 polls 42"},
    {Boxed, OtherRow, "start 0.mp4 | pause 0.mp4 polls 42"},
    {Boxed, OpenFile, "start new.mp4 | pause new.mp4 polls 42"},
    {Boxed, DeleteRow, " | play - rests gone"},
    {Boxed, DecodeChange, "start 1.mp4, seek 37 2, seek 0 2 (no line end) | pause 1.mp4 polls 42"},
    {Boxed, Close, " | play - rests 42"},
    {Ended, PlayButton, " | play 1.mp4 rests 0"},
    {Ended, StopButton, " | play - rests 42"},
    {Ended, Poll, "start 0.mp4 | pause 0.mp4 polls 42"},
    {Ended, Output, " | play - polls 42"},
    {Ended, Slider, " | pause 1.mp4 polls 0"},
    {Ended, Forward, " | pause 1.mp4 polls 0"},
    {Ended, OtherRow, "start 0.mp4 | pause 0.mp4 polls 42"},
    {Ended, OpenFile, "start new.mp4 | pause new.mp4 polls 42"},
    {Ended, DeleteRow, " | play - rests gone"},
    {Ended, DecodeChange, "start 1.mp4, seek 37 2, seek 42 2 (no line end) | pause 1.mp4 polls 42"},
    {Ended, Close, " | play - rests 42"},
    {EndedPaused, PlayButton, " | pause 1.mp4 polls 0"},
    {EndedPaused, StopButton, " | play - rests 42"},
    {EndedPaused, Poll, " | play 1.mp4 rests 0"},
    {EndedPaused, Output, " | play - rests 42"},
    {EndedPaused, Slider, " | play 1.mp4 rests 0"},
    {EndedPaused, Forward, " | play 1.mp4 rests 0"},
    {EndedPaused, OtherRow, "start 0.mp4 | pause 0.mp4 polls 42"},
    {EndedPaused, OpenFile, "start new.mp4 | pause new.mp4 polls 42"},
    {EndedPaused, DeleteRow, " | play - rests gone"},
    {EndedPaused, DecodeChange, " | play 1.mp4 rests 0"},
    {EndedPaused, Close, " | play - rests 42"},
    {Ending, StopButton, "quit | play - rests 42"},
    {Ending, Output, "quit | play - rests 42"},
    {Ending, DeleteRow, "quit | play - rests gone"},
    {Closed, PlayButton, " | play - rests 42"},
    {Closed, StopButton, " | play - rests 42"},
    {Closed, Poll, " | play - rests 42"},
    {Closed, Output, " | play - rests 42"},
    {Closed, Slider, " | play - rests 42"},
    {Closed, Forward, " | play - rests 42"},
    {Closed, OtherRow, " | play - rests 42"},
    {Closed, OpenFile, " | play - rests 42"},
    {Closed, DeleteRow, " | play - rests gone"},
    {Closed, DecodeChange, " | play - rests 42"},
    {Closed, Close, " | play - rests 42"},
};

} // namespace

class TestPhases : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup() { bench.reset(); }
    void outcome_data();
    void outcome();

private:
    void reach(State state, const std::function<void()> &then);
    void happen(Event event);
    QString seen();
    QString commands() const;

    std::unique_ptr<PlayerBench> bench;
    TestWindow *window = nullptr;
    int startsBefore = 0;
    int bytesBefore = 0;
};

void TestPhases::init()
{
    bench = std::make_unique<PlayerBench>(3);
    startsBefore = bytesBefore = 0;
    bench->engine.setLength(QByteArray());
    bench->engine.setPosition(QByteArray());
    lastTimePlayFlag = true;
    playMode = PlayModeRepeatList;
    window = &bench->open();
}

// Calls then in the state, where that is inside of something.
void TestPhases::reach(State state, const std::function<void()> &then)
{
    const bool running = state != Stopped && state != Boxed;
    if (running) {
        bench->play(loaded);
        QVERIFY(bench->showsPosition(QByteArray::number(savedPlace), savedPlace));
        bench->engine.setPosition(QByteArray());
    }
    if (state == Paused || state == EndedPaused) {
        window->on_playBtn_clicked();
        QVERIFY(bench->engine.waitForInput("pause\n"));
    }
    if (state == Ended || state == EndedPaused) {
        if (state == Ended)
            window->processTimer->start(60000); // the next poll is the test's own
        writeToEngine("end now\n");
        QVERIFY(bench->engineHasEnded());
    }
    if (state == Closed)
        QVERIFY(window->close());
    bench->log.clear();
    if (state == Boxed) {
        decodeFlag = DecodeHardware;
        window->curDecodeFlag = DecodeHardware;
        addrlist[loaded].codec_type = CodecOther;
        addrlist[loaded].last_play_time = savedPlace;
        WhenModal box([&](QWidget *widget) {
            then();
            if (widget->isVisible())
                widget->close();
        });
        bench->play(loaded);
        QVERIFY(box.happened());
        return;
    }
    if (running)
        QVERIFY(bench->engine.waitForInput(state == Closed ? "quit\n" : "get_time_pos\n"));
    startsBefore = bench->engine.starts().size();
    bytesBefore = bench->engine.input().size();
    if (state == Ending) {
        bool inside = false;
        const auto wire = connect(playinglist.process_mplayer, &QIODevice::aboutToClose, this, [&] {
            if (!inside)
                then();
            inside = true;
        });
        window->on_stopBtn_clicked();
        disconnect(wire);
        QVERIFY(inside);
        return;
    }
    then();
}

void TestPhases::happen(Event event)
{
    switch (event) {
    case PlayButton:
        window->on_playBtn_clicked();
        break;
    case StopButton:
        window->on_stopBtn_clicked();
        break;
    case Poll:
        if (window->processTimer->isActive())
            bench->poll();
        break;
    case Output:
        window->dataReceive();
        break;
    case Slider:
        window->ui->processSlider->setValue(7);
        window->processSliderPressed();
        break;
    case Forward:
        window->on_forwardBtn_clicked();
        break;
    case OtherRow:
        window->playSelected(2); // the oldest entry
        break;
    case OpenFile:
        window->openAndDragFile("/f/new.mp4");
        break;
    case DeleteRow:
        window->listWidget->setCurrentRow(rowOfEntry(loaded, addrNum));
        window->listWidget->deleteSelected();
        break;
    case DecodeChange:
        decodeFlag = DecodeThreaded;
        window->recvSetDecodeSignal();
        break;
    case Close:
        window->close();
        break;
    }
}

// "start 1.mp4" and what that engine was sent, and so on. Of the polls only that there were any.
QString TestPhases::commands() const
{
    QStringList all;
    const QList<StandInEngine::Start> starts = bench->engine.starts();
    for (int i = qMax(0, startsBefore - 1); i < starts.size(); ++i) {
        QByteArray input = starts.at(i).input;
        if (i >= startsBefore)
            all << "start " +
                    getFileNameFromAddr(QString::fromLocal8Bit(starts.at(i).arguments.first()));
        else
            input = input.mid(bytesBefore);
        if (input.contains(mark))
            input.truncate(input.indexOf(mark));
        for (const QByteArray &line : withoutPolls(input)) {
            if (line != "polls")
                all << QString::fromLocal8Bit(line);
        }
    }
    return all.join(", ");
}

QString TestPhases::seen()
{
    const QString title = window->m_titleBar->m_titleLabel->text();
    const int index = indexOfAddr(PlayerBench::address(loaded));
    return QStringList{window->ui->playBtn->toolTip() == "暂停" ? "pause" : "play",
                       title.startsWith("Tarnivo") ? "-" : title,
                       window->processTimer->isActive() ? "polls" : "rests",
                       index < 0 ? "gone" : QString::number(addrlist[index].last_play_time)}
        .join(' ');
}

void TestPhases::outcome_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<int>("event");
    QTest::addColumn<QString>("expected");
    for (const Cell &cell : cells)
        QTest::addRow("%s: %s", stateNames[cell.state], eventNames[cell.event])
            << int(cell.state) << int(cell.event) << QString::fromUtf8(cell.outcome);
}

void TestPhases::outcome()
{
    QFETCH(int, state);
    QFETCH(int, event);
    QFETCH(QString, expected);
    bench->engine.on("end now", EngineAction::exit());
    reach(State(state), [&] { happen(Event(event)); });
    const QString look = seen();
    if (engineRuns()) {
        writeToEngine(mark + QByteArray("\n"));
        QVERIFY(bench->engine.waitForInput(mark));
    }
    QTRY_COMPARE(commands() + " | " + look, expected);
    QVERIFY(bench->engine.runningEngines().size() <= 1);
}

QTEST_MAIN(TestPhases)
#include "tst_phases.moc"
