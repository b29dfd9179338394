#include "backends/linux/wayland/sway/SwayWindows.h"

#include <fmt/format.h>

#include "backends/linux/windows/TitleBar.h"

namespace jumplark::sway {

Tree Windows::ask() {
  const auto answer = ipc_->ask(Message::getTree);
  return answer ? readTree(*answer) : Tree{};
}

WindowId Windows::activeWindow() {
  return ask().focused;
}

bool Windows::requestActive(WindowId id, bool force) {
  if (!force && activeWindow() == id) {
    return true;
  }
  return !ipc_->run(fmt::format("[con_id={}] focus", id.low));
}

std::vector<WindowButton> Windows::buttonsOf(const WindowFacts& window) {
  constexpr double kUnknownTitleHeight = 24;  // of a window that draws its own
  return placeButtons({WindowWish::close}, usualLayout(), titleBarOf(window, kUnknownTitleHeight), {});
}

bool Windows::request(WindowId id, WindowWish wish) {
  return wish == WindowWish::close && !ipc_->run(fmt::format("[con_id={}] kill", id.low));
}

}  // namespace jumplark::sway
