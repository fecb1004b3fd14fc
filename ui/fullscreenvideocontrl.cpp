#include "fullscreenvideocontrl.h"

#include "common.h"
#include "controls.h"
#include "engine.h"
#include "enginecommands.h"
#include "outlined.h"
#include "playbackmenu.h"
#include "progressmouse.h"
#include "speedwind.h"

#include <QContextMenuEvent>
#include <QDebug>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QPointer>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QTime>
#include <QTimer>
#include <QVBoxLayout>

bool showFlag = true;

namespace {

constexpr int kProcessTimerInterval = 500; // ms
constexpr int kBorder = 10; // the mouse must stay this far inside the bar, in pixels

constexpr char kFilled[] = "7,208,255"; // colour of the sliders up to their handle

QPushButton *newButton(const QPalette &palette, const char *accessibleName)
{
    auto *button = new OutlinedButton;
    button->setFlat(true);
    button->setAutoFillBackground(true);
    button->setPalette(palette);
    button->setAccessibleName(QString::fromUtf8(accessibleName));
    return button;
}

QPushButton *newIconButton(const QPalette &palette, const char *accessibleName, const char *icon)
{
    QPushButton *button = newButton(palette, accessibleName);
    button->setIcon(controlIcon(icon));
    return button;
}

// File names are shown as they are, never as markup. The labels cover half of the screen: they let
// the mouse through, or the bar would not hear of its moves there and the cursor would stay blank.
QLabel *newLabel(const QString &text = QString())
{
    auto *label = new OutlinedLabel;
    label->setTextFormat(Qt::PlainText);
    label->setAttribute(Qt::WA_TransparentForMouseEvents);
    label->setText(text);
    return label;
}

QLabel *newFiller(int width, int height)
{
    QLabel *filler = newLabel();
    filler->setFixedSize(width, height);
    return filler;
}

QLabel *newTimeLabel()
{
    QLabel *label = newLabel("00:00:00");
    label->setFixedSize(80, 15);
    label->setStyleSheet("color:white");
    return label;
}

// A layout owns its items, so every place gets a spacer of its own.
QSpacerItem *wideSpacer()
{
    return new QSpacerItem(500, 40, QSizePolicy::Expanding, QSizePolicy::Minimum);
}

QSpacerItem *leftSpacer()
{
    return new QSpacerItem(160, 40, QSizePolicy::Fixed, QSizePolicy::Minimum);
}

QSpacerItem *smallSpacer()
{
    return new QSpacerItem(20, 20, QSizePolicy::Fixed, QSizePolicy::Minimum);
}

QSpacerItem *verticalSpacer(int height)
{
    return new QSpacerItem(20, height, QSizePolicy::Expanding, QSizePolicy::Maximum);
}

} // namespace

FullScreenVideoControl::FullScreenVideoControl(QWidget *parent)
    : QDialog(parent)
{
    setUpWindow();
    setUpButtons();
    setUpLabels();
    setUpSizes();
    setUpVoiceSlider();
    setUpButtonRow();
    setUpLayouts();
    setUpProcessSlider();
    setUpTimers();
    connectAll();

    installEventFilter(this);
    mouseTimer->start(hideAfter);
    processTimer->start(kProcessTimerInterval);
    setMouseTracking(true);
}

FullScreenVideoControl::~FullScreenVideoControl()
{
    delete sw;
    delete centerWidget;
}

void FullScreenVideoControl::setUpWindow()
{
    setWindowFlags(Qt::FramelessWindowHint | Qt::Tool | Qt::BypassWindowManagerHint);
    setWindowOpacity(1.0);
    setAttribute(Qt::WA_TranslucentBackground); // black without a compositor: intended
    setAttribute(Qt::WA_AlwaysShowToolTips); // the window manager may never make it active
    setAccessibleName(QStringLiteral("全屏控制栏"));
    centerWidget = new QWidget;
}

