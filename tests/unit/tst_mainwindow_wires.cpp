// Which signal of which companion reaches which slot of the main window, and that each does so
// once.
#include "common.h"
#include "engine.h"
#include "fullscreenbar.h"
#include "testsupport.h"
#include "testwindow.h"

#include <QtTest>

namespace {

struct Wire {
    const char *signal;
    const char *slot;
};

const Wire barWires[] = {
    {SIGNAL(mouseHide()), SLOT(recvMouseHide())},
    {SIGNAL(processSliderSignal(int)), SLOT(processSliderPressed(int))},
    {SIGNAL(fullScreenSignal()), SLOT(recvFullScreenSignal())},
    {SIGNAL(stopSignal()), SLOT(recvStopSignal())},
    {SIGNAL(playBtnClickedSignal()), SLOT(recvPlayBtnClicked())},
    {SIGNAL(volumSignal(int)), SLOT(recvVolumSignal(int))},
    {SIGNAL(speedSetSignal(int)), SLOT(recvChangeSpeed(int))},
    {SIGNAL(openFileBtnSignal()), SLOT(on_openFileBtn_clicked())},
    {SIGNAL(voiceDelayPlusSignal()), SLOT(voiceDelayPlus())},
    {SIGNAL(voiceDelayReduceSignal()), SLOT(voiceDelayReduce())},
    {SIGNAL(cancelAudioDelaySignal()), SLOT(cancelAudioDelay())},
    {SIGNAL(setAudioDelaySignal()), SLOT(setAudioDelay())},
    {SIGNAL(openSubTitleFileSignal()), SLOT(openSubTitleFile())},
    {SIGNAL(subTitleDelayIncreaseSignal()), SLOT(subTitleDelayIncrease())},
    {SIGNAL(subTitleDelayReduceSignal()), SLOT(subTitleDelayReduce())},
    {SIGNAL(cancelSubDelaySignal()), SLOT(cancelSubDelay())},
    {SIGNAL(delSubTitleSignal()), SLOT(delSubTitle())},
    {SIGNAL(setSubDelaySignal()), SLOT(setSubDelay())},
    {SIGNAL(subScalePlusSignal()), SLOT(subScalePlus())},
    {SIGNAL(subScaleReduceSignal()), SLOT(subScaleReduce())},
    {SIGNAL(subPosUpSignal()), SLOT(subPosUp())},
    {SIGNAL(subPosDownSignal()), SLOT(subPosDown())},
};

// Unplugs the wire, so that what is left over can be asked for. False when there was none.
bool unplug(QObject *sender, const Wire &wire, QObject *receiver)
{
    return QObject::disconnect(sender, wire.signal, receiver, wire.slot);
}

// A process in the engine's place that writes down its input and says nothing.
class Scribe {
public:
    bool start()
    {
        QProcess *engine = playinglist.process_mplayer;
        engine->start("sh", {"-c", "exec cat >\"$0\"", path()});
        playinglist.state = 1;
        playingState = true;
        return engine->waitForStarted();
    }
    QByteArray finish()
    {
        QProcess *engine = playinglist.process_mplayer;
        engine->closeWriteChannel();
        return engine->waitForFinished() ? readFile(path()) : QByteArray("does not end");
    }

private:
    QString path() const { return folder.filePath("input"); }
    QTemporaryDir folder;
};

} // namespace

class TestMainWindowWires : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void barReachesTheWindow();
    void othersReachTheWindow();
    void barSignalsActOnce_data();
    void barSignalsActOnce();
    void barButtonsWithoutEffect();
    void stopFromTheBar();
    void fullScreenFromTheBar();
    void buttonsActOnce_data();
    void buttonsActOnce();
    void togglesActOnce();

private:
    QScopedPointer<InstallRoot> root;
    QScopedPointer<TestWindow> window;
};

void TestMainWindowWires::init()
{
    resetSharedState();
    root.reset(new InstallRoot);
    defaultPlayPath = root->historyFile();
    screenShotPath = root->path() + "/shots/";
    decodeFlag = 2; // no worker is needed here
    addrlist[0].addr = "/film.mp4";
    addrNum = 1;
    window.reset(new TestWindow(nullptr));
}

