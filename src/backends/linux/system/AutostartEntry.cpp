#include "backends/linux/system/AutostartEntry.h"

#include <sstream>
#include <string_view>
#include <system_error>

#include "backends/linux/system/WholeFile.h"

namespace jumplark {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSpace = " \t\r";

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

void readLine(const std::string& line, AutostartEntry& entry) {
  const size_t equals = line.find('=');
  if (equals == std::string::npos) {
    return;
  }
  const std::string key = line.substr(0, line.find_last_not_of(kSpace, equals - 1) + 1);
  const size_t begin = line.find_first_not_of(kSpace, equals + 1);
  const size_t end = line.find_last_not_of(kSpace);
  const std::string value = begin == std::string::npos ? std::string() : line.substr(begin, end + 1 - begin);
  if (key == "Exec") {
    entry.command = firstWord(unescaped(value));
  } else if (key == "TryExec") {
    entry.required = unescaped(value);
  } else if (key == "OnlyShowIn") {
    entry.onlyIn = value;
  } else if (key == "NotShowIn") {
    entry.notIn = value;
  } else if (key == AutostartEntry::mark) {
    entry.isOurs = value == "true";
  } else if ((key == "Hidden" && value == "true") || (key == "X-GNOME-Autostart-enabled" && value == "false")) {
    entry.isOn = false;
  }
}

bool lists(const std::string& desktops, const std::string& name) {
  std::istringstream all(desktops);
  for (std::string desktop; std::getline(all, desktop, ';');) {
    if (desktop == name) {
      return true;
    }
  }
  return false;
}

}  // namespace

AutostartEntry AutostartEntry::read(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::symlink_status(path, error);
  AutostartEntry entry;
  entry.exists = fs::exists(status);
  if (!entry.exists) {
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
  entry.isOurs = entry.isOurs && fs::is_regular_file(status);
  return entry;
}

bool AutostartEntry::isForDesktop(const std::string& names) const {
  std::istringstream all(names);
  for (std::string name; std::getline(all, name, ':');) {
    if (lists(onlyIn, name)) {
      return true;
    }
    if (lists(notIn, name)) {
      return false;
    }
  }
  return onlyIn.empty();
}

std::string quotedForExec(const std::string& path) {
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

}  // namespace jumplark
