#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "backends/linux/atspi/reading/Toolkit.h"
#include "backends/linux/system/DesktopCheck.h"

namespace jumplark::atspi {

class Snapshot;

/// How the reading of one application went, for people.
struct SnapshotReport {
  ToolkitFacts toolkit;
  bool fromCache = false;
  bool complete = false;
  double milliseconds = 0;
  size_t elements = 0;
  size_t showing = 0;
  std::vector<std::string> leftOut;  ///< one sentence for each kind of thing that a person may miss, with its reason
  std::string advice;                ///< how to start a browser that shows no page; else empty
};

/// Without advice.
SnapshotReport reportOn(const Snapshot& snapshot);

/// What to say of the application called `name`: how it is read, how long that took, whether it was cut short, what was
/// left out. Without a report it is not on the accessibility bus, and `advice` may say what to do about it.
std::vector<DesktopCheck> readingChecks(const std::string& name, int32_t pid,
                                        const std::optional<SnapshotReport>& report, const std::string& advice);

}  // namespace jumplark::atspi
