#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>

#include "desktop/support/Applications.h"

namespace jumplark::desktop {

/// The program's own windows (messages, preferences), read and used from outside: found on the accessibility bus,
/// clicked with the pointer; and the file of its settings.
class AppWindows : public AccessibleApplication {
 public:
  explicit AppWindows(PrivateSession& session) : AccessibleApplication(session, "Jumplark") {}

  std::filesystem::path settingsFile() const;
  /// Waits until the file holds the value.
  bool waitForSetting(const std::string& key, const nlohmann::json& value) const;
  /// As another program would: the file replaced with one value changed.
  void changeSetting(const std::string& key, const nlohmann::json& value) const;
};

/// A folder of the session that holds nothing but shell scripts, for the PATH of a program. Each notes under its name
/// with what it was called.
class FakePrograms {
 public:
  explicit FakePrograms(PrivateSession& session);
  /// Puts a script there, or another one in its place; it does what is `given` first.
  void put(const std::string& name, const std::string& given = "") const;
  /// The environment of a program that finds them before others, or nothing but them.
  Environment environment(bool andOthers = true) const;
  /// Waits until it has been called with arguments that contain this.
  bool waitForCall(const std::string& name, const std::string& with) const;

 private:
  std::filesystem::path folder_;
};

}  // namespace jumplark::desktop
