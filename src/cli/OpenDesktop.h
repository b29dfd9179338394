#pragma once

#include <memory>

#include "cli/CommandLine.h"
#include "platform/Platform.h"

namespace jumplark {
class SystemQueues;
}

namespace jumplark::cli {

/// The desktop that a command works on, live or recorded.
class OpenDesktop {
 public:
  virtual ~OpenDesktop() = default;
  virtual const Platform& platform() const = 0;
};

/// Throws CommandFailure: badUsage for a recording that cannot be read, outOfReach for a desktop that is not there.
std::unique_ptr<OpenDesktop> openDesktop(const Target& target, SystemQueues& queues);

}  // namespace jumplark::cli
