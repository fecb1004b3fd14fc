#include "terminationnotifier.h"

#include "ownprocess.h"

#include <QApplication>
#include <QDialog>
#include <QMenu>
#include <QMessageBox>
#include <QProcess>
#include <QtTest>

#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace {

const int kEndingSignals[] = {SIGTERM, SIGINT, SIGHUP};

struct sigaction actionOf(int signal)
{
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    return action;
}

// Raises signal as soon as an event loop runs.
void raiseLater(int signal)
{
    QTimer::singleShot(0, [signal] { raise(signal); });
}

QByteArray descriptorsOfAChild()
{
    QProcess child;
    child.start("/bin/ls", {"/proc/self/fd"});
    child.waitForFinished();
    return child.readAllStandardOutput();
}

} // namespace

class TestTerminationNotifier : public QObject {
    Q_OBJECT

private slots:
    void cleanup();
    void signalEndsTheMainLoop_data();
    void signalEndsTheMainLoop();
    void requestIsLikeASignal();
    void nothingHappensBeforeTheLoop();
    void severalSignalsAreOneRequest();
    void nestedLoopsEnd();
    void windowIsClosedBeforeTheLoopEnds();
    void loopsAfterTheSignalEndAtOnce();
    void mainLoopAfterTheSignalEnds();
    void handlersComeAndGo();
    void pipeIsGivenBack();
    void handlerIsHarmless();
    void pipeIsNotInherited();
};

// The exit that a signal causes lasts until the next main loop: end it for the next test.
void TestTerminationNotifier::cleanup()
{
    QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(0); });
    QCoreApplication::exec();
}

void TestTerminationNotifier::signalEndsTheMainLoop_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void TestTerminationNotifier::signalEndsTheMainLoop()
{
    QFETCH(int, signal);
    TerminationNotifier notifier;
    QSignalSpy requested(&notifier, &TerminationNotifier::requested);
    QVERIFY(!notifier.isPending());
    QVERIFY(!TerminationNotifier::isRequested());
    raiseLater(signal);
    QCOMPARE(QCoreApplication::exec(), 0);
    QVERIFY(notifier.isPending());
    QVERIFY(TerminationNotifier::isRequested());
    QCOMPARE(requested.count(), 1);
}

void TestTerminationNotifier::requestIsLikeASignal()
{
    TerminationNotifier::request(); // nobody is there
    QVERIFY(!TerminationNotifier::isRequested());
    TerminationNotifier notifier;
    QSignalSpy requests(&notifier, SIGNAL(requested()));
    QTimer::singleShot(0, [] { TerminationNotifier::request(); });
    QCOMPARE(QApplication::exec(), 0);
    QCOMPARE(requests.size(), 1);
    QVERIFY(TerminationNotifier::isRequested());
}

void TestTerminationNotifier::nothingHappensBeforeTheLoop()
{
    TerminationNotifier notifier;
    QSignalSpy requested(&notifier, &TerminationNotifier::requested);
    raise(SIGTERM);
    QVERIFY(!notifier.isPending()); // the handler itself does nothing but note it
    QVERIFY(TerminationNotifier::isRequested());
    QCOMPARE(requested.count(), 0);
    QCOMPARE(QCoreApplication::exec(), 0);
    QCOMPARE(requested.count(), 1);
}

void TestTerminationNotifier::severalSignalsAreOneRequest()
{
    TerminationNotifier notifier;
    QSignalSpy requested(&notifier, &TerminationNotifier::requested);
    connect(&notifier, &TerminationNotifier::requested, [] { raise(SIGINT); });
    for (const int signal : kEndingSignals)
        raise(signal);
    QCOMPARE(QCoreApplication::exec(), 0);
    raise(SIGTERM);
    QCOMPARE(QCoreApplication::exec(), 0);
    QCOMPARE(requested.count(), 1);
}

