#include "backends/linux/atspi/toolkits/gtk4/Gtk4.h"

#include <algorithm>
#include <string_view>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/Corrections.h"
#include "backends/linux/atspi/reading/WalkSteps.h"
#include "backends/linux/atspi/toolkits/ControlParts.h"
#include "backends/linux/atspi/toolkits/gtk4/Gtk4Tree.h"

namespace jumplark::atspi {
namespace {

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

/// Finds what fills pop-up windows, and moves it there.
class Popovers {
 public:
  Popovers(Reading& reading, const ElementRef& frame) : reading_(reading), frame_(frame) {}

  void place() {
    for (const WindowFacts& popup : reading_.popupWindows) {
      ElementFacts* found = nullptr;
      for (const auto& [ref, element] : reading_.elements) {
        if (!moved_.contains(ref) && fills(*element, popup) && (!found || isOutside(*element, *found))) {
          found = element.get();
        }
      }
      if (found) {
        const Rect opener = *reading_.elements.find(found->parent)->extents;
        open(*found, {popup.surface.x - opener.x, popup.surface.y - opener.y});
      }
    }
    if (reading_.isLost && reading_.popupWindows.empty()) {
      placeUntold();
    }
  }

 private:
  /// The window system tells nothing of pop-ups: they open below the middle of what opens them.
  void placeUntold() {
    std::vector<ElementFacts*> found;
    for (const auto& [ref, element] : reading_.elements) {
      if (isLikelyOpen(*element)) {
        found.push_back(element.get());
      }
    }
    for (ElementFacts* element : found) {
      const Rect opener = *reading_.elements.find(element->parent)->extents;
      open(*element, {(opener.width - element->extents->width) / 2, opener.height});
    }
  }

  /// It begins where the control does that opens it, but for a margin, and is too high to be a part of it.
  bool isLikelyOpen(const ElementFacts& element) const {
    constexpr double kWidestMargin = 12;
    const ElementFacts* opener = reading_.elements.find(element.parent);
    if (!opener || !opener->extents || !element.extents || !element.is(state::showing) ||
        !role::isOneOf<role::pushButton, role::toggleButton, role::comboBox, role::menuItem>(opener->role)) {
      return false;
    }
    const double down = element.extents->y - opener->extents->y;
    return isNear(element.extents->x, opener->extents->x) && down >= 0 && down <= kWidestMargin &&
           element.extents->height > opener->extents->height + kWidestMargin;
  }

  void open(ElementFacts& element, Point shift) {
    reading_.popovers.push_back({element.ref, element.parent});
    move(element, shift);
    reading_.elements.reparent(element.ref, frame_);
  }

  /// The element's far corner is the window's, counted from the control that opens it.
  bool fills(const ElementFacts& element, const WindowFacts& popup) const {
    const ElementFacts* opener = reading_.elements.find(element.parent);
    if (!opener || !opener->extents || !element.extents || element.parent == frame_ || !element.is(state::showing)) {
      return false;
    }
    const double right = element.extents->x - opener->extents->x;
    const double down = element.extents->y - opener->extents->y;
    return right >= 0 && down >= 0 && isNear(right + element.extents->width, popup.surface.width) &&
           isNear(down + element.extents->height, popup.surface.height);
  }

  bool isOutside(const ElementFacts& outer, const ElementFacts& inner) const {
    return reading_.elements.findAbove(inner, [&](const ElementFacts& one) { return &one == &outer; }) != nullptr;
  }

  void move(ElementFacts& element, Point shift) {
    if (moved_.insert(element.ref).second) {
      reading_.transform.move(element, shift);
    }
    for (ElementFacts* child : reading_.elements.childrenOf(element)) {
      move(*child, shift);
    }
  }

  Reading& reading_;
  const ElementRef frame_;
  std::unordered_set<ElementRef, ElementRefHash> moved_;
};

}  // namespace

bool Gtk4::draws(const ToolkitFacts& facts) {
  return (facts.name == "gtk" || facts.name == "GTK") && facts.version.starts_with("4");
}

std::string Gtk4::nameForPeople(const std::string& name) const {
  return isTypeName(name) ? std::string() : name;
}

Point Gtk4::originIn(const WindowFacts& window, const Rect& reportedFrame) const {
  if (window.tellsShadow || !window.knowsItsPlace) {
    const auto rects = rectsOf(window);
    const auto fits =
        std::ranges::find_if(rects, [&](const Rect& rect) { return scaleBetween(reportedFrame, rect) == 1; });
    const Rect seen = window.tellsShadow || fits == rects.end() ? window.visible() : *fits;
    return {seen.x, seen.y};
  }
  const double scale = wholeScale(window, reportedFrame);
  return {window.surface.x + (window.surface.width - reportedFrame.width * scale) / 2,
          window.surface.y + (window.surface.height - reportedFrame.height * scale) / 2};
}

Placement Gtk4::placementIn(const WindowFacts& window, const Rect& reportedFrame) const {
  const Point origin = originIn(window, reportedFrame);
  return {origin, origin, wholeScale(window, reportedFrame)};
}

bool Gtk4::isOnlyDecorated(const CachedTree& cache, const CacheItem& item) const {
  return jumplark::atspi::isOnlyDecorated(cache, item);
}

void Gtk4::settle(CallRunner& runner, const WalkPlan& plan, ElementDraft& elements,
                  std::vector<std::shared_ptr<ElementFacts>>& walked) const {
  Gtk4Tree(runner, plan, elements).settle(walked);
  std::erase_if(walked, [&](const auto& element) { return !elements.contains(element->ref); });
}

void Gtk4::correctPlaces(Reading& reading) const {
  for (const ElementRef& frame : reading.roots) {
    Popovers(reading, frame).place();
  }
}

void Gtk4::addParts(Reading& reading) const {
  for (const ElementFacts* field : shownOf(reading.elements, role::isOneOf<role::spinButton>)) {
    addSquareSteppers(reading, *field);
  }
}

}  // namespace jumplark::atspi
