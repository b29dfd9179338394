#include "backends/linux/atspi/vocabulary/HitTest.h"

#include <algorithm>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/windows/WindowSystem.h"

namespace jumplark::atspi {

namespace {

/// Elements of the snapshot that are asked whether they are still there before the frame is read anew.
constexpr size_t kMostChecks = 4;
/// Elements that one hit may read from an application without a snapshot.
constexpr int kMostReads = 3000;
constexpr size_t kMostSiblings = 500;
/// How far a pop-up's element may reach beyond its window, and how much of that it covers at least.
constexpr double kPopupTolerance = 12;
constexpr double kPopupShare = 0.5;

bool isHeader(const ElementFacts& element) {
  return element.role == role::tableColumnHeader || element.role == role::tableRowHeader;
}

bool holds(const ElementFacts& element, Point point) {
  return element.extents && element.extents->contains(point);
}

bool clipsItsContent(const ElementFacts& element) {
  return role::isOneOf<role::scrollPane, role::viewport, role::table, role::treeTable, role::tree, role::list,
                       role::listBox, role::documentWeb, role::frame>(element.role);
}

/// True for what toolkits show in windows of their own that no window manager knows.
bool isPopup(const ElementFacts& element, const Rect& window) {
  switch (element.role) {
    case role::menu:
    case role::popupMenu:
    case role::window:
    case role::list:
    case role::listBox:
    case role::tree:
    case role::treeTable:
    case role::table:
    case role::toolTip:
    case role::dialog:
    case role::alert:
      break;
    default:
      return false;
  }
  if (!element.extents) {
    return false;
  }
  const Rect& place = *element.extents;
  return place.minX() >= window.minX() - kPopupTolerance && place.minY() >= window.minY() - kPopupTolerance &&
         place.maxX() <= window.maxX() + kPopupTolerance && place.maxY() <= window.maxY() + kPopupTolerance &&
         place.width * place.height >= kPopupShare * window.width * window.height;
}

/// True where looking below an element is worth it although it does not hold the point: a tab's page lies beside it,
/// and containers without a size hold others nevertheless.
bool isOpen(const ElementFacts& element) {
  return element.role == role::pageTab || !element.extents || element.extents->width <= 0 ||
         element.extents->height <= 0;
}

}  // namespace

AccessibilityResult<ElementRef> HitTest::elementAt(const ElementRef& application, Point point) const {
  const auto window = now_.windows.topmostWindowAt(point);
  if (!window) {
    return AccessibilityError::noValue;
  }
  const ElementRef owner = applicationOf(*window, application);
  if (handleOf(owner) == nullptr) {
    return AccessibilityError::noValue;
  }
  const Place place{owner, frameOf(*window, owner), *window, point};
  if (const SnapshotPointer geometry = now_.view.lastOf(owner)) {
    const auto found = candidates(*geometry, place);
    if (ElementRef told = topmostInDocument(geometry->tree, found, point)) {
      return told;
    }
    if (!found.empty() && hasJustBeenRead(*geometry, *found.front())) {
      return found.front()->ref;
    }
    auto hit = firstStillThere(found, point);
    if (hit.ok() || hit.error == AccessibilityError::cannotComplete) {
      return hit;
    }
  }
  return readDown(place);
}

ElementRef HitTest::applicationOf(const WindowFacts& window, const ElementRef& wanted) const {
  ElementRef owner = window.pid >= 0 ? now_.view.application(window.pid) : ElementRef();
  if (!owner && window.connectionPid >= 0) {
    owner = now_.view.application(window.connectionPid);
  }
  if (!wanted || owner == wanted) {
    return owner;
  }
  // In a sandbox the window's process is not the one on the bus; the frame still knows its window.
  return frameOf(window, wanted) ? wanted : ElementRef();
}

ElementRef HitTest::frameOf(const WindowFacts& window, const ElementRef& application) const {
  return now_.frames.frameOf(window.id, application);
}

std::vector<FactsPointer> HitTest::candidates(const Snapshot& geometry, const Place& place) const {
  std::vector<FactsPointer> found;
  const ElementTree& tree = geometry.tree;
  for (auto index = static_cast<int>(tree.inDocumentOrder()) - 1; index >= 0 && found.size() < kMostChecks; --index) {
    const FactsPointer& element = tree[index].facts;
    if (holds(*element, place.point) && now_.shape.isShowing(*element) && isReachable(tree, index, place)) {
      found.push_back(element);
    }
  }
  // The cells of a table, which come after its headers, are scrolled below them.
  const auto header = std::find_if(found.begin(), found.end(), [](const auto& e) { return isHeader(*e); });
  if (header != found.end() && (*header)->parent == found.front()->parent) {
    std::rotate(found.begin(), header, header + 1);
  }
  return found;
}

bool HitTest::isReachable(const ElementTree& tree, int index, const Place& place) {
  if (tree[index].facts->role == role::application) {
    return false;
  }
  int here = index;
  for (;;) {
    const ElementFacts& element = *tree[here].facts;
    if (element.extents && !element.extents->contains(place.point) && clipsItsContent(element)) {
      return false;
    }
    if (!place.frame && isPopup(element, place.window.frame)) {
      return true;
    }
    const int above = tree[here].parent;
    if (above == ElementTree::kNone || tree[above].facts->role == role::application) {
      break;
    }
    here = above;
  }
  if (!place.frame) {
    return false;
  }
  // Snapshots may leave out containers; what hangs in the air is told by its place alone.
  const ElementFacts& top = *tree[here].facts;
  const bool isTop = !top.parent || top.parent == place.application;
  return isTop ? top.ref == place.frame : true;
}

ElementRef HitTest::topmostInDocument(const ElementTree& tree, const std::vector<FactsPointer>& found,
                                      Point point) const {
  int here = found.empty() ? ElementTree::kNone : tree.find(found.front()->ref);
  while (here != ElementTree::kNone) {
    if (tree[here].facts->role == role::documentWeb) {
      return now_.view.topmostInDocument(tree[here].facts->ref, point);
    }
    here = tree[here].parent;
  }
  return {};
}

bool HitTest::hasJustBeenRead(const Snapshot& geometry, const ElementFacts& element) const {
  // Not told in a view of live reads, nor after the snapshot has ended.
  return now_.view.snapshotOf(element.ref) && Clock::now() - geometry.takenAt < trust_;
}

AccessibilityResult<ElementRef> HitTest::firstStillThere(const std::vector<FactsPointer>& candidates,
                                                         Point point) const {
  for (const auto& candidate : candidates) {
    const auto now = live_.view.facts(candidate->ref, facts::identity | facts::extents);
    if (now.error == AccessibilityError::cannotComplete) {
      return now.error;
    }
    if (now.ok() && live_.shape.isShowing(*now.value) && holds(*now.value, point)) {
      return candidate->ref;
    }
  }
  return AccessibilityError::noValue;
}

AccessibilityResult<ElementRef> HitTest::readDown(const Place& place) const {
  constexpr auto kGroups = facts::identity | facts::extents | facts::children;
  int budget = kMostReads;
  const auto start = live_.view.facts(place.frame ? place.frame : place.application, kGroups);
  if (!start.ok()) {
    return start.error;
  }
  if (place.frame) {
    if (const auto found = deepestAt(*start.value, place.point, budget)) {
      return found->ref;
    }
    return holds(*start.value, place.point) ? AccessibilityResult<ElementRef>(place.frame)
                                            : AccessibilityResult<ElementRef>(AccessibilityError::noValue);
  }
  for (const auto& top : live_.view.childrenOf(*start.value, kGroups)) {
    if (top && live_.shape.isShowing(*top) && holds(*top, place.point) && isPopup(*top, place.window.frame)) {
      const auto found = deepestAt(*top, place.point, budget);
      return found ? found->ref : top->ref;
    }
  }
  return AccessibilityError::noValue;
}

FactsPointer HitTest::deepestAt(const ElementFacts& element, Point point, int& budget) const {
  budget -= static_cast<int>(std::min(element.children.size(), kMostSiblings));
  if (element.children.empty() || budget < 0) {
    return nullptr;
  }
  const auto children =
      live_.view.childrenOf(element, facts::identity | facts::extents | facts::children, kMostSiblings);
  for (auto child = children.rbegin(); child != children.rend(); ++child) {
    if (!*child || !(*child)->is(state::showing)) {
      continue;
    }
    const bool isHit = holds(**child, point);
    if (isHit || isOpen(**child)) {
      if (auto deeper = deepestAt(**child, point, budget)) {
        return deeper;
      }
    }
    if (isHit) {
      return *child;
    }
  }
  return nullptr;
}

}  // namespace jumplark::atspi
