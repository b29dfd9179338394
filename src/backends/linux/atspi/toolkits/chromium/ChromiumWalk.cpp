#include "backends/linux/atspi/toolkits/chromium/ChromiumWalk.h"

#include <algorithm>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/EmbeddedObjects.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/ComboChoices.h"
#include "backends/linux/atspi/toolkits/chromium/ChildrenByPlace.h"
#include "backends/linux/atspi/toolkits/chromium/PageOcclusion.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {
namespace {

/// Chromium names the children of a long list in quadratic time: 1000 in some 10 ms, 10000 in a second.
constexpr int64_t kMostChildren = 1500;
/// Up to so many children are asked one by one.
constexpr int64_t kFewChildren = 30;
constexpr uint64_t kStatesOfFace =
    (1ULL << state::showing) | (1ULL << state::visible) | (1ULL << state::enabled) | (1ULL << state::sensitive);
constexpr uint32_t kPlainInterfaces = interface_bit::component | interface_bit::text;

bool isLeaf(uint32_t number) {
  return number == role::staticText || number == role::image || number == role::separator;
}

/// Elements that consist of what they say.
bool isNamedByItsFace(uint32_t number) {
  return role::isOneOf<role::link, role::heading, role::pushButton, role::toggleButton, role::checkBox,
                       role::radioButton, role::pageTab, role::menuItem>(number);
}

bool hasFurtherInterfaces(uint32_t number) {
  return role::isOneOf<role::slider, role::dial, role::spinButton, role::progressBar, role::levelBar, role::scrollBar,
                       role::dateEditor, role::splitPane, role::table, role::treeTable>(number);
}

constexpr int32_t kLongestLine = 1000;
constexpr double kHighestLine = 40;

bool isOneLineOfWords(const std::string& text) {
  return !isBlank(text) && text.size() < kLongestLine && text.find(kEmbeddedObject) == std::string::npos;
}

}  // namespace

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
  PageOcclusion covers(runner_, plan_.offset, plan_.deadline);
  covers.begin(all);
  readFurther(all);
  covers.finish();
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
    const bool isFace = isFaceOfItsParent(e);
    if (isFace) {
      faces.push_back(element);
    }
    if (e.has(facts::identity)) {
      continue;
    }
    batch.add<uint32_t>(
        calls::role(*handleOf(e.ref)), [&e](uint32_t& role) { e.role = role; }, noting());
    if (!isFace) {
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
    if (e.role == role::link) {
      batch.add<std::string>(calls::text(*handleOf(e.ref), 0, kLongestLine), [this, &e](std::string& text) {
        if (isOneLineOfWords(text)) {
          worded_.insert(&e);
        }
      });
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
  ChildrenOfLevel children;
  TypedBatch batch;
  for (const auto& element : level) {
    askChildren(batch, element, children);
  }
  batch.run(runner_, plan_.deadline);
  for (const auto& asked : children.many) {
    if (asked->answered()) {
      asked->askMore(batch);
    } else if (!stopped()) {
      askForAll(batch, *asked->container, children);
    }
  }
  batch.run(runner_, plan_.deadline);
  Level next;
  for (const auto& asked : children.many) {
    adoptShowing(*asked, next);
  }
  for (auto& [container, found] : children.found) {
    adoptAll(*container, found, next);
  }
  for (ElementFacts* container : children.large) {
    adoptByPlace(*container, next);
  }
  return next;
}

void ChromiumWalk::askChildren(TypedBatch& batch, const std::shared_ptr<ElementFacts>& element,
                               ChildrenOfLevel& children) {
  ElementFacts& e = *element;
  if (e.role == role::documentWeb && e.is(state::showing)) {
    documents_.push_back(element);
  }
  const ElementFacts* parent = parentOf(e);
  const bool isClosedMenu = parent && parent->role == role::menuBar;
  if (!e.has(kRead) || e.childCount == 0 || isClosedMenu) {
    return;
  }
  if (e.childCount > kMostChildren) {
    children.large.push_back(&e);
  } else if (isOneLine(e)) {
    e.childCount = 0;
  } else if (e.childCount > kFewChildren) {
    children.many.push_back(std::make_unique<ManyChildren>(e));
    children.many.back()->ask(batch);
  } else {
    askForAll(batch, e, children);
  }
}

void ChromiumWalk::askForAll(TypedBatch& batch, ElementFacts& container, ChildrenOfLevel& children) {
  batch.add<std::vector<ElementRef>>(
      calls::children(*handleOf(container.ref)),
      [&](std::vector<ElementRef>& found) { children.found.emplace_back(&container, std::move(found)); }, noting());
}

void ChromiumWalk::adoptAll(ElementFacts& container, const std::vector<ElementRef>& children, Level& next) {
  container.childCount = static_cast<int64_t>(children.size());
  // A container's text is that of its children; a caption is nevertheless read as one.
  if (!children.empty() && container.name.empty() && container.role != role::label) {
    container.interfaces &= ~interface_bit::text;
  }
  adopt(container, children, next);
}

void ChromiumWalk::adoptByPlace(ElementFacts& container, Level& next) {
  container.childrenAreVisibleOnly = true;
  container.interfaces &= ~interface_bit::text;
  const Rect part = visiblePart(container);
  if (!stopped() && !part.isNull()) {
    const Rect local{part.x - plan_.offset.x, part.y - plan_.offset.y, part.width, part.height};
    adopt(container, childrenByPlace(runner_, container, local, plan_.deadline), next);
  }
}

bool ChromiumWalk::isOneLine(const ElementFacts& element) const {
  return worded_.contains(&element) && !isBlank(element.name) && element.extents &&
         element.extents->height <= kHighestLine;
}

void ChromiumWalk::adoptShowing(const ManyChildren& many, Level& next) {
  if (!many.answered()) {
    return;
  }
  ElementFacts& container = *many.container;
  container.childrenAreVisibleOnly = true;
  if (container.name.empty() && container.role != role::label) {
    container.interfaces &= ~interface_bit::text;
  }
  const size_t first = next.size();
  adopt(container, many.showing(), next);
  for (size_t i = first; i < next.size(); ++i) {
    many.describe(*next[i]);
  }
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
    if (ElementFacts* parent = elements_.find(element->parent)) {
      std::erase(parent->children, element->ref);
      parent->childCount = std::max<int64_t>(parent->childCount - 1, 0);
    }
    elements_.remove(element->ref);
    return true;
  });
}

}  // namespace jumplark::atspi
