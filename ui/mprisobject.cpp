#include "mprisobject.h"

#include "mainwindow.h"
#include "standstill.h"
#include "terminationnotifier.h"

#include <QApplication>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

constexpr char kPath[] = "/org/mpris/MediaPlayer2";
constexpr char kRoot[] = "org.mpris.MediaPlayer2";
constexpr char kPlayer[] = "org.mpris.MediaPlayer2.Player";
constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
constexpr char kName[] = "org.mpris.MediaPlayer2.tarnivo_player";

constexpr uint kDoNotQueue = 4; // of RequestName
constexpr uint kAlreadyTaken = 3;

// Positions are told in whole seconds and half a second apart.
constexpr double kJump = 2.5; // seconds

constexpr char kInterfaces[] = R"(
  <interface name="org.mpris.MediaPlayer2">
    <method name="Raise"/>
    <method name="Quit"/>
    <property name="CanQuit" type="b" access="read"/>
    <property name="Fullscreen" type="b" access="readwrite"/>
    <property name="CanSetFullscreen" type="b" access="read"/>
    <property name="CanRaise" type="b" access="read"/>
    <property name="HasTrackList" type="b" access="read"/>
    <property name="Identity" type="s" access="read"/>
    <property name="DesktopEntry" type="s" access="read"/>
    <property name="SupportedUriSchemes" type="as" access="read"/>
    <property name="SupportedMimeTypes" type="as" access="read"/>
  </interface>
  <interface name="org.mpris.MediaPlayer2.Player">
    <method name="Next"/>
    <method name="Previous"/>
    <method name="Pause"/>
    <method name="PlayPause"/>
    <method name="Stop"/>
    <method name="Play"/>
    <method name="Seek">
      <arg name="Offset" type="x" direction="in"/>
    </method>
    <method name="SetPosition">
      <arg name="TrackId" type="o" direction="in"/>
      <arg name="Position" type="x" direction="in"/>
    </method>
    <method name="OpenUri">
      <arg name="Uri" type="s" direction="in"/>
    </method>
    <signal name="Seeked">
      <arg name="Position" type="x"/>
    </signal>
    <property name="PlaybackStatus" type="s" access="read"/>
    <property name="LoopStatus" type="s" access="readwrite"/>
    <property name="Rate" type="d" access="readwrite"/>
    <property name="Shuffle" type="b" access="readwrite"/>
    <property name="Metadata" type="a{sv}" access="read"/>
    <property name="Volume" type="d" access="readwrite"/>
    <property name="Position" type="x" access="read">
      <annotation name="org.freedesktop.DBus.Property.EmitsChangedSignal" value="false"/>
    </property>
    <property name="MinimumRate" type="d" access="read"/>
    <property name="MaximumRate" type="d" access="read"/>
    <property name="CanGoNext" type="b" access="read"/>
    <property name="CanGoPrevious" type="b" access="read"/>
    <property name="CanPlay" type="b" access="read"/>
    <property name="CanPause" type="b" access="read"/>
    <property name="CanSeek" type="b" access="read"/>
    <property name="CanControl" type="b" access="read">
      <annotation name="org.freedesktop.DBus.Property.EmitsChangedSignal" value="false"/>
    </property>
  </interface>
)";

// A box asks the person something, or a menu is open for a row: what would open a box, or move the
// rows, is not for now.
bool isBusy() { return QApplication::activeModalWidget() || QApplication::activePopupWidget(); }

const QString kBusy = QStringLiteral("a dialog is open");

} // namespace

