// The player's one top-level window: title bar, video area, playlist, progress and button row.
// The implementation is split by subject: mainwindow.cpp (construction, closing), _layout, _engine
// (playing), _adjust, _playlist, _modes, _screenshots, _menu and _remote (what the desktop asks
// for).
#pragma once

#include "enginerun.h"
#include "playerview.h"

#include <QMainWindow>
#include <QRect>
#include <QString>
#include <QVector>

class ListWidget;
class FullScreenVideoControl;
class QHBoxLayout;
class QLabel;
class QListWidgetItem;
class QMediaPlayer;
class QTimer;
class QToolButton;
class QVBoxLayout;
class TitleBar;
class delaySet;
class handleSnapFileThread;
class speedWind;

namespace Ui {
class MainWindow;
}

// Starts mpv on an entry of addrlist. Neither polling nor titles are set up for it: intended.
void mpvPlay(int index);

class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    // Shows a notice over the video for ms milliseconds.
    void showStateLabel(QString text, int ms);
    // Starts playback of an entry of addrlist; a running engine is ended first. An index outside
    // the array does nothing.
    void softAndVdpauPlay(int index);
    // Probes file and fills videoInfo. True when the media is accepted.
    bool checkVideoFileInput(QString file);
    // Opens one file or stream: probes it, adds it to the list if it is new, and plays it.
    void openAndDragFile(QString path);
    // Chooses and starts what follows after the end of a file.
    void checkPlayMode();

    // What the person wants of the film; buttons, keys and menus come here. Each does nothing where
    // it has nothing to do it with.
    //
    // Plays an entry of addrlist from its saved place, or goes on with it if it is loaded and
    // paused. Whatever else is loaded is stopped first. An index outside the list means the newest.
    void play(int index);
    void pause();
    void resume();
    void playOrPause(); // the toggle: plays the entry of playinglist when stopped
    enum Place { SavePlace, KeepPlace };
    void stop(Place place); // place: where the entry goes on next time
    void seek(int second); // a paused film stays paused
    void toggleMute();
    void takeScreenshot();
    void openLocalFile(); // asks for one
    void enterFullScreen();

    // What the desktop's controls show, and what only they ask for.
    PlayerView view() const;
    // To the next row of the list (1) or the one before (-1): playing, paused or stopped as before.
    void skip(int rows);
    void slideTo(int second); // puts the slider's handle there
    void changeVolume(int volume); // likewise
    void changePlayMode(int mode); // also in the settings file

    // Keeps windowActiveFlag; what floats over the window goes when it is no more the active one.
    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    void changed(); // what view() tells, perhaps
    void sought(); // the film goes on from another place, where view() has it

public slots:
    // Buttons of the form, bound by name. Play also pauses and goes on; backward and forward
    // jump 5 s.
    void on_playBtn_clicked();
    void on_stopBtn_clicked();
    void on_backwardBtn_clicked();
    void on_forwardBtn_clicked();
    void on_openFileBtn_clicked();
    void on_volumBtn_clicked();
    void on_fullScreenBtn_clicked();
    void on_hideListBtn_clicked();
    void on_speedSetBtn_clicked();
    void on_snapShotBtn_clicked();
    void on_resizeBtn_pressed();
    void on_unPlayedBtn_clicked(); // there is no such widget: intended

    // Engine.
    void dataReceive(); // reads the engine's answers
    void processSliderPressed(); // seeks to where the slider stands
    void processSliderPressed(int position); // seeks to a second, unless it is the reported one
    void recvRemoveAndStopSignal(); // stops without saving the position
    void recvStopSignal();
    void recvPlayBtnClicked();

    // Adjustments. What is sent to the engine goes to a playing one only, but for the speed and
    // subPosDown().
    void volumSliderMoved(); // takes over and sends the slider's volume
    void recvVolumSignal(int volume); // 0 toggles mute, any other sends the slider's volume
    void recvChangeSpeed(int percent); // 50, 75, 100, 125, 150 or 200
    void voiceDelayPlus();
    void voiceDelayReduce();
    void cancelAudioDelay();
    void recvAudioDelaySignal(double seconds);
    void setAudioDelay();
    void subTitleDelayIncrease();
    void subTitleDelayReduce();
    void cancelSubDelay();
    void recvSubDelaySignal(double seconds);
    void setSubDelay();
    void openSubTitleFile();
    void delSubTitle();
    void subScalePlus();
    void subScaleReduce();
    void subPosUp();
    void subPosDown();
    void recvSetDecodeSignal(); // puts decodeFlag into force; restarts what plays

    // Playlist.
    void playSelectedItem(QListWidgetItem *item); // plays the row clicked last
    void playSelected(int row);

    // Modes.
    void showNormalWin(); // leaves full screen
    void recvFullScreenSignal(); // likewise, if in full screen
    void recvMouseHide(); // blanks the pointer
    void recvWindowAlwaysOnTopSignal(bool onTop);

    // Screenshots and information.
    void fileMoveMSg(QString path); // tells that a screenshot was filed
    void showVideoInfoFuc(); // probes the current entry anew and shows what was found

