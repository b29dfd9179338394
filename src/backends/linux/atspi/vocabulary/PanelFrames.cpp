#include "backends/linux/atspi/vocabulary/PanelFrames.h"

#include <utility>

#include "backends/linux/windows/WindowSystem.h"

namespace jumplark::atspi {

PanelFrames::Applications PanelFrames::applications(const View& view) {
  {
    const std::lock_guard lock(mutex_);
    if (known_) {
      return applications_;
    }
  }
  Applications found;
  for (const auto& window : windows_.windowsFrontToBack()) {
    if (window.type != WindowType::dock || window.pid < 0) {
      continue;
    }
    const ElementRef application = view.application(window.pid);
    if (const AtspiHandle* handle = handleOf(application)) {
      found.emplace(handle->busName(), application);
    }
  }
  const std::lock_guard lock(mutex_);
  applications_ = found;
  known_ = true;
  return found;
}

bool PanelFrames::isPanelApplication(const std::string& busName, const View& view) {
  return applications(view).contains(busName);
}

bool PanelFrames::isPanelFrame(const ElementRef& frame, const View& view) {
  {
    const std::lock_guard lock(mutex_);
    if (known_ && framesKnown_) {
      return frames_.contains(frame);
    }
  }
  std::unordered_set<ElementRef, ElementRefHash> found;
  for (const auto& [busName, application] : applications(view)) {
    for (const MatchedFrame& candidate : view.frames(application)) {
      const auto window = windows_.window(candidate.window.id);
      if (window && window->type == WindowType::dock) {
        found.insert(candidate.frame.element);
      }
    }
  }
  const std::lock_guard lock(mutex_);
  frames_ = std::move(found);
  framesKnown_ = true;
  return frames_.contains(frame);
}

}  // namespace jumplark::atspi
