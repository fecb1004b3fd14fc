// The context menu of the video and the media information.
#include "mainwindow.h"

#include "common.h"
#include "dialogs.h"
#include "playbackmenu.h"
#include "showvideoinfo.h"

#include <QContextMenuEvent>
#include <QPointer>

// A menu is made at every right click and lives until the window dies: intended. Shown no more, it
// needs no window of its own.
void MainWindow::contextMenuEvent(QContextMenuEvent *event)
{
    const QPointer<QMenu> menu = new QMenu("rBtnContexMenu", this);
    if (!insidePlayArea(event->pos()))
        return;
    const PlaybackMenuKind kind = {
        fullScreenFlag,
        SLOT(on_openFileBtn_clicked()),
        fullScreenFlag ? SLOT(showNormalWin()) : SLOT(on_fullScreenBtn_clicked()),
        SLOT(on_stopBtn_clicked()),
        true,
        SLOT(showVideoInfoFuc()),
    };
    fillPlaybackMenu(menu, this, kind);
    // cppcheck-suppress nullPointerRedundantCheck // it may end with the window while it is open
    menu->exec(QCursor::pos());
    if (menu)
        releaseMenuWindows(menu);
}

void MainWindow::showVideoInfoFuc()
{
    const int index = playinglist.addrIndex;
    if (playinglist.state == 0 || !isAddrSlot(index))
        return;
    if (!checkVideoFileInput(addrlist[index].addr))
        return;
    showVideoInfo information(this);
    information.exec();
}