void FullScreenVideoControl::setUpButtons()
{
    QPalette shared;
    shared.setColor(QPalette::Button, QColor(150, 150, 150, 100));
    shared.setColor(QPalette::ButtonText, Qt::white); // as light as the icons

    stopBtn = newIconButton(shared, "停止", "stop");
    playBtn = newIconButton(shared, "播放", "pause");
    forwardBtn = newIconButton(shared, "快进", "forward");
    backwardBtn = newIconButton(shared, "快退", "backward");
    voiceBtn = newIconButton(shared, "音量", "vol1");
    voiceBtn->setFixedSize(30, 30);
    speedBtn = newButton(shared, "倍速");
    speedBtn->setText(QStringLiteral("倍速"));
    fullScreenBtn = newIconButton(shared, "退出全屏", "exitfull1");

    sw = new speedWind;
    sw->state = 0;
}

void FullScreenVideoControl::setUpLabels()
{
    timeLabel = newLabel();
    timeLabel->setStyleSheet("background-color: transparent;font-size:15px;color:white");
    timeLabel->installEventFilter(this);
    titleLabel = newFiller(width(), 100);
    blankLabel = newFiller(width(), height());
    blankLayout = new QVBoxLayout;
    blankLayout->addWidget(titleLabel);
    blankLayout->addWidget(blankLabel);
}

void FullScreenVideoControl::setUpSizes()
{
    for (QPushButton *button : {stopBtn, forwardBtn, backwardBtn, fullScreenBtn})
        button->setFixedSize(30, 30);
    playBtn->setFixedSize(50, 50);
    for (QPushButton *button : {stopBtn, playBtn, forwardBtn, backwardBtn, speedBtn, fullScreenBtn})
        button->setIconSize(QSize(30, 30));
    voiceBtn->setIconSize(QSize(28, 28));
}

void FullScreenVideoControl::setUpVoiceSlider()
{
    voiceSlider = new QSlider(Qt::Horizontal);
    voiceSlider->setObjectName("voice slider");
    voiceSlider->setAccessibleName(QStringLiteral("音量"));
    voiceSlider->setFixedSize(100, 20);
    voiceSlider->setValue(defaultVolum); // range 0..99, so a stored 100 shows 99: intended
    voiceSlider->setStyleSheet(volumSliderStyle(kFilled));
}

void FullScreenVideoControl::setUpButtonRow()
{
    hVoiceLayout = new QHBoxLayout;
    btnLayout = new QHBoxLayout;
    btnLayout->setMargin(0);
    btnLayout->addItem(wideSpacer());
    btnLayout->addItem(leftSpacer());
    btnLayout->addWidget(stopBtn, 0, Qt::AlignLeft);
    btnLayout->addItem(smallSpacer());
    btnLayout->addWidget(backwardBtn);
    btnLayout->addItem(smallSpacer());
    btnLayout->addWidget(playBtn, 0, Qt::AlignCenter);
    btnLayout->addItem(smallSpacer());
    btnLayout->addWidget(forwardBtn);
    btnLayout->addItem(smallSpacer());
    btnLayout->addLayout(hVoiceLayout);
    btnLayout->addItem(smallSpacer());
    btnLayout->addWidget(speedBtn, 0, Qt::AlignRight);
    btnLayout->addItem(smallSpacer());
    btnLayout->addWidget(fullScreenBtn, 0, Qt::AlignRight);
    btnLayout->addItem(wideSpacer());

    btnBlankLabel = newFiller(100, 1);
    voiceLayout = new QVBoxLayout;
    voiceLayout->setMargin(0);
    voiceLayout->addWidget(btnBlankLabel);
    voiceLayout->addWidget(voiceSlider);
    voiceLayout->addWidget(newFiller(100, 1));
    hVoiceLayout->addWidget(voiceBtn);
    hVoiceLayout->addLayout(voiceLayout);
    qDebug() << "voice btn x " << voiceBtn->x() << voiceBtn->height();
}