private slots:
    void recvEngineFinished(); // notes how long it ran
    void recvRowsRemoved();
    void recvListCleared();

protected:
    void closeEvent(QCloseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

    QMediaPlayer *mplayer = nullptr; // created, never used for playback
    Ui::MainWindow *ui = nullptr;
    bool windowActiveFlag = false; // true while this is the active window
    int curDecodeFlag = 0; // decode mode in effect for the current engine
    QTimer *processTimer = nullptr; // position polling, 500 ms
    QTimer *mouseClickTimer = nullptr; // tells a single click on the video from a double click
    QTimer *stateLabelTimer = nullptr; // hides the state label
    QTimer *volumSliderTimer = nullptr; // debounces the volume slider, 100 ms
    TitleBar *m_titleBar = nullptr;
    int screenWidth = 0; // pixels
    int screenHeight = 0; // pixels
    int normalWidth = 0; // the window's size at construction
    int normalHeight = 0;
    int currentPosition = 0; // last reported position in seconds
    bool listHideFlag = false; // true while the playlist is hidden
    QVBoxLayout *mainLayout = nullptr; // unused
    QHBoxLayout *btnLayout = nullptr; // unused
    QHBoxLayout *processLabelLayout = nullptr; // unused
    speedWind *sw = nullptr;
    FullScreenVideoControl *fsvc = nullptr;
    int currentSpeed = 2; // speed code 0..5, 2 is normal
    int lastVol = 0; // written, never read: intended
    int widgetNormalWidth = 0; // the play area's size before full screen
    int widgetNormalHeight = 0;
    int windWidth = 0; // unused
    int winHeight = 0; // unused
    delaySet *ads = nullptr;
    QLabel *subTitleLabel = nullptr; // unused
    QString subTitleFileName; // unused
    double subTitleScale = 3.0; // mirrors the engine's subtitle scale
    int subTitlePos = 0; // unused
    ListWidget *listWidget = nullptr;
    handleSnapFileThread *snapThread = nullptr;

private:
    // Construction, in this order.
    void setUpWindow();
    void setUpTitleBar();
    void setUpCompanions();
    void setUpButtons();
    void setUpSliders();
    void setUpPlayArea();
    void setUpTimers();
    void setUpLabels();
    void setUpList();
    void setUpScreenshots();
    void connectAll();
    void connectFullScreenBar();
    void setUpInput();
    void openCommandLineFiles();
    void addToList();

    // Playlist.
    QString chooseLocalFile(const QString &filter); // empty when none was chosen

    // Layout.
    void centre();
    void layOutPlayArea();
    void layOutButtonRow(int sliderY);
    void putListInPlace();
    bool insidePlayArea(const QPoint &point) const;

    // Engine.
    void pollEngine();
    void showPlayButton(bool playing);
    void start(bool afterAnEnd);
    bool startEntry(int index, bool afterAnEnd);
    bool warnOfHardware();
    void resumeAtLastPosition();
    void jump(const QByteArray &command);
    void stopAndSave();
    void stopPlayback();
    void endEngine();
    int placeToSave() const;
    void savePlace(int seconds);
    void noteFailure();
    void personActs();
    void takeRemark(const QByteArray &line);
    void showLength(int seconds);
    void showPosition(int seconds);
    void makeWayFor(int index);
    bool isEnding() const;

    // Desktop.
    int entryInForce() const;

    // Adjustments.
    void setVolumeIcon(const QString &icon, bool onBar);

    // Screenshots.
    void offerScreenshots(bool possible, const QString &hint);
    void startSnapThread();
    void endSnapThread();

    // Modes.
    void setNormalWidgetsVisible(bool visible);
    void showBar();

    QVector<QRect> firstScreens; // the screens at construction
    // What neither the globals nor the process tell: a start that waits for a box, a stop whose end
    // of the process can call back, a closed window (a signal can close it while a box is open).
    enum Phase { Settled, Starting, Stopping, Closed };
    Phase phase = Settled;
    EngineRun run; // what is known of the engine that was started last
    FailureRow failures; // engines in a row that failed at once
};
