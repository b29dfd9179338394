#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/Views.h"

namespace jumplark {

/// The box and the bubble of a recorded desktop: what a screen would show of them. Main thread only.
class RecordedDiscovery {
 public:
  explicit RecordedDiscovery(Queues& queues) : queues_(queues) {}

  /// Whether the box's window is on screen.
  bool visible() const { return visible_; }
  int level() const { return level_; }
  Rect frame() const { return frame_; }
  Color color() const { return color_; }
  /// None while no bubble is shown.
  const std::optional<std::string>& popoverText() const { return popoverText_; }
  /// How often a bubble was shown.
  int popoversShown() const { return popoversShown_; }
  int windowsMade() const { return windowsMade_; }

  /// How many of the core's calls came on another thread than the main one.
  int callsOffMainThread() const { return callsOffMainThread_; }

  /// A new, hidden window that this shows. It keeps what it needs of `screen` alive.
  static std::unique_ptr<DiscoveryView> makeView(const std::shared_ptr<RecordedDiscovery>& screen);

 private:
  class View;

  Queues& queues_;
  int callsOffMainThread_ = 0;
  bool visible_ = false;
  int level_ = 0;
  Rect frame_;
  Color color_;
  std::optional<std::string> popoverText_;
  int popoversShown_ = 0;
  int windowsMade_ = 0;
};

}  // namespace jumplark
