#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "platform/FileStore.h"

namespace jumplark {

/// Files in memory. Safe on any thread.
class RecordedFiles : public FileStore {
 public:
  Folder applicationSupportDirectory() override;
  Contents read(const std::string& path) override;
  std::string replace(const std::string& path, const std::string& text) override;
  std::string remove(const std::string& path) override;

  /// For tests: what a file holds, none when it is not there.
  std::optional<std::string> contents(const std::string& path) const;
  void put(const std::string& path, const std::string& text);
  /// From now on nothing can be read (as on a broken disk) or changed (as on a read-only one), or there is no folder.
  void setReadable(bool readable);
  void setWritable(bool writable);
  void setHasFolder(bool hasFolder);

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::string> files_;
  bool readable_ = true;
  bool writable_ = true;
  bool hasFolder_ = true;
};

}  // namespace jumplark
