#include "progressmouse.h"

#include <QMouseEvent>
#include <QSignalBlocker>
#include <QSlider>
#include <QStyle>
#include <QStyleOptionSlider>

namespace {

struct OpenSlider : QSlider {
    using QSlider::initStyleOption;
};

QStyleOptionSlider optionOf(const QSlider *slider)
{
    QStyleOptionSlider option;
    (slider->*&OpenSlider::initStyleOption)(&option);
    return option;
}

QRect partOf(const QSlider *slider, QStyle::SubControl part)
{
    const QStyleOptionSlider option = optionOf(slider);
    return slider->style()->subControlRect(QStyle::CC_Slider, &option, part, slider);
}

} // namespace

ProgressMouse::ProgressMouse(QSlider *slider, Wheel wheel)
    : QObject(slider)
    , slider(slider)
    , wheel(wheel)
{
    slider->installEventFilter(this);
}

bool ProgressMouse::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != slider)
        return false;
    switch (event->type()) {
    case QEvent::Wheel:
        if (wheel == WheelMoves)
            return false;
        event->accept(); // ends here: what is below the slider does not get it either
        return true;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        return press(static_cast<QMouseEvent *>(event));
    case QEvent::MouseMove:
    case QEvent::MouseButtonRelease:
        placed = false;
        return false;
    default:
        return false;
    }
}

// Qt ignores a press where nothing can be moved, or while another button is held.
bool ProgressMouse::press(QMouseEvent *event)
{
    if (event->buttons() != Qt::LeftButton || slider->minimum() == slider->maximum() ||
        !slider->isEnabled())
        return false;
    QPoint grip = event->pos();
    placed = !partOf(slider, QStyle::SC_SliderHandle).contains(grip);
    if (placed) {
        place(grip);
        // In a short film the handle has no place right under the pointer.
        grip = partOf(slider, QStyle::SC_SliderHandle).center();
    }
    const int chosen = slider->value();
    QMouseEvent own(event->type(), grip, event->windowPos(), event->screenPos(), event->button(),
                    event->buttons(), event->modifiers(), event->source());
    {
        // Styles differ: some put the handle under the pointer, to the pixel, at any press.
        const QSignalBlocker quiet(slider);
        QObject *receiver = slider;
        receiver->event(&own);
        slider->setValue(chosen);
    }
    if (slider->isSliderDown())
        emit slider->sliderPressed();
    event->setAccepted(own.isAccepted());
    return true;
}

// As when the handle is dragged by its middle.
void ProgressMouse::place(const QPoint &point)
{
    const QRect groove = partOf(slider, QStyle::SC_SliderGroove);
    const QRect handle = partOf(slider, QStyle::SC_SliderHandle);
    const int middle = handle.center().x() - handle.left();
    slider->setValue(QStyle::sliderValueFromPosition(
        slider->minimum(), slider->maximum(), point.x() - middle - groove.left(),
        groove.width() - handle.width(), optionOf(slider).upsideDown));
}
