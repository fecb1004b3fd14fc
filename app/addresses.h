// What an address of a medium tells by itself: pure functions over its text.
#pragma once

#include <QString>

// Both the list and the search know a local address by its plain path: without the "file://".
QString withoutFilePrefix(const QString &addr);

// Whether addr is that of a network stream ("rtsp" or "rtmp").
bool isStreamAddr(const QString &addr);

// Display name: what follows the last "/" of addr.
QString getFileNameFromAddr(QString addr);

// Percent-decodes a name from the command line; each encoded byte becomes one Latin-1 character.
QString checkInputFileName(QString name);

// Value of the first n (at most 16) characters of text read as hexadecimal digits; any other
// character counts 0.
int changeNum(char *text, int n);
