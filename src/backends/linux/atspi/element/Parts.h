#pragma once

#include <string_view>

#include "backends/linux/atspi/element/ElementFacts.h"

/// Things that an element shows without telling of them as elements: the arrows of a spin button, the cross of a tab, a
/// link in a text. The reference of one is its element's with a name behind it, so that it stays the same; nobody on
/// the bus knows it.
namespace jumplark::atspi {

ElementRef partOf(const AtspiHandle& owner, std::string_view name);
/// The element that a part belongs to; empty for what is no part.
ElementRef ownerOf(const AtspiHandle& part);

/// A part as an element of its own. It is known whole.
struct Part {
  std::string_view name;  ///< which part of its element, e.g. "up"
  uint32_t role = 0;
  std::string title;
  Rect place;           ///< as the places of elements count
  uint64_t states = 0;  ///< beyond those of what shows and can be pressed
};
ElementFacts factsOf(const Part& part, const AtspiHandle& owner, const ElementRef& parent);

/// The part where its element is now. `before` and `ownerBefore` are what both were at the same time. Hidden as the
/// element is.
ElementFacts movedWith(const ElementFacts& before, const ElementFacts& ownerBefore, const ElementFacts& ownerNow);

}  // namespace jumplark::atspi
