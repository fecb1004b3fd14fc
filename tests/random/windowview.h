// The windows that a program shows, looked at directly: a monkey looks before everything it does.
#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QRect>
#include <QString>

#include <xcb/xcb.h>

struct SeenWindow {
    enum Kind { Ordinary, Dialog, Menu, ToolTip };

    qulonglong id = 0;
    Kind kind = Ordinary;
    QString title;
    QRect geometry; // on the screen, without a frame
    bool fullScreen = false;
};

class WindowView {
public:
    WindowView();
    ~WindowView();
    WindowView(const WindowView &) = delete;
    WindowView &operator=(const WindowView &) = delete;

    QList<SeenWindow> of(qint64 pid); // the visible ones, from the bottom to the top
    bool isMinimised(qulonglong window);
    qulonglong active(); // the window with the focus, for the window manager; 0 for none

private:
    xcb_atom_t atom(const QByteArray &name);
    QByteArray property(xcb_window_t window, const QByteArray &name);
    bool hasAtom(xcb_window_t window, const QByteArray &property, const QByteArray &value);
    QList<xcb_window_t> childrenOf(xcb_window_t window);
    qint64 processOf(xcb_window_t window);
    bool isViewable(xcb_window_t window);
    QRect geometry(xcb_window_t window);
    SeenWindow look(xcb_window_t window);

    xcb_connection_t *connection = nullptr;
    xcb_window_t root = 0;
    QMap<QByteArray, xcb_atom_t> atoms;
};
