#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/Workspace.h"

namespace jumplark {

/// Which application an activation works on.
struct TargetApplication {
  std::optional<RunningApplication> frontmost;
  /// None when there is no application at all.
  std::optional<RunningApplication> target;
};

/// The frontmost application, unless that is this program itself without a titled window in front (its preferences are
/// one): then another one from the front-to-back list. `hidePreferencesWindow` is called whenever the target is not
/// this program's own titled window, before that list is asked for. Asks no other application for anything.
TargetApplication chooseTargetApplication(const std::string& ownBundleIdentifier,
                                          const std::function<void()>& hidePreferencesWindow);

}  // namespace jumplark
