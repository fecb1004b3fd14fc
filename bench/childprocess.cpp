#include "childprocess.h"

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::string procFile(pid_t pid, const std::string &name)
{
    return "/proc/" + std::to_string(pid) + "/" + name;
}

std::string contentOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The number after a key at the beginning of a line.
long numberAfter(const std::string &text, const std::string &key)
{
    const std::size_t line = text.find("\n" + key);
    return line == std::string::npos ? 0 : std::atol(text.c_str() + line + 1 + key.size());
}

[[noreturn]] void become(const std::vector<std::string> &command, int input)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int nothing = open("/dev/null", O_WRONLY);
    dup2(input, STDIN_FILENO);
    dup2(nothing, STDOUT_FILENO);
    dup2(nothing, STDERR_FILENO);
    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string &argument : command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

} // namespace

double milliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

ChildProcess::ChildProcess(const std::vector<std::string> &command)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        std::abort();
    pid = fork();
    if (pid == 0)
        become(command, ends[0]);
    close(ends[0]);
    input = ends[1];
}

ChildProcess::~ChildProcess()
{
    if (pid > 0)
        kill(pid, SIGKILL);
    waitForEnd();
    close(input);
}

void ChildProcess::waitForEnd()
{
    if (pid > 0)
        waitpid(pid, nullptr, 0);
    pid = -1;
}

double cpuMilliseconds(pid_t pid)
{
    clockid_t clock{};
    timespec used{};
    if (clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &used) != 0)
        return 0;
    return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

double pssMebibytes(pid_t pid)
{
    return static_cast<double>(numberAfter(contentOf(procFile(pid, "smaps_rollup")), "Pss:")) /
        1024;
}

long wakeUps(pid_t pid)
{
    const std::string thread = "task/" + std::to_string(pid) + "/status";
    return numberAfter(contentOf(procFile(pid, thread)), "voluntary_ctxt_switches:");
}

std::vector<std::string> commandLine(pid_t pid)
{
    std::vector<std::string> arguments;
    const std::string text = contentOf(procFile(pid, "cmdline"));
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\0', begin);
        arguments.push_back(text.substr(begin, end - begin));
        begin = end == std::string::npos ? text.size() : end + 1;
    }
    return arguments;
}

std::vector<pid_t> childrenOf(pid_t pid)
{
    std::ifstream file(procFile(pid, "task/" + std::to_string(pid) + "/children"));
    return {std::istream_iterator<pid_t>(file), std::istream_iterator<pid_t>()};
}
