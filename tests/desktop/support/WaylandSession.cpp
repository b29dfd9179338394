#include "desktop/support/WaylandSession.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "desktop/support/GnomeSession.h"
#include "desktop/support/KWinSession.h"
#include "desktop/support/SwaySession.h"

namespace jumplark::desktop {

std::unique_ptr<PrivateSession> openSession(const SessionOptions& options) {
  switch (options.windowManager) {
    case WindowManager::sway:
      return std::make_unique<SwaySession>(options);
    case WindowManager::kwin:
      return std::make_unique<KWinSession>(options);
    case WindowManager::gnome:
      return std::make_unique<GnomeSession>(options);
    case WindowManager::weston:
      return std::make_unique<WaylandSession>(options);
    default:
      return std::make_unique<PrivateSession>(options);
  }
}

Process& WaylandSession::start(const Arguments& arguments, const Environment& extra) {
  namespace files = std::filesystem;
  struct stat owner {};
  stat(environment().at("HOME").c_str(), &owner);
  std::error_code error;
  for (files::recursive_directory_iterator entry(folder(), error), end; !error && entry != end;
       entry.increment(error)) {
    // What vanishes meanwhile needs no owner.
    [[maybe_unused]] const int result = lchown(entry->path().c_str(), owner.st_uid, owner.st_gid);
  }
  return PrivateSession::start(arguments, extra);
}

void WaylandSession::press(const Arguments& names) {
  Arguments arguments = {"key"};
  arguments.insert(arguments.end(), names.begin(), names.end());
  seat(arguments);
}

void WaylandSession::click(int x, int y, const std::string& button) {
  seat({"click", std::to_string(x), std::to_string(y), button == "3" ? "right" : "left"});
}

Arguments WaylandSession::commandOf(const Arguments& arguments) const {
  const auto user = environment().find("JUMPLARK_SESSION_USER");
  if (user == environment().end()) {
    return arguments;
  }
  Arguments command = {"setpriv", "--reuid=" + user->second, "--regid=" + environment().at("JUMPLARK_SESSION_GROUP"),
                       "--clear-groups", "--"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

void WaylandSession::seat(const Arguments& arguments) const {
  Arguments command = {JUMPLARK_WAYLAND_SEAT_SCRIPT};
  command.insert(command.end(), arguments.begin(), arguments.end());
  const Finished done = run(command);
  if (done.status != 0) {
    throw std::runtime_error("no key or pointer: " + done.err);
  }
}

std::vector<uint32_t> WaylandSession::colours(const std::string& picture, int width, int height) {
  std::ifstream file(picture, std::ios::binary);
  std::string kind;
  int across = 0;
  int down = 0;
  int most = 0;
  file >> kind >> across >> down >> most;
  file.get();
  if (!file || across != width || down != height) {
    throw std::runtime_error(picture + " is no picture of a pixel a point");
  }
  std::vector<uint32_t> colours(static_cast<size_t>(width) * static_cast<size_t>(height));
  for (uint32_t& colour : colours) {
    for (int part = 0; part < 3; ++part) {
      colour = colour << 8U | static_cast<uint32_t>(file.get());
    }
  }
  return colours;
}

}  // namespace jumplark::desktop
