#include "backends/linux/atspi/element/Clip.h"

#include <algorithm>

#include "backends/linux/atspi/element/FactsWorthReading.h"
#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {

bool hasArea(const ElementFacts& element) {
  return element.extents && element.extents->width > 0 && element.extents->height > 0;
}

bool isEnoughInSight(const Rect& place, const Rect& around) {
  constexpr double kLeastSide = 8;
  constexpr double kLeastShare = 0.1;
  if (!intersects(place, around)) {
    return false;
  }
  const Rect seen = intersection(place, around);
  const double possible = std::min(place.width, around.width) * std::min(place.height, around.height);
  return seen.width >= std::min(kLeastSide, place.width) && seen.height >= std::min(kLeastSide, place.height) &&
         seen.width * seen.height >= kLeastShare * possible;
}

bool isMenuLike(const ElementFacts& element) {
  return role::isOneOf<role::menu, role::menuItem, role::checkMenuItem, role::radioMenuItem, role::popupMenu,
                       role::comboBox>(element.role);
}

bool hasContentBeside(const ElementFacts& element) {
  return element.role == role::pageTab || isDisclosure(element);
}

bool isBeside(const ElementFacts& content, const ElementFacts& holder) {
  if (!hasContentBeside(holder) || !content.extents) {
    return false;
  }
  // A lone tab is hidden in some notebooks: it has no place, its page shows nevertheless.
  return holder.role != role::pageTab || !(holder.extents && intersects(*content.extents, *holder.extents));
}

bool clips(const ElementFacts& parent, const ElementFacts& child) {
  return hasArea(parent) && parent.role != role::application && !isMenuLike(parent) && !isBeside(child, parent);
}

Clip clipInside(const ElementFacts& parent, const Clip& ofParent, const ElementFacts& child) {
  Clip clip = ofParent;
  if (parent.role == role::application || isMenuLike(parent)) {
    clip.around = Rect::infinite();
  } else if (clips(parent, child)) {
    clip.around = intersection(clip.around, *parent.extents);
  }
  if (parent.role == role::documentWeb) {
    clip.document = visibleRect(parent, ofParent);
  }
  return clip;
}

Rect visibleRect(const ElementFacts& element, const Clip& clip) {
  if (!element.extents) {
    return Rect::null();
  }
  const bool isOpenMenu = element.role == role::menu || element.role == role::popupMenu;
  return isOpenMenu ? *element.extents : intersection(*element.extents, clip.around);
}

}  // namespace jumplark::atspi
