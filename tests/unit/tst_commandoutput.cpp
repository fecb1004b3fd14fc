// Running commands: who may end them, and that nothing of them outlives the player.
#include "commandoutput.h"
#include "ownprocess.h"
#include "processes.h"
#include "terminationnotifier.h"
#include "testsupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QtTest>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const char kMark[] = "COMMAND_BENCH";
const QByteArray kChatter = "trap '' PIPE; while :; do echo x; done 2>/dev/null";
constexpr int kPromptly = 30000; // ms; what waits in these tests waits for 1000 s

int made = 0;
int alive = 0;
int attended = 0;
int patience = 0; // attendances until it gives up; 0: never does

class Company : public CommandCompany {
public:
    Company()
    {
        ++made;
        ++alive;
    }
    ~Company() override { --alive; }
    bool attend() override { return ++attended != patience; }
};

std::unique_ptr<CommandCompany> makeCompany() { return std::make_unique<Company>(); }

QList<qint64> marked()
{
    return Processes::withEnvironment(QByteArray(kMark) + '=' + Processes::ownMark());
}

bool hasNoChild()
{
    errno = 0;
    return waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD;
}

} // namespace

class TestCommandOutput : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void companyComesLate();
    void givenUp_data();
    void givenUp();
    void signalEndsIt_data();
    void signalEndsIt();
    void signalBeforeIt();
    void diesWithThePlayer_data();
    void diesWithThePlayer();
    void backgroundRunsOn();
    void beginsAsThePlayerBegan();
    void endedUnlessAwaited();
    void runsOnItsOwn();
    void messagesComeWhenAwaited();
    void withoutStandardDescriptors();

private:
    QScopedPointer<EnvironmentVariable> mark;
    QTemporaryDir dir;
};

void TestCommandOutput::init()
{
    mark.reset(new EnvironmentVariable(kMark, Processes::ownMark()));
    made = alive = attended = patience = 0;
    companyAfter = 200;
}

void TestCommandOutput::cleanup()
{
    companyAfter = 10000;
    QVERIFY(Processes::end(marked()));
    mark.reset();
}

void TestCommandOutput::companyComesLate()
{
    companyAfter = 60000;
    CommandResult result = runCommand("sleep 0.3; echo x", makeCompany);
    QCOMPARE(result.output, QByteArray("x\n"));
    QCOMPARE(made, 0);

    companyAfter = 200;
    result = runCommand("printf a; sleep 1; printf b", makeCompany);
    QCOMPARE(result.output, QByteArray("ab"));
    QVERIFY(!result.givenUp);
    QCOMPARE(made, 1);
    QCOMPARE(alive, 0);
    QVERIFY2(attended > 2 && attended < 60, qPrintable(QString::number(attended)));
}

void TestCommandOutput::givenUp_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::newRow("sleeps") << QByteArray("sleep 1000");
    QTest::newRow("ignores requests")
        << QByteArray("trap '' TERM HUP INT; while :; do sleep 1000; done");
    QTest::newRow("ends, but a child holds the pipe") << QByteArray("sleep 1000 & echo x");
    QTest::newRow("closes its output") << QByteArray("echo x; exec >&-; sleep 1000");
    QTest::newRow("chatters and sees no closed pipe") << kChatter;
    QTest::newRow("several") << QByteArray("sleep 1000 | sh -c 'sleep 1000; cat' | sleep 1000");
    QTest::newRow("opens a FIFO") << QByteArray("cat " + QFile::encodeName(dir.path()) + "/fifo");
}

void TestCommandOutput::givenUp()
{
    QFETCH(QByteArray, command);
    mkfifo(QFile::encodeName(dir.filePath("fifo")).constData(), 0600);
    const int filesBefore = OwnProcess::openFiles();
    patience = 3;
    QElapsedTimer clock;
    clock.start();
    const CommandResult result = runCommand(command, makeCompany);
    QVERIFY2(clock.elapsed() < kPromptly, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(result.givenUp);
    QCOMPARE(result.output, QByteArray());
    QCOMPARE(attended, 3);
    QCOMPARE(alive, 0);
    QTRY_COMPARE(marked(), QList<qint64>());
    QVERIFY(hasNoChild());
    QCOMPARE(OwnProcess::openFiles(), filesBefore);
}

void TestCommandOutput::signalEndsIt_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<bool>("accompanied");
    for (const char *name : {"TERM", "INT", "HUP"}) {
        const QByteArray signal = QByteArray("kill -") + name + " $PPID; ";
        QTest::addRow("%s at once", name) << signal + "sleep 1000" << false;
        QTest::addRow("%s later", name) << "sleep 0.5; " + signal + "sleep 1000" << true;
        QTest::addRow("%s, output closed", name)
            << "exec >&-; sleep 0.5; " + signal + "sleep 1000" << false;
    }
    QTest::newRow("TERM amid chatter") << "(sleep 0.5; kill -TERM $PPID) & " + kChatter << false;
}

