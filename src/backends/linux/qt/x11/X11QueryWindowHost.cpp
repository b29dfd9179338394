#include "backends/linux/qt/x11/X11QueryWindowHost.h"

#include <xcb/shape.h>

#include <QWidget>
#include <QWindow>
#include <array>
#include <cmath>
#include <utility>

#include "backends/linux/qt/QueryPanel.h"
#include "backends/linux/qt/ScreenGeometry.h"
#include "backends/linux/qt/x11/NativeDisplay.h"
#include "backends/linux/qt/x11/RoundedShape.h"
#include "backends/linux/qt/x11/X11Windows.h"

namespace jumplark {

X11QueryWindowHost::X11QueryWindowHost(NativeDisplay& display, const WindowCallbacks& callbacks, QWidget& widget,
                                       const ScreenGeometry& geometry, Events events)
    : display_(display),
      callbacks_(callbacks),
      widget_(widget),
      geometry_(geometry),
      events_(std::move(events)),
      window_(static_cast<xcb_window_t>(widget.winId())) {
  if (callbacks_.passOver) {
    callbacks_.passOver(window_);
  }
  nativeEvents_ = display_.addEventHandler([this](const xcb_generic_event_t& event) { handle(event); });
}

void X11QueryWindowHost::setCard(const QRect& card) {
  card_ = card;
  setHints();
}

void X11QueryWindowHost::place(QPoint card) {
  place_ = card;
  const QPoint corner = geometry_.toLogical(card) - card_.topLeft();
  widget_.move(corner);
  // A widget that is there already says nothing to its window, which the window manager would then place.
  widget_.windowHandle()->setPosition(corner);
}

void X11QueryWindowHost::setHints() {
  xcb_connection_t* connection = display_.connection();
  // The list is the window manager's while the window is mapped, ours before; it empties it at every hiding.
  if (!widget_.isVisible()) {
    const std::array<xcb_atom_t, 3> states = {display_.atom("_NET_WM_STATE_ABOVE"),
                                              display_.atom("_NET_WM_STATE_SKIP_TASKBAR"),
                                              display_.atom("_NET_WM_STATE_SKIP_PAGER")};
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window_, display_.atom("_NET_WM_STATE"), XCB_ATOM_ATOM, 32,
                        states.size(), states.data());
  }
  // Tells window managers and compositors that the shadow is drawn already, and what of the window is the card.
  const double scale = geometry_.scaleAt(place_);
  const auto margin = static_cast<uint32_t>(std::lround(card_.left() * scale));
  const std::array<uint32_t, 4> margins = {margin, margin, margin, margin};
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window_, display_.atom("_GTK_FRAME_EXTENTS"),
                      XCB_ATOM_CARDINAL, 32, margins.size(), margins.data());
  if (display_.compositorRuns()) {
    xcb_shape_mask(connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, window_, 0, 0, XCB_PIXMAP_NONE);
  } else {
    setRoundedShape(connection, window_, (QSizeF(card_.size()) * scale).toSize(), QueryPanel::kCornerRadius * scale);
  }
  display_.flush();
}

void X11QueryWindowHost::show() {
  setHints();
  if (!widget_.isVisible()) {
    shownAt_ = display_.markNow();
    focused_ = false;
  }
  widget_.show();
  widget_.raise();
  widget_.activateWindow();
}

void X11QueryWindowHost::takeKeyboard() {
  // Over another connection: the window manager must have heard of the window by then.
  display_.synchronize();
  if (callbacks_.activateWindow) {
    callbacks_.activateWindow(window_);
  }
}

void X11QueryWindowHost::hide() {
  widget_.hide();
  focused_ = false;
  display_.flush();
}

void X11QueryWindowHost::handle(const xcb_generic_event_t& event) {
  const int type = event.response_type & 0x7F;
  if (type != XCB_FOCUS_IN && type != XCB_FOCUS_OUT) {
    return;
  }
  const auto& focus = reinterpret_cast<const xcb_focus_in_event_t&>(event);
  // A grab by anybody's key combination borrows the keyboard and gives it back.
  const bool grab = focus.mode == XCB_NOTIFY_MODE_GRAB || focus.mode == XCB_NOTIFY_MODE_UNGRAB;
  // Not about this window, but about the pointer being over it while the focus is the root's, or an inferior's.
  const bool passing = focus.detail == XCB_NOTIFY_DETAIL_POINTER || focus.detail == XCB_NOTIFY_DETAIL_POINTER_ROOT ||
                       focus.detail == XCB_NOTIFY_DETAIL_NONE || focus.detail == XCB_NOTIFY_DETAIL_INFERIOR;
  if (focus.event != window_ || grab || passing || !widget_.isVisible() || NativeDisplay::isBefore(event, shownAt_)) {
    return;
  }
  if (type == XCB_FOCUS_IN) {
    focused_ = true;
    events_.keyboardArrived();
    if (callbacks_.keyboardArrived) {
      callbacks_.keyboardArrived();
    }
  } else if (std::exchange(focused_, false)) {
    events_.keyboardLost();
  }
}

}  // namespace jumplark
