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
  /// The frame of the primary screen; a zero rectangle when there is none. Answered from memory (every rectangle that
  /// is converted asks for it), and up to date after each change that onFramesChanged tells of.
  virtual Rect primaryFrame() {
    const std::vector<Rect> all = frames();
    return all.empty() ? Rect{} : all.front();
  }
  /// The part of each screen that panels leave free, in the order of `frames`.
  virtual std::vector<Rect> workAreas() { return frames(); }
  /// The pointer. The pixel row y (from the top) is reported as top - y - 1, so that the conversion to top-left
  /// coordinates gives that very row.
  virtual Point pointerLocation() = 0;
  /// Calls back on the main queue after every change of `frames`.
  virtual Token onFramesChanged(std::function<void()> callback) = 0;
};

}  // namespace jumplark
