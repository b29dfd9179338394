#pragma once

#include <vector>

#include "backends/linux/atspi/reading/CoordinateTransform.h"
#include "backends/linux/atspi/reading/FrameMatching.h"
#include "backends/linux/atspi/reading/TreeWalk.h"

namespace jumplark::atspi {

/// All that was read of one application at one time.
struct Snapshot {
  ElementRef application;
  int32_t pid = -1;
  ToolkitFacts toolkitFacts;
  const Toolkit* toolkit = nullptr;  ///< never null once it is read
  std::vector<MatchedFrame> frames;  ///< front to back
  ElementRef focusedWindow;
  ElementRef menuBar;         ///< of the focused window
  ElementRef focusedElement;  ///< has keyboard focus
  FactsMap elements;          ///< not changed any more once the snapshot is kept
  TextMap texts;
  CoordinateTransform transform;
  Point offset;  ///< see Toolkit::originIn, of the focused window
  bool complete = false;
  bool fromCache = false;  ///< what the application's cache told was not asked again
  Clock::duration took{0};

  /// Depth first, children in order.
  std::vector<ElementRef> inDocumentOrder() const;
};

}  // namespace jumplark::atspi
