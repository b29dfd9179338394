#include "backends/linux/wayland/kwin/KWinWindows.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <algorithm>

#include "backends/linux/wayland/kwin/KWinScript.h"
#include "backends/linux/wayland/kwin/KWinSettings.h"
#include "backends/linux/wayland/kwin/KWinWatch.h"
#include "backends/linux/windows/TitleBar.h"

namespace jumplark::kwin {

bool KWinWindows::take(const nlohmann::json& message) {
  const std::lock_guard lock(mutex_);
  if (message.is_null()) {
    scene_ = {};
    return true;
  }
  return scene_.take(message);
}

std::vector<WindowFacts> KWinWindows::all() {
  const std::lock_guard lock(mutex_);
  std::vector<WindowFacts> windows = scene_.windows();
  std::erase_if(windows,
                [&](const WindowFacts& window) { return isOwn(window) && passedOver_.contains(window.title); });
  return windows;
}

std::vector<WindowFacts> KWinWindows::windowsFrontToBack() {
  std::vector<WindowFacts> windows = all();
  std::erase_if(windows, [](const WindowFacts& window) { return window.isPopup; });
  return windows;
}

std::vector<WindowFacts> KWinWindows::popupsFrontToBack() {
  std::vector<WindowFacts> windows = all();
  std::erase_if(windows, [](const WindowFacts& window) { return !window.isPopup || window.hidden; });
  return windows;
}

std::optional<WindowFacts> KWinWindows::window(WindowId id) {
  const std::vector<WindowFacts> windows = all();
  const auto found = std::ranges::find(windows, id, &WindowFacts::id);
  return found == windows.end() ? std::nullopt : std::optional(*found);
}

WindowId KWinWindows::activeWindow() {
  const std::lock_guard lock(mutex_);
  return scene_.active();
}

std::optional<WindowFacts> KWinWindows::topmostWindowAt(Point topLeft) {
  const std::vector<WindowFacts> windows = all();
  const auto found = std::ranges::find_if(windows, [&](const WindowFacts& window) {
    return !window.hidden && !isOwn(window) && window.frame.contains(topLeft);
  });
  return found == windows.end() ? std::nullopt : std::optional(*found);
}

bool KWinWindows::isOwn(const WindowFacts& facts) const {
  return facts.pid == getpid();
}

bool KWinWindows::run(const std::string& script) {
  const std::lock_guard lock(running_);
  const std::string name = fmt::format("jumplark-{}-wish-{}", getpid(), ++runs_);
  const std::string file = fmt::format("{}/{}.js", scriptFolder(), name);
  const std::string problem = scripts_.run(name, file, script);
  scripts_.unload(name);
  unlink(file.c_str());
  if (!problem.empty()) {
    spdlog::warn("KWin was asked in vain: {}", problem);
  }
  return problem.empty();
}

bool KWinWindows::requestActive(WindowId id, bool force) {
  return (!force && activeWindow() == id) || run(activatingScript(id));
}

std::vector<WindowButton> KWinWindows::buttonsOf(const WindowFacts& window) {
  constexpr double kUnknownTitleHeight = 24;  // of a window that draws its own
  std::vector<WindowWish> wishes;
  {
    const std::lock_guard lock(mutex_);
    wishes = scene_.wishesOf(window.id);
  }
  const double drawn = window.surface.y - window.frame.y;
  const double bar = drawn > 0 ? drawn : kUnknownTitleHeight;
  const Rect seen = window.visible();
  return placeButtons(wishes, titleBarLayout(), {seen.x, seen.y, seen.width, bar}, {});
}

bool KWinWindows::request(WindowId id, WindowWish wish) {
  return run(wishScript(id, wish));
}

void KWinWindows::passOver(const std::string& title) {
  const std::lock_guard lock(mutex_);
  passedOver_.insert(title);
}

Rect KWinWindows::workAreaOf(const Rect& frame) {
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find(scene_.outputs(), frame, &KWinScene::Output::frame);
  return found == scene_.outputs().end() ? frame : found->area;
}

}  // namespace jumplark::kwin
