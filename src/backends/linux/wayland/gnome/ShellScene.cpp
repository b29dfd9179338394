#include "backends/linux/wayland/gnome/ShellScene.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>

#include "backends/linux/wayland/LooseJson.h"

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

std::optional<Scene::Window> readWindow(const nlohmann::json& one) {
  Scene::Window window;
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

std::optional<Point> place(const nlohmann::json& two) {
  return two.size() == 2 ? std::optional(Point{number(two[0]), number(two[1])}) : std::nullopt;
}

using Clock = std::chrono::steady_clock;

/// How long an answer counts for what is asked next.
constexpr std::chrono::milliseconds kMoment{20};
/// And what came with a press, which is what the user saw when he pressed.
constexpr std::chrono::milliseconds kMomentOfPress{60};
/// A shell that does not answer moves no windows, and without them elements would be taken to be somewhere else.
constexpr std::chrono::seconds kLongestSilence{3};

}  // namespace

Scene readScene(std::string_view json) {
  const nlohmann::json told = nlohmann::json::parse(json, nullptr, false);
  Scene result;
  for (const auto& one : list(told, "windows")) {
    auto window = result.windows.size() < kMostWindows ? readWindow(one) : std::nullopt;
    if (window) {
      result.windows.push_back(std::move(*window));
    }
  }
  std::stable_partition(result.windows.begin(), result.windows.end(),
                        [](const auto& window) { return !window.facts.hidden; });
  result.buttons = text(told, "buttons");
  const int64_t focused = integer(told, "focused", 0);
  result.focused = WindowId(static_cast<uint64_t>(std::max<int64_t>(0, focused)));
  for (const auto& one : list(told, "screens")) {
    result.screens.push_back({rect(one, "frame"), rect(one, "free")});
  }
  result.pointer = place(list(told, "pointer"));
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

Scene Scenes::read(std::string_view json) const {
  Scene scene = readScene(json);
  const std::vector<WaylandOutput> outputs = stage_.outputs();
  for (auto& window : scene.windows) {
    putInPoints(window.facts, outputs);
  }
  return scene;
}

bool Scenes::isCurrent() const {
  return Clock::now() < lastEnds_;
}

std::optional<Scene> Scenes::known() {
  const std::lock_guard lock(mutex_);
  return isCurrent() ? std::optional(last_) : std::nullopt;
}

Scene Scenes::now() {
  const std::lock_guard one(asking_);
  uint64_t changes = 0;
  {
    const std::lock_guard lock(mutex_);
    if (isCurrent()) {
      return last_;
    }
    changes = changes_;
  }
  Scene scene;
  const Answer answer = bus_->call("Scene", {}, [&](sd_bus_message* reply) {
    const char* json = nullptr;
    const int r = sd_bus_message_read(reply, "s", &json);
    scene = r > 0 ? read(json) : Scene{};
    return r;
  });
  const std::lock_guard lock(mutex_);
  if (answer == Answer::silent && Clock::now() < lastTold_ + kLongestSilence) {
    return last_;
  }
  if (answer == Answer::given && changes == changes_) {
    last_ = scene;
    lastTold_ = Clock::now();
    lastEnds_ = lastTold_ + kMoment;
  }
  return scene;
}

void Scenes::told(std::string_view json) {
  Scene scene = read(json);
  const std::lock_guard lock(mutex_);
  ++changes_;
  last_ = std::move(scene);
  lastTold_ = Clock::now();
  lastEnds_ = lastTold_ + kMomentOfPress;
}

void Scenes::forget() {
  const std::lock_guard lock(mutex_);
  ++changes_;
  lastEnds_ = {};
}

}  // namespace jumplark::gnome
