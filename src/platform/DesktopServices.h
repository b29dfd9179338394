#pragma once

#include <string>
#include <vector>

namespace jumplark {

/// What the desktop does for a program besides windows: opening pages and its own settings, and telling how it stands.
class DesktopServices {
 public:
  struct HealthFinding {
    enum class Level { ok, warning, failure };
    Level level = Level::ok;  ///< failure: the program cannot work; warning: something will be missing
    std::string name;         ///< what was looked at
    std::string finding;
    std::string remedy;  ///< what the user can do; empty when all is well
  };

  virtual ~DesktopServices() = default;
  /// Whether other programs' interfaces may be read and operated.
  virtual bool isAccessibilityGranted() = 0;
  /// Opens an address (https, http, mailto, or a file of this machine) in the program the user has for it; false when
  /// there is none. Main thread only.
  virtual bool openURL(const std::string& url) = 0;
  /// Opens the desktop's own settings for accessibility; false when it has none. Main thread only.
  virtual bool openAccessibilitySettings() = 0;
  /// The documentation that was installed with the program, as an address; empty when there is none.
  virtual std::string installedDocumentation() = 0;
  /// Looks at everything the program needs and changes nothing. May take seconds; any thread.
  virtual std::vector<HealthFinding> checkHealth() = 0;
};

}  // namespace jumplark
