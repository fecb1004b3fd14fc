// The verbs play, pause, resume, stop and seek; starting the engine, polling it, reading its
// answers.
#include "mainwindow.h"

#include "clocktext.h"
#include "common.h"
#include "controls.h"
#include "dialogs.h"
#include "engine.h"
#include "enginecommands.h"
#include "enginesettings.h"
#include "fullscreenvideocontrl.h"
#include "playorder.h"
#include "speedwind.h"
#include "titlebar.h"
#include "ui_mainwindow.h"

#include <QDebug>
#include <QTimer>

namespace {
constexpr int kPollInterval = 500; // ms

// False where no process came up, which nobody is told: intended.
bool launch(const QString &program, const QStringList &arguments, int index)
{
    qDebug() << "arglist:" << arguments;
    const QProcessEnvironment environment = engineEnvironment(muteFlag ? 0 : defaultVolum);
    const bool started = startEngine(program, arguments, environment);
    playinglist.state = 1;
    playinglist.addrIndex = index;
    return started;
}
} // namespace

void MainWindow::softAndVdpauPlay(int index)
{
    personActs();
    startEntry(index, false);
}

// False if nothing was started, or something else in the meantime.
bool MainWindow::startEntry(int index, bool afterAnEnd)
{
    if (!isAddrSlot(index))
        return false;
    // The box below runs an event loop in which a poll would take the old engine's end for the end
    // of the media and start another engine.
    processTimer->stop();
    if (decodeSoftware != 0) {
        run.begin(addrlist[index].addr, afterAnEnd);
        mpvPlay(index);
        return true;
    }
    if (engineRuns()) {
        endEngine();
        run = EngineRun();
    }
    const HistoryAddrList entry = addrlist[index];
    const QStringList arguments =
        enginecommands::engineArguments(entry, decodeFlag, screenShotPath, playinglist.widID);
    // One that fails again and again is not asked about each time: the boxes would leave no moment
    // for anything else.
    if (decodeFlag == DecodeHardware && entry.codec_type == CodecOther &&
        !failures.knows(entry.addr) && !warnOfHardware())
        return false;
    if (isEnding())
        return false;
    run.begin(entry.addr, afterAnEnd);
    run.started = launch(startPath + "/files/bin/mplayer", arguments, index);
    processTimer->start(kPollInterval);
    const QString name = getFileNameFromAddr(entry.addr);
    m_titleBar->setWindowTitle(name);
    fsvc->showTitle(name);
    return true;
}

// The box runs an event loop. False where the start that waits for it has been given up in there:
// by a stop, by closing, or for something that was dropped on the window.
bool MainWindow::warnOfHardware()
{
    // A click made just before must not play or pause what the box is about.
    mouseClickTimer->stop();
    fsvc->forgetClick();
    phase = Starting;
    showNotice("该视频格式可能不支持硬解码!");
    // cppcheck-suppress knownConditionTrueFalse // the box ran an event loop
    if (phase != Starting)
        return false;
    phase = Settled;
    return !engineRuns();
}

void mpvPlay(int index)
{
    if (!isAddrSlot(index))
        return;
    if (engineRuns())
        killEngine();
    launch("/usr/bin/mpv",
           enginecommands::mpvArguments(addrlist[index], decodeFlag, playinglist.widID), index);
}

void MainWindow::on_playBtn_clicked() { playOrPause(); }

void MainWindow::recvPlayBtnClicked() { playOrPause(); }

void MainWindow::on_unPlayedBtn_clicked() { playOrPause(); }

void MainWindow::playOrPause()
{
    if (phase == Starting)
        return;
    personActs();
    if (addrNum <= 0)
        return;
    if (playinglist.state == 0)
        play(playinglist.addrIndex);
    else if (playingState)
        pause();
    else
        resume();
}

void MainWindow::play(int index)
{
    makeWayFor(index);
    playinglist.addrIndex = index;
    if (playinglist.state == 0)
        start(false);
    else
        resume();
}

