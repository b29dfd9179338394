#include "backends/linux/atspi/vocabulary/TreeShape.h"

#include <algorithm>

#include "backends/linux/atspi/element/FactsWorthReading.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/vocabulary/RoleMap.h"

namespace jumplark::atspi {

namespace {

/// A longer list is not looked through for menu bars and tabs.
constexpr auto kLongList = static_cast<int64_t>(View::kMostLiveChildren);

bool isRowObject(const ElementFacts& element) {
  return element.role == role::tableRow || element.role == role::listItem || element.role == role::treeItem;
}

ElementList listOf(const std::vector<FactsPointer>& all) {
  std::vector<ElementRef> elements;
  elements.reserve(all.size());
  for (const auto& one : all) {
    if (one) {
      elements.push_back(one->ref);
    }
  }
  const auto count = static_cast<int64_t>(elements.size());
  return {count, std::make_shared<const std::vector<ElementRef>>(std::move(elements))};
}

}  // namespace

bool TreeShape::isShowing(const ElementFacts& element) const {
  if (!element.is(state::showing) || element.is(state::defunct)) {
    return false;
  }
  return !element.has(facts::extents) || element.extents.has_value();
}

bool TreeShape::isReparentedMenuBar(const ElementFacts& element) const {
  return element.role == role::menuBar && view_.menuBar(window(element)) == element.ref;
}

ElementRef TreeShape::parent(const ElementFacts& element) const {
  // It names the list of all applications, which belongs to another process.
  if (element.role == role::application) {
    return {};
  }
  if (element.role == role::menuBar && isReparentedMenuBar(element)) {
    return application(element);
  }
  const auto above = view_.parentOf(element);
  if (above && hasContentBeside(*above)) {
    const auto tab = view_.with(above, facts::extents);
    const auto content = element.has(facts::extents) ? nullptr : view_.get(element.ref, facts::extents);
    if (tab->parent && isBeside(content ? *content : element, *tab)) {
      return tab->parent;
    }
  }
  return above && isStrayPopover(element, *above) ? window(element) : element.parent;
}

bool TreeShape::isStrayPopover(const ElementFacts& element, const ElementFacts& above) const {
  if (element.role != role::panel || isContainerRole(roles_.role(above))) {
    return false;
  }
  const auto claimed = view_.get(above.ref, facts::children);
  return claimed &&
         std::find(claimed->children.begin(), claimed->children.end(), element.ref) == claimed->children.end();
}

ElementRef TreeShape::window(const ElementFacts& element) const {
  if (element.role == role::application || !element.parent) {
    return {};
  }
  ElementRef here = element.ref;
  ElementRef up = element.parent;
  for (int step = 0; step < ElementTree::kMostAncestors && up; ++step) {
    const auto above = view_.get(up, facts::identity);
    if (!above) {
      return {};
    }
    if (above->role == role::application) {
      return here;
    }
    here = up;
    up = above->parent;
  }
  return here;
}

ElementRef TreeShape::application(const ElementFacts& element) const {
  if (element.role == role::application) {
    return element.ref;
  }
  const auto frame = view_.get(window(element), facts::identity);
  return frame ? frame->parent : ElementRef();
}

Rect TreeShape::clipAround(const ElementFacts& element) const {
  if (const auto known = view_.clipOf(element.ref)) {
    return known->around;
  }
  std::vector<FactsPointer> chain{std::make_shared<const ElementFacts>(element)};
  while (chain.size() <= size_t{ElementTree::kMostAncestors}) {
    FactsPointer above = view_.get(parent(*chain.back()), facts::identity | facts::extents);
    if (!above || above->role == role::application) {
      break;
    }
    chain.push_back(std::move(above));
  }
  Clip clip;
  for (size_t i = chain.size() - 1; i > 0; --i) {
    clip = clipInside(*chain[i], clip, *chain[i - 1]);
  }
  return clip.around;
}

Rect TreeShape::documentClip(const ElementFacts& element) const {
  if (const auto known = view_.clipOf(element.ref)) {
    return known->document;
  }
  const auto isDocument = [](const ElementFacts& above) { return above.role == role::documentWeb; };
  const auto document = view_.findAbove(element, facts::identity | facts::extents, isDocument);
  return document ? visibleRect(*document) : Rect::infinite();
}

Rect TreeShape::sight(const ElementFacts& element) const {
  // What stands in a page may lie beside what holds it there.
  const Rect document = documentClip(element);
  return document.isInfinite() ? clipAround(element) : document;
}

Rect TreeShape::visibleRect(const ElementFacts& element) const {
  return atspi::visibleRect(element, {clipAround(element), {}});
}

void TreeShape::addTabWithPage(const FactsPointer& tab, std::vector<FactsPointer>& to) const {
  to.push_back(tab);
  const auto withExtents = view_.with(tab, facts::extents | facts::children);
  for (auto& content : view_.childrenOf(*withExtents, facts::identity | facts::extents)) {
    if (content && isBeside(*content, *withExtents)) {
      to.push_back(std::move(content));
    }
  }
}

std::vector<FactsPointer> TreeShape::presented(const ElementFacts& element) const {
  std::vector<FactsPointer> result;
  const bool isTab = hasContentBeside(element);
  const auto self = isTab ? view_.get(element.ref, facts::identity | facts::extents) : nullptr;
  for (auto& child : view_.childrenOf(element, facts::identity | facts::extents)) {
    if (!child || (isMenuLike(element) && !isShowing(*child)) || isReparentedMenuBar(*child)) {
      continue;
    }
    if (hasContentBeside(*child)) {
      addTabWithPage(child, result);
    } else if (!(self && isBeside(*child, *self))) {
      result.push_back(std::move(child));
    }
  }
  if (element.role == role::application) {
    if (auto bar = view_.get(view_.menuBar(view_.focusedWindow(element.ref)), facts::identity)) {
      result.push_back(std::move(bar));
    }
  }
  return result;
}

bool TreeShape::isSeen(const ElementFacts& child, const Rect& viewport, bool isRow) const {
  Rect place = *child.extents;
  if (isRow) {
    // Rows are often wider than what shows of them, or begin left of it.
    place.x = viewport.x;
    place.width = viewport.width;
  }
  // What only holds others is as much there as they are.
  return intersects(place, viewport) && (isEnoughInSight(place, viewport) || isContainerRole(roles_.role(child)));
}

ElementList TreeShape::showing(const ElementFacts& element, bool rows) const {
  auto all = presented(element);
  const auto self = view_.get(element.ref, facts::identity | facts::extents);
  const bool clips = self && hasArea(*self);
  const Rect viewport = clips ? visibleRect(*self) : Rect::infinite();
  std::erase_if(all, [&](const FactsPointer& child) {
    if (!isShowing(*child) || !clips || !child->extents) {
      return !isShowing(*child);
    }
    if (viewport.isNull()) {
      return true;
    }
    return hasArea(*child) && !isSeen(*child, viewport, rows && isRowObject(*child));
  });
  return listOf(all);
}

ElementList TreeShape::children(const ElementFacts& element) const {
  const auto self = view_.get(element.ref, facts::children);
  if (!self) {
    return {0, std::make_shared<const std::vector<ElementRef>>()};
  }
  const auto held = static_cast<int64_t>(self->children.size());
  // What does not show of a large container is not read one by one for a snapshot: that would take minutes.
  const bool isPart = self->childrenAreVisibleOnly && view_.snapshotOf(element.ref);
  if (!isPart && (self->childrenAreVisibleOnly || self->childCount > std::max(held, kLongList))) {
    return {std::max(self->childCount, held), nullptr};
  }
  if (!isPart && held > kLongList) {
    return {held, {self, &self->children}};
  }
  return view_.once(element.ref, &Findings::children, [&] { return listOf(presented(element)); });
}

ElementList TreeShape::visibleChildren(const ElementFacts& element) const {
  return view_.once(element.ref, &Findings::visibleChildren, [&] { return showing(element, false); });
}

ElementList TreeShape::visibleRows(const ElementFacts& element) const {
  return view_.once(element.ref, &Findings::visibleRows, [&] { return showing(element, true); });
}

AccessibilityResult<std::vector<ElementRef>> TreeShape::slice(const ElementFacts& element, const ElementList& list,
                                                              int64_t index, int64_t count) const {
  count = std::clamp<int64_t>(count, 0, list.count - index);
  if (!list.elements) {
    return view_.childrenInRange(element.ref, index, count);
  }
  const auto from = list.elements->begin() + index;
  return std::vector<ElementRef>(from, from + count);
}

}  // namespace jumplark::atspi
