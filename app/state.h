// The state that all windows share: three records and the process-wide globals. They are read and
// written directly by every window, on the GUI thread only (the screenshot worker copies what it
// needs when it starts).
#pragma once

#include <QString>
#include <QtGlobal>

class QProcess;

// Names for the numbers that the records and globals below hold.
enum EntryKind { EntryLocal = 1, EntryStream = 2 }; // a stream begins with "rtsp" or "rtmp"
enum CodecKind { CodecH264 = 0, CodecHevc = 1, CodecOther = 2 };
enum DecodeMode {
    DecodeSingle = 0, // software
    DecodeThreaded = 1, // software in several threads
    DecodeHardware = 2, // VDPAU
};
enum DelayKind { DelayAudio = 0, DelaySubtitle = 1 };

constexpr int kHistoryCapacity = 999;
constexpr int kCommandLineSlots = 99;

// One media entry of the list that is at once history and playlist.
struct HistoryAddrList {
    int type = 0; // EntryKind
    int width = 0; // pixels
    int height = 0; // pixels
    float frame = 0; // frames per second
    int pid_mplayer = 0; // unused
    int state = 0; // 1 slot in use, 0 vacated
    int codec_type = 0; // CodecKind
    int last_play_time = 0; // resume position in seconds, 0 from the start
    QString label; // display name
    QString addr; // local path or stream URL
    QString subTitleAddr; // unused
};

// What the probe found in the last probed medium.
struct videoInfo {
    float frame = 0; // frames per second, 0 when unknown or above 100
    int type = 0; // CodecKind
    int width = 0; // pixels
    int height = 0; // pixels
    QString vcodecType; // video codec description
    double duration = 0; // seconds
    QString showDuration; // hours:minutes:seconds for display
    int bitRate = 0; // bits per second
    QString acodecType; // audio codec description
    float acodecRate = 0; // bits per second
    int asampleRate = 0; // Hz
    int channels = 0;
};

// The current playback.
struct PlayingList {
    int addrIndex = 0; // index in addrlist, never a list row
    int width = 0; // unused
    int height = 0; // unused
    quint64 widID = 0; // native window id of the play area
    int curPage = 0; // unused
    QProcess *process_mplayer = nullptr; // the one engine process, reused for every start
    int newPlayState = 0; // unused
    int state =
        0; // 1 while an engine was started for the current item, 0 after it was told to quit
    int lastPlayIndex = 0; // unused
};

extern QString startPath; // install root; written by main
extern QString
    rBtnOpenFile[kCommandLineSlots]; // command-line locations, ended by the first empty one
extern HistoryAddrList addrlist[kHistoryCapacity]; // the entries, oldest first
extern int addrNum; // number of used entries
extern struct videoInfo videoInfo; // the last probed medium; written by the probe
extern PlayingList playinglist; // the current playback
extern bool playingState; // true while playing (not paused, not stopped)
extern int decodeFlag; // DecodeMode
extern int decodeSoftware; // 0 the slave-mode engine, else mpv; the settings loader forces 0
extern QString defaultPlayPath; // path of the history file
extern int defaultVolum; // volume 0..100, saved at exit
extern bool muteFlag; // audio muted
extern double audioDelay; // seconds
extern double subDelay; // seconds
extern int delayFlag; // which delay the delay dialog edits (DelayKind)
extern bool subTitleFlag; // an external subtitle file is loaded
extern bool lastTimePlayFlag; // resume each file at its last position
extern bool emptyListCheckFlag; // empty the list on exit
extern int firstStartFlag; // non-zero only on the first start after installation
extern int playMode; // play order, see playorder.h
extern QString screenShotPath; // screenshot folder, ends in "/"
extern bool fullScreenFlag; // main window is in full-screen mode
extern bool maxFlag; // cleared at construction of the main window, otherwise unused
