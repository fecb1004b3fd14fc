// Where a window stands: what the window manager holds of it, and whether it can be seen.
#pragma once

#include <QPoint>
#include <QRect>
#include <QVector>

class QWidget;

// Whether a window is maximised. Qt's own mark is lost with every move and resize while the window
// manager keeps the window maximised, so both are asked.
bool isMaximizedAnywhere(const QWidget *window);

// The screens as they are now, the first one first.
QVector<QRect> screenPlaces();

// Where a window that is to stand at place goes: there, if any of its uppermost rows (as many as
// titleHeight) is on a screen; else into the middle of the first screen.
QPoint placeOnScreens(const QRect &place, int titleHeight, const QVector<QRect> &screens);

// The side of a window that covers a screen with this side, where everything is drawn larger by the
// factor. Screens have an even number of pixels; a factor that does not divide it may leave the
// last one free.
int sideToCover(int side, qreal factor);
