// The engine's process, and the one place that writes to it.
#pragma once

#include <QByteArray>
#include <QProcess>

// A QProcess whose child dies with the player: the slave-mode engine does not stop when its input
// closes, so a killed player would leave it playing (prctl(2), PR_SET_PDEATHSIG). Start it from
// the main thread only, because the kernel ties the signal to the starting thread.
class EngineProcess : public QProcess {
    Q_OBJECT

public:
    explicit EngineProcess(QObject *parent = nullptr);

protected:
    void setupChildProcess() override;

private:
    qint64 starterPid;
};

// True unless there is no process object or it is in the NotRunning state.
bool engineRuns();

// The engine's next line with its line feed, as far as it has come. In small pieces, because the
// usual way takes 16 KiB for each line, which a flood of short ones makes expensive.
QByteArray readEngineLine();

// Writes command as it is to the engine of playinglist. With a dead engine the text is lost.
void writeToEngine(const QByteArray &command);

// "quit", then kill and close at once: the engine gets no time to follow the command. Closing waits
// until the killed process is gone, which takes milliseconds.
void quitEngine();
