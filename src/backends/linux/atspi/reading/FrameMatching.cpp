#include "backends/linux/atspi/reading/FrameMatching.h"

#include <algorithm>

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
/// A frame may count a shadow that its window's size leaves out, so that the size tells less.
constexpr double kSizeWithShadow = 1.5;
constexpr double kWidestShadow = 160;
/// Only decides between frames that are alike otherwise: the keyboard may be elsewhere by now.
constexpr double kActive = 0.5;

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

bool mayHaveShadow(const Rect& reported, const Rect& rect) {
  const double across = reported.width - rect.width;
  const double down = reported.height - rect.height;
  return across >= 0 && across <= kWidestShadow && down >= 0 && down <= kWidestShadow;
}

double likenessOfRects(const Rect& reported, const WindowFacts& window, bool hasPosition) {
  double best = 0;
  for (const Rect& rect : rectsOf(window)) {
    const bool size = scaleBetween(reported, rect, window.unit) > 0;
    const bool position =
        hasPosition && isNear(reported.x, rect.x, kTolerance) && isNear(reported.y, rect.y, kTolerance);
    const bool shadow = !window.knowsItsPlace && mayHaveShadow(reported, rect);
    best = std::max(best, shadow ? kSizeWithShadow : 0);
    best = std::max(best, size ? kSize + (position ? kPosition : 0) : position ? kPositionAlone : 0);
  }
  return best;
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
  const double rects =
      likenessOfRects(frame.reported, window, !toolkit.extentsAreWindowRelative() && window.knowsItsPlace);
  if (titles <= 0 && rects < kSizeWithShadow) {
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

Point originOf(const ElementRef& frame, const std::vector<MatchedFrame>& matched, const Toolkit& toolkit) {
  const auto own = std::ranges::find_if(matched, [&](const MatchedFrame& one) { return one.frame.element == frame; });
  if (own != matched.end()) {
    return toolkit.originIn(own->window, own->frame.reported);
  }
  const bool isLost = !matched.empty() && !matched.front().window.knowsItsPlace;
  return isLost ? toolkit.originIn(matched.front().window, matched.front().frame.reported) : Point{};
}

ElementRef focusedFrame(const std::vector<MatchedFrame>& matched, const std::vector<FrameFacts>& frames,
                        bool hasWindows) {
  const auto top =
      std::find_if(matched.begin(), matched.end(), [](const MatchedFrame& m) { return isNormalOrDialog(m.window); });
  if (top != matched.end()) {
    return top->frame.element;
  }
  if (hasWindows) {
    return {};
  }
  // Nothing is known of its windows: what the application says itself is the best there is.
  const auto withState = [&](int number) {
    return std::find_if(frames.begin(), frames.end(),
                        [number](const FrameFacts& f) { return ((f.states >> number) & 1U) != 0; });
  };
  for (const int number : {state::active, state::showing}) {
    if (const auto found = withState(number); found != frames.end()) {
      return found->element;
    }
  }
  return {};
}

bool isNormalOrDialog(const WindowFacts& window) {
  return window.type == WindowType::normal || window.type == WindowType::dialog;
}

}  // namespace jumplark::atspi
