// The history file: loaded, saved and loaded again, and an entry added to it.
#include "common.h"
#include "fuzzing.h"
#include "history.h"
#include "jsonmutator.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <vector>

#include <unistd.h>

using fuzzing::require;

namespace {

const QString &historyPath()
{
    static const QTemporaryDir folder(QDir::tempPath() + "/fuzz-history-XXXXXX");
    static const QString path = folder.filePath("config.json");
    return path;
}

QString copyPath() { return historyPath() + ".broken"; }

void writeFile(const QByteArray &content)
{
    QFile::remove(copyPath());
    QFile file(historyPath());
    require(file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
                file.write(content) == content.size(),
            "the target can write its file");
}

QByteArray readFile(const QString &path = historyPath())
{
    QFile file(path);
    require(file.open(QIODevice::ReadOnly), "the file is still there");
    return file.readAll();
}

void clearList()
{
    addrNum = 0;
    for (HistoryAddrList &entry : addrlist)
        entry = HistoryAddrList();
}

int load()
{
    clearList();
    const int result = readJsonConfig(historyPath());
    require(result == 0 || result == -1, "loading gives 0 or -1");
    require(addrNum >= 0 && addrNum <= kHistoryCapacity, "the count stays within the slots");
    require(result == 0 || addrNum == 0, "what can't be parsed gives no entries");
    return result;
}

// What a save must keep: the entries before the first empty address.
std::vector<HistoryAddrList> savedEntries()
{
    std::vector<HistoryAddrList> entries;
    for (int i = 0; i < addrNum && !addrlist[i].addr.isEmpty(); ++i) {
        HistoryAddrList entry = addrlist[i];
        if (!std::isfinite(entry.frame))
            entry.frame = 0;
        entries.push_back(entry);
    }
    return entries;
}

bool same(const HistoryAddrList &a, const HistoryAddrList &b)
{
    return a.addr == b.addr && a.label == b.label && a.type == b.type && a.width == b.width &&
        a.height == b.height && a.frame == b.frame && a.codec_type == b.codec_type &&
        a.last_play_time == b.last_play_time;
}

QJsonArray entriesIn(const QByteArray &content)
{
    return QJsonDocument::fromJson(content).object().value("settings").toArray();
}

bool isEntry(const QJsonObject &object)
{
    const auto hasNumber = [&object](const char *key) { return object.value(key).isDouble(); };
    return object.value("addr").isString() && object.value("label").isString() &&
        hasNumber("type") && hasNumber("width") && hasNumber("height") && hasNumber("frame") &&
        hasNumber("codec_type");
}

// An entry is in the slot of its place in the file; what is no entry leaves its slot empty.
void checkSlots(const QJsonArray &entries)
{
    int count = 0;
    for (int i = 0; i < kHistoryCapacity; ++i) {
        const QJsonObject object = entries.at(i).toObject();
        if (!isEntry(object)) {
            require(same(addrlist[i], HistoryAddrList()), "a slot without an entry is empty");
            continue;
        }
        ++count;
        require(addrlist[i].addr == object.value("addr").toString(), "an address is the file's");
        require(addrlist[i].label == object.value("label").toString(), "a label is the file's");
        HistoryAddrList copy;
        require(entryFromJson(entryToJson(addrlist[i]), &copy), "its own JSON is an entry");
    }
    require(addrNum == count, "the entries are counted");
}

// What a write over content loses something of has a copy, and nothing else has.
void checkCopy(const QByteArray &content)
{
    const QJsonArray entries = entriesIn(content);
    const bool intact = QJsonDocument::fromJson(content).object().value("settings").isArray() &&
        std::all_of(entries.begin(), entries.end(), [](const QJsonValue &entry) {
                            const QJsonObject object = entry.toObject();
                            return isEntry(object) && !object.value("addr").toString().isEmpty();
                        });
    const bool copied = QFile::exists(copyPath());
    require(copied == (!intact && !content.isEmpty()), "a copy is kept of what is damaged");
    require(!copied || readFile(copyPath()) == content, "the copy holds the same bytes");
}

void checkRoundTrip(const QByteArray &content)
{
    writeFile(content);
    load();
    checkSlots(entriesIn(content));
    require(readFile() == content, "loading leaves the file alone");

    const bool hasEntries = addrNum > 0;
    const std::vector<HistoryAddrList> saved = savedEntries();
    varyJsonConfig(historyPath(), addrlist);
    checkCopy(content);
    require(load() == (hasEntries ? 0 : -1), "a saved list can be loaded");
    require(addrNum == int(saved.size()), "the second load gives as many entries");
    for (int i = 0; i < addrNum; ++i)
        require(same(addrlist[i], saved[size_t(i)]), "the second load gives the same entry");

    const QByteArray first = readFile();
    varyJsonConfig(historyPath(), addrlist);
    require(readFile() == first || saved.empty(), "the second save writes the same bytes");
}

void checkInsert(const QByteArray &content)
{
    writeFile(content);
    HistoryAddrList entry;
    entry.addr = "/f/new.mp4";
    entry.label = "new.mp4";
    entry.type = 1;
    const QJsonDocument before = QJsonDocument::fromJson(content);
    const bool takesEntries = before.isNull() || before.object().value("settings").isArray();
    require(insertJsonConfig(&entry) == (takesEntries ? 0 : -1), "a list or damage takes an entry");
    if (!takesEntries) {
        require(readFile() == content, "a file of another shape is left alone");
        require(!QFile::exists(copyPath()), "and not copied");
        return;
    }
    checkCopy(content);
    QJsonArray after = entriesIn(readFile());
    require(after.size() == entriesIn(content).size() + 1, "one entry more");
    require(after.last() == entryToJson(entry), "the new entry is the last");
    after.removeLast();
    const QByteArray kept = QJsonDocument(entriesIn(content)).toJson();
    require(QJsonDocument(after).toJson() == kept, "the old entries are kept as they were");
}

int firstFreeDescriptor()
{
    const int descriptor = dup(STDERR_FILENO);
    close(descriptor);
    return descriptor;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzzing::silenceLog();
    static const QTemporaryDir runtime(QDir::tempPath() + "/fuzz-runtime-XXXXXX");
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
    defaultPlayPath = historyPath();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray content = fuzzing::bytes(data, size);
    const fuzzing::JsonReaderLeaks leaks(content);
    const int descriptor = firstFreeDescriptor();
    checkRoundTrip(content);
    checkInsert(content);
    require(firstFreeDescriptor() == descriptor, "no file stays open");
    QFile::remove(copyPath());
    require(QDir(QFileInfo(historyPath()).path()).entryList(QDir::Files) ==
                QStringList("config.json"),
            "nothing is left beside the file");
    return 0;
}
