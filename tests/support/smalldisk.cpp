#include "smalldisk.h"

#include <QFile>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

void writeText(const char *path, const QByteArray &text)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(text);
}

bool leaveCommonMounts()
{
    const QByteArray user = QByteArray::number(getuid());
    const QByteArray group = QByteArray::number(getgid());
    if (unshare(CLONE_NEWNS) != 0) {
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            return false;
        writeText("/proc/self/setgroups", "deny");
        writeText("/proc/self/uid_map", "0 " + user + " 1");
        writeText("/proc/self/gid_map", "0 " + group + " 1");
    }
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

} // namespace

bool SmallDisk::enterOwnMounts()
{
    static const bool entered = leaveCommonMounts();
    return entered;
}

SmallDisk::SmallDisk(const QString &folder)
    : folder(folder)
    , mounted(enterOwnMounts() &&
              mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", 0, "size=256k") == 0)
{
}

SmallDisk::~SmallDisk()
{
    if (mounted)
        umount2(QFile::encodeName(folder).constData(), MNT_DETACH);
}

bool SmallDisk::fill()
{
    QFile filler(folder + "/filler");
    if (!filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return false;
    for (int size : {4096, 1}) {
        while (filler.write(QByteArray(size, 'x')) == size) { }
    }
    return true;
}

void SmallDisk::makeRoom() { QFile::remove(folder + "/filler"); }
