#include "desktop/support/GnomeSession.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

namespace jumplark::desktop {
namespace {

/// All windows, the topmost last, and the one that has the keyboard.
std::pair<std::vector<SessionWindow>, uint32_t> windowsOf(const Finished& told) {
  std::pair<std::vector<SessionWindow>, uint32_t> result{{}, 0};
  if (told.status != 0) {
    throw std::runtime_error("GNOME Shell does not answer: " + told.err);
  }
  for (const auto& one : nlohmann::json::parse(told.out)) {
    SessionWindow window;
    window.id = one.at("id");
    window.title = one.at("title");
    window.pid = one.at("pid");
    window.overrideRedirect = one.at("popup");
    const auto& rect = one.at("rect");
    window.rect = {rect.at(0), rect.at(1), rect.at(2), rect.at(3)};
    result.second = one.at("focused") ? window.id : result.second;
    if (one.at("shows")) {
      result.first.push_back(window);
    }
  }
  return result;
}

}  // namespace

Finished GnomeSession::seat(const Arguments& arguments) const {
  Arguments command = {JUMPLARK_WAYLAND_SEAT_SCRIPT};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return run(command);
}

std::vector<SessionWindow> GnomeSession::windows() const {
  return windowsOf(seat({"windows"})).first;
}

uint32_t GnomeSession::activeWindow() const {
  return windowsOf(seat({"windows"})).second;
}

std::vector<uint32_t> GnomeSession::pixels(const PixelRect& rect) const {
  const std::string picture = folder() + "/picture.ppm";
  const Finished taken = seat({"picture", std::to_string(rect.x), std::to_string(rect.y), std::to_string(rect.width),
                               std::to_string(rect.height), picture});
  if (taken.status != 0) {
    throw std::runtime_error("no picture: " + taken.err);
  }
  return colours(picture, rect.width, rect.height);
}

void GnomeSession::moveActiveWindow(int x, int y) {
  seat({"place", std::to_string(x), std::to_string(y)});
}

void GnomeSession::requestActive(uint32_t window) const {
  seat({"activate", std::to_string(window)});
}

void GnomeSession::setExtension(bool on) const {
  if (const Finished done = seat({"extension", on ? "on" : "off"}); done.status != 0) {
    throw std::runtime_error("the extension cannot be switched: " + done.err);
  }
}

pid_t GnomeSession::shell() const {
  return std::stoi(seat({"shell"}).out);
}

}  // namespace jumplark::desktop
