#pragma once

#include <optional>
#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"
#include "backends/linux/atspi/reading/FrameMatching.h"

namespace jumplark::atspi {

/// Where an application does not know the place of its window it counts from the surface that it draws on, and a window
/// system may tell only what a person sees of that. A frame tells how large its surface is, and what is in it where the
/// window begins that its shadow lies around. This completes the surfaces of such windows, so that the frame's places
/// count from their corners; of most toolkits the sizes tell enough, of the others the frame's uppermost elements are
/// asked. Any thread.
void findSurfaces(CallRunner& runner, const Toolkit& toolkit, std::vector<MatchedFrame>& matched, TimePoint deadline);

/// Frames whose surfaces have been found, with their windows where they are now; asks nobody. None when one of the
/// windows knows its place, has another size or is new: what fills it may be another.
std::optional<std::vector<MatchedFrame>> followWindows(const std::vector<MatchedFrame>& before,
                                                       const std::vector<WindowFacts>& now);

/// Whatever corners the frames count from by now, asking each frame.
void followCorners(CallRunner& runner, const Toolkit& toolkit, std::vector<MatchedFrame>& matched, TimePoint deadline);

}  // namespace jumplark::atspi
