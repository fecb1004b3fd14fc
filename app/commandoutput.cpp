#include "commandoutput.h"

#include "terminationnotifier.h"

#include <QDeadlineTimer>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

int companyAfter = 10000;

namespace {

constexpr int kAttendInterval = 20; // ms
constexpr int kReapTime = 1000; // ms; a process that hangs in the kernel may take longer to die

// The player may have been started without the standard descriptors. What took the place of one
// would be closed in the command, or overwritten.
int aboveStandard(int descriptor)
{
    if (descriptor < 0 || descriptor > STDERR_FILENO)
        return descriptor;
    const int other = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(descriptor);
    return other;
}

class Pipe {
public:
    Pipe()
    {
        if (pipe2(ends, O_CLOEXEC) != 0)
            ends[0] = ends[1] = -1;
        for (int &end : ends)
            end = aboveStandard(end);
    }
    ~Pipe()
    {
        closeEnd(ends[0]);
        closeEnd(ends[1]);
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;

    bool isOpen() const { return ends[0] >= 0 && ends[1] >= 0; }
    int reading() const { return ends[0]; }
    int writing() const { return ends[1]; }
    void closeReading() { closeEnd(ends[0]); }
    void closeWriting() { closeEnd(ends[1]); }

private:
    static void closeEnd(int &end)
    {
        if (end >= 0)
            close(end);
        end = -1;
    }

    int ends[2];
};

// Waits without a limit, but ends when a signal asks for it or the company gives up.
class Patience {
public:
    explicit Patience(MakeCompany makeCompany)
        : makeCompany(makeCompany)
        , alone(makeCompany ? QDeadlineTimer(companyAfter) : QDeadlineTimer::Forever)
    {
    }

    // True when descriptor can be read, false when it is to be given up.
    bool awaitReadable(int descriptor)
    {
        pollfd watched[] = {{descriptor, POLLIN, 0},
                            {TerminationNotifier::wakeDescriptor(), POLLIN, 0}};
        for (;;) {
            // A signal that comes after the question wakes the waiting, as its pipe fills.
            if (TerminationNotifier::isRequested() || (company && !company->attend()))
                return false;
            const int wait = company ? kAttendInterval : static_cast<int>(alone.remainingTime());
            // The end of another child, the engine, interrupts the waiting.
            if (poll(watched, 2, wait) > 0 && watched[0].revents != 0)
                return true;
            if (!company && alone.hasExpired())
                company = makeCompany();
        }
    }

private:
    MakeCompany makeCompany;
    QDeadlineTimer alone;
    std::unique_ptr<CommandCompany> company;
};

struct ShellStart {
    const char *command;
    int output;
    int messages; // -1: the player's own
    int leash;
    pid_t starter;
    sigset_t signalMask; // the mask it begins with
};

// Runs between vfork and exec, in the player's memory: nothing but system calls.
//
// The shell gets a process group of its own, and the reading end of the leash, which all that it
// starts inherits. When the last writing end closes, because the player has ended in whatever way,
// the kernel sends the group the signal set here.
[[noreturn]] void becomeShell(const ShellStart &start)
{
    setpgid(0, 0);
    fcntl(start.leash, F_SETOWN, -getpid());
    fcntl(start.leash, F_SETSIG, SIGKILL);
    fcntl(start.leash, F_SETFL, O_ASYNC);
    fcntl(start.leash, F_SETFD, 0); // survives the exec
    // The player may have died before the lines above; then no signal would ever come.
    if (getppid() != start.starter)
        _exit(127);
    // Its messages must not stop it on a terminal that halts other groups than the first.
    struct sigaction ignored = {};
    ignored.sa_handler = SIG_IGN;
    sigaction(SIGTTOU, &ignored, nullptr);

    dup2(start.output, STDOUT_FILENO);
    if (start.messages >= 0)
        dup2(start.messages, STDERR_FILENO);
    sigprocmask(SIG_SETMASK, &start.signalMask, nullptr);
    execl("/bin/sh", "sh", "-c", start.command, nullptr);
    _exit(127);
}

// The shell's process id, or -1.
pid_t startShell(const QByteArray &command, int output, int messages, int leash)
{
    ShellStart start = {command.constData(), output, messages, leash, getpid(), {}};
    sigset_t all;
    sigfillset(&all);
    // A handler that ran in the child would write into the player's memory.
    pthread_sigmask(SIG_SETMASK, &all, &start.signalMask);
    // Copying the page tables, as fork does, takes longer than starting the shell, and posix_spawn
    // can't tie it to the leash before it runs. The player stands still for some system calls.
    const pid_t shell = vfork(); // NOLINT(clang-analyzer-security.insecureAPI.vfork)
    if (shell == 0)
        becomeShell(start); // NOLINT(clang-analyzer-unix.Vfork): system calls alone are safe
    pthread_sigmask(SIG_SETMASK, &start.signalMask, nullptr);
    return shell;
}

// False when it was given up.
bool readOutput(int descriptor, Patience &patience, QByteArray &output)
{
    char bytes[4096];
    while (output.size() < kCommandOutputLimit) {
        if (!patience.awaitReadable(descriptor))
            return false;
        const auto room = static_cast<size_t>(kCommandOutputLimit - output.size());
        const ssize_t length = read(descriptor, bytes, std::min(sizeof bytes, room));
        if (length > 0)
            output.append(bytes, static_cast<int>(length));
        else if (length == 0 || errno != EINTR)
            break;
    }
    return true;
}

// A descriptor that can be read when the process has ended, or -1 where the kernel has none.
int endOf(pid_t process) { return static_cast<int>(syscall(SYS_pidfd_open, process, 0)); }

void awaitDeath(int processEnd)
{
    const QDeadlineTimer deadline(kReapTime);
    pollfd watched = {processEnd, POLLIN, 0};
    while (poll(&watched, 1, static_cast<int>(deadline.remainingTime())) < 0 && errno == EINTR) { }
}

void reap(pid_t shell)
{
    while (waitpid(shell, nullptr, 0) < 0 && errno == EINTR) { }
}

// Kills the shell and all that it has started. What hangs in the kernel may not even follow that
// yet; its exit status is asked for again when the next command is given up.
void killAll(pid_t shell, int shellEnd)
{
    static std::vector<pid_t> shells;
    kill(-shell, SIGKILL);
    awaitDeath(shellEnd);
    shells.push_back(shell);
    const auto isReaped = [](pid_t process) { return waitpid(process, nullptr, WNOHANG) != 0; };
    shells.erase(std::remove_if(shells.begin(), shells.end(), isReaped), shells.end());
}

} // namespace

struct RunningCommand::Shell {
    Pipe output;
    Pipe leash;
    int messages = -1; // a file in memory, or the player's own standard error
    off_t told = 0; // bytes of it
    pid_t process = -1;
    int end = -1;

