// Describes media through the external ffprobe. The filter and the parser are plain functions; the
// tool is started by probeMedia() and, before its turn, by probeAhead().
#pragma once

#include "commandoutput.h"

#include <QString>
#include <QStringList>

constexpr int kProbeBufferSize = 9999; // bytes, the last one is always the terminator

// The shell command that probes file. Inside the double quotes the four characters that a POSIX
// shell still interprets there are escaped; every other name is taken as it is. Returns an empty
// string for a name that can't be handed to a shell (one with a NUL).
QString probeCommand(const QString &file);

// Copies the lines of in that belong to pretty-printed JSON to out, each with a line feed. Both
// buffers hold kProbeBufferSize bytes; out is zero-filled by the caller.
void AnalyseToken(char *in, char *out);

// 1 if the line's first character after blanks is one of " [ ] { }, otherwise 0.
int checkJsonPara(char *line);

// Fills the global videoInfo from the tool's JSON. Returns 0, or -1 when there is no stream list.
int readConfigFromBuffer(char *text);

// Probes file (blocking) and fills the global videoInfo. True when the media is accepted; media
// whose description is longer than what is read are refused by that, intended.
bool probeMedia(const QString &file, MakeCompany makeCompany = nullptr);

// Starts probing files that will be asked for next, in this order, and blocks nobody: the first
// one, or with more than 16 as many at once as there are processors. probeMedia() then takes what
// was found, waiting for what is left; where it has to wait, it finishes up to 32 that come next,
// too. Their messages come when they are asked for.
void probeAhead(const QStringList &files);
// Ends those that were not asked for.
void endProbesAhead();

// The last probe was ended before it answered, by the person or by a signal: no news to anybody.
bool probeWasGivenUp();
