#pragma once

#include <mutex>
#include <optional>
#include <unordered_map>

#include "backends/linux/atspi/source/ElementSource.h"
#include "backends/linux/windows/WindowSystem.h"

namespace jumplark::atspi {

/// Which window an accessible frame belongs to. Once learned, the place of a window comes from the window system alone,
/// so that a hung application does not delay it.
///
/// Calls may come from any thread.
class FrameWindows {
 public:
  FrameWindows(ElementSource& source, WindowSystem& windows) : source_(source), windows_(windows) {}

  void forget();

  /// The window of a frame of `application`; none when it is not on screen.
  std::optional<WindowFacts> windowOf(const ElementRef& frame, const ElementRef& application);
  /// The frame of `application` that an window belongs to; empty for a menu and any other window that is no frame.
  ElementRef frameOf(WindowId window, const ElementRef& application);

 private:
  void learn(const ElementRef& application);

  ElementSource& source_;
  WindowSystem& windows_;
  std::mutex mutex_;
  std::unordered_map<ElementRef, WindowId, ElementRefHash> ids_;
};

}  // namespace jumplark::atspi
