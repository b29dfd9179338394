#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "backends/linux/qt/NativeWindows.h"
#include "backends/linux/qt/x11/NativeDisplay.h"
#include "backends/linux/qt/x11/X11ClickThroughWindow.h"
#include "backends/linux/qt/x11/X11Keys.h"

namespace jumplark {

class X11Connection;

/// What the windows need of the X11 side of the program. Each may be empty.
struct WindowCallbacks {
  /// Asks the window manager to activate a window of this program, with the time of the key that led to it.
  std::function<void(uint32_t window)> activateWindow;
  /// The X server has given the query window the keyboard: keys that come from now on are delivered to it.
  std::function<void()> keyboardArrived;
  /// A query window or a message was made, which never counts as the window that the user works in.
  std::function<void(uint32_t window)> passOver;
};

/// Windows on X11, with Qt's xcb platform. Native units are pixels of the root window.
class X11Windows final : public NativeWindows {
 public:
  /// The connection is for the keyboard's map.
  X11Windows(std::shared_ptr<X11Connection> x, WindowCallbacks callbacks);

  NativeUnit unit() const override { return NativeUnit::pixel; }
  double pictureRatioAt(QPoint /*native*/) const override { return 1; }
  bool compositorRuns() const override { return display_.compositorRuns(); }
  Token onCompositorChanged(std::function<void()> callback) override;
  std::unique_ptr<ClickThroughWindow> makeClickThroughWindow(const QRect& geometry, bool translucent) override;
  std::unique_ptr<QueryWindowHost> makeQueryWindowHost(QWidget& widget, const ScreenGeometry& geometry,
                                                       QueryWindowHost::Events events) override;
  KeyMeanings& keys() override { return keys_; }
  void synchronize() override { display_.synchronize(); }
  void activate(QWidget& window) override;
  void passOver(QWidget& window) override;
  Token onKeyboardGiven(std::function<void(QWidget& window)> callback) override;
  bool hasTray() override;
  Token onTrayAnnounced(std::function<void()> callback) override;

 private:
  NativeDisplay display_;
  const WindowCallbacks callbacks_;
  WindowStack stack_;
  X11Keys keys_;
};

}  // namespace jumplark
