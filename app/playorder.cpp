#include "playorder.h"

NextEntry nextEntry(int mode, int index, int count, int randomNumber)
{
    if (count <= 0)
        return {index, false};
    switch (mode) {
    case PlayModeSequential:
        // Below the oldest entry the index rests at -1.
        return index > 0 ? NextEntry{index - 1, true} : NextEntry{-1, false};
    case PlayModeRepeatOne:
        return {index, true};
    case PlayModeRepeatList:
        return {index > 0 ? index - 1 : count - 1, true};
    case PlayModeRandom:
        return {randomNumber % count, true};
    default:
        return {index, false};
    }
}

int neighbourEntry(int mode, int index, int count, int rows)
{
    if (index < 0 || index >= count)
        return -1;
    const int target = index - rows;
    if (target >= 0 && target < count)
        return target;
    return mode == PlayModeRepeatList && count > 1 ? (target + count) % count : -1;
}

bool playsForEver(int mode)
{
    return mode == PlayModeRepeatOne || mode == PlayModeRepeatList || mode == PlayModeRandom;
}
