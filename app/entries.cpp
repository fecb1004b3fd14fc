#include "entries.h"

#include "addresses.h"
#include "state.h"

#include <algorithm>

bool isAddrSlot(int index) { return index >= 0 && index < kHistoryCapacity; }

int indexOfAddr(const QString &addr, int likely)
{
    if (isAddrSlot(likely) && addrlist[likely].addr == addr)
        return likely;
    const int count = qMin(addrNum, kHistoryCapacity);
    for (int i = 0; i < count; ++i) {
        if (addrlist[i].addr == addr)
            return i;
    }
    return -1;
}

int checkAddrExist(QString addr) { return indexOfAddr(withoutFilePrefix(addr)); }

void dropOldestEntry()
{
    std::move(std::begin(addrlist) + 1, std::end(addrlist), std::begin(addrlist));
    addrNum = kHistoryCapacity - 1;
}

void removeEntry(int index)
{
    if (addrNum <= 0)
        return;
    for (int k = qMax(0, index); k < addrNum; k++)
        addrlist[k] = k + 1 < kHistoryCapacity ? addrlist[k + 1] : HistoryAddrList();
    addrlist[addrNum - 1].state = 0;
    addrlist[addrNum - 1].addr = "";
    addrNum--;
}

void clearEntries()
{
    for (int i = 0; i < addrNum; i++) {
        addrlist[i].addr = "";
        addrlist[i].last_play_time = 0;
    }
    addrNum = 0;
}

int entryOfRow(int row, int count) { return count - 1 - row; }

int rowOfEntry(int entry, int count) { return count - 1 - entry; }