void FullScreenVideoControl::setUpLayouts()
{
    blankTopLabel = newFiller(100, 20);
    processSliderLayout = new QVBoxLayout;
    mainLayout = new QVBoxLayout;
    mainLayout->addWidget(blankTopLabel);
    mainLayout->addItem(verticalSpacer(200));
    mainLayout->addWidget(timeLabel);
    mainLayout->addLayout(blankLayout);
    mainLayout->addItem(verticalSpacer(200));
    mainLayout->addItem(verticalSpacer(300));
    mainLayout->addLayout(processSliderLayout);
    mainLayout->addLayout(btnLayout);
    mainLayout->addItem(verticalSpacer(200));
    setLayout(mainLayout);
}

void FullScreenVideoControl::setUpProcessSlider()
{
    processSlider = new QSlider(Qt::Horizontal);
    processSlider->setAccessibleName(QStringLiteral("播放进度"));
    processSlider->setStyleSheet(processSliderStyle(kFilled));
    progressMouse = new ProgressMouse(processSlider, ProgressMouse::WheelMoves);
    currentTimeLabel = newTimeLabel();
    totalTimeLabel = newTimeLabel();
    sliderLabelLayout = new QHBoxLayout;
    sliderLabelLayout->addWidget(currentTimeLabel, 0, Qt::AlignLeft);
    sliderLabelLayout->addWidget(totalTimeLabel, 0, Qt::AlignRight);
    processSliderLayout->addWidget(processSlider);
    processSliderLayout->addLayout(sliderLabelLayout);
}

void FullScreenVideoControl::setUpTimers()
{
    mouseTimer = new QTimer(this);
    processTimer = new QTimer(this);
    mouseClickedTimer = new QTimer(this);
    connect(mouseTimer, &QTimer::timeout, this, [this] {
        if (fullScreenFlag) {
            setCursor(Qt::BlankCursor);
            emit mouseHide();
        }
        hideWithSpeedWindow();
    });
    connect(mouseClickedTimer, &QTimer::timeout, this, [this] {
        playBtnClicked();
        mouseClickedTimer->stop();
    });
}

void FullScreenVideoControl::connectAll()
{
    connect(playBtn, SIGNAL(clicked()), this, SLOT(playBtnClicked()));
    connect(forwardBtn, SIGNAL(clicked()), this, SLOT(forwardBtnClicked()));
    connect(backwardBtn, SIGNAL(clicked()), this, SLOT(backwardBtnClicked()));
    connect(voiceBtn, SIGNAL(clicked()), this, SLOT(voiceBtnClicked()));
    connect(fullScreenBtn, SIGNAL(clicked()), this, SLOT(fullScreenBtnClicked()));
    connect(stopBtn, SIGNAL(clicked()), this, SLOT(stopBtnClicked()));
    connect(speedBtn, SIGNAL(clicked()), this, SLOT(speedBtnClicked()));
    connect(voiceSlider, SIGNAL(valueChanged(int)), this, SLOT(voiceSliderMoved(int)));
    connect(processSlider, SIGNAL(sliderMoved(int)), this, SLOT(processSliderMoved(int)));
    connect(processSlider, SIGNAL(valueChanged(int)), this, SLOT(processSliderPressed(int)));
    // Qt refuses this one, because the signal has no argument to pass, and says so: intended.
    connect(processSlider, SIGNAL(sliderPressed()), this, SLOT(processSliderPressed(int)));
    connect(sw, SIGNAL(changeSpeed(int)), this, SLOT(recvChangeSpeed(int)));
}

void FullScreenVideoControl::showTitle(const QString &title) { titleLabel->setText(title); }

void FullScreenVideoControl::showLength(const QString &text, int seconds)
{
    totalTimeLabel->setText(text);
    // A new range can clamp the old value, whose signal would seek the new file to its end.
    const QSignalBlocker blocker(processSlider);
    processSlider->setRange(0, seconds);
}

