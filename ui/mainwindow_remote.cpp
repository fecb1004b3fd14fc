// What the desktop's controls show, and what only they ask for.
#include "mainwindow.h"

#include "common.h"
#include "playorder.h"
#include "ui_mainwindow.h"

// What is loaded, else what would be played.
int MainWindow::entryInForce() const
{
    const int loaded = playinglist.state != 0 ? indexOfAddr(run.addr, playinglist.addrIndex) : -1;
    if (loaded >= 0)
        return loaded;
    return playinglist.addrIndex >= 0 && playinglist.addrIndex < addrNum ? playinglist.addrIndex
                                                                         : addrNum - 1;
}

PlayerView MainWindow::view() const
{
    PlayerView view;
    const int entry = entryInForce();
    if (entry >= 0) {
        view.address = addrlist[entry].addr;
        view.title = addrlist[entry].label;
    }
    view.hasNext = neighbourEntry(playMode, entry, addrNum, 1) >= 0;
    view.hasPrevious = neighbourEntry(playMode, entry, addrNum, -1) >= 0;
    view.volume = ui->volumSlider->value();
    view.mode = playMode;
    view.fullScreen = fullScreenFlag;
    if (playinglist.state == 0)
        return view;
    view.status = playingState ? PlayerView::Playing : PlayerView::Paused;
    view.length = run.length;
    view.speed = run.speed;
    // The slider shows no place in a film without a length, and another one while it is dragged.
    const bool sliderTells =
        !ui->processSlider->isSliderDown() && !(run.positionTold && run.lengthIsZero);
    view.position = qMax(0, sliderTells ? ui->processSlider->value() : currentPosition);
    return view;
}

// A stopped player only takes note of what it will play.
void MainWindow::skip(int rows)
{
    const int target = neighbourEntry(playMode, entryInForce(), addrNum, rows);
    if (target < 0 || phase == Starting)
        return;
    personActs();
    if (playinglist.state == 0) {
        playinglist.addrIndex = target;
        emit changed();
        return;
    }
    const bool paused = !playingState;
    play(target);
    if (paused)
        pause();
}

void MainWindow::slideTo(int second)
{
    if (playinglist.state == 0)
        return;
    ui->processSlider->setValue(second);
    processSliderPressed();
}

// Where the slider is already there, it is as pressed: a muted film is heard again.
void MainWindow::changeVolume(int volume)
{
    if (ui->volumSlider->value() == volume)
        volumSliderMoved();
    else
        ui->volumSlider->setValue(volume);
}

void MainWindow::changePlayMode(int mode)
{
    if (mode == playMode)
        return;
    playMode = mode;
    setDefaultConfig(QString::number(playMode), SettingPlayMode);
    emit changed();
}
