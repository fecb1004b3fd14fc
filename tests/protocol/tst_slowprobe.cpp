// A probe that doesn't answer: the small window, giving it up, and that nothing else reacts.
#include "aside.h"
#include "playerbench.h"
#include "playorder.h"
#include "processes.h"
#include "screen.h"
#include "terminationnotifier.h"
#include "whenopen.h"

#include <QDropEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QWindow>

#include <csignal>

namespace {

const QByteArray kMark = "SLOWPROBE_BENCH=" + Processes::ownMark();
const QString kHanging = QStringLiteral("/f/hanging.mp4");

// Stubborn, and with a child that holds its output.
const QByteArray kHangs = "trap '' TERM HUP INT; sleep 1000 & sleep 1000; exit";

QWidget *smallWindow()
{
    QWidget *window = QApplication::activeModalWidget();
    return window && window->isVisible() && !qobject_cast<QMessageBox *>(window) ? window : nullptr;
}

QPushButton *button(const QWidget *window) { return window->findChild<QPushButton *>(); }

// Gives up as soon as there is something to give up.
bool giveUp()
{
    QWidget *window = smallWindow();
    if (!window)
        return false;
    button(window)->click();
    return true;
}

} // namespace

class TestSlowProbe : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void looks();
    void waitsTenSeconds();
    void giveUp_data();
    void giveUp();
    void strayKeysDoNotGiveUp();
    void probeThatAnswersLate();
    void playingGoesOn();
    void nothingElseReacts();
    void endOfTheMediaComesAfterwards();
    void screenshotIsReportedAfterwards();
    void windowIsPainted();
    void severalLocations();
    void commandLine();
    void mediaInformation();
    void signal_data();
    void signal();
    void signalDuringTheConstruction();

private:
    void makeBench(int entries);
    QList<qint64> probes() const { return Processes::withEnvironment(kMark); }

    QScopedPointer<PlayerBench> bench;
};

void TestSlowProbe::init() { companyAfter = 300; }

void TestSlowProbe::cleanup()
{
    companyAfter = 10000;
    bench.reset();
    // After a signal no event loop runs until the main one has been entered again.
    QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(0); });
    QCoreApplication::exec();
}

void TestSlowProbe::makeBench(int entries)
{
    bench.reset(new PlayerBench(entries));
    bench->tools.setProbeScriptFor(kHanging, "export " + kMark + "\n" + kHangs);
}

void TestSlowProbe::looks()
{
    makeBench(1);
    TestWindow &window = bench->open(true);
    window.move(40, 30); // away from the middle of the screen
    QTRY_COMPARE(Screen::geometry(window.internalWinId()).topLeft(), QPoint(40, 30));
    QStringList texts;
    QPoint off;
    bool belongs = false;
    const Aside person([&] {
        QWidget *small = smallWindow();
        if (!small || !small->windowHandle()->isExposed())
            return false;
        for (const QLabel *label : small->findChildren<QLabel *>())
            texts << label->text();
        for (const QPushButton *button : small->findChildren<QPushButton *>())
            texts << button->text();
        off = small->frameGeometry().center() - window.frameGeometry().center();
        belongs = small->windowHandle()->transientParent() == window.windowHandle() &&
            small->windowModality() == Qt::ApplicationModal;
        return ::giveUp();
    });
    bench->window->openAndDragFile(kHanging);
    QVERIFY(person.happened());
    QCOMPARE(texts, QStringList({"正在读取媒体信息…", "取消"}));
    QVERIFY2(off.manhattanLength() < 60, qPrintable(QString::number(off.manhattanLength())));
    QVERIFY(belongs);
}

void TestSlowProbe::waitsTenSeconds()
{
    companyAfter = 10000; // as it is
    makeBench(0);
    bench->open(true);
    QElapsedTimer clock;
    clock.start();
    const Aside person([] { return ::giveUp(); });
    bench->window->openAndDragFile(kHanging);
    QVERIFY(person.happened());
    QVERIFY2(clock.elapsed() >= 10000 && clock.elapsed() < 60000,
             qPrintable(QString::number(clock.elapsed())));
}

