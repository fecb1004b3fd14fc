// The settings dialog: decode mode, resume, clearing on exit, screenshot folder, play mode.
#pragma once

#include <QDialog>

namespace Ui {
class Settings;
}

class Settings : public QDialog {
    Q_OBJECT

public:
    explicit Settings(QWidget *parent = nullptr);
    ~Settings() override;

    Ui::Settings *ui = nullptr;
    bool selectSnapPathFlag = false; // a folder was picked since the last confirmation

signals: // the global was set at a confirmation
    void setDecodeFlag(); // at every one
    void setLastTimeFlag();
    void setEmptyListExitFlag();

public slots:
    void on_softDecRaBtn_clicked();
    void on_softMultiDecRaBtn_clicked();
    void on_hardDecRaBtn_clicked();
    void on_selectSnapPathBtn_clicked();
    void on_confirmBtn_clicked(); // puts what was chosen in force, and stores it
    void on_cancelBtn_clicked();

protected:
    void showEvent(QShowEvent *event) override;
};
