#include "backends/linux/atspi/vocabulary/HitTest.h"

#include <algorithm>
#include <utility>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/windows/WindowSystem.h"

namespace jumplark::atspi {

namespace {

constexpr int kMostAncestors = 100;
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
  switch (element.role) {
    case role::scrollPane:
    case role::viewport:
    case role::table:
    case role::treeTable:
    case role::tree:
    case role::list:
    case role::listBox:
    case role::documentWeb:
    case role::frame:
      return true;
    default:
      return false;
  }
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

void HitTest::snapshotPrepared(const ElementRef& application) {
  if (const AtspiHandle* handle = handleOf(application)) {
    const std::lock_guard lock(mutex_);
    if (std::exchange(ended_, false)) {
      kept_.clear();
    }
    kept_[handle->busName()] = {application, nullptr, std::chrono::steady_clock::now()};
  }
}

void HitTest::snapshotsEnding() {
  std::vector<ElementRef> applications;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [busName, kept] : kept_) {
      applications.push_back(kept.application);
    }
  }
  for (const auto& application : applications) {
    geometryOf(application);
  }
  const std::lock_guard lock(mutex_);
  ended_ = true;
}

HitTest::GeometryPointer HitTest::geometryOf(const ElementRef& application) {
  const AtspiHandle* handle = handleOf(application);
  {
    const std::lock_guard lock(mutex_);
    const auto kept = kept_.find(handle->busName());
    if (kept == kept_.end()) {
      return nullptr;
    }
    if (kept->second.geometry) {
      return kept->second.geometry;
    }
  }
  auto made = std::make_shared<Geometry>();
  made->elements = vocabulary_.source.snapshotElements(application);
  made->byRef.reserve(made->elements.size());
  for (const auto& element : made->elements) {
    made->byRef.emplace(element->ref, element);
  }
  const std::lock_guard lock(mutex_);
  Kept& kept = kept_[handle->busName()];
  kept.application = application;
  kept.geometry = made;
  return made;
}

