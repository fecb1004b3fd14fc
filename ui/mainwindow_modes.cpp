// Normal and full-screen mode, mouse, keyboard and activation.
#include "mainwindow.h"

#include "common.h"
#include "controls.h"
#include "enginecommands.h"
#include "fullscreenvideocontrl.h"
#include "listwidget.h"
#include "speedwind.h"
#include "titlebar.h"
#include "ui_mainwindow.h"
#include "windowplace.h"

#include <QCoreApplication>
#include <QDebug>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPushButton>
#include <QScreen>
#include <QShowEvent>
#include <QTimer>
#include <QWindow>

bool MainWindow::insidePlayArea(const QPoint &point) const
{
    return strictlyInside(point, ui->playWidget->geometry());
}

void MainWindow::setNormalWidgetsVisible(bool visible)
{
    // cppcheck-suppress constVariable // the array is const, what it points to is not
    QWidget *const widgets[] = {
        m_titleBar,        ui->currentTimeLabel, ui->totalTimeLabel, ui->processSlider,
        ui->openFileBtn,   ui->stopBtn,          ui->backwardBtn,    ui->playBtn,
        ui->forwardBtn,    ui->volumBtn,         ui->volumSlider,    ui->speedSetBtn,
        ui->fullScreenBtn, listWidget,           ui->hideListBtn,    ui->snapShotBtn,
    };
    for (QWidget *widget : widgets)
        widget->setVisible(visible);
}

void MainWindow::on_fullScreenBtn_clicked() { enterFullScreen(); }

// As large as the first screen, on whichever screen the window is: intended.
void MainWindow::enterFullScreen()
{
    fullScreenFlag = true;
    setNormalWidgetsVisible(false);
    ui->listWidget->hide();
    qDebug() << "screen width:" << screenWidth << " screen height:" << screenHeight;
    widgetNormalWidth = ui->playWidget->width();
    widgetNormalHeight = ui->playWidget->height();
    const qreal factor = devicePixelRatioF();
    ui->playWidget->setFixedSize(sideToCover(screenWidth, factor),
                                 sideToCover(screenHeight, factor));
    showFullScreen();
    m_titleBar->moveWindow(QPoint(0, 0));
    ui->playWidget->move(0, 0);
    emit changed();
}

// The list is shown even if the user had hidden it before: intended.
void MainWindow::showNormalWin()
{
    fullScreenFlag = false;
    // The pointer may have been blanked. Over the title bar and the list no move is reported here
    // that would bring it back.
    setCursor(Qt::ArrowCursor);
    fsvc->hideWithSpeedWindow();
    setNormalWidgetsVisible(true);
    qDebug() << "screen width:" << screenWidth << " screen height:" << screenHeight;
    ui->playWidget->setFixedSize(widgetNormalWidth, widgetNormalHeight);
    showNormal(); // also a window that was maximised: intended
    m_titleBar->setFixedWidth(widgetNormalWidth + ui->listWidget->width());
    // The window's own position on its screen is used for a child here: intended.
    const QScreen *own = QGuiApplication::screenAt(geometry().center());
    const QPoint place = pos() - (own ? own : screen())->geometry().topLeft();
    ui->playWidget->move(place.x(), place.y() + m_titleBar->height() + 10);
    emit changed();
}

void MainWindow::recvFullScreenSignal()
{
    if (!fullScreenFlag)
        return;
    // Of a double click whose first half the window got and whose second half the bar, which a
    // movement in between has brought up: it must not pause as well.
    mouseClickTimer->stop();
    showNormalWin();
}

void MainWindow::recvMouseHide()
{
    qDebug() << "recv hide signal";
    setCursor(Qt::BlankCursor);
}

// Setting the flags in the usual way makes Qt destroy and recreate the X11 window when it is shown
// again, and the engine's window dies with it. So they are changed on the living window, and the
// show event, which centres it, is sent by hand.
void MainWindow::recvWindowAlwaysOnTopSignal(bool onTop)
{
    Qt::WindowFlags flags = Qt::Window | Qt::FramelessWindowHint;
    if (onTop)
        flags |= Qt::WindowStaysOnTopHint;
    overrideWindowFlags(flags);
    if (windowHandle())
        windowHandle()->setFlags(flags);
    QShowEvent shown;
    QCoreApplication::sendEvent(this, &shown);
}

