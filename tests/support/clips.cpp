#include "clips.h"

#include "testsupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <functional>

namespace {

// The arguments for a picture of this size and rate from one of ffmpeg's generators.
QStringList generated(const QString &source, int seconds)
{
    return {"-f", "lavfi", "-i", source + QStringLiteral(":s=320x240:r=25:d=%1").arg(seconds)};
}

QStringList tone(int seconds)
{
    return {"-f", "lavfi", "-i",
            QStringLiteral("sine=frequency=440:sample_rate=44100:duration=%1").arg(seconds)};
}

QString timed(const QString &name, int seconds, const QString &ending)
{
    return QStringLiteral("%1-%2s.%3").arg(name).arg(seconds).arg(ending);
}

// Makes a file under a name of its own first: tests run side by side.
QString cached(const QString &name, const std::function<bool(const QString &)> &makeAt)
{
    const QString folder = QStringLiteral(CLIPS_DIR);
    QString path = folder + '/' + name;
    if (QFileInfo::exists(path))
        return path;
    QDir().mkpath(folder);
    const QString draft = QStringLiteral("%1/draft-%2-%3")
                              .arg(folder)
                              .arg(QCoreApplication::applicationPid())
                              .arg(name);
    if (!makeAt(draft))
        qFatal("cannot make the clip %s", qPrintable(path));
    if (::rename(QFile::encodeName(draft).constData(), QFile::encodeName(path).constData()) != 0)
        qFatal("cannot keep the clip %s", qPrintable(path));
    return path;
}

} // namespace

QStringList Clips::h264()
{
    return {"-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-g", "25"};
}

QString Clips::make(const QString &name, const QStringList &ffmpegArguments)
{
    return cached(name, [&](const QString &draft) {
        QProcess ffmpeg;
        ffmpeg.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        ffmpeg.start(QStringLiteral("ffmpeg"),
                     QStringList{"-nostdin", "-v", "error", "-y"} + ffmpegArguments +
                         QStringList{draft});
        return ffmpeg.waitForFinished(120000) && ffmpeg.exitStatus() == QProcess::NormalExit &&
            ffmpeg.exitCode() == 0;
    });
}

QString Clips::oneColour(const QString &colour, int seconds, bool withTone)
{
    QString name = colour;
    name.remove('#');
    if (!withTone)
        return make(timed(name, seconds, "mp4"), generated("color=c=" + colour, seconds) + h264());
    return make(timed(name + "-tone", seconds, "mp4"),
                generated("color=c=" + colour, seconds) + tone(seconds) + h264() +
                    QStringList{"-c:a", "aac", "-shortest"});
}

QString Clips::pattern(int seconds)
{
    return make(timed("pattern", seconds, "mp4"),
                QStringList{"-f", "lavfi", "-i",
                            QStringLiteral("testsrc=s=320x240:r=25:d=%1").arg(seconds)} +
                    h264());
}

QString Clips::ntscRate()
{
    return make(QStringLiteral("ntsc.mp4"),
                QStringList{"-f", "lavfi", "-i", "color=c=green:s=320x240:r=30000/1001:d=3"} +
                    h264());
}

QString Clips::hevc(int seconds)
{
    return make(timed("hevc", seconds, "mp4"),
                generated("color=c=blue", seconds) +
                    QStringList{"-c:v", "libx265", "-preset", "ultrafast", "-x265-params",
                                "log-level=error", "-pix_fmt", "yuv420p"});
}

QString Clips::otherCodec(int seconds)
{
    return make(timed("mpeg4", seconds, "avi"),
                generated("color=c=yellow", seconds) + QStringList{"-c:v", "mpeg4"});
}

QString Clips::matroska(int seconds)
{
    return make(timed("matroska", seconds, "mkv"), generated("color=c=magenta", seconds) + h264());
}

QString Clips::audioOnly(int seconds) { return make(timed("tone", seconds, "mp3"), tone(seconds)); }

QString Clips::audioWithCover(int seconds)
{
    return make(timed("cover", seconds, "mp3"),
                tone(seconds) +
                    QStringList{"-f", "lavfi", "-i", "color=c=orange:s=200x200:d=1", "-map", "0:a",
                                "-map", "1:v", "-frames:v", "1", "-c:v", "png", "-disposition:v:0",
                                "attached_pic", "-id3v2_version", "3"});
}

QString Clips::truncated()
{
    const QByteArray whole = readFile(pattern(10));
    return cached(QStringLiteral("truncated.mp4"), [&](const QString &draft) {
        writeFile(draft, whole.left(whole.size() / 2));
        return true;
    });
}

QString Clips::textFile()
{
    return cached(QStringLiteral("text.mp4"), [](const QString &draft) {
        writeFile(draft, "This is no film.\n");
        return true;
    });
}

QString Clips::subtitles()
{
    return cached(QStringLiteral("hello.srt"), [](const QString &draft) {
        writeFile(draft, "1\n00:00:00,000 --> 01:00:00,000\nHELLO\n\n");
        return true;
    });
}

QString Clips::copy(const QString &clip, const QString &folder, const QString &name)
{
    QDir().mkpath(folder);
    QString path = folder + '/' + name;
    QFile::remove(path);
    if (!QFile::copy(clip, path))
        qFatal("cannot copy a clip to %s", qPrintable(path));
    return path;
}
