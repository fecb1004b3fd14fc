// The player in the terms of MPRIS 2, by which desktops show and steer players: plain functions.
#pragma once

#include "playerview.h"

#include <QVariantMap>

namespace mpris {

// All properties of the two interfaces but Position, which is told on demand only.
QVariantMap rootProperties(const PlayerView &view);
QVariantMap playerProperties(const PlayerView &view);

qlonglong microseconds(int seconds);

// The name of an entry, the same as long as its address is: an object path.
QString trackPath(const QString &address);

// What uri names, as the player takes it; empty for what it does not open. Anybody may send
// anything.
QString addressOf(const QString &uri);

// The play mode that a client asks for where mode is in force; -1 for an unknown text.
int modeOfLoop(const QString &status, int mode);
int modeOfShuffle(bool shuffle, int mode);

// The nearest speed there is, in percent; 0 means a pause, -1 nothing (negative, not a number).
int speedOf(double rate);
// 0..100; -1 for what is not a number.
int volumeOf(double volume);

} // namespace mpris
