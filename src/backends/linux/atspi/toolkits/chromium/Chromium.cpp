#include "backends/linux/atspi/toolkits/chromium/Chromium.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <thread>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/Corrections.h"
#include "backends/linux/atspi/reading/Snapshot.h"
#include "backends/linux/atspi/toolkits/EmptyPages.h"
#include "backends/linux/atspi/toolkits/chromium/ChromiumWalk.h"
#include "platform/Texts.h"

namespace jumplark::atspi {
namespace {

std::string programOf(int32_t pid) {
  std::error_code error;
  return std::filesystem::read_symlink(fmt::format("/proc/{}/exe", pid), error).string();
}

/// Every build of the engine has its start-up data and its pictures beside the program.
bool isBrowserEngine(const std::string& program) {
  const std::filesystem::path folder = std::filesystem::path(program).parent_path();
  std::error_code error;
  return !program.empty() && std::filesystem::exists(folder / "chrome_100_percent.pak", error);
}

constexpr uint64_t bit(int state) {
  return uint64_t{1} << static_cast<unsigned>(state);
}

bool isPage(const ElementFacts& element) {
  return element.role == role::documentWeb;
}

bool isInPage(const ElementFacts& element, const ElementDraft& elements) {
  return isPage(element) || elements.findAbove(element, isPage) != nullptr;
}

// What could be one point of rounding is no scale.
constexpr double kLeastScale = 1.1;
constexpr double kMostScale = 4;

/// In how many more units pages count than what they fill does, both from the corner.
double pixelsInAPoint(const ElementDraft& elements, Point corner) {
  for (const auto& [ref, element] : elements) {
    const ElementFacts* view = isPage(*element) ? elements.find(element->parent) : nullptr;
    if (!view || !view->extents || !element->extents || isInPage(*view, elements) || view->extents->width <= 0) {
      continue;
    }
    // Compositors tell scales in 120ths.
    constexpr double kSteps = 120;
    const Rect& page = *element->extents;
    const double pixels = std::round(page.width / view->extents->width * kSteps) / kSteps;
    const Rect grown = Placement{corner, corner, pixels}.toScreen(*view->extents);
    if (pixels > kLeastScale && pixels <= kMostScale && isNear(page.x, grown.x, pixels) &&
        isNear(page.y, grown.y, pixels) && isNear(page.width, grown.width, pixels) &&
        isNear(page.height, grown.height, pixels)) {
      return pixels;
    }
  }
  return 1;
}

bool showsContent(const Snapshot& snapshot) {
  const auto& nodes = snapshot.tree.nodes();
  return std::any_of(nodes.begin(), nodes.end(), [](const ElementTree::Node& node) {
    const ElementFacts& e = *node.facts;
    return e.role == role::documentWeb && e.is(state::showing) && !e.children.empty();
  });
}

}  // namespace

bool Chromium::tellsScreenPlace(const ElementFacts& element, const ElementDraft& elements) const {
  return isInPage(element, elements);
}

void Chromium::correctPlaces(Reading& reading) const {
  const ElementFacts* frame = reading.elements.find(reading.focusedWindow);
  if (!frame || !frame->extents || !reading.transform.placement.isIdentity()) {
    return;
  }
  const Point corner{frame->extents->x, frame->extents->y};
  const double pixels = pixelsInAPoint(reading.elements, corner);
  if (pixels == 1) {
    return;
  }
  reading.transform.placement = {corner, corner, 1 / pixels};
  for (const auto& [ref, element] : reading.elements) {
    if (!isInPage(*element, reading.elements)) {
      reading.transform.onScreen.insert(ref);
    } else if (element->extents) {
      element->extents = reading.transform.placement.toScreen(*element->extents);
    }
  }
}

ElementRef Chromium::topmostInDocument(CallRunner& runner, const AtspiHandle& document, Point point,
                                       TimePoint deadline) const {
  // The browser passes the question on to the page and answers at first by what it guesses meanwhile, but remembers the
  // page's answer for whoever asks again.
  constexpr auto kPageAnswers = std::chrono::milliseconds(20);
  const auto ask = [&] {
    return callOnce(runner,
                    calls::accessibleAtPoint(document, static_cast<int32_t>(point.x), static_cast<int32_t>(point.y)),
                    deadline);
  };
  if (!ask().ok()) {
    return {};
  }
  std::this_thread::sleep_for(kPageAnswers);
  return ask().value;
}

bool Chromium::readWindow(SnapshotDraft& snapshot, const ElementRef& frame, CallRunner& runner,
                          const WalkPlan& plan) const {
  if (!plan.visibleOnly) {
    return Toolkit::readWindow(snapshot, frame, runner, plan);
  }
  const TimePoint wakeDeadline = std::min(plan.deadline, Clock::now() + kLongestFilling);
  callOnce(runner, calls::attributes(*handleOf(frame)), wakeDeadline);
  const ElementDraft before = snapshot.elements;
  for (;;) {
    ChromiumWalk walk(runner, plan, snapshot.elements, snapshot.texts);
    walk.walk(frame, snapshot.application);
    const FactsPointer page = walk.emptyPage();
    if (!walk.complete() || !page || isKnownToBeBlank(page->ref, plan) || !fills(runner, *page, plan, wakeDeadline)) {
      return walk.complete();
    }
    snapshot.elements = before;
    snapshot.texts.clear();
  }
}

bool Chromium::mayHaveOpened(CallRunner& runner, const ElementRef& application, TimePoint deadline) const {
  auto frames = callOnce(runner, calls::children(*handleOf(application)), deadline).value;
  std::erase_if(frames, [](const ElementRef& frame) { return !handleOf(frame); });
  std::vector<uint64_t> states(frames.size());
  std::vector<ElementRef> contents(frames.size());
  TypedBatch batch;
  for (size_t i = 0; i < frames.size(); ++i) {
    const AtspiHandle& frame = *handleOf(frames[i]);
    batch.add<uint64_t>(calls::states(frame), [&one = states[i]](uint64_t& answer) { one = answer; });
    batch.add<ElementRef>(calls::childAt(frame, 0), [&one = contents[i]](ElementRef& answer) { one = answer; });
  }
  batch.run(runner, deadline);
  bool isOpen = false;
  for (size_t i = 0; i < frames.size(); ++i) {
    const bool isShown = ((states[i] >> static_cast<unsigned>(state::showing)) & 1U) != 0;
    isOpen = isOpen || (isShown && !handleOf(contents[i]));
    if (isShown && handleOf(contents[i])) {
      batch.add<uint32_t>(calls::role(*handleOf(contents[i])),
                          [&isOpen](uint32_t& answer) { isOpen = isOpen || answer == role::menuBar; });
    }
  }
  batch.run(runner, deadline);
  return isOpen;
}

Toolkit::Opened Chromium::findOpen(CallRunner& runner, const ElementRef& frame, const Snapshot* /*last*/,
                                   TimePoint deadline) const {
  constexpr int32_t kMost = 4;
  const MatchRule rule{.states = bit(state::expanded), .roles = {role::comboBox}};
  return {{}, callOnce(runner, calls::matchingBelow(*handleOf(frame), rule, kMost), deadline).value};
}

ElementRef Chromium::findOpener(CallRunner& runner, const ElementRef& frame, TimePoint deadline) const {
  // Its own buttons are checked while their menus are open.
  const MatchRule rule{.states = bit(state::checked) | bit(state::hasPopup) | bit(state::showing), .roles = {}};
  const auto found = callOnce(runner, calls::matchingBelow(*handleOf(frame), rule, 1), deadline).value;
  return found.empty() ? ElementRef() : found.front();
}

std::string Chromium::adviceForSilent(int32_t pid, const Snapshot* snapshot) const {
  const std::string program = programOf(pid);
  if (!isBrowserEngine(program) || (snapshot && showsContent(*snapshot))) {
    return {};
  }
  return localizedFormat("{} shows nothing of its pages: start it with --force-renderer-accessibility.",
                         std::filesystem::path(program).filename().string());
}

}  // namespace jumplark::atspi
