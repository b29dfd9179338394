#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "backends/linux/system/PostedSlots.h"
#include "backends/linux/wayland/WaylandConnection.h"
#include "platform/Screens.h"

namespace jumplark {

/// The outputs of a compositor, in points of its layout, in the order of windows/ScreenOrder.h.
class WaylandScreens final : public Screens {
 public:
  /// What bars leave free of an output, in points of the layout with a top-left origin; the output's own frame where
  /// that is not known.
  using WorkAreaOf = std::function<Rect(const WaylandOutput&)>;

  /// The main queue must outlive this.
  WaylandScreens(std::shared_ptr<WaylandConnection> connection, TaskQueue& mainQueue, WorkAreaOf workAreaOf);

  std::vector<Rect> frames() override;
  std::vector<Rect> workAreas() override;
  /// Where the compositor says that the pointer is, else where it was put last; far from every screen before that.
  Point pointerLocation() override;
  Token onFramesChanged(std::function<void()> callback) override { return slots_.add(std::move(callback)); }

  /// The pointer has been put there, top-left origin.
  void notePointer(Point topLeft);
  /// The same with a top-left origin; none when it cannot be known.
  std::optional<Point> knownPointer() const;
  /// For a compositor that tells where the pointer is. Before anything is asked of this.
  void setPointerSource(std::function<std::optional<Point>()> source) { pointerSource_ = std::move(source); }

 private:
  std::shared_ptr<WaylandConnection> connection_;
  WorkAreaOf workAreaOf_;
  std::function<std::optional<Point>()> pointerSource_;
  PostedSlots<> slots_;
  mutable std::mutex mutex_;  ///< leaf
  std::optional<Point> pointer_;
  Token outputs_;
};

}  // namespace jumplark
