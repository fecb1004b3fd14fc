#include "showvideoinfo.h"

#include "common.h"
#include "ui_showvideoinfo.h"

#include <QFileInfo>

double getFileSize(QString path) { return QFileInfo(path).size() / 1024.0 / 1024.0; }

showVideoInfo::showVideoInfo(QWidget *parent)
    : QDialog(parent)
    , ui(new Ui::showVideoInfo)
{
    ui->setupUi(this);
    setFixedSize(320, 580);
}

showVideoInfo::~showVideoInfo() { delete ui; }

void showVideoInfo::on_closeBtn_clicked() { close(); }

void showVideoInfo::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);

    const int index = playinglist.addrIndex; // the playlist may have left it beside the array
    const QString addr = isAddrSlot(index) ? addrlist[index].addr : QString();

    setWindowTitle(QStringLiteral("媒体信息"));
    ui->fileName->setText(getFileNameFromAddr(addr));
    ui->fileName->setToolTip(getFileNameFromAddr(addr));
    // The format code 10 is none that Qt knows; it prints fixed decimals. Intended.
    ui->frame->setText(QString::number(videoInfo.frame, 10, 2) + " fps");
    ui->vRate->setText(QString("%1").arg(videoInfo.bitRate / 1000, 0, 10, QLatin1Char(' ')) +
                       " kbps");
    ui->channels->setText(QString::number(videoInfo.channels));
    ui->duration->setText(videoInfo.showDuration);
    ui->fileSize->setText(QString::number(getFileSize(addr), 10, 1) + "MB");
    ui->location->setText(addr);
    ui->location->setToolTip(addr);
    ui->location->setAlignment(Qt::AlignTop);
    // Intended: no blank before this unit, other than for the video rate.
    ui->acodecRate->setText(QString::number(videoInfo.acodecRate / 1000.0, 10, 2) + "kbps");
    ui->acodecType->setText(videoInfo.acodecType);
    ui->sampleRate->setText(QString::number(videoInfo.asampleRate) + "hz");
    ui->vcodecType->setText(videoInfo.vcodecType);
    ui->vcodecType->setToolTip(videoInfo.vcodecType);
    ui->resolutionRatio->setText(QString::number(videoInfo.width) + "x" +
                                 QString::number(videoInfo.height));
}

#include "moc_showvideoinfo.cpp"
