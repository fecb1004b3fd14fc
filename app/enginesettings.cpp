#include "enginesettings.h"

#include "state.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

constexpr qint64 kLongestConfig = 1 << 20; // bytes

const QLatin1String kConfig("config");
const QLatin1String kHomeVariable("MPLAYER_HOME");
const QLatin1String kLanguageVariable("FC_LANG");

// The engine's own order but for OpenGL, which comes behind x11, and so never: where it would be
// drawn by the processor, the engine loads all of it only to refuse it, for a third of its start.
// The comma at the end lets the engine try whatever else it has.
const QByteArray kOutputsWithoutOpenGl("vo=vdpau,xv,x11,\n");

// False where there is something that can't be read. What isn't a file could hold up its reader.
bool readConfig(const QString &path, QByteArray &content)
{
    const QFileInfo info(path);
    if (!info.exists())
        return true;
    QFile file(path);
    if (!info.isFile() || info.size() > kLongestConfig || !file.open(QIODevice::ReadOnly))
        return false;
    content = file.readAll();
    return file.error() == QFile::NoError;
}

// A kernel driver with a render node, NVIDIA's own driver, or the device of a Windows host.
bool canDrawOpenGl(const QString &devices)
{
    const auto hasAny = [](const QString &folder, const QStringList &names) {
        return !QDir(folder).entryList(names, QDir::AllEntries | QDir::System).isEmpty();
    };
    return hasAny(devices + "/dri/", {"renderD*"}) || hasAny(devices + '/', {"nvidia*", "dxg"});
}

// Replaced as a whole, because another player's engine may read it right now.
bool writeConfig(const QString &path, const QByteArray &content)
{
    QByteArray present;
    if (readConfig(path, present) && present == content)
        return true;
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() &&
        file.commit();
}

QStringList entriesOf(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                  QDir::NoDotAndDotDot);
}

// Links for all that the person has but the config, and no others.
bool linkOthers(const QString &from, const QString &to)
{
    QStringList others = from.isEmpty() ? QStringList() : entriesOf(from);
    others.removeAll(kConfig);
    for (const QString &name : entriesOf(to)) {
        const QString link = to + '/' + name;
        if (QFileInfo(link).isSymLink() && !others.contains(name))
            QFile::remove(link);
    }
    for (const QString &name : others) {
        const QString link = to + '/' + name;
        const QString target = from + '/' + name;
        if (QFile::symLinkTarget(link) == target)
            continue;
        QFile::remove(link);
        // Another player may have been quicker.
        if (!QFile::link(target, link) && QFile::symLinkTarget(link) != target)
            return false;
    }
    return true;
}

} // namespace

EngineFolders engineFolders(const QProcessEnvironment &environment)
{
    const QString home = environment.value("HOME");
    QString cache = environment.value("XDG_CACHE_HOME");
    if (!QDir::isAbsolutePath(cache))
        cache = home.isEmpty() ? QString() : home + "/.cache";
    return {
        startPath + "/files/engine",
        home.isEmpty() ? QString() : home + "/.mplayer",
        cache.isEmpty() ? QString() : cache + "/com.quelmark.player/engine",
        "/dev",
    };
}

QString engineSettingsFolder(const EngineFolders &folders, int volume)
{
    QByteArray ours;
    QByteArray theirs;
    if (!readConfig(folders.ours + '/' + kConfig, ours) || ours.isEmpty() ||
        folders.together.isEmpty() || !QDir().mkpath(folders.together))
        return QString();
    if (!folders.theirs.isEmpty() && !readConfig(folders.theirs + '/' + kConfig, theirs))
        return QString();
    // Each part begins outside of the sections of the one before.
    const QByteArray outside = "\n[default]\n";
    const QByteArray outputs =
        canDrawOpenGl(folders.devices) ? QByteArray() : kOutputsWithoutOpenGl;
    const QByteArray all = ours + outside + outputs +
        "volume=" + QByteArray::number(qBound(0, volume, 100)) + outside + theirs;
    // The person's own settings may hold a password.
    const bool ready =
        QFile::setPermissions(folders.together,
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner) &&
        writeConfig(folders.together + '/' + kConfig, all) &&
        linkOthers(folders.theirs, folders.together);
    return ready ? folders.together : QString();
}

QProcessEnvironment engineEnvironment(QProcessEnvironment environment,
                                      const QString &settingsFolder)
{
    if (!environment.contains(kLanguageVariable))
        environment.insert(kLanguageVariable, "zh-cn");
    if (!environment.contains(kHomeVariable) && !settingsFolder.isEmpty())
        environment.insert(kHomeVariable, settingsFolder);
    return environment;
}

QProcessEnvironment engineEnvironment(int volume)
{
    const QProcessEnvironment own = QProcessEnvironment::systemEnvironment();
    QString folder;
    if (!own.contains(kHomeVariable)) // then the engine looks there, and for nothing of ours
        folder = engineSettingsFolder(engineFolders(own), volume);
    return engineEnvironment(own, folder);
}
