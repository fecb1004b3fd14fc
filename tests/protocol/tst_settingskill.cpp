// No setting is ever lost: a process that saves settings is killed at random moments. The file must
// hold all of them, each with its old or its new value.
#include "common.h"
#include "longform.h"
#include "testsupport.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QLockFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QSettings>
#include <QThread>
#include <QtTest>

#include <thread>

#include <unistd.h>

namespace {

constexpr int saveLimit = 2000; // ms

void silence(QtMsgType, const QMessageLogContext &, const QString &) { }

// Step n saves n as the volume, and as the folder of the screenshots.
int workUntilKilled(const QString &root, int step)
{
    qInstallMessageHandler(silence);
    startPath = root;
    for (;; ++step) {
        setDefaultConfig(QString::number(step), SettingDefaultVolum);
        setDefaultConfig(QString("/图片/%1, a").arg(step), SettingSnapPath);
        if (write(STDOUT_FILENO, "x", 1) != 1)
            return 1;
    }
}

// As if a little more than a second had gone by since somebody made this lock.
void makeOld(const QString &lock)
{
    QFile file(lock);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(QDateTime::currentDateTime().addMSecs(-1100),
                             QFileDevice::FileModificationTime));
}

} // namespace

class TestSettingsKill : public QObject {
    Q_OBJECT

private slots:
    void killedAtRandom();
    void unsignedLock();
    void lockOfTheLiving();
    void cutAtEveryByte();
};

void TestSettingsKill::killedAtRandom()
{
    const int kills = rounds(25, 500);
    InstallRoot root;
    LogCapture log;
    const QString lock = root.configFile() + ".lock";
    // It names its list: reading settings that don't saves one, and that would wait for a lock
    // which the first kill has left unsigned.
    writeFile(root.configFile(),
              "[DEFAULT]\nfirst_start=1\ndefault_last_time=1\nrecord_file=/r.json\nother=kept\n");
    setDefaultConfig("0", SettingDefaultVolum);
    QRandomGenerator random(4711);
    int step = 1;
    for (int round = 0; round < kills; ++round) {
        QProcess worker;
        worker.start(QCoreApplication::applicationFilePath(),
                     {"--child", root.path(), QString::number(step)});
        QVERIFY(worker.waitForReadyRead(30000));
        QThread::usleep(random.bounded(10000));
        worker.kill();
        QVERIFY(worker.waitForFinished(30000));
        QCOMPARE(worker.exitStatus(), QProcess::CrashExit);
        step += worker.readAll().size();

        const QSettings file(root.configFile(), QSettings::IniFormat);
        QCOMPARE(file.status(), QSettings::NoError);
        QCOMPARE(file.value("DEFAULT/other").toString(), QString("kept"));
        QCOMPARE(file.value("DEFAULT/first_start").toString(), QString("1"));
        getDefaultConfig();
        QCOMPARE(lastTimePlayFlag, true);
        // The interrupted step has changed nothing, the first value, or both.
        QVERIFY2(defaultVolum == step - 1 || defaultVolum == step,
                 qPrintable(readFile(root.configFile())));
        QVERIFY(screenShotPath == QString("/图片/%1, a").arg(step) ||
                screenShotPath == QString("/图片/%1, a").arg(step - 1));
        step = defaultVolum + 1;

        // Killed in the instant between making its lock and signing it, the worker has left a lock
        // that is taken for alive at first.
        if (QFile::exists(lock) && readFile(lock).isEmpty())
            makeOld(lock);
        QElapsedTimer clock;
        clock.start();
        setDefaultConfig(QString("/图片/%1, a").arg(step - 1), SettingSnapPath);
        QVERIFY2(clock.elapsed() < saveLimit, qPrintable(QString::number(clock.elapsed())));
    }
}

// A lock that nobody has signed holds a save up only while somebody may be about to sign it.
void TestSettingsKill::unsignedLock()
{
    InstallRoot root;
    const QString lock = root.configFile() + ".lock";
    writeFile(lock, QByteArray());
    makeOld(lock);
    QElapsedTimer clock;
    clock.start();
    setDefaultConfig("42", SettingDefaultVolum);
    QVERIFY2(clock.elapsed() < saveLimit, qPrintable(QString::number(clock.elapsed())));
    getDefaultConfig();
    QCOMPARE(defaultVolum, 42);
    QVERIFY(!QFile::exists(lock));
}

// A living player's lock is respected: both saves arrive.
void TestSettingsKill::lockOfTheLiving()
{
    InstallRoot root;
    const QString path = root.configFile() + ".lock";
    QLockFile lock(path);
    QVERIFY(lock.lock());
    makeOld(path);
    QElapsedTimer clock;
    clock.start();
    std::thread holder([&lock] {
        QThread::msleep(500);
        lock.unlock();
    });
    setDefaultConfig("42", SettingDefaultVolum);
    holder.join();
    QVERIFY(clock.elapsed() >= 500);
    getDefaultConfig();
    QCOMPARE(defaultVolum, 42);
}

// Nothing crashes, and the next save makes a file that is whole.
void TestSettingsKill::cutAtEveryByte()
{
    InstallRoot root;
    LogCapture log;
    const QByteArray whole = "[DEFAULT]\nfirst_start=0\nsnap_path=\"/a, b\\x56fe/\"\nplay_mode=3\n"
                             "record_file=/r.json\ndefault_volum=55\n";
    for (int size = 0; size <= whole.size(); ++size) {
        writeFile(root.configFile(), whole.left(size));
        resetSharedState();
        startPath = root.path();
        getDefaultConfig();
        QVERIFY(!defaultPlayPath.isEmpty());
        setDefaultConfig("42", SettingDefaultVolum);
        getDefaultConfig();
        QCOMPARE(defaultVolum, 42);
        if (size > 24) // what stood before the cut is kept
            QVERIFY(readFile(root.configFile()).contains("first_start=0\n"));
    }
    QCOMPARE(playMode, 3);
}

int main(int argc, char *argv[])
{
    if (argc == 4 && qstrcmp(argv[1], "--child") == 0)
        return workUntilKilled(QFile::decodeName(argv[2]), QByteArray(argv[3]).toInt());
    QCoreApplication application(argc, argv);
    TestSettingsKill test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_settingskill.moc"
