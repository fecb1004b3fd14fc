// Closing the main window: what is saved and in which order, and that nothing stays behind.
#include "playerbench.h"
#include "whenopen.h"

#include <QCloseEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QSettings>
#include <QtTest>

class TestClosing : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void savesPositionAndVolume();
    void keepsThePlaceWithoutResume();
    void emptiesTheListLast();
    void listThatCannotBeEmptied();
    void stopsTimersPopUpsAndWorker();
    void closesWhilePaused();
    void closesWithNothingLoaded();
    void closesInFullScreen();
    void tenTimes();
    void destroyedWithoutClosing();
    void engineThatIgnoresQuit();
    void duringARefusalNothingMoreIsOpened();
    void duringAWarningNothingIsStarted();

private:
    void makeWindow();
    QString storedVolume() const;

    QScopedPointer<PlayerBench> bench;
    TestWindow *window = nullptr;
};

void TestClosing::init()
{
    bench.reset(new PlayerBench(1));
    bench->engine.setLength("100.00");
    bench->engine.setPosition("40.0");
    addrlist[0].last_play_time = 7;
    varyJsonConfig(defaultPlayPath, addrlist);
    lastTimePlayFlag = true;
    defaultVolum = 62;
    makeWindow();
}

void TestClosing::cleanup()
{
    bench->window.reset();
    QVERIFY(bench->engine.waitForNoEngine());
    bench.reset();
}

void TestClosing::makeWindow()
{
    bench->window.reset(); // there is one main window at a time: it owns the shared engine
    bench->window = std::make_unique<TestWindow>();
    window = bench->window.get();
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window));
}

QString TestClosing::storedVolume() const
{
    return QSettings(bench->root.configFile(), QSettings::IniFormat)
        .value("/DEFAULT/default_volum")
        .toString();
}

void TestClosing::savesPositionAndVolume()
{
    QVERIFY(bench->playFilm());
    QVERIFY(window->close());
    QVERIFY(!window->isVisible());
    QCOMPARE(storedPosition(defaultPlayPath), 40);
    QCOMPARE(storedVolume(), QString("62"));
    QVERIFY(bench->engine.waitForInput("quit\n"));
    QVERIFY(bench->engine.runningEngines().isEmpty());
    QCOMPARE(addrNum, 1);
}

void TestClosing::keepsThePlaceWithoutResume()
{
    lastTimePlayFlag = false;
    QVERIFY(bench->playFilm());
    QVERIFY(window->close());
    QCOMPARE(storedPosition(defaultPlayPath), 7);
}

// The stop rewrites the file, so emptying must come after it; the list in memory stays.
void TestClosing::emptiesTheListLast()
{
    emptyListCheckFlag = true;
    QVERIFY(bench->playFilm());
    QVERIFY(window->close());
    QVERIFY(QFile::exists(defaultPlayPath));
    QCOMPARE(readFile(defaultPlayPath), QByteArray());
    QCOMPARE(storedVolume(), QString("62"));
    QCOMPARE(addrNum, 1);
    QCOMPARE(addrlist[0].addr, PlayerBench::address(0));
    QCOMPARE(window->listWidget->count(), 1);
}

void TestClosing::listThatCannotBeEmptied()
{
    emptyListCheckFlag = true;
    QVERIFY(bench->playFilm());
    QVERIFY(QFile::remove(defaultPlayPath));
    QVERIFY(QDir().mkdir(defaultPlayPath));
    LogCapture log;
    QVERIFY(window->close());
    QVERIFY(log.contains("Json File open fail! 1692"));
    QCOMPARE(storedVolume(), QString("62"));
    QVERIFY(bench->engine.waitForNoEngine());
    QVERIFY(!window->snapThread->isRunning());
}

void TestClosing::stopsTimersPopUpsAndWorker()
{
    QVERIFY(bench->playFilm());
    QVERIFY(window->snapThread->isRunning());
    window->mouseClickTimer->start(500);
    window->ui->volumSlider->setValue(10);
    QVERIFY(window->volumSliderTimer->isActive());
    window->fsvc->show();
    window->fsvc->state = true;
    window->fsvc->sw->toggleAtCursor(2);
    window->sw->toggleAtCursor(2);
    QVERIFY(window->close());
    QVERIFY(!window->processTimer->isActive());
    QVERIFY(!window->mouseClickTimer->isActive());
    QVERIFY(!window->volumSliderTimer->isActive());
    QVERIFY(!window->fsvc->isVisible() && !window->fsvc->state);
    QVERIFY(!window->sw->isVisible() && window->sw->state == 0);
    QVERIFY(!window->fsvc->sw->isVisible() && window->fsvc->sw->state == 0);
    QVERIFY(!window->snapThread->isRunning() && !window->snapThread->runFlag);
    // The value that was still being debounced is not taken over.
    QCOMPARE(storedVolume(), QString("62"));
}

