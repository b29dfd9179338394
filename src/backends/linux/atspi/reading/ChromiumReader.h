#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_set>

#include "backends/linux/atspi/reading/Snapshot.h"
#include "backends/linux/atspi/reading/TreeWalk.h"

namespace jumplark::atspi {

/// Reads the window of a browser, or of an application that is a browser inside. Its pages show nothing on the
/// accessibility bus until somebody asks for attributes; then they fill within some tens of milliseconds, a large page
/// within some hundreds. Calls may come from any thread.
class ChromiumReader {
 public:
  explicit ChromiumReader(CallRunner& runner) : runner_(runner) {}

  /// Wakes the window, reads it, and waits for a page that is still empty: once for each page, and for less than a
  /// second. Adds what there is to the snapshot; false when something is missing.
  bool read(Snapshot& snapshot, const ElementRef& frame, const WalkPlan& plan);

 private:
  bool isKnownToBeBlank(const ElementRef& page);
  bool fills(const ElementFacts& page, const WalkPlan& plan, TimePoint deadline);

  CallRunner& runner_;
  std::mutex mutex_;
  std::unordered_set<ElementRef, ElementRefHash> blank_;  ///< pages that stayed empty
};

/// What to tell a person whose browser, or application with a browser inside, shows no page on the accessibility bus:
/// which switch to start it with. Empty when the process is no such application, or `snapshot` (null when the process
/// is not on the bus at all) holds a page with something on it. Looks at the files beside the process's program.
std::string adviceForSilentBrowser(int32_t pid, const Snapshot* snapshot);

}  // namespace jumplark::atspi
