#pragma once

#include <functional>
#include <vector>

#include "platform/Geometry.h"
#include "platform/Token.h"

namespace jumplark {

/// The screens and the pointer, in global coordinates with a bottom-left origin: the lower left corner of the first,
/// primary, screen is (0, 0) where the platform does not say otherwise. Calls may come from any thread.
class Screens {
 public:
  virtual ~Screens() = default;

  /// The frames of all screens, the primary one first; empty when there is none.
  virtual std::vector<Rect> frames() = 0;
  /// The pointer. The pixel row y (from the top) is reported as top - y - 1, so that the conversion to top-left
  /// coordinates gives that very row.
  virtual Point pointerLocation() = 0;
  /// Calls back on the main queue after every change of `frames`.
  virtual Token onFramesChanged(std::function<void()> callback) = 0;
};

}  // namespace jumplark
