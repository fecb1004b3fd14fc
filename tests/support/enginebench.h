// A stand-in for the playback engine: records what the player does to it, and does what the test
// says. In a unit test:
//
//     InstallRoot root;
//     StandInEngine engine(root.path());      // now root's files/bin/mplayer
//     engine.setLength("100.00");             // answers 100 s, and a position that runs from 0
//     ... start playback ...
//     QVERIFY(engine.waitForStarts(1));
//     QCOMPARE(engine.starts().first().arguments, QByteArrayList({"a.mp4", "-slave", ...}));
//     QVERIFY(engine.waitForInput("pause\n"));
//     QCOMPARE(engine.runningEngines().size(), 1);
//
// "quit" is recorded even when the player kills the engine at once after it: a second process,
// which does not count as an engine, reads the input for it. Right after a stop wait for it with
// waitForInput(). The destructor ends whatever still runs.
//
// The script can be changed at any time; a running engine reads it again with each line it is sent
// (but for what is done at the start or after a time). Waiting runs the event loop.
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QList>
#include <QString>

// What a scripted engine can do.
namespace EngineAction {
QByteArray print(const QByteArray &bytes); // as they are: invalid UTF-8, no line end, "\r" ...
QByteArray sleep(int ms); // reads and answers nothing meanwhile
QByteArray flood(qint64 bytes); // lines of chatter
QByteArray crash(); // SIGSEGV
QByteArray exit(int code = 0);
QByteArray answer(); // what is done without a script
QByteArray closeInput(); // closes its standard input and runs on
QByteArray stopReading(int ms); // leaves its standard input unread for so long
} // namespace EngineAction

class StandInEngine {
public:
    struct Piece {
        qint64 at; // microseconds, monotonic
        QByteArray bytes;
    };
    struct Start {
        qint64 pid = 0;
        qint64 at = 0; // microseconds, monotonic
        QByteArrayList arguments; // without the program
        QByteArray input; // everything written to it so far
        QList<Piece> pieces; // the same, as it came in
        bool inputClosed = false; // the player has closed its end
        QByteArrayList events; // "signal 15", "exit 0", "crash", "overlap"
        QByteArrayList lines() const; // input split at line ends; the last may be incomplete
    };

    // Installs the engine at root + "/files/bin/mplayer" in place of what is there.
    explicit StandInEngine(const QString &root);
    ~StandInEngine();
    StandInEngine(const StandInEngine &) = delete;
    StandInEngine &operator=(const StandInEngine &) = delete;

    // Script. Back to: length 20.00, position running from 0, everything answered, plays for ever.
    void reset();
    void setLength(const QByteArray &text); // any text; empty: never answered
    void setPosition(const QByteArray &text); // the same answer always; empty: never answered
    void setClock(double seconds); // the position runs from there with the real time
    void setSilent(); // answers nothing
    void endAtLength(); // exits with 0 when the running position reaches the length
    void ignoreQuit();
    void ignoreTerm();
    void readDirectly(); // no second process: what is unread at a kill is not recorded
    void atStart(const QByteArray &action);
    void after(int ms, const QByteArray &action);
    // In place of what is done otherwise when a line begins with prefix. nth: only at that one of
    // them, counted from 1; 0: at each. Several for one line are done in the order given.
    void on(const QByteArray &prefix, const QByteArray &action, int nth = 0);

    // Record.
    QList<Start> starts() const;
    Start last() const; // the newest start; pid 0 when there was none
    QByteArray input() const; // of the newest start
    bool overlapped() const; // an engine was started while another one was alive
    void clear(); // forgets all starts; only while no engine runs

    // Living engines of this root.
    QList<qint64> runningEngines() const;

    bool waitForStarts(int count, int ms = 10000) const;
    // Waits until the newest start was sent text. How often it is there by now: input().count().
    bool waitForInput(const QByteArray &text, int ms = 10000) const;
    bool waitForInputCount(const QByteArray &text, int count, int ms = 10000) const;
    bool waitForNoEngine(int ms = 10000) const;

    QString path() const { return program; }
    // Where the record and the script lie. When the root is not writable or is bound elsewhere,
    // give this as STANDIN_DIR in the player's environment.
    QString folder() const { return standinFolder; }
    // The program as the player calls it, when the root is bound to another place for it; all that
    // is bound there is told apart by a "NAME=value" of the environment.
    void setSeenAs(const QString &name, const QByteArray &environment);

private:
    void add(const QByteArray &statement);
    void writeScript() const;
    QList<qint64> recorders() const;

    QString standinFolder;
    QString program;
    QString programName;
    QByteArray environmentMark;
    QByteArrayList script;
};
