#include "mpris.h"

#include "mimetypes.h"
#include "playorder.h"
#include "speedwind.h"

#include <QCryptographicHash>
#include <QDBusObjectPath>
#include <QStringList>
#include <QUrl>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

constexpr int kLongestUri = 16384; // four times the longest path, for the percent signs

const QStringList kStreamSchemes{QStringLiteral("rtsp"), QStringLiteral("rtmp")};

QString playbackStatus(PlayerView::Status status)
{
    switch (status) {
    case PlayerView::Playing:
        return QStringLiteral("Playing");
    case PlayerView::Paused:
        return QStringLiteral("Paused");
    default:
        return QStringLiteral("Stopped");
    }
}

QString loopStatus(int mode)
{
    if (mode == PlayModeRepeatOne)
        return QStringLiteral("Track");
    return playsForEver(mode) ? QStringLiteral("Playlist") : QStringLiteral("None");
}

QString uriOf(const QString &address)
{
    if (!address.startsWith(QLatin1Char('/')))
        return address;
    return "file://" + QString::fromLatin1(QUrl::toPercentEncoding(address, "/"));
}

QVariantMap metadata(const PlayerView &view)
{
    if (view.address.isEmpty())
        return {};
    QVariantMap data{
        {"mpris:trackid", QVariant::fromValue(QDBusObjectPath(mpris::trackPath(view.address)))},
        {"xesam:title", view.title},
        {"xesam:url", uriOf(view.address)},
    };
    if (view.length > 0)
        data.insert("mpris:length", mpris::microseconds(view.length));
    return data;
}

bool hasControls(const QString &text)
{
    return std::any_of(text.cbegin(), text.cend(), [](QChar c) { return c < QChar(' '); });
}

} // namespace

QVariantMap mpris::rootProperties(const PlayerView &view)
{
    QStringList types = QString(kMimeTypes).split(' ', Qt::SkipEmptyParts);
    types.erase(std::remove_if(types.begin(), types.end(),
                               [](const QString &type) { return type.startsWith("x-scheme-"); }),
                types.end());
    return {
        {"CanQuit", true},
        {"Fullscreen", view.fullScreen},
        {"CanSetFullscreen", true},
        {"CanRaise", true},
        {"HasTrackList", false},
        {"Identity", QStringLiteral("Tarnivo Player")},
        {"DesktopEntry", QStringLiteral("com.quelmark.player")},
        {"SupportedUriSchemes", QStringList{"file"} + kStreamSchemes},
        {"SupportedMimeTypes", types},
    };
}

QVariantMap mpris::playerProperties(const PlayerView &view)
{
    const bool hasEntry = !view.address.isEmpty();
    return {
        {"PlaybackStatus", playbackStatus(view.status)},
        {"LoopStatus", loopStatus(view.mode)},
        {"Rate", view.speed / 100.0},
        {"Shuffle", view.mode == PlayModeRandom},
        {"Metadata", metadata(view)},
        {"Volume", view.volume / 100.0},
        {"MinimumRate", std::begin(kSpeeds)->percent / 100.0},
        {"MaximumRate", std::prev(std::end(kSpeeds))->percent / 100.0},
        {"CanGoNext", view.hasNext},
        {"CanGoPrevious", view.hasPrevious},
        {"CanPlay", hasEntry},
        {"CanPause", hasEntry},
        {"CanSeek", view.length > 0},
        {"CanControl", true},
    };
}

qlonglong mpris::microseconds(int seconds) { return seconds * Q_INT64_C(1000000); }

QString mpris::trackPath(const QString &address)
{
    const QByteArray hash = QCryptographicHash::hash(address.toUtf8(), QCryptographicHash::Sha1);
    return QStringLiteral("/com/quelmark/player/entry/") + QString::fromLatin1(hash.toHex());
}

// A stream's address is taken as it is but for its scheme, by which the player knows it in small
// letters.
QString mpris::addressOf(const QString &uri)
{
    if (uri.size() > kLongestUri)
        return QString();
    const QUrl url(uri, QUrl::StrictMode);
    if (!url.isValid() || hasControls(uri))
        return QString();
    if (kStreamSchemes.contains(url.scheme()) && !url.host().isEmpty())
        return url.scheme() + uri.mid(url.scheme().size());
    const bool isHere = url.host().isEmpty() || url.host() == QLatin1String("localhost");
    if (url.scheme() != QLatin1String("file") || !isHere)
        return QString();
    const QString path = url.path(QUrl::FullyDecoded);
    return path.startsWith(QLatin1Char('/')) && !path.contains(QChar(0)) ? path : QString();
}

// A player that plays in random order never ends, so repeating the list is what it does already.
int mpris::modeOfLoop(const QString &status, int mode)
{
    if (status == loopStatus(mode))
        return mode;
    if (status == QLatin1String("None"))
        return PlayModeSequential;
    if (status == QLatin1String("Track"))
        return PlayModeRepeatOne;
    return status == QLatin1String("Playlist") ? PlayModeRepeatList : -1;
}

int mpris::modeOfShuffle(bool shuffle, int mode)
{
    if (shuffle)
        return PlayModeRandom;
    return mode == PlayModeRandom ? PlayModeRepeatList : mode;
}

int mpris::speedOf(double rate)
{
    if (!(rate >= 0))
        return -1;
    if (rate == 0)
        return 0;
    const auto nearer = [rate](const PlaySpeed &one, const PlaySpeed &other) {
        return std::abs(one.percent / 100.0 - rate) < std::abs(other.percent / 100.0 - rate);
    };
    if (rate >= std::prev(std::end(kSpeeds))->percent / 100.0) // infinite ones as well
        return std::prev(std::end(kSpeeds))->percent;
    return std::min_element(std::begin(kSpeeds), std::end(kSpeeds), nearer)->percent;
}

int mpris::volumeOf(double volume)
{
    return std::isnan(volume) ? -1 : qRound(qBound(0.0, volume, 1.0) * 100);
}
