#include "processes.h"

#include "testsupport.h"

#include <QDir>
#include <QThread>

#include <csignal>
#include <functional>
#include <unistd.h>

namespace {

// What follows the name in /proc/PID/stat: state, parent, ... The name may hold anything.
QByteArrayList statFields(qint64 pid)
{
    const QByteArray stat = readFile(QStringLiteral("/proc/%1/stat").arg(pid));
    const int nameEnd = stat.lastIndexOf(')');
    return nameEnd < 0 ? QByteArrayList() : stat.mid(nameEnd + 2).split(' ');
}

QList<qint64> select(const std::function<bool(qint64)> &wanted)
{
    QList<qint64> found;
    for (const QString &name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        bool isNumber = false;
        const qint64 pid = name.toLongLong(&isNumber);
        if (isNumber && wanted(pid))
            found << pid;
    }
    return found;
}

} // namespace

bool Processes::alive(qint64 pid)
{
    const QByteArrayList fields = statFields(pid);
    return !fields.isEmpty() && fields.first() != "Z" && fields.first() != "X";
}

bool Processes::isZombie(qint64 pid) { return statFields(pid).value(0) == "Z"; }

qint64 Processes::parentOf(qint64 pid) { return statFields(pid).value(1, "-1").toLongLong(); }

QByteArrayList Processes::arguments(qint64 pid)
{
    QByteArrayList arguments = readFile(QStringLiteral("/proc/%1/cmdline").arg(pid)).split('\0');
    arguments.removeLast(); // every argument ends with a zero
    return arguments;
}

QList<qint64> Processes::childrenOf(qint64 pid)
{
    return select([pid](qint64 candidate) { return parentOf(candidate) == pid; });
}

QList<qint64> Processes::zombieChildrenOf(qint64 pid)
{
    return select(
        [pid](qint64 candidate) { return parentOf(candidate) == pid && isZombie(candidate); });
}

QList<qint64> Processes::withProgram(const QByteArray &program)
{
    return select([&program](qint64 candidate) {
        return arguments(candidate).value(0) == program && alive(candidate);
    });
}

QList<qint64> Processes::withEnvironment(const QByteArray &assignment)
{
    return select([&assignment](qint64 candidate) {
        const QString file = QStringLiteral("/proc/%1/environ").arg(candidate);
        return readFile(file).split('\0').contains(assignment) && alive(candidate);
    });
}

QByteArray Processes::ownMark() { return QByteArray::number(getpid()); }

bool Processes::end(const QList<qint64> &pids)
{
    for (qint64 pid : pids)
        ::kill(static_cast<pid_t>(pid), SIGKILL);
    for (qint64 pid : pids) {
        for (int i = 0; i < 500 && alive(pid); ++i)
            QThread::msleep(10);
        if (alive(pid))
            return false;
    }
    return true;
}
