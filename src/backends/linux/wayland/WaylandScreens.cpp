#include "backends/linux/wayland/WaylandScreens.h"

#include <algorithm>
#include <utility>

#include "backends/linux/windows/ScreenOrder.h"

namespace jumplark {
namespace {

/// Farther away than any screen.
constexpr Point kNowhere{-1e6, -1e6};

std::vector<Rect> inOrder(const std::vector<WaylandOutput>& outputs) {
  std::vector<Monitor> monitors;
  for (const WaylandOutput& output : outputs) {
    // Mirrored outputs show the same part.
    if (std::ranges::find(monitors, output.frame, &Monitor::rect) == monitors.end()) {
      monitors.push_back({output.frame, false});
    }
  }
  return inOrder(std::move(monitors));
}

}  // namespace

WaylandScreens::WaylandScreens(std::shared_ptr<WaylandConnection> connection, TaskQueue& mainQueue,
                               WorkAreaOf workAreaOf)
    : connection_(std::move(connection)),
      workAreaOf_(std::move(workAreaOf)),
      outputs_(connection_->onOutputsChanged([this, &mainQueue] { slots_.post(mainQueue); })) {}

std::vector<Rect> WaylandScreens::frames() {
  std::vector<Rect> rects = inOrder(connection_->outputs());
  const double top = rects.empty() ? 0 : rects.front().maxY();
  return fromBottom(std::move(rects), top);
}

std::vector<Rect> WaylandScreens::workAreas() {
  const std::vector<WaylandOutput> outputs = connection_->outputs();
  std::vector<Rect> areas = inOrder(outputs);
  const double top = areas.empty() ? 0 : areas.front().maxY();
  for (Rect& area : areas) {
    const auto output = std::ranges::find(outputs, area, &WaylandOutput::frame);
    const Rect free = output != outputs.end() ? workAreaOf_(*output) : area;
    area = free.width > 0 && free.height > 0 ? free : area;
  }
  return fromBottom(std::move(areas), top);
}

Point WaylandScreens::pointerLocation() {
  const auto known = knownPointer();
  return known ? Point{known->x, primaryFrame().maxY() - known->y - 1} : kNowhere;
}

void WaylandScreens::notePointer(Point topLeft) {
  const std::lock_guard lock(mutex_);
  pointer_ = topLeft;
}

std::optional<Point> WaylandScreens::knownPointer() const {
  if (const auto told = pointerSource_ ? pointerSource_() : std::nullopt) {
    return told;
  }
  const std::lock_guard lock(mutex_);
  return pointer_;
}

}  // namespace jumplark
