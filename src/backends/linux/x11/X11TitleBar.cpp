#include "backends/linux/x11/X11TitleBar.h"

#include <algorithm>
#include <array>

#include "backends/linux/x11/Properties.h"
#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/SettingsOfTitleBars.h"
#include "backends/linux/x11/WindowTree.h"

namespace jumplark::x11 {
namespace {

/// Points.
constexpr double kLeastButton = 6;
constexpr double kUnknownTitleHeight = 28;
constexpr double kWidestButton = 2.5;  ///< as parts of the title bar's height
constexpr int kFrameDepth = 3;

/// As EWMH and ICCCM number them.
constexpr uint32_t kFromPager = 2;
constexpr uint32_t kStateRemove = 0;
constexpr uint32_t kStateAdd = 1;
constexpr uint32_t kIconicState = 3;

class AtomList {
 public:
  AtomList(const X11Connection& x, xcb_window_t window, Atom property)
      : x_(x), atoms_(readNumbers(x, window, x.atom(property))) {}
  bool isTold() const { return atoms_.has_value(); }
  bool has(Atom name) const { return atoms_ && std::ranges::find(*atoms_, x_.atom(name)) != atoms_->end(); }

 private:
  const X11Connection& x_;
  std::optional<std::vector<uint32_t>> atoms_;
};

std::vector<WindowWish> wishesFor(const X11Connection& x, const WindowFacts& window) {
  const bool hasTitleBar = window.type == WindowType::normal || window.type == WindowType::dialog;
  if (!hasTitleBar || window.hidden || windowManagerWindow(x) == 0) {
    return {};
  }
  const auto id = static_cast<xcb_window_t>(window.id.low);
  const AtomList allowed(x, id, Atom::netWmAllowedActions);
  const AtomList states(x, id, Atom::netWmState);
  const auto may = [&](Atom action) { return !allowed.isTold() || allowed.has(action); };
  std::vector<WindowWish> wishes;
  if (may(Atom::netWmActionMinimize)) {
    wishes.push_back(WindowWish::minimise);
  }
  if (states.has(Atom::netWmStateMaximizedHorz) && states.has(Atom::netWmStateMaximizedVert)) {
    wishes.push_back(WindowWish::restore);
  } else if (may(Atom::netWmActionMaximizeHorz) && may(Atom::netWmActionMaximizeVert)) {
    wishes.push_back(WindowWish::maximise);
  }
  if (may(Atom::netWmActionClose)) {
    wishes.push_back(WindowWish::close);
  }
  return wishes;
}

/// The child of the root that holds a window.
xcb_window_t topLevelOf(const X11Connection& x, xcb_window_t window) {
  constexpr int kDeepest = 8;
  for (int step = 0; step < kDeepest; ++step) {
    const auto tree = takeReply(x.get(), xcb_query_tree_reply, xcb_query_tree(x.get(), window));
    if (!tree || tree->parent == XCB_WINDOW_NONE) {
      return XCB_WINDOW_NONE;
    }
    if (tree->parent == x.root()) {
      return window;
    }
    window = tree->parent;
  }
  return XCB_WINDOW_NONE;
}

/// `room` is where buttons may be: the corners of a frame are small windows too.
bool isButton(const Rect& place, const Rect& title, const Rect& room) {
  const bool isInside =
      place.minX() >= room.minX() && place.maxX() <= room.maxX() && title.contains({place.midX(), place.midY()});
  return isInside && std::min(place.width, place.height) >= kLeastButton &&
         place.width <= kWidestButton * title.height && place.width < title.width / 2;
}

/// The places of windows that show, in the same order; null for the others. All questions travel together.
std::vector<Rect> placesOf(const X11Connection& x, const std::vector<xcb_window_t>& windows) {
  struct Questions {
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_geometry_cookie_t geometry;
    xcb_translate_coordinates_cookie_t origin;
  };
  std::vector<Questions> asked;
  asked.reserve(windows.size());
  for (const xcb_window_t window : windows) {
    asked.push_back({xcb_get_window_attributes(x.get(), window), xcb_get_geometry(x.get(), window),
                     xcb_translate_coordinates(x.get(), window, x.root(), 0, 0)});
  }
  std::vector<Rect> places;
  places.reserve(windows.size());
  for (const Questions& one : asked) {
    const auto attributes = takeReply(x.get(), xcb_get_window_attributes_reply, one.attributes);
    const auto geometry = takeReply(x.get(), xcb_get_geometry_reply, one.geometry);
    const auto origin = takeReply(x.get(), xcb_translate_coordinates_reply, one.origin);
    const bool shows = attributes && geometry && origin && attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
                       attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
    places.push_back(
        shows ? Rect{double(origin->dst_x), double(origin->dst_y), double(geometry->width), double(geometry->height)}
              : Rect::null());
  }
  return places;
}

/// The small windows that show on a title bar, whatever they are for.
std::vector<Rect> buttonsIn(const X11Connection& x, xcb_window_t frame, xcb_window_t client, const Rect& title,
                            const Rect& room) {
  std::vector<Rect> found;
  std::vector<xcb_window_t> level = {frame};
  for (int depth = 0; depth < kFrameDepth && !level.empty(); ++depth) {
    std::vector<xcb_window_t> children;
    for (const xcb_window_t window : level) {
      const auto inside = childrenTopmostFirst(x, window);
      children.insert(children.end(), inside.begin(), inside.end());
    }
    std::erase(children, client);
    const std::vector<Rect> places = placesOf(x, children);
    level.clear();
    for (size_t i = 0; i < children.size(); ++i) {
      if (isButton(places[i], title, room)) {
        found.push_back(intersection(places[i], title));
      } else if (intersects(places[i], title)) {
        level.push_back(children[i]);
      }
    }
  }
  return found;
}

bool send(const X11Connection& x, xcb_window_t window, Atom type, const std::array<uint32_t, 5>& data) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = x.atom(type);
  std::ranges::copy(data, message.data.data32);
  constexpr uint32_t toWindowManager = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
  return x.check(
      xcb_send_event_checked(x.get(), 0, x.root(), toWindowManager, reinterpret_cast<const char*>(&message)));
}

}  // namespace

