#include "backends/linux/atspi/reading/Prefetch.h"

#include <utility>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {
namespace {

constexpr size_t kMostAhead = 50'000;
/// Of a container whose children the cache does not tell one asks for all of them only when they are few.
constexpr int32_t kFewChildren = 60;

bool has(const CacheItem& item, int number) {
  return ((item.states >> static_cast<unsigned>(number)) & 1U) != 0;
}

}  // namespace

void Prefetch::start(CallRunner& runner, const ElementRef& root, TimePoint deadline) {
  std::vector<ElementRef> pending{root};
  while (!pending.empty() && asked_.size() < kMostAhead) {
    const ElementRef element = pending.back();
    pending.pop_back();
    const CacheItem* item = cache_.find(element);
    const bool hidden = item && toolkit_.tellsShowing() && !has(*item, state::showing);
    if (!item || (hidden && visibleOnly_) || asked_.contains(element)) {
      continue;
    }
    Answers& answers = asked_[element];
    const bool leftToWalk = visibleOnly_ && hidden_->contains(element);
    if (!hidden) {
      ask(*item, answers, leftToWalk);
    }
    if (leftToWalk) {
      continue;
    }
    // Where it can be told what shows, also children whose order the cache leaves open.
    const auto* children = toolkit_.tellsShowing() ? cache_.inAnyOrder(element) : cache_.childrenOf(element);
    if (toolkit_.isOnlyDecorated(cache_, *item)) {
      for (const ElementRef& child : *children) {
        asked_[child].takesPlaceOf = element;
      }
    } else if (children) {
      pending.insert(pending.end(), children->begin(), children->end());
    }
  }
  batch_.start(runner, deadline);
}

void Prefetch::ask(const CacheItem& item, Answers& answers, bool placeOnly) {
  const AtspiHandle& handle = *handleOf(item.element);
  const auto noteError = [this](AccessibilityError error) {
    complete_ = complete_ && error != AccessibilityError::cannotComplete && error != AccessibilityError::apiDisabled;
  };
  if ((calls::interfaceBits(item.interfaces) & interface_bit::component) != 0) {
    batch_.add<Rect>(
        calls::extents(handle, toolkit_.coordinates()), [&answers](Rect& rect) { answers.extents = rect; }, noteError);
  }
  if (placeOnly) {
    return;
  }
  if (has(item, state::managesDescendants)) {
    batch_.add<int32_t>(
        calls::childCount(handle), [&answers](int32_t& count) { answers.childCount = count; }, noteError);
    return;
  }
  // Closed menus are not looked into; whether one is open is decided by what is around it.
  const bool menu = item.role == role::menu || item.role == role::popupMenu;
  if (!menu && item.childCount > 0 && item.childCount <= kFewChildren && !cache_.childrenOf(item.element)) {
    batch_.add<std::vector<ElementRef>>(
        calls::children(handle),
        [&answers](std::vector<ElementRef>& children) { answers.children = std::move(children); }, noteError);
  }
}

const Prefetch::Answers* Prefetch::find(const ElementRef& element) const {
  const auto found = asked_.find(element);
  return found == asked_.end() ? nullptr : &found->second;
}

std::optional<Rect> Prefetch::reported(const ElementRef& element) const {
  const Answers* answers = find(element);
  if (answers && answers->takesPlaceOf) {
    answers = find(answers->takesPlaceOf);
  }
  return answers ? answers->extents : std::nullopt;
}

std::optional<int32_t> Prefetch::childCountOf(const ElementRef& element) const {
  const Answers* answers = find(element);
  return answers ? answers->childCount : std::nullopt;
}

const std::vector<ElementRef>* Prefetch::childrenOf(const ElementRef& element) const {
  const Answers* answers = find(element);
  return answers && answers->children ? &*answers->children : nullptr;
}

}  // namespace jumplark::atspi
