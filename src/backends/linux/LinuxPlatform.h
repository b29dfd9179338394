#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "backends/linux/system/DesktopCheck.h"
#include "backends/linux/windows/DesktopBackend.h"
#include "platform/Platform.h"
#include "platform/Workspace.h"

namespace jumplark {

class Queues;

/// The real platform of a Linux desktop: windows, screens and input of its window system, elements of the accessibility
/// bus.
class LinuxPlatform {
 public:
  struct Opened {
    std::unique_ptr<LinuxPlatform> platform;  ///< null when the desktop is out of reach
    std::string error;                        ///< one sentence: what is missing and what to do about it
  };
  /// Connects to the window system and the accessibility bus that the environment names, and switches accessibility on.
  /// The queues outlive the platform.
  static Opened open(Queues& queues);
  /// The same on a window system that is there.
  static Opened open(Queues& queues, std::shared_ptr<DesktopBackend> backend);

  LinuxPlatform(const LinuxPlatform&) = delete;
  LinuxPlatform& operator=(const LinuxPlatform&) = delete;
  ~LinuxPlatform();

  const Platform& platform() const { return platform_; }
  /// The name of the application in front if something lies open over its window; else empty.
  std::string applicationWithOpenMenu();
  /// Makes the calling thread do `work` every now and then while it waits for an application, until the token is
  /// destroyed on it. Work must be short and wait for nothing.
  Token workWhileWaiting(std::function<void()> work);
  /// The shortcut may be pressed at any moment: begins to read what is open. Returns at once, on any thread.
  void shortcutMayCome();
  /// An open menu that has the keyboard, or else pop-ups that show, are about to be closed: reads what can be chosen in
  /// them. Takes as long as the backend's menuPatience() at most, on any thread. True when menus are open that have no
  /// windows of their own.
  bool menuWillClose(bool hasKeyboard);
  bool isMenuTold();
  bool isMenuOpen(bool hasKeyboard);
  /// Learns how the application is best read and wakes its tree, ahead of the first snapshot.
  void applicationBecameActive(int32_t pid);
  /// Reads an application as a snapshot does, and says how that went.
  std::vector<DesktopCheck> readingChecks(const RunningApplication& application);
  /// What those say that the user can do, of the last snapshot; empty when there is nothing.
  std::string adviceForSilence(int32_t pid);

 private:
  struct Parts;
  explicit LinuxPlatform(std::unique_ptr<Parts> parts);

  std::unique_ptr<Parts> parts_;
  Platform platform_;
};

}  // namespace jumplark
