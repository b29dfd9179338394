#pragma once

#include <filesystem>
#include <string>

namespace jumplark {

/// What an autostart file says, as far as it decides whether a session starts what it names. A file that cannot be read
/// exists and starts nothing; in a folder that is closed there is none.
struct AutostartEntry {
  /// Key of this program's own files.
  static constexpr const char* mark = "X-Jumplark-LoginItem";

  bool exists = false;   ///< something has that name
  bool isOurs = false;   ///< it carries the mark, and is no link to what somebody keeps elsewhere
  bool isOn = false;     ///< nobody has hidden it or switched it off
  std::string command;   ///< the first word of Exec, unquoted
  std::string required;  ///< the program of TryExec, without which it starts nothing; may be empty
  std::string onlyIn;    ///< desktops between semicolons, as in OnlyShowIn; empty for all
  std::string notIn;     ///< the same of NotShowIn

  static AutostartEntry read(const std::filesystem::path& path);

  /// Whether it is for the desktop that the names stand for, as in XDG_CURRENT_DESKTOP: the first one that a list names
  /// decides.
  bool isForDesktop(const std::string& names) const;
};

/// A path as the key Exec holds it, quoted once for the key and once more as a string of the file.
std::string quotedForExec(const std::string& path);

}  // namespace jumplark
