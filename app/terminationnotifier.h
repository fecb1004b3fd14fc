// SIGTERM, SIGINT and SIGHUP as a signal of the event loop.
#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

// While one exists, the three signals write a byte into a pipe (nothing else is safe in a handler)
// and the event loop emits requested(), then leaves every nested event loop (open dialogs and
// menus) and the main one.
class TerminationNotifier : public QObject {
    Q_OBJECT

public:
    explicit TerminationNotifier(QObject *parent = nullptr);
    ~TerminationNotifier() override;

    // True once requested() was emitted, also before the main event loop runs.
    bool isPending() const { return pending; }

    // True from the signal's arrival on, even while no event loop runs to take it.
    static bool isRequested();

    // Can be read from the signal's arrival until an event loop takes it: to wait for something
    // else and a signal at once. -1 while there is no notifier.
    static int wakeDescriptor();

    // Ends the player as one of the signals does. Without a notifier nothing happens.
    static void request();

signals:
    void requested();

private:
    void takeSignal();

    QSocketNotifier *notifier = nullptr;
    QTimer leaveLoops;
    bool pending = false;
};
