#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "backends/linux/x11/X11Connection.h"
#include "platform/Queues.h"
#include "platform/Screens.h"

namespace jumplark {

/// The monitors of the X screen, in pixels, in the order of windows/ScreenOrder.h. Columns are the root's.
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
