// The screen as it really looks, by one pixel at a time, and a plain window to play in.
#pragma once

#include <cstdint>

#include <xcb/xcb.h>

struct Area {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

class Display {
public:
    Display(); // ends the program when there is no display
    ~Display();
    Display(const Display &) = delete;
    Display &operator=(const Display &) = delete;

    std::uint32_t pixel(int x, int y) const; // 0xRRGGBB
    Area areaOf(xcb_window_t window) const; // on the screen

    // A black window of that place and size, which no window manager touches.
    xcb_window_t openWindow(const Area &area) const;
    void closeWindow(xcb_window_t window) const;

private:
    xcb_connection_t *connection = nullptr;
    const xcb_screen_t *screen = nullptr;
};
