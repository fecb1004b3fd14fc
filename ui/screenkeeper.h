// Keeps the screen from going dark, on desktops that blank it by themselves.
#pragma once

#include <QDBusConnection>
#include <QObject>

class QDBusPendingCallWatcher;

// Asks the desktop's services for it, the first of them that takes it on. What was taken on is held
// by the connection: it ends with the player, however that ends. Nothing is waited for.
class ScreenKeeper : public QObject {
    Q_OBJECT

public:
    explicit ScreenKeeper(const QDBusConnection &bus, QObject *parent = nullptr);

    void keepOn(bool on);

private slots:
    void recvOwnerChanged(const QString &name, const QString &before, const QString &now);

private:
    void ask(int service);
    void takeAnswer(QDBusPendingCallWatcher *answer, int service);
    void release(uint cookie, int service);

    QDBusConnection bus;
    bool wanted = false;
    bool asking = false; // one call is on its way, which may be answered late or never
    bool askAgain = false; // a service came up meanwhile
    int holder = -1; // who has taken it on
    uint held = 0; // what it goes by there
};
