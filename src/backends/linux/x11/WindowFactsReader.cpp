#include "backends/linux/x11/WindowFactsReader.h"

#include <algorithm>
#include <utility>

#include "backends/linux/x11/Properties.h"
#include "backends/linux/x11/Reply.h"

namespace jumplark::x11 {
namespace {

/// The questions about one window, in flight.
struct Questions {
  xcb_get_window_attributes_cookie_t attributes;
  xcb_get_geometry_cookie_t geometry;
  xcb_translate_coordinates_cookie_t origin;
  xcb_get_property_cookie_t netName;
  xcb_get_property_cookie_t name;
  xcb_get_property_cookie_t wmClass;
  xcb_get_property_cookie_t pid;
  xcb_get_property_cookie_t applicationId;
  xcb_get_property_cookie_t frameExtents;
  xcb_get_property_cookie_t gtkFrameExtents;
  xcb_get_property_cookie_t types;
  xcb_get_property_cookie_t transientFor;
  xcb_get_property_cookie_t states;
  std::optional<xcb_res_query_client_ids_cookie_t> resourcePid;
};

Questions ask(const X11Connection& x, xcb_window_t window) {
  const auto property = [&](xcb_atom_t atom) { return askProperty(x, window, atom); };
  Questions q{xcb_get_window_attributes(x.get(), window),
              xcb_get_geometry(x.get(), window),
              xcb_translate_coordinates(x.get(), window, x.root(), 0, 0),
              property(x.atom(Atom::netWmName)),
              property(XCB_ATOM_WM_NAME),
              property(XCB_ATOM_WM_CLASS),
              property(x.atom(Atom::netWmPid)),
              property(x.atom(Atom::gtkApplicationId)),
              property(x.atom(Atom::netFrameExtents)),
              property(x.atom(Atom::gtkFrameExtents)),
              property(x.atom(Atom::netWmWindowType)),
              property(XCB_ATOM_WM_TRANSIENT_FOR),
              property(x.atom(Atom::netWmState)),
              std::nullopt};
  if (x.extensions().xresource >= 102) {
    q.resourcePid = askClientPid(x, window);
  }
  return q;
}

WindowType typeOf(const X11Connection& x, const std::vector<uint32_t>& atoms, bool isTransient) {
  const std::pair<Atom, WindowType> known[] = {
      {Atom::typeNormal, WindowType::normal},
      {Atom::typeDialog, WindowType::dialog},
      {Atom::typeUtility, WindowType::utility},
      {Atom::typeToolbar, WindowType::toolbar},
      {Atom::typeMenu, WindowType::menu},
      {Atom::typeDropdownMenu, WindowType::popup},
      {Atom::typePopupMenu, WindowType::popup},
      {Atom::typeCombo, WindowType::popup},
      {Atom::typeTooltip, WindowType::toolTip},
      {Atom::typeDock, WindowType::dock},
      {Atom::typeDesktop, WindowType::desktop},
      {Atom::typeSplash, WindowType::splash},
      {Atom::typeNotification, WindowType::notification},
      {Atom::typeDnd, WindowType::other},
  };
  // The list is ordered by preference and may begin with types that only one toolkit knows.
  for (const uint32_t atom : atoms) {
    for (const auto& [name, type] : known) {
      if (x.atom(name) == atom) {
        return type;
      }
    }
  }
  return isTransient ? WindowType::dialog : WindowType::normal;
}

// WM_CLASS holds two texts, each ended by a NUL.
std::pair<std::string, std::string> splitClass(const std::string& property) {
  const size_t end = property.find('\0');
  if (end == std::string::npos) {
    return {property, {}};
  }
  const std::string rest = property.substr(end + 1);
  return {property.substr(0, end), rest.substr(0, rest.find('\0'))};
}

std::optional<Insets> extentsOf(const std::optional<std::vector<uint32_t>>& numbers) {
  if (!numbers || numbers->size() < 4) {
    return std::nullopt;
  }
  const auto& n = *numbers;
  return Insets{double(n[0]), double(n[1]), double(n[2]), double(n[3])};
}

void takeProperties(const X11Connection& x, const Questions& q, WindowFacts& facts) {
  const std::string netName = takeText(x, q.netName);
  const std::string name = takeText(x, q.name);
  facts.title = netName.empty() ? name : netName;
  std::tie(facts.instanceName, facts.className) = splitClass(takeText(x, q.wmClass));
  const auto pid = takeNumbers(x, q.pid);
  facts.applicationId = takeText(x, q.applicationId);
  const auto extents = extentsOf(takeNumbers(x, q.frameExtents)).value_or(Insets{});
  facts.frame = {facts.surface.x - extents.left, facts.surface.y - extents.top,
                 facts.surface.width + extents.left + extents.right,
                 facts.surface.height + extents.top + extents.bottom};
  const auto gtkExtents = extentsOf(takeNumbers(x, q.gtkFrameExtents));
  facts.tellsShadow = gtkExtents.has_value();
  facts.shadow = gtkExtents.value_or(Insets{});
  const auto types = takeNumbers(x, q.types).value_or(std::vector<uint32_t>{});
  const auto transientFor = takeNumbers(x, q.transientFor).value_or(std::vector<uint32_t>{});
  facts.transientFor = transientFor.empty() ? WindowId() : WindowId(transientFor.front());
  facts.type = typeOf(x, types, static_cast<bool>(facts.transientFor));
  const auto states = takeNumbers(x, q.states).value_or(std::vector<uint32_t>{});
  facts.modal = std::ranges::find(states, x.atom(Atom::netWmStateModal)) != states.end();
  facts.hidden = facts.hidden || std::ranges::find(states, x.atom(Atom::netWmStateHidden)) != states.end();
  facts.connectionPid = q.resourcePid ? takeClientPid(x, *q.resourcePid) : -1;
  facts.pid = pid && !pid->empty() ? static_cast<int32_t>(pid->front()) : facts.connectionPid;
}

std::optional<WindowFacts> take(const X11Connection& x, xcb_window_t window, const Questions& q) {
  WindowFacts facts;
  facts.id = window;
  const auto attributes = takeReply(x.get(), xcb_get_window_attributes_reply, q.attributes);
  const auto geometry = takeReply(x.get(), xcb_get_geometry_reply, q.geometry);
  const auto origin = takeReply(x.get(), xcb_translate_coordinates_reply, q.origin);
  if (geometry && origin) {
    facts.surface = {double(origin->dst_x), double(origin->dst_y), double(geometry->width), double(geometry->height)};
  }
  facts.hidden = attributes && attributes->map_state != XCB_MAP_STATE_VIEWABLE;
  facts.isPopup = attributes && attributes->override_redirect != 0;
  takeProperties(x, q, facts);
  const bool exists = attributes && geometry && origin;
  return exists && attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT ? std::optional(std::move(facts)) : std::nullopt;
}

}  // namespace

std::vector<std::optional<WindowFacts>> readWindowFacts(const X11Connection& x, const std::vector<xcb_window_t>& ids) {
  std::vector<Questions> questions;
  questions.reserve(ids.size());
  for (const xcb_window_t id : ids) {
    questions.push_back(ask(x, id));
  }
  std::vector<std::optional<WindowFacts>> result;
  result.reserve(ids.size());
  for (size_t i = 0; i < ids.size(); ++i) {
    result.push_back(take(x, ids[i], questions[i]));
  }
  return result;
}

}  // namespace jumplark::x11
