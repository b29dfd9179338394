#pragma once

#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "backends/linux/atspi/source/View.h"

namespace jumplark {
class WindowSystem;
}

namespace jumplark::atspi {

/// Knows which accessible frames are panels: those whose window has the type "dock". Asked for every button, so it
/// learns it once; the frames of a panel's application are asked for once.
///
/// Calls may come from any thread.
class PanelFrames {
 public:
  explicit PanelFrames(WindowSystem& windows) : windows_(windows) {}

  /// True when the application owns a panel.
  bool isPanelApplication(const std::string& busName, const View& view);
  /// True for the accessible frame of a panel.
  bool isPanelFrame(const ElementRef& frame, const View& view);

 private:
  using Applications = std::unordered_map<std::string, ElementRef>;
  Applications applications(const View& view);

  WindowSystem& windows_;
  std::mutex mutex_;
  bool known_ = false;
  Applications applications_;  ///< by bus name
  bool framesKnown_ = false;
  std::unordered_set<ElementRef, ElementRefHash> frames_;
};

}  // namespace jumplark::atspi