// The new engine finds the volume in its settings. The delays and the subtitles in force it is not
// told, and what shows them stays as it is: intended.
void MainWindow::start(bool afterAnEnd)
{
    if (addrNum <= 0 || isEnding())
        return;
    // The index is stale after the last entry was played through or an entry was deleted.
    if (playinglist.addrIndex < 0 || playinglist.addrIndex >= addrNum)
        playinglist.addrIndex = addrNum - 1;
    playingState = true;
    const bool started = startEntry(playinglist.addrIndex, afterAnEnd);
    showPlayButton(playingState);
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
    run.resumed = true;
    showStateLabel("已自动跳转至上次播放位置", 2000);
}

void MainWindow::pause()
{
    if (playinglist.state == 0 || !playingState)
        return;
    playingState = false;
    processTimer->stop();
    showPlayButton(false);
    writeToEngine(decodeSoftware != 0 ? enginecommands::mpvPause : enginecommands::togglePause);
}

void MainWindow::resume()
{
    if (playinglist.state == 0 || playingState)
        return;
    playingState = true;
    processTimer->start(kPollInterval);
    showPlayButton(true);
    writeToEngine(decodeSoftware != 0 ? enginecommands::mpvResume : enginecommands::togglePause);
}

void MainWindow::showPlayButton(bool playing)
{
    setHint(ui->playBtn, playing ? "暂停" : "播放");
    ui->playBtn->setIcon(controlIcon(playing ? "pause" : "play"));
    emit changed();
}

// The end of the media is only noticed here: the engine has exited.
void MainWindow::pollEngine()
{
    if (!engineRuns()) {
        stopAndSave();
        processTimer->stop();
        noteFailure();
        checkPlayMode();
    } else if (playingState) {
        writeToEngine(enginecommands::queryLength);
        writeToEngine(enginecommands::queryPosition);
        run.asked();
    }
}

void MainWindow::recvEngineFinished() { run.lifetime = run.age.elapsed(); }

// Of an engine that no end has started, the failure is the person's to see.
void MainWindow::noteFailure()
{
    if (playsForEver(playMode) && run.afterAnEnd && run.failedAtOnce())
        failures.add(run.addr);
}

// Whoever starts, stops, seeks, chooses, opens or deletes something has the list tried anew.
void MainWindow::personActs() { failures.clear(); }

// Where the engine is found gone, the polling goes on, because the next poll chooses what follows.
void MainWindow::dataReceive()
{
    if (phase == Stopping)
        return;
    if (!engineRuns()) {
        stopAndSave();
        return;
    }
    while (engineHasLine()) {
        QByteArray line = readEngineLine();
        line.replace("\n", "");
        takeRemark(line);
        if (ui->processSlider->isSliderDown() || !playingState)
            break; // this one line is lost: intended
        const enginecommands::Answer answer = enginecommands::parseAnswer(line);
        if (answer.kind == enginecommands::Answer::Length)
            showLength(answer.seconds);
        else if (answer.kind == enginecommands::Answer::Position)
            showPosition(answer.seconds);
        if (answer.kind == enginecommands::Answer::Position && run.answeredWithoutSubtitle())
            showStateLabel("字幕格式不受支持", 2000);
    }
    limitUnreadOutput();
    processTimer->start(kPollInterval);
}

// The commands of the subtitle chooser show the second file or stream there is. In a medium with
// streams of its own that is none of the files, so the one just chosen is then named by its number.
void MainWindow::takeRemark(const QByteArray &line)
{
    const enginecommands::Remark remark = enginecommands::parseRemark(line);
    run.heard(remark.kind);
    if (remark.kind != enginecommands::Remark::AddedSubtitle || remark.name.isEmpty() ||
        remark.name != run.chosenSubtitle)
        return;
    run.chosenSubtitle.clear();
    if (run.hasOwnSubtitles && playingState) // a paused engine would go on
        writeToEngine(enginecommands::showSubtitleFile(remark.number));
}

void MainWindow::showLength(int seconds)
{
    run.lengthIsZero = seconds <= 0;
    run.length = qMax(0, seconds);
    const QString text = clockText(seconds);
    ui->totalTimeLabel->setText(text);
    ui->processSlider->setRange(0, seconds);
    fsvc->showLength(text, seconds);
    emit changed();
}

void MainWindow::showPosition(int seconds)
{
    run.positionTold = true;
    failures.clear();
    const QString text = clockText(seconds);
    ui->currentTimeLabel->setText(text);
    currentPosition = seconds;
    ui->processSlider->setValue(seconds);
    fsvc->showPosition(text, seconds);
    emit changed();
}

