// Tells for how long the GUI thread of another program is held up: its window is asked for a sign
// of life as a window manager asks (_NET_WM_PING), over and over, which that thread answers. The
// time for which the machine let it wait for a processor does not count, nor by how much the X
// server is late.
//
//     Pulse pulse(player.pid(), player.window(), [&] { return aProbeRuns(); });
//     ...                                    // ends by itself when the window goes
//     QVERIFY(pulse.worst() < 2000);
#pragma once

#include <QtGlobal>

#include <atomic>
#include <functional>
#include <thread>

class Pulse {
public:
    // What holds the thread up while isExcused() is counted apart; it is called from a thread.
    Pulse(qint64 pid, qulonglong window, const std::function<bool()> &isExcused);
    ~Pulse();
    Pulse(const Pulse &) = delete;
    Pulse &operator=(const Pulse &) = delete;

    // The longest silence in ms so far, the present one included.
    qint64 worst() const { return worstSilence; }
    qint64 worstExcused() const { return worstExcusedSilence; }
    int answers() const { return answered; }

private:
    void watch(qint64 pid, qulonglong window);

    std::function<bool()> isExcused;
    std::atomic<qint64> worstSilence{0};
    std::atomic<qint64> worstExcusedSilence{0};
    std::atomic<int> answered{0};
    std::atomic<bool> ended{false};
    std::thread thread;
};
