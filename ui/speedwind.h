// The pop-up column of six playback speeds.
#pragma once

#include <QDialog>

class QPushButton;
class QVBoxLayout;

// The speeds there are; their codes are the places in this table.
struct PlaySpeed {
    int percent;
    const char *text;
    const char *toolTip;
};
extern const PlaySpeed kSpeeds[6];
constexpr int kNormalSpeed = 2;
// The code of a speed in percent; that of the normal one for any there is not.
int speedCode(int percent);

class speedWind : public QDialog {
    Q_OBJECT

public:
    explicit speedWind(QWidget *parent = nullptr);
    ~speedWind() override;

    // Shows the pop-up above the cursor with the focus on the button of speedCode, or hides it when
    // it is shown.
    void toggleAtCursor(int speedCode);
    // Hides the pop-up and clears its state.
    void dismiss();
    // Paints what has changed of the buttons, at once.
    void paintButtons();

    int state = 0; // 1 while shown by its owner
    int speed = 0; // last chosen speed in percent
    QPushButton *speed050 = nullptr;
    QPushButton *speed075 = nullptr;
    QPushButton *speed100 = nullptr;
    QPushButton *speed125 = nullptr;
    QPushButton *speed150 = nullptr;
    QPushButton *speed200 = nullptr;
    QVBoxLayout *vlayout = nullptr;
    QWidget *centerWidget = nullptr; // unused

    // Takes every event of the pop-up itself; hides it when another window becomes the active one.
    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    void changeSpeed(int percent); // a button was clicked

public slots:
    void speed050BtnClicked();
    void speed075BtnClicked();
    void speed100BtnClicked();
    void speed125BtnClicked();
    void speed150BtnClicked();
    void speed200BtnClicked();

protected:
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void addButton(int code);
    void choose(int code);
};
