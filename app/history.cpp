#include "history.h"

#include "common.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

constexpr int kHexBufferSize = 16;

QByteArray documentOf(const QJsonArray &entries)
{
    QJsonObject root;
    root.insert(kSettingsKey, entries);
    return QJsonDocument(root).toJson();
}

// The entries of a document of the history's shape. Returns false for every other shape.
bool entriesOf(const QJsonDocument &document, QJsonArray *entries)
{
    const QJsonValue settings = document.object().value(kSettingsKey);
    if (!settings.isArray())
        return false;
    *entries = settings.toArray();
    return true;
}

bool canCreateFilesBeside(const QString &path)
{
    return access(QFile::encodeName(QFileInfo(path).absolutePath()).constData(), W_OK) == 0;
}

// A replaced file belongs to whoever wrote it last; after one run by the administrator its user
// could no longer save. Returns false when the owner of old can't be kept.
bool takeOverOwner(const QFile &old, const QSaveFile &replacement)
{
    struct stat before;
    struct stat after;
    if (fstat(old.handle(), &before) != 0 || fstat(replacement.handle(), &after) != 0)
        return false;
    if (before.st_uid == after.st_uid && before.st_gid == after.st_gid)
        return true;
    return fchown(replacement.handle(), before.st_uid, before.st_gid) == 0;
}

// Writes in place. Room is reserved first (where the disk can), so that a full one leaves the old
// list.
bool overwrite(QFile &file, const QByteArray &content)
{
    const int reserved = fallocate(file.handle(), FALLOC_FL_KEEP_SIZE, 0, content.size());
    if (reserved != 0 && (errno == ENOSPC || errno == EDQUOT))
        return false;
    return file.seek(0) && file.write(content) == content.size() && file.flush() &&
        file.resize(content.size());
}

// Gives the opened file new content in one step, so that a crash, a kill or a full disk leaves the
// old list or the new one, never a part. Only where the file can't be replaced (folder not
// writable, owner or mount not ours) it is written in place.
bool replaceContent(QFile &file, const QByteArray &content)
{
    // A link stays a link: its target is what gets replaced.
    const QString target = QFileInfo(file.fileName()).canonicalFilePath();
    QSaveFile replacement(target);
    if (!replacement.open(QIODevice::WriteOnly))
        return !canCreateFilesBeside(target) && overwrite(file, content);
    if (!takeOverOwner(file, replacement))
        return overwrite(file, content);
    if (replacement.write(content) != content.size() || !replacement.flush())
        return false;
    return replacement.commit() || overwrite(file, content);
}

// Both the list and the search know a local address by its plain path. Anything that begins with
// "file" loses seven characters, URL or not: intended.
QString withoutFilePrefix(const QString &addr)
{
    return addr.startsWith(QLatin1String("file")) ? addr.mid(7) : addr;
}

void dropOldestEntry()
{
    std::move(std::begin(addrlist) + 1, std::end(addrlist), std::begin(addrlist));
    addrNum = kHistoryCapacity - 1;
    varyJsonConfig(defaultPlayPath, addrlist);
}

unsigned hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return unsigned(c - '0');
    if (c >= 'a' && c <= 'f')
        return unsigned(c - 'a') + 10;
    if (c >= 'A' && c <= 'F')
        return unsigned(c - 'A') + 10;
    return 0;
}
} // namespace

QString standardHistoryFile() { return startPath + "/files/config/config.json"; }

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

int readJsonConfig(QString path)
{
    if (path.isEmpty())
        path = standardHistoryFile();
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite)) {
        qDebug() << "Json File open fail!";
        return -1;
    }
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    if (document.isNull()) {
        qDebug() << "Json file read err";
        return -1;
    }
    qDebug() << "文件解析成功\n";

    QJsonArray entries;
    if (!entriesOf(document, &entries))
        return 0;
    const int count = qMin(entries.size(), kHistoryCapacity);
    for (int i = 0; i < count; ++i) {
        // A refused element leaves its slot empty and uncounted: intended.
        if (!entryFromJson(entries.at(i).toObject(), &addrlist[i]))
            continue;
        ++addrNum;
        qDebug().nospace().noquote()
            << addrlist[i].type << ":" << addrlist[i].addr << ":" << i << ":" << addrNum;
    }
    return 0;
}

