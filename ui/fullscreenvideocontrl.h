// The floating control bar of the full-screen mode. It turns user actions into signals for the main
// window; only seeking by dragging is written straight to the engine.
#pragma once

#include <QDialog>

class ProgressMouse;
class QHBoxLayout;
class QLabel;
class QPushButton;
class QSlider;
class QTimer;
class QVBoxLayout;
class speedWind;

extern bool showFlag; // declared for other modules, unused

class FullScreenVideoControl : public QDialog {
    Q_OBJECT

public:
    static constexpr int hideAfter = 5000; // ms without a move of the mouse

    explicit FullScreenVideoControl(QWidget *parent = nullptr);
    ~FullScreenVideoControl() override;

    QPushButton *playBtn = nullptr;
    QPushButton *voiceBtn = nullptr;
    QLabel *titleLabel = nullptr;
    QLabel *totalTimeLabel = nullptr;
    QLabel *currentTimeLabel = nullptr;
    QPushButton *fullScreenBtn = nullptr;
    QTimer *processTimer = nullptr; // runs, drives nothing: intended
    QTimer *mouseClickedTimer = nullptr;
    QSlider *processSlider = nullptr;
    QSlider *voiceSlider = nullptr;
    bool state = false; // true while the bar is shown
    int currentSpeed = 0; // speed code copied in by the host
    QTimer *mouseTimer = nullptr;
    speedWind *sw = nullptr;
    QLabel *blankLabel = nullptr;
    QLabel *blankTopLabel = nullptr;
    QLabel *btnBlankLabel = nullptr;
    QLabel *percentLabel = nullptr; // never created
    QLabel *timeLabel = nullptr;
    QPushButton *stopBtn = nullptr;
    QPushButton *forwardBtn = nullptr;
    QPushButton *backwardBtn = nullptr;
    QPushButton *speedBtn = nullptr;
    QVBoxLayout *blankLayout = nullptr;
    QHBoxLayout *btnLayout = nullptr;
    QHBoxLayout *hVoiceLayout = nullptr;
    QHBoxLayout *sliderLayout = nullptr; // never created
    QHBoxLayout *sliderLabelLayout = nullptr;
    QVBoxLayout *processLayout = nullptr; // never created
    QVBoxLayout *mainLayout = nullptr;
    QVBoxLayout *voiceLayout = nullptr;
    QVBoxLayout *processSliderLayout = nullptr;
    QWidget *centerWidget = nullptr; // created, never placed
    int currentPosition = 0; // never assigned: intended

    // Hides the bar and the speed pop-up when another window becomes the active one.
    bool eventFilter(QObject *watched, QEvent *event) override;

    // What the main window shows on the bar; times in seconds.
    void showTitle(const QString &title);
    void showLength(const QString &text, int seconds);
    void showPosition(const QString &text, int seconds);
    void showVolumeIcon(const QIcon &icon);
    // Covers a screen of this size, and goes when the mouse has rested for hideAfter.
    void appear(const QSize &screen);
    void hideLater();
    // Takes back a click on the picture that waits for its double click.
    void forgetClick();

    // Hides the bar and clears its state.
    void hideBar(); // the speed pop-up is left as it is
    void hideWithSpeedWindow();
    // The state stays: intended.
    void hideForLayout();

signals:
    void mouseHide();
    void floatPlay(); // never emitted
    void processSliderSignal(int position); // seconds
    void voiceSliderSignal(int volume); // never emitted
    void fullScreenSignal();
    void stopSignal();
    void replaySignal(); // never emitted
    void playBtnClickedSignal();
    void forwardSignal(); // nobody listens, nor to the next one: intended
    void backwardSignal();
    void volumSignal(int volume); // the bar's slider, or 0 from the loudspeaker button
    void exitFullScreenSignal(); // never emitted
    void speedSetSignal(int percent);
    void openFileBtnSignal();
    void voiceDelayPlusSignal();
    void voiceDelayReduceSignal();
    void cancelAudioDelaySignal(); // never emitted
    void setAudioDelaySignal();
    void openSubTitleFileSignal();
    void subTitleDelayIncreaseSignal();
    void subTitleDelayReduceSignal();
    void cancelSubDelaySignal();
    void delSubTitleSignal();
    void setSubDelaySignal();
    void subScalePlusSignal();
    void subScaleReduceSignal();
    void subPosUpSignal();
    void subPosDownSignal();

public slots:
    // Buttons and sliders.
    void playBtnClicked(); // also a click on the picture
    void forwardBtnClicked();
    void backwardBtnClicked();
    void voiceBtnClicked();
    void processSliderMoved(int position); // the handle is dragged: writes the seek, in seconds
    void stopBtnClicked();
    void fullScreenBtnClicked();
    void processSliderPressed(int position); // the value changed, by whomever
    void voiceSliderMoved(int volume);
    void dataReceive(); // does nothing
    void speedBtnClicked();
    void recvChangeSpeed(int percent);

    // Entries of the context menu. What opens a dialog hides the bar first, which would cover it.
    void openFileBtnTriggered();
    void voiceDelayPlus();
    void voiceDelayReduce();
    void cancelAudioDelay();
    void setAudioDelay();
    void openSubTitleFile();
    void subTitleDelayIncrease();
    void subTitleDelayReduce();
    void cancelSubDelay();
    void delSubTitle();
    void setSubDelay();
    void subScalePlus();
    void subScaleReduce();
    void subPosUp();
    void subPosDown();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    // Construction, in this order.
    void setUpWindow();
    void setUpButtons();
    void setUpLabels();
    void setUpSizes();
    void setUpVoiceSlider();
    void setUpButtonRow();
    void setUpLayouts();
    void setUpProcessSlider();
    void setUpTimers();
    void connectAll();

    ProgressMouse *progressMouse = nullptr;
};
