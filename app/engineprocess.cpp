#include "engineprocess.h"

#include "enginecommands.h"
#include "state.h"

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

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

bool engineRuns()
{
    const QProcess *process = playinglist.process_mplayer;
    return process && process->state() != QProcess::NotRunning;
}

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

void writeToEngine(const QByteArray &command)
{
    QProcess *process = playinglist.process_mplayer;
    if (process && process->isOpen())
        process->write(command); // a failed write is lost: there is nobody to tell
}

void quitEngine()
{
    QProcess *process = playinglist.process_mplayer;
    if (!process)
        return;
    writeToEngine(enginecommands::quit);
    process->kill();
    process->close();
}

#include "moc_engineprocess.cpp"
