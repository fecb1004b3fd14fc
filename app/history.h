// The history file (JSON). The array addrlist and its count addrNum are the truth; the file is
// their copy at rest. All functions run on the GUI thread. A save replaces the file in one step, or
// where that can't be writes it in place; both reach the disk before they return. Emptying the file
// only truncates it.
#pragma once

#include "addresses.h"
#include "entries.h"
#include "historyformat.h"

#include <QString>

// Where the history lies unless the settings name another file.
QString standardHistoryFile();

// Loads the file at path (the standard one when empty) into addrlist and counts addrNum up.
// Creates a missing file. Returns 0, or -1 when it can't be opened or parsed.
int readJsonConfig(QString path);

// Appends one entry to the file at defaultPlayPath. Returns 0, or -1 when the file can't be opened
// or written or holds JSON of another shape (which is left alone).
int insertJsonConfig(HistoryAddrList *entry);

// Replaces the file at defaultPlayPath by one that holds only this entry.
void createJsonConfig(HistoryAddrList *entry);

// Rewrites the file at path from the first addrNum records of list; ends at the first record with
// an empty address. With addrNum 0 the file becomes empty.
void varyJsonConfig(QString path, HistoryAddrList *list);

// Truncates the file at path to zero bytes. Returns false when it can't be opened for reading and
// writing.
bool emptyHistoryFile(const QString &path);

// Makes a new entry from addr and the probe's result, makes it the playing one and appends it to
// the file. When all slots are used the oldest entry is dropped.
void addToAddrList(QString addr);

// Stores a resume position in seconds and rewrites the file. An index outside the array is ignored.
void saveLastPlayTime(int index, int seconds);
