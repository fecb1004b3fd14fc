// Stand-ins for the tools the player calls by name, ffprobe and dpkg. While this lives they are
// found first on PATH, by this process and by what it starts.
//
//     StandInTools tools;
//     tools.setProbeAnswer(StandInTools::videoJson("h264", 1920, 1080, "25/1"));
//     tools.setProbeAnswerFor("/films/bad.mp4", "{\n}\n");
//     ... open a file ...
//     QCOMPARE(tools.probeCalls().last(), QByteArrayList({"-of", "json", "-show_streams",
//     "a.mp4"}));
#pragma once

#include "testsupport.h"

#include <QByteArrayList>
#include <QList>
#include <QPair>
#include <QTemporaryDir>

class StandInTools {
public:
    // ffprobe answers with one H.264 stream of 320x240 and 25 frames a second, dpkg with nothing.
    StandInTools();

    void setProbeAnswer(const QByteArray &output); // for every name
    void setProbeAnswerFor(const QString &name, const QByteArray &output); // last argument is name
    // What it does for that name instead of answering, as lines for a shell.
    void setProbeScriptFor(const QString &name, const QByteArray &script);
    void setProbeExit(int code); // after the answer
    void setProbeDelay(int ms); // before the answer
    void holdProbes(bool held); // none answers while it is set
    void setProbeMissing(); // as when ffprobe is not installed
    void setDpkgOutput(const QByteArray &output);
    void setDpkgMissing();

    // What they were given, oldest first, byte for byte, without the program.
    QList<QByteArrayList> probeCalls() const { return calls(QStringLiteral("ffprobe")); }
    QList<QByteArrayList> dpkgCalls() const { return calls(QStringLiteral("dpkg")); }

    QString folder() const { return dir.path(); }

    // What ffprobe prints for one video stream, laid out as it does. Empty duration: none is named.
    static QByteArray videoJson(const QByteArray &codec, int width, int height,
                                const QByteArray &rate, const QByteArray &duration = QByteArray());

private:
    void writeProbe();
    void writeTool(const QString &name, const QByteArray &body);
    QList<QByteArrayList> calls(const QString &tool) const;

    QTemporaryDir dir;
    PathPrefix prefix;
    QByteArray answer;
    QList<QPair<QByteArray, QByteArray>> scripts; // by name
    int answerFiles = 0;
    int probeExit = 0;
    int probeDelay = 0; // ms
};
