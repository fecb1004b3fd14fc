#include "historysave.h"

#include "state.h"

#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
// This player's last reading or save of the history.
struct LastSeen {
    QString path; // defaultPlayPath at that time
    QByteArray fingerprint; // of what the file held then
    bool written = false; // by this player, so that it is looked through no more
    bool differs = false; // it also held, or lacked, what only other players know
    KnownHistory list;
};

LastSeen &lastSeen()
{
    static LastSeen last;
    if (last.path != defaultPlayPath) {
        last = LastSeen();
        last.path = defaultPlayPath;
    }
    return last;
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
// list. Reaches the disk, as replacing does.
bool overwrite(QFile &file, const QByteArray &content)
{
    const int reserved = fallocate(file.handle(), FALLOC_FL_KEEP_SIZE, 0, content.size());
    if (reserved != 0 && (errno == ENOSPC || errno == EDQUOT))
        return false;
    if (!file.seek(0) || file.write(content) != content.size() || !file.flush() ||
        !file.resize(content.size()))
        return false;
    fdatasync(file.handle()); // where it can't be, the list is written all the same
    return true;
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

bool isRegular(const QFile &file)
{
    struct stat info;
    return fstat(file.handle(), &info) == 0 && S_ISREG(info.st_mode);
}
} // namespace

HistorySave::HistorySave(const QString &path)
    : file(path)
{
    if (!file.open(QIODevice::ReadWrite) || path != defaultPlayPath)
        return;
    notes = std::make_unique<HistoryRegister>(path);
    // While this one waited, another player may have put a new file in its place.
    file.close();
    if (!file.open(QIODevice::ReadWrite) || !isRegular(file))
        return;
    before = file.readAll();
    fingerprint = HistoryRegister::fingerprint(before);

    const LastSeen &last = lastSeen();
    if (notes->isLocked())
        shared = fingerprint == last.fingerprint ? last.differs : notes->isAnothers(fingerprint);
}

const KnownHistory &HistorySave::known() { return lastSeen().list; }

void HistorySave::keepDamaged() const
{
    const LastSeen &last = lastSeen();
    if (before.isEmpty() || (last.written && fingerprint == last.fingerprint))
        return;
    const QString path = damagedHistoryCopy(file.fileName());
    if (QFileInfo::exists(path) || QFileInfo(path).isSymLink() || isIntactHistory(before))
        return;
    QSaveFile copy(path);
    if (!copy.open(QIODevice::WriteOnly) || !copy.setPermissions(file.permissions()) ||
        copy.write(before) != before.size())
        return;
    takeOverOwner(file, copy); // else it belongs to this player's user, who may read both
    copy.commit(); // a failure leaves no copy; there is nobody to tell
}

bool HistorySave::replace(const QByteArray &content, const KnownHistory &next, bool differs)
{
    QByteArray written;
    if (notes) {
        written = HistoryRegister::fingerprint(content);
        notes->note(fingerprint, written);
    }
    if (!(content.isEmpty() ? file.resize(0) : replaceContent(file, content)))
        return false;
    // A save without the lock may be written over at once by the player that holds it. What this
    // one knew before is then still what the two have in common.
    if (notes && notes->isLocked())
        lastSeen() = {file.fileName(), written, true, differs, next};
    return true;
}

void rememberHistory(const QString &path, const QByteArray &content, const HistoryEntries &entries)
{
    if (path == defaultPlayPath)
        lastSeen() = {path, HistoryRegister::fingerprint(content), false, false, {entries, {}}};
}

void rememberPlayed(const QString &addr) { lastSeen().list.played.insert(addr); }

QString damagedHistoryCopy(const QString &path) { return path + ".broken"; }
