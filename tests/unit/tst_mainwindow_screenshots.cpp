// The main window's side of screenshots: the folder, the worker's start, the button, the notice.
#include "common.h"
#include "enginebench.h"
#include "testsupport.h"
#include "testwindow.h"
#include "whenopen.h"

#include <QMessageBox>
#include <QtTest>

class TestMainWindowScreenshots : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void defaultFolderIsMade_data();
    void defaultFolderIsMade();
    void folderThatCannotBeMade();
    void chosenFolderIsLeftAlone();
    void workerRunsInSoftwareModes_data();
    void workerRunsInSoftwareModes();
    void buttonCountsRequests();
    void buttonWithNothingLoaded();
    void noticeNamesTheFile();

private:
    QScopedPointer<InstallRoot> root;
    QScopedPointer<EnvironmentVariable> home;
};

void TestMainWindowScreenshots::init()
{
    resetSharedState();
    root.reset(new InstallRoot);
    defaultPlayPath = root->historyFile();
    home.reset(new EnvironmentVariable("HOME", root->path().toUtf8()));
}

void TestMainWindowScreenshots::cleanup()
{
    home.reset();
    root.reset();
}

void TestMainWindowScreenshots::defaultFolderIsMade_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<int>("mode");
    QTest::newRow("no Pictures at home") << "" << 0;
    QTest::newRow("Pictures is there") << "/Pictures" << 1;
    QTest::newRow("all is there") << "/Pictures/TNPlayer_ScreenShot" << 0;
    QTest::newRow("hardware decoding") << "" << 2;
}

void TestMainWindowScreenshots::defaultFolderIsMade()
{
    QFETCH(QString, before);
    QFETCH(int, mode);
    QVERIFY(QDir().mkpath(root->path() + before));
    decodeFlag = mode;
    WhenModal box([](QWidget *widget) { widget->close(); });
    TestWindow window(nullptr);
    QVERIFY(!box.happened());
    QCOMPARE(screenShotPath, root->path() + "/Pictures/TNPlayer_ScreenShot/");
    QVERIFY(QFileInfo(screenShotPath).isDir());
    QVERIFY(!QFile::exists(root->configFile())); // not a setting of the user's
}

void TestMainWindowScreenshots::folderThatCannotBeMade()
{
    writeFile(root->path() + "/Pictures", "a file");
    WhenModal box([](QWidget *widget) {
        auto *message = qobject_cast<QMessageBox *>(widget);
        QVERIFY(message);
        QCOMPARE(message->text(), QString("make screenshot dir failed"));
        QCOMPARE(message->windowTitle(), QString("提示"));
        QCOMPARE(message->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
        message->button(QMessageBox::Ok)->click();
    });
    TestWindow window(nullptr); // goes on
    QVERIFY(box.happened());
    QCOMPARE(screenShotPath, root->path() + "/Pictures/TNPlayer_ScreenShot/");
    QVERIFY(window.snapThread->isRunning());
    QCOMPARE(readFile(root->path() + "/Pictures"), QByteArray("a file"));
}

void TestMainWindowScreenshots::chosenFolderIsLeftAlone()
{
    screenShotPath = root->path() + "/none/";
    WhenModal box([](QWidget *widget) { widget->close(); });
    TestWindow window(nullptr);
    QVERIFY(!box.happened());
    QCOMPARE(screenShotPath, root->path() + "/none/");
    QVERIFY(!QFile::exists(screenShotPath));
    QVERIFY(!QFile::exists(root->path() + "/Pictures"));
}

void TestMainWindowScreenshots::workerRunsInSoftwareModes_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("runs");
    QTest::newRow("software") << 0 << true;
    QTest::newRow("threads") << 1 << true;
    QTest::newRow("hardware") << 2 << false;
}

void TestMainWindowScreenshots::workerRunsInSoftwareModes()
{
    QFETCH(int, mode);
    QFETCH(bool, runs);
    decodeFlag = mode;
    TestWindow window(nullptr);
    QCOMPARE(window.snapThread->isRunning(), runs);
    QCOMPARE(window.snapThread->runFlag, runs);
    QCOMPARE(window.snapThread->snapCount, 0);
    if (runs)
        QCOMPARE(window.snapThread->priority(), QThread::InheritPriority);
    QCOMPARE(window.ui->snapShotBtn->isEnabled(), runs);
    QCOMPARE(window.ui->snapShotBtn->toolTip(),
             runs ? QString("截图") : QString("硬解模式下不支持截图"));
}

void TestMainWindowScreenshots::buttonCountsRequests()
{
    const StandInEngine engine(root->path());
    TestWindow window(nullptr);
    playinglist.process_mplayer->start(engine.path(), QStringList());
    playinglist.state = 1;
    for (const bool playing : {true, false}) { // paused as well
        playingState = playing;
        window.ui->snapShotBtn->click();
    }
    QCOMPARE(window.snapThread->snapCount, 2);
    playinglist.process_mplayer->closeWriteChannel();
    QTRY_VERIFY(engine.last().inputClosed);
    QCOMPARE(engine.input(), QByteArray("screenshot 0screenshot 0")); // no line ends: intended
}

void TestMainWindowScreenshots::buttonWithNothingLoaded()
{
    const StandInEngine engine(root->path());
    TestWindow window(nullptr);
    playinglist.process_mplayer->start(engine.path(), QStringList());
    playingState = true; // only the loaded state counts
    window.ui->snapShotBtn->click();
    QCOMPARE(window.snapThread->snapCount, 0);
    playinglist.process_mplayer->closeWriteChannel();
    QTRY_VERIFY(engine.last().inputClosed);
    QCOMPARE(engine.input(), QByteArray());
}

void TestMainWindowScreenshots::noticeNamesTheFile()
{
    TestWindow window(nullptr);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    emit window.snapThread->saveSnapShotSignal("/a/shot-<b>.png");
    QCOMPARE(window.ui->stateLabel->text(), QString("截图已保存至/a/shot-<b>.png"));
    QVERIFY(window.ui->stateLabel->isVisible());
    QCOMPARE(window.stateLabelTimer->interval(), 2000);
}

QTEST_MAIN(TestMainWindowScreenshots)
#include "tst_mainwindow_screenshots.moc"
