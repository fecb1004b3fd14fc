#include "heartbeat.h"

#include "ownprocess.h"

#include <QEventLoop>

#include <algorithm>
#include <chrono>
#include <csignal>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int period = 10; // ms
#ifdef __SANITIZE_ADDRESS__
constexpr qint64 limit = 500; // ms; an allocation is many times dearer, reading a line too
#else
constexpr qint64 limit = 100; // ms
#endif
constexpr qint64 million = 1000000;

qint64 now()
{
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

// The other process. Ends with the test, and when its socket is closed.
[[noreturn]] void sendBack(int socket)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    char byte = 0;
    while (read(socket, &byte, 1) == 1) {
        if (write(socket, &byte, 1) != 1)
            break;
    }
    _exit(0);
}

} // namespace

Heartbeat::Heartbeat()
{
    int sockets[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0)
        qFatal("no sockets for the heartbeat");
    echoProcess = fork();
    if (echoProcess == 0) {
        close(sockets[0]);
        sendBack(sockets[1]);
    }
    close(sockets[1]);
    echoSocket = sockets[0];
    echoThread = std::thread([this, socket = sockets[0]] { echo(socket); });
    timer.setTimerType(Qt::PreciseTimer);
    timer.setInterval(period);
    QObject::connect(&timer, &QTimer::timeout, &timer, [this] { beat(); });
}

Heartbeat::~Heartbeat()
{
    shutdown(echoSocket, SHUT_RDWR);
    echoThread.join();
    close(echoSocket);
    waitpid(echoProcess, nullptr, 0);
}

void Heartbeat::echo(int socket)
{
    for (;;) {
        const qint64 began = now();
        char byte = 0;
        if (write(socket, &byte, 1) != 1 || read(socket, &byte, 1) != 1)
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(period));
        const qint64 late = now() - began - period * million;
        if (watching)
            echoWorst = std::max(echoWorst.load(), late);
    }
}

void Heartbeat::beginBeat()
{
    lastBeat = now();
    lastWaited = OwnProcess::waitedForProcessor();
}

void Heartbeat::beat()
{
    const qint64 waited = OwnProcess::waitedForProcessor() - lastWaited;
    const qint64 late = (now() - lastBeat - waited) / million - period;
    worst = std::max(worst, late);
    peak = std::max(peak, OwnProcess::heap());
    ++count;
    beginBeat();
}

void Heartbeat::watch(int ms)
{
    watchUntil([] { return false; }, ms);
}

bool Heartbeat::watchUntil(const std::function<bool()> &condition, int ms)
{
    QEventLoop loop;
    bool held = false;
    const qint64 end = now() + ms * million;
    const auto check = QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
        held = condition();
        if (held || now() >= end)
            loop.quit();
        beginBeat(); // what the condition took is the test's own
    });
    beginBeat();
    timer.start();
    watching = true;
    loop.exec();
    watching = false;
    timer.stop();
    QObject::disconnect(check);
    return held;
}

bool Heartbeat::isSteady() const { return worst <= limit + noise(); }

const char *Heartbeat::report() const
{
    text = "late by " + QByteArray::number(worst) + " ms, slowest echo " +
        QByteArray::number(noise()) + " ms, " + QByteArray::number(count) + " beats";
    return text.constData();
}
