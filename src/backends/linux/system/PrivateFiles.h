#pragma once

#include <filesystem>

#include "platform/FileStore.h"

namespace jumplark {

/// The program's own files below one folder of the user's.
class PrivateFiles : public FileStore {
 public:
  /// `jumplark` in the user's data folder: $XDG_DATA_HOME, else ~/.local/share. Empty when the user has no home.
  static std::filesystem::path folderFromEnvironment();

  /// Nothing is made before it is asked for.
  explicit PrivateFiles(std::filesystem::path folder) : folder_(std::move(folder)) {}

  /// None when it is somebody else's, or cannot be closed to others.
  Folder applicationSupportDirectory() override;
  Contents read(const std::string& path) override;
  std::string replace(const std::string& path, const std::string& text) override;
  std::string remove(const std::string& path) override;

 private:
  std::filesystem::path folder_;
};

}  // namespace jumplark
