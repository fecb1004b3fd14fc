#include "speedwind.h"

#include <QCursor>
#include <QDebug>
#include <QEvent>
#include <QPainter>
#include <QPoint>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <iterator>

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

// By speed code, as kSpeeds.
const struct {
    QPushButton *speedWind::*member;
    const char *slot;
} kButtons[] = {
    {&speedWind::speed050, SLOT(speed050BtnClicked())},
    {&speedWind::speed075, SLOT(speed075BtnClicked())},
    {&speedWind::speed100, SLOT(speed100BtnClicked())},
    {&speedWind::speed125, SLOT(speed125BtnClicked())},
    {&speedWind::speed150, SLOT(speed150BtnClicked())},
    {&speedWind::speed200, SLOT(speed200BtnClicked())},
};
} // namespace

const PlaySpeed kSpeeds[] = {
    {50, "0.5x", "0.5倍速"},    {75, "0.75x", "0.75倍速"}, {100, "1.0x", "原倍速"},
    {125, "1.25x", "1.25倍速"}, {150, "1.5x", "1.5倍速"},  {200, "2.0x", "2.0倍速"},
};

int speedCode(int percent)
{
    const auto isIt = [percent](const PlaySpeed &speed) { return speed.percent == percent; };
    const auto found = std::find_if(std::begin(kSpeeds), std::end(kSpeeds), isIt);
    return found == std::end(kSpeeds) ? kNormalSpeed : int(found - std::begin(kSpeeds));
}

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
    for (int code = int(std::size(kSpeeds)) - 1; code >= 0; --code)
        addButton(code);

    installEventFilter(this);
    setFocusPolicy(Qt::NoFocus);
}

speedWind::~speedWind() { delete centerWidget; }

void speedWind::addButton(int code)
{
    auto *button = new SpeedButton(kSpeeds[code].text, this);
    button->setToolTip(kSpeeds[code].toolTip);
    button->setFlat(true);
    vlayout->addWidget(button);
    connect(button, SIGNAL(clicked()), this, kButtons[code].slot);
    this->*kButtons[code].member = button;
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
    const bool known = speedCode >= 0 && speedCode < int(std::size(kButtons));
    QPushButton *inForce = this->*kButtons[known ? speedCode : kNormalSpeed].member;
    for (const auto &button : kButtons)
        static_cast<SpeedButton *>(this->*button.member)
            ->setInForce(this->*button.member == inForce);
    inForce->setFocus();
    state = 1;
    show();
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

void speedWind::choose(int code)
{
    speed = kSpeeds[code].percent;
    emit changeSpeed(speed);
    qDebug() << "Send change speed signal";
    dismiss();
}

void speedWind::speed050BtnClicked() { choose(0); }

void speedWind::speed075BtnClicked() { choose(1); }

void speedWind::speed100BtnClicked() { choose(2); }

void speedWind::speed125BtnClicked() { choose(3); }

void speedWind::speed150BtnClicked() { choose(4); }

void speedWind::speed200BtnClicked() { choose(5); }

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
