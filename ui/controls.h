// What the controls of several windows have in common: hints, pictures, looks, and being hit.
#pragma once

#include <QIcon>
#include <QWidget>

class QLabel;

// How long a click on the picture waits for the second one of a double click, in ms.
constexpr int kDoubleClickWait = 500;

// Tooltip of a control that shows a picture only; assistive technology reads the same text.
void setHint(QWidget *control, const QString &text);

// The button picture of this name, as "play".
QIcon controlIcon(const QString &name);

// White text on the dark windows.
void whiten(QLabel *label);

// Style sheets of the sliders. filled is the colour up to the handle, as "7,158,205".
QString volumSliderStyle(const char *filled);
QString processSliderStyle(const char *filled);

// Whether point is inside rectangle. Its edges are outside: intended.
bool strictlyInside(const QPoint &point, const QRect &rectangle);