void TestSlowProbe::giveUp_data()
{
    QTest::addColumn<QString>("way");
    for (const char *way : {"button", "escape", "closed"})
        QTest::newRow(way) << way;
}

void TestSlowProbe::giveUp()
{
    QFETCH(QString, way);
    makeBench(2);
    TestWindow &window = bench->open(true);
    const QStringList rows = bench->rows();
    const QByteArray file = readFile(defaultPlayPath);
    WhenModal refusal([](QWidget *box) { box->close(); });
    const Aside person([&] {
        QWidget *small = smallWindow();
        if (!small)
            return false;
        if (way == "button")
            QTest::mouseClick(button(small), Qt::LeftButton);
        else if (way == "escape")
            QTest::keyClick(small, Qt::Key_Escape);
        else
            small->close();
        return true;
    });
    window.openAndDragFile(kHanging);
    QVERIFY(person.happened());
    QVERIFY(!refusal.happened());
    QCOMPARE(bench->tools.probeCalls().size(), 1);
    QCOMPARE(bench->rows(), rows);
    QCOMPARE(readFile(defaultPlayPath), file);
    QCOMPARE(addrNum, 2);
    QVERIFY(!playingState);
    QTRY_COMPARE(probes(), QList<qint64>());
    QVERIFY(bench->engine.starts().isEmpty());
    QTest::qWait(50);
    QVERIFY(!refusal.happened());
    // The next one is as usual.
    bench->tools.setProbeAnswerFor("/f/bad.txt", "");
    window.openAndDragFile("/f/bad.txt");
    QVERIFY(refusal.happened());
    window.openAndDragFile("/f/new.mp4");
    QCOMPARE(addrNum, 3);
}

void TestSlowProbe::strayKeysDoNotGiveUp()
{
    makeBench(1);
    bench->open(true);
    int survived = 0;
    const Aside person([&] {
        QWidget *small = smallWindow();
        if (!small || !small->isActiveWindow())
            return false;
        for (const auto key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter, Qt::Key_Left}) {
            QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : small, key);
            survived += small->isVisible();
        }
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space); // that is meant
        return !small->isVisible();
    });
    bench->window->openAndDragFile(kHanging);
    QVERIFY(person.happened());
    QCOMPARE(survived, 4);
}

void TestSlowProbe::probeThatAnswersLate()
{
    makeBench(1);
    bench->tools.setProbeDelay(1000);
    bool shown = false;
    bench->open(true);
    const Aside person([&] { return shown = smallWindow() != nullptr; });
    bench->window->openAndDragFile("/f/new.mp4");
    QVERIFY(shown);
    QVERIFY(!QApplication::activeModalWidget());
    QCOMPARE(addrlist[1].addr, QString("/f/new.mp4"));
    QTRY_COMPARE(bench->lastPlayed(), QString("/f/new.mp4"));
}

// No command reaches the engine and no answer is read while the window shows.
void TestSlowProbe::playingGoesOn()
{
    makeBench(1);
    TestWindow &window = bench->open(true);
    bench->play(0);
    QVERIFY(bench->showsLength("100", 100));
    QVERIFY(bench->showsPosition("4", 4));
    bench->engine.setPosition("7");
    QByteArray before;
    QByteArray after;
    int positionMeanwhile = 0;
    QElapsedTimer since;
    const Aside person([&] {
        if (!smallWindow())
            return false;
        if (!since.isValid()) {
            since.start();
            before = bench->engine.input();
        }
        if (since.elapsed() < 1500)
            return false;
        after = bench->engine.input();
        positionMeanwhile = window.currentPosition;
        return ::giveUp();
    });
    window.openAndDragFile(kHanging);
    QVERIFY(person.happened());
    QCOMPARE(after, before);
    QCOMPARE(positionMeanwhile, 4);
    QVERIFY(playingState);
    QVERIFY(window.processTimer->isActive());
    QTRY_COMPARE(window.currentPosition, 7);
    QCOMPARE(bench->engine.starts().size(), 1);
    QCOMPARE(withoutPolls(bench->engine.input()), QByteArrayList{"polls"});
}

