// What is known of the engine that was started last, and of starts that fail one after another.
// Nothing here knows the process or a window.
#pragma once

#include "enginecommands.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QHash>
#include <QString>

// One start of the engine: everything begins anew with the next.
struct EngineRun {
    QString addr; // what it was started on
    bool started = false; // its process came up
    bool afterAnEnd = false; // started by the end of another one, not by the person
    bool resumed = false; // it was sent to the saved place
    bool lengthIsZero = false; // the length it told last; the slider then can't show where it is
    bool positionTold = false;
    int length = 0; // seconds, as it told last
    int speed = 100; // percent, as it was told last
    bool rowsRemoved = false; // rows left the list since its start: its entry may have moved
    bool hasOwnSubtitles = false; // it told a subtitle stream of the medium
    QByteArray chosenSubtitle; // name sent to it last, until it tells the number it gave it
    int questions = 0; // for the position
    int answers = 0;
    int questionsBeforeSubtitle = -1; // when a file was sent; -1 while none is awaited
    QElapsedTimer age; // since its start
    qint64 lifetime = -1; // ms; -1 while it is not known to have ended
    // What it still has to say before it plays. An engine that tells nothing at all plays.
    enginecommands::Remark::Kind awaited = enginecommands::Remark::Other;

    void begin(const QString &address, bool byAnEnd);
    // Takes note of what it tells by itself.
    void heard(enginecommands::Remark::Kind kind);
    // It is sent a subtitle file.
    void choose(const QByteArray &subtitle);
    // It is asked for its position, and answers. The answer is true once, where a subtitle file
    // that was sent before the question was not taken: of that the engine says nothing.
    void asked() { ++questions; }
    bool answeredWithoutSubtitle();
    // It ended right away and without a position. For one that never came up, too.
    bool failedAtOnce() const;
    // It had begun to play and found nothing from the saved place on.
    bool foundNothingToResume() const;
    // Its address is the name of a local file that isn't there.
    bool isFileMissing() const;
};

// Engines that failed at once, each started by the end of the one before. Anything that plays and
// anything that the person does ends the row.
class FailureRow {
public:
    void clear();
    void add(const QString &addr);
    bool isTooLong(int entries) const; // every entry had its turn, and for half a minute at least
    bool knows(const QString &addr) const; // this entry has failed often enough to be known for it

private:
    int length = 0;
    QHash<QString, int> perAddress;
};
