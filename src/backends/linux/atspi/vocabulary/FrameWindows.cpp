#include "backends/linux/atspi/vocabulary/FrameWindows.h"

#include <algorithm>

#include "backends/linux/x11/WindowSystem.h"

namespace jumplark::atspi {

void FrameWindows::forget() {
  const std::lock_guard lock(mutex_);
  ids_.clear();
}

std::optional<WindowFacts> FrameWindows::windowOf(const ElementRef& frame, const ElementRef& application) {
  uint32_t id = 0;
  {
    const std::lock_guard lock(mutex_);
    const auto known = ids_.find(frame);
    id = known == ids_.end() ? 0 : known->second;
  }
  if (id != 0) {
    if (auto window = windows_.window(id)) {
      return window;
    }
  }
  const uint32_t gone = id;
  learn(application);
  {
    const std::lock_guard lock(mutex_);
    const auto known = ids_.find(frame);
    id = known == ids_.end() ? 0 : known->second;
  }
  return id == 0 || id == gone ? std::nullopt : windows_.window(id);
}

ElementRef FrameWindows::frameOf(uint32_t window, const ElementRef& application) {
  const auto find = [&]() -> ElementRef {
    const std::lock_guard lock(mutex_);
    for (const auto& [frame, id] : ids_) {
      const AtspiHandle* handle = handleOf(frame);
      const AtspiHandle* owner = handleOf(application);
      if (id == window && handle != nullptr && owner != nullptr && handle->busName() == owner->busName()) {
        return frame;
      }
    }
    return {};
  };
  if (auto frame = find()) {
    return frame;
  }
  learn(application);
  return find();
}

void FrameWindows::learn(const ElementRef& application) {
  const auto frames = source_.frames(application);
  const std::lock_guard lock(mutex_);
  for (const auto& one : frames) {
    ids_[one.element] = one.window;
  }
}

Rect FrameWindows::visibleFrame(const WindowFacts& window) {
  if (!window.hasGtkFrameExtents) {
    return window.frame;
  }
  const FrameExtents& shadow = window.gtkFrameExtents;
  return {window.client.x + shadow.left, window.client.y + shadow.top,
          std::max(0.0, window.client.width - shadow.left - shadow.right),
          std::max(0.0, window.client.height - shadow.top - shadow.bottom)};
}

}  // namespace jumplark::atspi
