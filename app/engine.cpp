#include "engine.h"

#include "enginecommands.h"
#include "state.h"

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace {
constexpr int kStartTimeout = 30000; // ms
constexpr qint64 kUnreadLimit = 1 << 18;
} // namespace

EngineProcess::EngineProcess(QObject *parent)
    : QProcess(parent)
    , starterPid(getpid())
{
    // Nobody reads the engine's complaints; unread they would pile up in memory.
    setStandardErrorFile(QProcess::nullDevice());
}

// Runs in the child between fork and exec: only what is safe in a signal handler.
void EngineProcess::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // The player may have died before the line above; then no signal would ever come.
    if (getppid() != starterPid)
        _exit(1);
}

void makeEngine() { playinglist.process_mplayer = new EngineProcess; }

void discardEngine()
{
    QProcess *process = playinglist.process_mplayer;
    playinglist.process_mplayer = nullptr;
    process->disconnect();
    if (process->state() != QProcess::NotRunning)
        process->kill();
    process->close();
    delete process;
}

const QProcess *engineProcess() { return playinglist.process_mplayer; }

bool startEngine(const QString &program, const QStringList &arguments,
                 const QProcessEnvironment &environment)
{
    QProcess *process = playinglist.process_mplayer;
    process->setProcessEnvironment(environment);
    process->start(program, arguments, QIODevice::ReadWrite);
    return process->waitForStarted(kStartTimeout);
}

bool engineRuns()
{
    const QProcess *process = playinglist.process_mplayer;
    return process && process->state() != QProcess::NotRunning;
}

bool engineEndedWell()
{
    const QProcess *process = playinglist.process_mplayer;
    return process->exitStatus() == QProcess::NormalExit && process->exitCode() == 0;
}

bool engineHasLine() { return playinglist.process_mplayer->canReadLine(); }

QByteArray readEngineLine()
{
    QByteArray line;
    QProcess *process = playinglist.process_mplayer;
    char piece[512];
    while (process && !line.endsWith('\n')) {
        const qint64 length = process->readLine(piece, sizeof piece);
        if (length <= 0)
            break;
        line.append(piece, int(length));
    }
    return line;
}

void limitUnreadOutput()
{
    if (playinglist.process_mplayer->bytesAvailable() > kUnreadLimit)
        playinglist.process_mplayer->readAll();
}

void writeToEngine(const QByteArray &command)
{
    QProcess *process = playinglist.process_mplayer;
    if (process && process->isOpen())
        process->write(command); // a failed write is lost: there is nobody to tell
}

void quitEngine()
{
    writeToEngine(enginecommands::quit);
    killEngine();
}

void killEngine()
{
    QProcess *process = playinglist.process_mplayer;
    if (!process)
        return;
    process->kill();
    process->close();
}

#include "moc_engine.cpp"
