#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace jumplark {

/// An installed application as its desktop file presents it (a freedesktop.org desktop entry).
struct DesktopEntry {
  std::string id;    ///< the file's path below "applications", '/' as '-', without ".desktop"
  std::string name;  ///< "Name" in the user's language
  std::string startupWmClass;
  std::string plainName;  ///< "Name" in no particular language
  std::string program;    ///< what "Exec" runs, as it stands there
};

/// The desktop files in the XDG data folders, read at the first question and again after a folder has changed. Calls
/// may come from any thread.
class DesktopEntries {
 public:
  /// XDG_DATA_HOME and XDG_DATA_DIRS with their defaults, and the language of LC_ALL, LC_MESSAGES or LANG.
  DesktopEntries();
  /// Data folders, the most important first; locale as lang_COUNTRY.ENCODING@MODIFIER.
  DesktopEntries(std::vector<std::filesystem::path> dataFolders, const std::string& locale);

  /// The entry of an application's window: by application id, then by StartupWMClass, then by a file named like the
  /// window's class, alone or as the last part of a reversed domain name. Empty texts match nothing.
  std::optional<DesktopEntry> forWindow(const std::string& applicationId, const std::string& className,
                                        const std::string& instanceName);
  /// Those that run this program, an absolute path; what starts a file of that name ending in ".bin" beside itself runs
  /// that one.
  std::vector<DesktopEntry> forProgram(const std::filesystem::path& program);

 private:
  using Times = std::map<std::filesystem::path, std::filesystem::file_time_type>;

  std::optional<DesktopEntry> find(const std::string& applicationId, const std::string& className,
                                   const std::string& instanceName) const;
  const DesktopEntry* findClass(const std::string& windowClass) const;
  void readAll();
  void readFolder(const std::filesystem::path& applications);
  void add(const std::filesystem::path& file, const std::string& id);
  bool foldersChanged() const;

  std::vector<std::filesystem::path> dataFolders_;
  std::vector<std::string> localeVariants_;  ///< the best first

  std::mutex mutex_;
  bool isRead_ = false;
  Times folderTimes_;
  std::map<std::string, DesktopEntry> byId_;            ///< hidden ones too, with an empty id
  std::map<std::string, std::string> idByLowerName_;    ///< lower-case id, and its last part, to id
  std::map<std::string, std::string> idByWindowClass_;  ///< lower-case StartupWMClass to id
};

}  // namespace jumplark