void MainWindow::on_backwardBtn_clicked() { jump(enginecommands::seekBackward); }

void MainWindow::on_forwardBtn_clicked() { jump(enginecommands::seekForward); }

// Also sent while paused: then the engine plays on, though the player counts as paused. Intended.
void MainWindow::jump(const QByteArray &command)
{
    personActs();
    writeToEngine(command);
    if (playingState)
        ui->playBtn->setIcon(controlIcon("pause"));
}

// A seek makes the engine play on, so a paused one is paused again.
void MainWindow::seek(int second)
{
    personActs();
    writeToEngine(enginecommands::seekTo(second));
    if (!playingState)
        writeToEngine(enginecommands::togglePause);
    emit sought();
}

void MainWindow::processSliderPressed() { seek(ui->processSlider->value()); }

// The threshold keeps the bar's echo of a reported position from seeking.
void MainWindow::processSliderPressed(int position)
{
    if (qAbs(qint64(position) - currentPosition) > 1)
        seek(position);
}

void MainWindow::on_stopBtn_clicked() { stop(SavePlace); }

void MainWindow::recvStopSignal() { stop(SavePlace); }

void MainWindow::recvRemoveAndStopSignal() { stop(KeepPlace); }

// Stopped by the person: nothing follows, even where the engine has ended and the next poll would
// have noticed it.
void MainWindow::stop(Place place)
{
    if (phase == Stopping)
        return;
    personActs();
    processTimer->stop();
    if (phase == Starting) {
        phase = Settled;
        playingState = false;
    }
    if (place == SavePlace)
        stopAndSave();
    else if (playinglist.state != 0)
        stopPlayback();
}

void MainWindow::stopAndSave()
{
    if (phase == Stopping || playinglist.state == 0)
        return;
    const int place = placeToSave();
    const bool failed = !engineRuns() && run.started && !run.positionTold;
    stopPlayback();
    if (lastTimePlayFlag && place >= 0)
        savePlace(place);
    ui->speedSetBtn->setText("倍速");
    currentSpeed = kNormalSpeed;
    if (failed && !ui->stateLabel->isVisible() && run.isFileMissing())
        showStateLabel("文件不存在", 2000);
}

// -1 where the saved place stays.
int MainWindow::placeToSave() const
{
    const bool runs = engineRuns();
    // A place behind the end of what is there would end every engine that is sent to it.
    if (!runs && engineEndedWell() && run.foundNothingToResume())
        return 0;
    const QSlider *slider = ui->processSlider;
    // An engine that was stopped before it told its position must not erase the saved one.
    if (!run.positionTold && slider->value() == 0)
        return -1;
    if (runs && run.positionTold && run.lengthIsZero)
        return qMax(0, currentPosition);
    // Stopped in its last two seconds, a file is remembered as finished.
    return slider->value() >= slider->maximum() - 2 ? 0 : slider->value();
}

void MainWindow::savePlace(int seconds)
{
    const int index = playinglist.addrIndex;
    saveLastPlayTime(run.rowsRemoved ? indexOfAddr(run.addr, index) : index, seconds);
}

// Shows the stopped look.
void MainWindow::stopPlayback()
{
    endEngine();
    showPlayButton(false);
    playingState = false;
    playinglist.state = 0;
    m_titleBar->setWindowTitle("Tarnivo播放器");
    ui->playWidget->setStyleSheet("background-color:black");
    ui->currentTimeLabel->setText("00:00:00");
    ui->totalTimeLabel->setText("00:00:00");
    ui->processSlider->setValue(0);
}

// Closing the process can deliver the engine's last output, which must neither stop again nor
// start the polling.
void MainWindow::endEngine()
{
    const Phase before = phase;
    phase = Stopping;
    quitEngine();
    phase = before;
}

// Ends what plays before an entry (-1: a new one) is played, and a paused engine, which would only
// be resumed, unless it has loaded that entry. Its position belongs to the entry it has loaded,
// which deleted rows may have parted from the index.
void MainWindow::makeWayFor(int index)
{
    if (playingState)
        stop(SavePlace);
    if (playinglist.state == 0 || (isAddrSlot(index) && addrlist[index].addr == run.addr))
        return;
    playinglist.addrIndex = indexOfAddr(run.addr, playinglist.addrIndex);
    stop(SavePlace);
}
