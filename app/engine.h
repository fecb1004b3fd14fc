// The engine's process, which nothing else touches: makes, starts, writes to, reads and ends it.
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>

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

// Makes the process object of playinglist, which every start uses anew.
void makeEngine();
// Ends the engine and the process object; nobody is told.
void discardEngine();
// To connect to its signals.
const QProcess *engineProcess();

// Runs program in this environment. False where no process came up, for which it waits 30 s at
// most.
bool startEngine(const QString &program, const QStringList &arguments,
                 const QProcessEnvironment &environment);

// True unless there is no process object or it is in the NotRunning state.
bool engineRuns();

// Whether the last one exited by itself and without a complaint. The real engine reports its own
// crash by the code 1.
bool engineEndedWell();

bool engineHasLine();
// The engine's next line with its line feed, as far as it has come. In small pieces, because the
// usual way takes 16 KiB for each line, which a flood of short ones makes expensive.
QByteArray readEngineLine();
// Drops what is still unread (while paused, or because no line ends) if it is too much to keep:
// all of it is gone through at once when it goes on.
void limitUnreadOutput();

// Writes command as it is to the engine of playinglist. With a dead engine the text is lost.
void writeToEngine(const QByteArray &command);

// "quit", then kill and close at once: the engine gets no time to follow the command. Closing waits
// until the killed process is gone, which takes milliseconds.
void quitEngine();
// The same without a word.
void killEngine();
