#include "backends/linux/atspi/ManyChildren.h"

#include "backends/linux/atspi/AtspiCalls.h"
#include "backends/linux/atspi/AtspiRoles.h"

namespace jumplark::atspi {
namespace {

/// Of these the other states say nothing that anybody asks.
constexpr std::array<uint32_t, 2> kFrequent{role::link, role::staticText};

constexpr uint64_t bit(int number) {
  return 1ULL << static_cast<unsigned>(number);
}

}  // namespace

void ManyChildren::ask(TypedBatch& batch) {
  const AtspiHandle& handle = *handleOf(container->ref);
  MatchRule rule;
  rule.states = bit(state::showing);
  batch.add<std::vector<ElementRef>>(calls::matchingChildren(handle, rule), [this](std::vector<ElementRef>& all) {
    showing_ = std::move(all);
    answered_ = true;
  });
  for (const uint32_t role : kFrequent) {
    rule.roles = {role};
    batch.add<std::vector<ElementRef>>(calls::matchingChildren(handle, rule),
                                       [this, role](std::vector<ElementRef>& some) {
                                         for (const ElementRef& element : some) {
                                           roles_[element] = role;
                                         }
                                       });
  }
  MatchRule focus;
  focus.states = bit(state::focused);
  batch.add<std::vector<ElementRef>>(calls::matchingChildren(handle, focus), [this](std::vector<ElementRef>& some) {
    focused_.insert(some.begin(), some.end());
    toldFocus_ = true;
  });
}

void ManyChildren::describe(ElementFacts& child) const {
  const auto known = roles_.find(child.ref);
  if (known == roles_.end() || !toldFocus_) {
    return;
  }
  child.role = known->second;
  child.states = bit(state::showing) | bit(state::visible) | bit(state::enabled) | bit(state::sensitive) |
                 (focused_.contains(child.ref) ? bit(state::focused) : 0);
  child.known |= facts::identity;
}

}  // namespace jumplark::atspi
