// The media information dialog.
#pragma once

#include <QDialog>

namespace Ui {
class showVideoInfo;
}

// Size of the file at path in mebibytes, 0 when there is none.
double getFileSize(QString path);

class showVideoInfo : public QDialog {
    Q_OBJECT

public:
    explicit showVideoInfo(QWidget *parent = nullptr);
    ~showVideoInfo() override;

    Ui::showVideoInfo *ui = nullptr;

public slots:
    void on_closeBtn_clicked();

protected:
    void showEvent(QShowEvent *event) override;
};
