#include "historyregister.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QThread>
#include <QUuid>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int kLockingPause = 2; // ms

// A note: fingerprint, blank, process, line feed. The register holds two: of what the file holds
// and of what is being written.
constexpr int kFingerprintSize = 40;
constexpr int kProcessSize = 32;
constexpr int kNoteSize = kFingerprintSize + 1 + kProcessSize + 1;
constexpr int kRegisterSize = 2 * kNoteSize;

// Ids of processes come again.
const QByteArray &thisProcess()
{
    static const QByteArray name = QUuid::createUuid().toRfc4122().toHex();
    return name;
}

QByteArray noteOf(const QByteArray &fingerprint, const QByteArray &process)
{
    return fingerprint + ' ' + process + '\n';
}

// The process that noted this fingerprint; empty when none did.
QByteArray writerOf(const QByteArray &notes, const QByteArray &fingerprint)
{
    for (const QByteArray &line : notes.split('\n')) {
        if (line.size() == kNoteSize - 1 && line.startsWith(fingerprint + ' '))
            return line.mid(kFingerprintSize + 1);
    }
    return QByteArray();
}

bool isOwn(const struct stat &info, mode_t kind)
{
    return (info.st_mode & S_IFMT) == kind && info.st_uid == geteuid() &&
        (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// Opens the folder of registers below base. One that somebody else could have put there is refused.
int openFolderIn(const QByteArray &base)
{
    if (!base.startsWith('/'))
        return -1;
    const QByteArray folder = base + "/tarnivo-player";
    mkdir(folder.constData(), S_IRWXU); // it may be there
    const int descriptor =
        open(folder.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat info;
    if (descriptor >= 0 && (fstat(descriptor, &info) != 0 || !isOwn(info, S_IFDIR))) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

int openFolder()
{
    const int descriptor = openFolderIn(qgetenv("XDG_RUNTIME_DIR"));
    if (descriptor >= 0)
        return descriptor;
    const QByteArray cache =
        QFile::encodeName(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation));
    mkdir(cache.constData(), S_IRWXU); // likewise
    return openFolderIn(cache);
}

int openRegister(const QString &historyFile)
{
    const QString path = QFileInfo(historyFile).canonicalFilePath();
    const int folder = openFolder();
    if (folder < 0)
        return -1;
    const QByteArray name =
        QCryptographicHash::hash(QFile::encodeName(path), QCryptographicHash::Sha1).toHex();
    // The sticky bit keeps it from being cleaned away while players run.
    const int descriptor =
        openat(folder, name.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
               S_IRUSR | S_IWUSR | S_ISVTX);
    close(folder);
    struct stat info;
    if (descriptor >= 0 && (fstat(descriptor, &info) != 0 || !isOwn(info, S_IFREG))) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

bool lock(int descriptor, int patience)
{
    QElapsedTimer clock;
    clock.start();
    while (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (clock.hasExpired(patience))
            return false;
        QThread::msleep(kLockingPause);
    }
    return true;
}
} // namespace

HistoryRegister::HistoryRegister(const QString &historyFile, int patience)
    : descriptor(openRegister(historyFile))
{
    if (descriptor < 0)
        return;
    if (!lock(descriptor, patience)) {
        close(descriptor);
        descriptor = -1;
        return;
    }
    char buffer[kRegisterSize];
    const ssize_t size = pread(descriptor, buffer, sizeof buffer, 0);
    notes = QByteArray(buffer, int(qMax(ssize_t(0), size)));
}

HistoryRegister::~HistoryRegister()
{
    if (descriptor >= 0)
        close(descriptor); // gives the lock back
}

QByteArray HistoryRegister::fingerprint(const QByteArray &content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha1).toHex();
}

bool HistoryRegister::isAnothers(const QByteArray &fingerprint) const
{
    const QByteArray writer = writerOf(notes, fingerprint);
    return !writer.isEmpty() && writer != thisProcess();
}

void HistoryRegister::note(const QByteArray &current, const QByteArray &next)
{
    if (descriptor < 0)
        return;
    const QByteArray writer = writerOf(notes, current);
    notes = noteOf(next, thisProcess());
    notes += writer.isEmpty() ? QByteArray(kNoteSize, '\n') : noteOf(current, writer);
    // In one step and of the same size always, so that a kill leaves the old notes or the new.
    // Where it fails the save goes unnoted; there is nobody to tell.
    [[maybe_unused]] const ssize_t written =
        pwrite(descriptor, notes.constData(), size_t(notes.size()), 0);
}
