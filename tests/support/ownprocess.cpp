#include "ownprocess.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QDir>
#include <QString>

#include <cstdio>

#include <malloc.h>
#include <unistd.h>

#ifdef __SANITIZE_ADDRESS__
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace {

// The file system of the kernel; no allocation, so that looking changes nothing.
QByteArray firstLine(const char *path)
{
    char line[256] = "";
    if (FILE *file = fopen(path, "r")) {
        if (!fgets(line, sizeof line, file))
            line[0] = '\0';
        fclose(file);
    }
    return line;
}

int entriesOf(const char *folder)
{
    return QDir(QString::fromLatin1(folder)).entryList(QDir::AllEntries | QDir::System).size();
}

} // namespace

qint64 OwnProcess::heap()
{
#ifdef __SANITIZE_ADDRESS__
    return static_cast<qint64>(__sanitizer_get_current_allocated_bytes());
#else
    const struct mallinfo2 use = mallinfo2();
    return static_cast<qint64>(use.uordblks) + static_cast<qint64>(use.hblkhd);
#endif
}

qint64 OwnProcess::residentMemory()
{
#ifdef __SANITIZE_ADDRESS__
    return heap();
#else
    return firstLine("/proc/self/statm").split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE);
#endif
}

int OwnProcess::openFiles() { return entriesOf("/proc/self/fd"); }

int OwnProcess::threads() { return entriesOf("/proc/self/task"); }

qint64 OwnProcess::waitedForProcessor()
{
    return firstLine("/proc/thread-self/schedstat").split(' ').value(1).toLongLong();
}
