#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/LoginItem.h"

namespace jumplark {

struct AutostartEntry;
class Queues;

/// The start at login as an autostart file, by the XDG rules for autostart: `jumplark.desktop` in the user's autostart
/// folder, which stands before a file of that name in the system's. It carries a mark of its own. A file without the
/// mark, or one that starts another copy of the program, is somebody else's and is never changed; where it has the
/// name, the entry gets another one. An entry of the system's that starts this program is switched off by a file of the
/// user's that hides it.
///
/// The file names the program plainly where that finds it, so that it lasts over upgrades, else by its path. When a
/// path leads nowhere any more, because the program was moved, the next start writes it anew.
class AutostartFile : public LoginItem {
 public:
  /// What the environment says of the session.
  struct Session {
    std::filesystem::path folder;                      ///< the user's autostart folder; empty when the user has no home
    std::vector<std::filesystem::path> systemFolders;  ///< the system's, the one that counts most first
    std::string searchPath;                            ///< as in PATH
    std::string desktops;                              ///< as in XDG_CURRENT_DESKTOP

    static Session fromEnvironment();
  };
  /// The file that this process was started from.
  static std::filesystem::path programFromSystem();

  /// The queues outlive it and its tokens.
  AutostartFile(Queues& queues, Session session, std::filesystem::path program);

  bool isSet() override;
  std::string set(bool on) override;
  Token observe(std::function<void()> changed) override;

  /// What the key Exec says of this program.
  std::string command() const;

 private:
  std::filesystem::path programNamed(const std::string& command) const;
  bool starts(const AutostartEntry& entry) const;
  bool isMine(const AutostartEntry& entry) const;
  AutostartEntry usersEntry(const char* name) const;
  AutostartEntry systemsEntry(const char* name) const;
  std::string switchOn() const;
  std::string switchOff(const char* name) const;
  std::string write(const std::filesystem::path& path, bool hidden) const;
  void mend() const;

  Queues& queues_;
  const Session session_;
  const std::filesystem::path program_;
};

}  // namespace jumplark
