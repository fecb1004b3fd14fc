#include "windowview.h"

#include <QtGlobal>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

struct Free {
    void operator()(void *reply) const { std::free(reply); }
};

// A reply of the server. Nothing where the window has gone meanwhile.
template <typename Reply> std::unique_ptr<Reply, Free> taken(Reply *reply)
{
    return std::unique_ptr<Reply, Free>(reply);
}

} // namespace

WindowView::WindowView()
    : connection(xcb_connect(nullptr, nullptr))
{
    if (xcb_connection_has_error(connection))
        qFatal("no connection to the X server");
    root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

WindowView::~WindowView() { xcb_disconnect(connection); }

xcb_atom_t WindowView::atom(const QByteArray &name)
{
    if (!atoms.contains(name)) {
        const auto length = static_cast<uint16_t>(name.size());
        const auto cookie = xcb_intern_atom(connection, 0, length, name.constData());
        const auto reply = taken(xcb_intern_atom_reply(connection, cookie, nullptr));
        atoms[name] = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    }
    return atoms[name];
}

QByteArray WindowView::property(xcb_window_t window, const QByteArray &name)
{
    const auto cookie =
        xcb_get_property(connection, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 1024);
    const auto reply = taken(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply)
        return QByteArray();
    return QByteArray(static_cast<const char *>(xcb_get_property_value(reply.get())),
                      xcb_get_property_value_length(reply.get()));
}

bool WindowView::hasAtom(xcb_window_t window, const QByteArray &name, const QByteArray &value)
{
    const QByteArray all = property(window, name);
    const xcb_atom_t wanted = atom(value);
    for (int at = 0; at + int(sizeof wanted) <= all.size(); at += int(sizeof wanted)) {
        if (std::memcmp(all.constData() + at, &wanted, sizeof wanted) == 0)
            return true;
    }
    return false;
}

QList<xcb_window_t> WindowView::childrenOf(xcb_window_t window)
{
    QList<xcb_window_t> children;
    const auto reply =
        taken(xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr));
    if (!reply)
        return children;
    const xcb_window_t *first = xcb_query_tree_children(reply.get());
    for (int i = 0; i < xcb_query_tree_children_length(reply.get()); ++i)
        children << first[i];
    return children;
}

qint64 WindowView::processOf(xcb_window_t window)
{
    const QByteArray value = property(window, "_NET_WM_PID");
    uint32_t pid = 0;
    if (value.size() >= int(sizeof pid))
        std::memcpy(&pid, value.constData(), sizeof pid);
    return pid;
}

bool WindowView::isViewable(xcb_window_t window)
{
    const auto cookie = xcb_get_window_attributes(connection, window);
    const auto reply = taken(xcb_get_window_attributes_reply(connection, cookie, nullptr));
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
}

QRect WindowView::geometry(xcb_window_t window)
{
    const auto sizeCookie = xcb_get_geometry(connection, window);
    const auto placeCookie = xcb_translate_coordinates(connection, window, root, 0, 0);
    const auto size = taken(xcb_get_geometry_reply(connection, sizeCookie, nullptr));
    const auto place = taken(xcb_translate_coordinates_reply(connection, placeCookie, nullptr));
    if (!size || !place)
        return QRect();
    return QRect(place->dst_x, place->dst_y, size->width, size->height);
}

SeenWindow WindowView::look(xcb_window_t window)
{
    SeenWindow seen;
    seen.id = window;
    const QByteArray type = "_NET_WM_WINDOW_TYPE";
    if (hasAtom(window, type, "_NET_WM_WINDOW_TYPE_POPUP_MENU") ||
        hasAtom(window, type, "_NET_WM_WINDOW_TYPE_COMBO"))
        seen.kind = SeenWindow::Menu;
    else if (hasAtom(window, type, "_NET_WM_WINDOW_TYPE_TOOLTIP"))
        seen.kind = SeenWindow::ToolTip;
    else if (hasAtom(window, type, "_NET_WM_WINDOW_TYPE_DIALOG"))
        seen.kind = SeenWindow::Dialog;
    seen.title = QString::fromUtf8(property(window, "_NET_WM_NAME"));
    seen.geometry = geometry(window);
    seen.fullScreen = hasAtom(window, "_NET_WM_STATE", "_NET_WM_STATE_FULLSCREEN");
    return seen;
}

QList<SeenWindow> WindowView::of(qint64 pid)
{
    QList<SeenWindow> found;
    for (xcb_window_t child : childrenOf(root)) {
        // A managed window lies in its frame.
        for (xcb_window_t window : QList<xcb_window_t>{child} + childrenOf(child)) {
            if (processOf(window) == pid && isViewable(window))
                found << look(window);
        }
    }
    return found;
}

bool WindowView::isMinimised(qulonglong window)
{
    return hasAtom(static_cast<xcb_window_t>(window), "_NET_WM_STATE", "_NET_WM_STATE_HIDDEN");
}

qulonglong WindowView::active()
{
    const QByteArray value = property(root, "_NET_ACTIVE_WINDOW");
    uint32_t window = 0;
    if (value.size() >= int(sizeof window))
        std::memcpy(&window, value.constData(), sizeof window);
    return window;
}
