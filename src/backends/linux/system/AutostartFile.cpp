#include "backends/linux/system/AutostartFile.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "backends/linux/system/AutostartEntry.h"
#include "backends/linux/system/FolderWatch.h"
#include "backends/linux/system/WholeFile.h"
#include "backends/threads/GuardedCallback.h"
#include "platform/Queues.h"
#include "platform/SystemErrors.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

namespace fs = std::filesystem;

/// The second one where the first is somebody else's.
constexpr std::array kFileNames = {"jumplark.desktop", "jumplark-login.desktop"};

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

bool isProgram(const fs::path& path) {
  return ::access(path.c_str(), X_OK) == 0;
}

std::string cannotChange(const fs::path& path, const std::string& reason) {
  return localizedFormat("{} cannot be changed: {}.", path.string(), reason);
}

std::string removeFile(const fs::path& path) {
  const bool gone = ::unlink(path.c_str()) == 0 || errno == ENOENT;
  return gone ? std::string() : cannotChange(path, textOfSystemError(errno));
}

}  // namespace

AutostartFile::Session AutostartFile::Session::fromEnvironment() {
  Session session;
  if (const fs::path folder = userFolder("XDG_CONFIG_HOME", ".config"); !folder.empty()) {
    session.folder = folder / "autostart";
  }
  const std::string listed = variable("XDG_CONFIG_DIRS");
  std::istringstream folders(listed.empty() ? "/etc/xdg" : listed);
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (folder.starts_with('/')) {
      session.systemFolders.push_back(fs::path(folder) / "autostart");
    }
  }
  session.searchPath = variable("PATH");
  session.desktops = variable("XDG_CURRENT_DESKTOP");
  return session;
}

fs::path AutostartFile::programFromSystem() {
  std::error_code error;
  std::string path = fs::read_symlink("/proc/self/exe", error).string();
  // What the kernel says once an upgrade has replaced the file.
  constexpr std::string_view kDeleted = " (deleted)";
  if (path.ends_with(kDeleted)) {
    path.resize(path.size() - kDeleted.size());
  }
  return path;
}

AutostartFile::AutostartFile(Queues& queues, Session session, fs::path program)
    : queues_(queues), session_(std::move(session)), program_(std::move(program)) {
  if (!session_.folder.empty() && !program_.empty()) {
    mend();
  }
}

void AutostartFile::mend() const {
  for (const char* name : kFileNames) {
    const AutostartEntry entry = usersEntry(name);
    const bool leadsNowhere = entry.command.starts_with('/') && !isProgram(entry.command);
    if (entry.isOurs && entry.isOn && leadsNowhere) {
      if (const std::string problem = write(session_.folder / name, false); !problem.empty()) {
        spdlog::warn("{}", problem);
      }
    }
  }
}

AutostartEntry AutostartFile::usersEntry(const char* name) const {
  return AutostartEntry::read(session_.folder / name);
}

AutostartEntry AutostartFile::systemsEntry(const char* name) const {
  for (const fs::path& folder : session_.systemFolders) {
    if (AutostartEntry entry = AutostartEntry::read(folder / name); entry.exists) {
      return entry;
    }
  }
  return {};
}

/// What a session runs for the first word of a command; empty when there is none.
fs::path AutostartFile::programNamed(const std::string& command) const {
  if (command.find('/') != std::string::npos) {
    return command.starts_with('/') && isProgram(command) ? fs::path(command) : fs::path();
  }
  std::istringstream folders(session_.searchPath);
  for (std::string folder; !command.empty() && std::getline(folders, folder, ':');) {
    if (fs::path found = fs::path(folder) / command; folder.starts_with('/') && isProgram(found)) {
      return found;
    }
  }
  return {};
}

bool AutostartFile::starts(const AutostartEntry& entry) const {
  const bool isWanted = entry.isOn && entry.isForDesktop(session_.desktops) &&
                        (entry.required.empty() || !programNamed(entry.required).empty());
  const fs::path started = isWanted ? programNamed(entry.command) : fs::path();
  std::error_code error;
  return !started.empty() && fs::equivalent(started, program_, error);
}

