#include "backends/linux/wayland/ListedWindows.h"

#include <unistd.h>

#include <algorithm>

namespace jumplark {
namespace {

template <typename Wanted>
std::optional<WindowFacts> firstOf(const std::vector<WindowFacts>& windows, const Wanted& wanted) {
  const auto found = std::ranges::find_if(windows, wanted);
  return found == windows.end() ? std::nullopt : std::optional(*found);
}

}  // namespace

void ListedWindows::passOver(const std::string& title) {
  const std::lock_guard lock(passing_);
  passedOver_.insert(title);
}

std::vector<WindowFacts> ListedWindows::counted() {
  std::vector<WindowFacts> windows = all();
  const std::lock_guard lock(passing_);
  std::erase_if(windows,
                [&](const WindowFacts& window) { return isOwn(window) && passedOver_.contains(window.title); });
  return windows;
}

std::vector<WindowFacts> ListedWindows::windowsFrontToBack() {
  std::vector<WindowFacts> windows = counted();
  std::erase_if(windows, [](const WindowFacts& window) { return window.isPopup; });
  return windows;
}

std::vector<WindowFacts> ListedWindows::popupsFrontToBack() {
  std::vector<WindowFacts> windows = counted();
  std::erase_if(windows, [](const WindowFacts& window) { return !window.isPopup || window.hidden; });
  return windows;
}

std::optional<WindowFacts> ListedWindows::window(WindowId id) {
  return firstOf(counted(), [id](const WindowFacts& window) { return window.id == id; });
}

std::optional<WindowFacts> ListedWindows::topmostWindowAt(Point topLeft) {
  return firstOf(counted(), [&](const WindowFacts& window) {
    return !window.hidden && !isOwn(window) && window.visible().contains(topLeft);
  });
}

bool ListedWindows::isOwn(const WindowFacts& facts) const {
  return facts.pid == getpid();
}

Rect titleBarOf(const WindowFacts& window, double unknownHeight) {
  const Rect seen = window.visible();
  const double drawn = window.surface.y - window.frame.y;
  return {seen.x, seen.y, seen.width, drawn > 0 ? drawn : unknownHeight};
}

}  // namespace jumplark