// Beyond the length told, the slider stops at its end, and that is a seek: intended.
void FullScreenVideoControl::showPosition(const QString &text, int seconds)
{
    currentTimeLabel->setText(text);
    processSlider->setValue(seconds);
}

void FullScreenVideoControl::showVolumeIcon(const QIcon &icon) { voiceBtn->setIcon(icon); }

void FullScreenVideoControl::appear(const QSize &screen)
{
    setFixedSize(screen);
    state = true;
    playBtn->setFocus();
    titleLabel->setFixedSize(screen.width(), 80);
    titleLabel->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    QFont font = titleLabel->font();
    font.setPointSize(18);
    titleLabel->setFont(font);
    whiten(titleLabel);
    hideLater();
    move(0, 0);
    show();
    playBtn->setFocus();
}

void FullScreenVideoControl::hideLater() { mouseTimer->start(hideAfter); }

void FullScreenVideoControl::forgetClick() { mouseClickedTimer->stop(); }

void FullScreenVideoControl::hideBar()
{
    state = false;
    hide();
}

void FullScreenVideoControl::hideWithSpeedWindow()
{
    hideBar();
    sw->dismiss();
}

void FullScreenVideoControl::hideForLayout()
{
    hide();
    sw->dismiss();
}

bool FullScreenVideoControl::eventFilter(QObject *watched, QEvent *event)
{
    // The clock's place is the corner. The layout puts it elsewhere whenever a text has changed.
    if (watched == timeLabel && event->type() == QEvent::Move)
        timeLabel->move(0, 0);
    if (watched != this || event->type() != QEvent::WindowDeactivate)
        return false;
    hideWithSpeedWindow();
    return true;
}

void FullScreenVideoControl::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::RightButton) {
        event->ignore();
        return;
    }
    if (event->y() < processSlider->y())
        mouseClickedTimer->start(kDoubleClickWait);
    qDebug() << "mouse clicked";
}

void FullScreenVideoControl::mouseDoubleClickEvent(QMouseEvent *)
{
    forgetClick();
    qDebug() << "double clicked event top";
    fullScreenBtnClicked();
}

// Only moves over the free places come here, so the clock goes on with them alone, and the bar
// hides under a mouse that moves over its buttons: intended.
void FullScreenVideoControl::mouseMoveEvent(QMouseEvent *event)
{
    const QString clock = QTime::currentTime().toString("hh:mm");
    timeLabel->setText(clock);
    timeLabel->setFixedWidth(10 * clock.length());
    timeLabel->move(0, 0);

    // The position is the bar's own and the geometry the parent's, compared as they are: intended.
    const QRect inner = geometry();
    if (inner.x() + kBorder <= event->x() && event->x() <= inner.x() + inner.width() - kBorder &&
        inner.y() + kBorder <= event->y() && event->y() <= inner.y() + inner.height() - kBorder) {
        setCursor(Qt::ArrowCursor);
        hideLater();
    } else {
        hideWithSpeedWindow();
    }

    if (!strictlyInside(event->pos(), speedBtn->geometry()))
        sw->dismiss();
}

void FullScreenVideoControl::keyPressEvent(QKeyEvent *event)
{
    sw->hide(); // its state stays: intended
    if (event->key() == Qt::Key_Alt) {
        hideWithSpeedWindow();
    } else if (event->key() == Qt::Key_Escape && fullScreenFlag) {
        sw->dismiss();
        forgetClick();
        fullScreenBtnClicked();
    }
    qDebug() << "key num:" << event->key();
}

void FullScreenVideoControl::focusInEvent(QFocusEvent *) { }

void FullScreenVideoControl::focusOutEvent(QFocusEvent *)
{
    qDebug() << "lose focus";
    if (!playBtn->hasFocus())
        hideWithSpeedWindow();
}

void FullScreenVideoControl::paintEvent(QPaintEvent *) { }

