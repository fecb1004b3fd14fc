#include "history.h"

#include "historysave.h"
#include "state.h"

#include <QDebug>
#include <QFile>

namespace {
// The entries that a rewriting writes: up to the first without an address.
HistoryEntries listedEntries(const HistoryAddrList *list)
{
    HistoryEntries entries;
    int i = 0;
    while (i < addrNum && i < kHistoryCapacity && !list[i].addr.isEmpty())
        entries << list[i++];
    return entries;
}

// Writes content, which is what ours comes to. Where another player has saved meanwhile, it is what
// comes of both lists.
void rewrite(HistorySave &save, const HistoryEntries &ours, const QByteArray &content)
{
    save.keepDamaged();
    QByteArray merged = content;
    if (save.isShared()) {
        const HistoryEntries both =
            mergeHistories(HistorySave::known(), ours, historyEntries(save.content()));
        merged = both.isEmpty() ? QByteArray() : historyDocument(both);
    }
    // A failure leaves the old file; there is nobody to tell.
    save.replace(merged, {ours, {}}, merged != content);
}

KnownHistory knownWith(const HistoryAddrList &entry)
{
    KnownHistory known = HistorySave::known();
    known.entries << entry;
    return known;
}

// Another player may have opened the same film: it stays one entry, at the place stored there. The
// oldest one makes room.
void prepareFor(HistoryAddrList &entry, QJsonArray &elements)
{
    for (int i = elements.size() - 1; i >= 0; --i) {
        HistoryAddrList other;
        if (entryFromJson(elements.at(i).toObject(), &other) && other.addr == entry.addr) {
            entry.last_play_time = other.last_play_time;
            elements.removeAt(i);
        }
    }
    if (elements.size() >= kHistoryCapacity)
        elements.removeFirst();
}

// Replaces what can't be parsed.
void startAnew(HistorySave &save, const HistoryAddrList &entry)
{
    qDebug() << "File open";
    save.keepDamaged();
    // A failure leaves the old file; there is nobody to tell.
    save.replace(historyDocument({entry}), knownWith(entry), save.isShared());
    qDebug() << "file closed" << defaultPlayPath;
}

// Fills addrlist from what the file holds.
int loadEntries(const QByteArray &content)
{
    const QJsonDocument document = QJsonDocument::fromJson(content);
    if (document.isNull()) {
        qDebug() << "Json file read err";
        return -1;
    }
    qDebug() << "文件解析成功\n";

    QJsonArray elements;
    if (!historyElements(document, &elements))
        return 0;
    const int count = qMin(elements.size(), kHistoryCapacity);
    for (int i = 0; i < count; ++i) {
        // A refused element leaves its slot empty and uncounted: intended.
        if (!entryFromJson(elements.at(i).toObject(), &addrlist[i]))
            continue;
        ++addrNum;
        qDebug().nospace().noquote()
            << addrlist[i].type << ":" << addrlist[i].addr << ":" << i << ":" << addrNum;
    }
    return 0;
}
} // namespace

QString standardHistoryFile() { return startPath + "/files/config/config.json"; }

int readJsonConfig(QString path)
{
    if (path.isEmpty())
        path = standardHistoryFile();
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite)) {
        qDebug() << "Json File open fail!";
        return -1;
    }
    const QByteArray content = file.readAll();
    const int result = loadEntries(content);
    rememberHistory(path, content, listedEntries(addrlist));
    return result;
}

int insertJsonConfig(HistoryAddrList *entry)
{
    qDebug() << "defaultPlayPath is---------->" << defaultPlayPath;
    HistorySave save(defaultPlayPath);
    if (!save.isOpen())
        return -1;
    const QJsonDocument document = QJsonDocument::fromJson(save.content());
    if (document.isNull()) {
        qDebug() << "Json file read err";
        startAnew(save, *entry);
        return 0;
    }
    qDebug() << "文件解析成功\n";

    QJsonArray elements;
    if (!historyElements(document, &elements))
        return -1;
    save.keepDamaged();
    HistoryAddrList stored = *entry;
    if (save.isShared())
        prepareFor(stored, elements);
    elements.append(entryToJson(stored));
    if (!save.replace(historyDocument(elements), knownWith(*entry), save.isShared()))
        return -1;
    qDebug() << "Json file insert";
    return 0;
}

void createJsonConfig(HistoryAddrList *entry)
{
    HistorySave save(defaultPlayPath);
    if (!save.isOpen()) {
        qDebug() << "File Open error";
        return;
    }
    startAnew(save, *entry);
}

void varyJsonConfig(QString path, HistoryAddrList *list)
{
    HistorySave save(path);
    if (!save.isOpen()) {
        qDebug() << "Json File open fail!" << 138;
        return;
    }
    qDebug() << "Vary json message 0";
    if (addrNum == 0) {
        rewrite(save, {}, QByteArray());
        return;
    }

    qDebug() << "Vary json message 1";
    const HistoryEntries entries = listedEntries(list);
    if (entries.size() == kHistoryCapacity)
        qDebug() << "error while vary json config:too much";
    qDebug() << "Vary json message 1";
    rewrite(save, entries, historyDocument(entries));
}

bool emptyHistoryFile(const QString &path)
{
    HistorySave save(path);
    if (!save.isOpen() || !save.replace(QByteArray(), {}, false))
        return false;
    if (path == defaultPlayPath)
        QFile::remove(damagedHistoryCopy(path)); // it names films as well
    return true;
}

void addToAddrList(QString addr)
{
    if (addrNum >= kHistoryCapacity) {
        dropOldestEntry();
        varyJsonConfig(defaultPlayPath, addrlist);
    }

    HistoryAddrList &entry = addrlist[addrNum];
    entry.codec_type = ::videoInfo.type;
    entry.label = getFileNameFromAddr(addr);
    entry.addr = withoutFilePrefix(addr);
    entry.last_play_time = 0;
    entry.width = ::videoInfo.width;
    entry.height = ::videoInfo.height;
    entry.frame = ::videoInfo.frame;
    entry.state = 1;
    entry.type = isStreamAddr(addr) ? EntryStream : EntryLocal;
    playinglist.addrIndex = addrNum;
    ++addrNum;
    // When it can't be written the entry lives in memory only.
    insertJsonConfig(&entry);
}

void saveLastPlayTime(int index, int seconds)
{
    if (!isAddrSlot(index))
        return;
    addrlist[index].last_play_time = seconds;
    rememberPlayed(addrlist[index].addr);
    varyJsonConfig(defaultPlayPath, addrlist);
}
