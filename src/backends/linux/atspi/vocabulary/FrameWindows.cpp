#include "backends/linux/atspi/vocabulary/FrameWindows.h"

#include <algorithm>

namespace jumplark::atspi {
namespace {

template <typename Wanted>
const MatchedFrame* findIn(const std::vector<MatchedFrame>& frames, Wanted wanted) {
  const auto found = std::find_if(frames.begin(), frames.end(), wanted);
  return found == frames.end() ? nullptr : &*found;
}

}  // namespace

std::optional<WindowFacts> FrameWindows::windowOf(const ElementRef& frame, const ElementRef& application) const {
  const SnapshotPointer last = view_.lastOf(application);
  auto window = last ? windowIn(last->frames, frame) : std::nullopt;
  return window ? window : windowIn(view_.frames(application), frame);
}

std::optional<WindowFacts> FrameWindows::windowIn(const std::vector<MatchedFrame>& frames,
                                                  const ElementRef& frame) const {
  const MatchedFrame* found = findIn(frames, [&](const MatchedFrame& one) { return one.frame.element == frame; });
  return found ? windows_.window(found->window.id) : std::nullopt;
}

WindowId FrameWindows::idIn(const Snapshot& snapshot, const ElementRef& frame) {
  const MatchedFrame* found =
      findIn(snapshot.frames, [&](const MatchedFrame& one) { return one.frame.element == frame; });
  return found ? found->window.id : WindowId();
}

ElementRef FrameWindows::frameOf(WindowId window, const ElementRef& application) const {
  const auto frameIn = [&](const std::vector<MatchedFrame>& frames) {
    const MatchedFrame* found = findIn(frames, [&](const MatchedFrame& one) { return one.window.id == window; });
    return found ? found->frame.element : ElementRef();
  };
  const SnapshotPointer last = view_.lastOf(application);
  const ElementRef frame = last ? frameIn(last->frames) : ElementRef();
  return frame ? frame : frameIn(view_.frames(application));
}

}  // namespace jumplark::atspi
