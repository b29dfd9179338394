#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Geometry.h"

namespace jumplark {

/// A running application that has an interface.
struct RunningApplication {
  int32_t pid = -1;
  std::string bundleIdentifier;  ///< the desktop-file id on Linux; may be empty
  std::string name;              ///< as a person would call it
  bool operator==(const RunningApplication&) const = default;
};

/// What a person may call a running application; some may be empty, and the same.
struct ApplicationNames {
  std::vector<std::string> own;
  /// Of other applications that its program is when it is started otherwise: an office's calculator and its drawings.
  std::vector<std::string> ofItsProgram;
};

/// Option of Workspace::activate: bring the application in front even if the user is working in another.
inline constexpr uint32_t kActivateIgnoringOtherApps = 2;

/// The bundle identifier under which the panel (dock) is found.
inline constexpr const char* kDockBundleIdentifier = "com.apple.dock";

/// The bundle identifier of this program.
inline constexpr const char* kOwnBundleIdentifier = "jumplark";

/// The applications that are running and which of them is in front. Calls may come from any thread and never wait for
/// an application.
class Workspace {
 public:
  virtual ~Workspace() = default;

  virtual std::optional<RunningApplication> frontmostApplication() = 0;
  /// Why none can be told of at the moment, one sentence; empty where there simply is none.
  virtual std::string whyNoneIsTold() { return {}; }
  /// The applications with windows on screen, the front one first, each once.
  virtual std::vector<RunningApplication> applicationsFrontToBack() = 0;
  virtual std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(const std::string& identifier) = 0;
  virtual std::optional<RunningApplication> runningApplicationWithPid(int32_t pid) = 0;
  /// Those that are known without asking it, also when it shows another one at the moment.
  virtual ApplicationNames namesOf(const RunningApplication& application) {
    return {{application.bundleIdentifier, application.name}, {}};
  }
  /// The frame of the application's focused window; none when it has no window. Bottom-left origin, in points.
  virtual std::optional<Rect> focusedWindowFrame(int32_t pid) {
    static_cast<void>(pid);
    return std::nullopt;
  }
  /// Asks for the application to come to the front; false when it is not there.
  virtual bool activate(int32_t pid, uint32_t options) = 0;
};

}  // namespace jumplark
