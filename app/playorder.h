// What follows at the end of a file.
#pragma once

// Play modes as stored in the settings and as indexes of the settings dialog's choice.
enum PlayMode {
    PlayModeSingle = 0, // nothing further is played
    PlayModeSequential = 1, // the next older entry
    PlayModeRepeatOne = 2, // the same entry again
    PlayModeRepeatList = 3, // the next older entry, from the oldest back to the newest
    PlayModeRandom = 4, // any entry
};

struct NextEntry {
    int index = 0; // new value of playinglist.addrIndex
    bool play = false; // whether it is to be played
};

// The entry after index out of count entries; randomNumber (not negative) is used by
// PlayModeRandom only. Any other mode behaves like PlayModeSingle. Nothing follows in an empty
// list.
NextEntry nextEntry(int mode, int index, int count, int randomNumber);

// The entry in the next row (rows 1: the next older entry) or in the row before (-1) of the list;
// in PlayModeRepeatList its ends meet. -1 where there is none.
int neighbourEntry(int mode, int index, int count, int rows);

// Whether the list never ends in this mode by itself.
bool playsForEver(int mode);
