#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "desktop/support/Applications.h"

namespace jumplark::desktop {

/// The program's own windows (messages, preferences), read and used from outside: found on the accessibility bus,
/// clicked with the pointer.
class AppWindows {
 public:
  explicit AppWindows(PrivateSession& session) : session_(session) {}

  /// An element of that role whose name begins so; waits until it shows, and throws std::runtime_error naming what
  /// does instead.
  AccessibleElement waitFor(const std::string& role, const std::string& name);
  /// Waits until the element there is in that state, or no longer is; false when it does not come to that.
  bool waitForState(const std::string& role, const std::string& name, const std::string& state, bool is = true);
  bool waitUntilGone(const std::string& role, const std::string& name);
  std::optional<AccessibleElement> find(const std::string& role, const std::string& name);
  bool shows(const std::string& role, const std::string& name) { return find(role, name).has_value(); }
  /// Waits for the element and for its window's being in front, and clicks its middle.
  void click(const std::string& role, const std::string& name);

  /// The settings as their file holds them; null while it cannot be read.
  nlohmann::json settings() const;
  std::filesystem::path settingsFile() const;
  /// Waits until the file holds the value; null for none.
  bool waitForSetting(const std::string& key, const nlohmann::json& value) const;
  /// As another program would: the file replaced with one value changed.
  void changeSetting(const std::string& key, const nlohmann::json& value) const;
  /// Replaces the file by this text.
  void writeSettings(const std::string& text) const;

 private:
  PrivateSession& session_;
};

/// Where a folder of the session is that holds nothing but the shell scripts in `programs`, which note under their name
/// that they were called, and with what. For the PATH of a program.
class FakePrograms {
 public:
  FakePrograms(PrivateSession& session, const std::vector<std::string>& programs);
  /// The environment of a program that finds them before others.
  Environment environment() const;
  /// What it was called with last; none when it was not.
  std::optional<std::string> callOf(const std::string& program) const;

 private:
  std::filesystem::path folder_;
};

}  // namespace jumplark::desktop
