#pragma once

#include <filesystem>
#include <string>

#include "backends/linux/system/FileDescriptor.h"

namespace jumplark {

/// Where the running instance of one user on one X display is found. The lock file says whether there is one: the
/// instance holds a lock on it for as long as it lives, and the kernel drops the lock however it ends. Only its holder
/// makes and removes the socket, so that one which a killed instance left is safely replaced.
struct InstancePlace {
  std::filesystem::path socket;
  std::filesystem::path lock;
  std::string problem;  ///< why there is no such place; then the paths are empty

  /// In the folder `jumplark` of $XDG_RUNTIME_DIR, or, where that is not set or not the user's own, in the folder
  /// `jumplark-UID` of the temporary directory; made for the user alone. DISPLAY names the display (its screen does
  /// not matter).
  static InstancePlace fromEnvironment();
  /// In a folder that is the user's own.
  static InstancePlace inFolder(const std::filesystem::path& folder, const std::string& display);

  /// Takes the lock, without waiting; none while another process holds it, or on an error (`problem` says which).
  FileDescriptor takeLock(std::string& problem) const;
  /// Whether some process holds the lock.
  bool isLocked() const;
};

}  // namespace jumplark
