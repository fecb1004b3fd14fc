// The real main window in an install root of its own, with a scripted engine, a probe that takes
// every file, and a list of entries.
//
//     PlayerBench bench(3); // entries /f/0.mp4 (oldest) to /f/2.mp4, in memory and in the file
//     bench.engine.setLength("100");
//     bench.open(); // makes the window
//     bench.play(1);
//     QVERIFY(bench.showsPosition("42.9", 42));
#pragma once

#include "common.h"
#include "enginebench.h"
#include "testsupport.h"
#include "testwindow.h"
#include "toolbench.h"

#include <QLabel>
#include <QProcess>
#include <QTest>

#include <memory>

inline const QByteArray pollPair = "get_time_length\nget_time_pos\n";

// The commands the engine was sent, a run of whole poll pairs as one "polls". How many pairs there
// are depends on the time; where they are doesn't.
inline QByteArrayList withoutPolls(QByteArray input)
{
    input.replace(pollPair, "polls\n");
    QByteArrayList commands;
    for (const QByteArray &line : input.split('\n')) {
        if (line != "polls" || commands.isEmpty() || commands.last() != line)
            commands << line;
    }
    if (commands.last().isEmpty())
        commands.removeLast();
    else
        commands.last() += " (no line end)";
    return commands;
}

inline bool sameIcon(const QIcon &icon, const QString &file)
{
    const QSize size(64, 64);
    return icon.pixmap(size).toImage() == QIcon(file).pixmap(size).toImage();
}

class PlayerBench {
    struct CleanState {
        CleanState() { resetSharedState(); }
        ~CleanState() { resetSharedState(); }
    } cleanState;

public:
    explicit PlayerBench(int entries = 0)
    {
        defaultPlayPath = root.historyFile();
        defaultVolum = 0; // any other shows a notice soon after the first layout
        screenShotPath = root.path() + "/shots/";
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

    InstallRoot root;
    StandInEngine engine{root.path()};
    StandInTools tools;
    LogCapture log;
    std::unique_ptr<TestWindow> window;
};
