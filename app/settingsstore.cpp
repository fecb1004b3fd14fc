#include "settingsstore.h"

#include "history.h"
#include "state.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSettings>

namespace {

// One key per selector, in the order of SettingSelector.
constexpr const char *kKeys[] = {
    "/DEFAULT/record_file",       "/DEFAULT/widget_num",      "/DEFAULT/rotation_interval",
    "/DEFAULT/decode_flag",       "/DEFAULT/first_start",     "/DEFAULT/default_volum",
    "/DEFAULT/default_last_time", "/DEFAULT/empty_list_exit", "/DEFAULT/decode_software",
    "/DEFAULT/snap_path",         "/DEFAULT/play_mode",
};
constexpr int kKeyCount = int(sizeof kKeys / sizeof kKeys[0]);
static_assert(kKeyCount == SettingPlayMode + 1, "one key per selector");

constexpr int kSigningTime = 1000; // ms; a living player needs microseconds

QString settingsFile() { return startPath + "/files/config/config.ini"; }

QString textOf(const QSettings &settings, SettingSelector selector)
{
    return settings.value(kKeys[selector]).toString();
}

int numberOf(const QSettings &settings, SettingSelector selector)
{
    return settings.value(kKeys[selector]).toInt();
}

int decodeModeOf(const QSettings &settings)
{
    const int mode = numberOf(settings, SettingDecodeFlag);
    return mode < DecodeSingle || mode > DecodeHardware ? int(DecodeHardware) : mode;
}

void loadSettings(const QSettings &settings)
{
    defaultPlayPath = textOf(settings, SettingRecordFile);
    decodeFlag = decodeModeOf(settings);
    firstStartFlag = numberOf(settings, SettingFirstStart);
    defaultVolum = numberOf(settings, SettingDefaultVolum);
    lastTimePlayFlag = numberOf(settings, SettingDefaultLastTime) != 0;
    emptyListCheckFlag = numberOf(settings, SettingEmptyListExit) != 0;
    decodeSoftware = 0; // whatever decode_software says: always the slave-mode engine, intended
    screenShotPath = textOf(settings, SettingSnapPath);
    playMode = numberOf(settings, SettingPlayMode);
}

// A player that was killed between making its lock file and signing it leaves an empty one, for
// which QSettings would wait 30 s. Signed ones of the dead it sees through by itself.
void removeUnsignedLock()
{
    const QFileInfo lock(settingsFile() + ".lock");
    if (lock.isFile() && lock.size() == 0 &&
        lock.lastModified().msecsTo(QDateTime::currentDateTime()) > kSigningTime)
        QFile::remove(lock.filePath());
}

} // namespace

void getDefaultConfig()
{
    loadSettings(QSettings(settingsFile(), QSettings::IniFormat));
    if (defaultPlayPath.isEmpty())
        setDefaultConfig(standardHistoryFile(), SettingRecordFile);
}

bool firstStartRunsSomething()
{
    const QSettings settings(settingsFile(), QSettings::IniFormat);
    return numberOf(settings, SettingFirstStart) != 0 && decodeModeOf(settings) == DecodeHardware;
}

void setDefaultConfig(QString value, int selector)
{
    removeUnsignedLock();
    QSettings settings(settingsFile(), QSettings::IniFormat);
    if (selector >= 0 && selector < kKeyCount)
        settings.setValue(kKeys[selector], value);
    if (selector == SettingRecordFile)
        defaultPlayPath = value;
    settings.sync();
}
