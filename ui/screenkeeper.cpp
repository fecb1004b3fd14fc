#include "screenkeeper.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <iterator>
#include <limits>
#include <utility>

namespace {

const struct {
    const char *name;
    const char *path;
    const char *interface;
} kServices[] = {
    {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver", "org.freedesktop.ScreenSaver"},
    {"org.freedesktop.ScreenSaver", "/ScreenSaver", "org.freedesktop.ScreenSaver"},
    {"org.freedesktop.PowerManagement.Inhibit", "/org/freedesktop/PowerManagement/Inhibit",
     "org.freedesktop.PowerManagement.Inhibit"},
    {"org.freedesktop.PowerManagement", "/org/freedesktop/PowerManagement/Inhibit",
     "org.freedesktop.PowerManagement.Inhibit"},
};
constexpr int kServiceCount = int(std::size(kServices));

// What comes late must still be known for what it is, to be given back.
constexpr int kForEver = std::numeric_limits<int>::max();

// A service that does not run blanks no screen, so none is started.
QDBusMessage callOf(int service, const char *method, const QVariantList &arguments)
{
    const auto &row = kServices[service];
    QDBusMessage call = QDBusMessage::createMethodCall(row.name, row.path, row.interface, method);
    call.setAutoStartService(false);
    call.setArguments(arguments);
    return call;
}

} // namespace

// Without a sender's name, which the toolkit would look up and wait for.
ScreenKeeper::ScreenKeeper(const QDBusConnection &bus, QObject *parent)
    : QObject(parent)
    , bus(bus)
{
    for (const char *name :
         {kServices[0].name, kServices[kServiceCount - 2].name, kServices[kServiceCount - 1].name})
        this->bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus"),
                          QStringLiteral("org.freedesktop.DBus"),
                          QStringLiteral("NameOwnerChanged"), {QString(name)}, QString(), this,
                          SLOT(recvOwnerChanged(QString, QString, QString)));
}

void ScreenKeeper::keepOn(bool on)
{
    if (wanted == on)
        return;
    wanted = on;
    if (wanted && holder < 0 && !asking)
        ask(0);
    if (!wanted && holder >= 0) {
        release(held, holder);
        holder = -1;
    }
}

void ScreenKeeper::ask(int service)
{
    asking = true;
    const QDBusMessage call = callOf(
        service, "Inhibit", {QStringLiteral("Tarnivo播放器"), QStringLiteral("正在播放影片")});
    auto *answer = new QDBusPendingCallWatcher(bus.asyncCall(call, kForEver), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [=] { takeAnswer(answer, service); });
}

void ScreenKeeper::takeAnswer(QDBusPendingCallWatcher *answer, int service)
{
    answer->deleteLater();
    asking = false;
    const bool again = std::exchange(askAgain, false);
    const QDBusPendingReply<uint> reply = *answer;
    if (!reply.isError() && !wanted) {
        release(reply.value(), service);
    } else if (!reply.isError()) {
        holder = service;
        held = reply.value();
    } else if (wanted && (again || service + 1 < kServiceCount)) {
        ask(again ? 0 : service + 1);
    }
}

void ScreenKeeper::release(uint cookie, int service)
{
    bus.send(callOf(service, "UnInhibit", {cookie}));
}

// A service that has gone holds nothing any more; one that came up may take it on.
void ScreenKeeper::recvOwnerChanged(const QString &name, const QString &, const QString &now)
{
    if (holder >= 0 && name == QLatin1String(kServices[holder].name))
        holder = -1;
    if (!wanted || holder >= 0)
        return;
    if (asking)
        askAgain = askAgain || !now.isEmpty();
    else
        ask(0);
}

#include "moc_screenkeeper.cpp"
