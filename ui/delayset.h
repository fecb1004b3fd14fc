// The small dialog in which an exact audio or subtitle delay is typed in milliseconds.
#pragma once

#include <QDialog>

class QSpinBox;

namespace Ui {
class audioDelaySet;
}

class delaySet : public QDialog {
    Q_OBJECT

public:
    explicit delaySet(QWidget *parent = nullptr);
    ~delaySet() override;

    Ui::audioDelaySet *ui = nullptr;
    double currentDelay = 0; // seconds; set by the owner, not used here
    QSpinBox *sbox = nullptr; // the spin box that is shown, milliseconds

signals:
    void setAudioDelaySignal(double seconds);
    void setSubDelaySignal(double seconds);

public slots:
    // Confirming sends the number shown, in seconds, by the signal that delayFlag chooses.
    void on_confirmBtn_clicked();
    void on_cancelBtn_clicked();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void loadDelayInForce();
};
