#include "backends/linux/wayland/sway/SwayWindows.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>

#include "backends/linux/wayland/sway/SwayTree.h"
#include "backends/linux/windows/TitleBar.h"

namespace jumplark::sway {
namespace {

Tree ask(Ipc& ipc) {
  const auto answer = ipc.ask(Message::getTree);
  return answer ? readTree(*answer) : Tree{};
}

}  // namespace

std::vector<WindowFacts> Windows::windowsFrontToBack() {
  return ask(*ipc_).windows;
}

std::optional<WindowFacts> Windows::window(WindowId id) {
  const Tree tree = ask(*ipc_);
  const auto found = std::ranges::find(tree.windows, id, &WindowFacts::id);
  return found == tree.windows.end() ? std::nullopt : std::optional(*found);
}

WindowId Windows::activeWindow() {
  return ask(*ipc_).focused;
}

std::optional<WindowFacts> Windows::topmostWindowAt(Point topLeft) {
  const Tree tree = ask(*ipc_);
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
