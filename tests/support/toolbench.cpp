#include "toolbench.h"

#include <QFile>

namespace {

QByteArray shellQuoted(QByteArray text) { return '\'' + text.replace('\'', "'\\''") + '\''; }

} // namespace

StandInTools::StandInTools()
    : prefix(dir.path())
    , answer(videoJson("h264", 320, 240, "25/1"))
{
    writeProbe();
    setDpkgOutput(QByteArray());
}

void StandInTools::setProbeAnswer(const QByteArray &output)
{
    answer = output;
    writeProbe();
}

void StandInTools::setProbeAnswerFor(const QString &name, const QByteArray &output)
{
    const QByteArray file = "ffprobe.out." + QByteArray::number(++answerFiles);
    writeFile(dir.filePath(file), output);
    setProbeScriptFor(name, "cat \"${0%/*}/" + file + '"');
}

void StandInTools::setProbeScriptFor(const QString &name, const QByteArray &script)
{
    scripts.prepend({name.toLocal8Bit(), script}); // the newest counts
    writeProbe();
}

void StandInTools::setProbeExit(int code)
{
    probeExit = code;
    writeProbe();
}

void StandInTools::setProbeDelay(int ms)
{
    probeDelay = ms;
    writeProbe();
}

void StandInTools::holdProbes(bool held)
{
    if (held)
        writeFile(dir.filePath(QStringLiteral("held")), "1");
    else
        QFile::remove(dir.filePath(QStringLiteral("held")));
}

void StandInTools::setProbeMissing() { writeTool(QStringLiteral("ffprobe"), "exit 127\n"); }

void StandInTools::setDpkgOutput(const QByteArray &output)
{
    writeFile(dir.filePath(QStringLiteral("dpkg.out")), output);
    writeTool(QStringLiteral("dpkg"), "cat \"${0%/*}/dpkg.out\"\n");
}

void StandInTools::setDpkgMissing() { writeTool(QStringLiteral("dpkg"), "exit 127\n"); }

void StandInTools::writeProbe()
{
    QByteArray body = "sleep " + QByteArray::number(probeDelay / 1000.0) +
        "\nwhile [ -e \"${0%/*}/held\" ]; do sleep 0.01; done\nfor last in \"$@\"; do :; "
        "done\ncase $last in\n";
    for (const auto &named : qAsConst(scripts))
        body += shellQuoted(named.first) + ")\n" + named.second + "\n;;\n";
    writeFile(dir.filePath(QStringLiteral("ffprobe.out")), answer);
    body += "*) cat \"${0%/*}/ffprobe.out\" ;;\nesac\nexit " + QByteArray::number(probeExit) + "\n";
    writeTool(QStringLiteral("ffprobe"), body);
}

void StandInTools::writeTool(const QString &name, const QByteArray &body)
{
    // The record: how many arguments, then each, all ended by a zero.
    writeProgram(dir.filePath(name),
                 "printf '%s\\0' $# \"$@\" >>\"${0%/*}/" + name.toUtf8() + ".log\"\n" + body);
}

QList<QByteArrayList> StandInTools::calls(const QString &tool) const
{
    QList<QByteArrayList> calls;
    const QByteArrayList words = readFile(dir.filePath(tool + ".log")).split('\0');
    for (int i = 0; i + 1 < words.size();) {
        const int count = words.at(i).toInt();
        calls << words.mid(i + 1, count);
        i += 1 + count;
    }
    return calls;
}

QByteArray StandInTools::videoJson(const QByteArray &codec, int width, int height,
                                   const QByteArray &rate, const QByteArray &duration)
{
    const QByteArray size =
        QByteArray::number(width) + ",\n            \"height\": " + QByteArray::number(height);
    QByteArray json = "{\n    \"streams\": [\n        {\n            \"index\": 0,\n"
                      "            \"codec_name\": \"" +
        codec +
        "\",\n"
        "            \"codec_type\": \"video\",\n"
        "            \"width\": " +
        size +
        ",\n"
        "            \"r_frame_rate\": \"" +
        rate +
        "\",\n"
        "            \"avg_frame_rate\": \"" +
        rate + "\",\n";
    if (!duration.isEmpty())
        json += "            \"duration\": \"" + duration + "\",\n";
    return json + "            \"bit_rate\": \"0\"\n        }\n    ]\n}\n";
}
