#include "backends/linux/qt/x11/X11Windows.h"

#include <QWidget>
#include <utility>

#include "backends/linux/qt/x11/X11QueryWindowHost.h"
#include "backends/linux/x11/Reply.h"

namespace jumplark {

X11Windows::X11Windows(std::shared_ptr<X11Connection> x, WindowCallbacks callbacks)
    : callbacks_(std::move(callbacks)), keys_(std::move(x), display_) {}

Token X11Windows::onCompositorChanged(std::function<void()> callback) {
  return display_.onCompositorChanged(std::move(callback));
}

std::unique_ptr<ClickThroughWindow> X11Windows::makeClickThroughWindow(const QRect& geometry, bool translucent) {
  return std::make_unique<X11ClickThroughWindow>(display_, stack_, geometry, translucent);
}

std::unique_ptr<QueryWindowHost> X11Windows::makeQueryWindowHost(QWidget& widget, const ScreenGeometry& geometry,
                                                                 QueryWindowHost::Events events) {
  return std::make_unique<X11QueryWindowHost>(display_, callbacks_, widget, geometry, std::move(events));
}

void X11Windows::activate(QWidget& window) {
  window.activateWindow();
  // Over another connection: the window manager must have heard of the window by then.
  display_.synchronize();
  if (callbacks_.activateWindow) {
    callbacks_.activateWindow(static_cast<uint32_t>(window.winId()));
  }
}

void X11Windows::passOver(QWidget& window) {
  if (callbacks_.passOver) {
    callbacks_.passOver(static_cast<uint32_t>(window.winId()));
  }
}

Token X11Windows::onKeyboardGiven(std::function<void(QWidget& window)> callback) {
  return display_.addEventHandler([callback = std::move(callback)](const xcb_generic_event_t& event) {
    const auto& focus = reinterpret_cast<const xcb_focus_in_event_t&>(event);
    const bool isGrab = focus.mode == XCB_NOTIFY_MODE_GRAB || focus.mode == XCB_NOTIFY_MODE_UNGRAB;
    if ((event.response_type & 0x7F) != XCB_FOCUS_IN || isGrab || focus.detail == XCB_NOTIFY_DETAIL_POINTER) {
      return;
    }
    if (QWidget* const window = QWidget::find(focus.event)) {
      callback(*window);
    }
  });
}

bool X11Windows::hasTray() {
  xcb_connection_t* connection = display_.connection();
  const auto owner = x11::takeReply(connection, xcb_get_selection_owner_reply,
                                    xcb_get_selection_owner(connection, display_.atom("_NET_SYSTEM_TRAY_S0")));
  return owner && owner->owner != XCB_WINDOW_NONE;
}

Token X11Windows::onTrayAnnounced(std::function<void()> callback) {
  // A tray that starts announces itself to clients of the root with a MANAGER message; its end is seen on its window.
  return display_.addEventHandler([this, callback = std::move(callback)](const xcb_generic_event_t& event) {
    const int type = event.response_type & 0x7F;
    if (type == XCB_CLIENT_MESSAGE &&
        reinterpret_cast<const xcb_client_message_event_t&>(event).type == display_.atom("MANAGER")) {
      callback();
    }
  });
}

}  // namespace jumplark