/// Whether this program may change the user's file: no other copy of it relies on that.
bool AutostartFile::isMine(const AutostartEntry& entry) const {
  const fs::path started = programNamed(entry.command);
  std::error_code error;
  return entry.isOurs && (started.empty() || fs::equivalent(started, program_, error));
}

bool AutostartFile::isSet() {
  for (const char* name : kFileNames) {
    const AutostartEntry users = usersEntry(name);
    if (starts(users.exists ? users : systemsEntry(name))) {
      return true;
    }
  }
  return false;
}

std::string AutostartFile::set(bool on) {
  if (session_.folder.empty() || program_.empty()) {
    return localized("There is no folder for programs that start at login.");
  }
  if (on) {
    return isSet() ? std::string() : switchOn();
  }
  for (const char* name : kFileNames) {
    if (std::string problem = switchOff(name); !problem.empty()) {
      return problem;
    }
  }
  return {};
}

std::string AutostartFile::switchOn() const {
  std::optional<fs::path> place;
  for (const char* name : kFileNames) {
    const AutostartEntry users = usersEntry(name);
    if (users.exists && isMine(users) && starts(systemsEntry(name))) {
      return removeFile(session_.folder / name);  // it only hides the system's
    }
    if (!place && (!users.exists || isMine(users))) {
      place = session_.folder / name;
    }
  }
  return place ? write(*place, false)
               : localizedFormat("The files of that name in {} were not made by Jumplark.", session_.folder.string());
}

std::string AutostartFile::switchOff(const char* name) const {
  const fs::path path = session_.folder / name;
  const AutostartEntry users = usersEntry(name);
  if (users.exists && !isMine(users)) {
    return starts(users)
               ? localizedFormat("{} starts Jumplark, but was not made by it. Remove it by hand.", path.string())
               : std::string();
  }
  if (starts(systemsEntry(name))) {
    return users.exists && !users.isOn ? std::string() : write(path, true);
  }
  return users.exists ? removeFile(path) : std::string();
}

std::string AutostartFile::command() const {
  const std::string name = program_.filename().string();
  const fs::path found = programNamed(name);
  std::error_code error;
  return !found.empty() && fs::equivalent(found, program_, error) ? name : quotedForExec(program_.string());
}

std::string AutostartFile::write(const fs::path& path, bool hidden) const {
  if (program_.string().find_first_of("\n\r") != std::string::npos) {
    return localized("The path of the program holds a line break, which no autostart file can.");
  }
  std::string problem = makePrivateFolders(session_.folder);
  if (problem.empty()) {
    problem = replaceWholeFile(path, fmt::format("[Desktop Entry]\n"
                                                 "Type=Application\n"
                                                 "Name=Jumplark\n"
                                                 "Comment={}\n"
                                                 "Icon=jumplark\n"
                                                 "Exec={}\n"
                                                 "Terminal=false\n"
                                                 "{}{}=true\n",
                                                 localized("Operate any application from the keyboard"), command(),
                                                 hidden ? "Hidden=true\n" : "", AutostartEntry::mark));
  }
  return problem.empty() ? problem : cannotChange(path, problem);
}

Token AutostartFile::observe(std::function<void()> changed) {
  if (session_.folder.empty()) {
    return {};
  }
  auto callback = std::make_shared<GuardedCallback<>>(std::move(changed));
  const auto happened = [&queues = queues_, weak = std::weak_ptr(callback)] {
    queues.mainQueue().post([&queues, weak] {
      if (const auto alive = weak.lock()) {
        alive->call(queues);
      }
    });
  };
  auto watches = std::make_shared<std::vector<std::unique_ptr<FolderWatch>>>();
  watches->push_back(std::make_unique<FolderWatch>(session_.folder, std::string(), happened));
  for (const fs::path& folder : session_.systemFolders) {
    watches->push_back(std::make_unique<FolderWatch>(folder, std::string(), happened, FolderWatch::Missing::leave));
  }
  return Token([callback, watches]() mutable {
    watches.reset();
    callback->end();
  });
}

}  // namespace jumplark
