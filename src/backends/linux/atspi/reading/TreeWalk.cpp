#include "backends/linux/atspi/reading/TreeWalk.h"

#include <algorithm>
#include <iterator>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/CachedTree.h"
#include "backends/linux/atspi/reading/ComboChoices.h"
#include "backends/linux/atspi/reading/Prefetch.h"
#include "backends/linux/atspi/reading/TextLinks.h"
#include "backends/linux/atspi/reading/VisibleChildren.h"

namespace jumplark::atspi {
namespace {

/// Levels up to this size are asked for everything at once: a round more costs what some needless calls cost.
constexpr size_t kSmallLevel = 6;
/// With a cache to tell most of it, what is left is little, and rounds are what costs.
constexpr size_t kSmallLevelBesideCache = 60;

bool isShowing(uint64_t states) {
  return ((states >> static_cast<unsigned>(state::showing)) & 1U) != 0;
}

/// The cache of GTK 3 counts no children of menus.
bool isUncountedMenu(const ElementFacts& element) {
  return element.childCount < 0 && element.role == role::menu && isShowing(element.states);
}

}  // namespace

void TreeWalk::walk(const ElementRef& start, const ElementRef& parent) {
  readAhead(start);
  Level all;
  Level level;
  if (auto first = claim(start, parent)) {
    level.push_back(std::move(first));
  }
  while (!level.empty() && !stopped()) {
    readIdentities(level);
    readDetails(level);
    all.insert(all.end(), level.begin(), level.end());
    level = readChildren(level);
  }
  // Only now: what the cache tells is used even when the application has fallen silent since.
  complete_ = complete_ && level.empty() && (!ahead_ || ahead_->complete());
  plan_.toolkit->settle(runner_, plan_, elements_, all);
  ChoiceReader choices;
  if (plan_.toolkit->tellsChoices()) {
    Level asked;
    std::ranges::copy_if(all, std::back_inserter(asked), [this](const std::shared_ptr<ElementFacts>& one) {
      return plan_.toolkit->mayAskChoice(*one, elements_);
    });
    choices.begin(runner_, asked, plan_.deadline);
  }
  readFurther(all);
  choices.finish(runner_, plan_.deadline);
  readLinks(runner_, plan_, elements_, texts_, all);
}

bool TreeWalk::fillFromCache(ElementFacts& e) const {
  const CacheItem* item = plan_.cache ? plan_.cache->find(e.ref) : nullptr;
  if (!item) {
    return false;
  }
  e.states = item->states;
  e.role = item->role;
  e.interfaces = calls::interfaceBits(item->interfaces);
  e.childCount = std::max(item->childCount, -1);
  e.name = plan_.toolkit->nameForPeople(item->name);
  e.description = item->description;
  e.known |= facts::identity | facts::texts;
  return true;
}

void TreeWalk::readAhead(const ElementRef& start) {
  if (!plan_.cache) {
    return;
  }
  ahead_ = plan_.ahead;
  if (!ahead_ || !ahead_->covers(start)) {
    ahead_ = std::make_shared<Prefetch>(*plan_.toolkit, *plan_.cache, plan_.visibleOnly);
    ahead_->start(runner_, start, plan_.deadline);
    ahead_->finish();
  }
}

void TreeWalk::readIdentities(Level& level) {
  TypedBatch batch;
  const size_t lacking =
      plan_.cache ? static_cast<size_t>(std::count_if(level.begin(), level.end(),
                                                      [&](const auto& e) { return !plan_.cache->find(e->ref); }))
                  : level.size();
  const bool small = lacking <= (plan_.cache ? kSmallLevelBesideCache : kSmallLevel);
  for (const auto& element : level) {
    ElementFacts& e = *element;
    const bool cached = fillFromCache(e);
    cached ? completeFromCache(batch, e) : askIdentity(batch, e, small);
    if (ahead_ && ahead_->covers(e.ref)) {
      const auto reported = ahead_->reported(e.ref);
      e.extents = reported ? screenExtents(*reported, plan_.offset) : std::nullopt;
      e.known |= facts::extents;
    } else if (!plan_.toolkit->tellsShowing() || (small && !cached)) {
      askExtents(batch, e);
      e.known |= facts::extents;
    }
  }
  batch.run(runner_, plan_.deadline);
  for (const auto& element : level) {
    element->states = plan_.toolkit->statesWithShowing(*element);
  }
  leaveOutVanished(level);
}

void TreeWalk::askIdentity(TypedBatch& batch, ElementFacts& e, bool withTheRest) {
  askStates(batch, e);
  batch.add<uint32_t>(calls::role(*handleOf(e.ref)), [&e](uint32_t& role) { e.role = role; });
  if (withTheRest) {
    askTexts(batch, e);
    e.known |= facts::texts;
  }
  // Without interfaces it cannot be told what has no place at all, and shows as its children do.
  if (withTheRest || !plan_.toolkit->tellsShowing()) {
    askInterfaces(batch, e);
    askChildCount(batch, e);
    e.known |= facts::children;
  }
}

// GTK 3 does not count the children of lists and tables in its cache.
void TreeWalk::completeFromCache(TypedBatch& batch, ElementFacts& e) {
  if (!e.is(state::managesDescendants)) {
    return;
  }
  if (const auto count = ahead_->childCountOf(e.ref)) {
    e.childCount = std::max(*count, -1);
  } else {
    askChildCount(batch, e);
  }
}

void TreeWalk::readDetails(const Level& level) {
  TypedBatch batch;
  for (const auto& element : level) {
    ElementFacts& e = *element;
    const facts::Set known = std::exchange(e.known, e.known | facts::extents);
    if (!e.is(state::showing)) {
      e.extents.reset();
      if (plan_.visibleOnly) {
        // Nobody asks for what a hidden element holds.
        e.known &= ~facts::children;
        continue;
      }
    }
    e.known |= kRead;
    const bool fromCache = plan_.cache && plan_.cache->find(e.ref);
    if ((known & facts::texts) == 0) {
      askTexts(batch, e);
    }
    if ((known & facts::children) == 0 && !fromCache) {
      if (plan_.toolkit->isPlain(e.role)) {
        e.interfaces = interface_bit::component | interface_bit::action;
      } else {
        askInterfaces(batch, e);
      }
      if (!plan_.toolkit->isLeaf(e.role)) {
        askChildCount(batch, e);
      } else {
        e.childCount = 0;
      }
    }
    if ((known & facts::extents) == 0 && e.is(state::showing)) {
      askExtents(batch, e);
    }
  }
  batch.run(runner_, plan_.deadline);
  for (const auto& element : level) {
    plan_.toolkit->settlePlace(*element);
  }
}

TreeWalk::Level TreeWalk::readChildren(const Level& level) {
  TypedBatch batch;
  Level next;
  std::vector<std::pair<ElementFacts*, std::vector<ElementRef>>> found;
  std::vector<ElementFacts*> large;
  for (const auto& element : level) {
    ElementFacts& e = *element;
    if (!e.has(facts::children)) {
      continue;
    }
    if (isClosedMenu(e) || plan_.toolkit->isLeaf(e.role)) {
      e.childCount = 0;
    }
    if (e.childCount > plan_.toolkit->mostChildren(e)) {
      large.push_back(&e);
    } else if (const auto* cached = plan_.cache ? plan_.cache->childrenOf(e.ref) : nullptr) {
      found.emplace_back(&e, *cached);
    } else if (const auto* ahead = ahead_ ? ahead_->childrenOf(e.ref) : nullptr) {
      found.emplace_back(&e, *ahead);
    } else if (e.childCount > 0 || isUncountedMenu(e)) {
      batch.add<std::vector<ElementRef>>(
          calls::children(*handleOf(e.ref)),
          [&](std::vector<ElementRef>& children) { found.emplace_back(&e, std::move(children)); }, noting());
    } else if (plan_.toolkit->mayHaveOpenMenu(e)) {
      batch.add<ElementRef>(calls::childAt(*handleOf(e.ref), 0),
                            [&](ElementRef& menu) { found.emplace_back(&e, std::vector{std::move(menu)}); });
    }
  }
  batch.run(runner_, plan_.deadline);
  for (auto& [parent, children] : found) {
    adopt(*parent, children, next);
  }
  for (ElementFacts* container : large) {
    readVisibleChildren(*container, next);
  }
  return next;
}

void TreeWalk::readVisibleChildren(ElementFacts& container, Level& next) {
  container.childrenAreVisibleOnly = true;
  const Rect part = visiblePart(container);
  if (stopped() || part.isNull()) {
    return;
  }
  const Rect local{part.x - plan_.offset.x, part.y - plan_.offset.y, part.width, part.height};
  adopt(container, visibleChildren(runner_, container, *plan_.toolkit, local, plan_.deadline), next);
}

bool TreeWalk::isClosedMenu(const ElementFacts& element) const {
  const ElementFacts* parent = parentOf(element);
  if (parent && parent->role == role::menuBar) {
    return true;
  }
  const bool menu = element.role == role::menu || element.role == role::popupMenu;
  return menu && !element.is(state::showing);
}

}  // namespace jumplark::atspi
