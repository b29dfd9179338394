#include "backends/linux/atspi/source/AtspiElementSource.h"

#include <algorithm>
#include <chrono>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/element/FactsWorthReading.h"
#include "backends/linux/atspi/element/Parts.h"
#include "backends/linux/atspi/reading/TextReading.h"
#include "backends/linux/atspi/reading/VisibleChildren.h"
#include "backends/linux/atspi/reading/WindowSurfaces.h"
#include "backends/linux/atspi/source/ActionReader.h"

namespace jumplark::atspi {
namespace {

/// So that a silent application is recognised as such before a single call's own limit ends.
constexpr auto kBeyondSilence = std::chrono::milliseconds(20);

BudgetedCalls within(CallRunner& runner, const ReadScope& scope) {
  return {runner, scope.known ? &scope.known->budget : nullptr};
}

bool isReadableText(const ElementFacts& element) {
  return !mayHoldSecret(element) && (element.interfaces & interface_bit::text) != 0;
}

}  // namespace

AtspiElementSource::AtspiElementSource(BusConnection::Options options, WindowSystem& windows)
    : bus_(std::move(options)),
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

SnapshotReport AtspiElementSource::report(const Snapshot& snapshot) const {
  SnapshotReport report = reportOn(snapshot);
  report.advice = toolkits_.adviceForSilent(snapshot.pid, &snapshot);
  return report;
}

void AtspiElementSource::expectSnapshot(int32_t pid) {
  reader_.expect(registry_.knownApplicationOfProcess(pid));
}

SnapshotPointer AtspiElementSource::take(const ElementRef& application, bool visibleOnly, std::stop_token stop) {
  if (!handleOf(application)) {
    return nullptr;
  }
  const Token underWay = underWay_.begin();
  const TimePoint started = Clock::now();
  SnapshotDraft draft = reader_.read(application, visibleOnly, [&stop] { return stop.stop_requested(); });
  if (stop.stop_requested()) {
    return nullptr;
  }
  return std::make_shared<const Snapshot>(std::move(draft), SnapshotReader::kLimit - (Clock::now() - started));
}

SnapshotPointer AtspiElementSource::takeUntil(const ElementRef& application, TimePoint deadline) {
  const auto isLate = [deadline] { return Clock::now() >= deadline; };
  SnapshotDraft draft = reader_.read(application, true, isLate);
  return isLate() || !draft.complete ? nullptr : std::make_shared<const Snapshot>(std::move(draft));
}

SnapshotPointer AtspiElementSource::takeForAction(const ElementRef& element, const ReadScope& scope) {
  const AtspiHandle* handle = handleOf(element);
  if (!handle) {
    return nullptr;
  }
  SnapshotDraft draft;
  draft.application = calls::applicationOf(*handle);
  draft.toolkit = &toolkitOf(*handle);
  draft.pid = registry_.processOf(handle->busName()).value;
  MatchedFrames now = frames(draft.application);
  if (now.matched.empty() && scope.known) {  // it does not answer
    now = {{}, scope.known->frames, scope.known->focusedWindow};
  }
  draft.frames = std::move(now.matched);
  draft.focusedWindow = now.focused;
  draft.complete = true;
  draft.transform = scope.placed ? scope.placed->transform : std::make_shared<const CoordinateTransform>();
  if (scope.known && scope.known->focusedWindow == now.focused) {
    draft.menuBar = scope.known->menuBar;
  }
  const auto reading = std::make_shared<const Snapshot>(draft);
  ActionReader(*this, bus_, scope, reading).read(element, deadline());
  draft.elements = reading->added();
  return std::make_shared<const Snapshot>(std::move(draft));
}

const Toolkit& AtspiElementSource::toolkitOf(const AtspiHandle& element) {
  return *registry_.toolkitOf(calls::applicationOf(element)).toolkit;
}

std::vector<ElementSource::Answer> AtspiElementSource::read(const std::vector<ElementRef>& elements, facts::Set wanted,
                                                            const ReadScope& scope) {
  std::vector<ElementRef> asked = elements;
  std::vector<size_t> parts;
  for (size_t i = 0; i < elements.size(); ++i) {
    const AtspiHandle* handle = handleOf(elements[i]);
    if (ElementRef owner = handle ? ownerOf(*handle) : ElementRef()) {
      asked[i] = std::move(owner);
      parts.push_back(i);
    }
  }
  if (parts.empty()) {
    return readElements(elements, wanted, scope);
  }
  std::vector<Answer> answers = readElements(asked, wanted | facts::identity | facts::extents, scope);
  for (const size_t i : parts) {
    answers[i] = readPart(elements[i], asked[i], answers[i], scope);
  }
  return answers;
}

ElementSource::Answer AtspiElementSource::readPart(const ElementRef& part, const ElementRef& owner,
                                                   const Answer& ownerNow, const ReadScope& scope) {
  if (!ownerNow.ok()) {
    return ownerNow;
  }
  const FactsPointer before = scope.placed ? scope.placed->find(part) : nullptr;
  const FactsPointer ownerBefore = scope.placed ? scope.placed->find(owner) : nullptr;
  if (!before || !ownerBefore) {
    return AccessibilityError::invalidElement;
  }
  const auto now = std::make_shared<const ElementFacts>(movedWith(*before, *ownerBefore, *ownerNow.value));
  if (scope.known) {
    scope.known->add(now);
  }
  return FactsPointer(now);
}

std::vector<ElementSource::Answer> AtspiElementSource::readElements(const std::vector<ElementRef>& elements,
                                                                    facts::Set wanted, const ReadScope& scope) {
  std::vector<Answer> answers(elements.size(), AccessibilityError::invalidElement);
  std::vector<ReadRequest> requests;
  std::vector<size_t> indexes;
  std::vector<facts::Set> before;
  for (size_t i = 0; i < elements.size(); ++i) {
    if (handleOf(elements[i])) {
      requests.push_back(requestFor(elements[i], wanted, scope));
      indexes.push_back(i);
      before.push_back(requests.back().facts.known);
    }
  }
  BudgetedCalls runner = within(bus_, scope);
  FactsReader(runner).read(requests, deadline());
  for (size_t i = 0; i < requests.size(); ++i) {
    ElementFacts& facts = requests[i].facts;
    if (requests[i].error != AccessibilityError::success) {
      answers[indexes[i]] = requests[i].error;
      continue;
    }
    if ((before[i] & facts::extents) == 0 && facts.extents && scope.placed) {
      facts.extents = scope.placed->transform->toScreen(facts.ref, *facts.extents);
    }
    const auto read = std::make_shared<const ElementFacts>(std::move(facts));
    if (scope.known) {
      scope.known->add(read);
    }
    answers[indexes[i]] = FactsPointer(read);
  }
  return answers;
}

ReadRequest AtspiElementSource::requestFor(const ElementRef& element, facts::Set wanted, const ReadScope& scope) {
  ReadRequest request;
  request.facts.ref = element;
  request.wanted = wanted;
  if (const FactsPointer known = scope.known ? scope.known->find(element) : nullptr) {
    request.facts = *known;
  }
  if (const FactsPointer before = scope.placed ? scope.placed->find(element) : nullptr) {
    request.hasComponent = (before->interfaces & interface_bit::component) != 0;
  }
  request.context.toolkit = &toolkitOf(*handleOf(element));
  if (!request.context.toolkit->tellsShowing() && !request.facts.has(facts::identity)) {
    // Only its size tells whether it shows.
    request.wanted |= facts::extents;
  }
  if ((request.wanted & ~request.facts.known & (facts::extents | facts::text)) != 0) {
    request.context.offset = offsetOf(element, *request.context.toolkit, scope);
  }
  return request;
}

Point AtspiElementSource::offsetOf(const ElementRef& element, const Toolkit& toolkit, const ReadScope& scope) {
  const Point origin = countsFromItsWindow(element, toolkit, scope) ? originOf(element, toolkit, scope) : Point{};
  const Point shift = scope.placed ? scope.placed->transform->shiftOf(element) : Point{};
  return {origin.x + shift.x, origin.y + shift.y};
}

bool AtspiElementSource::countsFromItsWindow(const ElementRef& element, const Toolkit& toolkit,
                                             const ReadScope& scope) {
  const auto isLost = [](const WindowFacts& window) { return !window.knowsItsPlace; };
  if (toolkit.extentsAreWindowRelative()) {
    return true;
  }
  if (scope.placed) {
    return std::any_of(scope.placed->frames.begin(), scope.placed->frames.end(),
                       [&](const MatchedFrame& frame) { return isLost(frame.window); });
  }
  const std::vector<WindowFacts> windows = registry_.windowsOf(calls::applicationOf(*handleOf(element)));
  return std::any_of(windows.begin(), windows.end(), isLost);
}

Point AtspiElementSource::originOf(const ElementRef& element, const Toolkit& toolkit, const ReadScope& scope) {
  const std::vector<MatchedFrame> matched = framesNow(calls::applicationOf(*handleOf(element)), scope);
  BudgetedCalls runner = within(bus_, scope);
  const auto isFrame = [&](const ElementRef& one) {
    return std::ranges::any_of(matched, [&](const MatchedFrame& m) { return m.frame.element == one; });
  };
  ElementRef above = element;
  for (int i = 0; i < ElementTree::kMostAncestors && handleOf(above) && !isFrame(above); ++i) {
    const FactsPointer known = scope.placed ? scope.placed->find(above) : nullptr;
    above = known ? known->parent : callOnce(runner, calls::parent(*handleOf(above)), deadline()).value;
  }
  return jumplark::atspi::originOf(above, matched, toolkit);
}

AccessibilityResult<std::vector<ElementRef>> AtspiElementSource::childrenInRange(const ElementRef& element,
                                                                                 int64_t index, int64_t count,
                                                                                 const ReadScope& scope) {
  const AtspiHandle* handle = handleOf(element);
  if (!handle) {
    return AccessibilityError::invalidElement;
  }
  BudgetedCalls runner = within(bus_, scope);
  const auto total = callOnce(runner, calls::childCount(*handle), deadline());
  if (!total.ok()) {
    return total.error;
  }
  const int64_t left = std::max<int64_t>(total.value - index, 0);
  return childrenOneByOne(runner, *handle, index, std::min(count, left), deadline());
}

std::vector<MatchedFrame> AtspiElementSource::framesNow(const ElementRef& application, const ReadScope& scope) {
  if (scope.known) {
    return scope.known->frames;
  }
  auto followed = scope.placed ? followWindows(scope.placed->frames, registry_.windowsOf(application)) : std::nullopt;
  if (!followed) {
    return frames(application).matched;
  }
  if (const Toolkit& toolkit = *scope.placed->toolkit; toolkit.countsFromItsScreen()) {
    BudgetedCalls runner = within(bus_, scope);
    followCorners(runner, toolkit, *followed, deadline());
  }
  return std::move(*followed);
}

MatchedFrames AtspiElementSource::frames(const ElementRef& application) {
  const Toolkit& toolkit = *registry_.toolkitOf(application).toolkit;
  MatchedFrames now;
  now.frames = registry_.framesOf(application, deadline());
  const std::vector<WindowFacts> windows = registry_.windowsOf(application);
  now.matched = matchFrames(now.frames, windows, toolkit);
  findSurfaces(bus_, toolkit, now.matched, deadline());
  now.focused = focusedFrame(now.matched, now.frames, !windows.empty());
  return now;
}

AccessibilityResult<std::string> AtspiElementSource::text(const ElementFacts& element, int64_t start, int64_t end,
                                                          const ReadScope& scope) {
  if (!isReadableText(element)) {
    return AccessibilityError::attributeUnsupported;
  }
  const auto last = static_cast<int32_t>(std::min(end, start + kLongestPart));
  BudgetedCalls runner = within(bus_, scope);
  return callOnce(runner, calls::text(*handleOf(element.ref), static_cast<int32_t>(start), last), deadline());
}

AccessibilityResult<std::pair<int64_t, int64_t>> AtspiElementSource::visibleText(const ElementFacts& element,
                                                                                 const ReadScope& scope) {
  if (!isReadableText(element)) {
    return AccessibilityError::attributeUnsupported;
  }
  const Toolkit& toolkit = toolkitOf(*handleOf(element.ref));
  std::optional<Rect> visible = element.extents;
  if (visible && scope.placed) {
    visible = scope.placed->transform->fromScreen(element.ref, *visible);
  }
  const Point offset = toolkit.tellsCharacterAtPoint() ? offsetOf(element.ref, toolkit, scope) : Point{};
  std::vector<TextRequest> requests{textRequestOf(element, toolkit, visible, offset)};
  BudgetedCalls runner = within(bus_, scope);
  readTexts(runner, requests, deadline());
  const TextFacts& text = requests[0].answer;
  if (text.count < 0) {
    return AccessibilityError::cannotComplete;
  }
  return std::pair(text.visibleStart, text.visibleEnd);
}

ElementRef AtspiElementSource::topmostInDocument(const ElementRef& document, Point point, const ReadScope& scope) {
  const AtspiHandle* handle = handleOf(document);
  if (!handle) {
    return {};
  }
  const Toolkit& toolkit = toolkitOf(*handle);
  const Point offset = offsetOf(document, toolkit, scope);
  const Rect place{point.x, point.y, 0, 0};
  const Rect told = scope.placed ? scope.placed->transform->fromScreen(document, place) : place;
  return toolkit.topmostInDocument(bus_, *handle, {told.x - offset.x, told.y - offset.y}, deadline());
}

AccessibilityResult<int32_t> AtspiElementSource::processIdentifier(const ElementRef& element) {
  const AtspiHandle* handle = handleOf(element);
  return handle ? registry_.processOf(handle->busName())
                : AccessibilityResult<int32_t>(AccessibilityError::invalidElement);
}

AccessibilityError AtspiElementSource::grabFocus(const ElementRef& element) {
  const AtspiHandle* handle = handleOf(element);
  if (!handle) {
    return AccessibilityError::invalidElement;
  }
  if (const ElementRef owner = ownerOf(*handle)) {
    return grabFocus(owner);
  }
  const auto answer = callOnce(bus_, calls::grabFocus(*handle), deadline());
  return answer.ok() && !answer.value ? AccessibilityError::failure : answer.error;
}

AccessibilityError AtspiElementSource::doAction(const ElementRef& element, int32_t index) {
  const AtspiHandle* handle = handleOf(element);
  if (!handle) {
    return AccessibilityError::invalidElement;
  }
  const auto answer = callOnce(bus_, calls::doAction(*handle, index), deadline());
  return answer.ok() && !answer.value ? AccessibilityError::failure : answer.error;
}

void AtspiElementSource::setMessagingTimeout(double seconds) {
  if (seconds > 0) {
    bus_.setMessagingTimeout(std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds)));
  }
}

}  // namespace jumplark::atspi
