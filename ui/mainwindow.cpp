#include "mainwindow.h"

#include "common.h"
#include "controls.h"
#include "delayset.h"
#include "dialogs.h"
#include "engine.h"
#include "fullscreenvideocontrl.h"
#include "handlesnapfilethread.h"
#include "listwidget.h"
#include "progressmouse.h"
#include "speedwind.h"
#include "terminationnotifier.h"
#include "titlebar.h"
#include "ui_mainwindow.h"
#include "windowplace.h"

#include <QCloseEvent>
#include <QDebug>
#include <QGuiApplication>
#include <QMediaPlayer>
#include <QScreen>
#include <QTimer>

namespace {
constexpr char kFilledPart[] = "7,158,205"; // colour of the sliders up to their handle
constexpr int kVolumeRest = 100; // ms without a move, then the volume is sent
} // namespace

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
    , mplayer(new QMediaPlayer(this))
    , ui(new Ui::MainWindow)
{
    ui->setupUi(this);
    setDialogOwner(this);
    setUpWindow();
    setUpTitleBar();
    setUpCompanions();
    setUpButtons();
    setUpSliders();
    setUpPlayArea();
    setUpTimers();
    setUpLabels();
    setUpList();
    setUpScreenshots();
    connectAll();
    normalWidth = width();
    normalHeight = height();
    addToList();
    setUpInput();
    playinglist.addrIndex = addrNum - 1;
    openCommandLineFiles();
}

MainWindow::~MainWindow()
{
    setDialogOwner(nullptr);
    endSnapThread();
    snapThread->wait(); // a running thread must not be destroyed
    discardEngine();
    delete sw;
    delete fsvc;
    delete ui;
}

void MainWindow::setUpWindow()
{
    maxFlag = false;
    setWindowFlags(Qt::FramelessWindowHint);
    QPalette windowPalette = palette();
    windowPalette.setBrush(backgroundRole(), QBrush(QColor(70, 70, 70, 255)));
    setPalette(windowPalette);
    setFocusPolicy(Qt::NoFocus);
}

// The film's name goes to this bar. The window's own title, which the task bar shows, stays the
// form's: intended.
void MainWindow::setUpTitleBar()
{
    m_titleBar = new TitleBar(this);
    m_titleBar->setWindowTitle("Tarnivo播放器-影音版");
    m_titleBar->SetTitleBarIcon(":/image/icon/logo1.png");
    m_titleBar->setFixedWidth(width());
    m_titleBar->setFixedHeight(30);
    m_titleBar->setFocusPolicy(Qt::NoFocus);
}

// The windows that float beside this one, and the screen they are placed on.
void MainWindow::setUpCompanions()
{
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    screenWidth = screen.width();
    screenHeight = screen.height();
    firstScreens = screenPlaces();
    qDebug() << "w=" << screenWidth << " h=" << screenHeight;

    sw = new speedWind;
    currentSpeed = kNormalSpeed;
    fsvc = new FullScreenVideoControl;
    fsvc->setMouseTracking(true);
}

void MainWindow::setUpButtons()
{
    const struct {
        QToolButton *button;
        const char *hint;
        const char *icon;
        QSize iconSize;
    } buttons[] = {
        {ui->playBtn, "播放", "play", {45, 45}},
        {ui->backwardBtn, "快退", "backward", {36, 36}},
        {ui->forwardBtn, "快进", "forward", {36, 36}},
        {ui->stopBtn, "停止", "stop", {36, 36}},
        {ui->openFileBtn, "打开文件", "floder", {25, 25}},
        {ui->volumBtn, "音量", "vol1", {25, 25}},
        {ui->fullScreenBtn, "全屏", "fullscreen1", {30, 25}},
        {ui->hideListBtn, "隐藏列表", "list", {30, 25}},
        {ui->snapShotBtn, "截图", "camera", {25, 25}},
    };
    for (const auto &row : buttons) {
        row.button->setFocusPolicy(Qt::NoFocus);
        setHint(row.button, row.hint);
        row.button->setIcon(controlIcon(row.icon));
        row.button->setIconSize(row.iconSize);
        row.button->setStyleSheet("color:white;background-color:gray");
    }
    ui->playBtn->setAutoFillBackground(true);
    ui->backwardBtn->setAutoFillBackground(true);

    ui->speedSetBtn->setFocusPolicy(Qt::NoFocus);
    setHint(ui->speedSetBtn, "倍速");
    ui->speedSetBtn->setText("倍速");
    ui->speedSetBtn->setStyleSheet("color:white;background-color:gray;");
}

