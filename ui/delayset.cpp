#include "delayset.h"

#include "common.h"
#include "ui_delayset.h"

#include <QSpinBox>

namespace {
constexpr int kSubtitleDelay = 1; // of delayFlag; any other value means the audio delay
constexpr double kMillisecondsPerSecond = 1000.0;
constexpr int kLimit = 999999; // milliseconds
constexpr int kStep = 100;
constexpr int kSpinBoxWidth = 172;
constexpr int kSpinBoxHeight = 61;
} // namespace

delaySet::delaySet(QWidget *parent)
    : QDialog(parent)
    , ui(new Ui::audioDelaySet)
{
    ui->setupUi(this);
    ui->label->setText(QStringLiteral("延时设置（单位：毫秒）"));
    ui->spinBox->hide();

    sbox = new QSpinBox(this);
    // The text is read back with QString::toDouble(), which knows ASCII digits and the ASCII minus
    // only.
    sbox->setLocale(QLocale::c());
    sbox->setFixedSize(kSpinBoxWidth, kSpinBoxHeight);
    sbox->setRange(-kLimit, kLimit);
    sbox->move(ui->spinBox->pos());
    sbox->setSingleStep(kStep);
    ui->label->setBuddy(sbox);

    setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    sbox->setFocus();
    sbox->setEnabled(true);
    loadDelayInForce();
}

delaySet::~delaySet() { delete ui; }

void delaySet::loadDelayInForce()
{
    const double seconds = delayFlag == kSubtitleDelay ? subDelay : audioDelay;
    // Bounded before the conversion, which is undefined for what an int can't hold. Truncated
    // toward zero, so that 0.0999 s show as 99 ms: intended.
    const double bound = kLimit;
    sbox->setValue(static_cast<int>(qBound(-bound, seconds * kMillisecondsPerSecond, bound)));
}

void delaySet::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    loadDelayInForce();
}

void delaySet::on_confirmBtn_clicked()
{
    const double seconds = sbox->text().toDouble() / kMillisecondsPerSecond;
    if (delayFlag == kSubtitleDelay)
        emit setSubDelaySignal(seconds);
    else
        emit setAudioDelaySignal(seconds);
    close();
}

void delaySet::on_cancelBtn_clicked() { close(); }

#include "moc_delayset.cpp"
