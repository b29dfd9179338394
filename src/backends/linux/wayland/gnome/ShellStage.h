#pragma once

#include <memory>
#include <vector>

#include "backends/linux/wayland/surfaces/WaylandOutput.h"
#include "platform/Geometry.h"

namespace jumplark {
class WaylandConnection;
}

/// The shell lays its screens out in device pixels where the user has not switched on fractional scales, side by side
/// as they are, whereas programs draw and tell in points of each screen. This is what lies between them: all that the
/// extension is told and tells is in pixels of the stage, all else in points.
namespace jumplark::gnome {

/// Where an output lies on the stage.
Rect stageFrameOf(const WaylandOutput& output);
/// What lies there on an output, also where it reaches beyond that.
Rect pointsOn(const WaylandOutput& output, const Rect& stage);
/// The one that shows most of a rectangle of the stage, whose scale the shell gives the window there; null without any.
const WaylandOutput* outputOf(const Rect& stage, const std::vector<WaylandOutput>& outputs);
/// A point of an output, or beyond the edge of the nearest one, on the stage.
Point stagePointOf(Point point, const std::vector<WaylandOutput>& outputs);

/// The stage as the outputs are at the moment. Calls may come from any thread.
class Stage {
 public:
  explicit Stage(std::shared_ptr<const WaylandConnection> connection) : connection_(std::move(connection)) {}

  std::vector<WaylandOutput> outputs() const;
  Point toPoints(Point stage) const;
  Point toStage(Point point) const { return stagePointOf(point, outputs()); }

 private:
  std::shared_ptr<const WaylandConnection> connection_;
};

}  // namespace jumplark::gnome
