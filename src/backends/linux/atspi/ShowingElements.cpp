#include "backends/linux/atspi/ShowingElements.h"

#include <array>

#include "backends/linux/atspi/AtspiCalls.h"
#include "backends/linux/atspi/AtspiRoles.h"
#include "backends/linux/atspi/TypedBatch.h"

namespace jumplark::atspi {
namespace {

constexpr uint64_t kShowing = 1ULL << static_cast<unsigned>(state::showing);
constexpr int32_t kMostHidden = 3000;
constexpr int32_t kMostShowing = 10'000;
constexpr std::array<uint32_t, 2> kFrequentRoles{role::staticText, role::link};

}  // namespace

ShowingElements::ShowingElements(const ElementRef& start, std::vector<ElementRef> elements)
    : elements_(std::move(elements)) {
  for (size_t i = 0; i < elements_.size(); ++i) {
    places_.emplace(elements_[i], i);
  }
  ranges_[start] = {0, elements_.size()};
}

std::optional<ShowingElements> ShowingElements::read(CallRunner& runner, const ElementRef& start, TimePoint deadline) {
  const AtspiHandle& handle = *handleOf(start);
  MatchRule hidden;
  hidden.states = kShowing;
  hidden.matchStates = MatchRule::Match::none;
  const auto besides = callOnce(runner, calls::matches(handle, hidden, kMostHidden), deadline);
  if (!besides.ok() || besides.value.size() >= kMostHidden) {
    return std::nullopt;
  }
  TypedBatch batch;
  MatchRule showing;
  showing.states = kShowing;
  std::vector<ElementRef> found;
  batch.add<std::vector<ElementRef>>(calls::matches(handle, showing, kMostShowing),
                                     [&](std::vector<ElementRef>& all) { found = std::move(all); });
  std::array<std::vector<ElementRef>, kFrequentRoles.size()> ofRole;
  for (size_t i = 0; i < ofRole.size(); ++i) {
    showing.roles = {kFrequentRoles[i]};
    batch.add<std::vector<ElementRef>>(calls::matches(handle, showing, kMostShowing),
                                       [&of = ofRole[i]](std::vector<ElementRef>& all) { of = std::move(all); });
  }
  batch.run(runner, deadline);
  if (found.empty() || found.size() >= kMostShowing) {
    return std::nullopt;
  }
  ShowingElements elements(start, std::move(found));
  if (elements.places_.size() != elements.elements_.size()) {
    return std::nullopt;  // the same element twice: no order to rely on
  }
  for (size_t i = 0; i < ofRole.size(); ++i) {
    for (const ElementRef& element : ofRole[i]) {
      elements.roles_[element] = kFrequentRoles[i];
    }
  }
  return elements;
}

std::optional<ShowingElements::Range> ShowingElements::below(const ElementRef& element) const {
  const auto found = ranges_.find(element);
  return found == ranges_.end() ? std::nullopt : std::optional(found->second);
}

void ShowingElements::noteChildren(const ElementRef& parent, const std::vector<ElementRef>& children) {
  const auto range = below(parent);
  if (!range) {
    return;
  }
  std::vector<Range> found;
  std::vector<bool> clear;
  for (const ElementRef& child : children) {
    const auto place = places_.find(child);
    if (place == places_.end()) {
      // Something may show below what does not, and would seem to belong to the sibling before it.
      if (!clear.empty()) {
        clear.back() = false;
      }
      continue;
    }
    // Where what is said does not fit together nothing follows from it.
    if (place->second < (found.empty() ? range->begin : found.back().begin) || place->second >= range->end) {
      return;
    }
    if (!found.empty()) {
      found.back().end = place->second;
    }
    found.push_back({place->second + 1, range->end});
    clear.push_back(true);
  }
  for (size_t i = 0; i < found.size(); ++i) {
    if (clear[i]) {
      ranges_[elements_[found[i].begin - 1]] = found[i];
    }
  }
}

std::optional<uint32_t> ShowingElements::roleOf(const ElementRef& element) const {
  const auto found = roles_.find(element);
  return found == roles_.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace jumplark::atspi
