// Every text that is ever written to the engine and every argument list, each once; and the parser
// of its answers. Nothing here knows the process.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

struct HistoryAddrList;

namespace enginecommands {

// Commands of the slave-mode engine. One per line, except the two that say so.
inline constexpr char queryLength[] = "get_time_length\n";
inline constexpr char queryPosition[] = "get_time_pos\n";
inline constexpr char quit[] = "quit\n";
inline constexpr char togglePause[] = "pause\n";
inline constexpr char seekBackward[] = "seek -5 0\n"; // 5 s back, relative
inline constexpr char seekForward[] = "seek +5 0\n"; // 5 s on, relative
inline constexpr char unmute[] = "mute 0\n";
inline constexpr char mute[] = "mute 1\n";
inline constexpr char audioDelayPlus[] = "audio_delay  0.1\n"; // two blanks, intended
inline constexpr char audioDelayMinus[] = "audio_delay  -0.1\n"; // two blanks, intended
inline constexpr char subDelayPlus[] = "sub_delay 0.1\n";
inline constexpr char subDelayMinus[] = "sub_delay -0.1\n";
inline constexpr char subVisible[] = "sub_visibility 1\n";
inline constexpr char subSelect[] = "sub_select 1\n"; // the second one, if there is: intended
inline constexpr char subHidden[] = "sub_visibility 0\n";
inline constexpr char subRemove[] = "sub_remove 0\n"; // the first one: intended
inline constexpr char subScalePlus[] = "sub_scale 0.2\n";
inline constexpr char subScaleMinus[] = "sub_scale -0.2\n";
inline constexpr char subPosUp[] = "sub_pos -2\n";
inline constexpr char subPosDown[] = "sub_pos 2\n";
inline constexpr char screenshot[] =
    "screenshot 0"; // no line end, intended: the next command ends it

// Pause commands of mpv.
inline constexpr char mpvPause[] = "set pause yes\n";
inline constexpr char mpvResume[] = "set pause no\n";

// "seek N 2\n": absolute seek to a second.
QByteArray seekTo(int seconds);
// The same without a line end (intended): continues after a change of the decode mode.
QByteArray seekToUnterminated(int seconds);
// "volume N 2\n": absolute volume in percent.
QByteArray setVolume(int percent);
// "speed_set F\n": playback speed as a factor, shortest general form.
QByteArray setSpeed(float factor);
// "audio_delay %f\n" / "sub_delay %f\n": relative delay in seconds, six decimals. The decimal point
// is a dot under every locale, because the engine reads nothing else.
QByteArray changeAudioDelay(double seconds);
QByteArray changeSubDelay(double seconds);
// "sub_load NAME\n" with blanks and backslashes escaped, as the engine's command parser splits at
// blanks. Returns an empty array for a name that the engine can't take: one with a line break (the
// rest would be a command of its own), or too long for its 4,096-byte command buffer.
QByteArray loadSubtitle(const QString &fileName);

// "sub_file N-1\n": shows the subtitle file that the engine has given the number N (from 1).
QByteArray showSubtitleFile(int number);

// Arguments of the slave-mode engine for an entry. screenShotPath is the screenshot folder, widID
// the X11 window to draw into.
QStringList engineArguments(const HistoryAddrList &entry, int decodeFlag,
                            const QString &screenShotPath, quint64 widID);
// Arguments of mpv for an entry.
QStringList mpvArguments(const HistoryAddrList &entry, int decodeFlag, quint64 widID);

// One line of the engine's output.
struct Answer {
    enum Kind { Other, Length, Position };
    Kind kind = Other;
    // Truncated; 0 for a malformed number. What no int can hold is clamped to 0..INT_MAX.
    int seconds = 0;
};
// Reads one output line (without its line feed).
Answer parseAnswer(const QByteArray &line);

// One line that the engine prints by itself.
struct Remark {
    enum Kind {
        Other,
        Opening, // it looks for the medium
        HasPicture, // the medium has one
        Begun, // it plays, or is about to decode the picture
        ShowsPicture,
        OwnSubtitles, // the medium has a subtitle stream
        AddedSubtitle, // a subtitle file was loaded
    };
    Kind kind = Other;
    int number = 0; // of the subtitle file, from 1
    QByteArray name; // of the subtitle file, as the engine got it
};
// Reads one output line (without its line feed).
Remark parseRemark(const QByteArray &line);

} // namespace enginecommands
