// Nothing grows by use: after many track changes, polls, menus and dialogs the player has the same
// threads and open files, and at most 2 MiB more memory.
#include "common.h"
#include "delayset.h"
#include "engine.h"
#include "enginebench.h"
#include "longform.h"
#include "ownprocess.h"
#include "playorder.h"
#include "settings.h"
#include "testsupport.h"
#include "testwindow.h"
#include "toolbench.h"
#include "whenopen.h"

#include <QContextMenuEvent>
#include <QDialog>
#include <QMenu>
#include <QPixmapCache>
#include <QPushButton>
#include <QSet>
#include <QSignalSpy>
#include <QThread>
#include <QTimerEvent>
#include <QtTest>

#include <functional>

namespace {

constexpr qint64 memoryLimit = 2 << 20;
constexpr int entryCount = 20;

// A log that is kept would be what grows.
void silence(QtMsgType, const QMessageLogContext &, const QString &) { }

// The screenshot worker opens its folder now and then, for less than a millisecond.
int filesThatStayOpen()
{
    int files = OwnProcess::openFiles();
    for (int i = 0; i < 5; ++i) {
        QThread::msleep(2);
        files = qMin(files, OwnProcess::openFiles());
    }
    return files;
}

struct Use {
    qint64 heap = OwnProcess::heap();
    qint64 memory = OwnProcess::residentMemory();
    int files = filesThatStayOpen();
    int threads = OwnProcess::threads();
};

} // namespace

class TestCreep : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void trackChanges();
    void polls();
    void menus_data();
    void menus();
    void mainMenus();
    void dialogs_data();
    void dialogs();

private:
    void staysTheSame(int warmUp, int count, const std::function<void()> &step);
    void tick();

    QScopedPointer<PlayerRoot> root;
    QScopedPointer<TestWindow> window;
};

// The toolkit keeps up to 10 MiB of scaled pictures, some from each change of a button's icon. That
// would hide everything else until it is full.
void TestCreep::initTestCase()
{
    qInstallMessageHandler(silence);
    QPixmapCache::setCacheLimit(0);
}

void TestCreep::init()
{
    root.reset(new PlayerRoot);
    for (int i = 0; i < entryCount; ++i) {
        addrlist[i].addr = QStringLiteral("/films/%1.mp4").arg(i);
        addrlist[i].label = QStringLiteral("%1.mp4").arg(i);
        addrlist[i].type = 1;
        addrlist[i].last_play_time = i;
    }
    addrNum = entryCount;
    varyJsonConfig(defaultPlayPath, addrlist);
    lastTimePlayFlag = true;
    window.reset(new TestWindow(nullptr));
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.data()));
}

void TestCreep::cleanup()
{
    window.reset();
    root.reset();
}

void TestCreep::staysTheSame(int warmUp, int count, const std::function<void()> &step)
{
    const auto repeat = [&step](int times) {
        for (int i = 0; i < times && !QTest::currentTestFailed(); ++i) {
            step();
            // As the main loop of the player does each time around.
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
        QTest::qWait(100);
    };
    repeat(warmUp);
    const Use before;
    repeat(count);
    const Use after;
    QCOMPARE(after.files, before.files);
    QTRY_COMPARE(OwnProcess::threads(), before.threads);
    const qint64 heap = after.heap - before.heap;
    QVERIFY2(heap < memoryLimit, qPrintable(QString::number(heap)));
    // The allocator's own store settles only after hundreds of rounds.
    if (longForm()) {
        const qint64 memory = after.memory - before.memory;
        QVERIFY2(memory < memoryLimit, qPrintable(QString::number(memory)));
    }
    // A short form must not pass by being short: 1 KiB a step is too much as well.
    const qint64 room = 256 << 10; // caches that a few more rounds fill
    QVERIFY2(heap < 1024 * qint64(count) + room, qPrintable(QString::number(heap)));
}

// The polling as if its time had come.
void TestCreep::tick()
{
    QTimerEvent event(window->processTimer->timerId());
    QCoreApplication::sendEvent(window->processTimer, &event);
}

// Each engine is gone by the time of the poll, which starts the next. It has told a position, as a
// list in which nothing plays would come to rest.
void TestCreep::trackChanges()
{
    writeProgram(root->enginePath(), "echo ANS_TIME_POSITION=1\n");
    playMode = PlayModeRepeatList;
    window->on_playBtn_clicked();
    QSet<int> played;
    QSignalSpy ends(playinglist.process_mplayer,
                    QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished));
    staysTheSame(rounds(50, 1000), rounds(300, 10000), [&] {
        window->processTimer->start(500);
        tick();
        QCOMPARE(playinglist.state, 1);
        played << playinglist.addrIndex;
        QVERIFY(!engineRuns() || ends.wait(5000));
        ends.clear();
        window->processTimer->stop(); // so that no poll comes between two steps
    });
    QCOMPARE(played.size(), entryCount);
    window->on_stopBtn_clicked();
}

