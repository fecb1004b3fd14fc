#include "speedwind.h"

#include <QCursor>
#include <QDebug>
#include <QEvent>
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
} // namespace

speedWind::speedWind(QWidget *parent)
    : QDialog(parent)
{
    setWindowFlags(Qt::FramelessWindowHint | Qt::Tool | Qt::X11BypassWindowManagerHint);
    setWindowOpacity(kOpacity);
    setFixedSize(kWidth, kHeight);

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
    auto *button = new QPushButton(text, this);
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
    switch (speedCode) {
    case 0:
        speed050->setFocus();
        break;
    case 1:
        speed075->setFocus();
        break;
    case 3:
        speed125->setFocus();
        break;
    case 4:
        speed150->setFocus();
        break;
    case 5:
        speed200->setFocus();
        break;
    default:
        speed100->setFocus();
        break;
    }
    state = 1;
    show();
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
