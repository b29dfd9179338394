#include "desktop/support/SwaySession.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
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

std::unique_ptr<PrivateSession> openSession(const SessionOptions& options) {
  return options.windowManager == WindowManager::sway ? std::make_unique<SwaySession>(options)
                                                      : std::make_unique<PrivateSession>(options);
}

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
  std::ifstream file(picture, std::ios::binary);
  std::string kind;
  int width = 0;
  int height = 0;
  int most = 0;
  file >> kind >> width >> height >> most;
  file.get();
  if (taken.status != 0 || !file || width != rect.width || height != rect.height) {
    throw std::runtime_error("no picture of " + place.str() + " at its own size: " + taken.err);
  }
  std::vector<uint32_t> colours(static_cast<size_t>(width) * static_cast<size_t>(height));
  for (uint32_t& colour : colours) {
    for (int part = 0; part < 3; ++part) {
      colour = colour << 8U | static_cast<uint32_t>(file.get());
    }
  }
  return colours;
}

void SwaySession::press(const Arguments& names) {
  Arguments arguments = {"key"};
  arguments.insert(arguments.end(), names.begin(), names.end());
  seat(arguments);
}

void SwaySession::click(int x, int y, const std::string& button) {
  seat({"click", std::to_string(x), std::to_string(y), button == "3" ? "right" : "left"});
}

void SwaySession::requestActive(uint32_t window) const {
  run({"swaymsg", "[con_id=" + std::to_string(window) + "] focus"});
}

Process& SwaySession::start(const Arguments& arguments, const Environment& extra) {
  namespace files = std::filesystem;
  struct stat owner {};
  stat(environment().at("HOME").c_str(), &owner);
  std::error_code error;
  for (files::recursive_directory_iterator entry(folder(), error), end; !error && entry != end;
       entry.increment(error)) {
    // What vanishes meanwhile needs no owner.
    static_cast<void>(lchown(entry->path().c_str(), owner.st_uid, owner.st_gid));
  }
  return PrivateSession::start(arguments, extra);
}

Arguments SwaySession::commandOf(const Arguments& arguments) const {
  const auto user = environment().find("JUMPLARK_SESSION_USER");
  if (user == environment().end()) {
    return arguments;
  }
  Arguments command = {"setpriv", "--reuid=" + user->second, "--regid=" + environment().at("JUMPLARK_SESSION_GROUP"),
                       "--clear-groups", "--"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

void SwaySession::seat(const Arguments& arguments) const {
  Arguments command = {JUMPLARK_WAYLAND_SEAT_SCRIPT};
  command.insert(command.end(), arguments.begin(), arguments.end());
  const Finished done = run(command);
  if (done.status != 0) {
    throw std::runtime_error("no key or pointer: " + done.err);
  }
}

}  // namespace jumplark::desktop
