#include "mediaprobe.h"

#include "clocktext.h"
#include "state.h"

#include <QByteArray>
#include <QDebug>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>
#include <sched.h>
#include <utility>
#include <vector>

namespace {

constexpr size_t kProbeTextLimit = kProbeBufferSize - 1;
static_assert(kProbeTextLimit == kCommandOutputLimit);
constexpr int kManyFiles = 16;
constexpr size_t kMostAhead = 32; // each keeps files open until it is asked for
constexpr int kAheadPatience = 1000; // ms; a probe that takes longer holds up no other file
bool givenUp = false; // the last probe was

struct ProbeAhead {
    QByteArray command;
    std::unique_ptr<RunningCommand> run; // empty while it waits for others
};
std::deque<ProbeAhead> probesAhead; // in the order of their files

constexpr char kShellSigns[] = "\"\\$`"; // what a POSIX shell interprets between double quotes

// In some multi-byte encodings one of these is also the second byte of another character, which no
// quoting makes safe in every shell. Gives nothing for such a command; in UTF-8 there are none.
QByteArray shellBytes(const QString &command)
{
    QByteArray bytes = command.toLocal8Bit();
    for (const char *sign = kShellSigns; *sign; ++sign) {
        if (bytes.count(*sign) != command.count(QLatin1Char(*sign)))
            return QByteArray();
    }
    return bytes;
}

// Those that this process may use.
int processors()
{
    cpu_set_t own;
    return sched_getaffinity(0, sizeof own, &own) == 0 ? CPU_COUNT(&own) : 1;
}

// Starts as many as may run beside others that run anyway. Gives those that run.
std::vector<const RunningCommand *> startProbesAhead(int others)
{
    const size_t limit = std::max(processors() - others, 0);
    std::vector<const RunningCommand *> running;
    for (size_t i = 0; i < std::min(probesAhead.size(), kMostAhead) && running.size() < limit;
         ++i) {
        ProbeAhead &probe = probesAhead[i];
        const bool starts = !probe.run;
        if (starts)
            probe.run = std::make_unique<RunningCommand>(probe.command,
                                                         RunningCommand::MessagesWhenAwaited);
        if (starts || !probe.run->hasEnded())
            running.push_back(probe.run.get());
    }
    return running;
}

// Each file's engine is replaced when the next file's turn comes. That is at once where its probe
// is done; engines that load beside the probes would take as much of the processors as these.
void finishProbesAhead()
{
    while (RunningCommand::awaitOneOf(startProbesAhead(0), kAheadPatience)) { }
}

CommandResult runProbe(const QByteArray &command, MakeCompany makeCompany)
{
    if (probesAhead.empty() || probesAhead.front().command != command)
        return runCommand(command, makeCompany);
    std::unique_ptr<RunningCommand> probe = std::move(probesAhead.front().run);
    probesAhead.pop_front();
    if (!probe)
        probe = std::make_unique<RunningCommand>(command);
    const bool toBeAwaited = !probe->hasEnded();
    if (toBeAwaited)
        startProbesAhead(1);
    CommandResult result = probe->wait(makeCompany);
    if (toBeAwaited && !result.givenUp)
        finishProbesAhead();
    return result;
}

int codecCode(const QString &name)
{
    if (name == QLatin1String("h264"))
        return CodecH264;
    if (name == QLatin1String("h265") || name == QLatin1String("hevc"))
        return CodecHevc;
    return CodecOther;
}

void readDuration(const QJsonObject &stream)
{
    if (stream.contains("duration")) {
        videoInfo.duration = stream.value("duration").toString().toDouble();
        videoInfo.showDuration = durationText(videoInfo.duration);
    } else if (stream.contains("tags")) {
        const QJsonObject tags = stream.value("tags").toObject();
        if (tags.contains("DURATION"))
            videoInfo.showDuration = tags.value("DURATION").toString().left(8);
    }
}

void readFrameRate(const QString &fraction)
{
    const QStringList parts = fraction.split(QLatin1Char('/'));
    if (parts.size() < 2)
        return;
    const float divisor = parts.at(1).toFloat();
    if (divisor > 0) {
        const float rate = parts.at(0).toFloat() / divisor;
        videoInfo.frame = rate > 100 ? 0 : rate;
    }
}

void readVideoStream(const QJsonObject &stream)
{
    if (stream.contains("codec_name"))
        videoInfo.type = codecCode(stream.value("codec_name").toString());
    if (stream.contains("width"))
        videoInfo.width = stream.value("width").toInt();
    if (stream.contains("height"))
        videoInfo.height = stream.value("height").toInt();
    readDuration(stream);
    videoInfo.vcodecType = stream.value("codec_long_name").toString();
    videoInfo.bitRate = stream.value("bit_rate").toString().toInt();
    if (stream.contains("r_frame_rate"))
        readFrameRate(stream.value("r_frame_rate").toString());
}

void readAudioStream(const QJsonObject &stream)
{
    if (stream.contains("codec_long_name"))
        videoInfo.acodecType = stream.value("codec_long_name").toString();
    if (stream.contains("bit_rate"))
        videoInfo.acodecRate = static_cast<float>(stream.value("bit_rate").toString().toInt());
    if (stream.contains("sample_rate"))
        videoInfo.asampleRate = stream.value("sample_rate").toString().toInt();
    if (stream.contains("channels"))
        videoInfo.channels = stream.value("channels").toInt();
}

} // namespace

