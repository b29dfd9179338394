#include "backends/linux/atspi/reading/SnapshotReader.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <utility>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/Corrections.h"
#include "backends/linux/atspi/reading/Popups.h"
#include "backends/linux/atspi/reading/WalkSteps.h"
#include "backends/linux/atspi/reading/WindowSurfaces.h"

namespace jumplark::atspi {
namespace {

bool isPanel(const std::vector<WindowFacts>& windows) {
  return std::any_of(windows.begin(), windows.end(), [](const auto& w) { return w.type == WindowType::dock; });
}

Placement placementOf(const SnapshotDraft& snapshot) {
  for (const MatchedFrame& matched : snapshot.frames) {
    if (matched.frame.element == snapshot.focusedWindow) {
      return snapshot.toolkit->placementIn(matched.window, matched.frame.reported);
    }
  }
  return {};
}

void addApplication(SnapshotDraft& snapshot, const ElementFacts& read, const std::vector<FrameFacts>& frames) {
  ElementFacts root = read;
  root.parent = ElementRef();
  root.known |= facts::children | facts::extents;
  root.childCount = static_cast<int64_t>(frames.size());
  for (const FrameFacts& frame : frames) {
    root.children.push_back(frame.element);
  }
  snapshot.elements.add(std::move(root));
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

/// When a window is taken for one of another screen while it is read.
constexpr int kMostReadsAgain = 2;

/// Whether the application takes one of the windows for one of another screen by now, so that the places that were read
/// may count from different corners.
bool countsFromElsewhere(CallRunner& runner, const SnapshotDraft& snapshot, TimePoint deadline) {
  bool elsewhere = false;
  TypedBatch batch;
  for (const auto& [frame, window] : snapshot.frames) {
    if (!window.knowsItsPlace) {
      batch.add<Rect>(calls::extents(*handleOf(frame.element), snapshot.toolkit->coordinates()), [&](Rect& told) {
        elsewhere = elsewhere || told.x != frame.reported.x || told.y != frame.reported.y;
      });
    }
  }
  batch.run(runner, deadline);
  return elsewhere;
}

}  // namespace

SnapshotReader::SnapshotReader(BusConnection& bus, ApplicationRegistry& registry)
    : bus_(bus), registry_(registry), replays_(bus) {}

void SnapshotReader::expect(const ElementRef& application) {
  if (const AtspiHandle* handle = handleOf(application)) {
    const auto drawn = registry_.knownToolkitOf(application);
    if (drawn && drawn->toolkit->drawsBetweenAnswers()) {
      bus_.forgive(handle->busName());
      replays_.begin(handle->busName(), Clock::now() + kLimit);
    }
  }
}

SnapshotDraft SnapshotReader::read(const ElementRef& application, bool visibleOnly,
                                   const std::function<bool()>& cancelled) {
  const AtspiHandle* handle = handleOf(application);
  if (!handle || !visibleOnly || !registry_.toolkitOf(application).toolkit->drawsBetweenAnswers()) {
    return read(bus_, application, visibleOnly, cancelled);
  }
  bus_.forgive(handle->busName());
  const auto calls = replays_.take(handle->busName(), Clock::now() + kLimit);
  auto snapshot = read(*calls, application, visibleOnly, cancelled);
  if (snapshot.complete) {
    rememberHidden(snapshot);
    replays_.keep(handle->busName(), calls->asked());
  }
  return snapshot;
}

/// One reading of one application.
struct SnapshotReader::Pass {
  CallRunner& runner;
  const AtspiHandle& application;
  const std::function<bool()>& cancelled;
  TimePoint deadline;
  SnapshotDraft draft;
  std::vector<WindowFacts> windows;
  std::vector<FrameFacts> frames;
  std::vector<ElementRef> roots;  ///< read whole
  std::vector<ElementRef> openPopups;
  std::shared_ptr<const CachedTree> cache;
  bool isCacheAsked = false;
  std::shared_ptr<Prefetch> ahead;

