#include "backends/linux/atspi/reading/CoordinateTransform.h"

#include <algorithm>
#include <cmath>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/Popups.h"

namespace jumplark::atspi {
namespace {

/// Rounding.
constexpr double kTolerance = 1;

bool isNear(double a, double b) {
  return std::abs(a - b) <= kTolerance;
}

bool haveSameSize(const ElementFacts& a, const ElementFacts& b) {
  return a.extents && b.extents && isNear(a.extents->width, b.extents->width) &&
         isNear(a.extents->height, b.extents->height);
}

Point between(const ElementFacts& from, const ElementFacts& to) {
  return {to.extents->x - from.extents->x, to.extents->y - from.extents->y};
}

bool lacksPlace(const ElementFacts& element) {
  return element.is(state::showing) && !element.extents &&
         (element.role == role::frame || element.role == role::dialog || element.role == role::window);
}

bool isZero(Point shift) {
  return isNear(shift.x, 0) && isNear(shift.y, 0);
}

class Corrections {
 public:
  Corrections(const std::vector<WindowFacts>& popups, const ElementRef& frame, FactsMap& elements)
      : popups_(popups), frame_(frame), elements_(elements) {}

  Shifts placePopovers() {
    for (const WindowFacts& popup : popups_) {
      ElementFacts* found = nullptr;
      for (const auto& [ref, element] : elements_) {
        if (!shifts_.contains(ref) && fills(*element, popup) && (!found || isOutside(*element, *found))) {
          found = element.get();
        }
      }
      if (found) {
        const ElementFacts& opener = *find(found->parent, elements_);
        move(*found, {popup.surface.x - opener.extents->x, popup.surface.y - opener.extents->y});
        reparent(frame_, found->ref, elements_);
      }
    }
    return std::move(shifts_);
  }

  Shifts placeDrawnParts() {
    std::vector<ElementFacts*> panes;
    for (const auto& [ref, element] : elements_) {
      const ElementFacts* above = find(element->parent, elements_);
      if (element->role == role::rootPane && above && haveSameSize(*element, *above) &&
          !isZero(between(*element, *above))) {
        panes.push_back(element.get());
      }
    }
    for (ElementFacts* pane : panes) {
      moveDrawn(*pane, between(*pane, *find(pane->parent, elements_)));
    }
    return std::move(shifts_);
  }

  Shifts placePagesAndWindows() {
    for (const auto& [ref, element] : elements_) {
      const ElementFacts* content = element->children.empty() ? nullptr : find(element->children.front(), elements_);
      if (lacksPlace(*element) && content) {
        element->extents = content->extents;
      }
      const ElementFacts* tab = find(element->parent, elements_);
      const ElementFacts* tabs = tab && tab->role == role::pageTab ? find(tab->parent, elements_) : nullptr;
      if (tabs && tab->extents && tabs->extents && element->extents) {
        const Point shift = between(*tab, *tabs);
        shifts_.emplace(ref, shift);
        element->extents->x += shift.x;
        element->extents->y += shift.y;
      }
    }
    return std::move(shifts_);
  }

 private:
  /// The element's far corner is the window's, counted from the control that opens it.
  bool fills(const ElementFacts& element, const WindowFacts& popup) const {
    const ElementFacts* opener = find(element.parent, elements_);
    if (!opener || !opener->extents || !element.extents || element.parent == frame_ || !element.is(state::showing)) {
      return false;
    }
    const Point near = between(*opener, element);
    return near.x >= 0 && near.y >= 0 && isNear(near.x + element.extents->width, popup.surface.width) &&
           isNear(near.y + element.extents->height, popup.surface.height);
  }

  bool isOutside(const ElementFacts& outer, const ElementFacts& inner) const {
    const ElementFacts* up = find(inner.parent, elements_);
    for (size_t step = 0; up && step < elements_.size(); ++step) {
      if (up == &outer) {
        return true;
      }
      up = find(up->parent, elements_);
    }
    return false;
  }

  void move(ElementFacts& element, Point shift) {
    if (element.extents && shifts_.emplace(element.ref, shift).second) {
      element.extents->x += shift.x;
      element.extents->y += shift.y;
    }
    for (const ElementRef& ref : element.children) {
      if (ElementFacts* child = find(ref, elements_)) {
        move(*child, shift);
      }
    }
  }

  void moveDrawn(ElementFacts& element, Point shift) {
    for (const ElementRef& ref : element.children) {
      ElementFacts* child = find(ref, elements_);
      const bool isRight = child && haveSameSize(element, *child) &&
                           isZero({between(element, *child).x - shift.x, between(element, *child).y - shift.y});
      if (child && !isRight) {
        moveDrawn(*child, shift);
      }
    }
    if (element.extents && shifts_.emplace(element.ref, shift).second) {
      element.extents->x += shift.x;
      element.extents->y += shift.y;
    }
  }

  const std::vector<WindowFacts>& popups_;
  const ElementRef& frame_;
  FactsMap& elements_;
  Shifts shifts_;
};

bool isInPage(const ElementFacts& element, const FactsMap& elements) {
  const ElementFacts* here = &element;
  for (size_t step = 0; step < elements.size(); ++step) {
    if (here->role == role::documentWeb) {
      return true;
    }
    const auto above = elements.find(here->parent);
    if (above == elements.end()) {
      return false;
    }
    here = above->second.get();
  }
  return false;
}

}  // namespace

Point CoordinateTransform::shiftOf(const ElementRef& element) const {
  const auto shift = shifts.find(element);
  return shift == shifts.end() ? Point{} : shift->second;
}

Rect CoordinateTransform::toScreen(const ElementRef& element, const Rect& told) const {
  if (placement.isIdentity() || onScreen.contains(element)) {
    return told;
  }
  const Point shift = shiftOf(element);
  const Rect placed = placement.toScreen({told.x - shift.x, told.y - shift.y, told.width, told.height});
  return {placed.x + shift.x, placed.y + shift.y, placed.width, placed.height};
}

Rect CoordinateTransform::fromScreen(const ElementRef& element, const Rect& place) const {
  if (placement.isIdentity() || onScreen.contains(element)) {
    return place;
  }
  const Point shift = shiftOf(element);
  const Rect told = placement.fromScreen({place.x - shift.x, place.y - shift.y, place.width, place.height});
  return {told.x + shift.x, told.y + shift.y, told.width, told.height};
}

void placeOnScreen(const Toolkit& toolkit, CoordinateTransform& places, FactsMap& elements) {
  if (places.placement.isIdentity()) {
    return;
  }
  for (auto& [ref, element] : elements) {
    if (toolkit.family == ToolkitFamily::chromium && isInPage(*element, elements)) {
      places.onScreen.insert(ref);
    } else if (element->extents) {
      element->extents = places.placement.toScreen(*element->extents);
    }
  }
}

Shifts correctPlaces(const Toolkit& toolkit, const std::vector<WindowFacts>& popups, const ElementRef& frame,
                     FactsMap& elements) {
  Corrections corrections(popups, frame, elements);
  switch (toolkit.family) {
    case ToolkitFamily::gtk4:
      return popups.empty() ? Shifts() : corrections.placePopovers();
    case ToolkitFamily::gtk3:
      return corrections.placeDrawnParts();
    case ToolkitFamily::swing:
      return corrections.placePagesAndWindows();
    default:
      return {};
  }
}

}  // namespace jumplark::atspi
