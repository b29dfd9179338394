#include "backends/linux/atspi/toolkits/chromium/ManyChildren.h"

#include <algorithm>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {
namespace {

/// So many are asked one by one rather than all at once, for which the application goes through all its children.
constexpr size_t kFewUnknown = 60;

constexpr uint64_t bit(int number) {
  return 1ULL << static_cast<unsigned>(number);
}

}  // namespace

void ManyChildren::ask(TypedBatch& batch) {
  MatchRule rule;
  rule.states = bit(state::showing);
  batch.add<std::vector<ElementRef>>(calls::matchingChildren(*handleOf(container->ref), rule),
                                     [this](std::vector<ElementRef>& all) {
                                       showing_ = std::move(all);
                                       answered_ = true;
                                     });
  askFor(role::link, batch);
}

void ManyChildren::askMore(TypedBatch& batch) {
  const auto unknown = std::count_if(showing_.begin(), showing_.end(),
                                     [this](const ElementRef& child) { return !roles_.contains(child); });
  if (static_cast<size_t>(unknown) > kFewUnknown) {
    askFor(role::staticText, batch);
  }
}

void ManyChildren::askFor(uint32_t role, TypedBatch& batch) {
  MatchRule rule;
  rule.states = bit(state::focused);
  rule.matchStates = MatchRule::Match::none;
  rule.roles = {role};
  batch.add<std::vector<ElementRef>>(calls::matchingChildren(*handleOf(container->ref), rule),
                                     [this, role](std::vector<ElementRef>& some) {
                                       for (const ElementRef& element : some) {
                                         roles_[element] = role;
                                       }
                                     });
}

void ManyChildren::describe(ElementFacts& child) const {
  const auto known = roles_.find(child.ref);
  if (known == roles_.end()) {
    return;
  }
  child.role = known->second;
  child.states = bit(state::showing) | bit(state::visible) | bit(state::enabled) | bit(state::sensitive);
  child.known |= facts::identity;
}

}  // namespace jumplark::atspi
