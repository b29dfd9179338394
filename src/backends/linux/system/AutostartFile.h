#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "platform/LoginItem.h"

namespace jumplark {

class Queues;

/// The start at login as an autostart file, by the XDG rules for autostart: `jumplark.desktop`
/// in the user's autostart folder. It carries a mark of its own. A file of that name without the mark is somebody
/// else's and is never changed; where it starts something else, the entry gets another name.
///
/// The file names the program plainly where that finds it, so that it lasts over upgrades, else by its path. When a
/// path leads nowhere any more, because the program was moved, the next start writes it anew.
class AutostartFile : public LoginItem {
 public:
  /// `autostart` in the user's configuration folder: $XDG_CONFIG_HOME, else ~/.config. Empty when the user has no home.
  static std::filesystem::path folderFromEnvironment();
  /// The file that this process was started from.
  static std::filesystem::path programFromSystem();

  /// `searchPath` as in the environment variable PATH. The queues outlive it and its tokens.
  AutostartFile(Queues& queues, std::filesystem::path folder, std::filesystem::path program, std::string searchPath);

  bool isSet() override;
  std::string set(bool on) override;
  Token observe(std::function<void()> changed) override;

  /// What the key Exec says of this program.
  std::string command() const;

 private:
  std::optional<std::filesystem::path> freePlace() const;
  std::string write(const std::filesystem::path& path) const;
  bool isFoundByName() const;
  void mend() const;

  Queues& queues_;
  const std::filesystem::path folder_;
  const std::filesystem::path program_;
  const std::string searchPath_;
};

}  // namespace jumplark
