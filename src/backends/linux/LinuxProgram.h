#pragma once

#include <memory>
#include <string>

#include "platform/Platform.h"

namespace jumplark {

class QtMainLoop;
class SystemQueues;

/// The real platform of a Linux desktop with everything that the program in the background needs besides: windows,
/// settings, keyboard layouts, global shortcuts, and the event loop in which they live. Main thread only.
class LinuxProgram {
 public:
  struct Opened {
    /// Null when there is no display. When only the accessibility of other programs is out of reach, a program that
    /// can show messages: DesktopServices says that access is not granted, and accessibility, workspace and input are
    /// null.
    std::unique_ptr<LinuxProgram> program;
    std::string error;  ///< one sentence: what is missing and what to do about it; empty when nothing is
  };
  /// Reaches the desktop that the environment names and makes the QApplication, so once a process. The queues outlive
  /// it.
  static Opened open(SystemQueues& queues);

  LinuxProgram(const LinuxProgram&) = delete;
  LinuxProgram& operator=(const LinuxProgram&) = delete;
  /// Every window of the core must have gone before.
  ~LinuxProgram();

  /// From now on a crash leaves a report, once a process; where none can be left the log says why.
  void installCrashHandlers();

  /// The desktop has come to offer more than what this object was made for: whoever ends starts the program again.
  bool wantsToStartAnew() const;

  /// To be asked when the toolkit ends this process because the display has gone: waits for another one in its place,
  /// twenty seconds at most. If it comes, whoever ends starts the program again.
  bool awaitDisplay();

  const Platform& platform() const { return platform_; }
  QtMainLoop& loop();

 private:
  struct Parts;
  explicit LinuxProgram(std::unique_ptr<Parts> parts);

  std::unique_ptr<Parts> parts_;
  Platform platform_;
};

}  // namespace jumplark
