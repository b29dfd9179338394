#pragma once

#include <memory>
#include <string>
#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"
#include "backends/linux/atspi/reading/CachedTree.h"
#include "backends/linux/atspi/reading/Experience.h"
#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

/// Asks applications for all that their caches hold, where that is quicker than walking. Nobody tells beforehand how
/// much that is, and the answer is made in one go: an application that needs too long for it is walked instead, from
/// then on at once. One whose answer cannot be read, of which a single text that is no UTF-8 is enough, is walked for
/// a while. Calls may come from any thread.
class CacheReader {
 public:
  explicit CacheReader(Experiences& experiences) : experiences_(experiences) {}

  /// Asks for what read() will need, if it is known from earlier that the answer comes quickly; gives nothing
  /// otherwise.
  CallRunner::Wait begin(CallRunner& runner, const Toolkit& toolkit, const std::string& busName);
  /// Null when the toolkit keeps no cache, when it is too slow, or when it holds none of the frames. `begun` is what
  /// begin() gave; where that has no answer it is asked anew.
  std::shared_ptr<const CachedTree> read(CallRunner& runner, const Toolkit& toolkit, const std::string& busName,
                                         const std::vector<ElementRef>& frames, TimePoint deadline,
                                         const CallRunner::Wait& begun = {});
  /// Finds out, with more patience, whether the cache is quick enough.
  void tryOut(CallRunner& runner, const Toolkit& toolkit, const std::string& busName);

 private:
  AccessibilityResult<std::vector<CacheItem>> ask(CallRunner& runner, const std::string& busName, TimePoint deadline);
  /// Whether to walk the application without asking.
  bool isToBeWalked(const Toolkit& toolkit, const std::string& busName) const;
  void noteSlow(const std::string& busName);

  Experiences& experiences_;
};

}  // namespace jumplark::atspi
