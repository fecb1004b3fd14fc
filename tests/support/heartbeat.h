// Tells whether the GUI thread is held up. A timer of 10 ms beats in it; how late a beat comes is
// measured without the time for which the machine let the thread wait for a processor.
//
//     Heartbeat heart;
//     heart.watch(2000);                     // runs the event loop so long
//     QVERIFY2(heart.isSteady(), heart.report());
//
// The machine also delays what the thread waits for, as the X server. What that costs is measured
// meanwhile: an echo through another process, every 10 ms. A beat may be late by 100 ms more than
// the slowest echo.
#pragma once

#include <QByteArray>
#include <QTimer>

#include <atomic>
#include <functional>
#include <thread>

class Heartbeat {
public:
    Heartbeat();
    ~Heartbeat();
    Heartbeat(const Heartbeat &) = delete;
    Heartbeat &operator=(const Heartbeat &) = delete;

    // Runs the event loop for ms milliseconds, or until condition holds; then says whether it did.
    void watch(int ms);
    bool watchUntil(const std::function<bool()> &condition, int ms);

    bool isSteady() const;
    qint64 noise() const { return echoWorst.load() / 1000000; } // ms, the slowest echo
    qint64 peakHeap() const { return peak; } // of OwnProcess::heap(), at the beats
    int beats() const { return count; }
    const char *report() const; // valid until the next one

private:
    void beat();
    void beginBeat();
    void echo(int socket);

    QTimer timer;
    qint64 lastBeat = 0; // ns
    qint64 lastWaited = 0; // ns
    qint64 worst = 0; // ms
    qint64 peak = 0;
    int count = 0;
    int echoSocket = -1;
    int echoProcess = -1;
    std::atomic<qint64> echoWorst{0}; // ns
    std::atomic<bool> watching{false};
    std::thread echoThread;
    mutable QByteArray text;
};
