#pragma once

#include <map>
#include <mutex>
#include <string>

namespace jumplark {

/// "de" or, with a variant, "de(neo)".
std::string layoutIdentifier(const std::string& layout, const std::string& variant);

/// Keyboard layouts as the XKB registry names them, which is a large file and read at the first need. Calls may come
/// from any thread.
class LayoutNames {
 public:
  /// In the language of the process's locale; the identifier itself where the registry does not know it.
  std::string localized(const std::string& identifier);
  /// The identifier of a layout by its English name, as keymaps hold it; the name itself where the registry has none
  /// of that name.
  std::string identifierOf(const std::string& englishName);

 private:
  void read();

  std::once_flag read_;
  std::map<std::string, std::string> english_;      ///< by identifier
  std::map<std::string, std::string> identifiers_;  ///< by English name
};

}  // namespace jumplark
