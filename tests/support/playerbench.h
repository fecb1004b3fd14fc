// The real main window in an install root of its own, with a scripted engine, a probe that takes
// every file, and a list of entries.
//
//     PlayerBench bench(3); // entries /f/0.mp4 (oldest) to /f/2.mp4, in memory and in the file
//     bench.engine.setLength("100");
//     bench.open(); // makes the window
//     bench.play(1);
//     QVERIFY(bench.showsPosition("42.9", 42));
//
// Or shown, with one film, and what the engine is sent for one action:
//
//     PlayerBench bench;
//     TestWindow &window = bench.openFilm();
//     QVERIFY(bench.playFilm());
//     QCOMPARE(bench.sent([&] { QTest::keyClick(&window, Qt::Key_Left); }),
//              QByteArray("seek -5 0\n"));
#pragma once

#include "common.h"
#include "engine.h"
#include "enginebench.h"
#include "icons.h"
#include "testsupport.h"
#include "testwindow.h"
#include "toolbench.h"

#include <QLabel>
#include <QMouseEvent>
#include <QProcess>
#include <QTest>

#include <functional>
#include <memory>

inline const QByteArray pollPair = "get_time_length\nget_time_pos\n";

// The commands the engine was sent, a run of whole poll pairs as one "polls". How many pairs there
// are depends on the time; where they are doesn't.
inline QByteArrayList withoutPolls(QByteArray input)
{
    input.replace(pollPair, "polls\n");
    QByteArrayList lines;
    for (const QByteArray &line : input.split('\n')) {
        if (line != "polls" || lines.isEmpty() || lines.last() != line)
            lines << line;
    }
    if (lines.last().isEmpty())
        lines.removeLast();
    else
        lines.last() += " (no line end)";
    return lines;
}

class PlayerBench {
public:
    explicit PlayerBench(int entries = 0)
    {
        defaultVolum = 0; // any other shows a notice soon after the first layout
        for (int i = 0; i < entries; i++)
            addrlist[i] = entry(i);
        addrNum = entries;
        if (entries > 0)
            varyJsonConfig(defaultPlayPath, addrlist);
        log.clear();
    }

    static HistoryAddrList entry(int number)
    {
        HistoryAddrList entry;
        entry.addr = address(number);
        entry.label = getFileNameFromAddr(entry.addr);
        entry.type = 1;
        entry.state = 1;
        entry.frame = 25;
        return entry;
    }
    static QString address(int number) { return QStringLiteral("/f/%1.mp4").arg(number); }

    // The window; shown, it also waits until it is the active one.
    TestWindow &open(bool shown = false)
    {
        // Made in hardware mode it starts no screenshot worker, whose end would have to be awaited.
        const int mode = decodeFlag;
        decodeFlag = 2;
        window = std::make_unique<TestWindow>();
        // cppcheck-suppress redundantAssignment // the window has read it
        window->curDecodeFlag = decodeFlag = mode;
        if (shown) {
            window->show();
            if (!QTest::qWaitForWindowExposed(window.get(), 20000) ||
                !QTest::qWaitForWindowActive(window.get(), 20000))
                qFatal("the window does not show");
        }
        return *window;
    }

    // The window as a person has it: shown, active, with its screenshot worker and one film of 100
    // s.
    TestWindow &openFilm(const QString &film = QStringLiteral("/film.mp4"))
    {
        engine.setLength("100.00");
        engine.setPosition("40.0");
        addrlist[0].addr = film;
        addrlist[0].label = QStringLiteral("the film");
        addrlist[0].type = 1;
        addrNum = 1;
        defaultVolum = 30;
        window = std::make_unique<TestWindow>();
        window->show();
        // The first layout sets the volume, whose notice and command come a little later.
        const auto settled = [this] {
            return window->windowActiveFlag && window->ui->volumSlider->value() == defaultVolum &&
                !window->volumSliderTimer->isActive();
        };
        if (!QTest::qWaitFor(settled, patience))
            qFatal("the window does not come up");
        return *window;
    }

