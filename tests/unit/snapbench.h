// The screenshot worker on a real folder. How far it has come is seen from the kernel's notes of
// the folder being opened, so that nothing has to be guessed with sleeps.
#pragma once

#include "common.h"
#include "handlesnapfilethread.h"
#include "testsupport.h"

#include <QElapsedTimer>
#include <QtTest>

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <mutex>

inline constexpr int kOpensPerPass = 2; // once for the files, once for the folders
inline constexpr int kStall = 1900; // ms; a machine this slow lets pictures grow too old to be seen

class FolderWatch {
public:
    explicit FolderWatch(const QString &folder)
        : fd(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        if (inotify_add_watch(fd, QFile::encodeName(folder).constData(), IN_OPEN) < 0)
            qFatal("cannot watch the folder");
        clock.start();
    }
    ~FolderWatch() { close(fd); }
    FolderWatch(const FolderWatch &) = delete;
    FolderWatch &operator=(const FolderWatch &) = delete;

    // Waits for the folder's next opening; its time in ms, or -1 when there was none for 10 s.
    qint64 nextOpen()
    {
        while (taken == opensSoFar()) {
            pollfd entry = {fd, POLLIN, 0};
            if (poll(&entry, 1, 10000) <= 0)
                return -1;
        }
        ++taken;
        return clock.elapsed();
    }

    // How often the folder was opened, from any thread; and how many of these nextOpen() has told.
    int opensSoFar()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        read();
        return opens;
    }
    int opensTold() const { return taken; }

    // True once so many passes that began after this call are over.
    bool awaitPasses(int count)
    {
        taken = opensSoFar();
        for (int i = 0; i < (count + 1) * kOpensPerPass; ++i) {
            if (nextOpen() < 0)
                return false;
        }
        return true;
    }

    bool wasOpened() { return opensSoFar() > taken; }

    qint64 elapsed() const { return clock.elapsed(); }

private:
    void read()
    {
        alignas(inotify_event) char buffer[4096];
        const ssize_t length = ::read(fd, buffer, sizeof buffer);
        for (ssize_t at = 0; at < length;) {
            const auto *event = reinterpret_cast<const inotify_event *>(buffer + at);
            if (event->len == 0) // the folder itself, not something in it
                ++opens;
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
    }

    int fd;
    int opens = 0;
    int taken = 0;
    std::mutex mutex; // one that the thread sanitizer knows
    QElapsedTimer clock;
};

// The worker with a folder of its own, and the paths it has reported.
class Bench {
public:
    explicit Bench(const QString &name = "shots")
    {
        QDir(root.path()).mkdir(name);
        QDir(root.path()).mkdir("beside");
        folder = root.filePath(name) + "/";
        screenShotPath = folder;
        watch.reset(new FolderWatch(folder));
        // In the worker's thread and at once: these are its own notes.
        QObject::connect(
            &worker, &handleSnapFileThread::saveSnapShotSignal, &worker,
            [this](const QString &path) {
                const std::lock_guard<std::mutex> lock(mutex);
                paths << path;
                lastReport = watch->elapsed();
                opensBeforeReport = watch->opensSoFar();
            },
            Qt::DirectConnection);
    }
    ~Bench() { stop(); }

    bool start() // true once the first pass, which only records, is over
    {
        worker.runFlag = true;
        worker.start(QThread::InheritPriority);
        return watch->awaitPasses(1);
    }
    bool stop()
    {
        worker.runFlag = false;
        return worker.wait(10000);
    }
    bool awaitPasses(int count = 2) { return watch->awaitPasses(count); }

    QStringList reported() const
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return paths;
    }
    bool awaitReports(int count) const
    {
        return QTest::qWaitFor([=] { return reported().size() >= count; }, 10000);
    }

    // A picture as the engine leaves it: it appears whole. Its birth is the moment it is written.
    void put(const QString &name, const QByteArray &content = "picture")
    {
        writeFile(beside(name), content);
        move(name);
    }
    QString beside(const QString &name) const
    {
        return root.filePath("beside/" + QFileInfo(name).fileName());
    }
    void move(const QString &name)
    {
        if (rename(QFile::encodeName(beside(name)).constData(),
                   QFile::encodeName(folder + name).constData()))
            qFatal("cannot move %s", qPrintable(name));
    }
    // Requests and puts one picture, and gives the name it was filed under. On a machine that
    // stands still for seconds the picture is too old when it is seen, or the worker still counts
    // down for the one before: try another one then. A late report of an earlier picture, which is
    // gone, is not this one's.
    QString file(const QString &name)
    {
        for (int attempt = 0; attempt < 5; ++attempt) {
            const int before = reported().size();
            QString filed;
            worker.snapCount = 1;
            put(name, name.toUtf8());
            const auto seen = [&] {
                for (const QString &path : reported().mid(before)) {
                    if (readFile(path) == name.toUtf8())
                        filed = path;
                }
                return !filed.isEmpty();
            };
            if (QTest::qWaitFor(seen, 5000))
                return filed;
            QFile::remove(folder + name);
        }
        return QString();
    }
    bool exists(const QString &name) const { return QFileInfo::exists(folder + name); }

    QTemporaryDir root;
    QString folder;
    handleSnapFileThread worker;
    QScopedPointer<FolderWatch> watch;
    qint64 lastReport = 0; // ms
    int opensBeforeReport = 0; // of the folder

private:
    mutable std::mutex mutex; // one that the thread sanitizer knows
    QStringList paths;
};
