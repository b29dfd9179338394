#include "backends/linux/atspi/reading/Toolkit.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/element/TextUnits.h"

namespace jumplark::atspi {
namespace {

/// Larger than any arrangement of screens, smaller than the "nowhere" of GTK 3 (the smallest integer).
constexpr double kFarthest = 1'000'000;

/// Of a line of text, which every look of Swing's makes higher.
constexpr double kHeaderHeight = 14;

bool has(uint64_t states, int number) {
  return ((states >> static_cast<unsigned>(number)) & 1U) != 0;
}

bool isTypeName(std::string_view name) {
  constexpr size_t kPrefix = 3;
  if (!(name.starts_with("Gtk") || name.starts_with("Adw") || name.starts_with("Gdk")) || name.size() <= kPrefix) {
    return false;
  }
  const auto isUpper = [](char c) { return c >= 'A' && c <= 'Z'; };
  const auto isLower = [](char c) { return c >= 'a' && c <= 'z'; };
  return isUpper(name[kPrefix]) && std::all_of(name.begin(), name.end(), [&](char c) {
           return isUpper(c) || isLower(c) || (c >= '0' && c <= '9');
         });
}

}  // namespace

ToolkitFamily familyOf(const std::string& name, const std::string& version) {
  if (name == "gtk" || name == "GTK" || name == "GAIL") {
    return version.starts_with("4") ? ToolkitFamily::gtk4 : ToolkitFamily::gtk3;
  }
  if (name == "Qt") {
    return ToolkitFamily::qt;
  }
  if (name == "J2SE-access-bridge") {
    return ToolkitFamily::swing;
  }
  return name == "Chromium" ? ToolkitFamily::chromium : ToolkitFamily::other;
}

uint32_t Toolkit::coordinates() const {
  return extentsAreWindowRelative() ? calls::kWindow : calls::kScreen;
}

std::optional<Rect> screenExtents(const Rect& reported, Point offset) {
  if (!(reported.width > 0) || !(reported.height > 0) || std::abs(reported.x) > kFarthest ||
      std::abs(reported.y) > kFarthest || reported.width > kFarthest || reported.height > kFarthest) {
    return std::nullopt;
  }
  return Rect{reported.x + offset.x, reported.y + offset.y, reported.width, reported.height};
}

std::optional<Rect> placeTold(const Toolkit& toolkit, const Rect& reported, Point offset) {
  Rect rect = reported;
  const bool mayBeHeader = toolkit.family == ToolkitFamily::swing && rect.height == 0;
  if (mayBeHeader) {
    rect.height = kHeaderHeight;
  }
  auto place = screenExtents(rect, offset);
  if (place && mayBeHeader) {
    place->height = 0;
  }
  return place;
}

void settlePlace(const Toolkit& toolkit, ElementFacts& element) {
  if (toolkit.family != ToolkitFamily::swing || !element.extents) {
    return;
  }
  const bool isWindow = element.role == role::frame || element.role == role::dialog || element.role == role::window;
  const bool isFlat = element.extents->height == 0;
  const bool mayBeHeader = element.role == role::label && !(element.has(facts::texts) && isBlank(element.name));
  if (isWindow || (isFlat && !mayBeHeader)) {
    element.extents.reset();
  } else if (isFlat) {
    element.extents->height = kHeaderHeight;
  }
}

bool shows(const Toolkit& toolkit, uint64_t states, const std::optional<Rect>& extents) {
  if (toolkit.tellsShowing()) {
    return has(states, state::showing);
  }
  return has(states, state::showing) || (has(states, state::visible) && extents.has_value());
}

uint64_t statesWithShowing(const Toolkit& toolkit, const ElementFacts& element) {
  constexpr uint64_t kShowing = uint64_t{1} << static_cast<unsigned>(state::showing);
  const uint64_t states = element.states;
  if (toolkit.tellsShowing()) {
    return states;
  }
  const bool placeless = (element.interfaces & interface_bit::component) == 0 && has(states, state::visible);
  return placeless || shows(toolkit, states, element.extents) ? states | kShowing : states & ~kShowing;
}

std::string nameForPeople(const Toolkit& toolkit, const std::string& name) {
  return toolkit.family == ToolkitFamily::gtk4 && isTypeName(name) ? std::string() : name;
}

}  // namespace jumplark::atspi
