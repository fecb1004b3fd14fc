// The settings file: startPath + "/files/config/config.ini", section DEFAULT, all values as text.
// It is opened, written, flushed and closed on every call; the globals are the live values.
#pragma once

#include <QString>

// Selectors of setDefaultConfig, one per key.
enum SettingSelector {
    SettingRecordFile = 0,
    SettingWidgetNum = 1,
    SettingRotationInterval = 2,
    SettingDecodeFlag = 3,
    SettingFirstStart = 4,
    SettingDefaultVolum = 5,
    SettingDefaultLastTime = 6,
    SettingEmptyListExit = 7,
    SettingDecodeSoftware = 8,
    SettingSnapPath = 9,
    SettingPlayMode = 10,
};

// Loads every key into its global. A missing or unreadable file gives the defaults; no error is
// reported. An empty history path is repaired and stored.
void getDefaultConfig();

// Whether the settings ask for what a first start runs: hardware decoding that nobody has checked.
// Changes nothing.
bool firstStartRunsSomething();

// Stores value under the key of selector and flushes. A selector outside 0..10 stores nothing.
// Selector 0 also sets defaultPlayPath. A failed write is silent.
void setDefaultConfig(QString value, int selector);
