// What is on the screen, whoever drew it, and how windows lie on it. Needs a real X server with a
// window manager (with-display) and a Qt GUI application (QTEST_MAIN); windows of other programs
// are found and used like those of the test itself.
//
//     QVERIFY(Screen::waitForColour(Screen::geometry(window), Qt::red));   // more than half is red
//     Screen::click(center); Screen::key("space"); Screen::closeWindow(window);
#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QList>
#include <QRect>
#include <QString>
#include <QStringList>

namespace Screen {

// Pictures. Rectangles are in pixels of the screen; an empty one is the whole screen.
QRect whole();
QImage grab(const QRect &area = QRect());
void save(const QString &path); // the whole screen, to look at
// Each of red, green and blue may be off by tolerance: video is lossy.
int count(const QImage &image, const QColor &colour, int tolerance = 40);
double share(const QImage &image, const QColor &colour, int tolerance = 40); // 0..1
bool waitForColour(const QRect &area, const QColor &colour, double atLeast = 0.5, int ms = 15000);
// Smallest rectangle that holds all pixels of the colour; empty when there is none.
QRect extent(const QImage &image, const QColor &colour, int tolerance = 40);

// Dots per inch for the programs that start from now on, as desktops tell it.
bool setDensity(int density);

// Windows, by X id.
QList<qulonglong> windows(); // managed by the window manager, bottom to top
QList<qulonglong> windowsOf(qint64 pid); // visible top-level windows of a process, managed or not
QList<qulonglong> windowsNamed(const QString &title); // managed, with exactly this title
qulonglong waitForWindowNamed(const QString &title, int ms = 15000);
bool isAbove(qulonglong upper, qulonglong lower); // in the stacking of managed windows
bool isViewable(qulonglong window);
QRect geometry(qulonglong window); // on the screen, without a frame; empty when there is none
QString title(qulonglong window);
qint64 processOf(qulonglong window); // 0 when the window does not tell
qulonglong active(); // the window with the focus, for the window manager; 0 for none
bool hasState(qulonglong window, const QByteArray &atom); // "_NET_WM_STATE_ABOVE", ..._FULLSCREEN
QByteArray property(qulonglong window, const QString &name); // as xprop prints it

// Doing what a person does. Nothing waits for the effect.
void moveMouse(const QPoint &position);
void click(const QPoint &position, int button = 1, int times = 1); // 4 and 5 are the wheel
void press(const QPoint &position, int button = 1);
void release(int button = 1);
void key(const QString &name); // to the active window: "space", "Escape", "ctrl+p"
void activate(qulonglong window);
void closeWindow(qulonglong window); // as the window manager's close button
void moveWindow(qulonglong window, const QPoint &position);
void resizeWindow(qulonglong window, const QSize &size);

} // namespace Screen
