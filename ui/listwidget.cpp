#include "listwidget.h"

#include "common.h"
#include "dialogs.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDebug>
#include <QMenu>
#include <QScrollBar>

namespace {
// Laying out millions of characters takes minutes. No file name is as long as this.
constexpr int kLongestRow = 4096;

// The list's own grey goes on to its scroll bars and leaves only outlines of them.
constexpr char kScrollBarStyle[] =
    "QScrollBar::handle{background-color:rgb(190,190,190);border-radius:3px;margin:2px;}"
    "QScrollBar::handle:hover{background-color:rgb(225,225,225);}"
    "QScrollBar::handle:vertical{min-height:24px;}"
    "QScrollBar::handle:horizontal{min-width:24px;}"
    "QScrollBar::add-line,QScrollBar::sub-line{width:0px;height:0px;}"
    "QScrollBar::add-page,QScrollBar::sub-page{background:none;}";

// It goes on to the menu as well, where it hides which entry is chosen. The menu's own sheet has
// the last word, so this comes from the application's. That costs milliseconds, because every
// widget is looked at again: not before it is needed.
void showChosenMenuEntry()
{
    if (qApp->styleSheet().isEmpty()) // a person's own, from the command line, stays
        qApp->setStyleSheet("ListWidget QMenu{border:1px solid rgb(64,64,64);}"
                            "ListWidget QMenu::item:selected{background-color:rgb(168,206,226);}");
}
} // namespace

ListWidget::ListWidget(QWidget *parent)
    : QListWidget(parent)
    , placeholder(new QListWidgetItem)
{
    listItem = placeholder;
    setStyleSheet("background-color:gray");
    for (QScrollBar *bar : {horizontalScrollBar(), verticalScrollBar()})
        bar->setStyleSheet(kScrollBarStyle);
    setAccessibleName("播放列表");
    setCurrentRow(0);
    connect(this, SIGNAL(itemClicked(QListWidgetItem *)), this,
            SLOT(getListName(QListWidgetItem *)));
    connect(this, SIGNAL(itemPressed(QListWidgetItem *)), this,
            SLOT(getListName(QListWidgetItem *)));
}

ListWidget::~ListWidget() { delete placeholder; }

QListWidgetItem *ListWidget::makeItem(const HistoryAddrList &entry, const QIcon &icon)
{
    static const QFont font("Microsoft YaHei", 10, 10, false); // very light weight: intended
    const QString text = entry.label.left(kLongestRow);
    auto *item = new QListWidgetItem(icon, text);
    item->setToolTip(text);
    item->setFont(font);
    item->setForeground(QColor(255, 255, 255, 255));
    return item;
}

void ListWidget::getListName(QListWidgetItem *item)
{
    listItem = item;
    currentIndex = currentRow();
    qDebug() << "current index is " << currentIndex;
}

// An unattached item is never selected, so the menu may ask it anything.
void ListWidget::resetListItem() { listItem = placeholder; }

void ListWidget::contextMenuEvent(QContextMenuEvent *)
{
    showChosenMenuEntry();
    QMenu menu("ListItem", this);
    menu.setStyleSheet("QMenu::item{width:40px;color:black;}");
    QAction *play = menu.addAction("播放选中", this, SLOT(playSelectedList()));
    QAction *remove = menu.addAction("删除选中", this, SLOT(deleteSelected()));
    QAction *clear = menu.addAction("清空列表", this, SLOT(emptyList()));
    qDebug() << "count:" << count();
    // With rows in the list all three are usable, selected or not: intended.
    if (count() == 0) {
        play->setEnabled(false);
        remove->setEnabled(false);
        clear->setEnabled(false);
    }
    menu.exec(QCursor::pos());
    qDebug() << "count2:" << count();
}

void ListWidget::playSelectedList()
{
    qDebug() << "Selected item name:" << listItem->text();
    emit sig_play(listItem);
}

void ListWidget::deleteSelected()
{
    const int row = currentRow();
    if (row < 0)
        return;
    QListWidgetItem *item = takeItem(row);
    if (row + playinglist.addrIndex == addrNum - 1)
        emit removeAndStopSignal();
    else if (row > playinglist.addrIndex) // a row compared with an index: intended
        playinglist.addrIndex--;
    removeEntry(entryOfRow(row, addrNum));
    varyJsonConfig(defaultPlayPath, addrlist);
    qDebug() << "delete item message 2";
    forget(item);
}

void ListWidget::removeLastRow() { forget(takeItem(count() - 1)); }

void ListWidget::forget(QListWidgetItem *item)
{
    if (item == listItem)
        resetListItem();
    delete item;
}

void ListWidget::emptyList()
{
    if (showNotice("是否清空当前列表?", QMessageBox::Yes | QMessageBox::No) != QMessageBox::Yes)
        return;
    if (playingState)
        emit removeAndStopSignal();
    clear();
    resetListItem();
    currentIndex = 0;
    if (!emptyHistoryFile(defaultPlayPath)) {
        qDebug() << "Json File open fail!" << 2022;
        return;
    }
    clearEntries();
}

#include "moc_listwidget.cpp"
