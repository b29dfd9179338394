#pragma once

#include <xcb/xcb.h>

#include <functional>

#include "backends/linux/qt/QueryWindowHost.h"
#include "platform/Token.h"

class QWidget;

namespace jumplark {

class NativeDisplay;
class ScreenGeometry;
struct WindowCallbacks;

/// A managed window without decorations, which exists from the host's making on.
class X11QueryWindowHost final : public QueryWindowHost {
 public:
  /// All but the events must outlive it.
  X11QueryWindowHost(NativeDisplay& display, const WindowCallbacks& callbacks, QWidget& widget,
                     const ScreenGeometry& geometry, Events events);

  void setCard(const QRect& card) override;
  void place(QPoint card) override;
  void show() override;
  void takeKeyboard() override;
  void hide() override;

 private:
  void handle(const xcb_generic_event_t& event);
  void setHints();

  NativeDisplay& display_;
  const WindowCallbacks& callbacks_;
  QWidget& widget_;
  const ScreenGeometry& geometry_;
  Events events_;
  xcb_window_t window_ = XCB_WINDOW_NONE;
  QRect card_;            ///< within the widget, logical
  QPoint place_;          ///< of the card, native
  bool focused_ = false;  ///< as far as the X server has told
  uint32_t shownAt_ = 0;  ///< events from before it concern an earlier showing
  Token nativeEvents_;
};

}  // namespace jumplark
