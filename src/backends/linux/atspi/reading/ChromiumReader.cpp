#include "backends/linux/atspi/reading/ChromiumReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <thread>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/ChromiumWalk.h"

namespace jumplark::atspi {
namespace {

constexpr auto kWakeLimit = std::chrono::milliseconds(900);
constexpr auto kPause = std::chrono::milliseconds(15);
constexpr size_t kMostBlankPages = 1000;

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

bool showsContent(const Snapshot& snapshot) {
  return std::any_of(snapshot.elements.begin(), snapshot.elements.end(), [](const auto& entry) {
    const ElementFacts& e = *entry.second;
    return e.role == role::documentWeb && e.is(state::showing) && !e.children.empty();
  });
}

}  // namespace

bool ChromiumReader::read(Snapshot& snapshot, const ElementRef& frame, const WalkPlan& plan) {
  const TimePoint wakeDeadline = std::min(plan.deadline, Clock::now() + kWakeLimit);
  callOnce(runner_, calls::attributes(*handleOf(frame)), wakeDeadline);
  const FactsMap before = snapshot.elements;
  for (;;) {
    ChromiumWalk walk(runner_, plan, snapshot.elements, snapshot.texts);
    walk.walk(frame, snapshot.application);
    const FactsPointer page = walk.emptyPage();
    if (!walk.complete() || !page || isKnownToBeBlank(page->ref) || !fills(*page, plan, wakeDeadline)) {
      return walk.complete();
    }
    snapshot.elements = before;
    snapshot.texts.clear();
  }
}

bool ChromiumReader::isKnownToBeBlank(const ElementRef& page) {
  const std::lock_guard lock(mutex_);
  return blank_.contains(page);
}

bool ChromiumReader::fills(const ElementFacts& page, const WalkPlan& plan, TimePoint deadline) {
  while (Clock::now() < deadline && !(plan.cancelled && plan.cancelled())) {
    TypedBatch batch;
    // The page that fills may be another object, which takes the place of this one.
    bool changed = false;
    batch.add<int32_t>(
        calls::childCount(*handleOf(page.ref)), [&](int32_t& count) { changed = changed || count > 0; },
        [&](AccessibilityError) { changed = true; });
    batch.add<std::vector<ElementRef>>(calls::children(*handleOf(page.parent)), [&](std::vector<ElementRef>& children) {
      changed = changed || std::find(children.begin(), children.end(), page.ref) == children.end();
    });
    batch.run(runner_, deadline);
    if (changed) {
      return true;
    }
    std::this_thread::sleep_for(kPause);
  }
  const std::lock_guard lock(mutex_);
  if (blank_.size() >= kMostBlankPages) {
    blank_.clear();
  }
  blank_.insert(page.ref);
  return false;
}

std::string adviceForSilentBrowser(int32_t pid, const Snapshot* snapshot) {
  const std::string program = programOf(pid);
  if (!isBrowserEngine(program) || (snapshot && showsContent(*snapshot))) {
    return {};
  }
  return fmt::format("{} shows nothing of its pages: start it with --force-renderer-accessibility.",
                     std::filesystem::path(program).filename().string());
}

}  // namespace jumplark::atspi
