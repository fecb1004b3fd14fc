// Opening files, playing rows, and what follows at the end of a file.
#include "mainwindow.h"

#include "common.h"
#include "dialogs.h"
#include "listwidget.h"
#include "playorder.h"
#include "probewindow.h"

#include <QDebug>
#include <QDropEvent>
#include <QFileDialog>
#include <QIcon>
#include <QMimeData>
#include <QTimer>
#include <QUrl>

namespace {
constexpr char kLocalIcon[] = ":/image/icon/video1.png";
constexpr char kStreamIcon[] = ":/image/icon/net.png";

// The generator is never seeded: intended.
int randomNumber()
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    return qrand(); // cppcheck-suppress qrandCalled // another generator would shuffle differently
    QT_WARNING_POP
}
} // namespace

void MainWindow::addToList()
{
    const QIcon local(kLocalIcon);
    const QIcon stream(kStreamIcon);
    for (int i = addrNum; i >= 1; i--) {
        const HistoryAddrList &entry = addrlist[i - 1];
        listWidget->insertItem(
            addrNum - i, ListWidget::makeItem(entry, entry.type == EntryLocal ? local : stream));
    }
    listWidget->setIconSize(QSize(20, 20));
}

bool MainWindow::checkVideoFileInput(QString file) { return probeMedia(file, showProbeWindow); }

void MainWindow::openAndDragFile(QString path)
{
    if (isEnding())
        return;
    personActs();
    if (!checkVideoFileInput(path)) {
        if (!probeWasGivenUp())
            showNotice("视频解析失败!");
        return;
    }
    int index = checkAddrExist(path);
    if (index < 0) {
        makeWayFor(index);
        addToAddrList(path); // makes it the playing one
        // A new entry always gets the local icon, streams too: intended.
        listWidget->insertItem(0, ListWidget::makeItem(addrlist[addrNum - 1], QIcon(kLocalIcon)));
        listWidget->setCurrentRow(0);
        if (listWidget->count() > addrNum)
            listWidget->removeLastRow();
        index = playinglist.addrIndex;
    }
    play(index); // the row of a known one stays where it is: intended
}

QString MainWindow::chooseLocalFile(const QString &filter)
{
    QString name = QFileDialog::getOpenFileName(this, tr("选择本地文件"), "/home", filter);
    qDebug() << "Input Filename:" << name;
    return name;
}

void MainWindow::on_openFileBtn_clicked() { openLocalFile(); }

void MainWindow::openLocalFile()
{
    const QString name = chooseLocalFile(
        tr("视频文件(*.mp4 *.wmv *.avi *.flv *.rmvb *.mov *.mkv *.webm);;所有文件(*.*)"));
    if (!name.isEmpty())
        openAndDragFile(name);
}

void MainWindow::dragEnterEvent(QDragEnterEvent *event) { event->acceptProposedAction(); }

void MainWindow::dropEvent(QDropEvent *event)
{
    const QList<QUrl> urls = event->mimeData()->urls();
    if (urls.isEmpty())
        return;
    event->acceptProposedAction();
    for (const QUrl &url : urls) {
        const QString path = url.toLocalFile();
        if (!path.isEmpty())
            openAndDragFile(path);
    }
}

// The row comes from the list's currentIndex, not from the item: intended.
void MainWindow::playSelectedItem(QListWidgetItem *)
{
    personActs();
    const int target = entryOfRow(listWidget->currentIndex, addrNum);
    if (target < 0 || target >= addrNum)
        return;
    if (playinglist.addrIndex == target && playingState)
        return;
    play(target);
}

void MainWindow::playSelected(int row)
{
    personActs();
    const int target = entryOfRow(row, addrNum);
    if (target < 0 || target >= addrNum || playinglist.addrIndex == target)
        return;
    play(target);
}

// The number of a row and that of its entry run against each other, so that after a deletion the
// index may be another entry's. What is loaded is then looked for by its address.
void MainWindow::recvRowsRemoved()
{
    run.rowsRemoved = true;
    personActs();
    emit changed();
}

// What has ended must not be followed by an entry whose row is gone.
void MainWindow::recvListCleared()
{
    personActs();
    if (playinglist.state == 0)
        processTimer->stop();
    emit changed();
}

// A list in which nothing can be played comes to rest, though the mode would go on for ever.
void MainWindow::checkPlayMode()
{
    if (addrNum == 0)
        return;
    const int random = playMode == PlayModeRandom ? randomNumber() : 0;
    const NextEntry next = nextEntry(playMode, playinglist.addrIndex, addrNum, random);
    playinglist.addrIndex = next.index;
    if (!next.play)
        return;
    if (playsForEver(playMode) && failures.isTooLong(addrNum))
        showStateLabel("无法播放", 2000);
    else
        start(true);
}
