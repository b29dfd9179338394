#include "backends/linux/atspi/source/AtspiElementSource.h"

#include <algorithm>
#include <chrono>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/reading/VisibleChildren.h"

namespace jumplark::atspi {
namespace {

/// So that a silent application is recognised as such before a single call's own limit ends.
constexpr auto kBeyondSilence = std::chrono::milliseconds(20);
constexpr int kDeepest = 100;

thread_local int liveScopes = 0;

ElementRef applicationOf(const AtspiHandle& element) {
  return makeRef(element.busName(), calls::kRootPath);
}

std::vector<ElementSource::Frame> framesFrom(const std::vector<MatchedFrame>& matched) {
  std::vector<ElementSource::Frame> frames;
  frames.reserve(matched.size());
  for (const MatchedFrame& m : matched) {
    frames.push_back({m.frame.element, m.window.id});
  }
  return frames;
}

}  // namespace

bool AtspiElementSource::isLive() {
  return liveScopes > 0;
}

AtspiElementSource::AtspiElementSource(BusConnection::Options options, WindowSystem& windows)
    : windows_(windows),
      bus_(std::move(options)),
      calls_(bus_, isLive),
      registry_(bus_, windows, [this](const ToolkitFacts& facts) -> const Toolkit& { return toolkits_.of(facts); }),
      reader_(bus_, registry_) {}

TimePoint AtspiElementSource::deadline() const {
  return Clock::now() + bus_.messagingTimeout() + kBeyondSilence;
}

void AtspiElementSource::applicationBecameActive(int32_t pid) {
  if (const ElementRef application = registry_.applicationOfProcess(pid)) {
    reader_.wake(application);
  }
}

Point AtspiElementSource::offsetNow(const AtspiHandle& element, const Toolkit& toolkit) {
  const Point offset = toolkit.extentsAreWindowRelative() ? frameOffsetNow(element, toolkit) : Point{};
  const Point shift = places_.shiftOf(makeRef(element.busName(), element.path()));
  return {offset.x + shift.x, offset.y + shift.y};
}

Point AtspiElementSource::frameOffsetNow(const AtspiHandle& element, const Toolkit& toolkit) {
  using Frames = std::vector<MatchedFrame>;
  const ElementRef application = applicationOf(element);
  const auto known =
      isLive() ? std::nullopt : store_.ask<Frames>(application, [](const Snapshot& s) { return s.frames; });
  const Frames frames = known ? *known : matchNow(application).matched;
  ElementRef above = makeRef(element.busName(), element.path());
  for (int i = 0; i < kDeepest && handleOf(above); ++i) {
    for (const MatchedFrame& m : frames) {
      if (m.frame.element == above) {
        return toolkit.originIn(m.window, m.frame.reported);
      }
    }
    const FactsPointer parent = store_.find(above);
    above = parent ? parent->parent : callOnce(calls_, calls::parent(*handleOf(above)), deadline()).value;
  }
  return {};
}

ReadRequest AtspiElementSource::requestFor(const ElementRef& element, facts::Set wanted) {
  ReadRequest request;
  request.facts.ref = element;
  request.wanted = wanted;
  if (const FactsPointer known = knownFacts(element)) {
    request.facts = *known;
  }
  if (const FactsPointer before = store_.find(element)) {
    request.hasComponent = (before->interfaces & interface_bit::component) != 0;
  }
  const AtspiHandle* handle = handleOf(element);
  if (handle) {
    request.context.toolkit = registry_.toolkitOf(applicationOf(*handle)).toolkit;
  }
  if (handle && !request.facts.has(wanted)) {
    if (!request.context.toolkit->tellsShowing() && !request.facts.has(facts::identity)) {
      // Only its size tells whether it shows.
      request.wanted |= facts::extents;
      wanted |= facts::extents;
    }
    const bool needsPlace = (wanted & ~request.facts.known & (facts::extents | facts::text)) != 0;
    request.context.offset = needsPlace ? offsetNow(*handle, *request.context.toolkit) : Point{};
  }
  return request;
}

FactsPointer AtspiElementSource::finish(ReadRequest& request, facts::Set before) {
  if ((before & facts::extents) == 0 && request.facts.extents) {
    request.facts.extents = places_.toScreen(request.facts.ref, *request.facts.extents);
  }
  auto facts = std::make_shared<const ElementFacts>(std::move(request.facts));
  if (isLive()) {
    recent_.add(facts);
  } else if (store_.find(facts->ref)) {
    store_.update(facts);
  } else {
    outside_.add(facts);
  }
  return facts;
}

FactsPointer AtspiElementSource::knownFacts(const ElementRef& element) {
  FactsPointer known = snapshotFacts(element);
  if (!known) {
    known = recent_.find(element);
  }
  return known || isLive() ? known : outside_.find(element);
}

AccessibilityResult<FactsPointer> AtspiElementSource::facts(const ElementRef& element, facts::Set wanted) {
  if (!handleOf(element)) {
    return AccessibilityError::invalidElement;
  }
  if (FactsPointer known = knownFacts(element); known && known->has(wanted)) {
    return known;
  }
  std::vector<ReadRequest> requests{requestFor(element, wanted)};
  const facts::Set before = requests[0].facts.known;
  FactsReader(calls_).read(requests, deadline());
  if (requests[0].error != AccessibilityError::success) {
    return requests[0].error;
  }
  return finish(requests[0], before);
}

std::vector<FactsPointer> AtspiElementSource::factsOfAll(const std::vector<ElementRef>& elements, facts::Set wanted) {
  std::vector<FactsPointer> found(elements.size());
  std::vector<ReadRequest> requests;
  std::vector<size_t> places;
  std::vector<facts::Set> before;
  for (size_t i = 0; i < elements.size(); ++i) {
    found[i] = elements[i] ? knownFacts(elements[i]) : nullptr;
    if (handleOf(elements[i]) && !(found[i] && found[i]->has(wanted))) {
      found[i] = nullptr;
      requests.push_back(requestFor(elements[i], wanted));
      places.push_back(i);
      before.push_back(requests.back().facts.known);
    }
  }
  if (!requests.empty()) {
    FactsReader(calls_).read(requests, deadline());
  }
  for (size_t i = 0; i < requests.size(); ++i) {
    if (requests[i].error == AccessibilityError::success) {
      found[places[i]] = finish(requests[i], before[i]);
    }
  }
  return found;
}

FactsPointer AtspiElementSource::snapshotFacts(const ElementRef& element) {
  return isLive() || !element ? nullptr : store_.find(element);
}

AccessibilityResult<std::vector<ElementRef>> AtspiElementSource::childrenInRange(const ElementRef& element,
                                                                                 int64_t index, int64_t count) {
  const AtspiHandle* handle = handleOf(element);
  if (!handle) {
    return AccessibilityError::invalidElement;
  }
  if (index < 0 || count < 0) {
    return AccessibilityError::illegalArgument;
  }
  const FactsPointer known = snapshotFacts(element);
  if (known && known->has(facts::children) && !known->childrenAreVisibleOnly) {
    const auto size = static_cast<int64_t>(known->children.size());
    const auto first = known->children.begin() + std::min(index, size);
    return std::vector<ElementRef>(first, first + std::min(count, size - std::min(index, size)));
  }
  const auto total = callOnce(calls_, calls::childCount(*handle), deadline());
  if (!total.ok()) {
    return total.error;
  }
  const int64_t left = std::max<int64_t>(total.value - index, 0);
  return childrenOneByOne(calls_, *handle, index, std::min(count, left), deadline());
}

std::optional<SnapshotReport> AtspiElementSource::report(const ElementRef& application) {
  auto report = store_.ask<SnapshotReport>(application, reportOn);
  if (report) {
    report->advice = *store_.ask<std::string>(
        application, [this](const Snapshot& s) { return toolkits_.adviceForSilent(s.pid, &s); });
  }
  return report;
}

ElementRef AtspiElementSource::application(int32_t pid) {
  if (!isLive()) {
    if (ElementRef known = store_.applicationOf(pid)) {
      return known;
    }
  }
  return registry_.applicationOfProcess(pid);
}

AccessibilityResult<int32_t> AtspiElementSource::processIdentifier(const ElementRef& element) {
  const AtspiHandle* handle = handleOf(element);
  return handle ? registry_.processOf(handle->busName())
                : AccessibilityResult<int32_t>(AccessibilityError::invalidElement);
}

MatchedFrames AtspiElementSource::matchNow(const ElementRef& application) {
  if (auto known = recent_.frames(application)) {
    return *known;
  }
  MatchedFrames now;
  const Toolkit& toolkit = *registry_.toolkitOf(application).toolkit;
  now.frames = registry_.framesOf(application, deadline());
  const std::vector<WindowFacts> windows = registry_.windowsOf(application);
  now.hasWindows = !windows.empty();
  now.matched = matchFrames(now.frames, windows, toolkit);
  recent_.addFrames(application, now);
  return now;
}

ElementRef AtspiElementSource::focusedWindow(const ElementRef& application) {
  if (!isLive()) {
    if (auto known = store_.ask<ElementRef>(application, [](const Snapshot& s) { return s.focusedWindow; })) {
      return *known;
    }
  }
  const MatchedFrames now = matchNow(application);
  return focusedFrame(now.matched, now.frames, now.hasWindows);
}

std::vector<ElementSource::Frame> AtspiElementSource::frames(const ElementRef& application) {
  if (!isLive()) {
    if (auto known =
            store_.ask<std::vector<Frame>>(application, [](const Snapshot& s) { return framesFrom(s.frames); })) {
      return *known;
    }
  }
  return framesFrom(matchNow(application).matched);
}

ElementRef AtspiElementSource::menuBar(const ElementRef& window) {
  const AtspiHandle* handle = handleOf(window);
  if (!handle) {
    return {};
  }
  using Found = std::pair<ElementRef, ElementRef>;
  const ElementRef application = applicationOf(*handle);
  const auto known =
      store_.ask<Found>(application, [](const Snapshot& s) { return Found(s.focusedWindow, s.menuBar); });
  if (known && known->first == window && !isLive()) {
    return known->second;
  }
  const auto now = reader_.read(application, true, {});
  return now->focusedWindow == window ? now->menuBar : ElementRef();
}

ElementRef AtspiElementSource::focusedElement(const ElementRef& application) {
  if (!isLive()) {
    if (auto known = store_.ask<ElementRef>(application, [](const Snapshot& s) { return s.focusedElement; })) {
      return *known;
    }
  }
  return reader_.read(application, true, {})->focusedElement;
}

ElementRef AtspiElementSource::topmostInDocument(const ElementRef& document, Point point) {
  const AtspiHandle* handle = handleOf(document);
  return handle && isLive() ? registry_.toolkitOf(applicationOf(*handle))
                                  .toolkit->topmostInDocument(calls_, *handle, point, deadline())
                            : ElementRef();
}

void AtspiElementSource::expectSnapshot(int32_t pid) {
  reader_.expect(registry_.knownApplicationOfProcess(pid));
}

void AtspiElementSource::prepareSnapshot(const ElementRef& application, bool visibleOnly) {
  if (!handleOf(application)) {
    return;
  }
  const uint64_t era = store_.era();
  const TimePoint started = Clock::now();
  auto snapshot = reader_.read(application, visibleOnly, [this, era] { return store_.era() != era; });
  places_.keep(handleOf(application)->busName(), snapshot->transform);
  if (store_.keep(std::move(snapshot), era)) {
    calls_.allow(handleOf(application)->busName(), SnapshotReader::kLimit - (Clock::now() - started));
    outside_.start();
  }
}

void AtspiElementSource::endSnapshot() {
  store_.clear();
  outside_.end();
  reader_.expectNothing();
  calls_.clear();
}

std::vector<FactsPointer> AtspiElementSource::snapshotElements(const ElementRef& application) {
  return isLive() ? std::vector<FactsPointer>{} : store_.inDocumentOrder(application);
}

Token AtspiElementSource::beginLiveReads() {
  ++liveScopes;
  return Token([] { --liveScopes; });
}

void AtspiElementSource::setMessagingTimeout(double seconds) {
  if (seconds > 0) {
    bus_.setMessagingTimeout(std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds)));
  }
}

}  // namespace jumplark::atspi
