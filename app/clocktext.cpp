#include "clocktext.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// The cast alone is undefined for what doesn't fit, and the number comes from a file.
int integerPart(double value)
{
    if (std::isnan(value))
        return 0;
    constexpr double lowest = std::numeric_limits<int>::min();
    constexpr double highest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, lowest, highest));
}

QString clock(int hours, int minutes, int seconds)
{
    const QChar zero('0');
    return QString("%1:%2:%3")
        .arg(hours, 2, 10, zero)
        .arg(minutes, 2, 10, zero)
        .arg(seconds, 2, 10, zero);
}

} // namespace

ClockTime splitSeconds(int seconds)
{
    if (seconds < 60)
        return {0, 0, seconds};
    if (seconds < 3600)
        return {0, seconds / 60, seconds % 60};
    if (seconds > 3600)
        return {seconds / 3600, seconds / 60 % 60, seconds % 60};
    return {}; // exactly 3600: intended
}

QString clockText(int seconds)
{
    const ClockTime time = splitSeconds(seconds);
    return clock(time.hours, time.minutes, time.seconds);
}

QString durationText(double seconds)
{
    int minutes = 0;
    int hours = 0;
    if (seconds > 59.0) {
        minutes = integerPart(seconds / 60.0);
        if (minutes > 59)
            hours = minutes / 60;
    }
    return clock(hours, minutes, integerPart(seconds - minutes * 60.0));
}
