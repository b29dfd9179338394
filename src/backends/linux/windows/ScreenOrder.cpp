#include "backends/linux/windows/ScreenOrder.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <tuple>

namespace jumplark {

std::vector<Rect> inOrder(std::vector<Monitor> monitors) {
  const auto rank = [](const Monitor& m) { return std::tuple(std::abs(m.rect.y), !m.primary, m.rect.x); };
  const auto first = std::ranges::min_element(monitors, {}, rank);
  if (first != monitors.end()) {
    std::rotate(monitors.begin(), first, first + 1);
  }
  std::vector<Rect> rects;
  std::ranges::transform(monitors, std::back_inserter(rects), &Monitor::rect);
  return rects;
}

std::vector<Rect> fromBottom(std::vector<Rect> rects, double top) {
  for (Rect& rect : rects) {
    rect.y = top - rect.maxY();
  }
  return rects;
}

}  // namespace jumplark
