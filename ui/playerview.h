// What the main window shows of the playback, at one moment: for whoever shows it elsewhere.
#pragma once

#include <QString>

struct PlayerView {
    enum Status { Stopped, Playing, Paused };

    Status status = Stopped;
    QString address; // of the entry in force; empty where the list is
    QString title;
    int length = 0; // seconds, 0 until the engine has told it
    int position = 0; // seconds, as it was told last or sought since
    int speed = 100; // percent
    int volume = 0; // 0..100
    int mode = 0; // the play mode, as in playorder.h
    bool fullScreen = false;
    bool hasNext = false; // a row after that of the entry in force
    bool hasPrevious = false;
};
