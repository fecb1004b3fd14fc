// The playlist beside the video: a view of addrlist, which holds no data of its own. Its menu takes
// entries out of both.
#pragma once

#include <QListWidget>

struct HistoryAddrList;

class ListWidget : public QListWidget {
    Q_OBJECT

public:
    explicit ListWidget(QWidget *parent = nullptr);
    ~ListWidget() override;

    // A new item that shows entry. Items given the same icon share its picture.
    static QListWidgetItem *makeItem(const HistoryAddrList &entry, const QIcon &icon);

    // Removes the last row, the oldest entry's, as if it had never been clicked.
    void removeLastRow();

    QListWidgetItem *listItem =
        nullptr; // last clicked or pressed; an unattached placeholder at first
    int currentIndex = 0; // row of the item last clicked or pressed

signals:
    void sig_play(QListWidgetItem *item); // listItem is to be played
    void sig_play1(int row); // never emitted
    void removeAndStopSignal(); // what plays is about to leave the list

public slots:
    void getListName(QListWidgetItem *item); // notes the item and the current row

    // Entries of the context menu.
    void playSelectedList();
    void deleteSelected(); // the current row and its entry
    void emptyList(); // after a question: all rows and entries, and the file

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    void resetListItem();
    void forget(QListWidgetItem *item); // deletes an item that was taken out

    QListWidgetItem *placeholder =
        nullptr; // owned; what listItem points to when no item was clicked
};