    // Plays it, and waits until it is shown to be at 40 s.
    bool playFilm()
    {
        window->on_playBtn_clicked();
        return engine.waitForStarts(1) &&
            QTest::qWaitFor([this] { return window->currentPosition == 40; }, patience);
    }

    void play(int index)
    {
        playinglist.addrIndex = index;
        window->on_playBtn_clicked();
    }

    // What the poll timer does, at once.
    void poll()
    {
        if (!QMetaObject::invokeMethod(window->processTimer, "timeout", Qt::DirectConnection))
            qFatal("no such timer");
    }

    // Has the engine answer a position, and waits until the window shows it.
    bool showsPosition(const QByteArray &answer, int seconds)
    {
        engine.setPosition(answer);
        poll();
        return QTest::qWaitFor([&] { return window->currentPosition == seconds; }, patience);
    }

    bool showsLength(const QByteArray &answer, int seconds)
    {
        engine.setLength(answer);
        poll();
        return QTest::qWaitFor([&] { return window->ui->processSlider->maximum() == seconds; },
                               patience);
    }

    // The input that action causes, as the engine got it; the poll's commands are left out.
    QByteArray sent(const std::function<void()> &action)
    {
        const QByteArray before = "# before " + QByteArray::number(++mark) + "\n";
        const QByteArray after = "# after " + QByteArray::number(mark) + "\n";
        writeToEngine(before);
        action();
        writeToEngine(after);
        if (!engine.waitForInput(after))
            return "nothing came through";
        QByteArray input = engine.input();
        input = input.mid(input.indexOf(before) + before.size());
        input.truncate(input.indexOf(after));
        return input.replace("get_time_length\n", "").replace("get_time_pos\n", "");
    }

    QRect videoOnScreen() const
    {
        return QRect(window->ui->playWidget->mapToGlobal(QPoint()), window->ui->playWidget->size());
    }

    bool enterFullScreen()
    {
        window->on_fullScreenBtn_clicked();
        return QTest::qWaitFor([this] { return fillsScreen(); }, patience);
    }

    bool barShown() const { return window->fsvc->state && window->fsvc->isVisible(); }
    bool barHidden() const { return !window->fsvc->state && !window->fsvc->isVisible(); }

    // A movement of the mouse without a button held, straight to the window.
    void move(const QPoint &point) const
    {
        QMouseEvent event(QEvent::MouseMove, point, window->mapToGlobal(point), Qt::NoButton,
                          Qt::NoButton, Qt::NoModifier);
        window->mouseMoveEvent(&event);
    }

    bool fillsScreen() const
    {
        const QRect screen(0, 0, window->screenWidth, window->screenHeight);
        return window->isFullScreen() && window->geometry() == screen && videoOnScreen() == screen;
    }

    bool engineHasEnded() const
    {
        const QProcess *process = playinglist.process_mplayer;
        return QTest::qWaitFor([&] { return process->state() == QProcess::NotRunning; }, patience);
    }

    // Addresses of all starts so far, oldest first.
    QStringList played() const
    {
        QStringList addresses;
        for (const StandInEngine::Start &start : engine.starts())
            addresses << QString::fromLocal8Bit(start.arguments.value(0));
        return addresses;
    }

    QString lastPlayed() const { return QString::fromLocal8Bit(engine.last().arguments.value(0)); }

    // How often the history file was rewritten since log was cleared.
    int rewrites() const { return log.lines().filter("Vary json message 0").size(); }

    QStringList rows() const
    {
        QStringList texts;
        for (int i = 0; i < window->listWidget->count(); i++)
            texts << window->listWidget->item(i)->text();
        return texts;
    }

    static constexpr int patience = 30000; // ms

    PlayerRoot root;
    StandInEngine engine{root.path()};
    StandInTools tools;
    LogCapture log;
    std::unique_ptr<TestWindow> window;

private:
    int mark = 0;
};
