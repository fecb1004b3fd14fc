#include "historyformat.h"

#include "state.h"

#include <algorithm>

namespace {
const QLatin1String kSettingsKey("settings");
const QLatin1String kAddrKey("addr");
const QLatin1String kLabelKey("label");
const QLatin1String kTypeKey("type");
const QLatin1String kWidthKey("width");
const QLatin1String kHeightKey("height");
const QLatin1String kFrameKey("frame");
const QLatin1String kCodecTypeKey("codec_type");
const QLatin1String kLastTimeKey("last_time");
} // namespace

QJsonObject entryToJson(const HistoryAddrList &entry)
{
    QJsonObject object;
    object.insert(kAddrKey, entry.addr);
    object.insert(kLabelKey, entry.label);
    object.insert(kTypeKey, entry.type);
    object.insert(kWidthKey, entry.width);
    object.insert(kHeightKey, entry.height);
    // JSON has no infinity: it would be stored as null, and the entry be lost at the next start.
    object.insert(kFrameKey, qIsFinite(entry.frame) ? double(entry.frame) : 0.0);
    object.insert(kCodecTypeKey, entry.codec_type);
    object.insert(kLastTimeKey, entry.last_play_time);
    return object;
}

bool entryFromJson(const QJsonObject &object, HistoryAddrList *entry)
{
    // A missing member reads as undefined, which is neither a string nor a number.
    for (QLatin1String key : {kAddrKey, kLabelKey}) {
        if (!object.value(key).isString())
            return false;
    }
    for (QLatin1String key : {kTypeKey, kWidthKey, kHeightKey, kFrameKey, kCodecTypeKey}) {
        if (!object.value(key).isDouble())
            return false;
    }
    entry->type = object.value(kTypeKey).toInt();
    entry->width = object.value(kWidthKey).toInt();
    entry->height = object.value(kHeightKey).toInt();
    entry->frame = float(object.value(kFrameKey).toDouble());
    entry->addr = object.value(kAddrKey).toString();
    entry->label = object.value(kLabelKey).toString();
    entry->last_play_time = object.value(kLastTimeKey).toInt();
    entry->codec_type = object.value(kCodecTypeKey).toInt();
    return true;
}

QByteArray historyDocument(const QJsonArray &elements)
{
    QJsonObject root;
    root.insert(kSettingsKey, elements);
    return QJsonDocument(root).toJson();
}

QByteArray historyDocument(const HistoryEntries &entries)
{
    QJsonArray elements;
    for (const HistoryAddrList &entry : entries)
        elements.append(entryToJson(entry));
    return historyDocument(elements);
}

bool historyElements(const QJsonDocument &document, QJsonArray *elements)
{
    const QJsonValue settings = document.object().value(kSettingsKey);
    if (!settings.isArray())
        return false;
    *elements = settings.toArray();
    return true;
}

HistoryEntries historyEntries(const QByteArray &content)
{
    QJsonArray elements;
    historyElements(QJsonDocument::fromJson(content), &elements);
    HistoryEntries entries;
    const int count = qMin(elements.size(), kHistoryCapacity);
    for (int i = 0; i < count; ++i) {
        HistoryAddrList entry;
        // A rewriting ends at an empty address.
        if (entryFromJson(elements.at(i).toObject(), &entry) && !entry.addr.isEmpty())
            entries << entry;
    }
    return entries;
}

bool isIntactHistory(const QByteArray &content)
{
    QJsonArray elements;
    if (!historyElements(QJsonDocument::fromJson(content), &elements))
        return false;
    return std::all_of(elements.begin(), elements.end(), [](const QJsonValue &element) {
        HistoryAddrList entry;
        return entryFromJson(element.toObject(), &entry) && !entry.addr.isEmpty();
    });
}
