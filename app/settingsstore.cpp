#include "settingsstore.h"

#include "common.h"

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

QString settingsFile() { return startPath + "/files/config/config.ini"; }

QString textOf(const QSettings &settings, SettingSelector selector)
{
    return settings.value(kKeys[selector]).toString();
}

int numberOf(const QSettings &settings, SettingSelector selector)
{
    return settings.value(kKeys[selector]).toInt();
}

void loadSettings(const QSettings &settings)
{
    defaultPlayPath = textOf(settings, SettingRecordFile);
    decodeFlag = numberOf(settings, SettingDecodeFlag);
    if (decodeFlag < 0 || decodeFlag > 2)
        decodeFlag = 2;
    firstStartFlag = numberOf(settings, SettingFirstStart);
    defaultVolum = numberOf(settings, SettingDefaultVolum);
    lastTimePlayFlag = numberOf(settings, SettingDefaultLastTime) != 0;
    emptyListCheckFlag = numberOf(settings, SettingEmptyListExit) != 0;
    decodeSoftware = 0; // whatever decode_software says: always the slave-mode engine, intended
    screenShotPath = textOf(settings, SettingSnapPath);
    playMode = numberOf(settings, SettingPlayMode);
}

} // namespace

void getDefaultConfig()
{
    loadSettings(QSettings(settingsFile(), QSettings::IniFormat));
    if (defaultPlayPath.isEmpty())
        setDefaultConfig(startPath + "/files/config/config.json", SettingRecordFile);
}

void setDefaultConfig(QString value, int selector)
{
    QSettings settings(settingsFile(), QSettings::IniFormat);
    if (selector >= 0 && selector < kKeyCount)
        settings.setValue(kKeys[selector], value);
    if (selector == SettingRecordFile)
        defaultPlayPath = value;
    settings.sync();
}
