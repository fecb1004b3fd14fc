#include "terminationnotifier.h"

#include <QCoreApplication>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int kSignals[] = {SIGTERM, SIGINT, SIGHUP};
constexpr int kSignalCount = int(sizeof kSignals / sizeof kSignals[0]);
constexpr int kLeaveInterval = 50; // ms

int pipeEnds[2] = {-1, -1}; // reading, writing
volatile std::sig_atomic_t arrived = 0;
struct sigaction previousActions[kSignalCount];

void noteSignal(int)
{
    const int savedError = errno;
    arrived = 1;
    const char byte = 0;
    // A full pipe is as good as a written byte.
    [[maybe_unused]] const ssize_t written = write(pipeEnds[1], &byte, 1);
    errno = savedError;
}

void installHandlers()
{
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (int i = 0; i < kSignalCount; ++i)
        sigaction(kSignals[i], &action, &previousActions[i]);
}

void restoreHandlers()
{
    for (int i = 0; i < kSignalCount; ++i)
        sigaction(kSignals[i], &previousActions[i], nullptr);
}

} // namespace

TerminationNotifier::TerminationNotifier(QObject *parent)
    : QObject(parent)
{
    arrived = 0;
    // Without a pipe the signals keep ending the process at once.
    if (pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    notifier = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] { takeSignal(); });
    // A loop that is entered after a first exit must end as well.
    leaveLoops.setInterval(kLeaveInterval);
    connect(&leaveLoops, &QTimer::timeout, this, [] { QCoreApplication::exit(0); });
    installHandlers();
}

TerminationNotifier::~TerminationNotifier()
{
    if (!notifier)
        return;
    restoreHandlers();
    arrived = 0;
    delete notifier;
    close(pipeEnds[0]);
    close(pipeEnds[1]);
    pipeEnds[0] = pipeEnds[1] = -1;
}

bool TerminationNotifier::isRequested() { return arrived != 0; }

int TerminationNotifier::wakeDescriptor() { return pipeEnds[0]; }

void TerminationNotifier::request()
{
    if (pipeEnds[1] >= 0)
        noteSignal(0);
}

void TerminationNotifier::takeSignal()
{
    char bytes[64];
    while (read(pipeEnds[0], bytes, sizeof bytes) > 0) { }
    if (pending)
        return;
    pending = true;
    leaveLoops.start();
    emit requested();
    QCoreApplication::exit(0);
}

#include "moc_terminationnotifier.cpp"
