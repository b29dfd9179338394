#include "backends/linux/atspi/vocabulary/FrameWindows.h"

#include <algorithm>

#include "backends/linux/windows/WindowSystem.h"

namespace jumplark::atspi {

void FrameWindows::forget() {
  const std::lock_guard lock(mutex_);
  ids_.clear();
}

std::optional<WindowFacts> FrameWindows::windowOf(const ElementRef& frame, const ElementRef& application) {
  WindowId id;
  {
    const std::lock_guard lock(mutex_);
    const auto known = ids_.find(frame);
    id = known == ids_.end() ? WindowId() : known->second;
  }
  if (id) {
    if (auto window = windows_.window(id)) {
      return window;
    }
  }
  const WindowId gone = id;
  learn(application);
  {
    const std::lock_guard lock(mutex_);
    const auto known = ids_.find(frame);
    id = known == ids_.end() ? WindowId() : known->second;
  }
  return !id || id == gone ? std::nullopt : windows_.window(id);
}

ElementRef FrameWindows::frameOf(WindowId window, const ElementRef& application) {
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

}  // namespace jumplark::atspi
