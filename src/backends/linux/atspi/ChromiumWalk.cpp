#include "backends/linux/atspi/ChromiumWalk.h"

#include <algorithm>

#include "backends/linux/atspi/AtspiCalls.h"
#include "backends/linux/atspi/AtspiRoles.h"
#include "backends/linux/atspi/ChildrenByPlace.h"
#include "backends/linux/atspi/ComboChoices.h"
#include "backends/linux/atspi/TypedBatch.h"

namespace jumplark::atspi {
namespace {

constexpr facts::Set kRead = facts::identity | facts::texts | facts::extents | facts::children;
constexpr size_t kMostElements = 50'000;
/// Chromium names the children of a long list in quadratic time: 1000 in some 10 ms, 10000 in a second.
constexpr int64_t kMostChildren = 1500;
constexpr uint64_t kStatesOfFace =
    (1ULL << state::showing) | (1ULL << state::visible) | (1ULL << state::enabled) | (1ULL << state::sensitive);
constexpr uint32_t kPlainInterfaces = interface_bit::component | interface_bit::text;

bool isLeaf(uint32_t number) {
  return number == role::staticText || number == role::image || number == role::separator;
}

/// Elements that consist of what they say.
bool isNamedByItsFace(uint32_t number) {
  switch (number) {
    case role::link:
    case role::heading:
    case role::pushButton:
    case role::toggleButton:
    case role::checkBox:
    case role::radioButton:
    case role::pageTab:
    case role::menuItem:
      return true;
    default:
      return false;
  }
}

bool hasFurtherInterfaces(uint32_t number) {
  switch (number) {
    case role::slider:
    case role::dial:
    case role::spinButton:
    case role::progressBar:
    case role::levelBar:
    case role::scrollBar:
    case role::dateEditor:
    case role::splitPane:
    case role::table:
    case role::treeTable:
      return true;
    default:
      return false;
  }
}

bool isBlank(const std::string& text) {
  constexpr std::string_view kNoBreakSpace = "\xC2\xA0";
  for (size_t at = 0; at < text.size();) {
    if (text.compare(at, kNoBreakSpace.size(), kNoBreakSpace) == 0) {
      at += kNoBreakSpace.size();
    } else if (text[at] == ' ' || (text[at] >= '\t' && text[at] <= '\r')) {
      ++at;
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace

ChromiumWalk::ChromiumWalk(CallRunner& runner, WalkPlan plan, FactsMap& elements, TextMap& texts)
    : runner_(runner), plan_(std::move(plan)), elements_(elements), texts_(texts) {}

void ChromiumWalk::walk(const ElementRef& start, const ElementRef& parent) {
  Level all;
  Level level;
  if (auto first = claim(start, parent)) {
    start_ = first;
    level.push_back(std::move(first));
  }
  while (!level.empty() && !stopped()) {
    readIdentities(level);
    readDetails(level);
    all.insert(all.end(), level.begin(), level.end());
    level = readChildren(level);
  }
  complete_ = complete_ && level.empty();
  leaveOutNoise(all);
  TreeWalk(runner_, plan_, elements_, texts_).readFurther(all);
  readChoices(runner_, all, plan_.deadline);
}

FactsPointer ChromiumWalk::emptyPage() const {
  if (documents_.empty() && start_ && start_->childCount == 0) {
    return start_;
  }
  for (const auto& document : documents_) {
    if (document->is(state::showing) && document->childCount == 0) {
      return document;
    }
  }
  return nullptr;
}

std::shared_ptr<ElementFacts> ChromiumWalk::claim(const ElementRef& element, const ElementRef& parent) {
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

bool ChromiumWalk::isFaceOfItsParent(const ElementFacts& element) const {
  const auto parent = elements_.find(element.parent);
  return parent != elements_.end() && isNamedByItsFace(parent->second->role) && !isBlank(parent->second->name);
}

void ChromiumWalk::readIdentities(Level& level) {
  TypedBatch batch;
  const auto askStates = [&](ElementFacts& e) {
    batch.add<uint64_t>(
        calls::states(*handleOf(e.ref)),
        [&e](uint64_t& states) {
          e.states = states;
          e.known |= facts::identity;
        },
        [this](AccessibilityError error) { noteError(error); });
  };
  Level faces;
  for (const auto& element : level) {
    ElementFacts& e = *element;
    batch.add<uint32_t>(
        calls::role(*handleOf(e.ref)), [&e](uint32_t& role) { e.role = role; },
        [this](AccessibilityError error) { noteError(error); });
    if (isFaceOfItsParent(e)) {
      faces.push_back(element);
    } else {
      askStates(e);
    }
  }
  batch.run(runner_, plan_.deadline);
  for (const auto& face : faces) {
    if (isLeaf(face->role)) {
      face->states = kStatesOfFace;
      face->interfaces = kPlainInterfaces;
      face->childCount = 0;
      face->known |= facts::identity | facts::children;
    } else {
      askStates(*face);
    }
  }
  batch.run(runner_, plan_.deadline);
  std::erase_if(level, [this](const auto& element) {
    const bool gone = !element->has(facts::identity) || element->is(state::defunct);
    if (gone) {
      const auto parent = elements_.find(element->parent);
      if (parent != elements_.end()) {
        std::erase(parent->second->children, element->ref);
      }
      elements_.erase(element->ref);
    }
    return gone;
  });
}

void ChromiumWalk::readDetails(const Level& level) {
  TypedBatch batch;
  const auto onError = [this](AccessibilityError error) { noteError(error); };
  for (const auto& element : level) {
    ElementFacts& e = *element;
    if (!e.is(state::showing)) {
      e.known |= facts::extents;
      continue;
    }
    if (e.has(facts::children)) {
      continue;  // a face
    }
    const AtspiHandle& handle = *handleOf(e.ref);
    e.known |= kRead;
    e.interfaces = kPlainInterfaces;
    batch.add<std::string>(
        calls::name(handle), [&e](std::string& name) { e.name = std::move(name); }, onError);
    batch.add<Rect>(
        calls::extents(handle), [&](Rect& rect) { e.extents = screenExtents(rect, plan_.offset); }, onError);
    if (isLeaf(e.role)) {
      e.childCount = 0;
    } else {
      // Asked of pictures as well it would say what their name says.
      batch.add<std::string>(
          calls::description(handle), [&e](std::string& text) { e.description = std::move(text); }, onError);
    }
    if (!isLeaf(e.role) && !isNamedByItsFace(e.role)) {
      batch.add<int32_t>(
          calls::childCount(handle), [&e](int32_t& count) { e.childCount = std::max(count, 0); }, onError);
    }
    if (hasFurtherInterfaces(e.role)) {
      batch.add<std::vector<std::string>>(calls::interfaces(handle), [&e](std::vector<std::string>& names) {
        e.interfaces = calls::interfaceBits(names);
      });
    }
  }
  batch.run(runner_, plan_.deadline);
}

ChromiumWalk::Level ChromiumWalk::readChildren(const Level& level) {
  TypedBatch batch;
  Level next;
  std::vector<std::pair<ElementFacts*, std::vector<ElementRef>>> found;
  std::vector<ElementFacts*> large;
  for (const auto& element : level) {
    ElementFacts& e = *element;
    if (e.role == role::documentWeb && e.is(state::showing)) {
      documents_.push_back(element);
    }
    const auto parent = elements_.find(e.parent);
    const bool isClosedMenu = parent != elements_.end() && parent->second->role == role::menuBar;
    if (!e.has(kRead) || e.childCount == 0 || isClosedMenu) {
      continue;
    }
    if (e.childCount > kMostChildren) {
      large.push_back(&e);
      continue;
    }
    batch.add<std::vector<ElementRef>>(
        calls::children(*handleOf(e.ref)),
        [&](std::vector<ElementRef>& children) { found.emplace_back(&e, std::move(children)); },
        [this](AccessibilityError error) { noteError(error); });
  }
  batch.run(runner_, plan_.deadline);
  for (auto& [container, children] : found) {
    container->childCount = static_cast<int64_t>(children.size());
    // A container's text is that of its children; a caption is nevertheless read as one.
    if (!children.empty() && container->name.empty() && container->role != role::label) {
      container->interfaces &= ~interface_bit::text;
    }
    adopt(*container, children, next);
  }
  for (ElementFacts* container : large) {
    container->childrenAreVisibleOnly = true;
    container->interfaces &= ~interface_bit::text;
    const Rect part = visiblePart(*container);
    if (!stopped() && !part.isNull()) {
      adopt(*container, childrenByPlace(runner_, *container, part, plan_.deadline), next);
    }
  }
  return next;
}

void ChromiumWalk::adopt(ElementFacts& parent, const std::vector<ElementRef>& children, Level& next) {
  for (const ElementRef& child : children) {
    if (auto claimed = claim(child, parent.ref)) {
      parent.children.push_back(child);
      next.push_back(std::move(claimed));
    }
  }
}

bool ChromiumWalk::isNoise(const ElementFacts& element) const {
  if (element.role != role::staticText || !element.has(kRead)) {
    return false;
  }
  if (isBlank(element.name)) {
    return true;
  }
  const auto parent = elements_.find(element.parent);
  if (parent == elements_.end() || parent->second->role != role::listItem || !element.extents ||
      !parent->second->extents) {
    return false;
  }
  const Rect& entry = *parent->second->extents;
  return element.extents->maxX() <= entry.minX() || element.extents->minX() >= entry.maxX();
}

void ChromiumWalk::leaveOutNoise(Level& all) {
  std::erase_if(all, [this](const auto& element) {
    if (!isNoise(*element)) {
      return false;
    }
    if (const auto parent = elements_.find(element->parent); parent != elements_.end()) {
      std::erase(parent->second->children, element->ref);
      parent->second->childCount = std::max<int64_t>(parent->second->childCount - 1, 0);
    }
    elements_.erase(element->ref);
    return true;
  });
}

Rect ChromiumWalk::visiblePart(const ElementFacts& element) const {
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

void ChromiumWalk::noteError(AccessibilityError error) {
  if (error == AccessibilityError::cannotComplete || error == AccessibilityError::apiDisabled) {
    complete_ = false;
  }
}

bool ChromiumWalk::stopped() const {
  return !complete_ || Clock::now() >= plan_.deadline || (plan_.cancelled && plan_.cancelled());
}

}  // namespace jumplark::atspi
