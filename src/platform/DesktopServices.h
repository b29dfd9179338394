#pragma once

#include <cstdint>
#include <functional>
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
  /// Opens an address (https, http or mailto) or a file, given by its absolute path, in the program the user has for
  /// it. `done` is called once, before this returns or later: false when there is no such program, or none that works.
  /// Main thread only.
  virtual void openURL(const std::string& url, std::function<void(bool opened)> done) = 0;
  /// Opens the desktop's own settings for accessibility; false when it has none. Main thread only.
  virtual bool openAccessibilitySettings() = 0;
  /// Shows a sentence in passing, as the desktop does it for its programs; nothing where it has no way. Does not wait.
  /// Main thread only.
  virtual void notify(const std::string& text) = 0;
  /// The path of the guide that was installed with the program; empty when there is none.
  virtual std::string installedDocumentation() = 0;
  /// Looks at everything the program needs and changes nothing. May take seconds; any thread.
  virtual std::vector<HealthFinding> checkHealth() = 0;
  /// What the user can do so that an application of which the last snapshot holds nothing shows something: one or more
  /// sentences; empty when nothing is known. For any thread but the main one.
  virtual std::string adviceForSilence(int32_t pid) = 0;
};

}  // namespace jumplark
