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

bool liesIn(const Rect& inner, const Rect& outer) {
  return inner.x >= outer.x && inner.y >= outer.y && inner.maxX() <= outer.maxX() && inner.maxY() <= outer.maxY();
}

/// Finds what fills pop-up windows, and moves it there. Versions differ in where they tell it: as if its window began
/// where the control does that opens it, or, from 4.10 on, where it is in the surface that the application draws its
/// window on, of which all others but it leave the shadow out.
class Popovers {
 public:
  Popovers(Reading& reading, const ElementRef& frame) : reading_(reading), frame_(frame) {}

  void place() {
    for (const WindowFacts& popup : reading_.popupWindows) {
      ElementFacts* found = nullptr;
      for (const auto& [ref, element] : reading_.elements) {
        const bool isCandidate = !moved_.contains(ref) && openerOf(*element) &&
                                 (fills(*element, popup) || fillsInSurface(*element, popup.surface));
        if (isCandidate && (!found || isOutside(*element, *found))) {
          found = element.get();
        }
      }
      if (found && fills(*found, popup)) {
        const Rect& opener = *openerOf(*found)->extents;
        open(*found, {popup.surface.x - opener.x, popup.surface.y - opener.y}, Padding::told);
      } else if (found) {
        const Rect& told = *found->extents;
        open(*found, {popup.surface.maxX() - told.maxX(), popup.surface.maxY() - told.maxY()}, Padding::forgotten);
      }
    }
    if (reading_.isLost && reading_.popupWindows.empty()) {
      placeUntold();
    }
  }

 private:
  /// Of what stands in a popover.
  enum class Padding { told, forgotten };
  static constexpr double kWidestMargin = 12;

  /// The window system tells nothing of pop-ups: they open below the middle of what opens them.
  void placeUntold() {
    std::vector<ElementFacts*> found;
    for (const auto& [ref, element] : reading_.elements) {
      if (isLikelyOpen(*element) || isLikelyOpenInSurface(*element)) {
        found.push_back(element.get());
      }
    }
    for (ElementFacts* element : found) {
      const Rect opener = *openerOf(*element)->extents;
      if (isLikelyOpen(*element)) {
        open(*element, {(opener.width - element->extents->width) / 2, opener.height}, Padding::told);
      } else {
        open(*element, likelyShift(*element->extents, opener), Padding::forgotten);
      }
    }
  }

  /// What opens the element if that is a popover; null when it cannot be one.
  const ElementFacts* openerOf(const ElementFacts& element) const {
    const ElementFacts* opener = reading_.elements.find(element.parent);
    const bool mayBeOpen = opener && opener->extents && element.extents && element.is(state::showing);
    return mayBeOpen && element.parent != frame_ ? opener : nullptr;
  }

  /// It begins where the control does that opens it, but for a margin, and is too high to be a part of it.
  bool isLikelyOpen(const ElementFacts& element) const {
    const ElementFacts* opener = openerOf(element);
    if (!opener || !opens(*opener)) {
      return false;
    }
    const double down = element.extents->y - opener->extents->y;
    return isNear(element.extents->x, opener->extents->x) && down >= 0 && down <= kWidestMargin &&
           element.extents->height > opener->extents->height + kWidestMargin;
  }

  bool isLikelyOpenInSurface(const ElementFacts& element) const {
    const ElementFacts* opener = openerOf(element);
    const bool isOfButton = opener && (opens(*opener) || (opener->role == role::panel && opener->is(state::expanded)));
    return isOfButton && !liesIn(*element.extents, *opener->extents) &&
           element.extents->height > opener->extents->height;
  }

  static bool opens(const ElementFacts& control) {
    return role::isOneOf<role::pushButton, role::toggleButton, role::comboBox, role::menuItem>(control.role);
  }

  /// The shadow, which is about as wide at the left as above, by how far the popover seems to be from its control.
  static Point likelyShift(const Rect& told, const Rect& opener) {
    constexpr double kOverlap = 3;
    constexpr double kWidestShadow = 40;
    const double below = opener.maxY() - kOverlap - told.y;
    const double above = opener.y + kOverlap - told.maxY();
    const double shift = std::abs(below) < std::abs(above) ? below : above;
    return shift > 0 || shift < -kWidestShadow ? Point{} : Point{shift, shift};
  }

  void open(ElementFacts& element, Point shift, Padding padding) {
    reading_.popovers.push_back({element.ref, controlOf(element)});
    move(element, shift, padding);
    reading_.elements.reparent(element.ref, frame_);
  }

  /// What a person clicks to open it: later versions have a panel around the button and the popover.
  ElementRef controlOf(const ElementFacts& popover) const {
    const ElementFacts& opener = *reading_.elements.find(popover.parent);
    for (const ElementFacts* child : reading_.elements.childrenOf(opener)) {
      if (!opens(opener) && child->ref != popover.ref && opens(*child)) {
        return child->ref;
      }
    }
    return popover.parent;
  }

  /// The element's far corner is the window's, counted from the control that opens it.
  bool fills(const ElementFacts& element, const WindowFacts& popup) const {
    const Rect& opener = *openerOf(element)->extents;
    const double right = element.extents->x - opener.x;
    const double down = element.extents->y - opener.y;
    return right >= 0 && down >= 0 && isNear(right + element.extents->width, popup.surface.width) &&
           isNear(down + element.extents->height, popup.surface.height);
  }

  /// It is as large as the window, but for a margin above. The menu of a text may lie in that.
  bool fillsInSurface(const ElementFacts& element, const Rect& popup) const {
    const double margin = popup.height - element.extents->height;
    return isNear(element.extents->width, popup.width) && margin >= -1 && margin <= kWidestMargin &&
           (element.role == role::menu || !liesIn(*element.extents, *openerOf(element)->extents));
  }

  bool isOutside(const ElementFacts& outer, const ElementFacts& inner) const {
    return reading_.elements.findAbove(inner, [&](const ElementFacts& one) { return &one == &outer; }) != nullptr;
  }

  void move(ElementFacts& element, Point shift, Padding padding) {
    const auto children = reading_.elements.childrenOf(element);
    const double inset = padding == Padding::forgotten && children.size() == 1 ? paddingOf(element, *children[0]) : 0;
    if (moved_.insert(element.ref).second) {
      reading_.transform.move(element, shift);
    }
    if (padding == Padding::forgotten && element.role == role::listItem) {
      // These versions do not begin there with the keyboard, so that nothing can be counted from it.
      element.states &= ~(uint64_t{1} << static_cast<unsigned>(state::selected));
    }
    for (ElementFacts* child : children) {
      move(*child, {shift.x + inset, shift.y + inset}, padding);
    }
  }

  /// What fills a box but for a padding all around is told to begin where the box does.
  static double paddingOf(const ElementFacts& box, const ElementFacts& content) {
    if (!box.extents || !content.extents || box.extents->x != content.extents->x ||
        box.extents->y != content.extents->y) {
      return 0;
    }
    const double across = box.extents->width - content.extents->width;
    const double down = box.extents->height - content.extents->height;
    return across > 0 && isNear(across, down) ? across / 2 : 0;
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
