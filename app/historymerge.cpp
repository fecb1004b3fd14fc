#include "historymerge.h"

#include <QHash>
#include <QPair>

namespace {
// An address may be there more than once, in a history edited by hand: the first, the second...
using Key = QPair<QString, int>;

QVector<Key> keysOf(const HistoryEntries &entries)
{
    QHash<QString, int> counts;
    QVector<Key> keys;
    for (const HistoryAddrList &entry : entries)
        keys << Key(entry.addr, counts[entry.addr]++);
    return keys;
}

QHash<Key, int> placesOf(const HistoryEntries &entries)
{
    const QVector<Key> keys = keysOf(entries);
    QHash<Key, int> places;
    for (int i = 0; i < entries.size(); ++i)
        places.insert(keys.at(i), entries.at(i).last_play_time);
    return places;
}
} // namespace

HistoryEntries mergeHistories(const KnownHistory &known, const HistoryEntries &ours,
                              const HistoryEntries &theirs)
{
    const QHash<Key, int> knownPlaces = placesOf(known.entries);
    const QHash<Key, int> ourPlaces = placesOf(ours);
    const QHash<Key, int> theirPlaces = placesOf(theirs);

    HistoryEntries merged;
    const QVector<Key> ourKeys = keysOf(ours);
    for (int i = 0; i < ours.size(); ++i) {
        const Key &key = ourKeys.at(i);
        HistoryAddrList entry = ours.at(i);
        const bool isKnown = knownPlaces.contains(key);
        const bool isStored = known.played.contains(entry.addr) ||
            (isKnown && knownPlaces.value(key) != entry.last_play_time);
        if (!isStored) {
            if (isKnown && !theirPlaces.contains(key))
                continue;
            entry.last_play_time = theirPlaces.value(key, entry.last_play_time);
        }
        merged << entry;
    }

    const QVector<Key> theirKeys = keysOf(theirs);
    for (int i = 0; i < theirs.size(); ++i) {
        if (!knownPlaces.contains(theirKeys.at(i)) && !ourPlaces.contains(theirKeys.at(i)))
            merged << theirs.at(i);
    }
    return merged.mid(qMax(0, merged.size() - kHistoryCapacity));
}
