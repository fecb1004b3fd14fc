// How a history file is written. The one at defaultPlayPath belongs to all players that run: a save
// there locks the others out, finds what they have saved, notes what the file is to hold next, and
// keeps a copy of what is damaged. Any other file is just written.
#pragma once

#include "historymerge.h"
#include "historyregister.h"

#include <QFile>

#include <memory>

class HistorySave {
public:
    // Opens the file for reading and writing, which creates a missing one.
    explicit HistorySave(const QString &path);

    bool isOpen() const { return file.isOpen(); }
    // What the file at defaultPlayPath holds.
    const QByteArray &content() const { return before; }
    // It holds what another player has saved and this one does not know.
    bool isShared() const { return shared; }
    // What this player knew of it when it read or saved it last.
    static const KnownHistory &known();

    // Before a write over what can't be parsed, or not without a loss: puts a copy beside the file,
    // unless there is one.
    void keepDamaged() const;
    // Gives the file new content; none empties it. From then on this player knows next; differs
    // tells that the file holds something else than that. Returns false when it can't be written.
    bool replace(const QByteArray &content, const KnownHistory &next, bool differs);

private:
    QFile file;
    std::unique_ptr<HistoryRegister> notes; // none for other files
    QByteArray before;
    QByteArray fingerprint; // of before
    bool shared = false;
};

// This player has read the history at path and got these entries from its content.
void rememberHistory(const QString &path, const QByteArray &content, const HistoryEntries &entries);

// This player is storing a place in the film at addr.
void rememberPlayed(const QString &addr);

// The copy of a damaged history is beside the file, under the name by which the player knows it.
QString damagedHistoryCopy(const QString &path);
