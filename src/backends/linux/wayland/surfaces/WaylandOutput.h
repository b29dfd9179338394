#pragma once

#include <cstdint>
#include <string>

#include "platform/Geometry.h"

namespace jumplark {

/// One output of a compositor: a monitor as a rule.
struct WaylandOutput {
  uint32_t global = 0;  ///< the compositor's number of it
  std::string name;     ///< "DP-1"; empty where the compositor does not tell
  Rect frame;           ///< points of the compositor's layout, top-left origin
  double scale = 1;     ///< device pixels a point; may be a fraction
  /// Units of the compositor's own layout in a point: more than one where that counts in device pixels. The corner of
  /// the frame is the same in both.
  double layoutScale = 1;
  bool operator==(const WaylandOutput&) const = default;
};

}  // namespace jumplark
