#include "titlebar.h"

#include "common.h"
#include "controls.h"
#include "dialogs.h"
#include "settings.h"
#include "windowplace.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QHelpEvent>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QStyle>
#include <QTextDocument>
#include <QToolTip>
#include <QWindow>

namespace {
constexpr int kBarHeight = 30;
constexpr QSize kIconLabelSize(25, 25);
constexpr QSize kButtonIconSize(22, 22);
constexpr QSize kButtonSize(27, 22);
constexpr QSize kCloseButtonSize(22, 22);

const auto kPinIcon = QStringLiteral("thumbtack1");
const auto kPinnedIcon = QStringLiteral("pinvertical");
const auto kMaximizeIcon = QStringLiteral("max");
const auto kRestoreIcon = QStringLiteral("restore");

const auto kPinText = QStringLiteral("总在最前");
const auto kUnpinText = QStringLiteral("取消最前");
const auto kSettingsText = QStringLiteral("设置");
const auto kCloseText = QStringLiteral("关闭");

// A name as a tool tip that takes at most this width: as it is where it fits, else with places to
// break the line behind every character that is no part of a word, and in words that are too long.
QString tipOf(const QString &name, int width)
{
    if (!Qt::mightBeRichText(name) &&
        QFontMetrics(QToolTip::font()).horizontalAdvance(name) < width)
        return name;
    static const QRegularExpression breakBehind(QStringLiteral("([^\\w\\s]|_|\\w{30})"),
                                                QRegularExpression::UseUnicodePropertiesOption);
    const QString breakable = QString(name).replace(breakBehind, QStringLiteral("\\1\u200b"));
    return QStringLiteral("<qt>%1</qt>")
        .arg(breakable.toHtmlEscaped().replace('\n', QLatin1String("<br>")));
}

// A title that is too long is shown with "…" in its middle, so that the beginning of a file's name
// and its end, where the number and the kind are, can be read; a tool tip tells all of it. The text
// itself stays whole.
class TitleLabel : public QLabel {
public:
    using QLabel::QLabel;

protected:
    void paintEvent(QPaintEvent *event) override
    {
        if (!isCut()) {
            QLabel::paintEvent(event);
            return;
        }
        QPainter painter(this);
        const QString line = QString(text()).replace('\n', ' ');
        const QString shown = fontMetrics().elidedText(line, Qt::ElideMiddle, width());
        style()->drawItemText(&painter, rect(), int(alignment()), palette(), isEnabled(), shown,
                              foregroundRole());
    }

    bool event(QEvent *event) override
    {
        if (event->type() != QEvent::ToolTip || !isCut())
            return QLabel::event(event);
        const QPoint pointer = static_cast<QHelpEvent *>(event)->globalPos();
        QToolTip::showText(pointer, tipOf(text(), screen()->geometry().width() * 9 / 10), this);
        return true;
    }

private:
    bool isCut() const { return width() < sizeHint().width(); }
};
} // namespace

TitleBar::TitleBar(QWidget *parent)
    : QWidget(parent)
{
    setFixedHeight(kBarHeight);
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    screenWidth = screen.width();
    screenHeight = screen.height();
    setUpLabels();
    setUpButtons();
    setUpLayout();
    setProperty("titleBar", true);
    setObjectName(QStringLiteral("titleBar"));

    setDialog = new Settings;
    connectAll();
}

TitleBar::~TitleBar() { delete setDialog; }