void MainWindow::setUpSliders()
{
    ui->volumSlider->setRange(0, 100);
    ui->volumSlider->setStyleSheet(volumSliderStyle(kFilledPart));
    ui->volumSlider->setFocusPolicy(Qt::NoFocus);
    ui->volumSlider->setAccessibleName("音量");
    ui->processSlider->setAutoFillBackground(false);
    ui->processSlider->setStyleSheet(processSliderStyle(kFilledPart));
    ui->processSlider->setFocusPolicy(Qt::NoFocus);
    ui->processSlider->setAccessibleName("播放进度");
    new ProgressMouse(ui->processSlider, ProgressMouse::WheelRests);
}

// The engine draws into the play area's own X11 window, so it needs a native id. All siblings
// become native with it; their ids stay valid for the whole run.
void MainWindow::setUpPlayArea()
{
    ui->playWidget->setStyleSheet("background-color:black");
    // The X11 window is made where it will be shown. Were it moved there later, the answer to that
    // move could reach Qt while the window manager puts its frame around the window, and Qt would
    // take it for being at 0, 0: the first drag would make it jump.
    centre();
    playinglist.widID = ui->playWidget->winId();
    qDebug() << "winid is " << playinglist.widID;
    makeEngine();
    curDecodeFlag = decodeFlag;
    subTitleScale = 3.0;
}

void MainWindow::setUpTimers()
{
    processTimer = new QTimer(this);
    mouseClickTimer = new QTimer(this);
    stateLabelTimer = new QTimer(this);
    volumSliderTimer = new QTimer(this);
}

void MainWindow::setUpLabels()
{
    for (QLabel *label : {ui->currentTimeLabel, ui->totalTimeLabel}) {
        label->setFixedSize(80, 15);
        whiten(label);
    }
    ui->resizeBtn->setFlat(true);
    ui->resizeBtn->setFixedSize(10, 10);
    ui->resizeBtn->setIcon(controlIcon("triangle"));
    ui->resizeBtn->setFocusPolicy(Qt::NoFocus);
    ui->resizeBtn->hide();

    ui->stateLabel->setTextFormat(Qt::PlainText);
    ui->stateLabel->hide();
    ui->stateLabel->setStyleSheet("background-color: transparent;font-size:15px;color:white");
}

void MainWindow::setUpList()
{
    listWidget = new ListWidget(this);
    listWidget->setFocusPolicy(Qt::NoFocus);
    // The picture goes to the placeholder, which every resize hides: intended.
    QPalette listPalette = ui->listWidget->palette();
    listPalette.setBrush(ui->listWidget->backgroundRole(),
                         QBrush(QPixmap(":/image/background.jpg")));
    ui->listWidget->setPalette(listPalette);
    ads = new delaySet(this);
}

void MainWindow::setUpInput()
{
    ui->playWidget->setMouseTracking(true);
    setMouseTracking(true);
    ui->centralWidget->setMouseTracking(true);
    ui->playWidget->setAcceptDrops(true);
    setAcceptDrops(true);
    installEventFilter(this);
}

// Buttons of the form are bound by object name and must not be connected here.
void MainWindow::connectAll()
{
    connect(engineProcess(), SIGNAL(readyReadStandardOutput()), this, SLOT(dataReceive()));
    connect(engineProcess(), SIGNAL(finished(int, QProcess::ExitStatus)), this,
            SLOT(recvEngineFinished()));
    connect(ui->processSlider, SIGNAL(sliderPressed()), this, SLOT(processSliderPressed()));
    connect(ui->processSlider, SIGNAL(sliderReleased()), this, SLOT(processSliderPressed()));
    connect(ui->volumSlider, SIGNAL(sliderPressed()), this, SLOT(volumSliderMoved()));
    connect(ui->volumSlider, SIGNAL(sliderReleased()), this, SLOT(volumSliderMoved()));
    connect(ui->volumSlider, &QSlider::valueChanged, this,
            [this] { volumSliderTimer->start(kVolumeRest); });
    connect(sw, SIGNAL(changeSpeed(int)), this, SLOT(recvChangeSpeed(int)));
    connect(ads, SIGNAL(setAudioDelaySignal(double)), this, SLOT(recvAudioDelaySignal(double)));
    connect(ads, SIGNAL(setSubDelaySignal(double)), this, SLOT(recvSubDelaySignal(double)));
    connect(m_titleBar, SIGNAL(setWindowAlwaysOnTopSignal(bool)), this,
            SLOT(recvWindowAlwaysOnTopSignal(bool)));
    connect(m_titleBar, SIGNAL(decodeSetSignal()), this, SLOT(recvSetDecodeSignal()));
    connect(m_titleBar, SIGNAL(settingsClosed()), this, SIGNAL(changed()));
    connect(listWidget, SIGNAL(itemDoubleClicked(QListWidgetItem *)), this,
            SLOT(playSelectedItem(QListWidgetItem *)));
    connect(listWidget, SIGNAL(sig_play(QListWidgetItem *)), this,
            SLOT(playSelectedItem(QListWidgetItem *)));
    connect(listWidget, SIGNAL(removeAndStopSignal()), this, SLOT(recvRemoveAndStopSignal()));
    connect(listWidget->model(), SIGNAL(rowsRemoved(QModelIndex, int, int)), this,
            SLOT(recvRowsRemoved()));
    connect(listWidget->model(), SIGNAL(modelReset()), this, SLOT(recvListCleared()));
    connect(snapThread, SIGNAL(saveSnapShotSignal(QString)), this, SLOT(fileMoveMSg(QString)));
    connectFullScreenBar();

    connect(processTimer, &QTimer::timeout, this, [this] { pollEngine(); });
    connect(mouseClickTimer, &QTimer::timeout, this, [this] {
        playOrPause();
        qDebug() << "mouseClickTimer timeout message";
        mouseClickTimer->stop();
    });
    connect(stateLabelTimer, &QTimer::timeout, this, [this] {
        stateLabelTimer->stop();
        ui->stateLabel->hide();
    });
    connect(volumSliderTimer, &QTimer::timeout, this, [this] {
        volumSliderTimer->stop();
        volumSliderMoved();
    });
}