QString probeCommand(const QString &file)
{
    if (file.contains(QChar(QChar::Null)))
        return QString();
    QString command = QStringLiteral("ffprobe -of json -show_streams \"");
    for (const QChar character : file) {
        if (QLatin1String(kShellSigns).contains(character))
            command += QLatin1Char('\\');
        command += character;
    }
    return command + QLatin1Char('"');
}

void AnalyseToken(char *in, char *out)
{
    std::vector<char> scratch(kProbeBufferSize, '\0');
    std::copy_n(in, strnlen(in, kProbeTextLimit), scratch.begin());

    size_t used = strnlen(out, kProbeTextLimit);
    // A last line without its line feed gets one, which may no longer fit.
    const auto append = [out, &used](const char *text, size_t length) {
        length = std::min(length, kProbeTextLimit - used);
        memcpy(out + used, text, length);
        used += length;
    };

    for (char *line = scratch.data(); line;) {
        char *lineFeed = strchr(line, '\n');
        if (lineFeed)
            *lineFeed = '\0';
        if (checkJsonPara(line) == 1) {
            append(line, strlen(line));
            append("\n", 1);
        }
        line = lineFeed ? lineFeed + 1 : nullptr;
    }
    out[used] = '\0';
}

int checkJsonPara(char *line)
{
    const char first = line[strspn(line, " ")];
    return first != '\0' && strchr("\"[]{}", first) ? 1 : 0;
}

int readConfigFromBuffer(char *text)
{
    qDebug() << "start to json";
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray(text));
    if (document.isNull())
        return -1;
    qDebug() << "文件解析成功\n";
    if (!document.isObject()) {
        qDebug() << "Json file read err";
        return -1;
    }
    const QJsonValue member = document.object().value("streams");
    if (!member.isArray())
        return -1;

    const QJsonArray streams = member.toArray();
    qDebug() << "array size is " << streams.size();
    for (const QJsonValue &element : streams) {
        const QJsonObject stream =
            element.toObject(); // empty, so without a kind, for anything else
        const QString kind = stream.value("codec_type").toString();
        // Intended: a later stream of a kind replaces what an earlier one has set.
        if (kind == QLatin1String("video"))
            readVideoStream(stream);
        else if (kind == QLatin1String("audio"))
            readAudioStream(stream);
    }
    return 0;
}

bool probeMedia(const QString &file, MakeCompany makeCompany)
{
    const QByteArray command = shellBytes(probeCommand(file));
    CommandResult result;
    if (!command.isEmpty()) {
        qDebug() << command.constData();
        result = runProbe(command, makeCompany);
    }
    givenUp = result.givenUp;

    std::vector<char> raw(kProbeBufferSize, '\0');
    std::vector<char> filtered(kProbeBufferSize, '\0');
    std::copy(result.output.begin(), result.output.end(), raw.begin());

    videoInfo = {};
    AnalyseToken(raw.data(), filtered.data());
    return readConfigFromBuffer(filtered.data()) == 0;
}

void probeAhead(const QStringList &files)
{
    const int count = files.size() > kManyFiles ? files.size() : qMin(1, files.size());
    for (const QString &file : files.mid(0, count)) {
        const QByteArray command = shellBytes(probeCommand(file));
        if (!command.isEmpty()) // one that can't be probed is refused when it is asked for
            probesAhead.push_back({command, nullptr});
    }
    startProbesAhead(0);
}

void endProbesAhead() { probesAhead.clear(); }

bool probeWasGivenUp() { return givenUp; }
