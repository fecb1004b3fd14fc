// Kills a copy of the test's own process in the middle of its work.
//
//     bool killed = true;
//     for (int count = 1; killed; ++count) {
//         removeLeftovers(path);
//         killed = killAtSystemCall(count, [] { save(); });
//         ... look at what is left ...
//     }
#pragma once

#include <QDir>
#include <QFileInfo>
#include <QString>

#include <csignal>
#include <functional>

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

// Whether processes may be traced here, without which none can be killed so.
inline bool canTrace()
{
    const pid_t child = fork();
    if (child == 0)
        _exit(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Runs work in a copy of this process, which stops at each entry into a system call and each return
// from one; goOn gets their number, counted from 1, and the copy is killed there when it says
// false. Returns whether it was.
inline bool stopAtSystemCalls(const std::function<void()> &work,
                              const std::function<bool(int)> &goOn)
{
    const pid_t child = fork();
    if (child == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        work();
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_EXITKILL);
    for (int count = 1; WIFSTOPPED(status); ++count) {
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
        if (WIFSTOPPED(status) && !goOn(count)) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            return true;
        }
    }
    return false;
}

// Kills it at its system call number count. Returns false when the work was done before.
inline bool killAtSystemCall(int count, const std::function<void()> &work)
{
    return stopAtSystemCalls(work, [count](int stop) { return stop < count; });
}

// Killed between naming the new list and moving it into place, a process leaves it behind. Copies
// of one process draw the same random names and would run out of them.
inline void removeLeftovers(const QString &path)
{
    QDir folder = QFileInfo(path).dir();
    for (const QString &name : folder.entryList({QFileInfo(path).fileName() + ".??????"}))
        folder.remove(name);
}
