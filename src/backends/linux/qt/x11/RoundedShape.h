#pragma once

#include <xcb/xcb.h>

#include <QSize>

namespace jumplark {

/// Cuts the corners of an X window off, for screens without a compositor. Size and radius in pixels.
void setRoundedShape(xcb_connection_t* connection, xcb_window_t window, QSize size, double radius);

}  // namespace jumplark
