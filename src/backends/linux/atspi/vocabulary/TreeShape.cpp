#include "backends/linux/atspi/vocabulary/TreeShape.h"

#include <algorithm>

#include "backends/linux/atspi/element/FactsWorthReading.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/source/View.h"
#include "backends/linux/atspi/vocabulary/RoleMap.h"

namespace jumplark::atspi {

namespace {

/// A longer list is not looked through for menu bars and tabs.
constexpr auto kLongList = static_cast<int64_t>(View::kMostLiveChildren);

bool isMenuLike(const ElementFacts& element) {
  return role::isOneOf<role::menu, role::menuItem, role::checkMenuItem, role::radioMenuItem, role::popupMenu,
                       role::comboBox>(element.role);
}

bool isOpenMenu(const ElementFacts& element) {
  return element.role == role::menu || element.role == role::popupMenu;
}

/// A tab with its page, an expander with what it discloses.
bool stripsContent(const ElementFacts& element) {
  return element.role == role::pageTab || isDisclosure(element);
}

bool isRowObject(const ElementFacts& element) {
  return element.role == role::tableRow || element.role == role::listItem || element.role == role::treeItem;
}

bool hasArea(const ElementFacts& element) {
  return element.extents && element.extents->width > 0 && element.extents->height > 0;
}

bool overlapsVertically(const Rect& a, const Rect& b) {
  return a.minY() < b.maxY() && b.minY() < a.maxY();
}

TreeShape::List listOf(const std::vector<FactsPointer>& all) {
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

bool TreeShape::isBesideTab(const ElementFacts& content, const ElementFacts& tab) const {
  if (tab.role != role::pageTab) {
    return content.extents.has_value();
  }
  // A lone tab is hidden in some notebooks: it has no place, its page shows nevertheless.
  return content.extents && !(tab.extents && intersects(*content.extents, *tab.extents));
}

ElementRef TreeShape::parent(const ElementFacts& element) const {
  if (element.role == role::menuBar && isReparentedMenuBar(element)) {
    return application(element);
  }
  const auto above = view_.parentOf(element);
  if (above && stripsContent(*above)) {
    const auto tab = view_.with(above, facts::extents);
    const auto content = element.has(facts::extents) ? nullptr : view_.get(element.ref, facts::extents);
    if (tab->parent && isBesideTab(content ? *content : element, *tab)) {
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

Rect TreeShape::visibleRect(const ElementFacts& element) const {
  if (!element.extents) {
    return Rect::null();
  }
  // An open menu lies in a window of its own.
  return isOpenMenu(element) ? *element.extents
                             : intersection(*element.extents, clipAround(element, ElementTree::kMostAncestors));
}

Rect TreeShape::clipAround(const ElementFacts& element, int steps) const {
  const auto above = view_.get(parent(element), facts::identity | facts::extents);
  // What a menu or a combo box opens lies in a window of its own.
  if (!above || above->role == role::application || isMenuLike(*above) || steps == 0) {
    return Rect::infinite();
  }
  return clips_.get(above->ref, [&] {
    const Rect clip = clipAround(*above, steps - 1);
    return hasArea(*above) ? intersection(clip, *above->extents) : clip;
  });
}

Rect TreeShape::documentClip(const ElementFacts& element) const {
  return documentClip(element, ElementTree::kMostAncestors);
}

Rect TreeShape::documentClip(const ElementFacts& element, int steps) const {
  if (element.role == role::application || !element.parent || steps == 0) {
    return Rect::infinite();
  }
  return documentClips_.get(element.parent, [&] {
    const auto above = view_.get(element.parent, facts::identity | facts::extents);
    if (!above) {
      return Rect::infinite();
    }
    return above->role == role::documentWeb ? visibleRect(*above) : documentClip(*above, steps - 1);
  });
}

void TreeShape::addTabWithPage(const FactsPointer& tab, std::vector<FactsPointer>& to) const {
  to.push_back(tab);
  const auto withExtents = view_.with(tab, facts::extents | facts::children);
  for (auto& content : view_.childrenOf(*withExtents, facts::identity | facts::extents)) {
    if (content && isBesideTab(*content, *withExtents)) {
      to.push_back(std::move(content));
    }
  }
}

std::vector<FactsPointer> TreeShape::presented(const ElementFacts& element) const {
  std::vector<FactsPointer> result;
  const bool isTab = stripsContent(element);
  const auto self = isTab ? view_.get(element.ref, facts::identity | facts::extents) : nullptr;
  for (auto& child : view_.childrenOf(element, facts::identity | facts::extents)) {
    if (!child || (isMenuLike(element) && !isShowing(*child)) || isReparentedMenuBar(*child)) {
      continue;
    }
    if (stripsContent(*child)) {
      addTabWithPage(child, result);
    } else if (!(self && isBesideTab(*child, *self))) {
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

TreeShape::List TreeShape::make(const ElementFacts& element, Which which) const {
  auto all = presented(element);
  if (which == Which::children) {
    return listOf(all);
  }
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
    // Rows are often wider than what shows of them, or begin left of it.
    const bool isRow = which == Which::visibleRows && isRowObject(*child);
    const bool isSeen = isRow ? overlapsVertically(*child->extents, viewport) : intersects(*child->extents, viewport);
    return !isSeen && hasArea(*child);
  });
  return listOf(all);
}

TreeShape::List TreeShape::remembered(const ElementFacts& element, Which which) const {
  return lists_[static_cast<size_t>(which)].get(element.ref, [&] { return make(element, which); });
}

TreeShape::List TreeShape::children(const ElementFacts& element) const {
  const auto self = view_.get(element.ref, facts::children);
  if (!self) {
    return {0, std::make_shared<const std::vector<ElementRef>>()};
  }
  const auto held = static_cast<int64_t>(self->children.size());
  // What does not show of a large container is not read one by one for a snapshot: that would take minutes.
  if (self->childrenAreVisibleOnly && view_.isInSnapshot(element.ref)) {
    return remembered(element, Which::children);
  }
  if (self->childrenAreVisibleOnly || self->childCount > std::max(held, kLongList)) {
    return {std::max(self->childCount, held), nullptr};
  }
  if (held > kLongList) {
    return {held, Elements(self, &self->children)};
  }
  return remembered(element, Which::children);
}

TreeShape::List TreeShape::visibleChildren(const ElementFacts& element) const {
  return remembered(element, Which::visibleChildren);
}

TreeShape::List TreeShape::visibleRows(const ElementFacts& element) const {
  return remembered(element, Which::visibleRows);
}

AccessibilityResult<std::vector<ElementRef>> TreeShape::slice(const ElementFacts& element, const List& list,
                                                              int64_t index, int64_t count) const {
  count = std::clamp<int64_t>(count, 0, list.count - index);
  if (!list.elements) {
    return view_.childrenInRange(element.ref, index, count);
  }
  const auto from = list.elements->begin() + index;
  return std::vector<ElementRef>(from, from + count);
}

}  // namespace jumplark::atspi
