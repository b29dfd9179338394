#include "backends/linux/atspi/reading/ApplicationRegistry.h"

#include <algorithm>
#include <set>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"

namespace jumplark::atspi {
namespace {

/// A title and a size that are both right; less is not enough to hand somebody's keystrokes to a process.
constexpr double kSurelyTheSame = 6;
constexpr size_t kMostFrames = 200;
/// So that a silent application is recognised as such before a single call's own limit ends.
constexpr auto kBeyondSilence = std::chrono::milliseconds(20);

const AtspiHandle& registryRoot() {
  static const AtspiHandle root(calls::kRegistryName, calls::kRootPath);
  return root;
}

}  // namespace

TimePoint ApplicationRegistry::deadline() const {
  return Clock::now() + bus_.messagingTimeout() + kBeyondSilence;
}

void ApplicationRegistry::forgetOldConnection() {
  const uint64_t current = bus_.generation();
  if (generation_ != current) {
    generation_ = current;
    pids_.clear();
    toolkits_.clear();
    sandboxed_.clear();
  }
}

std::vector<ApplicationRegistry::Listed> ApplicationRegistry::list() {
  const auto roots = callOnce(bus_, calls::children(registryRoot()), deadline());
  std::vector<Listed> listed;
  TypedBatch batch;
  {
    const std::lock_guard lock(mutex_);
    forgetOldConnection();
    listed.reserve(roots.value.size());
    for (const ElementRef& root : roots.value) {
      const std::string& busName = handleOf(root)->busName();
      const auto known = pids_.find(busName);
      listed.push_back({root, known == pids_.end() ? -1 : known->second});
    }
  }
  for (Listed& entry : listed) {
    if (entry.pid < 0) {
      batch.add<uint32_t>(calls::processOfName(handleOf(entry.application)->busName()),
                          [&entry](uint32_t& pid) { entry.pid = static_cast<int32_t>(pid); });
    }
  }
  batch.run(bus_, deadline());
  const std::lock_guard lock(mutex_);
  for (const Listed& entry : listed) {
    if (entry.pid >= 0) {
      pids_[handleOf(entry.application)->busName()] = entry.pid;
    }
  }
  return listed;
}

ElementRef ApplicationRegistry::applicationOfProcess(int32_t pid) {
  const std::vector<Listed> listed = list();
  const auto ofProcess = [&](int32_t wanted) {
    const auto found = std::find_if(listed.begin(), listed.end(), [&](const Listed& e) { return e.pid == wanted; });
    return found == listed.end() ? ElementRef() : found->application;
  };
  if (ElementRef application = ofProcess(pid)) {
    return application;
  }
  for (const WindowFacts& window : windows_.windowsFrontToBack()) {
    if (window.pid != pid || window.connectionPid == pid) {
      continue;
    }
    if (ElementRef application = ofProcess(window.connectionPid)) {
      const std::lock_guard lock(mutex_);
      sandboxed_[pid] = handleOf(application)->busName();
      return application;
    }
  }
  return byWindowPlaces(pid, listed);
}

ElementRef ApplicationRegistry::byWindowPlaces(int32_t pid, const std::vector<Listed>& listed) {
  std::vector<WindowFacts> wanted;
  std::set<int32_t> withWindows;
  for (WindowFacts& window : windows_.windowsFrontToBack()) {
    withWindows.insert(window.pid);
    withWindows.insert(window.connectionPid);
    if (window.pid == pid && !window.hidden) {
      wanted.push_back(std::move(window));
    }
  }
  for (const Listed& entry : listed) {
    if (wanted.empty() || withWindows.contains(entry.pid)) {
      continue;
    }
    const Toolkit& toolkit = *toolkitOf(entry.application).toolkit;
    for (const FrameFacts& frame : framesOf(entry.application, deadline())) {
      if (std::any_of(wanted.begin(), wanted.end(),
                      [&](const WindowFacts& w) { return likeness(frame, w, toolkit) >= kSurelyTheSame; })) {
        const std::lock_guard lock(mutex_);
        sandboxed_[pid] = handleOf(entry.application)->busName();
        return entry.application;
      }
    }
  }
  return {};
}

AccessibilityResult<int32_t> ApplicationRegistry::processOf(const std::string& busName) {
  {
    const std::lock_guard lock(mutex_);
    forgetOldConnection();
    if (const auto known = pids_.find(busName); known != pids_.end()) {
      return known->second;
    }
  }
  const auto answer = callOnce(bus_, calls::processOfName(busName), deadline());
  if (!answer.ok()) {
    return answer.error;
  }
  const std::lock_guard lock(mutex_);
  return pids_[busName] = static_cast<int32_t>(answer.value);
}

ElementRef ApplicationRegistry::knownApplicationOfProcess(int32_t pid) {
  const std::lock_guard lock(mutex_);
  forgetOldConnection();
  const auto known = std::find_if(pids_.begin(), pids_.end(), [pid](const auto& entry) { return entry.second == pid; });
  return known == pids_.end() ? ElementRef() : makeRef(known->first, calls::kRootPath);
}

std::optional<ApplicationRegistry::Drawn> ApplicationRegistry::knownToolkitOf(const ElementRef& application) {
  const AtspiHandle* handle = handleOf(application);
  const std::lock_guard lock(mutex_);
  forgetOldConnection();
  const auto known = handle ? toolkits_.find(handle->busName()) : toolkits_.end();
  return known == toolkits_.end() ? std::nullopt : std::optional(known->second);
}

ApplicationRegistry::Drawn ApplicationRegistry::toolkitOf(const ElementRef& application) {
  const AtspiHandle* given = handleOf(application);
  if (!given) {
    return {{}, &toolkitFor_({})};
  }
  if (const auto known = knownToolkitOf(application)) {
    return *known;
  }
  const AtspiHandle root(given->busName(), calls::kRootPath);
  Drawn drawn;
  ToolkitFacts& facts = drawn.facts;
  TypedBatch batch;
  // What came too late is asked again next time: half of the answers would name another toolkit for good.
  bool answered = true;
  const auto onError = [&](AccessibilityError error) {
    answered = answered && error != AccessibilityError::cannotComplete && error != AccessibilityError::apiDisabled;
  };
  const auto ask = [&](TypedCall<std::string> call, std::string& answer) {
    batch.add<std::string>(
        std::move(call), [&answer](std::string& text) { answer = std::move(text); }, onError);
  };
  ask(calls::toolkitName(root), facts.name);
  ask(calls::toolkitVersion(root), facts.version);
  ask(calls::name(root), facts.application);
  ask(calls::peerAddress(root), facts.peerAddress);
  batch.run(bus_, deadline());
  drawn.toolkit = &toolkitFor_(facts);
  if (!facts.peerAddress.empty()) {
    bus_.usePeer(given->busName(), facts.peerAddress);
  }
  const std::lock_guard lock(mutex_);
  if (answered) {
    toolkits_[given->busName()] = drawn;
  }
  return drawn;
}

std::vector<WindowFacts> ApplicationRegistry::windowsOf(const ElementRef& application) {
  return handleOf(application) ? ownOf(windows_.windowsFrontToBack(), application) : std::vector<WindowFacts>{};
}

std::vector<WindowFacts> ApplicationRegistry::popupsOf(const ElementRef& application) {
  return handleOf(application) ? ownOf(windows_.popupsFrontToBack(), application) : std::vector<WindowFacts>{};
}

std::vector<WindowFacts> ApplicationRegistry::ownOf(std::vector<WindowFacts> windows, const ElementRef& application) {
  const AtspiHandle* handle = handleOf(application);
  const int32_t pid = processOf(handle->busName()).value;
  const std::lock_guard lock(mutex_);
  std::erase_if(windows, [&](const WindowFacts& window) {
    const auto sandbox = sandboxed_.find(window.pid);
    const bool own = pid > 0 && (window.pid == pid || window.connectionPid == pid);
    const bool sandboxed = sandbox != sandboxed_.end() && sandbox->second == handle->busName();
    return window.hidden || !(own || sandboxed);
  });
  return windows;
}

std::vector<FrameFacts> ApplicationRegistry::framesOf(const ElementRef& application, TimePoint deadline) {
  const AtspiHandle* handle = handleOf(application);
  if (!handle) {
    return {};
  }
  const auto drawn = knownToolkitOf(application);
  return framesFrom(bus_, drawn ? *drawn->toolkit : toolkitFor_({}),
                    callOnce(bus_, calls::children(*handle), deadline).value, deadline);
}

std::vector<FrameFacts> ApplicationRegistry::framesFrom(CallRunner& runner, const Toolkit& toolkit,
                                                        std::vector<ElementRef> children, TimePoint deadline) {
  children.resize(std::min(children.size(), kMostFrames));
  std::vector<FrameFacts> frames(children.size());
  TypedBatch batch;
  for (size_t i = 0; i < children.size(); ++i) {
    FrameFacts& frame = frames[i];
    const AtspiHandle& child = *handleOf(children[i]);
    batch.add<uint64_t>(calls::states(child), [&frame, &ref = children[i]](uint64_t& states) {
      frame.states = states;
      frame.element = ref;
    });
    batch.add<uint32_t>(calls::role(child), [&frame](uint32_t& role) { frame.role = role; });
    batch.add<std::string>(calls::name(child), [&frame](std::string& name) { frame.name = std::move(name); });
    batch.add<Rect>(calls::extents(child, toolkit.coordinates()), [&frame](Rect& rect) { frame.reported = rect; });
  }
  batch.run(runner, deadline);
  std::erase_if(frames, [](const FrameFacts& frame) { return !frame.element; });
  return frames;
}

}  // namespace jumplark::atspi