void TitleBar::setUpLabels()
{
    m_iconLabel = new QLabel(this);
    m_iconLabel->setFixedSize(kIconLabelSize);
    m_iconLabel->setScaledContents(true);
    m_iconLabel->move(0, 0);

    m_titleLabel = new TitleLabel(this);
    m_titleLabel->setTextFormat(Qt::PlainText); // file names may look like markup
    m_titleLabel->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void TitleBar::setUpButtons()
{
    m_thumbtackBtn = addButton(QString(), kButtonSize, kPinIcon, kPinText);
    m_memuButton = addButton(QString(), kButtonSize, QStringLiteral("setmenu"), kSettingsText);
    m_minimizeButton = addButton(QStringLiteral("minimizeButton"), kButtonSize,
                                 QStringLiteral("min"), QStringLiteral("最小化"));
    m_maximizeButton = addButton(QStringLiteral("maximizeButton"), kButtonSize, kMaximizeIcon,
                                 QStringLiteral("最大化"));
    m_closeButton = addButton(QStringLiteral("closeButton"), kCloseButtonSize,
                              QStringLiteral("close"), kCloseText);
}

QPushButton *TitleBar::addButton(const QString &objectName, const QSize &size, const QString &icon,
                                 const QString &toolTip)
{
    auto *button = new QPushButton(this);
    button->setObjectName(objectName);
    button->setFixedSize(size);
    button->setFlat(true);
    button->setFocusPolicy(Qt::NoFocus);
    button->setIcon(controlIcon(icon));
    button->setIconSize(kButtonIconSize);
    setHint(button, toolTip);
    return button;
}

void TitleBar::setUpLayout()
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_iconLabel);
    layout->addStretch(1);
    layout->addWidget(m_titleLabel);
    layout->addStretch(1);
    layout->addWidget(m_thumbtackBtn);
    layout->addWidget(m_memuButton);
    layout->addWidget(m_minimizeButton);
    layout->addWidget(m_maximizeButton);
    layout->addWidget(m_closeButton);
}

void TitleBar::connectAll()
{
    connect(m_memuButton, SIGNAL(clicked(bool)), this, SLOT(settingsFunc()));
    connect(m_minimizeButton, SIGNAL(clicked(bool)), this, SLOT(onClicked()));
    connect(m_maximizeButton, SIGNAL(clicked(bool)), this, SLOT(onClicked()));
    connect(m_closeButton, SIGNAL(clicked(bool)), this, SLOT(onClicked()));
    connect(m_thumbtackBtn, SIGNAL(clicked(bool)), this, SLOT(setWindowAlwaysOnTop()));
    connect(setDialog, SIGNAL(setDecodeFlag()), this, SLOT(sendSetDecodeFlagSignal()));
    connect(setDialog, SIGNAL(setLastTimeFlag()), this, SLOT(recvSetLastTimeFlagSignal()));
    connect(setDialog, SIGNAL(setEmptyListExitFlag()), this,
            SLOT(recvSetEmptyListExitFlagSigbal()));
}

void TitleBar::setWindowTitle(const QString &title)
{
    m_titleLabel->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    whiten(m_titleLabel);
    m_titleLabel->setText(title);
}

void TitleBar::SetTitleBarIcon(const QString &path) { m_iconLabel->setPixmap(QPixmap(path)); }

void TitleBar::onClicked()
{
    // Kept for all bars of the process. It stays 0 when the window is first maximised from the full
    // width of the screen, and restoring then makes the bar 0 wide: intended.
    static int normalWidth = 0;

    QWidget *top = window();
    if (sender() == m_minimizeButton) {
        top->showMinimized();
    } else if (sender() == m_maximizeButton) {
        if (isMaximizedAnywhere(top)) {
            restore(top);
            setFixedSize(normalWidth, kBarHeight);
            m_maximizeButton->setIcon(controlIcon(kMaximizeIcon));
        } else {
            if (top->width() != screenWidth)
                normalWidth = top->width();
            placeToRestore = QRect();
            top->showMaximized();
            setFixedSize(screenWidth, kBarHeight);
            m_maximizeButton->setIcon(controlIcon(kRestoreIcon));
        }
    } else if (sender() == m_closeButton) {
        top->close();
    }
}

void TitleBar::restore(QWidget *top)
{
    // The window manager is asked only where Qt takes the window for maximised.
    if (!top->isMaximized())
        top->overrideWindowState(top->windowState() | Qt::WindowMaximized);
    top->showNormal();
    // A window manager that took the move for the end of being maximised (kwin) leaves the size as
    // it is. For the others it is the size that they have just given back.
    if (placeToRestore.isValid() && top->windowHandle())
        top->windowHandle()->setGeometry(placeToRestore);
    placeToRestore = QRect();
}

void TitleBar::moveWindow(const QPoint &position)
{
    QWidget *top = parentWidget();
    const QWindow *native = top->windowHandle();
    const Qt::WindowStates held = native
        ? native->windowStates() & (Qt::WindowMaximized | Qt::WindowFullScreen)
        : Qt::WindowNoState;
    const QRect normal = top->normalGeometry(); // with the first move Qt forgets it
    if (!(held & Qt::WindowMaximized))
        placeToRestore = QRect();
    else if (top->isMaximized() && normal.isValid())
        placeToRestore = normal.size() == top->size() ? QRect() : normal;
    top->move(position);
    if (held & ~top->windowState())
        top->overrideWindowState(top->windowState() | held);
}

