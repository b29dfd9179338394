#include "backends/linux/x11/WindowTree.h"

#include <xcb/shape.h>

#include <algorithm>
#include <cmath>

#include "backends/linux/x11/Properties.h"
#include "backends/linux/x11/Reply.h"

namespace jumplark::x11 {
namespace {

constexpr int kMaxFrameDepth = 3;
constexpr uint32_t kMaxListedWindows = 1U << 16U;

bool covers(const Reply<xcb_shape_get_rectangles_reply_t>& shape, int x, int y) {
  if (!shape) {
    return false;
  }
  const xcb_rectangle_t* rectangles = xcb_shape_get_rectangles_rectangles(shape.get());
  const int count = xcb_shape_get_rectangles_rectangles_length(shape.get());
  return std::any_of(rectangles, rectangles + count, [&](const xcb_rectangle_t& r) {
    return x >= r.x && x < r.x + r.width && y >= r.y && y < r.y + r.height;
  });
}

std::vector<xcb_window_t> withWmState(const X11Connection& x, const std::vector<xcb_window_t>& windows) {
  std::vector<xcb_get_property_cookie_t> cookies;
  cookies.reserve(windows.size());
  for (const xcb_window_t window : windows) {
    cookies.push_back(askProperty(x, window, x.atom(Atom::wmState), 2));
  }
  std::vector<xcb_window_t> result;
  for (size_t i = 0; i < windows.size(); ++i) {
    if (takeNumbers(x, cookies[i])) {
      result.push_back(windows[i]);
    }
  }
  return result;
}

std::vector<xcb_window_t> childrenOfAll(const X11Connection& x, const std::vector<xcb_window_t>& windows) {
  std::vector<xcb_query_tree_cookie_t> cookies;
  cookies.reserve(windows.size());
  for (const xcb_window_t window : windows) {
    cookies.push_back(xcb_query_tree(x.get(), window));
  }
  std::vector<xcb_window_t> result;
  for (const auto& cookie : cookies) {
    if (const auto tree = takeReply(x.get(), xcb_query_tree_reply, cookie)) {
      const xcb_window_t* children = xcb_query_tree_children(tree.get());
      result.insert(result.end(), children, children + xcb_query_tree_children_length(tree.get()));
    }
  }
  return result;
}

std::vector<xcb_window_t> managedFromTree(const X11Connection& x) {
  std::vector<xcb_window_t> result;
  for (const TopLevel& top : viewableTopLevels(x)) {
    const xcb_window_t client = clientInside(x, top.id);
    if (!top.overrideRedirect || client != top.id) {
      result.push_back(client);
    }
  }
  return result;
}

}  // namespace

WindowManagerQuestion::WindowManagerQuestion(const X11Connection& x, xcb_window_t guess)
    : x_(x),
      guess_(guess),
      claim_(askProperty(x, x.root(), x.atom(Atom::netSupportingWmCheck), 1)),
      confirmation_(askProperty(x, guess != 0 ? guess : x.root(), x.atom(Atom::netSupportingWmCheck), 1)) {}

xcb_window_t WindowManagerQuestion::take() const {
  const auto claimed = takeNumbers(x_, claim_);
  auto confirmed = takeNumbers(x_, confirmation_);
  if (!claimed || claimed->empty() || claimed->front() == 0) {
    return 0;
  }
  if (claimed->front() != guess_) {
    confirmed = readNumbers(x_, claimed->front(), x_.atom(Atom::netSupportingWmCheck), 1);
  }
  return confirmed == claimed ? claimed->front() : 0;
}

std::vector<xcb_window_t> childrenTopmostFirst(const X11Connection& x, xcb_window_t window) {
  std::vector<xcb_window_t> result = childrenOfAll(x, {window});
  std::ranges::reverse(result);
  return result;
}

std::vector<TopLevel> viewableTopLevels(const X11Connection& x) {
  const std::vector<xcb_window_t> children = childrenTopmostFirst(x, x.root());
  std::vector<std::pair<xcb_get_window_attributes_cookie_t, xcb_get_geometry_cookie_t>> cookies;
  cookies.reserve(children.size());
  for (const xcb_window_t child : children) {
    cookies.emplace_back(xcb_get_window_attributes(x.get(), child), xcb_get_geometry(x.get(), child));
  }
  std::vector<TopLevel> result;
  for (size_t i = 0; i < children.size(); ++i) {
    const auto attributes = takeReply(x.get(), xcb_get_window_attributes_reply, cookies[i].first);
    const auto geometry = takeReply(x.get(), xcb_get_geometry_reply, cookies[i].second);
    if (!attributes || !geometry || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
        attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT) {
      continue;
    }
    const double border = geometry->border_width;
    result.push_back(
        {children[i], attributes->override_redirect != 0,
         Rect{double(geometry->x), double(geometry->y), geometry->width + 2 * border, geometry->height + 2 * border},
         Point{geometry->x + border, geometry->y + border}});
  }
  return result;
}

xcb_window_t clientInside(const X11Connection& x, xcb_window_t topLevel) {
  std::vector<xcb_window_t> level = {topLevel};
  for (int depth = 0; depth <= kMaxFrameDepth && !level.empty(); ++depth) {
    if (const auto clients = withWmState(x, level); !clients.empty()) {
      return clients.front();
    }
    level = childrenOfAll(x, level);
  }
  return topLevel;
}

std::vector<xcb_window_t> managedWindows(const X11Connection& x, xcb_window_t& windowManager) {
  const WindowManagerQuestion manager(x, windowManager);
  const auto stackingCookie = askProperty(x, x.root(), x.atom(Atom::netClientListStacking), kMaxListedWindows);
  const auto listCookie = askProperty(x, x.root(), x.atom(Atom::netClientList), kMaxListedWindows);
  windowManager = manager.take();
  const auto stacking = takeNumbers(x, stackingCookie);
  const auto list = takeNumbers(x, listCookie);
  if (windowManager == 0 || !(stacking || list)) {
    return managedFromTree(x);
  }
  std::vector<xcb_window_t> result = stacking ? *stacking : *list;
  std::ranges::reverse(result);
  return result;
}

std::vector<bool> shapesContain(const X11Connection& x, const std::vector<TopLevel>& windows, Point point) {
  if (x.extensions().shape == 0) {
    return std::vector<bool>(windows.size(), true);
  }
  std::vector<std::pair<xcb_shape_get_rectangles_cookie_t, xcb_shape_get_rectangles_cookie_t>> cookies;
  cookies.reserve(windows.size());
  for (const TopLevel& window : windows) {
    cookies.emplace_back(xcb_shape_get_rectangles(x.get(), window.id, XCB_SHAPE_SK_BOUNDING),
                         xcb_shape_get_rectangles(x.get(), window.id, XCB_SHAPE_SK_INPUT));
  }
  std::vector<bool> result;
  result.reserve(windows.size());
  for (size_t i = 0; i < windows.size(); ++i) {
    const int px = static_cast<int>(std::floor(point.x - windows[i].inner.x));
    const int py = static_cast<int>(std::floor(point.y - windows[i].inner.y));
    const auto bounding = takeReply(x.get(), xcb_shape_get_rectangles_reply, cookies[i].first);
    const auto input = takeReply(x.get(), xcb_shape_get_rectangles_reply, cookies[i].second);
    result.push_back(covers(bounding, px, py) && covers(input, px, py));
  }
  return result;
}

}  // namespace jumplark::x11