void FullScreenVideoControl::contextMenuEvent(QContextMenuEvent *)
{
    const PlaybackMenuKind kind{true,
                                SLOT(openFileBtnTriggered()),
                                SLOT(fullScreenBtnClicked()),
                                SLOT(stopBtnClicked()),
                                false,
                                nullptr};
    // Watched, because the bar may go, and the menu with it, while the menu is open.
    const QPointer<QMenu> menu = new QMenu("rBtnContexMenu", this);
    fillPlaybackMenu(menu, this, kind);
    menu->exec(QCursor::pos());
    delete menu;
}

// The picture follows clicks on the bar only, not what else pauses or plays: intended.
void FullScreenVideoControl::playBtnClicked()
{
    static int lastVol = defaultVolum; // never read: intended
    Q_UNUSED(lastVol)
    forgetClick();
    hideLater();
    playBtn->setIcon(controlIcon(playingState ? "play" : "pause"));
    emit playBtnClickedSignal();
}

void FullScreenVideoControl::forwardBtnClicked() { emit forwardSignal(); }

void FullScreenVideoControl::backwardBtnClicked() { emit backwardSignal(); }

void FullScreenVideoControl::voiceBtnClicked()
{
    emit volumSignal(0);
    hideLater();
}

void FullScreenVideoControl::processSliderMoved(int position)
{
    // The position that the engine tells moves a held handle too. Between a press beside the handle
    // and its release that would seek a second time, or back.
    if (progressMouse->isPlaced())
        return;
    hideLater();
    qDebug() << "process slider moved " << position;
    writeToEngine(enginecommands::seekTo(position));
}

void FullScreenVideoControl::stopBtnClicked()
{
    playBtn->setIcon(controlIcon("play"));
    emit stopSignal();
}

void FullScreenVideoControl::fullScreenBtnClicked() { emit fullScreenSignal(); }

void FullScreenVideoControl::processSliderPressed(int position)
{
    if (qAbs(qint64(position) - currentPosition) > 1 && state)
        emit processSliderSignal(position);
}

void FullScreenVideoControl::voiceSliderMoved(int volume)
{
    hideLater();
    emit volumSignal(volume);
}

void FullScreenVideoControl::dataReceive() { }

void FullScreenVideoControl::speedBtnClicked() { sw->toggleAtCursor(currentSpeed); }

void FullScreenVideoControl::recvChangeSpeed(int percent)
{
    hideBar();
    emit speedSetSignal(percent);
}

void FullScreenVideoControl::openFileBtnTriggered()
{
    hideBar();
    emit openFileBtnSignal();
}

void FullScreenVideoControl::voiceDelayPlus() { emit voiceDelayPlusSignal(); }

void FullScreenVideoControl::voiceDelayReduce() { emit voiceDelayReduceSignal(); }

// Under the sound menu, yet it cancels the subtitle delay: intended.
void FullScreenVideoControl::cancelAudioDelay() { emit cancelSubDelaySignal(); }

void FullScreenVideoControl::setAudioDelay()
{
    hideBar();
    emit setAudioDelaySignal();
}

void FullScreenVideoControl::openSubTitleFile()
{
    hideBar();
    emit openSubTitleFileSignal();
}

void FullScreenVideoControl::subTitleDelayIncrease() { emit subTitleDelayIncreaseSignal(); }

void FullScreenVideoControl::subTitleDelayReduce() { emit subTitleDelayReduceSignal(); }

void FullScreenVideoControl::cancelSubDelay() { emit cancelSubDelaySignal(); }

void FullScreenVideoControl::delSubTitle() { emit delSubTitleSignal(); }

void FullScreenVideoControl::setSubDelay()
{
    hideBar();
    emit setSubDelaySignal();
}

void FullScreenVideoControl::subScalePlus() { emit subScalePlusSignal(); }

void FullScreenVideoControl::subScaleReduce() { emit subScaleReduceSignal(); }

void FullScreenVideoControl::subPosUp() { emit subPosUpSignal(); }

void FullScreenVideoControl::subPosDown() { emit subPosDownSignal(); }

#include "moc_fullscreenvideocontrl.cpp"
