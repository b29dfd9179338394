#include "backends/linux/wayland/gnome/ShellStage.h"

#include <algorithm>

#include "backends/linux/wayland/WaylandConnection.h"

namespace jumplark::gnome {
namespace {

/// Less than nothing: so far away.
double shared(const Rect& a, const Rect& b) {
  const double across = std::min(a.maxX(), b.maxX()) - std::max(a.minX(), b.minX());
  const double down = std::min(a.maxY(), b.maxY()) - std::max(a.minY(), b.minY());
  return across >= 0 && down >= 0 ? across * down : std::min(across, 0.0) + std::min(down, 0.0);
}

}  // namespace

Rect stageFrameOf(const WaylandOutput& output) {
  const Rect& frame = output.frame;
  return {frame.x, frame.y, frame.width * output.layoutScale, frame.height * output.layoutScale};
}

Rect pointsOn(const WaylandOutput& output, const Rect& stage) {
  const Rect& frame = output.frame;
  const double scale = output.layoutScale;
  return {frame.x + (stage.x - frame.x) / scale, frame.y + (stage.y - frame.y) / scale, stage.width / scale,
          stage.height / scale};
}

const WaylandOutput* outputOf(const Rect& stage, const std::vector<WaylandOutput>& outputs) {
  const auto most =
      std::ranges::max_element(outputs, {}, [&](const auto& output) { return shared(stageFrameOf(output), stage); });
  return most == outputs.end() ? nullptr : &*most;
}

Point stagePointOf(Point point, const std::vector<WaylandOutput>& outputs) {
  // Half open, as the frames are.
  const Rect pixel{point.x, point.y, 1, 1};
  const auto nearest =
      std::ranges::max_element(outputs, {}, [&](const auto& output) { return shared(output.frame, pixel); });
  if (nearest == outputs.end()) {
    return point;
  }
  const Rect& frame = nearest->frame;
  return {frame.x + (point.x - frame.x) * nearest->layoutScale, frame.y + (point.y - frame.y) * nearest->layoutScale};
}

std::vector<WaylandOutput> Stage::outputs() const {
  return connection_->outputs();
}

Point Stage::toPoints(Point stage) const {
  const std::vector<WaylandOutput> all = outputs();
  const WaylandOutput* const output = outputOf({stage.x, stage.y, 1, 1}, all);
  const Rect place = output != nullptr ? pointsOn(*output, {stage.x, stage.y, 0, 0}) : Rect{stage.x, stage.y, 0, 0};
  return {place.x, place.y};
}

}  // namespace jumplark::gnome
