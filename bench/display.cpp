#include "display.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

struct Free {
    void operator()(void *reply) const { std::free(reply); }
};
template <typename Reply> using Held = std::unique_ptr<Reply, Free>;

} // namespace

Display::Display()
    : connection(xcb_connect(nullptr, nullptr))
{
    if (xcb_connection_has_error(connection) != 0) {
        std::fprintf(stderr, "there is no display\n");
        std::exit(1);
    }
    screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
}

Display::~Display() { xcb_disconnect(connection); }

std::uint32_t Display::pixel(int x, int y) const
{
    const xcb_get_image_cookie_t cookie =
        xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, static_cast<int16_t>(x),
                      static_cast<int16_t>(y), 1, 1, ~0U);
    const Held<xcb_get_image_reply_t> image(xcb_get_image_reply(connection, cookie, nullptr));
    if (!image || xcb_get_image_data_length(image.get()) < 4)
        return 0;
    const std::uint8_t *bytes = xcb_get_image_data(image.get());
    return static_cast<std::uint32_t>(bytes[2] << 16 | bytes[1] << 8 | bytes[0]);
}

Area Display::areaOf(xcb_window_t window) const
{
    const Held<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
    const Held<xcb_translate_coordinates_reply_t> place(xcb_translate_coordinates_reply(
        connection, xcb_translate_coordinates(connection, window, screen->root, 0, 0), nullptr));
    if (!size || !place)
        return {};
    return {place->dst_x, place->dst_y, size->width, size->height};
}

xcb_window_t Display::openWindow(const Area &area) const
{
    const xcb_window_t window = xcb_generate_id(connection);
    const std::uint32_t values[] = {screen->black_pixel, 1};
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root,
                      static_cast<int16_t>(area.x), static_cast<int16_t>(area.y),
                      static_cast<uint16_t>(area.width), static_cast<uint16_t>(area.height), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    xcb_map_window(connection, window);
    pixel(0, 0); // waits until the server has done it
    return window;
}

void Display::closeWindow(xcb_window_t window) const
{
    xcb_destroy_window(connection, window);
    pixel(0, 0);
}
