#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "backends/linux/system/JsonFile.h"
#include "backends/threads/DefaultsObservers.h"
#include "platform/Defaults.h"

namespace jumplark {

class FolderWatch;

/// The user's settings in one JSON file, which people and other programs may edit at any time; what they change is
/// noticed at once. Each change made here is written a moment later by a thread of its own (synchronize() writes now),
/// key by key into what the file then holds, so that no key that somebody else wrote is lost; of two values for one
/// key the later written one stays. The folder and the file are made for the user alone.
///
/// A file that is no JSON object is set aside under another name, and said so in the log: at the start no value is
/// stored then, later the file is written anew with the values that held. Where the file cannot be read or written (no
/// permission, disk full) the values are kept in memory, the log says so once, and each later change tries again.
class DefaultsFile : public Defaults {
 public:
  /// `jumplark/defaults.json` in the user's configuration folder: $XDG_CONFIG_HOME, else ~/.config. Paths of the
  /// environment count only when they are absolute, as the XDG rules for base directories demand. An empty path
  /// when the user has no home.
  static std::filesystem::path pathFromEnvironment();

  /// Reads the file. A file that is a symbolic link stays one: the file it points to is replaced. With an empty path
  /// nothing outlives this object. The queues outlive it and its tokens.
  DefaultsFile(Queues& queues, const std::filesystem::path& path);
  DefaultsFile(const DefaultsFile&) = delete;
  DefaultsFile& operator=(const DefaultsFile&) = delete;
  /// Writes what is not yet written.
  ~DefaultsFile() override;

  DefaultsValue value(const std::string& key) override;
  void setValue(const std::string& key, DefaultsValue value) override;
  void registerDefaults(const std::map<std::string, DefaultsValue>& values) override;
  bool synchronize() override;
  Token observe(const std::string& key, Observer observer) override;
  Token observeProblems(const std::function<void(const std::string& problem)>& told) override;

 private:
  /// A change that is not in the file yet; a null value removes the key.
  struct Change {
    DefaultsValue value;
    uint64_t number = 0;
  };
  using Changes = std::map<std::string, Change>;

  DefaultsValue valueLocked(const std::string& key) const;
  bool exchange();
  bool mendFile(const JsonFile::Contents& contents);
  bool store(const nlohmann::json& base, const Changes& changes, bool always);
  void adopt(nlohmann::json contents, const Changes& written);
  bool fail(const char* what, const std::string& problem);
  void tell(const std::string& problem);
  Changes pendingChanges() const;

  DefaultsObservers observers_;
  const JsonFile file_;

  std::mutex fileMutex_;  ///< held while the file is read or written
  bool wasRead_ = false;
  bool failureLogged_ = false;

  mutable std::mutex mutex_;
  nlohmann::json contents_ = nlohmann::json::object();  ///< of the file, as last read or written
  Changes pending_;
  std::map<std::string, DefaultsValue> registered_;
  uint64_t lastNumber_ = 0;
  std::vector<std::string> untold_;  ///< problems that nobody observed yet
  bool isTold_ = false;              ///< somebody observes problems

  std::unique_ptr<FolderWatch> watch_;
};

}  // namespace jumplark