void TestTerminationNotifier::nestedLoopsEnd()
{
    TerminationNotifier notifier;
    QStringList ended;
    QTimer::singleShot(0, qApp, [&ended] {
        QTimer::singleShot(0, qApp, [&ended] {
            QTimer::singleShot(0, qApp, [&ended] {
                QMenu menu;
                menu.addAction("entry");
                raiseLater(SIGTERM);
                menu.exec(QPoint(10, 10));
                ended << "menu";
            });
            QMessageBox box;
            box.setText("text");
            box.exec();
            ended << "box";
        });
        QDialog dialog;
        dialog.exec();
        ended << "dialog";
    });
    QCOMPARE(QCoreApplication::exec(), 0);
    QCOMPARE(ended, (QStringList{"menu", "box", "dialog"}));
}

void TestTerminationNotifier::windowIsClosedBeforeTheLoopEnds()
{
    TerminationNotifier notifier;
    QWidget window;
    connect(&notifier, SIGNAL(requested()), &window, SLOT(close()));
    window.show();
    QTimer::singleShot(0, qApp, [] {
        QDialog dialog; // modal, above the window
        raiseLater(SIGHUP);
        dialog.exec();
    });
    QCOMPARE(QCoreApplication::exec(), 0);
    QVERIFY(!window.isVisible());
}

void TestTerminationNotifier::loopsAfterTheSignalEndAtOnce()
{
    TerminationNotifier notifier;
    QEventLoop before; // no main loop runs yet
    raiseLater(SIGTERM);
    before.exec();
    QVERIFY(notifier.isPending());
    for (int i = 0; i < 3; ++i) {
        QMessageBox box;
        box.setText("refused");
        box.exec(); // returns by itself or this test hangs
    }
}

void TestTerminationNotifier::mainLoopAfterTheSignalEnds()
{
    TerminationNotifier notifier;
    QEventLoop before;
    raiseLater(SIGTERM);
    before.exec();
    QVERIFY(notifier.isPending());
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(QCoreApplication::exec(), 0); // it forgets the first exit, not the repeated ones
    QVERIFY(timer.elapsed() < 2000);
}

void TestTerminationNotifier::handlersComeAndGo()
{
    void (*previous[3])(int) = {};
    const auto quitHandler = actionOf(SIGQUIT).sa_handler;
    for (int i = 0; i < 3; ++i)
        previous[i] = actionOf(kEndingSignals[i]).sa_handler;
    {
        TerminationNotifier notifier;
        for (int i = 0; i < 3; ++i) {
            const struct sigaction action = actionOf(kEndingSignals[i]);
            QVERIFY(action.sa_handler != previous[i]);
            QVERIFY(action.sa_flags & SA_RESTART); // reads of the probe's output go on
        }
        QVERIFY(actionOf(SIGQUIT).sa_handler == quitHandler); // others are left alone
    }
    for (int i = 0; i < 3; ++i)
        QVERIFY(actionOf(kEndingSignals[i]).sa_handler == previous[i]);
}

void TestTerminationNotifier::pipeIsGivenBack()
{
    const int before = OwnProcess::openFiles();
    for (int i = 0; i < 3; ++i) {
        const TerminationNotifier notifier;
        QCOMPARE(OwnProcess::openFiles(), before + 2);
    }
    QCOMPARE(OwnProcess::openFiles(), before);
}

void TestTerminationNotifier::handlerIsHarmless()
{
    TerminationNotifier notifier;
    errno = EBADF;
    for (int i = 0; i < 70000; ++i) // more than a pipe holds: neither blocks nor fails
        raise(SIGTERM);
    QCOMPARE(errno, EBADF);
    QCOMPARE(QCoreApplication::exec(), 0);
    QVERIFY(notifier.isPending());
}

void TestTerminationNotifier::pipeIsNotInherited()
{
    const QByteArray without = descriptorsOfAChild();
    QVERIFY(without.count('\n') >= 3);
    TerminationNotifier notifier;
    QCOMPARE(descriptorsOfAChild(), without);
}

int main(int argc, char *argv[])
{
    // A test run in the background of a shell inherits ignored signals.
    for (const int signal : kEndingSignals)
        ::signal(signal, SIG_DFL);
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    TestTerminationNotifier test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_terminationnotifier.moc"
