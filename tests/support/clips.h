// Small media files, made by ffmpeg once and kept in the build folder. Every function gives the
// absolute path. Never write to one of them: copy() gives one that is the test's own.
#pragma once

#include <QString>
#include <QStringList>

namespace Clips {

// 320x240, 25 frames a second, H.264 in MP4, all of one colour ("red", "lime", "blue",
// "#8040c0"...). With a tone: 440 Hz.
QString oneColour(const QString &colour, int seconds = 10, bool withTone = false);
QString pattern(int seconds = 10); // every frame differs
QString ntscRate(); // 30000/1001 frames a second, 3 s
QString hevc(int seconds = 10); // H.265
QString otherCodec(int seconds = 10); // MPEG-4 in AVI: neither H.264 nor H.265
QString matroska(int seconds = 10); // names its length in a DURATION tag of the stream
QString audioOnly(int seconds = 10); // 440 Hz, MP3
QString audioWithCover(int seconds = 10); // MP3 with an attached picture
QString truncated(); // an MP4 cut off in the middle
QString textFile(); // text, but named .mp4
QString subtitles(); // SRT: "HELLO" all the time

// The encoder's options of the clips here: quick, each second can be sought.
QStringList h264();
// Makes a file in the build folder unless it is there: ffmpeg's arguments without the output.
QString make(const QString &name, const QStringList &ffmpegArguments);
// Copies a clip to folder (made if missing) under another name: blanks, Chinese, quotes...
QString copy(const QString &clip, const QString &folder, const QString &name);

} // namespace Clips
