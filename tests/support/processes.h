// Looks at and ends processes through /proc. A zombie counts as gone.
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QList>

namespace Processes {

bool alive(qint64 pid);
bool isZombie(qint64 pid);
qint64 parentOf(qint64 pid); // -1 when there is none
QByteArrayList arguments(qint64 pid); // argv, with the program as first
// Children of pid, zombies too.
QList<qint64> childrenOf(qint64 pid);
QList<qint64> zombieChildrenOf(qint64 pid);
// Living processes whose argv[0] is program.
QList<qint64> withProgram(const QByteArray &program);
// Living processes with this "NAME=value" in the environment they were started with.
QList<qint64> withEnvironment(const QByteArray &assignment);
// A value for it that no other test process on the machine has.
QByteArray ownMark();
// SIGKILL, then waits until they are gone (5 s at most). False when one is not.
bool end(const QList<qint64> &pids);

} // namespace Processes
