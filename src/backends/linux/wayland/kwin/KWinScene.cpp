#include "backends/linux/wayland/kwin/KWinScene.h"

#include <algorithm>
#include <utility>

#include "backends/linux/wayland/LooseJson.h"
#include "backends/linux/wayland/kwin/KWinScript.h"

namespace jumplark::kwin {
using namespace loose_json;

namespace {

constexpr int64_t kVersion = 1;
constexpr size_t kMostWindows = 4096;
constexpr size_t kMostOutputs = 64;

Rect rect(const nlohmann::json& object, const char* key) {
  const nlohmann::json& parts = list(object, key);
  if (parts.size() != 4) {
    return {};
  }
  return {number(parts[0]), number(parts[1]), number(parts[2]), number(parts[3])};
}

bool contains(const Rect& outer, const Rect& inner) {
  return inner.x >= outer.x && inner.y >= outer.y && inner.maxX() <= outer.maxX() && inner.maxY() <= outer.maxY();
}

/// The numbers of NET::WindowType.
WindowType typeOf(int64_t number) {
  static constexpr std::pair<int64_t, WindowType> kTypes[] = {
      {1, WindowType::desktop},       {2, WindowType::dock},          {3, WindowType::toolbar},
      {4, WindowType::menu},          {5, WindowType::dialog},        {7, WindowType::menu},
      {8, WindowType::utility},       {9, WindowType::splash},        {10, WindowType::menu},
      {11, WindowType::popup},        {12, WindowType::toolTip},      {13, WindowType::notification},
      {14, WindowType::popup},        {15, WindowType::other},        {16, WindowType::notification},
      {17, WindowType::notification}, {18, WindowType::notification}, {19, WindowType::other}};
  const auto* const found = std::ranges::find(kTypes, number, &std::pair<int64_t, WindowType>::first);
  return found == std::end(kTypes) ? WindowType::normal : found->second;
}

/// Of an X11 window that KWin decorates the buffer is the whole frame.
Rect surfaceOf(const nlohmann::json& told, const Rect& frame) {
  const Rect buffer = rect(told, "buffer");
  const Rect client = rect(told, "client");
  const bool isDecorated = flag(told, "x11") && buffer == frame && client.width > 0 && client.height > 0;
  return isDecorated ? client : buffer.width > 0 && buffer.height > 0 ? buffer : frame;
}

WindowFacts factsOf(const nlohmann::json& told) {
  WindowFacts window;
  window.id = windowIdOf(text(told, "id"));
  const int64_t pid = integer(told, "pid", 0);
  window.pid = pid > 0 && pid <= INT32_MAX ? static_cast<int32_t>(pid) : -1;
  window.connectionPid = window.pid;
  window.title = text(told, "title");
  window.instanceName = text(told, "instanceName");
  window.className = text(told, "className");
  window.applicationId = text(told, "desktopFile");
  window.frame = rect(told, "frame");
  window.surface = surfaceOf(told, window.frame);
  window.tellsShadow = contains(window.surface, window.frame);
  if (window.tellsShadow) {
    window.shadow = {window.frame.x - window.surface.x, window.surface.maxX() - window.frame.maxX(),
                     window.frame.y - window.surface.y, window.surface.maxY() - window.frame.maxY()};
  }
  window.knowsItsPlace = flag(told, "x11");
  window.type = typeOf(integer(told, "type", 0));
  window.transientFor = windowIdOf(text(told, "transientFor"));
  window.isPopup = flag(told, "popup");
  if (window.isPopup && window.type == WindowType::normal) {
    window.type = WindowType::popup;
  } else if (window.transientFor && window.type == WindowType::normal) {
    window.type = WindowType::dialog;
  }
  window.modal = flag(told, "modal");
  window.hidden = flag(told, "hidden");
  return window;
}

}  // namespace

void KWinScene::add(const nlohmann::json& told) {
  Window window{factsOf(told), {}};
  const WindowFacts& facts = window.facts;
  const std::string id = text(told, "id");
  if (!facts.id || facts.pid < 0 || facts.frame.width <= 0 || facts.frame.height <= 0 ||
      (windows_.size() >= kMostWindows && !windows_.contains(id))) {
    windows_.erase(id);
    return;
  }
  if (flag(told, "minimises")) {
    window.wishes.push_back(WindowWish::minimise);
  }
  if (flag(told, "maximises")) {
    window.wishes.push_back(flag(told, "maximised") ? WindowWish::restore : WindowWish::maximise);
  }
  if (flag(told, "closes")) {
    window.wishes.push_back(WindowWish::close);
  }
  windows_[id] = std::move(window);
}

bool KWinScene::take(const nlohmann::json& message) {
  if (integer(message, "version", -1) != kVersion) {
    return false;
  }
  for (const auto& id : list(message, "gone")) {
    windows_.erase(id.is_string() ? id.get<std::string>() : std::string());
  }
  for (const auto& told : list(message, "windows")) {
    add(told);
  }
  if (const auto& order = member(message, "order"); order.is_array()) {
    order_.clear();
    for (const auto& id : order) {
      order_.push_back(id.is_string() ? id.get<std::string>() : std::string());
    }
  }
  if (const auto& outputs = member(message, "outputs"); outputs.is_array()) {
    outputs_.clear();
    for (const auto& output : outputs) {
      if (outputs_.size() < kMostOutputs) {
        outputs_.push_back({rect(output, "frame"), rect(output, "area")});
      }
    }
  }
  active_ = windowIdOf(text(message, "active"));
  return true;
}

std::vector<WindowFacts> KWinScene::windows() const {
  std::vector<WindowFacts> result;
  for (auto id = order_.rbegin(); id != order_.rend(); ++id) {
    if (const auto found = windows_.find(*id); found != windows_.end()) {
      result.push_back(found->second.facts);
    }
  }
  std::stable_partition(result.begin(), result.end(), [](const WindowFacts& window) { return !window.hidden; });
  return result;
}

std::vector<WindowWish> KWinScene::wishesOf(WindowId id) const {
  const auto found = windows_.find(textOf(id));
  return found == windows_.end() ? std::vector<WindowWish>() : found->second.wishes;
}

}  // namespace jumplark::kwin
