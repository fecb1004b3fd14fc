// A session bus of the test's own, and what is on it.
//
//     SessionBus bus; // while it lives, DBUS_SESSION_BUS_ADDRESS is its address
//     ScreenService service(bus, {"org.freedesktop.ScreenSaver"},
//     {"/org/freedesktop/ScreenSaver"});
//     ... play a film ...
//     QTRY_COMPARE(service.held.size(), 1);
#pragma once

#include "testsupport.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusReply>
#include <QDBusServiceWatcher>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <memory>

class SessionBus {
public:
    SessionBus()
    {
        // No folder of services: nothing is started by a name.
        writeFile(dir.filePath("bus.conf"),
                  "<busconfig><type>session</type><limit name=\"max_replies_per_connection\">50000"
                  "</limit><listen>unix:path=" +
                      dir.filePath("socket").toUtf8() +
                      "</listen><policy context=\"default\"><allow send_destination=\"*\" "
                      "eavesdrop=\"true\"/><allow eavesdrop=\"true\"/><allow own=\"*\"/>"
                      "</policy></busconfig>");
        daemon.setStandardErrorFile(QProcess::nullDevice());
        daemon.start("dbus-daemon",
                     {"--nofork", "--nopidfile", "--print-address=1",
                      "--config-file=" + dir.filePath("bus.conf")});
        while (!daemon.canReadLine() && daemon.waitForReadyRead(15000)) { }
        address = QString::fromUtf8(daemon.readLine()).trimmed();
        if (address.isEmpty())
            qFatal("no bus");
        variable =
            std::make_unique<EnvironmentVariable>("DBUS_SESSION_BUS_ADDRESS", address.toUtf8());
    }
    ~SessionBus()
    {
        go();
        for (const QString &name : names)
            QDBusConnection::disconnectFromBus(name);
        end();
    }
    SessionBus(const SessionBus &) = delete;
    SessionBus &operator=(const SessionBus &) = delete;

    void stand() { kill(pid_t(daemon.processId()), SIGSTOP); }
    void go() { kill(pid_t(daemon.processId()), SIGCONT); }
    void end()
    {
        daemon.kill();
        daemon.waitForFinished();
    }

    // One more connection.
    QDBusConnection connection()
    {
        static int count = 0;
        names << QString("bench%1").arg(++count);
        return QDBusConnection::connectToBus(address, names.last());
    }

    QString address;

private:
    QTemporaryDir dir;
    QProcess daemon;
    QStringList names;
    std::unique_ptr<EnvironmentVariable> variable;
};

// Keeps screens on, and takes note of it.
class ScreenService : public QDBusVirtualObject {
public:
    ScreenService(SessionBus &bus, const QStringList &names, const QStringList &paths)
        : own(bus.connection())
        , names(names)
        , watcher(QString(), own, QDBusServiceWatcher::WatchForUnregistration)
    {
        for (const QString &path : paths)
            own.registerVirtualObject(path, this, QDBusConnection::SingleNode);
        comeBack();
        connect(&watcher, &QDBusServiceWatcher::serviceUnregistered, this,
                [this](const QString &client) {
                    watcher.removeWatchedService(client);
                    held.removeAll(client);
                });
    }

    void comeBack()
    {
        for (const QString &name : names)
            own.registerService(name);
    }
    // As if it had crashed: it knows nothing of before when it comes back.
    void goAway()
    {
        for (const QString &name : names)
            own.unregisterService(name);
        held.clear();
        clients.clear();
    }
    // Without a word: the bus ends what waits for it.
    void die()
    {
        unanswered.clear();
        QDBusConnection::disconnectFromBus(own.name());
        own = QDBusConnection("none");
        watcher.setConnection(own);
    }
    void answerAll()
    {
        silent = false;
        while (!unanswered.isEmpty())
            answer(unanswered.takeFirst());
    }

    QString introspect(const QString &) const override { return QString(); }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &) override
    {
        QStringList call{message.path(), message.interface(), message.member()};
        for (const QVariant &argument : message.arguments())
            call << argument.toString();
        calls << call.join(' ');
        if (message.member() == "Inhibit" && silent)
            unanswered << message;
        else if (message.member() == "Inhibit")
            answer(message);
        else if (message.member() == "UnInhibit")
            held.removeOne(clients.take(message.arguments().at(0).toUInt()));
        return true;
    }

    bool silent = false; // it answers with answerAll() only
    bool refuses = false;
    QStringList calls; // "PATH INTERFACE METHOD ARGUMENTS"
    QStringList held; // who keeps the screen on, once for each time
    QList<QDBusMessage> unanswered;

private:
    void answer(const QDBusMessage &message)
    {
        if (refuses) {
            own.send(message.createErrorReply(QDBusError::NotSupported, "no"));
            return;
        }
        watcher.addWatchedService(message.service());
        held << message.service();
        clients.insert(++cookie, message.service());
        own.send(message.createReply(cookie));
    }

    QDBusConnection own;
    QStringList names;
    QDBusServiceWatcher watcher;
    QMap<uint, QString> clients; // by what they were given
    uint cookie = 40;
};

// A program that steers the player.
class BusClient {
public:
    static constexpr char player[] = "org.mpris.MediaPlayer2.tarnivo_player";
    static constexpr char root[] = "org.mpris.MediaPlayer2";
    static constexpr char playing[] = "org.mpris.MediaPlayer2.Player";
    static constexpr char properties[] = "org.freedesktop.DBus.Properties";

    explicit BusClient(SessionBus &bus)
        : own(bus.connection())
    {
    }

    QDBusMessage call(const QString &interface, const QString &method,
                      const QVariantList &arguments = {}, const QString &name = player)
    {
        QDBusMessage message =
            QDBusMessage::createMethodCall(name, "/org/mpris/MediaPlayer2", interface, method);
        message.setArguments(arguments);
        return answerTo(message);
    }
    // "" when it was obeyed.
    QString ask(const QString &method, const QVariantList &arguments = {})
    {
        const QDBusMessage answer = call(playing, method, arguments);
        return answer.type() == QDBusMessage::ErrorMessage ? answer.errorName() : QString();
    }
    QVariant get(const QString &name, const QString &interface = playing)
    {
        const QDBusMessage answer = call(properties, "Get", {interface, name});
        return qvariant_cast<QDBusVariant>(answer.arguments().value(0)).variant();
    }
    QString set(const QString &name, const QVariant &value, const QString &interface = playing)
    {
        const QDBusMessage answer =
            call(properties, "Set", {interface, name, QVariant::fromValue(QDBusVariant(value))});
        return answer.type() == QDBusMessage::ErrorMessage ? answer.errorName() : QString();
    }
    QVariantMap all(const QString &interface = playing)
    {
        return qdbus_cast<QVariantMap>(
            call(properties, "GetAll", {interface}).arguments().value(0));
    }
    QVariantMap metadata() { return qdbus_cast<QVariantMap>(get("Metadata")); }
    // Whether a name is owned by anybody.
    bool sees(const QString &name)
    {
        QDBusMessage message =
            QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                           "org.freedesktop.DBus", "NameHasOwner");
        message << name;
        return answerTo(message).arguments().value(0).toBool();
    }

    QDBusConnection own;

private:
    // The player may be in this very thread.
    QDBusMessage answerTo(const QDBusMessage &message) const
    {
        const QDBusPendingCall answer = own.asyncCall(message);
        if (!QTest::qWaitFor([&] { return answer.isFinished(); }, 30000))
            qFatal("no answer from the bus");
        return answer.reply();
    }
};
