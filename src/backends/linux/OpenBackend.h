#pragma once

#include <memory>
#include <string>

#include "backends/linux/wayland/gnome/ShellExtension.h"
#include "backends/linux/windows/DesktopBackend.h"

namespace jumplark {

struct OpenedBackend {
  std::shared_ptr<DesktopBackend> backend;  ///< null when there is none, or one that gives too little
  std::string error;                        ///< one sentence: what is missing and what to do about it
  /// Where the backend is one of X11 in a session of GNOME Shell, whose extension of ours does not work: how it is.
  gnome::ExtensionState extension = gnome::ExtensionState::works;
};

/// The window system of the session that the environment names. The main queue outlives it.
OpenedBackend openBackend(TaskQueue& mainQueue);

}  // namespace jumplark
