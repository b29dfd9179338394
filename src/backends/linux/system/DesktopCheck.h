#pragma once

#include <string>

namespace jumplark {

/// One finding about the desktop that the program runs on, for people to read, in their language.
struct DesktopCheck {
  enum Level { ok, warning, failure };
  /// Those that the program itself asks for again.
  enum class Subject { other, icon, accessibilitySwitch };

  std::string name;     ///< what was looked at
  Level level = ok;     ///< failure: the program cannot work; warning: something will be missing
  std::string finding;  ///< what was found
  std::string remedy;   ///< what the user can do; empty when all is well
  Subject subject = Subject::other;
};

}  // namespace jumplark
