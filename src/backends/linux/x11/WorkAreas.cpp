#include "backends/linux/x11/WorkAreas.h"

#include <algorithm>
#include <optional>

#include "backends/linux/x11/Properties.h"
#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/WindowTree.h"

namespace jumplark::x11 {
namespace {

enum class Side { left, right, top, bottom };
constexpr Side kSides[] = {Side::left, Side::right, Side::top, Side::bottom};

/// What a window reserves along one edge of the root.
struct Strut {
  Side side;
  Rect rect;
};

bool isEmpty(const Rect& rect) {
  return rect.width <= 0 || rect.height <= 0;
}

Rect fromEdges(double left, double top, double right, double bottom) {
  return {left, top, right - left, bottom - top};
}

Rect rectOf(Side side, double depth, double begin, double end, const Size& root) {
  switch (side) {
    case Side::left:
      return fromEdges(0, begin, depth, end);
    case Side::right:
      return fromEdges(root.width - depth, begin, root.width, end);
    case Side::top:
      return fromEdges(begin, 0, end, depth);
    case Side::bottom:
      return fromEdges(begin, root.height - depth, end, root.height);
  }
  return {};
}

// Depths of the four sides and, if `numbers` goes on, the first and last pixel of each.
void addStruts(const std::vector<uint32_t>& numbers, const Size& root, std::vector<Strut>& struts) {
  constexpr size_t whole = 4;
  constexpr size_t partial = 12;
  for (size_t i = 0; i < whole && numbers.size() >= whole; ++i) {
    if (numbers[i] == 0) {
      continue;
    }
    const bool vertical = kSides[i] == Side::left || kSides[i] == Side::right;
    double begin = 0;
    double end = vertical ? root.height : root.width;
    if (numbers.size() >= partial) {
      begin = numbers[whole + 2 * i];
      end = numbers[whole + 2 * i + 1] + 1.0;
    }
    struts.push_back({kSides[i], rectOf(kSides[i], numbers[i], begin, end, root)});
  }
}

std::vector<Strut> readStruts(const X11Connection& x, const std::vector<xcb_window_t>& windows, const Size& root) {
  std::vector<std::pair<xcb_get_property_cookie_t, xcb_get_property_cookie_t>> cookies;
  cookies.reserve(windows.size());
  for (const xcb_window_t window : windows) {
    cookies.emplace_back(askProperty(x, window, x.atom(Atom::netWmStrutPartial)),
                         askProperty(x, window, x.atom(Atom::netWmStrut)));
  }
  std::vector<Strut> result;
  for (const auto& [partialCookie, wholeCookie] : cookies) {
    const auto partial = takeNumbers(x, partialCookie);
    const auto whole = takeNumbers(x, wholeCookie);
    if (const auto& numbers = partial ? partial : whole) {
      addStruts(*numbers, root, result);
    }
  }
  return result;
}

Rect without(const Rect& area, const Strut& strut) {
  if (isEmpty(intersection(area, strut.rect))) {
    return area;
  }
  Rect left = area;
  switch (strut.side) {
    case Side::left:
      left = fromEdges(strut.rect.maxX(), area.minY(), area.maxX(), area.maxY());
      break;
    case Side::right:
      left = fromEdges(area.minX(), area.minY(), strut.rect.minX(), area.maxY());
      break;
    case Side::top:
      left = fromEdges(area.minX(), strut.rect.maxY(), area.maxX(), area.maxY());
      break;
    case Side::bottom:
      left = fromEdges(area.minX(), area.minY(), area.maxX(), strut.rect.minY());
      break;
  }
  // A panel at an inner edge reserves all from the root's edge on, and so the whole of the monitors between.
  return isEmpty(left) ? area : left;
}

std::optional<Rect> currentWorkArea(const X11Connection& x) {
  const auto desktop = readNumbers(x, x.root(), x.atom(Atom::netCurrentDesktop), 1);
  const auto areas = readNumbers(x, x.root(), x.atom(Atom::netWorkarea));
  const size_t first = desktop && !desktop->empty() ? size_t{desktop->front()} * 4 : 0;
  if (!areas || areas->size() < first + 4) {
    return std::nullopt;
  }
  const uint32_t* area = areas->data() + first;
  return Rect{double(static_cast<int32_t>(area[0])), double(static_cast<int32_t>(area[1])), double(area[2]),
              double(area[3])};
}

}  // namespace

std::vector<Rect> workAreas(const X11Connection& x, const std::vector<Rect>& monitors) {
  const auto geometryCookie = xcb_get_geometry(x.get(), x.root());
  xcb_window_t windowManager = 0;
  const std::vector<xcb_window_t> windows = managedWindows(x, windowManager);
  const auto geometry = takeReply(x.get(), xcb_get_geometry_reply, geometryCookie);
  if (!geometry || windowManager == 0) {
    return monitors;
  }
  const std::vector<Strut> struts = readStruts(x, windows, {double(geometry->width), double(geometry->height)});
  const std::optional<Rect> whole = monitors.size() == 1 || struts.empty() ? currentWorkArea(x) : std::optional<Rect>();
  std::vector<Rect> result;
  for (const Rect& monitor : monitors) {
    Rect area = monitor;
    for (const Strut& strut : struts) {
      area = without(area, strut);
    }
    const Rect common = whole ? intersection(area, *whole) : area;
    result.push_back(isEmpty(common) ? area : common);
  }
  return result;
}

}  // namespace jumplark::x11