void TestMainWindowWires::cleanup()
{
    window.reset();
    root.reset();
}

void TestMainWindowWires::barReachesTheWindow()
{
    for (const Wire &wire : barWires)
        QVERIFY2(unplug(window->fsvc, wire, window.data()), wire.signal);
    // Nothing else: forward and backward least of all.
    for (const QString &name : allSignals()) {
        const QByteArray signal = "2" + name.toLatin1();
        QVERIFY2(!QObject::disconnect(window->fsvc, signal, window.data(), nullptr), signal);
    }
}

void TestMainWindowWires::othersReachTheWindow()
{
    const struct {
        QObject *sender;
        Wire wire;
    } wires[] = {
        {playinglist.process_mplayer, {SIGNAL(readyReadStandardOutput()), SLOT(dataReceive())}},
        {window->ui->processSlider, {SIGNAL(sliderPressed()), SLOT(processSliderPressed())}},
        {window->ui->processSlider, {SIGNAL(sliderReleased()), SLOT(processSliderPressed())}},
        {window->ui->volumSlider, {SIGNAL(sliderPressed()), SLOT(volumSliderMoved())}},
        {window->ui->volumSlider, {SIGNAL(sliderReleased()), SLOT(volumSliderMoved())}},
        {window->sw, {SIGNAL(changeSpeed(int)), SLOT(recvChangeSpeed(int))}},
        {window->ads, {SIGNAL(setAudioDelaySignal(double)), SLOT(recvAudioDelaySignal(double))}},
        {window->ads, {SIGNAL(setSubDelaySignal(double)), SLOT(recvSubDelaySignal(double))}},
        {window->m_titleBar,
         {SIGNAL(setWindowAlwaysOnTopSignal(bool)), SLOT(recvWindowAlwaysOnTopSignal(bool))}},
        {window->m_titleBar, {SIGNAL(decodeSetSignal()), SLOT(recvSetDecodeSignal())}},
        {window->listWidget,
         {SIGNAL(itemDoubleClicked(QListWidgetItem *)), SLOT(playSelectedItem(QListWidgetItem *))}},
        {window->listWidget,
         {SIGNAL(sig_play(QListWidgetItem *)), SLOT(playSelectedItem(QListWidgetItem *))}},
        {window->listWidget, {SIGNAL(removeAndStopSignal()), SLOT(recvRemoveAndStopSignal())}},
        {window->snapThread, {SIGNAL(saveSnapShotSignal(QString)), SLOT(fileMoveMSg(QString))}},
    };
    for (const auto &row : wires)
        QVERIFY2(unplug(row.sender, row.wire, window.data()), row.wire.signal);
    for (const auto &row : wires)
        QVERIFY2(!QObject::disconnect(row.sender, row.wire.signal, window.data(), nullptr),
                 row.wire.signal);
}

void TestMainWindowWires::barSignalsActOnce_data()
{
    QTest::addColumn<QString>("signal"); // a number in brackets is passed
    QTest::addColumn<QByteArray>("written");
    const auto row = [](const char *signal, const char *written) {
        QTest::newRow(signal) << QString(signal) << QByteArray(written);
    };
    row("processSliderSignal(2)", "seek 2 2\n");
    row("processSliderSignal(1)", "");
    row("playBtnClickedSignal()", "pause\n");
    row("forwardSignal()", "");
    row("backwardSignal()", "");
    row("volumSignal(0)", "mute 1\n");
    row("volumSignal(70)", "volume 0 2\n"); // the main window's own slider counts
    row("speedSetSignal(150)", "speed_set 1.5\n");
    row("voiceDelayPlusSignal()", "audio_delay  0.1\n");
    row("voiceDelayReduceSignal()", "audio_delay  -0.1\n");
    row("cancelAudioDelaySignal()", "audio_delay -0.500000\n");
    row("subTitleDelayIncreaseSignal()", "sub_delay 0.1\n");
    row("subTitleDelayReduceSignal()", "sub_delay -0.1\n");
    row("cancelSubDelaySignal()", "sub_delay -0.700000\n");
    row("delSubTitleSignal()", "sub_visibility 0\nsub_remove 0\n");
    row("subScalePlusSignal()", "sub_scale 0.2\n");
    row("subScaleReduceSignal()", "sub_scale -0.2\n");
    row("subPosUpSignal()", "sub_pos -2\n");
    row("subPosDownSignal()", "sub_pos 2\n");
    for (const char *unused :
         {"floatPlay()", "voiceSliderSignal(5)", "replaySignal()", "exitFullScreenSignal()"})
        row(unused, "");
}

