#include "backends/linux/atspi/bus/EventMap.h"

#include <array>
#include <cctype>
#include <utility>

namespace jumplark::atspi {
namespace {

using Entry = std::pair<std::string_view, EventKind>;
using enum EventKind::About;
constexpr int32_t kAny = EventKind::kAny;

constexpr std::array kEvents{
    Entry{"AXFocusedUIElementChanged", {"Object", "StateChanged", "focused", 1, source}},
    Entry{"AXFocusedWindowChanged", {"Window", "Activate", "", kAny, source}},
    Entry{"AXValueChanged", {"Object", "TextChanged", "", kAny, source}},
    Entry{"AXValueChanged", {"Object", "PropertyChange", "accessible-value", kAny, source}},
    Entry{"AXValueChanged", {"Object", "StateChanged", "checked", kAny, source}},
    Entry{"AXValueChanged", {"Object", "StateChanged", "pressed", kAny, source}},
    Entry{"AXTitleChanged", {"Object", "PropertyChange", "accessible-name", kAny, source}},
    Entry{"AXSelectedTextChanged", {"Object", "TextSelectionChanged", "", kAny, source}},
    Entry{"AXSelectedTextChanged", {"Object", "TextCaretMoved", "", kAny, source}},
    Entry{"AXSelectedChildrenChanged", {"Object", "SelectionChanged", "", kAny, source}},
    Entry{"AXMoved", {"Object", "BoundsChanged", "", kAny, source}},
    Entry{"AXResized", {"Object", "BoundsChanged", "", kAny, source}},
    Entry{"AXWindowMiniaturized", {"Window", "Minimize", "", kAny, source}},
    Entry{"AXWindowDeminiaturized", {"Window", "Restore", "", kAny, source}},
    // Toolkits send the one or the other, Qt only that a window which nobody has heard of is active.
    Entry{"AXWindowCreated", {"Window", "Create", "", kAny, source}},
    Entry{"AXWindowCreated", {"Window", "Activate", "", kAny, source}},
    Entry{"AXWindowCreated", {"Object", "ChildrenChanged", "add", kAny, other}},
    Entry{"AXUIElementDestroyed", {"Object", "StateChanged", "defunct", 1, source}},
    Entry{"AXUIElementDestroyed", {"Object", "ChildrenChanged", "remove", kAny, other}},
    Entry{"AXUIElementDestroyed", {"Window", "Destroy", "", kAny, source}},
};

/// "StateChanged" as "state-changed"
std::string withHyphens(std::string_view words) {
  std::string text;
  for (const char c : words) {
    const bool isUpper = c >= 'A' && c <= 'Z';
    if (isUpper && !text.empty()) {
      text += '-';
    }
    text += isUpper ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return text;
}

}  // namespace

bool EventKind::fits(const BusEvent& event) const {
  return event.interface == interface && event.member == member && event.detail.starts_with(detail) &&
         (detail1 == kAny || event.detail1 == detail1) && (about == source || !event.otherPath.empty());
}

std::string EventKind::registration() const {
  std::string text = withHyphens(interface) + ":" + withHyphens(member);
  if (!detail.empty()) {
    text += ':';
    text += detail;
  }
  return text;
}

std::vector<EventKind> eventsFor(std::string_view notification) {
  std::vector<EventKind> kinds;
  for (const auto& [name, kind] : kEvents) {
    if (name == notification) {
      kinds.push_back(kind);
    }
  }
  return kinds;
}

}  // namespace jumplark::atspi
