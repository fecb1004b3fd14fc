// The list in memory: addrlist, oldest first, and its count addrNum.
#pragma once

#include <QString>

// Whether index lies in addrlist, whose entries end before addrNum.
bool isAddrSlot(int index);

// Index of the entry with exactly this address, or -1; likely is looked at first, as a history
// edited by hand may hold an address twice.
int indexOfAddr(const QString &addr, int likely = -1);

// Index of the entry with this address, or -1. A leading "file://" is ignored.
int checkAddrExist(QString addr);

// Makes room in a full list: the oldest entry is gone, all others move down by one.
void dropOldestEntry();

// Takes the entry out; all newer ones move down by one, and the slot that falls free is marked so.
void removeEntry(int index);

// Empties the list.
void clearEntries();

// Row r of the list shows entry count-1-r and the other way round: the newest entry is on top.
int entryOfRow(int row, int count);
int rowOfEntry(int entry, int count);