// Forward and backward of the bar are connected to nothing: intended.
void MainWindow::connectFullScreenBar()
{
    const struct {
        const char *signal;
        const char *slot;
    } wires[] = {
        {SIGNAL(mouseHide()), SLOT(recvMouseHide())},
        {SIGNAL(processSliderSignal(int)), SLOT(processSliderPressed(int))},
        {SIGNAL(fullScreenSignal()), SLOT(recvFullScreenSignal())},
        {SIGNAL(stopSignal()), SLOT(recvStopSignal())},
        {SIGNAL(playBtnClickedSignal()), SLOT(recvPlayBtnClicked())},
        {SIGNAL(volumSignal(int)), SLOT(recvVolumSignal(int))},
        {SIGNAL(speedSetSignal(int)), SLOT(recvChangeSpeed(int))},
        {SIGNAL(openFileBtnSignal()), SLOT(on_openFileBtn_clicked())},
        {SIGNAL(voiceDelayPlusSignal()), SLOT(voiceDelayPlus())},
        {SIGNAL(voiceDelayReduceSignal()), SLOT(voiceDelayReduce())},
        {SIGNAL(cancelAudioDelaySignal()), SLOT(cancelAudioDelay())},
        {SIGNAL(setAudioDelaySignal()), SLOT(setAudioDelay())},
        {SIGNAL(openSubTitleFileSignal()), SLOT(openSubTitleFile())},
        {SIGNAL(subTitleDelayIncreaseSignal()), SLOT(subTitleDelayIncrease())},
        {SIGNAL(subTitleDelayReduceSignal()), SLOT(subTitleDelayReduce())},
        {SIGNAL(cancelSubDelaySignal()), SLOT(cancelSubDelay())},
        {SIGNAL(delSubTitleSignal()), SLOT(delSubTitle())},
        {SIGNAL(setSubDelaySignal()), SLOT(setSubDelay())},
        {SIGNAL(subScalePlusSignal()), SLOT(subScalePlus())},
        {SIGNAL(subScaleReduceSignal()), SLOT(subScaleReduce())},
        {SIGNAL(subPosUpSignal()), SLOT(subPosUp())},
        {SIGNAL(subPosDownSignal()), SLOT(subPosDown())},
    };
    for (const auto &wire : wires)
        connect(fsvc, wire.signal, this, wire.slot);
}

void MainWindow::openCommandLineFiles()
{
    for (int i = 0; i < kCommandLineSlots && !rBtnOpenFile[i].isEmpty(); i++)
        openAndDragFile(checkInputFileName(rBtnOpenFile[i]));
    endProbesAhead();
}

// The stop comes first, because it rewrites the history file that may be emptied here.
void MainWindow::closeEvent(QCloseEvent *event)
{
    stop(SavePlace);
    processTimer->stop();
    mouseClickTimer->stop();
    volumSliderTimer->stop();
    if (emptyListCheckFlag && !emptyHistoryFile(defaultPlayPath))
        qDebug() << "Json File open fail!" << 1692;
    setDefaultConfig(QString::number(defaultVolum), SettingDefaultVolum);
    fsvc->hideWithSpeedWindow();
    sw->dismiss();
    endSnapThread();
    snapThread->wait();
    phase = Closed;
    event->accept();
}

// Closed, or about to be: a signal that comes while the construction still opens files is only
// passed on to the window afterwards.
bool MainWindow::isEnding() const { return phase == Closed || TerminationNotifier::isRequested(); }

#include "moc_mainwindow.cpp"