void TestMainWindowWires::barSignalsActOnce()
{
    QFETCH(QString, signal);
    QFETCH(QByteArray, written);
    Scribe scribe;
    QVERIFY(scribe.start());
    subTitleFlag = true;
    audioDelay = 0.5;
    subDelay = 0.7;
    const QByteArray name = signal.section('(', 0, 0).toLatin1();
    const QString argument = signal.section('(', 1).chopped(1);
    QVERIFY(argument.isEmpty()
                ? QMetaObject::invokeMethod(window->fsvc, name)
                : QMetaObject::invokeMethod(window->fsvc, name, Q_ARG(int, argument.toInt())));
    QCOMPARE(scribe.finish(), written);
}

void TestMainWindowWires::barButtonsWithoutEffect()
{
    Scribe scribe;
    QVERIFY(scribe.start());
    window->fsvc->forwardBtn->click();
    window->fsvc->backwardBtn->click();
    QCOMPARE(scribe.finish(), QByteArray());
}

void TestMainWindowWires::stopFromTheBar()
{
    Scribe scribe;
    QVERIFY(scribe.start());
    window->fsvc->stopBtn->click();
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(playingState, false);
    QCOMPARE(playinglist.process_mplayer->state(), QProcess::NotRunning);
}

void TestMainWindowWires::fullScreenFromTheBar()
{
    window->fsvc->fullScreenBtn->click(); // not in full screen: nothing to leave
    QVERIFY(!fullScreenFlag && window->isHidden());
    window->on_fullScreenBtn_clicked();
    QVERIFY(fullScreenFlag);
    emit window->fsvc->mouseHide();
    QCOMPARE(window->cursor().shape(), Qt::BlankCursor);
    window->fsvc->fullScreenBtn->click();
    QVERIFY(!fullScreenFlag);
    // The pointer is seen again at once, over the list and the title bar as well.
    QCOMPARE(window->cursor().shape(), Qt::ArrowCursor);
    QCOMPARE(window->listWidget->cursor().shape(), Qt::ArrowCursor);
}

void TestMainWindowWires::buttonsActOnce_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QByteArray>("written");
    QTest::newRow("play") << "playBtn" << QByteArray("pause\n");
    QTest::newRow("backward") << "backwardBtn" << QByteArray("seek -5 0\n");
    QTest::newRow("forward") << "forwardBtn" << QByteArray("seek +5 0\n");
    QTest::newRow("volume") << "volumBtn" << QByteArray("mute 1\n");
    QTest::newRow("screenshot") << "snapShotBtn" << QByteArray("screenshot 0");
}

// The form binds its slots by name; an explicit connection beside that would call them twice.
void TestMainWindowWires::buttonsActOnce()
{
    QFETCH(QString, button);
    QFETCH(QByteArray, written);
    Scribe scribe;
    QVERIFY(scribe.start());
    window->ui->snapShotBtn->setEnabled(true);
    window->findChild<QToolButton *>(button)->click();
    QCOMPARE(scribe.finish(), written);
}

// Called twice, each of these would look as if nothing had happened.
void TestMainWindowWires::togglesActOnce()
{
    window->ui->hideListBtn->click();
    QVERIFY(window->listHideFlag);
    window->ui->speedSetBtn->click();
    QCOMPARE(window->sw->state, 1);
    QVERIFY(window->sw->isVisible());
    Scribe scribe;
    QVERIFY(scribe.start());
    window->ui->stopBtn->click();
    QCOMPARE(playinglist.state, 0);
    QCOMPARE(playinglist.process_mplayer->state(), QProcess::NotRunning);
}

QTEST_MAIN(TestMainWindowWires)
#include "tst_mainwindow_wires.moc"
