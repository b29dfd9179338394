#include "backends/linux/atspi/ChromiumWalk.h"

#include <algorithm>

#include "backends/linux/atspi/AtspiCalls.h"
#include "backends/linux/atspi/AtspiRoles.h"
#include "backends/linux/atspi/ChildrenByPlace.h"
#include "backends/linux/atspi/ComboChoices.h"
#include "backends/linux/atspi/TypedBatch.h"

namespace jumplark::atspi {
namespace {

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

void ChromiumWalk::walk(const ElementRef& start, const ElementRef& parent) {
  Level all;
  Level level;
  if (auto first = claim(start, parent)) {
    start_ = first;
    level.push_back(std::move(first));
    showing_ = ShowingElements::read(runner_, start, plan_.deadline);
  }
  while (!level.empty() && !stopped()) {
    readIdentities(level);
    readDetails(level);
    all.insert(all.end(), level.begin(), level.end());
    level = readChildren(level);
  }
  complete_ = complete_ && level.empty();
  leaveOutNoise(all);
  readFurther(all);
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

bool ChromiumWalk::isFaceOfItsParent(const ElementFacts& element) const {
  const ElementFacts* parent = parentOf(element);
  return parent && isNamedByItsFace(parent->role) && !isBlank(parent->name);
}

void ChromiumWalk::readIdentities(Level& level) {
  TypedBatch batch;
  Level faces;
  for (const auto& element : level) {
    ElementFacts& e = *element;
    const auto known = showing_ ? showing_->roleOf(e.ref) : std::nullopt;
    if (known) {
      e.role = *known;
    } else {
      batch.add<uint32_t>(
          calls::role(*handleOf(e.ref)), [&e](uint32_t& role) { e.role = role; }, noting());
    }
    if (isFaceOfItsParent(e)) {
      faces.push_back(element);
    } else if (known && isLeaf(*known)) {
      e.states = kStatesOfFace;
      e.known |= facts::identity;
    } else {
      askStates(batch, e);
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
      askStates(batch, *face);
    }
  }
  batch.run(runner_, plan_.deadline);
  leaveOutVanished(level);
}

void ChromiumWalk::readDetails(const Level& level) {
  TypedBatch batch;
  for (const auto& element : level) {
    ElementFacts& e = *element;
    if (!e.is(state::showing)) {
      e.known |= facts::extents;
      continue;
    }
    if (e.has(facts::children)) {
      continue;  // a face
    }
    e.known |= kRead;
    e.interfaces = kPlainInterfaces;
    askExtents(batch, e);
    if (isLeaf(e.role)) {
      // The description of a picture would say what its name says.
      askName(batch, e);
      e.childCount = 0;
      continue;
    }
    askTexts(batch, e);
    if (const auto known = knownChildren(e)) {
      e.childCount = static_cast<int64_t>(known->size());
    } else if (!isNamedByItsFace(e.role)) {
      askChildCount(batch, e);
    }
    if (hasFurtherInterfaces(e.role)) {
      askInterfaces(batch, e);
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
    const ElementFacts* parent = parentOf(e);
    const bool isClosedMenu = parent && parent->role == role::menuBar;
    if (!e.has(kRead) || e.childCount == 0 || isClosedMenu) {
      continue;
    }
    if (e.childCount > kMostChildren) {
      large.push_back(&e);
      continue;
    }
    if (auto known = knownChildren(e)) {
      found.emplace_back(&e, std::move(*known));
      continue;
    }
    batch.add<std::vector<ElementRef>>(
        calls::children(*handleOf(e.ref)),
        [&](std::vector<ElementRef>& children) { found.emplace_back(&e, std::move(children)); }, noting());
  }
  batch.run(runner_, plan_.deadline);
  for (auto& [container, children] : found) {
    container->childCount = static_cast<int64_t>(children.size());
    // A container's text is that of its children; a caption is nevertheless read as one.
    if (!children.empty() && container->name.empty() && container->role != role::label) {
      container->interfaces &= ~interface_bit::text;
    }
    adoptShowing(*container, children, next);
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

std::optional<std::vector<ElementRef>> ChromiumWalk::knownChildren(const ElementFacts& element) const {
  const auto below = showing_ ? showing_->below(element.ref) : std::nullopt;
  // Pages and lists of choices are asked themselves: what they hold matters though it does not show.
  if (!below || below->size() > 1 || element.role == role::documentWeb || element.role == role::comboBox) {
    return std::nullopt;
  }
  std::vector<ElementRef> children;
  if (below->size() == 1) {
    children.push_back(showing_->at(below->begin));
  }
  return children;
}

void ChromiumWalk::adoptShowing(ElementFacts& parent, const std::vector<ElementRef>& children, Level& next) {
  if (!showing_ || !showing_->below(parent.ref) || parent.role == role::comboBox) {
    adopt(parent, children, next);
    return;
  }
  showing_->noteChildren(parent.ref, children);
  std::vector<ElementRef> shown;
  std::copy_if(children.begin(), children.end(), std::back_inserter(shown),
               [this](const ElementRef& child) { return showing_->holds(child); });
  parent.childrenAreVisibleOnly = shown.size() < children.size();
  adopt(parent, shown, next);
}

bool ChromiumWalk::isNoise(const ElementFacts& element) const {
  if (element.role != role::staticText || !element.has(kRead)) {
    return false;
  }
  if (isBlank(element.name)) {
    return true;
  }
  const ElementFacts* parent = parentOf(element);
  if (!parent || parent->role != role::listItem || !element.extents || !parent->extents) {
    return false;
  }
  const Rect& entry = *parent->extents;
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

}  // namespace jumplark::atspi
