#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "backends/linux/x11/X11Connection.h"
#include "platform/Queues.h"
#include "platform/Screens.h"

namespace jumplark {

/// The monitors of the X screen, in pixels.
///
/// X counts rows from the top of the root window. Converting with the top of the first frame (y' = origin y + height -
/// y) is exact only when that monitor begins at the root's first row, so the primary monitor is first only if it does;
/// otherwise the leftmost monitor that does. The lower left corner of the first frame has y = 0, columns are the
/// root's.
class X11Screens final : public Screens {
 public:
  /// The main queue must outlive every token of onFramesChanged.
  X11Screens(std::shared_ptr<X11Connection> connection, TaskQueue& mainQueue);
  ~X11Screens() override;

  std::vector<Rect> frames() override;
  Rect primaryFrame() override;
  std::vector<Rect> workAreas() override;
  Point pointerLocation() override;
  Token onFramesChanged(std::function<void()> callback) override;

 private:
  class Watcher;
  /// Made at the first need; null without a further connection.
  std::shared_ptr<Watcher> watcher();

  std::shared_ptr<X11Connection> x_;
  TaskQueue& mainQueue_;
  std::mutex mutex_;
  std::shared_ptr<Watcher> watcher_;  ///< made by the first onFramesChanged
};

}  // namespace jumplark
