#pragma once

#include <string>

#include "platform/Token.h"
#include "streams/Property.h"

namespace jumplark {

/// Whether this program is in the session's start-up list, and the switch for it. Main thread only.
class LaunchAtLoginController {
 public:
  LaunchAtLoginController();
  LaunchAtLoginController(const LaunchAtLoginController&) = delete;
  LaunchAtLoginController& operator=(const LaunchAtLoginController&) = delete;
  ~LaunchAtLoginController();

  /// Follows the list, whoever changes it.
  const Property<bool>& launchAtLogin() const { return launchAtLogin_; }
  /// Looks at the list again: not every place that it is made of can be watched.
  void update();
  /// Adds or removes this program's one entry. What went wrong, for the user to read, or an empty text.
  std::string setLaunchAtLogin(bool launch);

 private:
  Property<bool> launchAtLogin_;
  Token observation_;
};

}  // namespace jumplark
