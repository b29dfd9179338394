#include "backends/linux/wayland/gnome/ShellWindows.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>

#include "backends/linux/wayland/LooseJson.h"
#include "backends/linux/wayland/gnome/ShellExtension.h"
#include "backends/linux/windows/TitleBar.h"

namespace jumplark::gnome {
namespace {

using namespace loose_json;

constexpr size_t kMostWindows = 4096;

Rect rect(const nlohmann::json& object, const char* key) {
  const nlohmann::json& four = list(object, key);
  return four.size() == 4 ? Rect{number(four[0]), number(four[1]), number(four[2]), number(four[3])} : Rect{};
}

WindowType typeOf(const std::string& name) {
  static const std::map<std::string, WindowType> kTypes = {{"normal", WindowType::normal},
                                                           {"dialog", WindowType::dialog},
                                                           {"utility", WindowType::utility},
                                                           {"toolbar", WindowType::toolbar},
                                                           {"splash", WindowType::splash},
                                                           {"menu", WindowType::menu},
                                                           {"popup", WindowType::popup},
                                                           {"tooltip", WindowType::toolTip},
                                                           {"dock", WindowType::dock},
                                                           {"desktop", WindowType::desktop},
                                                           {"notification", WindowType::notification}};
  const auto found = kTypes.find(name);
  return found == kTypes.end() ? WindowType::other : found->second;
}

std::optional<WindowList::Window> readWindow(const nlohmann::json& one) {
  WindowList::Window window;
  WindowFacts& facts = window.facts;
  const int64_t id = integer(one, "id", 0);
  const int64_t pid = integer(one, "pid", 0);
  facts.surface = rect(one, "surface");
  const Rect seen = rect(one, "frame");
  if (id <= 0 || id > UINT32_MAX || pid <= 0 || pid > INT32_MAX || seen.width <= 1 || seen.height <= 1 ||
      facts.surface.width <= 0 || facts.surface.height <= 0) {
    return std::nullopt;
  }
  facts.id = WindowId(static_cast<uint64_t>(id));
  facts.pid = static_cast<int32_t>(pid);
  facts.connectionPid = facts.pid;
  facts.title = text(one, "title");
  facts.className = text(one, "class");
  facts.instanceName = text(one, "instance");
  facts.applicationId = text(one, "application");
  facts.knowsItsPlace = flag(one, "x11");
  // What the shell draws around the window of an X11 program lies outside what that draws on.
  facts.frame = {std::min(seen.x, facts.surface.x), std::min(seen.y, facts.surface.y), 0, 0};
  facts.frame.width = std::max(seen.maxX(), facts.surface.maxX()) - facts.frame.x;
  facts.frame.height = std::max(seen.maxY(), facts.surface.maxY()) - facts.frame.y;
  facts.shadow = {std::max(0.0, seen.x - facts.surface.x), std::max(0.0, facts.surface.maxX() - seen.maxX()),
                  std::max(0.0, seen.y - facts.surface.y), std::max(0.0, facts.surface.maxY() - seen.maxY())};
  facts.tellsShadow = facts.frame == facts.surface;
  facts.type = typeOf(text(one, "type"));
  facts.modal = flag(one, "modal");
  facts.isPopup = flag(one, "popup");
  facts.hidden = flag(one, "hidden");
  facts.transientFor = WindowId(static_cast<uint64_t>(std::max<int64_t>(0, integer(one, "transientFor", 0))));
  window.maximised = flag(one, "maximised");
  for (const auto& [wish, can] : {std::pair(WindowWish::close, "closes"),
                                  {WindowWish::minimise, "minimises"},
                                  {window.maximised ? WindowWish::restore : WindowWish::maximise, "maximises"}}) {
    if (flag(one, can)) {
      window.wishes.push_back(wish);
    }
  }
  return window;
}

const char* nameOf(WindowWish wish) {
  switch (wish) {
    case WindowWish::close:
      return "close";
    case WindowWish::minimise:
      return "minimise";
    case WindowWish::maximise:
      return "maximise";
    case WindowWish::restore:
      break;
  }
  return "restore";
}

Read truth(bool& value) {
  return [&value](sd_bus_message* reply) {
    int told = 0;
    const int r = sd_bus_message_read(reply, "b", &told);
    value = told != 0;
    return r;
  };
}

}  // namespace

WindowList readWindows(std::string_view json) {
  const nlohmann::json told = nlohmann::json::parse(json, nullptr, false);
  WindowList result;
  for (const auto& one : list(told, "windows")) {
    auto window = result.windows.size() < kMostWindows ? readWindow(one) : std::nullopt;
    if (window) {
      result.windows.push_back(std::move(*window));
    }
  }
  std::ranges::stable_partition(result.windows, [](const auto& window) { return !window.facts.hidden; });
  result.buttons = text(told, "buttons");
  const int64_t focused = integer(told, "focused", 0);
  result.focused = WindowId(static_cast<uint64_t>(std::max<int64_t>(0, focused)));
  return result;
}

void putInPoints(WindowFacts& window, const std::vector<WaylandOutput>& outputs) {
  const WaylandOutput* const output = outputOf(window.frame, outputs);
  if (output == nullptr || output->layoutScale == 1) {
    return;
  }
  window.frame = pointsOn(*output, window.frame);
  window.surface = pointsOn(*output, window.surface);
  for (double* const edge : {&window.shadow.left, &window.shadow.right, &window.shadow.top, &window.shadow.bottom}) {
    *edge /= output->layoutScale;
  }
  // The shell scales no pictures of such programs, which therefore count in pixels.
  window.unit = window.knowsItsPlace ? 1 / output->layoutScale : 1;
}

WindowList Windows::ask() {
  constexpr std::chrono::milliseconds kMoment{20};
  const std::lock_guard lock(asking_);
  const uint64_t changes = changes_;
  if (changes == changesAtLast_ && std::chrono::steady_clock::now() < lastEnds_) {
    return last_;
  }
  WindowList list;
  const bool isTold = bus_->does("Windows", {}, [&](sd_bus_message* reply) {
    const char* told = nullptr;
    const int r = sd_bus_message_read(reply, "s", &told);
    list = r > 0 ? readWindows(told) : WindowList{};
    return r;
  });
  const std::vector<WaylandOutput> outputs = stage_.outputs();
  for (auto& window : list.windows) {
    putInPoints(window.facts, outputs);
  }
  last_ = list;
  changesAtLast_ = changes;
  lastEnds_ = isTold ? std::chrono::steady_clock::now() + kMoment : std::chrono::steady_clock::time_point();
  return list;
}

std::vector<WindowFacts> Windows::all() {
  std::vector<WindowFacts> facts;
  for (auto& window : ask().windows) {
    facts.push_back(std::move(window.facts));
  }
  return facts;
}

WindowId Windows::activeWindow() {
  return ask().focused;
}

std::string Windows::whyNoneAreTold() {
  return problemOf(extensionState()).finding;
}

bool Windows::requestActive(WindowId id, bool force) {
  if (!force && activeWindow() == id) {
    return true;
  }
  bool done = false;
  const auto number = static_cast<uint32_t>(id.low);
  const bool isTaken = bus_->does(
      "Activate", [=](sd_bus_message* question) { return sd_bus_message_append(question, "u", number); }, truth(done));
  forget();
  return isTaken && done;
}

std::vector<WindowButton> Windows::buttonsOf(const WindowFacts& window) {
  constexpr double kUnknownTitleHeight = 36;  // of a window that draws its own
  const WindowList list = ask();
  const auto found = std::ranges::find_if(list.windows, [&](const auto& one) { return one.facts.id == window.id; });
  if (found == list.windows.end()) {
    return {};
  }
  return placeButtons(found->wishes, layoutOfWords(list.buttons).value_or(usualLayout()),
                      titleBarOf(found->facts, kUnknownTitleHeight), {});
}

bool Windows::request(WindowId id, WindowWish wish) {
  bool done = false;
  const auto number = static_cast<uint32_t>(id.low);
  const bool isTaken = bus_->does(
      "Request", [=](sd_bus_message* question) { return sd_bus_message_append(question, "us", number, nameOf(wish)); },
      truth(done));
  forget();
  return isTaken && done;
}

}  // namespace jumplark::gnome
