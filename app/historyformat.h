// The bytes of a history file: entries to JSON and back. Pure.
#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QVector>

struct HistoryAddrList;
using HistoryEntries = QVector<HistoryAddrList>;

// The JSON object of one entry: the eight stored members.
QJsonObject entryToJson(const HistoryAddrList &entry);

// Fills entry from a JSON object. Returns false, entry untouched, when a required member is missing
// or has the wrong type.
bool entryFromJson(const QJsonObject &object, HistoryAddrList *entry);

// The file that holds these elements.
QByteArray historyDocument(const QJsonArray &elements);
QByteArray historyDocument(const HistoryEntries &entries);

// The elements of a document of the history's shape. Returns false for every other shape.
bool historyElements(const QJsonDocument &document, QJsonArray *elements);

// The entries that a start finds in content, without what it refuses.
HistoryEntries historyEntries(const QByteArray &content);

// Whether a start finds everything that content holds, and a rewriting keeps it.
bool isIntactHistory(const QByteArray &content);
