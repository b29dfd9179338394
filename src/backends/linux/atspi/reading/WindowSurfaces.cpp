#include "backends/linux/atspi/reading/WindowSurfaces.h"

#include <algorithm>
#include <optional>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/reading/CoordinateTransform.h"

namespace jumplark::atspi {
namespace {

/// What fills a window holds what fills it, and so on.
constexpr int kMostLevels = 5;
constexpr size_t kMostChildren = 40;
/// Sizes are rounded to whole points on their way.
constexpr double kRounding = 2;

bool haveSameSize(const Rect& a, const Rect& b) {
  return isNear(a.width, b.width, kRounding) && isNear(a.height, b.height, kRounding);
}

bool isLarger(const Rect& outer, const Rect& inner) {
  return outer.width > inner.width + kRounding || outer.height > inner.height + kRounding;
}

Rect around(const std::vector<Rect>& rects) {
  Rect all = rects.front();
  for (const Rect& rect : rects) {
    const Point corner{std::min(all.minX(), rect.minX()), std::min(all.minY(), rect.minY())};
    all = {corner.x, corner.y, std::max(all.maxX(), rect.maxX()) - corner.x,
           std::max(all.maxY(), rect.maxY()) - corner.y};
  }
  return all;
}

/// Looks in a frame for what a person sees of it as a window.
class Content {
 public:
  Content(CallRunner& runner, const Toolkit& toolkit, TimePoint deadline)
      : runner_(runner), toolkit_(toolkit), deadline_(deadline) {}

  /// As the frame counts; none when nothing in it tells.
  std::optional<Rect> find(const FrameFacts& frame, const Rect& seen) {
    std::optional<Rect> best;
    ElementRef at = frame.element;
    for (int level = 0; level < kMostLevels && handleOf(at); ++level) {
      if (!readChildren(at)) {
        break;
      }
      const auto fits = std::ranges::find_if(rects_, [&](const Rect& rect) { return haveSameSize(rect, seen); });
      if (fits != rects_.end()) {
        return *fits;
      }
      if (const Rect all = around(rects_); isLarger(frame.reported, all)) {
        best = all;
      }
      const auto whole =
          std::ranges::find_if(rects_, [&](const Rect& rect) { return haveSameSize(rect, frame.reported); });
      at = whole == rects_.end() ? ElementRef() : refs_[static_cast<size_t>(whole - rects_.begin())];
    }
    return best;
  }

 private:
  /// Those that show; false when there are none.
  bool readChildren(const ElementRef& element) {
    std::vector<ElementRef> children = callOnce(runner_, calls::children(*handleOf(element)), deadline_).value;
    children.resize(std::min(children.size(), kMostChildren));
    std::vector<uint64_t> states(children.size());
    std::vector<Rect> told(children.size());
    TypedBatch batch;
    for (size_t i = 0; i < children.size(); ++i) {
      const AtspiHandle& child = *handleOf(children[i]);
      batch.add<uint64_t>(calls::states(child), [&one = states[i]](uint64_t& answer) { one = answer; });
      batch.add<Rect>(calls::extents(child, toolkit_.coordinates()), [&one = told[i]](Rect& answer) { one = answer; });
    }
    batch.run(runner_, deadline_);
    refs_.clear();
    rects_.clear();
    for (size_t i = 0; i < children.size(); ++i) {
      const auto place = screenExtents(told[i], {});
      if (place && toolkit_.shows(states[i], place)) {
        refs_.push_back(children[i]);
        rects_.push_back(*place);
      }
    }
    return !rects_.empty();
  }

  CallRunner& runner_;
  const Toolkit& toolkit_;
  const TimePoint deadline_;
  std::vector<ElementRef> refs_;
  std::vector<Rect> rects_;
};

}  // namespace

std::optional<std::vector<MatchedFrame>> followWindows(const std::vector<MatchedFrame>& before,
                                                       const std::vector<WindowFacts>& now) {
  std::vector<MatchedFrame> followed;
  for (const WindowFacts& window : now) {
    const auto known =
        std::ranges::find_if(before, [&](const MatchedFrame& one) { return one.window.id == window.id; });
    if (known == before.end() || window.knowsItsPlace || known->window.frame.width != window.frame.width ||
        known->window.frame.height != window.frame.height) {
      return std::nullopt;
    }
    followed.push_back({known->frame, window});
    const Rect& surface = known->window.surface;
    followed.back().window.surface = {surface.x + window.frame.x - known->window.frame.x,
                                      surface.y + window.frame.y - known->window.frame.y, surface.width,
                                      surface.height};
    followed.back().window.tellsShadow = known->window.tellsShadow;
  }
  return followed;
}

void followCorners(CallRunner& runner, const Toolkit& toolkit, std::vector<MatchedFrame>& matched, TimePoint deadline) {
  TypedBatch batch;
  for (auto& one : matched) {
    batch.add<Rect>(calls::extents(*handleOf(one.frame.element), toolkit.coordinates()), [&one](Rect& told) {
      Rect& before = one.frame.reported;
      if (told.x != before.x || told.y != before.y) {
        one.window.surface.x += before.x - told.x;
        one.window.surface.y += before.y - told.y;
        one.window.tellsShadow = false;
        before = told;
      }
    });
  }
  batch.run(runner, deadline);
}

void findSurfaces(CallRunner& runner, const Toolkit& toolkit, std::vector<MatchedFrame>& matched, TimePoint deadline) {
  for (auto& [frame, window] : matched) {
    const Rect seen = window.surface;
    const Rect& told = frame.reported;
    if (window.knowsItsPlace || !screenExtents(told, {})) {
      continue;
    }
    if (window.tellsShadow) {
      // Qt counts from the corner of the screen that it takes the window to be on.
      if (told.x != 0 || told.y != 0) {
        window.surface = {seen.x - told.x, seen.y - told.y, seen.width, seen.height};
        window.tellsShadow = false;
      }
      continue;
    }
    Point corner{told.x, told.y};
    if (isLarger(told, seen)) {
      const double across = std::max(0.0, told.width - seen.width);
      const double down = std::max(0.0, told.height - seen.height);
      const auto content = Content(runner, toolkit, deadline).find(frame, seen);
      corner = content ? Point{std::clamp(content->x - told.x, 0.0, across), std::clamp(content->y - told.y, 0.0, down)}
                       : Point{across / 2, down / 2};
      corner = {corner.x + told.x, corner.y + told.y};
    } else if (!haveSameSize(told, seen)) {
      continue;
    }
    window.surface = {seen.x - corner.x, seen.y - corner.y, told.width, told.height};
  }
}

}  // namespace jumplark::atspi