    explicit Shell(Messages when)
    {
        if (when == MessagesWhenAwaited)
            messages = aboveStandard(memfd_create("messages", MFD_CLOEXEC));
    }
    ~Shell()
    {
        for (const int descriptor : {messages, end}) {
            if (descriptor >= 0)
                close(descriptor);
        }
    }
    Shell(const Shell &) = delete;
    Shell &operator=(const Shell &) = delete;

    // Passes on what it has said since.
    void tellMessages()
    {
        char bytes[4096];
        for (;;) {
            const ssize_t length = messages < 0 ? 0 : pread(messages, bytes, sizeof bytes, told);
            if (length <= 0)
                return;
            told += length;
            if (write(STDERR_FILENO, bytes, static_cast<size_t>(length)) != length)
                return; // nobody listens
        }
    }
};

RunningCommand::RunningCommand(const QByteArray &command, Messages messages)
    : shell(new Shell(messages))
{
    if (!shell->output.isOpen() || !shell->leash.isOpen())
        return;
    shell->process =
        startShell(command, shell->output.writing(), shell->messages, shell->leash.reading());
    if (shell->process < 0)
        return;
    shell->output.closeWriting();
    shell->end = endOf(shell->process);
}

RunningCommand::~RunningCommand()
{
    if (shell->process >= 0)
        killAll(shell->process, shell->end);
}

bool RunningCommand::hasEnded() const
{
    pollfd watched = {shell->end, POLLIN, 0};
    return shell->process < 0 || (shell->end >= 0 && poll(&watched, 1, 0) > 0);
}

bool RunningCommand::awaitOneOf(const std::vector<const RunningCommand *> &commands,
                                int milliseconds)
{
    std::vector<pollfd> watched = {{TerminationNotifier::wakeDescriptor(), POLLIN, 0}};
    for (const RunningCommand *command : commands) {
        if (command->shell->end >= 0)
            watched.push_back({command->shell->end, POLLIN, 0});
    }
    if (watched.size() == 1)
        return false;
    const QDeadlineTimer deadline(milliseconds);
    while (!TerminationNotifier::isRequested()) {
        const int ready =
            poll(watched.data(), watched.size(), static_cast<int>(deadline.remainingTime()));
        if (ready >= 0 || errno != EINTR) // the end of another child interrupts the waiting
            return ready > 0 && watched[0].revents == 0;
    }
    return false;
}

CommandResult RunningCommand::wait(MakeCompany makeCompany)
{
    CommandResult result;
    const pid_t process = std::exchange(shell->process, -1);
    if (process < 0)
        return result;
    shell->tellMessages();
    Patience patience(makeCompany);
    result.givenUp = !readOutput(shell->output.reading(), patience, result.output);
    shell->output.closeReading();
    // How the command ends tells nothing that its output doesn't, but only then is it over.
    if (!result.givenUp && shell->end >= 0)
        result.givenUp = !patience.awaitReadable(shell->end);
    if (result.givenUp) {
        killAll(process, shell->end);
        result.output.clear();
    } else {
        reap(process);
        fcntl(shell->leash.reading(), F_SETOWN, 0); // what it has left running on purpose runs on
    }
    shell->tellMessages();
    return result;
}

CommandResult runCommand(const QByteArray &command, MakeCompany makeCompany)
{
    return RunningCommand(command).wait(makeCompany);
}

QByteArray readCommandOutput(const QByteArray &command) { return runCommand(command).output; }
