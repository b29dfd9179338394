#include "desktop/support/SwaySession.h"

#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

namespace jumplark::desktop {
namespace {

using nlohmann::json;

/// All windows below a node, and the one that has the keyboard.
void collect(const json& node, std::vector<SessionWindow>& windows, uint32_t& focused) {
  if (node.contains("pid")) {
    const json& place = node.at("rect");
    const json& inside = node.at("window_rect");
    SessionWindow window;
    window.id = node.at("id");
    window.title = node.at("name").is_string() ? node.at("name").get<std::string>() : std::string();
    window.pid = node.at("pid");
    window.rect = {place.at("x").get<int>() + inside.at("x").get<int>(),
                   place.at("y").get<int>() + inside.at("y").get<int>(), inside.at("width"), inside.at("height")};
    focused = node.at("focused") ? window.id : focused;
    windows.push_back(window);
  }
  for (const char* children : {"nodes", "floating_nodes"}) {
    for (const json& child : node.at(children)) {
      collect(child, windows, focused);
    }
  }
}

std::pair<std::vector<SessionWindow>, uint32_t> treeOf(const PrivateSession& session) {
  const Finished told = session.run({"swaymsg", "-r", "-t", "get_tree"});
  std::pair<std::vector<SessionWindow>, uint32_t> result{{}, 0};
  if (told.status != 0) {
    throw std::runtime_error("sway does not answer: " + told.err);
  }
  collect(json::parse(told.out), result.first, result.second);
  return result;
}

}  // namespace

std::vector<SessionWindow> SwaySession::windows() const {
  return treeOf(*this).first;
}

uint32_t SwaySession::activeWindow() const {
  return treeOf(*this).second;
}

std::vector<uint32_t> SwaySession::pixels(const PixelRect& rect) const {
  const std::string picture = folder() + "/picture.ppm";
  std::ostringstream place;
  place << rect.x << ',' << rect.y << ' ' << rect.width << 'x' << rect.height;
  const Finished taken = run({"grim", "-t", "ppm", "-g", place.str(), picture});
  if (taken.status != 0) {
    throw std::runtime_error("no picture of " + place.str() + ": " + taken.err);
  }
  return colours(picture, rect.width, rect.height);
}

void SwaySession::requestActive(uint32_t window) const {
  run({"swaymsg", "[con_id=" + std::to_string(window) + "] focus"});
}

void SwaySession::moveActiveWindow(int x, int y) {
  run({"swaymsg", "move", "absolute", "position", std::to_string(x), std::to_string(y)});
}

}  // namespace jumplark::desktop
