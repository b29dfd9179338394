#pragma once

#include <memory>
#include <string>

#include "backends/linux/windows/DesktopBackend.h"

namespace jumplark {

struct OpenedBackend {
  std::shared_ptr<DesktopBackend> backend;  ///< null when there is none, or one that gives too little
  std::string error;                        ///< one sentence: what is missing and what to do about it
};

/// The window system of the session that the environment names. The main queue outlives it.
OpenedBackend openBackend(TaskQueue& mainQueue);

}  // namespace jumplark
