#pragma once

#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "backends/linux/atspi/source/ElementSource.h"

namespace jumplark {
class WindowSystem;
}

namespace jumplark::atspi {

/// Knows which accessible frames are panels: those whose window has the type "dock". Asked for every button, so it
/// answers from what it learned at the last refresh; the frames of a panel's application are asked for once.
///
/// Calls may come from any thread.
class PanelFrames {
 public:
  PanelFrames(ElementSource& source, WindowSystem& windows) : source_(source), windows_(windows) {}

  /// Forgets everything, so that the next question looks at the windows again.
  void refresh();
  /// True when the application owns a panel.
  bool isPanelApplication(const std::string& busName);
  /// True for the accessible frame of a panel.
  bool isPanelFrame(const ElementRef& frame);

 private:
  using Applications = std::unordered_map<std::string, ElementRef>;
  Applications applications();

  ElementSource& source_;
  WindowSystem& windows_;
  std::mutex mutex_;
  bool known_ = false;
  Applications applications_;  ///< by bus name
  bool framesKnown_ = false;
  std::unordered_set<ElementRef, ElementRefHash> frames_;
};

}  // namespace jumplark::atspi