std::vector<WindowButton> buttonsOfWindow(const X11Connection& x, const WindowFacts& window) {
  const std::vector<WindowWish> wishes = wishesFor(x, window);
  if (wishes.empty()) {
    return {};
  }
  const auto client = static_cast<xcb_window_t>(window.id.low);
  const double height = window.surface.y - window.frame.y;
  if (height < kLeastButton) {
    const Rect seen = window.visible();
    return placeButtons(wishes, usualLayout(), {seen.x, seen.y, seen.width, kUnknownTitleHeight}, {});
  }
  const Rect title{window.frame.x, window.frame.y, window.frame.width, height};
  const double border = window.surface.x > window.frame.x ? 1 : 0;
  const Rect room{title.x + border, title.y, title.width - 2 * border, title.height};
  const xcb_window_t frame = topLevelOf(x, client);
  const bool isFramed = frame != XCB_WINDOW_NONE && frame != client;
  const std::vector<Rect> drawn = isFramed ? buttonsIn(x, frame, client, title, room) : std::vector<Rect>();
  const xcb_window_t manager = windowManagerWindow(x);
  const std::string name = takeText(x, askProperty(x, manager, x.atom(Atom::netWmName)));
  return placeButtons(wishes, layoutOfWindowManager(name), title, drawn);
}

bool requestOfWindow(const X11Connection& x, xcb_window_t window, WindowWish wish, uint32_t time) {
  if (windowManagerWindow(x) == 0) {
    return false;
  }
  const uint32_t horizontally = x.atom(Atom::netWmStateMaximizedHorz);
  const uint32_t vertically = x.atom(Atom::netWmStateMaximizedVert);
  switch (wish) {
    case WindowWish::close:
      return send(x, window, Atom::netCloseWindow, {time, kFromPager, 0, 0, 0});
    case WindowWish::minimise:
      return send(x, window, Atom::wmChangeState, {kIconicState, 0, 0, 0, 0});
    case WindowWish::maximise:
      return send(x, window, Atom::netWmState, {kStateAdd, horizontally, vertically, kFromPager, 0});
    case WindowWish::restore:
      break;
  }
  return send(x, window, Atom::netWmState, {kStateRemove, horizontally, vertically, kFromPager, 0});
}

}  // namespace jumplark::x11
