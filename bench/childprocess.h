// A program under measurement: started without a shell, ended by force, its use of the machine read
// from the kernel.
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

double milliseconds(); // of a clock that never jumps

class ChildProcess {
public:
    // Starts at once. Standard input is a pipe that stays open, so that an engine waits for
    // commands.
    explicit ChildProcess(const std::vector<std::string> &command);
    ~ChildProcess(); // kills it and waits for it
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    pid_t id() const { return pid; }
    void waitForEnd();

private:
    pid_t pid = -1;
    int input = -1;
};

// Of any process by its id.
double cpuMilliseconds(pid_t pid); // of all its threads, those that have ended too
double pssMebibytes(pid_t pid);
long wakeUps(pid_t pid); // how often its main thread has waited for something
std::vector<std::string> commandLine(pid_t pid);
std::vector<pid_t> childrenOf(pid_t pid);
