// Which player has written a history last. Every save is noted before it is made, in a small file
// of the person's own outside the configuration folder, so that the next player to save can tell
// another player's list, which it must keep, from a file that was edited or restored.
#pragma once

#include <QByteArray>
#include <QString>

// Holds the register of one history file, locked against other players. Where that can't be had
// (no folder, a full disk, a player that hangs in the middle of a save) nothing is known about the
// file's writers, in silence.
class HistoryRegister {
public:
    static constexpr int kPatience = 2000; // ms; a save takes some milliseconds

    // Waits for at most patience ms while another player saves.
    explicit HistoryRegister(const QString &historyFile, int patience = kPatience);
    ~HistoryRegister();
    HistoryRegister(const HistoryRegister &) = delete;
    HistoryRegister &operator=(const HistoryRegister &) = delete;

    bool isLocked() const { return descriptor >= 0; }

    // By which contents are told apart.
    static QByteArray fingerprint(const QByteArray &content);
    // Whether another process has noted this content.
    bool isAnothers(const QByteArray &fingerprint) const;
    // This process is about to write next over current (both by their fingerprints). Should it be
    // killed before it does so, current is still known for what it is.
    void note(const QByteArray &current, const QByteArray &next);

private:
    int descriptor = -1;
    QByteArray notes; // one line each
};