void TestClosing::closesWhilePaused()
{
    QVERIFY(bench->playFilm());
    window->on_playBtn_clicked();
    QVERIFY(window->close());
    QCOMPARE(storedPosition(defaultPlayPath), 40);
    QVERIFY(bench->engine.waitForNoEngine());
}

void TestClosing::closesWithNothingLoaded()
{
    const QByteArray before = readFile(defaultPlayPath);
    QVERIFY(window->close());
    QCOMPARE(readFile(defaultPlayPath), before);
    QCOMPARE(storedVolume(), QString("62"));
    QVERIFY(bench->engine.starts().isEmpty());
}

void TestClosing::closesInFullScreen()
{
    QVERIFY(bench->playFilm());
    window->on_fullScreenBtn_clicked();
    QTRY_VERIFY(window->isFullScreen());
    QVERIFY(window->close());
    QCOMPARE(storedPosition(defaultPlayPath), 40);
    QVERIFY(bench->engine.waitForNoEngine());
}

void TestClosing::tenTimes()
{
    LogCapture log;
    for (int i = 0; i < 10; i++) {
        playinglist.state = 0;
        makeWindow();
        window->on_playBtn_clicked();
        QVERIFY(bench->engine.waitForStarts(i + 1));
        QVERIFY(window->close());
        bench->window.reset();
    }
    QVERIFY(bench->engine.waitForNoEngine());
    QVERIFY(!log.contains("QThread: Destroyed"));
}

void TestClosing::destroyedWithoutClosing()
{
    LogCapture log;
    QVERIFY(bench->playFilm());
    bench->window.reset();
    QVERIFY(bench->engine.waitForNoEngine());
    QVERIFY(!playinglist.process_mplayer);
    QVERIFY(!log.contains("QThread: Destroyed") && !log.contains("QProcess: Destroyed"));
}

void TestClosing::engineThatIgnoresQuit()
{
    bench->engine.ignoreQuit();
    bench->engine.ignoreTerm();
    QVERIFY(bench->playFilm());
    QElapsedTimer clock;
    clock.start();
    QVERIFY(window->close());
    QVERIFY2(clock.elapsed() < 1000, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(bench->engine.waitForNoEngine());
}

// A signal closes the window from inside a box's event loop; then the other dropped files must not
// come into the list that was just emptied.
void TestClosing::duringARefusalNothingMoreIsOpened()
{
    StandInTools tools;
    tools.setProbeAnswerFor("/text.txt", "");
    emptyListCheckFlag = true;
    QVERIFY(bench->playFilm());
    QMimeData data;
    data.setUrls({QUrl("file:///text.txt"), QUrl("file:///second.mp4")});
    QDropEvent drop(QPointF(10, 100), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    WhenModal closing([this](QWidget *box) {
        window->close();
        box->close();
    });
    window->dropEvent(&drop);
    QVERIFY(closing.happened());
    QCOMPARE(tools.probeCalls().size(), 1);
    QCOMPARE(addrNum, 1);
    QCOMPARE(QFileInfo(defaultPlayPath).size(), qint64(0));
    QCOMPARE(bench->engine.starts().size(), 1);
    QVERIFY(bench->engine.runningEngines().isEmpty());

    window->show(); // open again
    window->openAndDragFile("/second.mp4");
    QVERIFY(bench->engine.waitForStarts(2));
}

void TestClosing::duringAWarningNothingIsStarted()
{
    addrlist[0].codec_type = 2;
    decodeFlag = 2;
    WhenModal closing([this](QWidget *box) {
        window->close();
        box->close();
    });
    window->on_playBtn_clicked();
    QVERIFY(closing.happened());
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(playinglist.process_mplayer->state(), QProcess::NotRunning);
    QVERIFY(!window->processTimer->isActive());
    QVERIFY(bench->engine.starts().isEmpty());
    QCOMPARE(storedPosition(defaultPlayPath), 7);
}

QTEST_MAIN(TestClosing)
#include "tst_closing.moc"