const MprisObject::Method MprisObject::methods[] = {
    {kRoot, "Raise", "", &MprisObject::raise},
    {kRoot, "Quit", "", &MprisObject::quit},
    {kPlayer, "Next", "", &MprisObject::next},
    {kPlayer, "Previous", "", &MprisObject::previous},
    {kPlayer, "Pause", "", &MprisObject::pause},
    {kPlayer, "PlayPause", "", &MprisObject::playPause},
    {kPlayer, "Stop", "", &MprisObject::stop},
    {kPlayer, "Play", "", &MprisObject::play},
    {kPlayer, "Seek", "x", &MprisObject::seek},
    {kPlayer, "SetPosition", "ox", &MprisObject::setPosition},
    {kPlayer, "OpenUri", "s", &MprisObject::openUri},
};

MprisObject::MprisObject(const QDBusConnection &bus, MainWindow &window, QObject *parent)
    : QDBusVirtualObject(parent)
    , bus(bus)
    , window(window)
    , shown(window.view())
{
    QMetaType::registerComparators<QDBusObjectPath>(); // else none is like another
    believed = shown.position;
    since.start();
    this->bus.registerVirtualObject(kPath, this, QDBusConnection::SingleNode);
    requestName(kName, true);
}

MprisObject::~MprisObject() { bus.unregisterObject(kPath); }

// A further player goes by its process as well.
void MprisObject::requestName(const QString &name, bool mayBeTaken)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName");
    call << name << kDoNotQueue;
    auto *answer = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [=] {
        answer->deleteLater();
        const QDBusPendingReply<uint> reply = *answer;
        if (mayBeTaken && !reply.isError() && reply.value() == kAlreadyTaken)
            requestName(name + ".instance" + QString::number(QApplication::applicationPid()),
                        false);
    });
}

void MprisObject::show(const PlayerView &view, bool sought)
{
    tellChanges(kRoot, mpris::rootProperties(shown), mpris::rootProperties(view));
    tellChanges(kPlayer, mpris::playerProperties(shown), mpris::playerProperties(view));
    const bool isNew = view.address != shown.address || view.status == PlayerView::Stopped;
    const bool jumped = sought || std::abs(view.position - expectedPosition()) > kJump;
    if (isNew || jumped || view.status != shown.status || view.speed != shown.speed) {
        believed = view.position;
        since.start();
    }
    shown = view;
    if (jumped && !isNew)
        emitSignal(kPlayer, "Seeked", {mpris::microseconds(view.position)});
}

// Where a client takes the film to be, which it was told nothing about since.
double MprisObject::expectedPosition() const
{
    if (shown.status != PlayerView::Playing)
        return believed;
    return believed + since.elapsed() / 1000.0 * shown.speed / 100;
}

void MprisObject::tellChanges(const char *interface, const QVariantMap &before,
                              const QVariantMap &now)
{
    QVariantMap changes;
    for (auto property = now.cbegin(); property != now.cend(); ++property) {
        if (before.value(property.key()) != property.value())
            changes.insert(property.key(), property.value());
    }
    if (!changes.isEmpty())
        emitSignal(kProperties, "PropertiesChanged", {QString(interface), changes, QStringList()});
}

void MprisObject::emitSignal(const char *interface, const char *name, const QVariantList &arguments)
{
    QDBusMessage signal = QDBusMessage::createSignal(kPath, interface, name);
    signal.setArguments(arguments);
    bus.send(signal);
}

QString MprisObject::introspect(const QString &) const { return kInterfaces; }

bool MprisObject::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    const QString interface = message.interface();
    const auto isMeant = [&](const Method &row) {
        return message.member() == QLatin1String(row.name) &&
            (interface.isEmpty() || interface == QLatin1String(row.interface));
    };
    const auto *row = std::find_if(std::begin(methods), std::end(methods), isMeant);
    QDBusMessage answer;
    if (interface == QLatin1String(kProperties))
        answer = answerProperties(message);
    else if (row != std::end(methods))
        answer = answerCall(message, *row);
    else if (interface == QLatin1String(kRoot) || interface == QLatin1String(kPlayer))
        answer = message.createErrorReply(QDBusError::UnknownMethod, "no such method");
    else
        return false; // the toolkit answers
    if (message.isReplyRequired())
        connection.send(answer);
    return true;
}

