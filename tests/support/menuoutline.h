// The context menu of the video as texts: what a menu shows, and what it should.
#pragma once

#include <QAction>
#include <QMenu>
#include <QStringList>

// One line per entry: two blanks per level, " >" for a submenu, " (off)" when disabled.
inline QStringList outline(const QMenu *menu, int level = 0)
{
    QStringList lines;
    for (const QAction *action : menu->actions()) {
        QString line(2 * level, ' ');
        line += action->isSeparator() ? QString("----") : action->text();
        line += action->menu() ? " >" : "";
        line += action->isEnabled() ? "" : " (off)";
        if (!action->icon().isNull() || !action->shortcuts().isEmpty())
            line += " (icon or shortcut)";
        lines << line;
        if (action->menu())
            lines << outline(action->menu(), level + 1);
    }
    return lines;
}

// The entries that can be chosen, submenus included, from top to bottom.
inline QList<QAction *> leaves(const QMenu *menu)
{
    QList<QAction *> found;
    for (QAction *action : menu->actions()) {
        if (action->menu())
            found << leaves(action->menu());
        else
            found << action;
    }
    return found;
}

// All entries of the main window's menu, usable.
inline QStringList windowOutline()
{
    return {"打开文件",
            "全屏",
            "停止播放",
            "声音同步 >",
            "  声音延时+(100ms)",
            "  声音延时-(100ms)",
            "  取消延时",
            "  延时设置",
            "字幕设置 >",
            "  字幕选择",
            "  字幕延时+（100ms）",
            "  字幕延时-（100ms）",
            "  取消延时",
            "  延时设置",
            "  删除字幕",
            "  字幕字体大小 >",
            "    字体+(Ctrl+E)",
            "    字体-(Ctrl+R)",
            "  字幕位置设置 >",
            "    上移(Ctrl+U)",
            "    下移-(Ctrl+D)",
            "媒体信息"};
}

// Likewise of the full-screen bar's menu.
inline QStringList barOutline()
{
    QStringList lines = windowOutline();
    lines[1] = "退出全屏";
    lines[13] = "  删除字幕";
    lines[14] = "  延时设置";
    lines.removeLast();
    return lines;
}

// The same with nothing loaded, and with no subtitle. The entries of the submenus that are off as
// wholes stay as they are.
inline QStringList withoutStop(QStringList lines)
{
    lines[2] += " (off)";
    return lines;
}

inline QStringList withoutSubtitle(QStringList lines)
{
    for (const int index : {10, 11, 12, 13, 14, 15, 18})
        lines[index] += " (off)";
    return lines;
}