  const Toolkit& toolkit() const { return *draft.toolkit; }
};

SnapshotDraft SnapshotReader::read(CallRunner& runner, const ElementRef& application, bool visibleOnly,
                                   const std::function<bool()>& cancelled) {
  const TimePoint deadline = Clock::now() + kLimit;
  auto snapshot = readOnce(runner, application, visibleOnly, cancelled, deadline);
  for (int again = 0; again < kMostReadsAgain && snapshot.complete && snapshot.toolkit->countsFromItsScreen() &&
                      countsFromElsewhere(runner, snapshot, deadline);
       ++again) {
    snapshot = readOnce(runner, application, visibleOnly, cancelled, deadline);
  }
  return snapshot;
}

SnapshotDraft SnapshotReader::readOnce(CallRunner& runner, const ElementRef& application, bool visibleOnly,
                                       const std::function<bool()>& cancelled, TimePoint deadline) {
  const AtspiHandle* handle = handleOf(application);
  if (!handle) {
    return {};
  }
  const TimePoint started = Clock::now();
  Pass pass{runner, *handle, cancelled, deadline, {}, registry_.windowsOf(application), {}, {}, {}, {}, false, {}};
  bus_.forgive(handle->busName());
  pass.draft.application = application;
  pass.draft.visibleOnly = visibleOnly;
  pass.draft.pid = registry_.processOf(handle->busName()).value;
  ApplicationRegistry::Drawn drawn = registry_.toolkitOf(application);
  pass.draft.toolkitFacts = std::move(drawn.facts);
  pass.draft.toolkit = drawn.toolkit;
  readFrames(pass);
  chooseRoots(pass);
  readRoots(pass);
  const auto transform = std::make_shared<CoordinateTransform>();
  transform->placement = placementOf(pass.draft);
  Reading reading{pass.draft.elements, *transform, pass.roots, pass.draft.focusedWindow, pass.openPopups, {}};
  reading.isLost = std::ranges::any_of(pass.draft.frames, [](const auto& one) { return !one.window.knowsItsPlace; });
  if (pass.toolkit().placesByPopups()) {
    reading.popupWindows = registry_.popupsOf(application);
  }
  putRight(pass.toolkit(), reading);
  pass.draft.popovers = std::move(reading.popovers);
  pass.draft.transform = transform;
  pass.draft.took = Clock::now() - started;
  return std::move(pass.draft);
}

void SnapshotReader::readFrames(Pass& pass) {
  // All under way at once, so that an application which answers between two of its frames only does so between the
  // same.
  const std::string& busName = pass.application.busName();
  const CallRunner::Wait cacheBegun = cache_.begin(pass.runner, pass.toolkit(), busName);
  FactsReader applicationReader(pass.runner);
  std::vector<ReadRequest> applicationRead(1);
  applicationRead[0].facts.ref = pass.draft.application;
  applicationRead[0].wanted = facts::identity | facts::texts;
  applicationRead[0].context = {&pass.toolkit(), {}};
  applicationReader.begin(applicationRead, pass.deadline);
  const auto children = callOnce(pass.runner, calls::children(pass.application), pass.deadline).value;
  if (cacheBegun) {
    pass.isCacheAsked = true;
    pass.cache = cache_.read(pass.runner, pass.toolkit(), busName, children, pass.deadline, cacheBegun);
  }
  if (pass.cache) {
    pass.ahead =
        std::make_shared<Prefetch>(pass.toolkit(), *pass.cache, pass.draft.visibleOnly,
                                   experiences_.of(busName, [](const Experience& known) { return known.hidden; }));
    pass.ahead->start(pass.runner, likelyFocusedFrame(*pass.cache, children, pass.windows, pass.toolkit()),
                      pass.deadline);
  }
  pass.frames = ApplicationRegistry::framesFrom(pass.runner, pass.toolkit(), children, pass.deadline);
  applicationReader.finish(applicationRead, pass.deadline);
  if (pass.ahead) {
    pass.ahead->finish();
  }
  pass.draft.frames = matchFrames(pass.frames, pass.windows, pass.toolkit());
  findSurfaces(pass.runner, pass.toolkit(), pass.draft.frames, pass.deadline);
  pass.draft.focusedWindow = focusedFrame(pass.draft.frames, pass.frames, !pass.windows.empty());
  addApplication(pass.draft, applicationRead[0].facts, pass.frames);
}

void SnapshotReader::chooseRoots(Pass& pass) {
  const bool whole = isPanel(pass.windows);
  std::vector<ElementRef> others;
  for (const FrameFacts& frame : pass.frames) {
    const bool isOpen = !whole && isOpenPopup(frame, pass.draft.frames);
    const bool isRoot = whole || isOpen || frame.element == pass.draft.focusedWindow;
    (isRoot ? pass.roots : others).push_back(frame.element);
    if (isOpen) {
      pass.openPopups.push_back(frame.element);
    }
  }
  addOtherFrames(pass.runner, pass.draft, others, pass.deadline);
}

void SnapshotReader::readRoots(Pass& pass) {
  if (!pass.isCacheAsked) {
    pass.cache = cache_.read(pass.runner, pass.toolkit(), pass.application.busName(), pass.roots, pass.deadline);
  }
  // Windows that no frame is told of: the application is silent.
  pass.draft.complete = !pass.frames.empty() || pass.windows.empty();
  pass.draft.fromCache = pass.cache != nullptr;
  pass.draft.cache = pass.cache;
  for (const ElementRef& root : pass.roots) {
    const WalkPlan plan{&pass.toolkit(),
                        originOf(root, pass.draft.frames, pass.toolkit()),
                        pass.draft.visibleOnly,
                        pass.deadline,
                        pass.cancelled,
                        pass.cache,
                        pass.ahead,
                        &experiences_};
    const size_t before = pass.draft.elements.size();
    const auto started = Clock::now();
    pass.draft.complete = pass.toolkit().readWindow(pass.draft, root, pass.runner, plan) && pass.draft.complete;
    spdlog::debug("Read {} elements in {:.1f} ms", pass.draft.elements.size() - before,
                  std::chrono::duration<double, std::milli>(Clock::now() - started).count());
  }
}

void SnapshotReader::rememberHidden(const SnapshotDraft& snapshot) {
  auto hidden = std::make_shared<Experience::References>();
  if (!snapshot.toolkit->tellsShowing()) {
    for (const auto& [ref, element] : snapshot.elements) {
      if (element->has(facts::extents) && !element->is(state::showing)) {
        hidden->insert(ref);
      }
    }
  }
  experiences_.of(handleOf(snapshot.application)->busName(), [&](Experience& known) { known.hidden = hidden; });
}

void SnapshotReader::addOtherFrames(CallRunner& runner, SnapshotDraft& snapshot, const std::vector<ElementRef>& frames,
                                    TimePoint deadline) {
  std::vector<ReadRequest> requests;
  for (const ElementRef& frame : frames) {
    ReadRequest request;
    request.facts.ref = frame;
    request.wanted = facts::identity | facts::texts | facts::extents;
    request.context = {snapshot.toolkit, originOf(frame, snapshot.frames, *snapshot.toolkit)};
    requests.push_back(std::move(request));
  }
  FactsReader(runner).read(requests, deadline);
  for (ReadRequest& request : requests) {
    request.facts.parent = snapshot.application;
    snapshot.elements.add(std::move(request.facts));
  }
}

void SnapshotReader::wake(const ElementRef& application) {
  const AtspiHandle* handle = handleOf(application);
  if (!handle) {
    return;
  }
  const Toolkit& toolkit = *registry_.toolkitOf(application).toolkit;
  const Toolkit::Waking waking = toolkit.waking();
  const bool wasWoken =
      experiences_.of(handle->busName(), [](Experience& known) { return std::exchange(known.isWoken, true); });
  if (wasWoken && !waking.eachTime) {
    return;
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
