#include "backends/linux/system/AutostartFile.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "backends/linux/system/FolderWatch.h"
#include "backends/linux/system/WholeFile.h"
#include "backends/threads/GuardedCallback.h"
#include "platform/Queues.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

namespace fs = std::filesystem;

constexpr const char* kMark = "X-Jumplark-LoginItem";
/// The second one where the first is somebody else's.
constexpr std::array kFileNames = {"jumplark.desktop", "jumplark-login.desktop"};

struct Entry {
  bool exists = false;
  bool isOurs = false;
  bool isOn = false;
  std::string command;  ///< the first word of Exec, unquoted
};

/// A value of the kind "string", without its escapes.
std::string unescaped(std::string_view value) {
  std::string text;
  for (size_t i = 0; i < value.size(); ++i) {
    if (value[i] == '\\' && i + 1 < value.size()) {
      const char c = value[++i];
      text += c == 's' ? ' ' : c == 't' ? '\t' : c == 'n' ? '\n' : c == 'r' ? '\r' : c;
    } else {
      text += value[i];
    }
  }
  return text;
}

/// The first word of the key Exec, by the quoting rules of XDG desktop entries.
std::string firstWord(const std::string& exec) {
  std::string word;
  const bool quoted = exec.starts_with('"');
  for (size_t i = quoted ? 1 : 0; i < exec.size(); ++i) {
    const char c = exec[i];
    if (quoted ? c == '"' : c == ' ' || c == '\t') {
      break;
    }
    const bool escape = (quoted && c == '\\') || (c == '%' && i + 1 < exec.size() && exec[i + 1] == '%');
    if (escape && i + 1 < exec.size()) {
      ++i;
    }
    word += exec[i];
  }
  return word;
}

void readLine(const std::string& line, Entry& entry) {
  const size_t equals = line.find('=');
  if (equals == std::string::npos) {
    return;
  }
  const std::string key = line.substr(0, line.find_last_not_of(" \t", equals - 1) + 1);
  const size_t begin = line.find_first_not_of(" \t", equals + 1);
  const std::string value = begin == std::string::npos ? std::string() : line.substr(begin);
  if (key == "Exec") {
    entry.command = firstWord(unescaped(value));
  } else if (key == kMark) {
    entry.isOurs = value == "true";
  } else if ((key == "Hidden" && value == "true") || (key == "X-GNOME-Autostart-enabled" && value == "false")) {
    entry.isOn = false;
  }
}

Entry readEntry(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::symlink_status(path, error);
  Entry entry;
  entry.exists = status.type() != fs::file_type::not_found;
  if (!fs::exists(status)) {
    return entry;
  }
  const WholeFile file = readWholeFile(path);
  if (file.state != WholeFile::State::read) {
    return entry;
  }
  entry.isOn = true;
  std::istringstream lines(file.text);
  bool inGroup = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with('[')) {
      inGroup = line.starts_with("[Desktop Entry]");
    } else if (inGroup) {
      readLine(line, entry);
    }
  }
  // Behind a link lies a file that somebody keeps elsewhere.
  entry.isOurs = entry.isOurs && fs::is_regular_file(status);
  return entry;
}

bool starts(const Entry& entry, const fs::path& program) {
  return entry.isOn && fs::path(entry.command).filename() == program.filename();
}

std::string quoted(const std::string& path) {
  std::string result = "\"";
  for (const char c : path) {
    if (c == '"' || c == '`' || c == '$') {
      result += "\\\\";
    } else if (c == '\\') {
      result += "\\\\\\";
    } else if (c == '%') {
      result += '%';
    }
    result += c;
  }
  return result + '"';
}

bool isProgram(const fs::path& path) {
  return ::access(path.c_str(), X_OK) == 0;
}

}  // namespace

