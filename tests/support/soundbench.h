// A sound server of the test's own, with one silent output whose sound can be recorded.
//
//     PrivatePulse pulse;                 // PULSE_SERVER points to it while it lives
//     if (!pulse.isRunning())
//         QSKIP(pulse.missing());         // a desktop with another sound server
//     ... play a clip with a 440 Hz tone ...
//     QByteArray sound = pulse.record(1000);
//     QVERIFY(PrivatePulse::level(sound) > 0.05);
//     QCOMPARE(qRound(PrivatePulse::frequency(sound) / 20), 440 / 20);
#pragma once

#include "testsupport.h"

#include <QByteArray>
#include <QProcess>
#include <QScopedPointer>
#include <QTemporaryDir>

class PrivatePulse {
public:
    static const int rate = 44100;

    PrivatePulse();
    ~PrivatePulse();

    bool isRunning() const { return lacking.isEmpty(); }
    const char *missing() const { return lacking.constData(); } // why it does not run
    // What is played during the next ms milliseconds: 16 bit, one channel, rate samples a second.
    QByteArray record(int ms) const;
    // How many streams are being played now.
    int streams() const;
    // The first one's volume in percent; -1 without one.
    int volume() const;
    // Adds a module to the server.
    bool load(const QString &module) const;

    static double level(const QByteArray &sound); // root mean square, 0..1; a full sine has 0.707
    static double frequency(const QByteArray &sound); // the strongest of 50..5000 Hz; 0 for silence

private:
    bool hasOutput() const;

    QTemporaryDir dir;
    QProcess server;
    QScopedPointer<EnvironmentVariable> variable;
    QByteArray lacking;
};
