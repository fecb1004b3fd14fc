// Screenshots: the button, the folder, and the worker that files what the engine writes there.
#include "mainwindow.h"

#include "common.h"
#include "controls.h"
#include "dialogs.h"
#include "engine.h"
#include "enginecommands.h"
#include "handlesnapfilethread.h"
#include "standstill.h"
#include "ui_mainwindow.h"

#include <QDir>
#include <QStandardPaths>

// Everything that a nested event loop could reach exists before the box.
void MainWindow::setUpScreenshots()
{
    // What Qt makes of a white picture by itself looks like any other.
    QIcon camera = ui->snapShotBtn->icon();
    camera.addFile(":/image/controlicon/camera_off.png", QSize(), QIcon::Disabled);
    ui->snapShotBtn->setIcon(camera);
    if (decodeFlag == DecodeHardware)
        offerScreenshots(false, "硬解模式下不支持截图");
    snapThread = new handleSnapFileThread(this);
    if (screenShotPath.isEmpty()) {
        const QString pictures =
            QStandardPaths::writableLocation(QStandardPaths::HomeLocation) + "/Pictures";
        screenShotPath = pictures + "/TNPlayer_ScreenShot/";
        QDir folder;
        const bool there = QDir(screenShotPath).exists() ||
            ((QDir(pictures).exists() || folder.mkdir(pictures)) && folder.mkdir(screenShotPath));
        if (!there)
            showNotice("make screenshot dir failed");
    }
    if (decodeFlag != DecodeHardware)
        startSnapThread();
    ui->stateLabel->raise();
}

void MainWindow::offerScreenshots(bool possible, const QString &hint)
{
    ui->snapShotBtn->setEnabled(possible);
    setHint(ui->snapShotBtn, hint);
}

void MainWindow::on_snapShotBtn_clicked() { takeScreenshot(); }

void MainWindow::takeScreenshot()
{
    if (playinglist.state == 0)
        return;
    writeToEngine(enginecommands::screenshot);
    snapThread->snapCount++;
}

void MainWindow::fileMoveMSg(QString path)
{
    if (!Standstill::postpone(this, [this, path] { fileMoveMSg(path); }))
        showStateLabel("截图已保存至" + path, 2000);
}

// A worker that was told to end but still runs would ignore start() and then end.
void MainWindow::startSnapThread()
{
    if (!snapThread->runFlag && snapThread->isRunning())
        snapThread->wait();
    if (snapThread->isRunning())
        return;
    snapThread->runFlag = true;
    snapThread->start(QThread::InheritPriority);
    snapThread->waitForFolder();
}

// It ends after the folder that it looks through.
void MainWindow::endSnapThread()
{
    snapThread->runFlag = false;
    snapThread->quit();
}
