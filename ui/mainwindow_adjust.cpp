// Volume, speed, delays, subtitles and the decode mode.
#include "mainwindow.h"

#include "common.h"
#include "controls.h"
#include "delayset.h"
#include "dialogs.h"
#include "engine.h"
#include "enginecommands.h"
#include "fullscreenvideocontrl.h"
#include "speedwind.h"
#include "ui_mainwindow.h"

#include <QDebug>
#include <QFile>
#include <QPushButton>
#include <QTimer>

void MainWindow::volumSliderMoved()
{
    const int volume = ui->volumSlider->value();
    defaultVolum = volume;
    emit changed();
    qDebug() << "volum is " << volume;
    if (playingState)
        writeToEngine(enginecommands::setVolume(volume));
    // Full-width colon in the tooltip, ASCII colon in the notice: intended.
    ui->volumSlider->setToolTip("音量：" + QString::number(volume));
    if (volume == 0) {
        setVolumeIcon("mute", true);
        muteFlag = true;
        lastVol = 10;
        return;
    }
    setVolumeIcon(volume < 25 ? "vol1" : volume < 61 ? "vol2" : "vol3", fsvc->state);
    showStateLabel("音量:" + QString::number(volume), 1000);
    muteFlag = false;
}

void MainWindow::setVolumeIcon(const QString &icon, bool onBar)
{
    const QIcon picture = controlIcon(icon);
    ui->volumBtn->setIcon(picture);
    if (onBar)
        fsvc->showVolumeIcon(picture);
}

void MainWindow::on_volumBtn_clicked() { toggleMute(); }

void MainWindow::toggleMute()
{
    if (!muteFlag) {
        muteFlag = true;
        setVolumeIcon("mute", true);
        lastVol = ui->volumSlider->value();
        if (playingState)
            writeToEngine(enginecommands::mute);
        return;
    }
    volumSliderMoved();
    if (playingState)
        writeToEngine(enginecommands::unmute);
    muteFlag = false;
}

// The bar's value is not taken over; only 0 matters: intended.
void MainWindow::recvVolumSignal(int volume)
{
    if (volume != 0)
        volumSliderMoved();
    else
        toggleMute();
}

void MainWindow::on_speedSetBtn_clicked() { sw->toggleAtCursor(currentSpeed); }

// With nothing playing only the button changes, and stays so at the next start; a paused engine
// plays on: both intended.
void MainWindow::recvChangeSpeed(int percent)
{
    currentSpeed = speedCode(percent);
    const QString text = currentSpeed == kNormalSpeed ? "倍速" : kSpeeds[currentSpeed].text;
    ui->speedSetBtn->setText(text);
    const float factor = percent / 100.0f;
    qDebug() << "speed is " << factor;
    writeToEngine(enginecommands::setSpeed(factor));
    run.speed = percent;
    emit changed();
}

void MainWindow::voiceDelayPlus()
{
    if (!playingState)
        return;
    writeToEngine(enginecommands::audioDelayPlus);
    audioDelay += 0.1;
}

void MainWindow::voiceDelayReduce()
{
    if (!playingState)
        return;
    writeToEngine(enginecommands::audioDelayMinus);
    audioDelay -= 0.1;
}

// The engine's delay commands are relative: taking back what is in force gives zero.
void MainWindow::cancelAudioDelay()
{
    if (!playingState)
        return;
    writeToEngine(enginecommands::changeAudioDelay(-audioDelay));
    audioDelay = 0;
}

void MainWindow::recvAudioDelaySignal(double seconds)
{
    cancelAudioDelay();
    if (!playingState)
        return;
    writeToEngine(enginecommands::changeAudioDelay(seconds));
    audioDelay = seconds;
}

void MainWindow::setAudioDelay()
{
    ads->currentDelay = audioDelay;
    delayFlag = DelayAudio;
    execAboveMainWindow(*ads);
}

void MainWindow::subTitleDelayIncrease()
{
    if (!playingState || !subTitleFlag)
        return;
    writeToEngine(enginecommands::subDelayPlus);
    subDelay += 0.1;
}

void MainWindow::subTitleDelayReduce()
{
    if (!playingState || !subTitleFlag)
        return;
    writeToEngine(enginecommands::subDelayMinus);
    subDelay -= 0.1;
}

void MainWindow::cancelSubDelay()
{
    if (!playingState)
        return;
    writeToEngine(enginecommands::changeSubDelay(-subDelay));
    subDelay = 0;
}

void MainWindow::recvSubDelaySignal(double seconds)
{
    cancelSubDelay();
    if (!playingState)
        return;
    writeToEngine(enginecommands::changeSubDelay(seconds));
    subDelay = seconds;
}

void MainWindow::setSubDelay()
{
    ads->currentDelay = subDelay;
    delayFlag = DelaySubtitle;
    execAboveMainWindow(*ads);
}

void MainWindow::openSubTitleFile()
{
    const QString name = chooseLocalFile(tr("字幕文件(*.srt *.ass *.ssa *.vtt);;All(*)"));
    if (name.isEmpty() || !playingState)
        return;
    const QByteArray command = enginecommands::loadSubtitle(name);
    if (command.isEmpty()) {
        qDebug() << "subtitle name refused";
        return;
    }
    run.choose(QFile::encodeName(name));
    writeToEngine(command);
    writeToEngine(enginecommands::subVisible);
    writeToEngine(enginecommands::subSelect);
    // subTitleScale is not sent: the engine keeps its own scale.
    subTitleFlag = true;
}

// subTitleFlag stays as it is: intended.
void MainWindow::delSubTitle()
{
    if (!playingState)
        return;
    writeToEngine(enginecommands::subHidden);
    writeToEngine(enginecommands::subRemove);
    subDelay = 0;
}

void MainWindow::subScalePlus()
{
    if (!playingState)
        return;
    subTitleScale = qMin(subTitleScale + 0.2, 15.0);
    writeToEngine(enginecommands::subScalePlus);
}

void MainWindow::subScaleReduce()
{
    if (!playingState)
        return;
    subTitleScale = qMax(subTitleScale - 0.2, 0.5);
    writeToEngine(enginecommands::subScaleMinus);
}

void MainWindow::subPosUp()
{
    if (playingState)
        writeToEngine(enginecommands::subPosUp);
}

// Sent whether or not something plays, unlike subPosUp: intended.
void MainWindow::subPosDown() { writeToEngine(enginecommands::subPosDown); }

// curDecodeFlag follows only where something plays: after a change while stopped or paused the next
// confirmation restarts what plays then, changed or not. Intended.
void MainWindow::recvSetDecodeSignal()
{
    personActs();
    setDefaultConfig(QString::number(decodeFlag), SettingDecodeFlag);
    if (curDecodeFlag != decodeFlag && playingState) {
        stop(SavePlace);
        play(playinglist.addrIndex);
        writeToEngine(enginecommands::seekToUnterminated(currentPosition));
        curDecodeFlag = decodeFlag;
    }
    QString mode = "硬解";
    if (decodeFlag == DecodeHardware) {
        offerScreenshots(false, "请在软解模式下截图");
        endSnapThread();
    } else {
        offerScreenshots(true, "截图");
        startSnapThread();
        mode = decodeFlag == DecodeThreaded ? "多线程软解" : "软解";
    }
    showStateLabel("当前解码模式：" + mode, 2000);
}
