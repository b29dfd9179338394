#pragma once

#include <mutex>
#include <optional>
#include <unordered_map>

#include "backends/linux/atspi/source/ElementSource.h"

namespace jumplark {
class WindowSystem;
struct WindowFacts;
}  // namespace jumplark

namespace jumplark::atspi {

/// Which X window an accessible frame belongs to. Once learned, the place of a window comes from the X server alone, so
/// that a hung application does not delay it.
///
/// Calls may come from any thread.
class FrameWindows {
 public:
  FrameWindows(ElementSource& source, WindowSystem& windows) : source_(source), windows_(windows) {}

  void forget();

  /// The X window of a frame of `application`; none when it is not on screen.
  std::optional<WindowFacts> windowOf(const ElementRef& frame, const ElementRef& application);
  /// The frame of `application` that an X window belongs to; empty for a menu and any other window that is no frame.
  ElementRef frameOf(uint32_t window, const ElementRef& application);
  /// What a person sees as the window: with the window manager's decorations, without shadows. Pixels of the root,
  /// top-left origin.
  static Rect visibleFrame(const WindowFacts& window);

 private:
  void learn(const ElementRef& application);

  ElementSource& source_;
  WindowSystem& windows_;
  std::mutex mutex_;
  std::unordered_map<ElementRef, uint32_t, ElementRefHash> ids_;
};

}  // namespace jumplark::atspi
