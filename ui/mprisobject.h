// The player on the session bus: what MPRIS 2 defines for it, and nothing else.
#pragma once

#include "mpris.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusVirtualObject>
#include <QElapsedTimer>

#include <functional>

class MainWindow;
class QDBusMessage;

// Clients see the window's view() and steer the window by the verbs that its buttons use. What they
// ask for is answered before it is done, because what is done may open a box.
class MprisObject : public QDBusVirtualObject {
    Q_OBJECT

public:
    MprisObject(const QDBusConnection &bus, MainWindow &window, QObject *parent = nullptr);
    ~MprisObject() override;

    // Tells the clients what is new; sought: the film was sent to another place.
    void show(const PlayerView &view, bool sought);

    QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

private:
    // What a client is told instead of being obeyed; NoError if it is.
    struct Refusal {
        QDBusError::ErrorType type = QDBusError::NoError;
        QString text;
    };
    struct Method {
        const char *interface;
        const char *name;
        const char *signature;
        Refusal (MprisObject::*call)(const QVariantList &);
    };
    static const Method methods[];

    void requestName(const QString &name, bool mayBeTaken);
    void act(const std::function<void()> &action);
    void open(const std::function<void()> &action);
    void toggle();
    QVariantMap propertiesOf(const QString &interface) const;
    QDBusMessage answerCall(const QDBusMessage &message, const Method &method);
    static QDBusMessage answerWith(const QDBusMessage &message, const Refusal &refusal);
    QDBusMessage answerProperties(const QDBusMessage &message);
    QDBusMessage setProperty(const QDBusMessage &message);
    Refusal set(const QString &property, const QVariant &value);
    bool setRate(double rate);
    void tellChanges(const char *interface, const QVariantMap &before, const QVariantMap &now);
    double expectedPosition() const;
    void emitSignal(const char *interface, const char *name, const QVariantList &arguments);

    Refusal raise(const QVariantList &);
    Refusal quit(const QVariantList &);
    Refusal next(const QVariantList &);
    Refusal previous(const QVariantList &);
    Refusal pause(const QVariantList &);
    Refusal playPause(const QVariantList &);
    Refusal stop(const QVariantList &);
    Refusal play(const QVariantList &);
    Refusal seek(const QVariantList &arguments);
    Refusal setPosition(const QVariantList &arguments);
    Refusal openUri(const QVariantList &arguments);

    QDBusConnection bus;
    MainWindow &window;
    PlayerView shown; // what the clients know
    double believed = 0; // seconds; from there they count on
    QElapsedTimer since; // when it was that
};
