// The two context menus of the video, in the main window and in the full-screen bar. They share
// their entries; what differs between them stands in PlaybackMenuKind.
#pragma once

#include <QMenu>

// The receiver's slots (as SLOT() strings) for the entries whose slots are named differently, and
// the two differences in content.
struct PlaybackMenuKind {
    bool fullScreen; // second entry reads "退出全屏" instead of "全屏"
    const char *openSlot;
    const char *fullScreenSlot;
    const char *stopSlot;
    bool settingsBeforeDelete; // order of the last two subtitle entries: "延时设置", "删除字幕"
    const char *informationSlot; // "媒体信息", nullptr for no such entry
};

// Fills menu with the entries, each connected to its slot of receiver, and disables what can't be
// used now (nothing loaded, no subtitle).
void fillPlaybackMenu(QMenu *menu, QObject *receiver, const PlaybackMenuKind &kind);

// Gives back the windows that a closed menu and its submenus hold at the X server, with their
// pictures. The menu itself stays as it is.
void releaseMenuWindows(QMenu *menu);