void TestCommandOutput::signalEndsIt()
{
    QFETCH(QByteArray, command);
    QFETCH(bool, accompanied);
    if (!accompanied)
        companyAfter = 60000;
    const TerminationNotifier termination;
    QElapsedTimer clock;
    clock.start();
    const CommandResult result = runCommand(command, makeCompany);
    QVERIFY2(clock.elapsed() < kPromptly, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(result.givenUp);
    QVERIFY(TerminationNotifier::isRequested());
    QCOMPARE(made, accompanied ? 1 : 0);
    QTRY_COMPARE(marked(), QList<qint64>());
    QVERIFY(hasNoChild());
}

void TestCommandOutput::signalBeforeIt()
{
    const TerminationNotifier termination;
    raise(SIGTERM);
    QVERIFY(runCommand("sleep 1000").givenUp);
    QTRY_COMPARE(marked(), QList<qint64>());
}

void TestCommandOutput::diesWithThePlayer_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<int>("signal");
    const QByteArray two = "trap \"\" TERM HUP INT; sleep 1000 & sleep 1000; echo x";
    for (const int signal : {SIGKILL, SIGSEGV}) {
        QTest::addRow("its shell, %d", signal) << two << signal;
        for (const char *shell : {"dash", "bash"})
            QTest::addRow("%s, %d", shell, signal)
                << QByteArray(shell) + " -c '" + two + "'; echo" << signal;
    }
}

// Another process takes the player's place.
void TestCommandOutput::diesWithThePlayer()
{
    QFETCH(QByteArray, command);
    QFETCH(int, signal);
    const pid_t player = fork();
    if (player == 0) {
        ::signal(signal, SIG_DFL);
        readCommandOutput(command);
        _exit(0);
    }
    const auto sleepers = [] {
        int count = 0;
        for (const qint64 process : marked())
            count += Processes::arguments(process).value(0) == "sleep";
        return count;
    };
    QTRY_COMPARE(sleepers(), 2);
    QCOMPARE(kill(player, signal), 0);
    QCOMPARE(waitpid(player, nullptr, 0), player);
    QTRY_COMPARE(marked(), QList<qint64>());
}

// Whoever wants that, closes the output for it.
void TestCommandOutput::backgroundRunsOn()
{
    const CommandResult result = runCommand("sleep 1000 >/dev/null 2>&1 & printf $!", makeCompany);
    QVERIFY(!result.givenUp);
    const qint64 sleeper = result.output.toLongLong();
    QVERIFY(sleeper > 0);
    QTest::qWait(200); // for what might be coming
    QVERIFY(Processes::alive(sleeper));
    QVERIFY(Processes::end({sleeper}));
}

// But for the signal by which a terminal halts what writes from another process group.
void TestCommandOutput::beginsAsThePlayerBegan()
{
    const auto ignored = [](const QByteArray &status) {
        for (const QByteArray &line : status.split('\n')) {
            if (line.startsWith("SigIgn:"))
                return line.mid(7).trimmed().toULongLong(nullptr, 16);
        }
        return 0ULL;
    };
    const qulonglong halting = 1ULL << (SIGTTOU - 1);
    QCOMPARE(ignored(readCommandOutput("cat /proc/self/status")),
             ignored(readFile("/proc/self/status")) | halting);
    QCOMPARE(readCommandOutput("pwd").trimmed(), QDir::currentPath().toLocal8Bit());
}

void TestCommandOutput::endedUnlessAwaited()
{
    const int filesBefore = OwnProcess::openFiles();
    {
        const RunningCommand command("sleep 1000 & echo x; sleep 1000",
                                     RunningCommand::MessagesWhenAwaited);
        QTRY_COMPARE(marked().size(), 3);
        QVERIFY(!command.hasEnded());
    }
    QTRY_COMPARE(marked(), QList<qint64>());
    QVERIFY(hasNoChild());
    QCOMPARE(OwnProcess::openFiles(), filesBefore);
}

// More than a pipe holds waits to be read, and holds nobody up afterwards.
void TestCommandOutput::runsOnItsOwn()
{
    RunningCommand quick("echo x");
    RunningCommand long_("yes | head -c 1000000");
    QTRY_VERIFY(quick.hasEnded());
    QCOMPARE(long_.wait().output.size(), kCommandOutputLimit);
    const CommandResult result = quick.wait(makeCompany);
    QCOMPARE(result.output, QByteArray("x\n"));
    QVERIFY(!result.givenUp);
    QCOMPARE(made, 0);
    QVERIFY(hasNoChild());
}

void TestCommandOutput::messagesComeWhenAwaited()
{
    const QString path = dir.filePath("messages");
    const int own = dup(STDERR_FILENO);
    const int file = open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_APPEND, 0600);
    dup2(file, STDERR_FILENO);
    RunningCommand command("echo said >&2; echo x; yes | head -c 200000 >&2",
                           RunningCommand::MessagesWhenAwaited);
    const bool ended = QTest::qWaitFor([&] { return command.hasEnded(); }, kPromptly);
    const QByteArray before = readFile(path);
    const CommandResult result = command.wait();
    dup2(own, STDERR_FILENO);
    close(own);
    close(file);
    QVERIFY(ended);
    QCOMPARE(before, QByteArray());
    QCOMPARE(result.output, QByteArray("x\n"));
    QCOMPARE(readFile(path).left(9), QByteArray("said\ny\ny\n"));
    QCOMPARE(readFile(path).size(), 200005);
}

void TestCommandOutput::withoutStandardDescriptors()
{
    int kept[3];
    for (int i = 0; i < 3; i++) {
        kept[i] = fcntl(i, F_DUPFD_CLOEXEC, 10);
        close(i);
    }
    const QByteArray plain = runCommand("echo x").output;
    const QByteArray later =
        RunningCommand("echo y; echo said >&2", RunningCommand::MessagesWhenAwaited).wait().output;
    for (int i = 0; i < 3; i++) {
        dup2(kept[i], i);
        close(kept[i]);
    }
    QCOMPARE(plain, QByteArray("x\n"));
    QCOMPARE(later, QByteArray("y\n"));
}

QTEST_GUILESS_MAIN(TestCommandOutput)
#include "tst_commandoutput.moc"