void TitleBar::keepButtonsInside()
{
    if (!parentWidget())
        return;
    const int hangsOver = qMax(0, x() + width() - parentWidget()->width());
    layout()->setContentsMargins(0, 0, hangsOver, 0);
    layout()->activate();
}

void TitleBar::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    keepButtonsInside();
}

void TitleBar::setWindowAlwaysOnTop()
{
    static bool fixedFlag = false; // kept for all bars of the process: intended

    if (!fixedFlag) {
        m_thumbtackBtn->setIcon(controlIcon(kPinnedIcon));
        setHint(m_thumbtackBtn, kUnpinText);
        emit setWindowAlwaysOnTopSignal(true);
    } else {
        m_thumbtackBtn->setIcon(controlIcon(kPinIcon));
        setHint(m_thumbtackBtn, kPinText);
        emit setWindowAlwaysOnTopSignal(false);
    }
    fixedFlag = !fixedFlag;
}

void TitleBar::settingsFunc()
{
    execAboveMainWindow(*setDialog);
    emit settingsClosed();
}

void TitleBar::sendSetDecodeFlagSignal() { emit decodeSetSignal(); }

void TitleBar::recvSetLastTimeFlagSignal()
{
    setDefaultConfig(QString::number(lastTimePlayFlag), SettingDefaultLastTime);
}

void TitleBar::recvSetEmptyListExitFlagSigbal()
{
    setDefaultConfig(QString::number(emptyListCheckFlag), SettingEmptyListExit);
}

void TitleBar::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton) {
        m_leftButtonPressed = true;
        m_start = event->globalPos();
    } else if (event->button() == Qt::RightButton) {
        event->ignore();
    }
}

// Also moves a maximised window: intended.
void TitleBar::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_leftButtonPressed || !parentWidget())
        return;
    moveWindow(parentWidget()->geometry().topLeft() + event->globalPos() - m_start);
    m_start = event->globalPos();
}

void TitleBar::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        m_leftButtonPressed = false;
}

void TitleBar::mouseDoubleClickEvent(QMouseEvent *) { m_maximizeButton->click(); }

void TitleBar::contextMenuEvent(QContextMenuEvent *)
{
    QMenu menu;
    menu.setTitle(QStringLiteral("rBtnContexMenu"));
    const bool pinned = m_thumbtackBtn->toolTip() != kPinText;
    connect(menu.addAction(kSettingsText), SIGNAL(triggered()), this, SLOT(settingsFunc()));
    connect(menu.addAction(pinned ? kUnpinText : kPinText), SIGNAL(triggered()), this,
            SLOT(setWindowAlwaysOnTop()));
    connect(menu.addAction(kCloseText), SIGNAL(triggered()), window(), SLOT(close()));
    menu.exec(QCursor::pos());
}

void TitleBar::updateMaximize()
{
    const bool maximized = isMaximizedAnywhere(window());
    setHint(m_maximizeButton, maximized ? tr("Restore") : tr("Maximize"));
    m_maximizeButton->setProperty(
        "maximizeProperty", maximized ? QStringLiteral("restore") : QStringLiteral("maximize"));
    m_maximizeButton->setStyle(QApplication::style()); // style sheets may be keyed on the property
}

// Serves a window whose filter the bar is. The player installs it on none: intended.
bool TitleBar::eventFilter(QObject *watched, QEvent *event)
{
    auto *widget = qobject_cast<QWidget *>(watched);
    if (!widget)
        return QWidget::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::WindowTitleChange:
        m_titleLabel->setText(widget->windowTitle());
        return true;
    case QEvent::WindowIconChange:
        m_iconLabel->setPixmap(widget->windowIcon().pixmap(m_iconLabel->size()));
        return true;
    case QEvent::WindowStateChange:
    case QEvent::Resize:
        updateMaximize();
        return true;
    default:
        return QWidget::eventFilter(watched, event);
    }
}

#include "moc_titlebar.cpp"
