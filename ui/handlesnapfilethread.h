// The worker that gives the engine's screenshots their dated names.
#pragma once

#include <QDir>
#include <QFileInfo>
#include <QList>
#include <QSemaphore>
#include <QString>
#include <QStringList>
#include <QThread>

// All regular and hidden files below dir, sub-folders included; no symbolic links are listed or
// followed, and hidden folders are not entered.
QFileInfoList GetFileList(QDir dir);

// Appends them to files, and leaves the walk between two folders when goOn becomes false meanwhile.
void appendFilesBelow(const QDir &dir, const bool &goOn, QFileInfoList &files);

// The names of the files, in list order.
QStringList getFileNames(const QList<QFileInfo> &files);

// Age of a file in seconds at the given moment, as an unsigned number: a birth time in the future
// wraps to a huge age. Where the file system knows no birth time the modification time is used.
quint32 fileAge(const QFileInfo &file, const QDateTime &now);

class handleSnapFileThread : public QThread {
    Q_OBJECT

public:
    explicit handleSnapFileThread(QObject *parent = nullptr);

    // Looks into the screenshot folder every 300 ms while runFlag is set and renames the pictures
    // that are asked for. A walk through the folder is left when runFlag is cleared; the engine's
    // pictures lie at the top, which is read first.
    void run() override;

    // To be called after start(), before screenShotPath may change again: waits, at most a second,
    // until the worker has read it.
    void waitForFolder();

    // Both are shared with the GUI thread without a lock, on purpose: a lost update only shifts the
    // counter by one.
    bool runFlag = false; // the loop runs while true
    int snapCount = 0; // screenshots requested and not yet filed

signals:
    // A screenshot has got its name; from the worker's thread.
    void saveSnapShotSignal(QString path);

private:
    QSemaphore folderTaken;
};
