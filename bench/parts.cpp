// Measures parts of the player inside one process:
//
//     bench-parts history FOLDER RUNS   rows of the table, beside plain calls in the same folder
//     bench-parts tick ENGINE N         polls N times; for callgrind, which collects in
//                                       PolledWindow::tick()
//     bench-parts paints ENGINE N       polls N times and prints how many widgets were painted
#include "figures.h"

#include "common.h"
#include "fullscreenvideocontrl.h"
#include "listwidget.h"
#include "mainwindow.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <functional>

#include <fcntl.h>
#include <unistd.h>

namespace {

double millisecondsOf(const std::function<void()> &work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

void discardMessages(QtMsgType, const QMessageLogContext &, const QString &) { }

void makeEntries(int count)
{
    for (int i = 0; i < count; i++) {
        HistoryAddrList &entry = addrlist[i];
        entry.label = QStringLiteral("第 %1 集 - a film of quite an ordinary name.mp4").arg(i);
        entry.addr = "/home/somebody/Videos/Series/" + entry.label;
        entry.type = 1;
        entry.width = 1920;
        entry.height = 1080;
        entry.frame = 23.976F;
        entry.last_play_time = i;
    }
    addrNum = count;
}

QByteArray plainRead(const QByteArray &path)
{
    const int file = open(path.constData(), O_RDONLY | O_CLOEXEC);
    QByteArray content(static_cast<int>(lseek(file, 0, SEEK_END)), Qt::Uninitialized);
    if (pread(file, content.data(), static_cast<size_t>(content.size()), 0) != content.size())
        qFatal("cannot read %s", path.constData());
    close(file);
    return content;
}

// To the disk, as the history is.
void plainWrite(const QByteArray &path, const QByteArray &content)
{
    const int file = open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (write(file, content.constData(), static_cast<size_t>(content.size())) != content.size() ||
        fsync(file) != 0)
        qFatal("cannot write %s", path.constData());
    close(file);
}

// What MainWindow does with the whole list, and laying the rows out.
void fill(QListWidget &list, const std::function<QListWidgetItem *(const HistoryAddrList &)> &make)
{
    for (int i = addrNum; i >= 1; i--)
        list.insertItem(addrNum - i, make(addrlist[i - 1]));
    list.setIconSize(QSize(20, 20));
    list.doItemsLayout();
}

void measureHistory(const QString &folder, int count, int runs)
{
    const QTemporaryDir place(folder + "/history-XXXXXX");
    const QString path = place.filePath(QStringLiteral("config.json"));
    defaultPlayPath = path; // saved as the player's own
    const QByteArray plainPath = QFile::encodeName(place.filePath(QStringLiteral("plain")));
    Samples load;
    Samples save;
    Samples fills;
    Samples reading;
    Samples writing;
    Samples plainFills;
    for (int i = -1; i < runs; i++) { // the first round only warms up
        makeEntries(count);
        const double saved = millisecondsOf([&] { varyJsonConfig(path, addrlist); });
        const QByteArray content = plainRead(QFile::encodeName(path));
        const double written = millisecondsOf([&] { plainWrite(plainPath, content); });
        addrNum = 0;
        const double loaded = millisecondsOf([&] { readJsonConfig(path); });
        const double read = millisecondsOf([&] { plainRead(plainPath); });
        if (addrNum != count)
            qFatal("the history does not load");
        ListWidget list;
        const double filled = millisecondsOf([&] {
            const QIcon icon(QStringLiteral(":/image/icon/video1.png"));
            fill(list,
                 [&](const HistoryAddrList &entry) { return ListWidget::makeItem(entry, icon); });
        });
        QListWidget plainList;
        const double plainFilled = millisecondsOf([&] {
            fill(plainList,
                 [](const HistoryAddrList &entry) { return new QListWidgetItem(entry.label); });
        });
        if (i < 0)
            continue;
        save.push_back(saved);
        writing.push_back(written);
        load.push_back(loaded);
        reading.push_back(read);
        fills.push_back(filled);
        plainFills.push_back(plainFilled);
    }
    const std::string entries = std::to_string(count) + " entries";
    const bool full = count == kHistoryCapacity;
    printRatio("history: load " + entries + ", beside reading the same bytes", load, reading, 3,
               " ms", full ? "5 ms" : "linear");
    printRatio("history: save " + entries + ", beside writing the same bytes to the disk", save,
               writing, 3, " ms", full ? "10 ms" : "linear");
    printRatio("list: fill " + entries + ", beside a plain list of the same texts", fills,
               plainFills, 3, " ms", full ? "50 ms" : "linear");
}

class PolledWindow : public MainWindow {
public:
    // What callgrind counts; of a fixed name for it.
    Q_NEVER_INLINE void tick() { pollAndWait(); }

    // Polls at once and waits until both answers are shown.
    void pollAndWait()
    {
        QMetaObject::invokeMethod(processTimer, "timeout", Qt::DirectConnection);
        answered = false;
        while (!answered)
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QApplication::processEvents(); // paints
    }

    // Timers would tick as often as the machine is slow.
    void stopTimers()
    {
        for (QTimer *timer : findChildren<QTimer *>() + fsvc->findChildren<QTimer *>())
            timer->stop();
    }

    int position() const { return currentPosition; }

    bool answered = false;
};

class PaintCount : public QObject {
public:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            count++;
        return false;
    }
    int count = 0;
};

int poll(const QString &engine, int ticks, bool countPaints)
{
    const QTemporaryDir root;
    startPath = root.path();
    QDir(startPath).mkpath(QStringLiteral("files/bin"));
    QDir(startPath).mkpath(QStringLiteral("files/config"));
    QFile::link(engine, startPath + "/files/bin/mplayer");
    defaultPlayPath = startPath + "/files/config/config.json";
    screenShotPath = startPath + "/";
    decodeFlag = 2; // starts no screenshot worker
    makeEntries(1);
    addrlist[0].last_play_time = 0;

    PolledWindow window;
    QObject::connect(playinglist.process_mplayer, &QProcess::readyReadStandardOutput, &window,
                     [&window] { window.answered = true; });
    window.show();
    window.on_playBtn_clicked();
    for (int i = 0; i < 4; i++)
        window.pollAndWait();
    QElapsedTimer settled;
    for (settled.start(); settled.elapsed() < 1000;)
        QApplication::processEvents(QEventLoop::AllEvents, 50);
    PaintCount paints;
    if (countPaints)
        qApp->installEventFilter(&paints);
    Samples changed;
    Samples unchanged;
    for (int i = 0; i < ticks; i++) {
        window.stopTimers();
        const int before = window.position();
        paints.count = 0;
        window.tick();
        Samples &painted = window.position() == before ? unchanged : changed;
        painted.push_back(paints.count);
    }
    if (countPaints) {
        printRow("one poll tick: widgets painted when the second changes",
                 number(median(changed), 0), "-", "-", "-");
        printRow("one poll tick: widgets painted when it doesn't (the most in any tick)",
                 number(*std::max_element(unchanged.begin(), unchanged.end()), 0), "-", "-", "0");
    }
    window.close();
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    qInstallMessageHandler(discardMessages);
    const QStringList arguments = QApplication::arguments();
    const QString what = arguments.value(1);
    const int times = arguments.value(3).toInt();
    if (argc == 4 && what == "history") {
        for (int count : {10, 100, kHistoryCapacity})
            measureHistory(arguments.at(2), count, times);
        return 0;
    }
    if (argc == 4 && (what == "tick" || what == "paints"))
        return poll(arguments.at(2), times, what == "paints");
    std::fprintf(stderr, "usage: bench-parts history FOLDER RUNS | tick|paints ENGINE N\n");
    return 2;
}