QDBusMessage MprisObject::answerCall(const QDBusMessage &message, const Method &method)
{
    if (message.signature() != QLatin1String(method.signature))
        return message.createErrorReply(QDBusError::InvalidArgs, "wrong signature");
    return answerWith(message, (this->*method.call)(message.arguments()));
}

QDBusMessage MprisObject::answerWith(const QDBusMessage &message, const Refusal &refusal)
{
    return refusal.type == QDBusError::NoError
        ? message.createReply()
        : message.createErrorReply(refusal.type, refusal.text);
}

// As posted events come in their order, whoever has got the answer to one call finds the next one
// done after it.
void MprisObject::act(const std::function<void()> &action)
{
    const auto doIt = [this, action] {
        if (window.isVisible()) // not closed in the meantime
            action();
    };
    QMetaObject::invokeMethod(
        this,
        [this, doIt] {
            if (!Standstill::postpone(this, doIt))
                doIt();
        },
        Qt::QueuedConnection);
}

// For what plays something else.
void MprisObject::open(const std::function<void()> &action)
{
    act([action] {
        if (!isBusy())
            action();
    });
}

QVariantMap MprisObject::propertiesOf(const QString &interface) const
{
    const PlayerView view = window.view();
    if (interface == QLatin1String(kRoot))
        return mpris::rootProperties(view);
    if (interface != QLatin1String(kPlayer))
        return {};
    QVariantMap properties = mpris::playerProperties(view);
    properties.insert("Position", mpris::microseconds(view.position));
    return properties;
}

QDBusMessage MprisObject::answerProperties(const QDBusMessage &message)
{
    const QString signature = message.signature();
    const bool all = message.member() == QLatin1String("GetAll") && signature == QLatin1String("s");
    const bool get = message.member() == QLatin1String("Get") && signature == QLatin1String("ss");
    if (message.member() == QLatin1String("Set") && signature == QLatin1String("ssv"))
        return setProperty(message);
    if (!all && !get)
        return message.createErrorReply(QDBusError::UnknownMethod, "no such method");
    const QVariantMap properties = propertiesOf(message.arguments().at(0).toString());
    if (properties.isEmpty())
        return message.createErrorReply(QDBusError::UnknownInterface, "no such interface");
    if (all)
        return message.createReply(properties);
    const QVariant value = properties.value(message.arguments().at(1).toString());
    if (!value.isValid())
        return message.createErrorReply(QDBusError::UnknownProperty, "no such property");
    return message.createReply(QVariant::fromValue(QDBusVariant(value)));
}

QDBusMessage MprisObject::setProperty(const QDBusMessage &message)
{
    const QVariantMap properties = propertiesOf(message.arguments().at(0).toString());
    const QString name = message.arguments().at(1).toString();
    const QVariant value = qvariant_cast<QDBusVariant>(message.arguments().at(2)).variant();
    if (!properties.contains(name))
        return message.createErrorReply(QDBusError::UnknownProperty, "no such property");
    static const QStringList writable{"Fullscreen", "LoopStatus", "Rate", "Shuffle", "Volume"};
    if (!writable.contains(name))
        return message.createErrorReply(QDBusError::PropertyReadOnly, "it can only be read");
    if (value.userType() != properties.value(name).userType())
        return message.createErrorReply(QDBusError::InvalidArgs, "wrong type");
    return answerWith(message, set(name, value));
}