void TestSlowProbe::nothingElseReacts()
{
    makeBench(2);
    TestWindow &window = bench->open(true);
    bench->play(0);
    QVERIFY(bench->showsPosition("4", 4));
    window.showStateLabel("notice", 500);
    bool noticeStays = false;
    int elapsed = 0;
    QTimer::singleShot(1, &window, [&elapsed] { ++elapsed; });
    int elapsedMeanwhile = 0;
    QElapsedTimer since;
    const Aside person([&] {
        if (!smallWindow())
            return false;
        if (!since.isValid()) {
            since.start();
            QTest::mouseClick(window.ui->stopBtn, Qt::LeftButton);
            QTest::keyClick(&window, Qt::Key_Space);
            QTest::mouseClick(&window, Qt::LeftButton, {}, QPoint(300, 200));
            window.close();
        }
        if (since.elapsed() < 1000)
            return false;
        noticeStays = window.ui->stateLabel->isVisible();
        elapsedMeanwhile = elapsed;
        return ::giveUp();
    });
    window.openAndDragFile(kHanging);
    QVERIFY(person.happened());
    QVERIFY(noticeStays);
    QCOMPARE(elapsedMeanwhile, 0);
    QVERIFY(playingState);
    QVERIFY(window.isVisible());
    QCOMPARE(withoutPolls(bench->engine.input()), QByteArrayList{"polls"});
    QTRY_VERIFY(!window.ui->stateLabel->isVisible());
    QCOMPARE(elapsed, 1);
}

// The list runs on when the probe is over.
void TestSlowProbe::endOfTheMediaComesAfterwards()
{
    makeBench(2);
    playMode = PlayModeSequential;
    TestWindow &window = bench->open(true);
    bench->engine.after(700, EngineAction::exit());
    bench->play(1);
    QVERIFY(bench->engine.waitForStarts(1));
    int startsMeanwhile = 0;
    bool gone = false;
    QElapsedTimer since;
    const Aside person([&] {
        if (!smallWindow())
            return false;
        gone = bench->engine.runningEngines().isEmpty();
        if (!gone)
            return false;
        if (!since.isValid())
            since.start();
        startsMeanwhile = bench->engine.starts().size();
        return since.elapsed() > 700 && ::giveUp();
    });
    window.openAndDragFile(kHanging);
    QVERIFY(person.happened());
    QVERIFY(gone);
    QCOMPARE(startsMeanwhile, 1);
    QVERIFY(bench->engine.waitForStarts(2));
    QCOMPARE(bench->lastPlayed(), PlayerBench::address(0));
}

void TestSlowProbe::screenshotIsReportedAfterwards()
{
    makeBench(1);
    TestWindow &window = bench->open(true);
    QString meanwhile;
    QElapsedTimer since;
    const Aside person([&] {
        if (!smallWindow())
            return false;
        if (!since.isValid()) {
            since.start();
            std::thread([&] { emit window.snapThread->saveSnapShotSignal("/s/shot.png"); }).join();
        }
        meanwhile = window.ui->stateLabel->text();
        return since.elapsed() > 500 && ::giveUp();
    });
    window.openAndDragFile(kHanging);
    QVERIFY(person.happened());
    QVERIFY(!meanwhile.contains("shot.png"));
    QTRY_COMPARE(window.ui->stateLabel->text(), QString("截图已保存至/s/shot.png"));
    QVERIFY(window.ui->stateLabel->isVisible());
}

namespace {
class PaintCounter : public QObject {
public:
    int paints = 0;
    bool eventFilter(QObject *, QEvent *event) override
    {
        paints += event->type() == QEvent::Paint;
        return false;
    }
};
} // namespace

void TestSlowProbe::windowIsPainted()
{
    makeBench(1);
    TestWindow &window = bench->open(true);
    PaintCounter counter;
    window.m_titleBar->installEventFilter(&counter);
    int before = -1;
    const Aside person([&] {
        if (!smallWindow())
            return false;
        if (before < 0) {
            before = counter.paints;
            window.m_titleBar->update();
        }
        return counter.paints > before && ::giveUp();
    });
    window.openAndDragFile(kHanging);
    QVERIFY(person.happened());
}