fs::path AutostartFile::folderFromEnvironment() {
  const fs::path folder = userFolder("XDG_CONFIG_HOME", ".config");
  return folder.empty() ? folder : folder / "autostart";
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

AutostartFile::AutostartFile(Queues& queues, fs::path folder, fs::path program, std::string searchPath)
    : queues_(queues), folder_(std::move(folder)), program_(std::move(program)), searchPath_(std::move(searchPath)) {
  if (!folder_.empty() && !program_.empty()) {
    mend();
  }
}

void AutostartFile::mend() const {
  for (const char* name : kFileNames) {
    const Entry entry = readEntry(folder_ / name);
    const bool leadsNowhere = entry.command.starts_with('/') && !isProgram(entry.command);
    if (entry.isOurs && entry.isOn && leadsNowhere) {
      if (const std::string problem = write(folder_ / name); !problem.empty()) {
        spdlog::warn("{}: {}", (folder_ / name).string(), problem);
      }
    }
  }
}

bool AutostartFile::isSet() {
  for (const char* name : kFileNames) {
    if (starts(readEntry(folder_ / name), program_)) {
      return true;
    }
  }
  return false;
}

std::optional<fs::path> AutostartFile::freePlace() const {
  for (const char* name : kFileNames) {
    const Entry entry = readEntry(folder_ / name);
    if (!entry.exists || entry.isOurs) {
      return folder_ / name;
    }
  }
  return std::nullopt;
}

std::string AutostartFile::set(bool on) {
  if (folder_.empty() || program_.empty()) {
    return localized("There is no folder for programs that start at login.");
  }
  if (on) {
    if (isSet()) {
      return {};
    }
    const auto place = freePlace();
    return place ? write(*place)
                 : localizedFormat("The files of that name in {} were not made by Jumplark.", folder_.string());
  }
  for (const char* name : kFileNames) {
    const fs::path path = folder_ / name;
    const Entry entry = readEntry(path);
    if (entry.isOurs && ::unlink(path.c_str()) != 0 && errno != ENOENT) {
      return fmt::format("{}: {}", path.string(), std::generic_category().message(errno));
    }
    if (!entry.isOurs && starts(entry, program_)) {
      return localizedFormat("{} starts Jumplark, but was not made by it. Remove it by hand.", path.string());
    }
  }
  return {};
}

bool AutostartFile::isFoundByName() const {
  std::istringstream folders(searchPath_);
  for (std::string folder; std::getline(folders, folder, ':');) {
    const fs::path found = fs::path(folder) / program_.filename();
    if (!folder.starts_with('/') || !isProgram(found)) {
      continue;
    }
    std::error_code error;
    return fs::equivalent(found, program_, error);
  }
  return false;
}

std::string AutostartFile::command() const {
  return isFoundByName() ? program_.filename().string() : quoted(program_.string());
}

std::string AutostartFile::write(const fs::path& path) const {
  if (program_.string().find_first_of("\n\r") != std::string::npos) {
    return localized("The path of the program holds a line break, which no autostart file can.");
  }
  if (std::string problem = makePrivateFolders(folder_); !problem.empty()) {
    return problem;
  }
  return replaceWholeFile(path, fmt::format("[Desktop Entry]\n"
                                            "Type=Application\n"
                                            "Name=Jumplark\n"
                                            "Comment=Operate any application from the keyboard\n"
                                            "Icon=jumplark\n"
                                            "Exec={}\n"
                                            "Terminal=false\n"
                                            "{}=true\n",
                                            command(), kMark));
}

Token AutostartFile::observe(std::function<void()> changed) {
  if (folder_.empty()) {
    return {};
  }
  auto callback = std::make_shared<GuardedCallback<>>(std::move(changed));
  auto watch =
      std::make_shared<FolderWatch>(folder_, kFileNames[0], [&queues = queues_, weak = std::weak_ptr(callback)] {
        queues.mainQueue().post([&queues, weak] {
          if (const auto alive = weak.lock()) {
            alive->call(queues);
          }
        });
      });
  return Token([callback, watch]() mutable {
    watch.reset();
    callback->end();
  });
}

}  // namespace jumplark
