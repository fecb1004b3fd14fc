// Seconds as the hours, minutes and seconds that labels show.
#pragma once

#include <QString>

struct ClockTime {
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
};

// Splits seconds. Exactly 3600 gives 0, 0, 0: intended.
ClockTime splitSeconds(int seconds);

// "hh:mm:ss" of the media's length and of the position.
QString clockText(int seconds);

// The same of what the probe tells, where the minutes go on counting beyond 59: intended.
QString durationText(double seconds);
