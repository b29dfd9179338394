#include "backends/linux/x11/SettingsOfTitleBars.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>

#include "backends/linux/session_bus/SessionBus.h"

namespace jumplark::x11 {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kPatience = std::chrono::milliseconds(300);
constexpr auto kRemembered = std::chrono::minutes(5);
constexpr const char* kXfceDefault = "O|SHMC";
constexpr const char* kOpenboxDefault = "NLIMC";

std::string xfceSetting() {
  const auto deadline = Clock::now() + kPatience;
  SessionBus bus({}, deadline);
  const auto answer = bus.call(
      {"org.xfce.Xfconf", "/org/xfce/Xfconf", "org.xfce.Xfconf"}, "GetProperty",
      [](sd_bus_message* question) { return sd_bus_message_append(question, "ss", "xfwm4", "/general/button_layout"); },
      deadline);
  const std::string set = answer.values.at(0).inner().text;
  return set.empty() ? kXfceDefault : set;
}

/// The text of the first element of this name in an XML file; empty without one.
std::string elementIn(const std::filesystem::path& file, const std::string& name) {
  std::ifstream stream(file);
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  const size_t start = text.find("<" + name + ">");
  const size_t end = text.find("</" + name + ">", start);
  const size_t begin = start + name.size() + 2;
  return end == std::string::npos ? std::string() : text.substr(begin, end - begin);
}

std::string openboxSetting() {
  const char* const own = std::getenv("XDG_CONFIG_HOME");
  const char* const home = std::getenv("HOME");
  const std::filesystem::path folder = own && *own ? own : std::filesystem::path(home ? home : "/") / ".config";
  for (const auto& file : {folder / "openbox/rc.xml", std::filesystem::path("/etc/xdg/openbox/rc.xml")}) {
    if (std::filesystem::exists(file)) {
      const std::string set = elementIn(file, "titleLayout");
      return set.empty() ? kOpenboxDefault : set;
    }
  }
  return kOpenboxDefault;
}

/// What a command prints, until it ends or the patience does; it does not outlive that.
std::string printedBy(std::array<const char*, 5> command) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) {
    return {};
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = -1;
  const int failure =
      ::posix_spawnp(&child, command[0], &actions, nullptr, const_cast<char* const*>(command.data()), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(ends[1]);
  std::string printed;
  const auto deadline = Clock::now() + kPatience;
  for (bool goesOn = failure == 0; goesOn;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd readable{ends[0], POLLIN, 0};
    std::array<char, 256> part{};
    const bool isThere = left > 0 && ::poll(&readable, 1, static_cast<int>(left)) > 0;
    const ssize_t count = isThere ? ::read(ends[0], part.data(), part.size()) : 0;
    goesOn = count > 0;
    printed.append(part.data(), goesOn ? static_cast<size_t>(count) : 0);
  }
  ::close(ends[0]);
  if (failure == 0) {
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
  }
  return printed;
}

/// The settings' own library would have to be loaded to ask them, so that their program is asked.
std::string gsetting(const char* schema) {
  std::string printed = printedBy({"gsettings", "get", schema, "button-layout", nullptr});
  std::erase_if(printed, [](char c) { return c == '\'' || c == '"' || c == '\n'; });
  return printed;
}

TitleBarLayout readLayout(const std::string& name) {
  std::optional<TitleBarLayout> layout;
  if (name == "Xfwm4") {
    layout = layoutOfLetters(xfceSetting(), "CHM", '|');
  } else if (name == "Openbox") {
    layout = layoutOfLetters(openboxSetting(), "CIM", 'L');
  } else if (name.find("Marco") != std::string::npos) {
    layout = layoutOfWords(gsetting("org.mate.Marco.general"));
  } else if (name.find("Muffin") != std::string::npos) {
    layout = layoutOfWords(gsetting("org.cinnamon.desktop.wm.preferences"));
  } else if (name.find("Mutter") != std::string::npos || name == "Metacity" || name == "GNOME Shell") {
    layout = layoutOfWords(gsetting("org.gnome.desktop.wm.preferences"));
  }
  return layout.value_or(usualLayout());
}

}  // namespace

// Remembered for a while: this is asked for with every snapshot, and whoever keeps the settings may answer late or
// never.
TitleBarLayout layoutOfWindowManager(const std::string& name) {
  struct Known {
    TitleBarLayout layout;
    Clock::time_point until;
  };
  static std::mutex mutex;
  static std::map<std::string, Known> known;
  const std::lock_guard lock(mutex);
  const auto found = known.find(name);
  if (found != known.end() && Clock::now() < found->second.until) {
    return found->second.layout;
  }
  TitleBarLayout layout = readLayout(name);
  known.insert_or_assign(name, Known{layout, Clock::now() + kRemembered});
  return layout;
}

}  // namespace jumplark::x11
