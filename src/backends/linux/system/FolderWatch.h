#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

#include "backends/linux/system/FileDescriptor.h"

namespace jumplark {

/// Watches one file by the folder that it lies in, so that it is seen whether a program writes it, renames another one
/// over it, or removes it; or all files of a folder. A thread of its own sleeps until something happens: there is no
/// polling.
class FolderWatch {
 public:
  /// A folder that is not there, or goes away, is made anew (0700), so that the watch lasts; or nothing is watched
  /// then.
  enum class Missing { make, leave };

  /// No file name stands for every file.
  /// `onChange` is called on the watch's thread: once at first, after every change of the file, and after every poke().
  /// Changes that come quickly one after another may be told of together. It must not throw.
  FolderWatch(std::filesystem::path folder, std::string fileName, std::function<void()> onChange,
              Missing missing = Missing::make);
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;
  /// Waits for a running call; none comes afterwards. Not to be destroyed by its own call.
  ~FolderWatch();

  /// Makes the thread call; from any thread.
  void poke();

 private:
  void run();
  bool watchFolder();
  bool takeEvents();

  std::filesystem::path folder_;
  std::string fileName_;
  std::function<void()> onChange_;
  const Missing missing_;
  FileDescriptor wake_;
  FileDescriptor notify_;
  int watch_ = -1;
  bool warned_ = false;
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

}  // namespace jumplark
