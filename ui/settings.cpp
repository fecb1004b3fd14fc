#include "settings.h"

#include "common.h"
#include "controls.h"
#include "ui_settings.h"

#include <QFileDialog>

namespace {
// Whether the state of box counts as a change of flag. The check state is 0 or 2 and the flag 0 or
// 1: a checked box always counts as changed, intended.
bool differs(const QCheckBox *box, bool flag)
{
    return static_cast<int>(box->checkState()) != static_cast<int>(flag);
}
} // namespace

Settings::Settings(QWidget *parent)
    : QDialog(parent)
    , ui(new Ui::Settings)
{
    ui->setupUi(this);
    ui->tabWidget->setCurrentIndex(0);
    ui->aboutLabel->setText(QStringLiteral("Tarnivo播放器-影音版 1.0"));
    setWindowTitle(QStringLiteral("设置"));
    // The two boxes are set here only: a change that was not confirmed stays visible, intended.
    if (lastTimePlayFlag)
        ui->lastPlayCheckBox->setChecked(true);
    if (emptyListCheckFlag)
        ui->emptyListCheckBox->setChecked(true);
    selectSnapPathFlag = false;
}

Settings::~Settings() { delete ui; }

void Settings::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    if (decodeFlag == DecodeSingle)
        ui->softDecRaBtn->setChecked(true);
    else if (decodeFlag == DecodeHardware)
        ui->hardDecRaBtn->setChecked(true);
    else
        ui->softMultiDecRaBtn->setChecked(true);
    ui->confirmBtn->setFocus();
    ui->snapPathEdit->setText(screenShotPath);
    ui->snapPathEdit->setToolTip(screenShotPath);
    ui->selectSnapPathBtn->setIcon(controlIcon(QStringLiteral("openfile")));
    ui->playModeComBox->setCurrentIndex(playMode);
    setFixedSize(width(), height());
}

void Settings::on_softDecRaBtn_clicked()
{
    ui->softDecRaBtn->setChecked(true);
    ui->softMultiDecRaBtn->setChecked(false);
    ui->hardDecRaBtn->setChecked(false);
}

void Settings::on_softMultiDecRaBtn_clicked()
{
    ui->softMultiDecRaBtn->setChecked(true);
    ui->softDecRaBtn->setChecked(false);
    ui->hardDecRaBtn->setChecked(false);
}

void Settings::on_hardDecRaBtn_clicked()
{
    ui->hardDecRaBtn->setChecked(true);
    ui->softDecRaBtn->setChecked(false);
    ui->softMultiDecRaBtn->setChecked(false);
}

void Settings::on_selectSnapPathBtn_clicked()
{
    const QString folder = QFileDialog::getExistingDirectory(
        this, tr("Open Directory"), QStringLiteral("/home"),
        QFileDialog::ShowDirsOnly | QFileDialog::DontResolveSymlinks);
    if (folder.isEmpty())
        return;
    // Stays set when the dialog is cancelled: a later confirmation stores what the line edit holds
    // then. Intended.
    selectSnapPathFlag = true;
    const QString path = folder + QLatin1Char('/');
    ui->snapPathEdit->setText(path);
    ui->snapPathEdit->setToolTip(path);
}

void Settings::on_confirmBtn_clicked()
{
    if (ui->softDecRaBtn->isChecked())
        decodeFlag = DecodeSingle;
    else if (ui->hardDecRaBtn->isChecked())
        decodeFlag = DecodeHardware;
    else
        decodeFlag = DecodeThreaded;
    emit setDecodeFlag(); // changed or not: intended

    if (differs(ui->lastPlayCheckBox, lastTimePlayFlag)) {
        lastTimePlayFlag = ui->lastPlayCheckBox->checkState() != Qt::Unchecked;
        emit setLastTimeFlag();
    }
    if (differs(ui->emptyListCheckBox, emptyListCheckFlag)) {
        emptyListCheckFlag = ui->emptyListCheckBox->checkState() != Qt::Unchecked;
        emit setEmptyListExitFlag();
    }

    // A path that was typed without the folder button is not taken over: intended.
    if (selectSnapPathFlag) {
        selectSnapPathFlag = false;
        setDefaultConfig(ui->snapPathEdit->text(), SettingSnapPath);
        screenShotPath = ui->snapPathEdit->text();
    }
    if (ui->playModeComBox->currentIndex() != playMode) {
        playMode = ui->playModeComBox->currentIndex();
        setDefaultConfig(QString::number(playMode), SettingPlayMode);
    }
    close();
}

void Settings::on_cancelBtn_clicked() { close(); }

#include "moc_settings.cpp"
