// The record the probe fills, whole and empty.
#pragma once

#include "common.h"

inline struct videoInfo filledRecord()
{
    struct videoInfo record;
    record.frame = 25;
    record.type = 2;
    record.width = 1;
    record.height = 2;
    record.vcodecType = "video";
    record.duration = 3;
    record.showDuration = "00:00:03";
    record.bitRate = 4;
    record.acodecType = "audio";
    record.acodecRate = 5;
    record.asampleRate = 6;
    record.channels = 7;
    return record;
}

inline bool recordIsEmpty()
{
    return videoInfo.frame == 0 && videoInfo.type == 0 && videoInfo.width == 0 &&
        videoInfo.height == 0 && videoInfo.vcodecType.isEmpty() && videoInfo.duration == 0 &&
        videoInfo.showDuration.isEmpty() && videoInfo.bitRate == 0 &&
        videoInfo.acodecType.isEmpty() && videoInfo.acodecRate == 0 && videoInfo.asampleRate == 0 &&
        videoInfo.channels == 0;
}
