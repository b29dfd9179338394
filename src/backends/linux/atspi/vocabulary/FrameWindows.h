#pragma once

#include <optional>
#include <vector>

#include "backends/linux/atspi/source/View.h"

namespace jumplark::atspi {

/// Which window an accessible frame belongs to. What the last snapshot knows of that outlives it, and where a window is
/// the window system tells, so that a hung application delays neither. Calls may come from any thread.
class FrameWindows {
 public:
  FrameWindows(const View& view, WindowSystem& windows) : view_(view), windows_(windows) {}

  /// The window of a frame of `application`; none when it is not on screen.
  std::optional<WindowFacts> windowOf(const ElementRef& frame, const ElementRef& application) const;
  /// As above, asking no application: of a frame that a snapshot has placed.
  std::optional<WindowFacts> windowIn(const Snapshot& snapshot, const ElementRef& frame) const {
    return windowIn(snapshot.frames, frame);
  }
  /// As the snapshot knew it, without asking whether it is still there; zero for a frame that it has not placed.
  static WindowId idIn(const Snapshot& snapshot, const ElementRef& frame);
  /// The frame of `application` that a window belongs to; empty for a menu and any other window that is no frame.
  ElementRef frameOf(WindowId window, const ElementRef& application) const;

 private:
  std::optional<WindowFacts> windowIn(const std::vector<MatchedFrame>& frames, const ElementRef& frame) const;

  const View& view_;
  WindowSystem& windows_;
};

}  // namespace jumplark::atspi
