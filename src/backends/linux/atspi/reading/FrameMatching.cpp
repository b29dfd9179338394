#include "backends/linux/atspi/reading/FrameMatching.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {
namespace {

/// Rounding, and borders that toolkits count or do not.
constexpr double kTolerance = 4;
constexpr double kTitle = 4;
constexpr double kTitlePart = 1.5;
constexpr double kSize = 2;
constexpr double kPosition = 2;
constexpr double kPositionAlone = 1;
/// Only decides between frames that are alike otherwise: the keyboard may be elsewhere by now.
constexpr double kActive = 0.5;

bool isNear(double a, double b) {
  return std::abs(a - b) <= kTolerance;
}

double likenessOfTitles(const std::string& name, const std::string& title) {
  if (name.empty() || title.empty()) {
    return 0;
  }
  if (name == title) {
    return kTitle;
  }
  const bool part = title.find(name) != std::string::npos || name.find(title) != std::string::npos;
  return part ? kTitlePart : -1;
}

/// Of smaller windows the sizes are alike by chance, in one scale or another.
constexpr double kTellingSize = 60;

/// How much larger a window is than its frame says, when all of it is; 0 when they do not fit.
double scaleBetween(const Rect& reported, const Rect& rect) {
  for (const double scale : {1.0, 2.0, 3.0, 1.25, 1.5, 1.75, 2.25, 2.5, 4.0}) {
    const bool tells = scale == 1 || std::min(rect.width, rect.height) >= kTellingSize;
    if (tells && isNear(reported.width * scale, rect.width) && isNear(reported.height * scale, rect.height)) {
      return scale;
    }
  }
  return 0;
}

std::array<Rect, 3> rectsOf(const WindowFacts& window) {
  return {window.surface, window.frame, window.withoutShadow()};
}

double likenessOfRects(const Rect& reported, const WindowFacts& window, bool hasPosition) {
  double best = 0;
  for (const Rect& rect : rectsOf(window)) {
    const bool size = scaleBetween(reported, rect) > 0;
    const bool position = hasPosition && isNear(reported.x, rect.x) && isNear(reported.y, rect.y);
    best = std::max(best, size ? kSize + (position ? kPosition : 0) : position ? kPositionAlone : 0);
  }
  return best;
}

/// GTK 4 tells of its content alone, so that sizes give the scale only nearly.
double wholeScale(const WindowFacts& window, const Rect& reported) {
  if (!(reported.width > 0) || !(reported.height > 0)) {
    return 1;
  }
  const Rect content = window.withoutShadow();
  const double across = std::round(content.width / reported.width);
  const double down = std::round(content.height / reported.height);
  return across == down && across >= 1 ? across : 1;
}

size_t bestFrame(const std::vector<FrameFacts>& frames, const std::vector<bool>& taken, const WindowFacts& window,
                 const Toolkit& toolkit) {
  size_t best = frames.size();
  double most = 0;
  for (size_t i = 0; i < frames.size(); ++i) {
    const double score = taken[i] ? 0 : likeness(frames[i], window, toolkit);
    if (score > most) {
      most = score;
      best = i;
    }
  }
  return best;
}

}  // namespace

double likeness(const FrameFacts& frame, const WindowFacts& window, const Toolkit& toolkit) {
  const double titles = likenessOfTitles(frame.name, window.title);
  const double rects = likenessOfRects(frame.reported, window, !toolkit.extentsAreWindowRelative());
  if (titles <= 0 && rects < kSize) {
    return 0;
  }
  const bool active = ((frame.states >> state::active) & 1U) != 0;
  return titles + rects + (active ? kActive : 0);
}

std::vector<MatchedFrame> matchFrames(std::vector<FrameFacts> frames, const std::vector<WindowFacts>& windows,
                                      const Toolkit& toolkit) {
  std::vector<MatchedFrame> matched;
  if (frames.size() == 1 && windows.size() == 1) {
    matched.push_back({std::move(frames[0]), windows[0]});
    return matched;
  }
  std::vector<bool> taken(frames.size(), false);
  for (const WindowFacts& window : windows) {
    const size_t best = bestFrame(frames, taken, window, toolkit);
    if (best < frames.size()) {
      taken[best] = true;
      matched.push_back({frames[best], window});
    }
  }
  return matched;
}

Point extentsOffset(const Toolkit& toolkit, const WindowFacts& window, const Rect& reportedFrame) {
  if (!toolkit.extentsAreWindowRelative()) {
    return {0, 0};
  }
  if (window.tellsShadow) {
    const Rect seen = window.withoutShadow();
    return {seen.x, seen.y};
  }
  const double scale = wholeScale(window, reportedFrame);
  return {window.surface.x + (window.surface.width - reportedFrame.width * scale) / 2,
          window.surface.y + (window.surface.height - reportedFrame.height * scale) / 2};
}

Rect Placement::toScreen(const Rect& told) const {
  return {to.x + (told.x - from.x) * scale, to.y + (told.y - from.y) * scale, told.width * scale, told.height * scale};
}

Rect Placement::fromScreen(const Rect& place) const {
  return {from.x + (place.x - to.x) / scale, from.y + (place.y - to.y) / scale, place.width / scale,
          place.height / scale};
}

Placement placementIn(const Toolkit& toolkit, const WindowFacts& window, const Rect& reportedFrame) {
  if (toolkit.extentsAreWindowRelative()) {
    const Point offset = extentsOffset(toolkit, window, reportedFrame);
    return {offset, offset, wholeScale(window, reportedFrame)};
  }
  for (const Rect& rect : rectsOf(window)) {
    if (const double scale = scaleBetween(reportedFrame, rect); scale > 0) {
      return scale == 1 ? Placement() : Placement{{reportedFrame.x, reportedFrame.y}, {rect.x, rect.y}, scale};
    }
  }
  return {};
}

bool isNormalOrDialog(const WindowFacts& window) {
  return window.type == WindowType::normal || window.type == WindowType::dialog;
}

}  // namespace jumplark::atspi
