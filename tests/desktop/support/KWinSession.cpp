#include "desktop/support/KWinSession.h"

#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

namespace jumplark::desktop {
namespace {

using nlohmann::json;

json windowsOf(const PrivateSession& session) {
  const Finished told = session.run({JUMPLARK_KWIN_LOOK, "windows"});
  if (told.status != 0) {
    throw std::runtime_error("KWin does not answer: " + told.err);
  }
  return json::parse(told.out);
}

/// The first digits of KWin's own identifier.
uint32_t idOf(const json& window) {
  return static_cast<uint32_t>(std::stoul(window.at("id").get<std::string>().substr(1, 8), nullptr, 16));
}

}  // namespace

std::vector<SessionWindow> KWinSession::windows() const {
  std::vector<SessionWindow> windows;
  for (const json& told : windowsOf(*this)) {
    SessionWindow window;
    window.id = idOf(told);
    window.title = told.at("title");
    window.className = told.at("className");
    window.pid = told.at("pid");
    window.overrideRedirect = told.at("popup");
    window.rect = {told.at("rect").at(0), told.at("rect").at(1), told.at("rect").at(2), told.at("rect").at(3)};
    windows.push_back(window);
  }
  return windows;
}

uint32_t KWinSession::activeWindow() const {
  uint32_t active = 0;
  for (const json& window : windowsOf(*this)) {
    active = window.at("active").get<bool>() ? idOf(window) : active;
  }
  return active;
}

/// By the name of its own file.
pid_t KWinSession::kwin() const {
  for (const auto& process : std::filesystem::directory_iterator("/proc")) {
    std::error_code error;
    if (std::filesystem::read_symlink(process.path() / "exe", error) == folder() + "/kwin_wayland") {
      return std::stoi(process.path().filename());
    }
  }
  return -1;
}

void KWinSession::putKeeperInPlace() {
  const pid_t before = kwin();
  kill(before, SIGKILL);
  waitUntil([&] { return kill(before, 0) != 0; });  // and its socket is free
  start({"sh", "-c",
         "PATH=\"$JUMPLARK_PRIVATE_SESSION:$PATH\" exec env -u WAYLAND_DISPLAY -u DISPLAY "
         "KWIN_WAYLAND_NO_PERMISSION_CHECKS=1 KWIN_SCREENSHOT_NO_PERMISSION_CHECKS=1 "
         "kwin_wayland_wrapper --virtual --no-lockscreen"});
  awaitReturn();
}

void KWinSession::awaitReturn() {
  waitUntil([&] { return run({JUMPLARK_KWIN_LOOK, "windows"}).status == 0; }, kStart);
  const Process& seat = start({JUMPLARK_WAYLAND_SEAT_SCRIPT, "hold"});
  if (!seat.waitForLine("held")) {
    throw std::runtime_error("KWin has not come back: " + seat.err());
  }
}

void KWinSession::requestActive(uint32_t window) const {
  for (const json& told : windowsOf(*this)) {
    if (idOf(told) == window) {
      run({JUMPLARK_KWIN_LOOK, "activate", told.at("id")});
    }
  }
}

std::vector<uint32_t> KWinSession::pixels(const PixelRect& rect) const {
  const std::string picture = folder() + "/picture.ppm";
  const Finished taken = run({JUMPLARK_KWIN_LOOK, "picture", std::to_string(rect.x), std::to_string(rect.y),
                              std::to_string(rect.width), std::to_string(rect.height), picture});
  if (taken.status != 0) {
    throw std::runtime_error(taken.err);
  }
  return colours(picture, rect.width, rect.height);
}

void KWinSession::moveActiveWindow(int x, int y) {
  std::ostringstream script;
  script << "var c = workspace.activeClient || workspace.activeWindow, r = c.frameGeometry; c.frameGeometry = {x: " << x
         << ", y: " << y << ", width: r.width, height: r.height}; return true;";
  ask(script.str());
}

std::string KWinSession::ask(const std::string& script) const {
  const Finished told = run({JUMPLARK_KWIN_LOOK, "run", script});
  if (told.status != 0) {
    throw std::runtime_error("KWin does not answer: " + told.err);
  }
  return told.out;
}

bool KWinSession::isFree(int key) const {
  return run({JUMPLARK_KWIN_LOOK, "free", std::to_string(key)}).status == 0;
}

Arguments KWinSession::commandOf(const Arguments& arguments) const {
  Arguments command = arguments;
  // KWin reads the whole file of each program that connects to it, and waits for that: one with all that a debugger
  // wants takes a second.
  if (command.front() == JUMPLARK_PROGRAM) {
    command.front() = JUMPLARK_STRIPPED_PROGRAM;
  }
  return WaylandSession::commandOf(command);
}

}  // namespace jumplark::desktop