void TestCreep::polls()
{
    StandInEngine engine(root->path());
    engine.setLength("5000.00");
    window->on_playBtn_clicked();
    QVERIFY(engine.waitForStarts(1));
    QSignalSpy answers(playinglist.process_mplayer, &QProcess::readyReadStandardOutput);
    QVERIFY(answers.wait(5000));
    staysTheSame(rounds(50, 1000), rounds(300, 10000), [&] {
        answers.clear();
        tick();
        QVERIFY(!answers.isEmpty() || answers.wait(5000));
    });
    QCOMPARE(window->ui->totalTimeLabel->text(), QString("01:23:20"));
    window->on_stopBtn_clicked();
    QVERIFY(engine.waitForNoEngine());
}

void TestCreep::menus_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"list", "full-screen bar", "title bar"})
        QTest::newRow(kind) << QString(kind);
}

// Those that go when they close.
void TestCreep::menus()
{
    QFETCH(QString, kind);
    QWidget *owner = kind == "list" ? window->listWidget->viewport()
        : kind == "title bar"       ? static_cast<QWidget *>(window->m_titleBar)
                                    : window->fsvc;
    int opened = 0;
    staysTheSame(rounds(5, 200), rounds(40, 2000), [&] {
        WhenPopup popup([&](QWidget *menu) {
            ++opened;
            menu->close();
        });
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5), QPoint(5, 5));
        QCoreApplication::sendEvent(owner, &event);
    });
    QCOMPARE(opened, rounds(5, 200) + rounds(40, 2000));
    QVERIFY(window->findChildren<QMenu *>().isEmpty());
    QVERIFY(window->fsvc->findChildren<QMenu *>().isEmpty());
}

// The main menu is made at each right click and kept until the window goes: intended. Its objects
// take about 30 KiB each; all else goes at once, above all the pictures shared with the X server.
void TestCreep::mainMenus()
{
    constexpr qint64 costLimit = 48 << 10; // bytes for one menu with its submenus
    const int count = rounds(40, 2000);
    const auto open = [this] {
        WhenPopup popup([](QWidget *menu) { menu->close(); });
        const QPoint position = window->ui->playWidget->geometry().center();
        QContextMenuEvent event(QContextMenuEvent::Mouse, position, position);
        window->contextMenuEvent(&event);
    };
    for (int i = 0; i < 5; ++i)
        open();
    const Use before;
    for (int i = 0; i < count; ++i)
        open();
    const Use after;
    const auto menus = window->findChildren<QMenu *>(QString(), Qt::FindDirectChildrenOnly);
    QCOMPARE(menus.size(), 5 + count);
    const qint64 cost = (after.heap - before.heap) / count;
    QTest::setBenchmarkResult(cost, QTest::BytesAllocated);
    QVERIFY2(cost < costLimit, qPrintable(QString::number(cost)));
    const qint64 inMemory = after.memory - before.memory;
    QVERIFY2(inMemory < costLimit * count + memoryLimit, qPrintable(QString::number(inMemory)));
    QCOMPARE(after.files, before.files);
    QCOMPARE(after.threads, before.threads);
    qDeleteAll(menus);
    const qint64 kept = OwnProcess::heap() - before.heap;
    QVERIFY2(kept < memoryLimit, qPrintable(QString::number(kept)));
}

void TestCreep::dialogs_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("inShort");
    QTest::addColumn<int>("inLong");
    QTest::newRow("settings") << "settings" << 40 << 250;
    QTest::newRow("delay") << "delay" << 40 << 250;
    QTest::newRow("information") << "information" << 40 << 250;
    QTest::newRow("refused file") << "refused file" << 40 << 200;
    QTest::newRow("open file") << "open file" << 10 << 50;
}

void TestCreep::dialogs()
{
    QFETCH(QString, kind);
    QFETCH(int, inShort);
    QFETCH(int, inLong);
    StandInTools tools;
    StandInEngine engine(root->path());
    if (kind == "information") {
        window->on_playBtn_clicked();
        QVERIFY(engine.waitForStarts(1));
    }
    if (kind == "refused file")
        tools.setProbeAnswer("{\n}\n");
    int opened = 0;
    const int count = ::rounds(inShort, inLong);
    const int warmUp = ::rounds(5, inLong / 5);
    staysTheSame(warmUp, count, [&] {
        WhenModal modal([&](QWidget *dialog) {
            ++opened;
            dialog->close();
        });
        if (kind == "settings")
            window->m_titleBar->findChildren<QPushButton *>().at(1)->click();
        else if (kind == "delay")
            window->setAudioDelay();
        else if (kind == "information")
            window->showVideoInfoFuc();
        else if (kind == "refused file")
            window->openAndDragFile("/films/none.mp4");
        else
            window->on_openFileBtn_clicked();
    });
    QCOMPARE(opened, warmUp + count);
    window->on_stopBtn_clicked();
    QVERIFY(engine.waitForNoEngine());
}

QTEST_MAIN(TestCreep)
#include "tst_creep.moc"
