#pragma once

#include <string>

namespace jumplark {

/// One thing that the program needs of the desktop, and how it stands. Texts are plain sentences for a person.
struct DesktopCheck {
  std::string name;
  enum class Level { ok, warning, failure } level = Level::ok;
  std::string finding;  ///< what was found
  std::string remedy;   ///< how to mend it; empty when nothing is to be mended
};

}  // namespace jumplark