void TestSlowProbe::severalLocations()
{
    makeBench(0);
    TestWindow &window = bench->open(true);
    QMimeData data;
    data.setUrls({QUrl("file:///f/1.mp4"), QUrl::fromLocalFile(kHanging),
                  QUrl::fromLocalFile(kHanging), QUrl("file:///f/2.mp4")});
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    WhenModal refusal([](QWidget *box) { box->close(); });
    int given = 0;
    const Aside person([&] { return ::giveUp() && ++given == 2; });
    window.dropEvent(&drop);
    QCOMPARE(given, 2);
    QVERIFY(!refusal.happened());
    QCOMPARE(bench->tools.probeCalls().size(), 4);
    QCOMPARE(bench->rows(), QStringList({"2.mp4", "1.mp4"}));
    QTRY_COMPARE(bench->lastPlayed(), QString("/f/2.mp4"));
}

// The main window is not to be seen yet.
void TestSlowProbe::commandLine()
{
    makeBench(0);
    rBtnOpenFile[0] = kHanging;
    rBtnOpenFile[1] = "/f/1.mp4";
    WhenModal refusal([](QWidget *box) { box->close(); });
    const Aside person([] { return ::giveUp(); });
    bench->open();
    QVERIFY(person.happened());
    QVERIFY(!refusal.happened());
    QCOMPARE(bench->rows(), QStringList{"1.mp4"});
    QTRY_COMPARE(bench->lastPlayed(), QString("/f/1.mp4"));
}

void TestSlowProbe::mediaInformation()
{
    makeBench(1);
    addrlist[0].addr = kHanging;
    TestWindow &window = bench->open(true);
    bench->play(0);
    QVERIFY(bench->engine.waitForStarts(1));
    WhenModal information([](QWidget *dialog) { dialog->close(); });
    const Aside person([] { return ::giveUp(); });
    window.showVideoInfoFuc();
    QVERIFY(person.happened());
    QTest::qWait(50);
    QVERIFY(!information.happened());
    QVERIFY(playingState);
}

void TestSlowProbe::signal_data()
{
    QTest::addColumn<bool>("windowShows");
    QTest::newRow("before the window") << false;
    QTest::newRow("while it shows") << true;
}

void TestSlowProbe::signal()
{
    QFETCH(bool, windowShows);
    if (!windowShows)
        companyAfter = 60000;
    makeBench(1);
    TerminationNotifier termination;
    TestWindow &window = bench->open(true);
    connect(&termination, SIGNAL(requested()), &window, SLOT(close()));
    bench->play(0);
    QVERIFY(bench->showsPosition("4", 4));
    WhenModal refusal([](QWidget *box) { box->close(); });
    const QString second = "/f/never.mp4";
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(kHanging), QUrl::fromLocalFile(second)});
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QElapsedTimer clock;
    clock.start();
    std::thread sender([&] {
        QThread::msleep(1000);
        kill(getpid(), SIGTERM);
    });
    window.dropEvent(&drop);
    sender.join();
    QVERIFY2(clock.elapsed() < 60000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(bench->tools.probeCalls().size(), 1);
    QTRY_COMPARE(probes(), QList<qint64>());
    QCOMPARE(addrNum, 1);
    QVERIFY(window.isVisible());
    QTRY_VERIFY(!window.isVisible()); // closed by the event loop
    QVERIFY(!refusal.happened());
}

void TestSlowProbe::signalDuringTheConstruction()
{
    companyAfter = 60000;
    makeBench(0);
    TerminationNotifier termination;
    rBtnOpenFile[0] = kHanging;
    rBtnOpenFile[1] = "/f/1.mp4";
    std::thread sender([] {
        QThread::msleep(1000);
        kill(getpid(), SIGTERM);
    });
    bench->open();
    sender.join();
    QCOMPARE(bench->tools.probeCalls().size(), 1);
    QTRY_COMPARE(probes(), QList<qint64>());
    QCOMPARE(addrNum, 0);
    QVERIFY(bench->engine.starts().isEmpty());
}

QTEST_MAIN(TestSlowProbe)
#include "tst_slowprobe.moc"
