#include "enginecommands.h"

#include "state.h"

#include <QFile>
#include <QRegularExpression>

#include <climits>

namespace enginecommands {

namespace {

constexpr int kLongestCommand = 4000; // bytes; the engine's command buffer holds 4,096

// "%f" of printf with a dot under every locale.
QByteArray sixDecimals(double number) { return QByteArray::number(number, 'f', 6); }

QString windowId(quint64 widID) { return QString::number(static_cast<quint32>(widID)); }

// The engine splits its filter options at commas and takes everything else as it is.
QString screenshotFilter(QString screenShotPath)
{
    return "screenshot=" + screenShotPath.replace(',', "\\,") + "shot";
}

// Seconds as a whole number. What no int can hold (infinite, not a number, huge) is clamped.
int wholeSeconds(const QByteArray &number)
{
    const float seconds = QString::fromUtf8(number).toFloat();
    if (seconds >= -static_cast<float>(INT_MIN))
        return INT_MAX;
    if (seconds > static_cast<float>(INT_MIN))
        return static_cast<int>(seconds);
    return 0;
}

// Each of the engine's readers tells a subtitle stream in its own way:
//     [lavf] stream 1: subtitle (srt), -sid 0        [Ogg] stream 1: subtitles (…), -sid 0
//     [mkv] Track ID 2: subtitles (S_TEXT/ASS)       [name] Subtitle stream found, -sid 0
//     VIDEO H264(pid=256) NO AUDIO! … SUB DVB(pid=257)  PROGRAM N. 1
bool tellsOwnSubtitles(const QByteArray &line)
{
    static const QRegularExpression bracketed(
        "^\\[\\w+\\] (?:(?:stream|Track ID) \\d+: subtitles? \\(|Subtitle stream found, -sid )");
    static const QRegularExpression inAProgramme("^(?:NO )?VIDEO.* SUB \\w+\\(pid=\\d+\\)");
    if (line.startsWith('['))
        return bracketed.match(QString::fromLatin1(line)).hasMatch();
    return line.contains(" SUB ") && inAProgramme.match(QString::fromLatin1(line)).hasMatch();
}

// "SUB: Added subtitle file (N): name". The name is not quoted and may hold anything.
Remark addedSubtitle(const QByteArray &line)
{
    static const QByteArray words = "SUB: Added subtitle file (";
    if (!line.startsWith(words))
        return {};
    const int end = line.indexOf("): ", words.size());
    if (end < 0)
        return {};
    const int number = line.mid(words.size(), end - words.size()).toInt();
    if (number < 1)
        return {};
    return {Remark::AddedSubtitle, number, line.mid(end + 3)};
}

} // namespace

QByteArray seekTo(int seconds) { return seekToUnterminated(seconds) + '\n'; }

QByteArray seekToUnterminated(int seconds) { return "seek " + QByteArray::number(seconds) + " 2"; }

QByteArray setVolume(int percent) { return "volume " + QByteArray::number(percent) + " 2\n"; }

QByteArray setSpeed(float factor)
{
    return "speed_set " + QByteArray::number(static_cast<double>(factor)) + '\n';
}

QByteArray changeAudioDelay(double seconds) { return "audio_delay " + sixDecimals(seconds) + '\n'; }

QByteArray changeSubDelay(double seconds) { return "sub_delay " + sixDecimals(seconds) + '\n'; }

QByteArray loadSubtitle(const QString &fileName)
{
    QByteArray name = QFile::encodeName(fileName);
    if (name.contains('\n') || name.contains('\r'))
        return QByteArray();
    name.replace('\\', "\\\\").replace(' ', "\\ ");
    const QByteArray command = "sub_load " + name + '\n';
    return command.size() > kLongestCommand ? QByteArray() : command;
}

QByteArray showSubtitleFile(int number)
{
    return "sub_file " + QByteArray::number(number - 1) + '\n';
}

QStringList engineArguments(const HistoryAddrList &entry, int decodeFlag,
                            const QString &screenShotPath, quint64 widID)
{
    QStringList arguments;
    if (entry.type == EntryStream)
        arguments << "-rtsp-stream-over-tcp"
                  << "-framedrop"
                  << "-fps" << QString::number(entry.frame + 5.0);
    arguments << entry.addr << "-slave"
              << "-quiet"
              << "-subcp"
              << "cp936"
              << "-mc"
              << "10"
              << "-zoom";
    if (decodeFlag == DecodeHardware)
        arguments << "-vc"
                  << "ffh264vdpau,ffhevcvdpau";
    else if (decodeFlag == DecodeThreaded)
        arguments << "-lavdopts"
                  << "threads=8";
    arguments << "-vf-add" << screenshotFilter(screenShotPath) << "-wid" << windowId(widID);
    return arguments;
}

QStringList mpvArguments(const HistoryAddrList &entry, int decodeFlag, quint64 widID)
{
    QStringList arguments;
    arguments << entry.addr << "--title" << entry.label;
    if (decodeFlag == DecodeHardware)
        arguments << "-hwdec=auto"
                  << "-vo=gpu";
    else
        arguments << "-hwdec=no";
    arguments << "--no-quiet"
              << "--no-config"
              << "--terminal"
              << "--no-msg-color"
              << "--input-file=/dev/stdin"
              << "--no-fs"
              << "--sub-auto=fuzzy"
              << "--ao=pulse"
              << "--no-input-default-bindings"
              << "--input-x11-keyboard=no"
              << "--no-input-cursor"
              << "--cursor-autohide=no"
              << "-wid" << windowId(widID);
    return arguments;
}

Answer parseAnswer(const QByteArray &line)
{
    static const QByteArray lengthWord = "ANS_LENGTH";
    static const QByteArray positionWord = "ANS_TIME_POSITION";
    // One separator follows the word, whichever it is.
    if (line.startsWith(lengthWord))
        return {Answer::Length, wholeSeconds(line.mid(lengthWord.size() + 1))};
    if (line.startsWith(positionWord))
        return {Answer::Position, wholeSeconds(line.mid(positionWord.size() + 1))};
    return {};
}

Remark parseRemark(const QByteArray &line)
{
    static const struct {
        const char *beginning;
        Remark::Kind kind;
    } remarks[] = {
        {"Playing ", Remark::Opening},
        {"VIDEO: ", Remark::HasPicture},
        {"Starting playback", Remark::Begun},
        {"VO: [", Remark::ShowsPicture},
    };
    for (const auto &remark : remarks) {
        if (line.startsWith(remark.beginning))
            return {remark.kind, 0, QByteArray()};
    }
    if (tellsOwnSubtitles(line))
        return {Remark::OwnSubtitles, 0, QByteArray()};
    return addedSubtitle(line);
}

} // namespace enginecommands
