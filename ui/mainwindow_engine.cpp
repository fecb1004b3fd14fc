// Starting and stopping the engine, polling it, reading its answers, seeking.
#include "mainwindow.h"

#include "common.h"
#include "controls.h"
#include "dialogs.h"
#include "enginecommands.h"
#include "engineprocess.h"
#include "fullscreenvideocontrl.h"
#include "titlebar.h"
#include "ui_mainwindow.h"

#include <QDebug>
#include <QSignalBlocker>
#include <QTimer>

namespace {
constexpr int kPollInterval = 500; // ms
constexpr int kStartTimeout = 30000; // ms
// Output that stays unread (while paused, or because no line ends) is dropped beyond this.
constexpr qint64 kUnreadLimit = 1 << 20;

void startEngine(const QString &program, const QStringList &arguments, int index)
{
    qDebug() << "arglist:" << arguments;
    QProcess *engine = playinglist.process_mplayer;
    engine->start(program, arguments, QIODevice::ReadWrite);
    engine->waitForStarted(kStartTimeout); // a failed start is not reported: intended
    playinglist.state = 1;
    playinglist.addrIndex = index;
}
} // namespace

void MainWindow::softAndVdpauPlay(int index) { startEntry(index); }

// False if nothing was started, or something else in the meantime.
bool MainWindow::startEntry(int index)
{
    if (!isAddrSlot(index))
        return false;
    // The box below runs an event loop in which a poll would take the old engine's end for the end
    // of the media and start another engine.
    processTimer->stop();
    positionAnswered = false;
    loadedAddr = addrlist[index].addr;
    if (decodeSoftware != 0) {
        mpvPlay(index);
        return true;
    }
    if (engineRuns()) {
        stopping = true; // its last output would start the polling again
        quitEngine();
        stopping = false;
    }
    const HistoryAddrList entry = addrlist[index];
    const QStringList arguments =
        enginecommands::engineArguments(entry, decodeFlag, screenShotPath, playinglist.widID);
    if (decodeFlag == 2 && entry.codec_type == 2) {
        // Nor may a click made just before the box start this entry from inside of it.
        mouseClickTimer->stop();
        fsvc->mouseClickedTimer->stop();
        showNotice("该视频格式可能不支持硬解码!");
        if (engineRuns())
            return false; // of something dropped on the window in the meantime
    }
    if (isEnding())
        return false;
    startEngine(startPath + "/files/bin/mplayer", arguments, index);
    processTimer->start(kPollInterval);
    const QString name = getFileNameFromAddr(entry.addr);
    m_titleBar->setWindowTitle(name);
    fsvc->titleLabel->setText(name);
    return true;
}

void mpvPlay(int index)
{
    if (!isAddrSlot(index))
        return;
    QProcess *engine = playinglist.process_mplayer;
    if (engine->state() == QProcess::Running) {
        engine->kill();
        engine->close();
    }
    startEngine("/usr/bin/mpv",
                enginecommands::mpvArguments(addrlist[index], decodeFlag, playinglist.widID),
                index);
}

void MainWindow::on_playBtn_clicked()
{
    if (addrNum <= 0)
        return;
    if (playinglist.state == 0)
        startPlaying();
    else
        togglePause();
}

void MainWindow::recvPlayBtnClicked() { on_playBtn_clicked(); }

void MainWindow::on_unPlayedBtn_clicked() { on_playBtn_clicked(); }

// The volume, the delays and the subtitles in force are not told to the new engine, and what shows
// them stays as it is: intended.
void MainWindow::startPlaying()
{
    // The index is stale after the last entry was played through or an entry was deleted.
    if (playinglist.addrIndex < 0 || playinglist.addrIndex >= addrNum)
        playinglist.addrIndex = addrNum - 1;
    playingState = true;
    const bool started = startEntry(playinglist.addrIndex);
    showPlayButton(true);
    if (started)
        resumeAtLastPosition();
}

// Up to 3 s a file starts from the beginning, at 4 and 5 s exactly there, later 5 s before.
void MainWindow::resumeAtLastPosition()
{
    const int lastTime = addrlist[playinglist.addrIndex].last_play_time;
    if (!lastTimePlayFlag || lastTime <= 3)
        return;
    const int position = lastTime - 5 < 1 ? lastTime : lastTime - 5;
    writeToEngine(enginecommands::seekTo(position));
    showStateLabel("已自动跳转至上次播放位置", 2000);
}

void MainWindow::togglePause()
{
    playingState = !playingState;
    if (playingState)
        processTimer->start(kPollInterval);
    else
        processTimer->stop();
    showPlayButton(playingState);
    if (decodeSoftware != 0)
        writeToEngine(playingState ? enginecommands::mpvResume : enginecommands::mpvPause);
    else
        writeToEngine(enginecommands::togglePause);
}

void MainWindow::showPlayButton(bool playing)
{
    setHint(ui->playBtn, playing ? "暂停" : "播放");
    ui->playBtn->setIcon(controlIcon(playing ? "pause" : "play"));
}

