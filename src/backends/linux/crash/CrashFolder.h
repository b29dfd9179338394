#pragma once

#include <filesystem>
#include <string>

#include "backends/linux/system/FileDescriptor.h"
#include "platform/CrashReports.h"

namespace jumplark {

/// The folder of crash reports. Those that the handlers write wait in it as "NAME.raw"; taken ones stay as "NAME.txt",
/// a few of them, for the user to find. Other files are left alone. Nothing in the folder is trusted: links, foreign
/// and oversized files are passed over.
class CrashFolder : public CrashReports {
 public:
  /// At most so many of each kind are held; the oldest go first.
  static constexpr size_t kMostReports = 5;

  /// `jumplark/crashes` in the user's state folder: $XDG_STATE_HOME, else ~/.local/state. Empty when the user has no
  /// home.
  static std::filesystem::path pathFromEnvironment();

  explicit CrashFolder(std::filesystem::path path) : path_(std::move(path)) {}

  /// The folder, open, for the user alone (0700) and made where it is missing. None when it is somebody else's, a link,
  /// or cannot be made; `problem` says so then.
  FileDescriptor open(std::string& problem) const;

  /// Without the names of functions when reading those has ended the program before. What cannot be read is logged.
  std::vector<CrashReport> takeNew() override;

 private:
  std::filesystem::path path_;
};

}  // namespace jumplark
