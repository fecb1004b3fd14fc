// How large everything is on a dense screen.
#pragma once

#include <QByteArray>

// Before the application object, which reads what is set here. From kDense on, windows, texts and
// pictures grow together with the screen's density; below it nothing does, to the pixel. What the
// person has chosen by one of the toolkit's variables holds.
void followScreenDensity();

constexpr int kDense = 120; // dots per inch

// The density that counts for one, from kDense on: the next lower that makes everything 1.25, 1.5,
// 2, 3, 4... times as large.
int steppedDensity(int density);

// The screen's, as the toolkit counts it: what the desktop has set (Xft.dpi), else what the X
// server tells about its screen.
int densityOf(const QByteArray &resources, int pixels, int millimetres);
