#include "backends/linux/atspi/reading/SnapshotReader.h"

#include <spdlog/spdlog.h>

#include <algorithm>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/Corrections.h"
#include "backends/linux/atspi/reading/Popups.h"
#include "backends/linux/atspi/reading/RoleNames.h"

namespace jumplark::atspi {
namespace {

bool isPanel(const std::vector<WindowFacts>& windows) {
  return std::any_of(windows.begin(), windows.end(), [](const auto& w) { return w.type == WindowType::dock; });
}

Point offsetOf(const Snapshot& snapshot, const ElementRef& frame) {
  for (const MatchedFrame& matched : snapshot.frames) {
    if (matched.frame.element == frame) {
      return snapshot.toolkit->originIn(matched.window, matched.frame.reported);
    }
  }
  return {};
}

Placement placementOf(const Snapshot& snapshot) {
  for (const MatchedFrame& matched : snapshot.frames) {
    if (matched.frame.element == snapshot.focusedWindow) {
      return snapshot.toolkit->placementIn(matched.window, matched.frame.reported);
    }
  }
  return {};
}

void addApplication(Snapshot& snapshot, const ElementFacts& read, const std::vector<FrameFacts>& frames) {
  auto root = std::make_shared<ElementFacts>(read);
  root->parent = ElementRef();
  root->known |= facts::children | facts::extents;
  root->childCount = static_cast<int64_t>(frames.size());
  for (const FrameFacts& frame : frames) {
    root->children.push_back(frame.element);
  }
  snapshot.elements[snapshot.application] = std::move(root);
}

/// The frame that will turn out to be the focused one, as far as a cache can tell, which knows no places.
ElementRef likelyFocusedFrame(const CachedTree& cache, const std::vector<ElementRef>& children,
                              const std::vector<WindowFacts>& windows, const Toolkit& toolkit) {
  std::vector<FrameFacts> frames;
  for (const ElementRef& child : children) {
    if (const CacheItem* item = cache.find(child)) {
      frames.push_back({child, item->role, item->states, item->name, {}});
    }
  }
  return focusedFrame(matchFrames(frames, windows, toolkit), frames, !windows.empty());
}

void findLandmarks(Snapshot& snapshot) {
  for (const ElementRef& ref : snapshot.inDocumentOrder()) {
    const ElementFacts& e = *snapshot.elements.at(ref);
    if (!e.has(facts::identity)) {
      continue;
    }
    if (e.role == role::menuBar && e.is(state::showing) && !snapshot.menuBar) {
      snapshot.menuBar = ref;
    }
    // The deepest one counts: some containers say that they are focused as well, and in Qt every page tab in front
    // does.
    if (e.is(state::focused) && (e.role != role::pageTab || !snapshot.focusedElement)) {
      snapshot.focusedElement = ref;
    }
  }
}

}  // namespace

ElementRef focusedFrame(const std::vector<MatchedFrame>& matched, const std::vector<FrameFacts>& frames,
                        bool hasWindows) {
  const auto top =
      std::find_if(matched.begin(), matched.end(), [](const MatchedFrame& m) { return isNormalOrDialog(m.window); });
  if (top != matched.end()) {
    return top->frame.element;
  }
  if (hasWindows) {
    return {};
  }
  // Nothing is known of its windows: what the application says itself is the best there is.
  const auto withState = [&](int number) {
    return std::find_if(frames.begin(), frames.end(),
                        [number](const FrameFacts& f) { return ((f.states >> number) & 1U) != 0; });
  };
  for (const int number : {state::active, state::showing}) {
    if (const auto found = withState(number); found != frames.end()) {
      return found->element;
    }
  }
  return {};
}

SnapshotReader::SnapshotReader(BusConnection& bus, ApplicationRegistry& registry)
    : bus_(bus), registry_(registry), replays_(bus), roleNames_(std::make_shared<RoleNames>()) {}

void SnapshotReader::expect(const ElementRef& application) {
  if (const AtspiHandle* handle = handleOf(application)) {
    const auto drawn = registry_.knownToolkitOf(application);
    if (drawn && drawn->toolkit->drawsBetweenAnswers()) {
      bus_.forgive(handle->busName());
      replays_.begin(handle->busName(), Clock::now() + kLimit);
    }
  }
}

std::unique_ptr<Snapshot> SnapshotReader::read(const ElementRef& application, bool visibleOnly,
                                               const std::function<bool()>& cancelled) {
  const AtspiHandle* handle = handleOf(application);
  if (!handle || !visibleOnly || !registry_.toolkitOf(application).toolkit->drawsBetweenAnswers()) {
    return read(bus_, application, visibleOnly, cancelled);
  }
  bus_.forgive(handle->busName());
  const auto calls = replays_.take(handle->busName(), Clock::now() + kLimit);
  auto snapshot = read(*calls, application, visibleOnly, cancelled);
  if (snapshot->complete) {
    rememberHidden(*snapshot);
    replays_.keep(handle->busName(), calls->asked());
  }
  return snapshot;
}

std::unique_ptr<Snapshot> SnapshotReader::read(CallRunner& runner, const ElementRef& application, bool visibleOnly,
                                               const std::function<bool()>& cancelled) {
  auto snapshot = std::make_unique<Snapshot>();
  snapshot->application = application;
  const AtspiHandle* handle = handleOf(application);
  if (!handle) {
    return snapshot;
  }
  const TimePoint started = Clock::now();
  const TimePoint deadline = started + kLimit;
  bus_.forgive(handle->busName());
  snapshot->pid = registry_.processOf(handle->busName()).value;
  ApplicationRegistry::Drawn drawn = registry_.toolkitOf(application);
  snapshot->toolkitFacts = std::move(drawn.facts);
  snapshot->toolkit = drawn.toolkit;
  const Toolkit& toolkit = *drawn.toolkit;
  const std::vector<WindowFacts> windows = registry_.windowsOf(application);
  // All under way at once, so that an application which answers between two of its frames only does so between the
  // same.
  const CallRunner::Wait cacheBegun = cache_.begin(runner, toolkit, handle->busName());
  FactsReader applicationReader(runner);
  std::vector<ReadRequest> applicationRead(1);
  applicationRead[0].facts.ref = application;
  applicationRead[0].wanted = facts::identity | facts::texts;
  applicationRead[0].context = {&toolkit, {}};
  applicationReader.begin(applicationRead, deadline);
  TypedBatch batch;
  std::vector<ElementRef> children;
  batch.add<std::vector<ElementRef>>(calls::children(*handle),
                                     [&](std::vector<ElementRef>& answer) { children = std::move(answer); });
  batch.run(runner, deadline);
  auto cache = cacheBegun ? cache_.read(runner, toolkit, handle->busName(), children, deadline, cacheBegun) : nullptr;
  std::shared_ptr<Prefetch> ahead;
  if (cache) {
    ahead = std::make_shared<Prefetch>(toolkit, *cache, visibleOnly, hiddenLastTime());
    ahead->start(runner, likelyFocusedFrame(*cache, children, windows, toolkit), deadline);
  }
  const std::vector<FrameFacts> frames = ApplicationRegistry::framesFrom(runner, toolkit, children, deadline);
  applicationReader.finish(applicationRead, deadline);
  if (ahead) {
    ahead->finish();
  }
  snapshot->frames = matchFrames(frames, windows, toolkit);
  snapshot->focusedWindow = focusedFrame(snapshot->frames, frames, !windows.empty());
  snapshot->offset = offsetOf(*snapshot, snapshot->focusedWindow);

  addApplication(*snapshot, applicationRead[0].facts, frames);
  const bool whole = isPanel(windows);
  std::vector<ElementRef> others;
  std::vector<ElementRef> roots;
  std::vector<ElementRef> openPopups;
  for (const FrameFacts& frame : frames) {
    const bool isOpen = !whole && isOpenPopup(frame, snapshot->frames);
    (whole || isOpen || frame.element == snapshot->focusedWindow ? roots : others).push_back(frame.element);
    if (isOpen) {
      openPopups.push_back(frame.element);
    }
  }
  addOtherFrames(runner, *snapshot, others, deadline);
  // Windows that no frame is told of: the application is silent.
  snapshot->complete = !frames.empty() || windows.empty();
  if (!cacheBegun) {
    cache = cache_.read(runner, toolkit, handle->busName(), roots, deadline);
  }
  snapshot->fromCache = cache != nullptr;
  const auto roleNames = toolkit.namesRolesAlike() ? roleNames_ : nullptr;
  for (const ElementRef& root : roots) {
    readRoot(*snapshot, root, runner,
             {&toolkit, offsetOf(*snapshot, root), visibleOnly, deadline, cancelled, cache, ahead, roleNames});
  }
  snapshot->transform.placement = placementOf(*snapshot);
  Reading reading{
      snapshot->elements,    snapshot->transform,
      std::move(roots),      snapshot->focusedWindow,
      std::move(openPopups), toolkit.placesByPopups() ? registry_.popupsOf(application) : std::vector<WindowFacts>{}};
  putRight(toolkit, reading);
  findLandmarks(*snapshot);
  snapshot->took = Clock::now() - started;
  return snapshot;
}

std::shared_ptr<const Prefetch::Set> SnapshotReader::hiddenLastTime() {
  const std::lock_guard lock(mutex_);
  return hidden_;
}

void SnapshotReader::rememberHidden(const Snapshot& snapshot) {
  auto hidden = std::make_shared<Prefetch::Set>();
  if (!snapshot.toolkit->tellsShowing()) {
    for (const auto& [ref, element] : snapshot.elements) {
      if (element->has(facts::extents) && !element->is(state::showing)) {
        hidden->insert(ref);
      }
    }
  }
  const std::lock_guard lock(mutex_);
  hidden_ = std::move(hidden);
}

void SnapshotReader::addOtherFrames(CallRunner& runner, Snapshot& snapshot, const std::vector<ElementRef>& frames,
                                    TimePoint deadline) {
  std::vector<ReadRequest> requests;
  for (const ElementRef& frame : frames) {
    ReadRequest request;
    request.facts.ref = frame;
    request.wanted = facts::identity | facts::texts | facts::extents;
    request.context = {snapshot.toolkit, offsetOf(snapshot, frame)};
    requests.push_back(std::move(request));
  }
  FactsReader(runner).read(requests, deadline);
  for (ReadRequest& request : requests) {
    request.facts.parent = snapshot.application;
    const ElementRef ref = request.facts.ref;
    snapshot.elements[ref] = std::make_shared<ElementFacts>(std::move(request.facts));
  }
}

void SnapshotReader::readRoot(Snapshot& snapshot, const ElementRef& frame, CallRunner& runner, const WalkPlan& plan) {
  const size_t before = snapshot.elements.size();
  const auto started = Clock::now();
  snapshot.complete = snapshot.toolkit->readWindow(snapshot, frame, runner, plan) && snapshot.complete;
  spdlog::debug("Read {} elements in {:.1f} ms", snapshot.elements.size() - before,
                std::chrono::duration<double, std::milli>(Clock::now() - started).count());
}

void SnapshotReader::wake(const ElementRef& application) {
  const AtspiHandle* handle = handleOf(application);
  if (!handle) {
    return;
  }
  const Toolkit& toolkit = *registry_.toolkitOf(application).toolkit;
  const Toolkit::Waking waking = toolkit.waking();
  {
    const std::lock_guard lock(mutex_);
    if (!woken_.insert(handle->busName()).second && !waking.eachTime) {
      return;
    }
  }
  if (waking.asksAttributes) {
    const TimePoint deadline = Clock::now() + bus_.messagingTimeout();
    askAttributes(registry_.framesOf(application, deadline), deadline);
  }
  if (waking.triesCache) {
    cache_.tryOut(bus_, toolkit, handle->busName());
  }
  for (int i = 0; i < waking.reads; ++i) {
    read(application, true, {});
  }
}

void SnapshotReader::askAttributes(const std::vector<FrameFacts>& frames, TimePoint deadline) {
  TypedBatch batch;
  for (const FrameFacts& frame : frames) {
    batch.add<AttributeMap>(calls::attributes(*handleOf(frame.element)), [](AttributeMap&) {});
  }
  batch.run(bus_, deadline);
}

}  // namespace jumplark::atspi
