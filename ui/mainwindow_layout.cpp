// Geometry of the main window: everything is placed by hand on every resize.
#include "mainwindow.h"

#include "common.h"
#include "controls.h"
#include "fullscreenvideocontrl.h"
#include "listwidget.h"
#include "speedwind.h"
#include "titlebar.h"
#include "ui_mainwindow.h"
#include "windowplace.h"

#include <QResizeEvent>
#include <QTimer>

void MainWindow::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    if (fullScreenFlag || !m_titleBar || !listWidget || !fsvc || !sw)
        return;
    fsvc->hideForLayout();
    sw->dismiss();

    layOutPlayArea();
    const int sliderY = height() - ui->openFileBtn->height() - 60;
    layOutButtonRow(sliderY);
    putListInPlace();
    ui->listWidget->hide();
    // Wider than the window while the list is hidden: intended. Its buttons stay inside.
    m_titleBar->setFixedWidth(ui->playWidget->width() + listWidget->width());
    m_titleBar->keepButtonsInside();
    // Every resize puts the slider back to the default volume: intended.
    ui->volumSlider->setValue(defaultVolum);
    // The window's own screen position is used for a child here: intended, the grip stays hidden.
    ui->resizeBtn->move(x() + width() - ui->resizeBtn->width(),
                        y() + height() - ui->resizeBtn->height());
    ui->resizeBtn->hide();
    ui->stateLabel->move(ui->playWidget->pos());
    ui->stateLabel->setFixedWidth(ui->playWidget->width());
}

// The placeholder of the form is what is placed; the list follows it.
void MainWindow::layOutPlayArea()
{
    QWidget *placeholder = ui->listWidget;
    const int playWidth = width() - placeholder->width();
    // A width is subtracted from a height: intended. A window manager can make the window smaller
    // than all that, but no size may be negative.
    const int playHeight = qMax(0,
                                height() - m_titleBar->height() - ui->processSlider->height() -
                                    ui->openFileBtn->width() - 70);
    const int top = m_titleBar->height() + 10;
    putListInPlace();
    if (listHideFlag) {
        ui->playWidget->setFixedSize(qMax(0, playWidth - 5 + placeholder->width()), playHeight);
        placeholder->move(ui->playWidget->width() - placeholder->width(), top);
    } else {
        ui->playWidget->setFixedSize(qMax(0, playWidth - 5), playHeight);
        placeholder->move(ui->playWidget->width(), top);
    }
    placeholder->setFixedSize(placeholder->width(), ui->playWidget->height());
}

void MainWindow::layOutButtonRow(int sliderY)
{
    const int playWidth = width() - ui->listWidget->width();
    QSlider *slider = ui->processSlider;
    slider->move(slider->x(), sliderY);
    slider->setFixedSize(qMax(0, isMaximizedAnywhere(this) ? playWidth - 20 : playWidth), 20);

    // All spacing keys on the play button's width: intended.
    const int middle = (width() - 50) / 2 - 100;
    const int rowY = sliderY + slider->height() + 20;
    const int button = ui->playBtn->width();
    const int step = button + 40;
    ui->playBtn->move(middle, rowY);
    ui->backwardBtn->move(middle - button - 30, rowY);
    ui->stopBtn->move(middle - 2 * step + 20, rowY);
    ui->openFileBtn->move(middle - 3 * step, rowY);
    ui->snapShotBtn->move(middle - 4 * step, rowY);
    ui->forwardBtn->move(middle + step, rowY);
    ui->volumBtn->move(middle + 2 * step, rowY);
    ui->volumSlider->move(middle + 2 * step + button, rowY + 5);
    ui->speedSetBtn->move(middle + 3 * step + ui->volumSlider->width() + button, rowY);
    ui->fullScreenBtn->move(ui->speedSetBtn->x() + button + 40, rowY);
    ui->hideListBtn->move(ui->fullScreenBtn->x() + button + 40, rowY);

    const int labelY = sliderY - slider->height() + 5;
    ui->currentTimeLabel->move(ui->currentTimeLabel->x(), labelY);
    ui->totalTimeLabel->move(playWidth - ui->totalTimeLabel->width() + 15, labelY);
}

void MainWindow::putListInPlace()
{
    listWidget->resize(ui->listWidget->size());
    listWidget->move(ui->listWidget->pos());
}

// Centres the window every time it is shown, also from the task bar: intended.
void MainWindow::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    if (phase == Closed)
        phase = Settled;
    centre();
}

// By the screen that was there at the start: intended. If another one has come or gone since, the
// window might stand where no mouse reaches it.
void MainWindow::centre()
{
    QPoint place((screenWidth - width()) / 2, (screenHeight - height()) / 2);
    const QVector<QRect> screens = screenPlaces();
    if (screens != firstScreens)
        place = placeOnScreens(QRect(place, size()), m_titleBar->height(), screens);
    m_titleBar->moveWindow(place);
}

void MainWindow::on_hideListBtn_clicked()
{
    static const int listWidth = ui->listWidget->width();
    ui->listWidget->hide();
    if (fullScreenFlag)
        return;
    if (listHideFlag) {
        listWidget->show();
        ui->playWidget->setFixedSize(qMax(0, width() - listWidth), ui->playWidget->height());
        setHint(ui->hideListBtn, "隐藏列表");
    } else {
        ui->playWidget->setFixedSize(width(), ui->playWidget->height());
        listWidget->hide();
        setHint(ui->hideListBtn, "显示列表");
    }
    listHideFlag = !listHideFlag;
    ui->processSlider->setFixedSize(ui->playWidget->width(), 20);
    ui->totalTimeLabel->move(ui->playWidget->width() - ui->totalTimeLabel->width() + 15,
                             ui->totalTimeLabel->y());
}

void MainWindow::showStateLabel(QString text, int ms)
{
    ui->stateLabel->setText(text);
    ui->stateLabel->setFixedWidth(15 * text.length());
    ui->stateLabel->show();
    stateLabelTimer->start(ms);
}

// Only the cursor changes; nothing is resized by the grip.
void MainWindow::on_resizeBtn_pressed() { setCursor(Qt::SizeFDiagCursor); }