MprisObject::Refusal MprisObject::set(const QString &property, const QVariant &value)
{
    Refusal bad{QDBusError::InvalidArgs, "no such value"};
    if (property == QLatin1String("Fullscreen")) {
        act([this, full = value.toBool()] {
            if (full != window.view().fullScreen)
                full ? window.enterFullScreen() : window.showNormalWin();
        });
    } else if (property == QLatin1String("LoopStatus")) {
        if (mpris::modeOfLoop(value.toString(), 0) < 0)
            return bad;
        act([this, status = value.toString()] {
            window.changePlayMode(mpris::modeOfLoop(status, window.view().mode));
        });
    } else if (property == QLatin1String("Shuffle")) {
        act([this, shuffle = value.toBool()] {
            window.changePlayMode(mpris::modeOfShuffle(shuffle, window.view().mode));
        });
    } else if (property == QLatin1String("Rate")) {
        return setRate(value.toDouble()) ? Refusal() : bad;
    } else {
        const int volume = mpris::volumeOf(value.toDouble());
        if (volume < 0)
            return bad;
        act([this, volume] { window.changeVolume(volume); });
    }
    return {};
}

// Only a playing engine is told: a paused one would go on, and the next film has its own speed.
bool MprisObject::setRate(double rate)
{
    const int speed = mpris::speedOf(rate);
    if (speed < 0)
        return false;
    act([this, speed] {
        const PlayerView view = window.view();
        if (speed == 0)
            window.pause();
        else if (view.status == PlayerView::Playing && view.speed != speed)
            window.recvChangeSpeed(speed);
    });
    return true;
}

MprisObject::Refusal MprisObject::raise(const QVariantList &)
{
    act([this] {
        window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
        window.raise();
        window.activateWindow();
    });
    return {};
}

// Leaves open dialogs as well.
MprisObject::Refusal MprisObject::quit(const QVariantList &)
{
    TerminationNotifier::request();
    return {};
}

MprisObject::Refusal MprisObject::next(const QVariantList &)
{
    open([this] { window.skip(1); });
    return {};
}

MprisObject::Refusal MprisObject::previous(const QVariantList &)
{
    open([this] { window.skip(-1); });
    return {};
}

MprisObject::Refusal MprisObject::pause(const QVariantList &)
{
    act([this] { window.pause(); });
    return {};
}

MprisObject::Refusal MprisObject::playPause(const QVariantList &)
{
    act([this] { toggle(); });
    return {};
}

// A start may open a box.
void MprisObject::toggle()
{
    if (window.view().status != PlayerView::Stopped || !isBusy())
        window.playOrPause();
}

MprisObject::Refusal MprisObject::stop(const QVariantList &)
{
    act([this] { window.stop(MainWindow::SavePlace); });
    return {};
}

MprisObject::Refusal MprisObject::play(const QVariantList &)
{
    act([this] {
        if (window.view().status != PlayerView::Playing)
            toggle();
    });
    return {};
}

// Beyond the end is the next entry.
MprisObject::Refusal MprisObject::seek(const QVariantList &arguments)
{
    act([this, offset = arguments.at(0).toLongLong() / 1e6] {
        const PlayerView view = window.view();
        const double target = view.position + offset;
        if (view.length <= 0)
            return;
        if (target <= view.length)
            window.slideTo(qRound(qMax(0.0, target)));
        else if (!isBusy())
            window.skip(1);
    });
    return {};
}

// Of another entry than the one that plays now it comes too late.
MprisObject::Refusal MprisObject::setPosition(const QVariantList &arguments)
{
    const QString track = qvariant_cast<QDBusObjectPath>(arguments.at(0)).path();
    act([this, track, position = arguments.at(1).toLongLong()] {
        const PlayerView view = window.view();
        if (view.length > 0 && track == mpris::trackPath(view.address) && position >= 0 &&
            position <= mpris::microseconds(view.length))
            window.slideTo(qRound(position / 1e6));
    });
    return {};
}

MprisObject::Refusal MprisObject::openUri(const QVariantList &arguments)
{
    const QString address = mpris::addressOf(arguments.at(0).toString());
    if (address.isEmpty())
        return {QDBusError::InvalidArgs, "no address of a film"};
    if (isBusy())
        return {QDBusError::Failed, kBusy};
    open([this, address] { window.openAndDragFile(address); });
    return {};
}

#include "moc_mprisobject.cpp"
