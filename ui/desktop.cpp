#include "desktop.h"

#include "mainwindow.h"
#include "mprisobject.h"
#include "screenkeeper.h"

#include <QDBusConnection>
#include <QEvent>
#include <QFileInfo>
#include <QThread>
#include <QUrl>

#include <utility>

namespace {

constexpr int kSettling = 20; // ms

// One that comes too late for its window must not be taken for that of another.
QString newName()
{
    static int count = 0;
    return QStringLiteral("desktop%1").arg(++count);
}

// The others start something: a bus, or any program.
bool isOfRunningBus(const QString &address)
{
    return address.startsWith(QLatin1String("unix:")) || address.startsWith(QLatin1String("tcp:"));
}

} // namespace

Desktop::Desktop(MainWindow &window)
    : window(window)
    , connection(newName())
{
    settling.setSingleShot(true);
    settling.setInterval(kSettling);
    connect(&settling, &QTimer::timeout, this, [this] { tell(); });
    window.installEventFilter(this);
}

Desktop::~Desktop()
{
    if (!screen)
        return; // not connected, or not yet: that would be waited for here
    screen.reset();
    mpris.reset();
    QDBusConnection::disconnectFromBus(connection);
}

QString Desktop::busAddress()
{
    const QString named = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!named.isEmpty()) {
        QStringList addresses;
        for (const QString &address : named.split(';')) {
            if (isOfRunningBus(address))
                addresses << address;
        }
        return addresses.join(';');
    }
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const QString socket = folder + "/bus";
    if (folder.isEmpty() || !QFileInfo::exists(socket))
        return QString();
    return "unix:path=" + QString::fromLatin1(QUrl::toPercentEncoding(socket, "/", "~"));
}

bool Desktop::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == &window && event->type() == QEvent::Paint) {
        window.removeEventFilter(this);
        QMetaObject::invokeMethod(
            this, [this] { connectToBus(); }, Qt::QueuedConnection);
    }
    return false;
}

// The toolkit waits for the bus's answer, so it does that elsewhere.
void Desktop::connectToBus()
{
    const QString address = busAddress();
    if (address.isEmpty())
        return;
    QThread *connecting = QThread::create(
        [address, name = connection] { QDBusConnection::connectToBus(address, name); });
    connect(connecting, &QThread::finished, this, [this] { begin(); });
    connect(connecting, &QThread::finished, connecting, &QObject::deleteLater);
    connecting->start();
}

void Desktop::begin()
{
    const QDBusConnection bus(connection);
    if (!bus.isConnected())
        return;
    screen = std::make_unique<ScreenKeeper>(bus);
    mpris = std::make_unique<MprisObject>(bus, window);
    connect(&window, SIGNAL(changed()), this, SLOT(recvChanged()));
    connect(&window, SIGNAL(sought()), this, SLOT(recvSought()));
    tell();
}

void Desktop::recvChanged()
{
    if (!settling.isActive())
        settling.start();
}

void Desktop::recvSought()
{
    seekToTell = true;
    recvChanged();
}

void Desktop::tell()
{
    const PlayerView view = window.view();
    screen->keepOn(view.status == PlayerView::Playing);
    mpris->show(view, std::exchange(seekToTell, false));
}

#include "moc_desktop.cpp"
