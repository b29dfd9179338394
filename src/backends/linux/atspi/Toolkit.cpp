#include "backends/linux/atspi/Toolkit.h"

#include <cmath>

namespace jumplark::atspi {
namespace {

/// Larger than any arrangement of screens, smaller than the "nowhere" of GTK 3 (the smallest integer).
constexpr double kFarthest = 1'000'000;

bool has(uint64_t states, int number) {
  return ((states >> static_cast<unsigned>(number)) & 1U) != 0;
}

}  // namespace

ToolkitFamily familyOf(const std::string& name, const std::string& version) {
  if (name == "gtk" || name == "GTK" || name == "GAIL") {
    return version.starts_with("4") ? ToolkitFamily::gtk4 : ToolkitFamily::gtk3;
  }
  if (name == "Qt") {
    return ToolkitFamily::qt;
  }
  return name == "Chromium" ? ToolkitFamily::chromium : ToolkitFamily::other;
}

std::optional<Rect> screenExtents(const Rect& reported, Point offset) {
  if (!(reported.width > 0) || !(reported.height > 0) || std::abs(reported.x) > kFarthest ||
      std::abs(reported.y) > kFarthest || reported.width > kFarthest || reported.height > kFarthest) {
    return std::nullopt;
  }
  return Rect{reported.x + offset.x, reported.y + offset.y, reported.width, reported.height};
}

bool shows(const Toolkit& toolkit, uint64_t states, const std::optional<Rect>& extents) {
  if (toolkit.tellsShowing()) {
    return has(states, state::showing);
  }
  return has(states, state::showing) || (has(states, state::visible) && extents.has_value());
}

}  // namespace jumplark::atspi
