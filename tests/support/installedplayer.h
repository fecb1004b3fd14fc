// The real program, installed into a folder of its own that it sees at the fixed install root
// (/opt/apps/com.quelmark.player), with an empty HOME.
//
//     InstalledPlayer player;
//     player.setConfig("[DEFAULT]\ndecode_flag=1\n");
//     StandInEngine &engine = player.standIn();     // leave out for the real engine
//     QVERIFY(player.start({clip}));
//     QVERIFY(player.window());
//     QVERIFY(engine.waitForStarts(1));
//     player.close();                               // or signal(SIGTERM)
//     QVERIFY(player.waitForEnd());
//     QCOMPARE(player.exitCode(), 0);
//     QVERIFY(player.engines().isEmpty());
//
// The destructor ends the player and everything that came from it.
#pragma once

#include "enginebench.h"

#include <QByteArray>
#include <QMap>
#include <QProcess>
#include <QScopedPointer>
#include <QStringList>
#include <QTemporaryDir>

class InstalledPlayer {
public:
    enum class Root { Normal, ReadOnly, Missing }; // Missing: and can't be made

    // Lays out the install root as "cmake --install" does.
    InstalledPlayer();
    // A second player of the same install root, with a home and a stand-in engine of its own. To go
    // before the other one.
    explicit InstalledPlayer(const InstalledPlayer *beside);
    ~InstalledPlayer();
    InstalledPlayer(const InstalledPlayer &) = delete;
    InstalledPlayer &operator=(const InstalledPlayer &) = delete;

    // Before the start. Paths are those outside; the program sees root() at rootInside().
    void setRoot(Root kind) { rootKind = kind; }
    void setConfig(const QByteArray &ini); // replaces the settings file
    void setHistory(const QByteArray &json);
    void setEnvironment(const QString &name, const QString &value);
    // Only the install root and the home can be written to: a file dialog can delete files.
    void confine() { confined = true; }
    // Starts this program, which becomes the player, in the player's place.
    void setLauncher(const QString &program) { launcher = program; }
    StandInEngine &standIn(); // takes the real engine's place
    void removeEngine();

    QString root() const { return rootFolder; }
    static QString rootInside() { return QStringLiteral("/opt/apps/com.quelmark.player"); }
    QString home() const { return base.filePath(QStringLiteral("home")); }
    QString configFile() const { return root() + "/files/config/config.ini"; }
    QString historyFile() const { return root() + "/files/config/config.json"; }
    QString enginePath() const { return root() + "/files/bin/mplayer"; }

    // Starts the program on these locations and waits until its process runs.
    bool start(const QStringList &locations = QStringList());
    qint64 pid() const { return playerPid; } // of the player itself
    bool isRunning() const;
    qulonglong window(int ms = 15000) const; // waits for the main window; 0 when none comes
    // Waits for a message box or dialog of the player with this title; 0 when none comes.
    qulonglong dialog(const QString &title, int ms = 15000) const;

    void signal(int number); // to the player itself
    void close(); // through the window manager, as a person does
    bool waitForEnd(int ms = 15000);
    // After the end: what the program returned, or 128 + the signal that ended it.
    int exitCode() const { return process.exitCode(); }

    // What the program wrote to its error channel so far, by lines.
    QStringList log();
    bool logContains(const QString &text);
    bool waitForLog(const QString &text, int ms = 15000);

    // The window the engine draws into, or 0 before it exists. Screen::geometry() tells where it
    // is.
    qulonglong playArea();
    // A value of the settings file, as text; empty when it is not there.
    QString setting(const QString &key) const;

    // Living engines of this player, real or stand-in, and all of its processes.
    QList<qint64> engines() const;
    QList<qint64> processes() const;

private:
    QByteArray mark() const;
    QStringList sandbox() const;
    QProcessEnvironment environment() const;

    QTemporaryDir base;
    QString rootFolder;
    QString standInRoot; // where the stand-in engine lies
    Root rootKind = Root::Normal;
    bool confined = false;
    QString launcher = rootInside() + "/files/bin/tarnivo-player";
    QMap<QString, QString> variables;
    QScopedPointer<StandInEngine> standInEngine;
    QProcess process;
    QByteArray errors;
    qint64 playerPid = 0;
};
