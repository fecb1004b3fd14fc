// Brings together what two players have made of one history. Pure: knows no file and no list.
#pragma once

#include "historyformat.h"
#include "state.h"

#include <QSet>

// What a player knew when it last read or saved the history: its own list, without what others have
// added.
struct KnownHistory {
    HistoryEntries entries;
    QSet<QString> played; // addresses whose place it has stored since, changed or not
};

// What the file is to hold when a player saves ours over theirs, which another player has written:
// - an entry that this player has deleted goes, whatever the other has done to it;
// - one that the other has deleted goes as well, unless this player has stored a place in it since;
// - a place that this player has not stored is the other's;
// - the other's new entries follow ours, in their order.
// More than kHistoryCapacity: the first ones drop out.
HistoryEntries mergeHistories(const KnownHistory &known, const HistoryEntries &ours,
                              const HistoryEntries &theirs);
