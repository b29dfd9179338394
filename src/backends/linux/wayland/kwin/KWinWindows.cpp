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
  areTold_ = !message.is_null();
  if (message.is_null()) {
    scene_ = {};
    return true;
  }
  return scene_.take(message);
}

bool KWinWindows::areTold() {
  const std::lock_guard lock(mutex_);
  return areTold_;
}

std::vector<WindowFacts> KWinWindows::all() {
  const std::lock_guard lock(mutex_);
  return scene_.windows();
}

WindowId KWinWindows::activeWindow() {
  const std::lock_guard lock(mutex_);
  return scene_.active();
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
  return placeButtons(wishes, titleBarLayout(), titleBarOf(window, kUnknownTitleHeight), {});
}

bool KWinWindows::request(WindowId id, WindowWish wish) {
  return run(wishScript(id, wish));
}

Rect KWinWindows::workAreaOf(const Rect& frame) {
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find(scene_.outputs(), frame, &KWinScene::Output::frame);
  return found == scene_.outputs().end() ? frame : found->area;
}

}  // namespace jumplark::kwin
