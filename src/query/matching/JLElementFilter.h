#pragma once

#include "query/matching/JLElementMatch.h"
#include "streams/Stream.h"

namespace jumplark {

class JLElementFilter {
 public:
  /// The matches that are large enough to click: at least 5 points wide and high.
  static Stream<JLElementMatch> pruneElements(const Stream<JLElementMatch>& matches);
};

}  // namespace jumplark