int insertJsonConfig(HistoryAddrList *entry)
{
    qDebug() << "defaultPlayPath is---------->" << defaultPlayPath;
    QFile file(defaultPlayPath);
    if (!file.open(QIODevice::ReadWrite))
        return -1;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    if (document.isNull()) {
        qDebug() << "Json file read err";
        createJsonConfig(entry);
        return 0;
    }
    qDebug() << "文件解析成功\n";

    QJsonArray entries;
    if (!entriesOf(document, &entries))
        return -1;
    entries.append(entryToJson(*entry));
    if (!replaceContent(file, documentOf(entries)))
        return -1;
    qDebug() << "Json file insert";
    return 0;
}

void createJsonConfig(HistoryAddrList *entry)
{
    QFile file(defaultPlayPath);
    if (!file.open(QIODevice::ReadWrite)) {
        qDebug() << "File Open error";
        return;
    }
    qDebug() << "File open";
    // A failure leaves the old file; there is nobody to tell.
    replaceContent(file, documentOf({entryToJson(*entry)}));
    file.close();
    qDebug() << "file closed" << defaultPlayPath;
}

void varyJsonConfig(QString path, HistoryAddrList *list)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite)) {
        qDebug() << "Json File open fail!" << 138;
        return;
    }
    qDebug() << "Vary json message 0";
    if (addrNum == 0) {
        file.resize(0);
        return;
    }

    qDebug() << "Vary json message 1";
    QJsonArray entries;
    int i = 0;
    while (i < addrNum && !list[i].addr.isEmpty()) {
        entries.append(entryToJson(list[i]));
        ++i;
        if (i == kHistoryCapacity) {
            qDebug() << "error while vary json config:too much";
            break;
        }
    }
    qDebug() << "Vary json message 1";
    // A failure leaves the old file; there is nobody to tell.
    replaceContent(file, documentOf(entries));
}

bool emptyHistoryFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadWrite) && file.resize(0);
}

void addToAddrList(QString addr)
{
    if (addrNum >= kHistoryCapacity)
        dropOldestEntry();

    HistoryAddrList &entry = addrlist[addrNum];
    entry.codec_type = ::videoInfo.type;
    entry.label = getFileNameFromAddr(addr);
    entry.addr = withoutFilePrefix(addr);
    entry.last_play_time = 0;
    entry.width = ::videoInfo.width;
    entry.height = ::videoInfo.height;
    entry.frame = ::videoInfo.frame;
    entry.state = 1;
    const bool isStream =
        addr.startsWith(QLatin1String("rtsp")) || addr.startsWith(QLatin1String("rtmp"));
    entry.type = isStream ? 2 : 1;
    playinglist.addrIndex = addrNum;
    ++addrNum;
    // When it can't be written the entry lives in memory only.
    insertJsonConfig(&entry);
}

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

void saveLastPlayTime(int index, int seconds)
{
    if (!isAddrSlot(index))
        return;
    addrlist[index].last_play_time = seconds;
    varyJsonConfig(defaultPlayPath, addrlist);
}

QString getFileNameFromAddr(QString addr) { return addr.mid(addr.lastIndexOf('/') + 1); }

QString checkInputFileName(QString name)
{
    QString decoded;
    int start = 0;
    for (int percent = name.indexOf('%'); percent >= 0; percent = name.indexOf('%', start)) {
        // Each byte becomes a character of its own; UTF-8 is not put together again: intended.
        QByteArray digits = name.mid(percent + 1, 2).toLatin1();
        decoded += name.midRef(start, percent - start);
        decoded += QLatin1Char(char(changeNum(digits.data(), 2)));
        start = percent + 3;
    }
    return decoded + name.midRef(start);
}

int changeNum(char *text, int n)
{
    char buffer[kHexBufferSize] = {};
    std::memcpy(buffer, text, strnlen(text, sizeof buffer));
    // Unsigned, because more than seven digits may overflow.
    unsigned sum = 0;
    for (int i = 0; i < qMin(n, kHexBufferSize); ++i)
        sum = sum * 16 + hexDigit(buffer[i]);
    return int(sum);
}
