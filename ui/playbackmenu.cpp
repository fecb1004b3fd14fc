#include "playbackmenu.h"

#include "common.h"

#include <QAction>

#include <initializer_list>

namespace {

struct Entry {
    const char *text;
    const char *slot;
    bool enabled = true;
};

void addEntries(QMenu *menu, QObject *receiver, std::initializer_list<Entry> entries)
{
    for (const Entry &entry : entries) {
        QAction *action = menu->addAction(QString::fromUtf8(entry.text));
        action->setEnabled(entry.enabled);
        QObject::connect(action, SIGNAL(triggered()), receiver, entry.slot);
    }
}

// Opens what is for QWidget's heirs only.
class MenuWindow : public QMenu {
public:
    using QWidget::destroy;
};

QMenu *addSubmenu(QMenu *menu, const char *text, bool enabled = true)
{
    QMenu *submenu = menu->addMenu(QString::fromUtf8(text));
    // Disabled as a whole: its own entries stay as they are.
    submenu->setEnabled(enabled);
    return submenu;
}

// Never off, though its slots do nothing while nothing plays: intended.
void addSoundMenu(QMenu *menu, QObject *receiver)
{
    addEntries(addSubmenu(menu, "声音同步"), receiver,
               {{"声音延时+(100ms)", SLOT(voiceDelayPlus())},
                {"声音延时-(100ms)", SLOT(voiceDelayReduce())},
                {"取消延时", SLOT(cancelAudioDelay())},
                {"延时设置", SLOT(setAudioDelay())}});
}

// The full-width parentheses, and the hyphen in "下移-(Ctrl+D)", are intended. The keys named in
// the texts are handled by the main window; the entries have no shortcuts of their own.
void addSubtitleMenu(QMenu *menu, QObject *receiver, bool settingsBeforeDelete)
{
    const bool loaded = subTitleFlag;
    const Entry settings{"延时设置", SLOT(setSubDelay()), loaded};
    const Entry remove{"删除字幕", SLOT(delSubTitle()), loaded};

    QMenu *subtitles = addSubmenu(menu, "字幕设置");
    addEntries(subtitles, receiver,
               {{"字幕选择", SLOT(openSubTitleFile())},
                {"字幕延时+（100ms）", SLOT(subTitleDelayIncrease()), loaded},
                {"字幕延时-（100ms）", SLOT(subTitleDelayReduce()), loaded},
                {"取消延时", SLOT(cancelSubDelay()), loaded},
                settingsBeforeDelete ? settings : remove,
                settingsBeforeDelete ? remove : settings});
    addEntries(
        addSubmenu(subtitles, "字幕字体大小", loaded), receiver,
        {{"字体+(Ctrl+E)", SLOT(subScalePlus())}, {"字体-(Ctrl+R)", SLOT(subScaleReduce())}});
    addEntries(addSubmenu(subtitles, "字幕位置设置", loaded), receiver,
               {{"上移(Ctrl+U)", SLOT(subPosUp())}, {"下移-(Ctrl+D)", SLOT(subPosDown())}});
}

} // namespace

void fillPlaybackMenu(QMenu *menu, QObject *receiver, const PlaybackMenuKind &kind)
{
    addEntries(menu, receiver,
               {{"打开文件", kind.openSlot},
                {kind.fullScreen ? "退出全屏" : "全屏", kind.fullScreenSlot},
                {"停止播放", kind.stopSlot, playinglist.state != 0}});
    addSoundMenu(menu, receiver);
    addSubtitleMenu(menu, receiver, kind.settingsBeforeDelete);
    if (kind.informationSlot)
        addEntries(menu, receiver, {{"媒体信息", kind.informationSlot}});
}

void releaseMenuWindows(QMenu *menu)
{
    for (QMenu *submenu : menu->findChildren<QMenu *>())
        (submenu->*&MenuWindow::destroy)(true, true);
    (menu->*&MenuWindow::destroy)(true, true);
}
