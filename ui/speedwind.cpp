#include "speedwind.h"

#include <QCursor>
#include <QDebug>
#include <QEvent>
#include <QPainter>
#include <QPoint>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
// From the cursor to the pop-up's top-left corner: centred on the cursor, its bottom 10 pixels
// above.
constexpr QPoint kCursorOffset(50, 410);
constexpr int kWidth = 100;
constexpr int kHeight = 400;
constexpr double kOpacity = 0.8;
constexpr QColor kMark(7, 158, 205); // the sliders' colour
constexpr QSize kMarkSize(3, 16);
constexpr int kHoverAlpha = 70;
} // namespace

// One speed. Flat, so the style shows neither the mouse over it nor that it is the one in force.
class SpeedButton : public QPushButton {
public:
    SpeedButton(const QString &text, speedWind *column)
        : QPushButton(text, column)
        , column(column)
    {
    }

    void setInForce(bool now)
    {
        inForce = now;
        update();
    }

protected:
    bool event(QEvent *event) override
    {
        const bool handled = QPushButton::event(event);
        switch (event->type()) {
        case QEvent::Enter:
        case QEvent::Leave:
            update();
            column->paintButtons();
            break;
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseMove: // off the button and back, while it is held
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
        case QEvent::FocusIn:
        case QEvent::FocusOut:
            column->paintButtons();
            break;
        default:
            break;
        }
        return handled;
    }

    void paintEvent(QPaintEvent *event) override
    {
        if (underMouse()) {
            QColor hover = palette().color(QPalette::Highlight);
            hover.setAlpha(kHoverAlpha);
            QPainter(this).fillRect(rect(), hover);
        }
        QPushButton::paintEvent(event);
        if (inForce) {
            const QPoint corner(kMarkSize.width(), (height() - kMarkSize.height()) / 2);
            QPainter(this).fillRect(QRect(corner, kMarkSize), kMark);
        }
    }

private:
    speedWind *column;
    bool inForce = false;
};

speedWind::speedWind(QWidget *parent)
    : QDialog(parent)
{
    setWindowFlags(Qt::FramelessWindowHint | Qt::Tool | Qt::X11BypassWindowManagerHint);
    setWindowOpacity(kOpacity);
    setFixedSize(kWidth, kHeight);
    setAccessibleName(QStringLiteral("倍速"));
    setAttribute(Qt::WA_AlwaysShowToolTips); // it never becomes active

    centerWidget = new QWidget;
    vlayout = new QVBoxLayout(this);
    speed200 =
        addButton(QStringLiteral("2.0x"), QStringLiteral("2.0倍速"), SLOT(speed200BtnClicked()));
    speed150 =
        addButton(QStringLiteral("1.5x"), QStringLiteral("1.5倍速"), SLOT(speed150BtnClicked()));
    speed125 =
        addButton(QStringLiteral("1.25x"), QStringLiteral("1.25倍速"), SLOT(speed125BtnClicked()));
    speed100 =
        addButton(QStringLiteral("1.0x"), QStringLiteral("原倍速"), SLOT(speed100BtnClicked()));
    speed075 =
        addButton(QStringLiteral("0.75x"), QStringLiteral("0.75倍速"), SLOT(speed075BtnClicked()));
    speed050 =
        addButton(QStringLiteral("0.5x"), QStringLiteral("0.5倍速"), SLOT(speed050BtnClicked()));

    installEventFilter(this);
    setFocusPolicy(Qt::NoFocus);
}

speedWind::~speedWind() { delete centerWidget; }

QPushButton *speedWind::addButton(const QString &text, const QString &toolTip, const char *slot)
{
    auto *button = new SpeedButton(text, this);
    button->setToolTip(toolTip);
    button->setFlat(true);
    vlayout->addWidget(button);
    connect(button, SIGNAL(clicked()), this, slot);
    return button;
}

void speedWind::toggleAtCursor(int speedCode)
{
    // Not kept inside the screen: near its top a part of the column is cut off, intended.
    const QPoint position = QCursor::pos() - kCursorOffset;
    if (state) {
        dismiss();
        return;
    }

    move(position);
    QPushButton *inForce = buttonOf(speedCode);
    for (QPushButton *button : {speed050, speed075, speed100, speed125, speed150, speed200})
        static_cast<SpeedButton *>(button)->setInForce(button == inForce);
    inForce->setFocus();
    state = 1;
    show();
}

QPushButton *speedWind::buttonOf(int speedCode) const
{
    switch (speedCode) {
    case 0:
        return speed050;
    case 1:
        return speed075;
    case 3:
        return speed125;
    case 4:
        return speed150;
    case 5:
        return speed200;
    default:
        return speed100;
    }
}

// What asks the pop-up to repaint a button ends in its filter like every other event, so the
// buttons have themselves painted.
void speedWind::paintButtons()
{
    QEvent request(QEvent::UpdateRequest);
    QDialog::event(&request);
}

void speedWind::dismiss()
{
    state = 0;
    hide();
}

void speedWind::choose(int percent)
{
    speed = percent;
    emit changeSpeed(speed);
    qDebug() << "Send change speed signal";
    dismiss();
}

void speedWind::speed050BtnClicked() { choose(50); }

void speedWind::speed075BtnClicked() { choose(75); }

void speedWind::speed100BtnClicked() { choose(100); }

void speedWind::speed125BtnClicked() { choose(125); }

void speedWind::speed150BtnClicked() { choose(150); }

void speedWind::speed200BtnClicked() { choose(200); }

// Closing once more is refused by the toolkit while a close is under way: intended.
void speedWind::closeEvent(QCloseEvent *) { close(); }

// Every event of the pop-up itself ends here, so that its own keyPressEvent and closeEvent are
// never reached from outside: intended. The buttons still get theirs.
bool speedWind::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != this)
        return QDialog::eventFilter(watched, event);
    if (event->type() == QEvent::WindowDeactivate)
        dismiss();
    return true;
}

void speedWind::keyPressEvent(QKeyEvent *) { dismiss(); }

#include "moc_speedwind.cpp"
