// What reacts during a standstill, and what comes of the rest afterwards.
#include "standstill.h"

#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QTimer>
#include <QtTest>

#include <unistd.h>

namespace {

class Counter : public QWidget {
public:
    Counter() { setAcceptDrops(true); }

    int paints = 0;
    int presses = 0;
    int keys = 0;
    int drops = 0;
    int closes = 0;

protected:
    void paintEvent(QPaintEvent *) override { ++paints; }
    void mousePressEvent(QMouseEvent *) override { ++presses; }
    void keyPressEvent(QKeyEvent *) override { ++keys; }
    void dragEnterEvent(QDragEnterEvent *) override { ++drops; }
    void dropEvent(QDropEvent *) override { ++drops; }
    void closeEvent(QCloseEvent *event) override
    {
        ++closes;
        event->ignore();
    }
};

class TimerOwner : public QObject {
public:
    int elapsed = 0;

protected:
    void timerEvent(QTimerEvent *) override { ++elapsed; }
};

// As what waits in a standstill does it.
void processEventsFor(int ms)
{
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < ms) {
        QCoreApplication::processEvents(QEventLoop::ExcludeSocketNotifiers);
        QThread::msleep(5);
    }
}

// A press, a key, a drop and a request to close.
void actOn(QWidget *widget)
{
    QTest::mousePress(widget, Qt::LeftButton);
    QTest::keyPress(widget, Qt::Key_A);
    const QMimeData data;
    QDragEnterEvent enter({}, Qt::CopyAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(widget, &enter);
    QDropEvent drop({}, Qt::CopyAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(widget, &drop);
    QCloseEvent close;
    QCoreApplication::sendEvent(widget, &close);
}

constexpr int kStandstill = 150; // ms

} // namespace

class TestStandstill : public QObject {
    Q_OBJECT

private slots:
    void timersComeOnceAfterwards();
    void timersInTheirTime();
    void timersThatAreNotWantedAnyMore();
    void timersOfObjectsThemselves();
    void timersOfTheExemptWindow();
    void timerThatElapsesByItself();
    void rhythmGoesOn();
    void oneAfterTheOther();
    void sectionInsideADueTimer();
    void socketsStayUnread();
    void inputOfOthersIsLost();
    void othersArePainted();
    void actionsArePostponed();
};

void TestStandstill::timersComeOnceAfterwards()
{
    QWidget exempt;
    QTimer repeating;
    QTimer single;
    single.setSingleShot(true);
    int immediate = 0;
    QSignalSpy repeated(&repeating, &QTimer::timeout);
    QSignalSpy once(&single, &QTimer::timeout);
    {
        const Standstill standstill(&exempt);
        repeating.start(70);
        single.start(20);
        QTimer::singleShot(0, &exempt, [&immediate] { ++immediate; }); // a queued call
        QTimer::singleShot(10, qApp, [&immediate] { immediate += 10; });
        processEventsFor(1000);
        QCOMPARE(repeated.size(), 0);
        QCOMPARE(once.size(), 0);
    }
    QCOMPARE(repeated.size(), 0);
    repeating.setInterval(60000); // so that it can't elapse again
    repeating.stop();
    QCoreApplication::processEvents();
    QCOMPARE(repeated.size(), 0); // stopped before it was given out
    QCOMPARE(once.size(), 1);
    QVERIFY(immediate >= 10);
    QTest::qWait(100);
    QCOMPARE(once.size(), 1);
    QVERIFY(!single.isActive());
    QVERIFY(immediate <= 11);
}

// What isn't due waits for its time.
void TestStandstill::timersInTheirTime()
{
    QWidget exempt;
    QTimer timer;
    timer.setSingleShot(true);
    QSignalSpy elapsed(&timer, &QTimer::timeout);
    timer.start(60000);
    {
        const Standstill standstill(&exempt);
        processEventsFor(kStandstill);
    }
    QTest::qWait(100);
    QCOMPARE(elapsed.size(), 0);
    QVERIFY(timer.isActive());
}

void TestStandstill::timersThatAreNotWantedAnyMore()
{
    QWidget exempt;
    QTimer stopped;
    QTimer restarted;
    auto *gone = new QTimer;
    QSignalSpy ofStopped(&stopped, &QTimer::timeout);
    QSignalSpy ofRestarted(&restarted, &QTimer::timeout);
    {
        const Standstill standstill(&exempt);
        for (QTimer *timer : {&stopped, &restarted, gone})
            timer->start(10);
        processEventsFor(kStandstill);
    }
    stopped.stop();
    restarted.start(60000);
    delete gone;
    QTest::qWait(100);
    QCOMPARE(ofStopped.size(), 0);
    QCOMPARE(ofRestarted.size(), 0);
    QVERIFY(restarted.isActive());
}

void TestStandstill::timersOfObjectsThemselves()
{
    QWidget exempt;
    TimerOwner owner;
    {
        const Standstill standstill(&exempt);
        owner.startTimer(200);
        processEventsFor(500);
        QCOMPARE(owner.elapsed, 0);
    }
    QElapsedTimer clock;
    clock.start();
    QCoreApplication::processEvents();
    QVERIFY(owner.elapsed == 1 || clock.elapsed() > 90);
    QTRY_VERIFY(owner.elapsed >= 3);
}

void TestStandstill::timersOfTheExemptWindow()
{
    QWidget exempt;
    auto *child = new QWidget(&exempt);
    auto *timer = new QTimer(child);
    QSignalSpy elapsed(timer, &QTimer::timeout);
    timer->start(10);
    const Standstill standstill(&exempt);
    processEventsFor(kStandstill);
    QVERIFY(elapsed.size() >= 2);
}

// Due again before it was given out, it comes once all the same.
void TestStandstill::timerThatElapsesByItself()
{
    QWidget exempt;
    QTimer timer;
    QSignalSpy elapsed(&timer, &QTimer::timeout);
    {
        const Standstill standstill(&exempt);
        timer.start(1000);
        processEventsFor(1100);
        QCOMPARE(elapsed.size(), 0);
    }
    QThread::msleep(950); // its next time passes: at 2000, now 2050
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    QCOMPARE(elapsed.size(), 1);
}

void TestStandstill::rhythmGoesOn()
{
    QWidget exempt;
    QTimer timer;
    QSignalSpy elapsed(&timer, &QTimer::timeout);
    {
        const Standstill standstill(&exempt);
        timer.start(50);
        processEventsFor(kStandstill);
    }
    QTRY_VERIFY(elapsed.size() >= 4);
}

// No event loop runs in between.
void TestStandstill::oneAfterTheOther()
{
    QWidget exempt;
    QTimer single;
    single.setSingleShot(true);
    QSignalSpy elapsed(&single, &QTimer::timeout);
    single.start(10);
    int actions = 0;
    for (int i = 0; i < 3; ++i) {
        const Standstill standstill(&exempt);
        QVERIFY(Standstill::postpone(&exempt, [&actions] { ++actions; }));
        processEventsFor(kStandstill);
        QCOMPARE(elapsed.size(), 0);
        QCOMPARE(actions, 0);
    }
    QTest::qWait(50);
    QCOMPARE(elapsed.size(), 1);
    QCOMPARE(actions, 3);
}

// What is due may lead to the next one.
void TestStandstill::sectionInsideADueTimer()
{
    QWidget exempt;
    QTimer first;
    QTimer second;
    first.setSingleShot(true);
    second.setSingleShot(true);
    int seconds = 0;
    int duringTheNext = 0;
    QObject::connect(&second, &QTimer::timeout, [&seconds] { ++seconds; });
    QObject::connect(&first, &QTimer::timeout, [&] {
        const Standstill standstill(&exempt);
        processEventsFor(kStandstill);
        duringTheNext = seconds;
    });
    {
        const Standstill standstill(&exempt);
        first.start(5);
        second.start(60);
        processEventsFor(kStandstill);
    }
    QTRY_COMPARE(seconds, 1);
    QCOMPARE(duringTheNext, 0);
    QTest::qWait(100);
    QCOMPARE(seconds, 1);
}

void TestStandstill::socketsStayUnread()
{
    QWidget exempt;
    int ends[2];
    QCOMPARE(pipe(ends), 0);
    int activated = 0;
    QSocketNotifier notifier(ends[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [&](QSocketDescriptor) {
        char byte;
        activated += static_cast<int>(read(ends[0], &byte, 1));
    });
    QCOMPARE(write(ends[1], "x", 1), ssize_t(1));
    {
        const Standstill standstill(&exempt);
        processEventsFor(kStandstill);
        QCOMPARE(activated, 0);
    }
    QTRY_COMPARE(activated, 1);
    close(ends[0]);
    close(ends[1]);
}

void TestStandstill::inputOfOthersIsLost()
{
    Counter other;
    Counter exempt;
    Counter *const child = new Counter;
    child->setParent(&exempt);
    for (Counter *window : {&other, &exempt}) {
        window->resize(200, 100);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
    }
    {
        const Standstill standstill(&exempt);
        for (Counter *widget : {&other, &exempt, child})
            actOn(widget);
        QVERIFY(!other.close());
        QVERIFY(other.isVisible());
    }
    for (const int count : {other.presses, other.keys, other.drops, other.closes})
        QCOMPARE(count, 0);
    for (Counter *widget : {&exempt, child}) {
        QVERIFY(widget->presses > 0);
        QVERIFY(widget->drops > 0);
        QCOMPARE(widget->closes, 1);
    }
    actOn(&other); // and is heard again
    QCOMPARE(other.presses, 1);
    QVERIFY(other.drops > 0);
}

void TestStandstill::othersArePainted()
{
    QWidget exempt;
    Counter other;
    other.resize(200, 100);
    other.show();
    QVERIFY(QTest::qWaitForWindowExposed(&other));
    const Standstill standstill(&exempt);
    const int before = other.paints;
    other.update();
    processEventsFor(kStandstill);
    QVERIFY(other.paints > before);
    const QSize larger(300, 150);
    other.resize(larger);
    const int afterUpdate = other.paints;
    processEventsFor(500);
    QVERIFY(other.paints > afterUpdate);
}

void TestStandstill::actionsArePostponed()
{
    QWidget exempt;
    QStringList done;
    auto *gone = new QObject;
    QVERIFY(!Standstill::postpone(qApp, [&done] { done << "never"; }));
    {
        const Standstill standstill(&exempt);
        QVERIFY(Standstill::postpone(qApp, [&done] { done << "a"; }));
        QVERIFY(Standstill::postpone(gone, [&done] { done << "gone"; }));
        QVERIFY(Standstill::postpone(qApp, [&done] { done << "b"; }));
        processEventsFor(kStandstill);
        QCOMPARE(done, QStringList());
    }
    delete gone;
    QCOMPARE(done, QStringList());
    QCoreApplication::processEvents();
    QCOMPARE(done, QStringList({"a", "b"}));
}

QTEST_MAIN(TestStandstill)
#include "tst_standstill.moc"
