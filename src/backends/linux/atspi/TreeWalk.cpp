#include "backends/linux/atspi/TreeWalk.h"

#include <algorithm>

#include "backends/linux/atspi/AtspiCalls.h"
#include "backends/linux/atspi/AtspiRoles.h"
#include "backends/linux/atspi/CachedTree.h"
#include "backends/linux/atspi/ComboChoices.h"
#include "backends/linux/atspi/FactsWorthReading.h"
#include "backends/linux/atspi/Gtk4Tree.h"
#include "backends/linux/atspi/TypedBatch.h"
#include "backends/linux/atspi/VisibleChildren.h"

namespace jumplark::atspi {
namespace {

constexpr facts::Set kRead = facts::identity | facts::texts | facts::extents | facts::children;
constexpr facts::Set kExtras = facts::relations | facts::attributes | facts::value | facts::text | facts::localizedRole;
/// Far more than any window shows; a tree without end must not fill the memory before the deadline.
constexpr size_t kMostElements = 50'000;
constexpr int64_t kMostChildren = 1000;
constexpr int64_t kMostCells = 500;
constexpr int64_t kMostManagedChildren = 60;

}  // namespace

TreeWalk::TreeWalk(CallRunner& runner, WalkPlan plan, FactsMap& elements, TextMap& texts)
    : runner_(runner), plan_(std::move(plan)), elements_(elements), texts_(texts) {}

int64_t TreeWalk::mostChildren(const ElementFacts& container) {
  if (container.is(state::managesDescendants)) {
    return kMostManagedChildren;
  }
  return (container.interfaces & interface_bit::table) != 0 ? kMostCells : kMostChildren;
}

void TreeWalk::walk(const ElementRef& start, const ElementRef& parent) {
  readExtentsAhead(start);
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
  complete_ = complete_ && level.empty();
  removeForgotten();
  if (plan_.toolkit.family == ToolkitFamily::gtk4) {
    Gtk4Tree(runner_, plan_, elements_).settle(all);
    std::erase_if(all, [this](const auto& element) { return !elements_.contains(element->ref); });
  }
  readExtras(all);
  if (plan_.toolkit.family == ToolkitFamily::gtk3 || plan_.toolkit.family == ToolkitFamily::other) {
    readChoices(runner_, all, plan_.deadline);
  }
}

std::shared_ptr<ElementFacts> TreeWalk::claim(const ElementRef& element, const ElementRef& parent) {
  if (!handleOf(element) || elements_.size() >= kMostElements) {
    return nullptr;
  }
  auto& slot = elements_[element];
  if (slot) {
    return nullptr;
  }
  slot = std::make_shared<ElementFacts>();
  slot->ref = element;
  slot->parent = parent;
  return slot;
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
  e.name = nameForPeople(plan_.toolkit, item->name);
  e.description = item->description;
  e.known |= facts::identity | facts::texts;
  return true;
}

void TreeWalk::readExtentsAhead(const ElementRef& start) {
  if (!plan_.cache || plan_.toolkit.tellsShowing()) {
    return;
  }
  // All at once: a round for each level would cost more than the few that turn out to be hidden.
  TypedBatch batch;
  std::vector<ElementRef> pending{start};
  while (!pending.empty() && extentsAhead_.size() < kMostElements) {
    const ElementRef element = pending.back();
    pending.pop_back();
    const CacheItem* item = plan_.cache->find(element);
    if (!item || extentsAhead_.contains(element)) {
      continue;
    }
    std::optional<Rect>& extents = extentsAhead_[element];
    if ((calls::interfaceBits(item->interfaces) & interface_bit::component) != 0) {
      batch.add<Rect>(calls::extents(*handleOf(element), plan_.toolkit.coordinates()),
                      [&](Rect& rect) { extents = screenExtents(rect, plan_.offset); });
    }
    if (const auto* children = plan_.cache->childrenOf(element)) {
      pending.insert(pending.end(), children->begin(), children->end());
    }
  }
  batch.run(runner_, plan_.deadline);
}

void TreeWalk::addIdentityCalls(TypedBatch& batch, ElementFacts& e,
                                const std::function<void(AccessibilityError)>& onError) {
  const AtspiHandle& handle = *handleOf(e.ref);
  batch.add<uint64_t>(
      calls::states(handle),
      [&e](uint64_t& states) {
        e.states = states;
        e.known |= facts::identity;
      },
      onError);
  batch.add<uint32_t>(calls::role(handle), [&e](uint32_t& role) { e.role = role; });
  batch.add<std::vector<std::string>>(
      calls::interfaces(handle), [&e](std::vector<std::string>& names) { e.interfaces = calls::interfaceBits(names); });
  batch.add<int32_t>(calls::childCount(handle), [&e](int32_t& count) { e.childCount = std::max(count, -1); });
}

void TreeWalk::readIdentities(Level& level) {
  TypedBatch batch;
  for (const auto& element : level) {
    ElementFacts& e = *element;
    const AtspiHandle& handle = *handleOf(e.ref);
    if (!fillFromCache(e)) {
      addIdentityCalls(batch, e, [this](AccessibilityError error) { noteError(error); });
    }
    if (const auto ahead = extentsAhead_.find(e.ref); ahead != extentsAhead_.end()) {
      e.extents = ahead->second;
    } else if (!plan_.toolkit.tellsShowing()) {
      batch.add<Rect>(calls::extents(handle, plan_.toolkit.coordinates()),
                      [&](Rect& rect) { e.extents = screenExtents(rect, plan_.offset); });
    }
  }
  batch.run(runner_, plan_.deadline);
  std::erase_if(level, [this](const auto& element) {
    const bool gone = !element->has(facts::identity) || element->is(state::defunct);
    if (gone) {
      forget(element);
    }
    element->states = statesWithShowing(plan_.toolkit, *element);
    return gone;
  });
}

void TreeWalk::readDetails(const Level& level) {
  TypedBatch batch;
  for (const auto& element : level) {
    ElementFacts& e = *element;
    if (!showing(e)) {
      e.extents.reset();
      e.known |= facts::extents;
      if (plan_.visibleOnly) {
        continue;
      }
    }
    const AtspiHandle& handle = *handleOf(e.ref);
    const auto onError = [this](AccessibilityError error) { noteError(error); };
    const bool knowsTexts = e.has(facts::texts);
    e.known |= kRead;
    if (!knowsTexts) {
      batch.add<std::string>(
          calls::name(handle), [&](std::string& name) { e.name = nameForPeople(plan_.toolkit, name); }, onError);
      batch.add<std::string>(
          calls::description(handle), [&e](std::string& text) { e.description = std::move(text); }, onError);
    }
    if (plan_.toolkit.tellsShowing() && showing(e) && (e.interfaces & interface_bit::component) != 0) {
      batch.add<Rect>(
          calls::extents(handle), [&](Rect& r) { e.extents = screenExtents(r, plan_.offset); }, onError);
    }
  }
  batch.run(runner_, plan_.deadline);
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
    if (isClosedMenu(e)) {
      e.childCount = 0;
    }
    if (e.childCount > mostChildren(e)) {
      large.push_back(&e);
    } else if (const auto* cached = plan_.cache ? plan_.cache->childrenOf(e.ref) : nullptr) {
      found.emplace_back(&e, *cached);
    } else if (e.childCount > 0) {
      batch.add<std::vector<ElementRef>>(
          calls::children(*handleOf(e.ref)),
          [&](std::vector<ElementRef>& children) { found.emplace_back(&e, std::move(children)); },
          [this](AccessibilityError error) { noteError(error); });
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

void TreeWalk::adopt(ElementFacts& parent, const std::vector<ElementRef>& children, Level& next) {
  for (const ElementRef& child : children) {
    if (auto claimed = claim(child, parent.ref)) {
      parent.children.push_back(child);
      next.push_back(std::move(claimed));
    }
  }
}

void TreeWalk::readVisibleChildren(ElementFacts& container, Level& next) {
  container.childrenAreVisibleOnly = true;
  const Rect part = visiblePart(container);
  if (stopped() || part.isNull()) {
    return;
  }
  const Rect local{part.x - plan_.offset.x, part.y - plan_.offset.y, part.width, part.height};
  adopt(container, visibleChildren(runner_, container, plan_.toolkit, local, plan_.deadline), next);
}

Rect TreeWalk::visiblePart(const ElementFacts& element) const {
  Rect part = element.extents.value_or(Rect::null());
  ElementRef above = element.parent;
  // The walk made the parents, so that following them ends.
  for (auto it = elements_.find(above); it != elements_.end(); it = elements_.find(above)) {
    if (it->second->extents) {
      part = intersection(part, *it->second->extents);
    }
    above = it->second->parent;
  }
  return part;
}

void TreeWalk::addExtraCalls(TypedBatch& batch, ElementFacts& e, facts::Set wanted) {
  const AtspiHandle& handle = *handleOf(e.ref);
  if ((wanted & facts::relations) != 0) {
    batch.add<RelationSet>(calls::relations(handle), [&e](RelationSet& set) {
      for (auto& [type, targets] : set) {
        if (type == calls::kRelationLabelledBy) {
          e.labelledBy.insert(e.labelledBy.end(), targets.begin(), targets.end());
        }
      }
    });
  }
  if ((wanted & facts::attributes) != 0) {
    batch.add<AttributeMap>(calls::attributes(handle), [&e](AttributeMap& map) { e.attributes = std::move(map); });
  }
  if ((wanted & facts::value) != 0 && e.role != role::passwordText) {
    batch.add<double>(calls::currentValue(handle), [&e](double& value) { e.currentValue = value; });
  }
}

void TreeWalk::readExtras(const Level& all) {
  TypedBatch batch;
  Level withText;
  for (const auto& element : all) {
    if (!element->has(kRead) || stopped()) {
      continue;
    }
    const facts::Set wanted = factsWorthReading(*element);
    element->known |= kExtras;
    addExtraCalls(batch, *element, wanted);
    if ((wanted & facts::text) != 0 && element->role != role::passwordText) {
      withText.push_back(element);
    }
  }
  batch.run(runner_, plan_.deadline);
  readLocalizedRoles(all);
  readTextsOf(withText);
}

void TreeWalk::readLocalizedRoles(const Level& all) {
  std::unordered_map<uint32_t, std::string> names;
  TypedBatch batch;
  for (const auto& element : all) {
    if (element->has(facts::localizedRole) && names.try_emplace(element->role).second) {
      batch.add<std::string>(calls::localizedRole(*handleOf(element->ref)),
                             [&names, role = element->role](std::string& name) { names[role] = std::move(name); });
    }
  }
  batch.run(runner_, plan_.deadline);
  for (const auto& element : all) {
    if (element->has(facts::localizedRole)) {
      element->localizedRole = names[element->role];
    }
  }
}

void TreeWalk::readTextsOf(const Level& elements) {
  std::vector<TextRequest> requests;
  for (const auto& element : elements) {
    const Rect part = visiblePart(*element);
    std::optional<Rect> local;
    if (!part.isNull() && plan_.toolkit.tellsCharacterAtPoint()) {
      local = Rect{part.x - plan_.offset.x, part.y - plan_.offset.y, part.width, part.height};
    }
    requests.push_back({element->ref, element->is(state::multiLine), local, {}});
  }
  readTexts(runner_, requests, plan_.deadline);
  for (size_t i = 0; i < requests.size(); ++i) {
    const TextFacts& text = requests[i].answer;
    elements[i]->characterCount = text.count;
    elements[i]->shortText = text.fetched;
    if (text.count >= 0) {
      texts_[elements[i]->ref] = text;
    }
  }
}

void TreeWalk::forget(const std::shared_ptr<ElementFacts>& element) {
  forgotten_[element->parent] = true;
  elements_.erase(element->ref);
}

void TreeWalk::removeForgotten() {
  for (const auto& [parent, ignored] : forgotten_) {
    if (const auto it = elements_.find(parent); it != elements_.end()) {
      std::erase_if(it->second->children, [this](const ElementRef& child) { return !elements_.contains(child); });
    }
  }
  forgotten_.clear();
}

bool TreeWalk::showing(const ElementFacts& element) const {
  return element.is(state::showing);
}

bool TreeWalk::isClosedMenu(const ElementFacts& element) const {
  const auto parent = elements_.find(element.parent);
  if (parent != elements_.end() && parent->second->role == role::menuBar) {
    return true;
  }
  const bool menu = element.role == role::menu || element.role == role::popupMenu;
  return menu && !showing(element);
}

void TreeWalk::noteError(AccessibilityError error) {
  if (error == AccessibilityError::cannotComplete || error == AccessibilityError::apiDisabled) {
    complete_ = false;
  }
}

bool TreeWalk::stopped() const {
  return !complete_ || Clock::now() >= plan_.deadline || (plan_.cancelled && plan_.cancelled());
}

}  // namespace jumplark::atspi
