#include "handlesnapfilethread.h"

#include "common.h"

#include <QDateTime>
#include <QFile>

namespace {

constexpr quint32 kYoungSeconds = 2; // the engine's picture lands in the folder at once
constexpr unsigned long kIdlePause = 300; // ms
constexpr unsigned long kFiledPause = 100; // ms
constexpr int kPatience = 1000; // ms; a thread that the system refused never comes

void appendYoungPictures(const QDir &dir, const bool &goOn, QStringList &fileList)
{
    const QDateTime timenow = QDateTime::currentDateTimeUtc(); // ages need no time zone
    QFileInfoList files;
    appendFilesBelow(dir, goOn, files);
    for (const QFileInfo &file : files) {
        if (file.suffix() == QLatin1String("png") && fileAge(file, timenow) <= kYoungSeconds)
            fileList.append(file.absoluteFilePath());
    }
}

// A dated name that is not taken. The collision counter goes on rising while the worker runs.
QString datedPath(const QString &folder, int &snapShotCount)
{
    const QString stamp = QDateTime::currentDateTime().toString("yyyy-MM-dd_hh-mm-ss");
    QString path = folder + "shot-" + stamp + ".png";
    while (QFile::exists(path)) {
        path = folder + "shot-" + stamp + "_" + QString::number(snapShotCount) + ".png";
        ++snapShotCount;
    }
    return path;
}

} // namespace

QFileInfoList GetFileList(QDir dir)
{
    QFileInfoList files;
    appendFilesBelow(dir, true, files);
    return files;
}

void appendFilesBelow(const QDir &dir, const bool &goOn, QFileInfoList &files)
{
    files.append(dir.entryInfoList(QDir::Files | QDir::Hidden | QDir::NoSymLinks));
    if (!goOn)
        return;
    const QFileInfoList folders =
        dir.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks);
    for (const QFileInfo &folder : folders) {
        if (!goOn)
            return;
        appendFilesBelow(QDir(folder.absoluteFilePath()), goOn, files);
    }
}

QStringList getFileNames(const QList<QFileInfo> &files)
{
    QStringList names;
    for (const QFileInfo &file : files)
        names.append(file.fileName());
    return names;
}

quint32 fileAge(const QFileInfo &file, const QDateTime &now)
{
    const QDateTime born = file.birthTime();
    return now.toTime_t() - (born.isValid() ? born : file.lastModified()).toTime_t();
}

handleSnapFileThread::handleSnapFileThread(QObject *parent)
    : QThread(parent)
{
}

void handleSnapFileThread::waitForFolder() { folderTaken.tryAcquire(1, kPatience); }

void handleSnapFileThread::run()
{
    // One copy: the settings dialog may change the folder while the worker runs. A new folder
    // counts from the next start.
    const QString folder = screenShotPath;
    folderTaken.release();
    const QDir dir(folder);
    QStringList fileList; // intended: never cleared, it holds every young picture of every pass
    QStringList lastFileList;
    bool startFlag = false;
    int snapShotCount = 0;

    while (runFlag) {
        appendYoungPictures(dir, runFlag, fileList);
        if (!startFlag) {
            lastFileList = fileList; // what is already there is not filed
            startFlag = true;
        }
        if (fileList == lastFileList || snapCount == 0) {
            msleep(kIdlePause);
            continue;
        }
        for (QString &file : fileList) {
            // Filed pictures begin with "shot" too; the list keeps them from being filed again.
            if (lastFileList.contains(file) || !getFileNameFromAddr(file).startsWith("shot"))
                continue;
            const QString path = datedPath(folder, snapShotCount);
            // Intended: reported even when the picture has vanished in between.
            QFile::rename(file, path);
            emit saveSnapShotSignal(path);
            lastFileList.append(path);
            file = path;
            if (--snapCount < 0)
                snapCount = 0;
        }
        lastFileList = fileList;
        msleep(kFiledPause);
    }
}

#include "moc_handlesnapfilethread.cpp"
