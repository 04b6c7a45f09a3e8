#include "activewindow.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

namespace {
xcb_connection_t *connection()
{
    auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}
} // namespace

// The window manager publishes the focused client in _NET_ACTIVE_WINDOW on the root.
WId activeWindowId()
{
    xcb_connection_t *conn = connection();
    if (!conn)
        return 0;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(conn)).data->root;
    static const char Name[] = "_NET_ACTIVE_WINDOW";
    xcb_intern_atom_reply_t *atom =
        xcb_intern_atom_reply(conn, xcb_intern_atom(conn, 1, sizeof Name - 1, Name), nullptr);
    if (!atom)
        return 0;
    WId window = 0;
    if (atom->atom != XCB_ATOM_NONE) {
        xcb_get_property_reply_t *prop = xcb_get_property_reply(
            conn, xcb_get_property(conn, 0, root, atom->atom, XCB_ATOM_WINDOW, 0, 1), nullptr);
        if (prop) {
            if (prop->type == XCB_ATOM_WINDOW && prop->format == 32 &&
                xcb_get_property_value_length(prop) >= 4)
                window = *static_cast<const xcb_window_t *>(xcb_get_property_value(prop));
            free(prop);
        }
    }
    free(atom);
    return window;
}

QRect activeWindowGeometry()
{
    xcb_connection_t *conn = connection();
    const auto window = xcb_window_t(activeWindowId());
    if (!conn || window == 0)
        return {};
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(conn)).data->root;
    xcb_get_geometry_reply_t *geometry =
        xcb_get_geometry_reply(conn, xcb_get_geometry(conn, window), nullptr);
    xcb_translate_coordinates_reply_t *origin = xcb_translate_coordinates_reply(
        conn, xcb_translate_coordinates(conn, window, root, 0, 0), nullptr);
    QRect rect;
    if (geometry && origin)
        rect = QRect(origin->dst_x, origin->dst_y, geometry->width, geometry->height);
    free(geometry);
    free(origin);
    return rect;
}
