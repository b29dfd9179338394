#include "backends/linux/atspi/element/Parts.h"

#include <limits>

namespace jumplark::atspi {
namespace {

/// No path on the bus has it.
constexpr char kSeparator = '#';

constexpr uint64_t kPressable = uint64_t{1} << state::showing | uint64_t{1} << state::visible |
                                uint64_t{1} << state::enabled | uint64_t{1} << state::sensitive;

}  // namespace

ElementRef partOf(const AtspiHandle& owner, std::string_view name) {
  return makeRef(owner.busName(), owner.path() + kSeparator + std::string(name));
}

ElementRef ownerOf(const AtspiHandle& part) {
  const size_t end = part.path().find(kSeparator);
  return end == std::string::npos ? ElementRef() : makeRef(part.busName(), part.path().substr(0, end));
}

ElementFacts factsOf(const Part& part, const AtspiHandle& owner, const ElementRef& parent) {
  ElementFacts facts;
  facts.ref = partOf(owner, part.name);
  facts.known = std::numeric_limits<facts::Set>::max();
  facts.role = part.role;
  facts.states = kPressable | part.states;
  facts.interfaces = interface_bit::component;
  facts.parent = parent;
  facts.name = part.title;
  facts.extents = part.place;
  facts.childCount = 0;
  return facts;
}

ElementFacts movedWith(const ElementFacts& before, const ElementFacts& ownerBefore, const ElementFacts& ownerNow) {
  ElementFacts now = before;
  if (!ownerNow.is(state::showing) || !ownerNow.extents) {
    now.hide();
  } else if (now.extents && ownerBefore.extents) {
    now.extents->x += ownerNow.extents->x - ownerBefore.extents->x;
    now.extents->y += ownerNow.extents->y - ownerBefore.extents->y;
  }
  return now;
}

}  // namespace jumplark::atspi
