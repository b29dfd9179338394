#pragma once

#include <memory>
#include <vector>

#include "platform/Views.h"

namespace jumplark {

/// The overlay of a recorded desktop: what a screen would show of it. Main thread only.
class RecordedOverlay {
 public:
  explicit RecordedOverlay(Queues& queues) : queues_(queues) {}

  bool visible() const { return visible_; }
  int level() const { return level_; }
  /// The boxes of the window that was made last, whether it is visible or not.
  const std::vector<BoxLayer>& layers() const { return layers_; }
  /// What can be seen at this moment.
  std::vector<BoxLayer> shownLayers() const { return visible_ ? layers_ : std::vector<BoxLayer>(); }
  int windowsMade() const { return windowsMade_; }
  int windowsAlive() const { return windowsAlive_; }
  /// How often the whole drawing was replaced.
  int redraws() const { return redraws_; }

  /// How many of the core's calls came on another thread than the main one.
  int callsOffMainThread() const { return callsOffMainThread_; }

  /// A new, hidden and empty window that this shows. It keeps what it needs of `screen` alive.
  static std::unique_ptr<OverlayView> makeView(const std::shared_ptr<RecordedOverlay>& screen);

 private:
  class View;

  Queues& queues_;
  int callsOffMainThread_ = 0;
  bool visible_ = false;
  int level_ = 0;
  std::vector<BoxLayer> layers_;
  int windowsMade_ = 0;
  int windowsAlive_ = 0;
  int redraws_ = 0;
};

}  // namespace jumplark
