#include "backends/linux/wayland/gnome/ShellWindows.h"

#include <algorithm>

#include "backends/linux/wayland/gnome/ShellExtension.h"
#include "backends/linux/windows/TitleBar.h"

namespace jumplark::gnome {
namespace {

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

std::vector<WindowFacts> Windows::all() {
  std::vector<WindowFacts> facts;
  for (auto& window : scenes_->now().windows) {
    facts.push_back(std::move(window.facts));
  }
  return facts;
}

WindowId Windows::activeWindow() {
  return scenes_->now().focused;
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
  scenes_->forget();
  return isTaken && done;
}

std::vector<WindowButton> Windows::buttonsOf(const WindowFacts& window) {
  constexpr double kUnknownTitleHeight = 36;  // of a window that draws its own
  const Scene scene = scenes_->now();
  const auto found = std::ranges::find_if(scene.windows, [&](const auto& one) { return one.facts.id == window.id; });
  if (found == scene.windows.end()) {
    return {};
  }
  return placeButtons(found->wishes, layoutOfWords(scene.buttons).value_or(usualLayout()),
                      titleBarOf(found->facts, kUnknownTitleHeight), {});
}

bool Windows::request(WindowId id, WindowWish wish) {
  bool done = false;
  const auto number = static_cast<uint32_t>(id.low);
  const bool isTaken = bus_->does(
      "Request", [=](sd_bus_message* question) { return sd_bus_message_append(question, "us", number, nameOf(wish)); },
      truth(done));
  scenes_->forget();
  return isTaken && done;
}

}  // namespace jumplark::gnome
