// Uses a running player at random: clicks, double clicks, drags, the wheel, keys, in whatever
// window is open. What it does in its n-th step follows from the seed, n and what is on the screen,
// so that the same seed does the same again as long as the player answers in the same way.
//
// It keeps itself in play. A window that was minimised or moved away is brought back, a dialog or
// menu that was looked at for a while is closed, in a file dialog a film is chosen as often as
// none, and when nothing has played for some time, or for some steps, a film is opened.
//
//     Monkey monkey(seed, films, log);
//     monkey.takeHold(player);               // after every start
//     while (player.isRunning() && monkey.fault().isEmpty())
//         monkey.step();
#pragma once

#include "windowview.h"

#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QPoint>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QString>
#include <QStringList>

class InstalledPlayer;

class Monkey {
public:
    // films are typed into file dialogs: names without blanks and quotes.
    Monkey(quint32 seed, const QStringList &films, const QString &logFile);
    ~Monkey();
    Monkey(const Monkey &) = delete;
    Monkey &operator=(const Monkey &) = delete;

    void takeHold(InstalledPlayer &player);
    // Looks, does one thing, and waits a little.
    void step();
    // Closes what is open, then the window. Until it is gone, step by step.
    void stepTowardsEnd();

    int steps() const { return number; }
    int count(const QString &kind) const { return counts.value(kind); }
    QString report() const; // what was done how often
    QString fault() const { return found; } // of the player, seen from the outside

    void note(const QString &text); // a line of the log
    void tally(const QString &kind) { ++counts[kind]; }
    QRandomGenerator &dice() { return generator; }

private:
    bool lookAround();
    void noticeWindows();
    void noticeEngines();
    bool comeBack();
    bool isTimeForAFilm() const;

    void inWindow();
    void inDialog();
    void inMenu();
    void leave(const QString &kind);

    void clickSomewhere();
    void drag(const QPoint &from, const QPoint &to, int button);
    void dragSomewhere();
    void resizeWithTheWindowManager();
    void openAFilm();
    void chooseInFileDialog();
    void chooseInMenu();
    void pressAKey(const QStringList &keys);
    void pause();
    void startTool();

    bool chance(int percent);
    int pick(const QList<int> &weights);
    QString pick(const QStringList &from);
    QPoint pointIn(const QRect &area);
    QPoint interestingPoint();
    void act(const QString &kind, const QString &what, const QStringList &xdotool);
    void clickAt(const QString &kind, const QPoint &point, int button, int times = 1);

    const quint32 seed;
    const QStringList films;
    QFile log;
    QProcess tool; // takes a line of xdotool's commands at a time
    QElapsedTimer clock;
    QRandomGenerator generator;
    WindowView view;

    InstalledPlayer *player = nullptr;
    qulonglong mainWindow = 0;
    QList<SeenWindow> windows;
    SeenWindow main;
    SeenWindow top; // the uppermost that is neither the main window nor a tool tip; id 0 for none
    bool mainIsThere = false;

    int number = 0;
    QMap<QString, int> counts;
    QString found;
    QSet<qulonglong> knownDialogs;
    QSet<qint64> knownEngines;
    qulonglong visited = 0; // the dialog or menu of the last step
    int patience = 0; // steps until it is left
    qint64 leavingSince = 0; // ms, when that began; 0 before
    bool menuWasOpen = false;
    bool wasFullScreen = false;
    qint64 lastPlay = 0; // ms, when an engine was last seen
    bool wantsFilm = false; // in the file dialog that it has opened
    int lastFilm = 0; // step at which a film was last opened
};
