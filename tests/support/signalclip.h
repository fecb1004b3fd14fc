// A clip whose colour tells the position: a quarter each is red, lime, blue and yellow. A white box
// wanders about it, so that a picture which plays is never the same twice.
#pragma once

#include "clips.h"

inline QString signalClip(int seconds = 80)
{
    QStringList arguments;
    for (const char *colour : {"red", "lime", "blue", "yellow"}) {
        arguments << "-f"
                  << "lavfi"
                  << "-i"
                  << QStringLiteral("color=c=%1:s=320x240:r=25:d=%2").arg(colour).arg(seconds / 4);
    }
    arguments << "-f"
              << "lavfi"
              << "-i" << QStringLiteral("color=c=white:s=24x24:r=25:d=%1").arg(seconds);
    arguments << "-filter_complex"
              << "[0][1][2][3]concat=n=4:v=1[colours];"
                 "[colours][4]overlay=x='mod(t*67,296)':y='200+mod(t*3,14)'"
              << Clips::h264();
    return Clips::make(QStringLiteral("signal-%1s.mp4").arg(seconds), arguments);
}
