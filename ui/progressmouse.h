// What the mouse does to the two progress sliders. Qt's own way moves a slider by pages when it is
// pressed beside its handle, and the film would stay where it is.
#pragma once

#include <QObject>

class QMouseEvent;
class QPoint;
class QSlider;

class ProgressMouse : public QObject {
public:
    enum Wheel { WheelMoves, WheelRests };

    // Serves slider, which owns it.
    ProgressMouse(QSlider *slider, Wheel wheel);

    // From a press beside the handle until the mouse moves. What sliderMoved() tells then is no
    // drag: it is a position that the program itself has set meanwhile.
    bool isPlaced() const { return placed; }

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool press(QMouseEvent *event);
    void place(const QPoint &point);

    QSlider *slider;
    Wheel wheel;
    bool placed = false;
};