AccessibilityResult<ElementRef> HitTest::elementAt(const ElementRef& application, Point point) {
  const auto window = vocabulary_.windows.topmostWindowAt(point);
  if (!window) {
    return AccessibilityError::noValue;
  }
  const ElementRef owner = applicationOf(*window, application);
  if (handleOf(owner) == nullptr) {
    return AccessibilityError::noValue;
  }
  const Place place{owner, frameOf(*window, owner), *window, point};
  if (const auto geometry = geometryOf(owner)) {
    const auto found = candidates(*geometry, place);
    if (ElementRef told = topmostInDocument(*geometry, found, point)) {
      return told;
    }
    if (!found.empty() && hasJustBeenRead(owner, *found.front())) {
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
  ElementRef owner = window.pid >= 0 ? vocabulary_.source.application(window.pid) : ElementRef();
  if (!owner && window.connectionPid >= 0) {
    owner = vocabulary_.source.application(window.connectionPid);
  }
  if (!wanted || owner == wanted) {
    return owner;
  }
  // In a sandbox the window's process is not the one on the bus; the frame still knows its window.
  return frameOf(window, wanted) ? wanted : ElementRef();
}

ElementRef HitTest::frameOf(const WindowFacts& window, const ElementRef& application) const {
  return vocabulary_.frames.frameOf(window.id, application);
}

std::vector<FactsPointer> HitTest::candidates(const Geometry& geometry, const Place& place) const {
  std::vector<FactsPointer> found;
  for (auto element = geometry.elements.rbegin(); element != geometry.elements.rend() && found.size() < kMostChecks;
       ++element) {
    if (holds(**element, place.point) && vocabulary_.shape.isShowing(**element) &&
        isReachable(geometry, **element, place)) {
      found.push_back(*element);
    }
  }
  // The cells of a table, which come after its headers, are scrolled below them.
  const auto header = std::find_if(found.begin(), found.end(), [](const auto& e) { return isHeader(*e); });
  if (header != found.end() && (*header)->parent == found.front()->parent) {
    std::rotate(found.begin(), header, header + 1);
  }
  return found;
}

bool HitTest::isReachable(const Geometry& geometry, const ElementFacts& element, const Place& place) const {
  if (element.role == role::application) {
    return false;
  }
  const ElementFacts* here = &element;
  for (int step = 0; step < kMostAncestors; ++step) {
    if (here->extents && !here->extents->contains(place.point) && clipsItsContent(*here)) {
      return false;
    }
    if (!place.frame && isPopup(*here, place.window.frame)) {
      return true;
    }
    const auto above = geometry.byRef.find(here->parent);
    if (above == geometry.byRef.end() || above->second->role == role::application) {
      break;
    }
    here = above->second.get();
  }
  if (!place.frame) {
    return false;
  }
  // Snapshots may leave out containers; what hangs in the air is told by its place alone.
  const bool isTop = !here->parent || here->parent == place.application;
  return isTop ? here->ref == place.frame : true;
}

ElementRef HitTest::topmostInDocument(const Geometry& geometry, const std::vector<FactsPointer>& found,
                                      Point point) const {
  const ElementFacts* here = found.empty() ? nullptr : found.front().get();
  for (int step = 0; here != nullptr && step < kMostAncestors; ++step) {
    if (here->role == role::documentWeb) {
      return vocabulary_.source.topmostInDocument(here->ref, point);
    }
    const auto above = geometry.byRef.find(here->parent);
    here = above == geometry.byRef.end() ? nullptr : above->second.get();
  }
  return {};
}

bool HitTest::hasJustBeenRead(const ElementRef& application, const ElementFacts& element) {
  // Not told in a scope of live reads, nor after the snapshot has ended.
  if (!vocabulary_.source.snapshotFacts(element.ref)) {
    return false;
  }
  const std::lock_guard lock(mutex_);
  const auto kept = kept_.find(handleOf(application)->busName());
  return kept != kept_.end() && std::chrono::steady_clock::now() - kept->second.since < trust_;
}

AccessibilityResult<ElementRef> HitTest::firstStillThere(const std::vector<FactsPointer>& candidates,
                                                         Point point) const {
  const Token live = vocabulary_.source.beginLiveReads();
  for (const auto& candidate : candidates) {
    const auto now = vocabulary_.source.facts(candidate->ref, facts::identity | facts::extents);
    if (now.error == AccessibilityError::cannotComplete) {
      return now.error;
    }
    if (now.ok() && vocabulary_.shape.isShowing(*now.value) && holds(*now.value, point)) {
      return candidate->ref;
    }
  }
  return AccessibilityError::noValue;
}

AccessibilityResult<ElementRef> HitTest::readDown(const Place& place) const {
  const Token live = vocabulary_.source.beginLiveReads();
  constexpr auto kGroups = facts::identity | facts::extents | facts::children;
  int budget = kMostReads;
  const auto start = vocabulary_.source.facts(place.frame ? place.frame : place.application, kGroups);
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
  for (const auto& top : vocabulary_.source.factsOfAll(start.value->children, kGroups)) {
    if (top && vocabulary_.shape.isShowing(*top) && holds(*top, place.point) && isPopup(*top, place.window.frame)) {
      const auto found = deepestAt(*top, place.point, budget);
      return found ? found->ref : top->ref;
    }
  }
  return AccessibilityError::noValue;
}

FactsPointer HitTest::deepestAt(const ElementFacts& element, Point point, int& budget) const {
  std::vector<ElementRef> refs = element.children;
  if (refs.size() > kMostSiblings) {
    refs.resize(kMostSiblings);
  }
  budget -= static_cast<int>(refs.size());
  if (refs.empty() || budget < 0) {
    return nullptr;
  }
  const auto children = vocabulary_.source.factsOfAll(refs, facts::identity | facts::extents | facts::children);
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
