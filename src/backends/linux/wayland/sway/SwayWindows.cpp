#include "backends/linux/wayland/sway/SwayWindows.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>

#include "backends/linux/windows/TitleBar.h"

namespace jumplark::sway {

void Windows::passOver(const std::string& title) {
  const std::lock_guard lock(mutex_);
  passedOver_.insert(title);
}

Tree Windows::ask() {
  const auto answer = ipc_->ask(Message::getTree);
  Tree tree = answer ? readTree(*answer) : Tree{};
  const std::lock_guard lock(mutex_);
  std::erase_if(tree.windows,
                [&](const WindowFacts& window) { return isOwn(window) && passedOver_.contains(window.title); });
  return tree;
}

std::vector<WindowFacts> Windows::windowsFrontToBack() {
  return ask().windows;
}

std::optional<WindowFacts> Windows::window(WindowId id) {
  const Tree tree = ask();
  const auto found = std::ranges::find(tree.windows, id, &WindowFacts::id);
  return found == tree.windows.end() ? std::nullopt : std::optional(*found);
}

WindowId Windows::activeWindow() {
  return ask().focused;
}

std::optional<WindowFacts> Windows::topmostWindowAt(Point topLeft) {
  const Tree tree = ask();
  const auto found = std::ranges::find_if(tree.windows, [&](const WindowFacts& window) {
    return !window.hidden && !isOwn(window) && window.frame.contains(topLeft);
  });
  return found == tree.windows.end() ? std::nullopt : std::optional(*found);
}

bool Windows::isOwn(const WindowFacts& facts) const {
  return facts.pid == getpid();
}

bool Windows::requestActive(WindowId id, bool force) {
  if (!force && activeWindow() == id) {
    return true;
  }
  return !ipc_->run(fmt::format("[con_id={}] focus", id.low));
}

std::vector<WindowButton> Windows::buttonsOf(const WindowFacts& window) {
  constexpr double kUnknownTitleHeight = 24;  // of a window that draws its own
  const double drawn = window.surface.y - window.frame.y;
  const double bar = drawn > 0 ? drawn : kUnknownTitleHeight;
  const Rect title{window.frame.x, window.frame.y, window.frame.width, bar};
  return placeButtons({WindowWish::close}, usualLayout(), title, {});
}

bool Windows::request(WindowId id, WindowWish wish) {
  return wish == WindowWish::close && !ipc_->run(fmt::format("[con_id={}] kill", id.low));
}

}  // namespace jumplark::sway