void MainWindow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::RightButton) {
        event->ignore();
        return;
    }
    // What is done before it ends does not take the click back: intended.
    if (insidePlayArea(event->pos()))
        mouseClickTimer->start(kDoubleClickWait);
}

void MainWindow::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (!insidePlayArea(event->pos()) || playinglist.state == 0)
        return;
    mouseClickTimer->stop();
    fsvc->forgetClick(); // the bar may have got the first press, and hidden since
    if (fullScreenFlag) {
        showNormalWin();
    } else {
        enterFullScreen();
        fsvc->hideLater();
    }
}

void MainWindow::mouseMoveEvent(QMouseEvent *event)
{
    const QPoint point = event->pos();
    setCursor(Qt::ArrowCursor);
    if (!strictlyInside(point, ui->speedSetBtn->geometry()))
        sw->dismiss();
    if (fullScreenFlag && decodeSoftware == 0) {
        const QRect screen(ui->playWidget->pos(), QSize(screenWidth, screenHeight));
        if (strictlyInside(point, screen) && windowActiveFlag && !fsvc->state)
            showBar();
        fsvc->currentSpeed = currentSpeed;
    }
    if (strictlyInside(point, ui->resizeBtn->geometry()))
        setCursor(Qt::SizeFDiagCursor);
}

void MainWindow::showBar()
{
    const int index = playinglist.addrIndex;
    if (playinglist.state != 0 && isAddrSlot(index))
        fsvc->showTitle(addrlist[index].label);
    fsvc->appear(QSize(screenWidth, screenHeight));
}

bool MainWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == this && event->type() == QEvent::WindowActivate) {
        windowActiveFlag = true;
        return true;
    }
    if (watched == this && event->type() == QEvent::WindowDeactivate) {
        windowActiveFlag = false;
        // The speed pop-ups never become active and so can't notice that they must go.
        fsvc->hideWithSpeedWindow();
        sw->dismiss();
        return true;
    }
    // A box that opens during a drag keeps the button's release from arriving.
    if (watched == this && event->type() == QEvent::WindowBlocked)
        m_titleBar->endDrag();
    return QMainWindow::eventFilter(watched, event);
}

// Every test is made on its own: one key press may match several. A screenshot is asked for in
// hardware mode too, where its button is off: intended.
void MainWindow::keyPressEvent(QKeyEvent *event)
{
    const int key = event->key();
    const bool onlyControl = event->modifiers() == Qt::ControlModifier;
    const bool onlyAlt = event->modifiers() == Qt::AltModifier;

    if (key == Qt::Key_Escape && fullScreenFlag) {
        fsvc->hideWithSpeedWindow();
        showNormalWin();
    }
    if (key == Qt::Key_Alt || onlyAlt)
        fsvc->hideWithSpeedWindow();
    if (key == Qt::Key_Space)
        playOrPause();
    if (key == Qt::Key_Left)
        jump(enginecommands::seekBackward);
    if (key == Qt::Key_Right)
        jump(enginecommands::seekForward);
    if (key == Qt::Key_Up)
        ui->volumSlider->setValue(ui->volumSlider->value() + 2);
    if (key == Qt::Key_Down)
        ui->volumSlider->setValue(ui->volumSlider->value() - 2);
    if (onlyControl && key == Qt::Key_E)
        subScalePlus();
    if (onlyControl && key == Qt::Key_R)
        subScaleReduce();
    if (onlyControl && key == Qt::Key_U)
        subPosUp();
    if (onlyControl && key == Qt::Key_D)
        subPosDown();
    if (onlyControl && key == Qt::Key_O)
        openLocalFile();
    if (onlyAlt && key == Qt::Key_A)
        takeScreenshot();
}