// The end of the media is only noticed here: the engine has exited.
void MainWindow::pollEngine()
{
    if (!engineRuns()) {
        on_stopBtn_clicked();
        processTimer->stop();
        checkPlayMode();
    } else if (playingState) {
        writeToEngine(enginecommands::queryLength);
        writeToEngine(enginecommands::queryPosition);
    }
}

void MainWindow::dataReceive()
{
    if (stopping)
        return;
    if (!engineRuns()) {
        on_stopBtn_clicked();
        return;
    }
    QProcess *engine = playinglist.process_mplayer;
    while (engine->canReadLine()) {
        QByteArray line = engine->readLine();
        line.replace("\n", "");
        if (ui->processSlider->isSliderDown() || !playingState)
            break; // this one line is lost: intended
        const enginecommands::Answer answer = enginecommands::parseAnswer(line);
        if (answer.kind == enginecommands::Answer::Length)
            showLength(answer.seconds);
        else if (answer.kind == enginecommands::Answer::Position)
            showPosition(answer.seconds);
    }
    if (engine->bytesAvailable() > kUnreadLimit)
        engine->readAll();
    processTimer->start(kPollInterval);
}

void MainWindow::showLength(int seconds)
{
    const QString text = enginecommands::clockText(seconds);
    ui->totalTimeLabel->setText(text);
    ui->processSlider->setRange(0, seconds);
    fsvc->totalTimeLabel->setText(text);
    // A new range can clamp the bar's old value, whose signal would seek the new file to its end.
    const QSignalBlocker blocker(fsvc->processSlider);
    fsvc->processSlider->setRange(0, seconds);
}

void MainWindow::showPosition(int seconds)
{
    positionAnswered = true;
    const QString text = enginecommands::clockText(seconds);
    ui->currentTimeLabel->setText(text);
    currentPosition = seconds;
    ui->processSlider->setValue(seconds);
    fsvc->currentTimeLabel->setText(text);
    // Beyond the length told, the bar's slider stops at its end, and that is a seek: intended.
    fsvc->processSlider->setValue(seconds);
}

// Also sent while paused: then the engine plays on, though the player counts as paused. Intended.
void MainWindow::on_backwardBtn_clicked()
{
    writeToEngine(enginecommands::seekBackward);
    if (playingState)
        ui->playBtn->setIcon(controlIcon("pause"));
}

// Likewise.
void MainWindow::on_forwardBtn_clicked()
{
    writeToEngine(enginecommands::seekForward);
    if (playingState)
        ui->playBtn->setIcon(controlIcon("pause"));
}

// A seek makes the engine play on, so a paused one is paused again.
void MainWindow::seek(int second)
{
    writeToEngine(enginecommands::seekTo(second));
    if (!playingState)
        writeToEngine(enginecommands::togglePause);
}

void MainWindow::processSliderPressed() { seek(ui->processSlider->value()); }

// The threshold keeps the bar's echo of a reported position from seeking.
void MainWindow::processSliderPressed(int position)
{
    if (qAbs(qint64(position) - currentPosition) > 1)
        seek(position);
}

void MainWindow::on_stopBtn_clicked()
{
    if (stopping)
        return;
    const QSlider *slider = ui->processSlider;
    // Stopped in its last two seconds, a file is remembered as finished.
    const int position = slider->value() >= slider->maximum() - 2 ? 0 : slider->value();
    if (playinglist.state == 0)
        return;
    // An engine that was stopped before it told its position must not erase the saved one.
    const bool positionKnown = positionAnswered || slider->value() != 0;
    stopPlayback();
    if (lastTimePlayFlag && positionKnown)
        saveLastPlayTime(playinglist.addrIndex, position);
    ui->speedSetBtn->setText("倍速");
    currentSpeed = 2;
}

void MainWindow::recvStopSignal() { on_stopBtn_clicked(); }

void MainWindow::recvRemoveAndStopSignal()
{
    if (stopping || playinglist.state == 0)
        return;
    stopPlayback();
}

// Ends the engine and shows the stopped look. Closing can deliver the engine's last output, which
// must neither stop again nor restart the polling. Where the engine has already gone by itself the
// polling goes on, because the next poll chooses what follows.
void MainWindow::stopPlayback()
{
    stopping = true;
    if (engineRuns())
        processTimer->stop();
    quitEngine();
    showPlayButton(false);
    playingState = false;
    playinglist.state = 0;
    m_titleBar->setWindowTitle("Tarnivo播放器");
    ui->playWidget->setStyleSheet("background-color:black");
    ui->currentTimeLabel->setText("00:00:00");
    ui->totalTimeLabel->setText("00:00:00");
    ui->processSlider->setValue(0);
    stopping = false;
}

// Ends what plays before an entry (-1: a new one) is played, and a paused engine, which would only
// be resumed, unless it has loaded that entry. Its position belongs to the entry it has loaded,
// which deleted rows may have parted from the index.
void MainWindow::makeWayFor(int index)
{
    if (playingState)
        on_stopBtn_clicked();
    if (playinglist.state == 0 || (index >= 0 && addrlist[index].addr == loadedAddr))
        return;
    playinglist.addrIndex = indexOfAddr(loadedAddr, playinglist.addrIndex);
    on_stopBtn_clicked();
}
