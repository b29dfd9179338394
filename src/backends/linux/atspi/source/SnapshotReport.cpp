#include "backends/linux/atspi/source/SnapshotReport.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/SnapshotReader.h"
#include "backends/linux/atspi/source/SnapshotStore.h"

namespace jumplark::atspi {
namespace {

using Level = DesktopCheck::Level;

/// Of an area without a name and without anything in it, in points.
constexpr double kLargestBlank = 100 * 100;
/// Of an ordinary container, as part of its window: smaller ones are just empty.
constexpr double kLargestEmpty = 0.25;
/// Shorter lists are read whole.
constexpr int64_t kLongList = 60;

double areaOf(const Rect& rect) {
  return rect.width * rect.height;
}

/// What a program draws itself, or a page shows, without saying what is in it. `window` is its window's area.
bool isPictureOnly(const ElementFacts& e, double window) {
  if (!e.is(state::showing) || !e.extents || !e.children.empty() || e.childCount > 0 || !e.name.empty()) {
    return false;
  }
  const double area = areaOf(*e.extents);
  switch (e.role) {
    case role::canvas:
    case role::drawingArea:
    case role::unknown:
      return area >= kLargestBlank;
    case role::panel:
    case role::filler:
      return area >= std::max(kLargestBlank, window * kLargestEmpty);
    default:
      return false;
  }
}

std::string counted(size_t count, std::string_view one, std::string_view many) {
  return count == 1 ? fmt::format("1 {}", one) : fmt::format("{} {}", count, many);
}

struct LeftOut {
  size_t large = 0;
  size_t secrets = 0;
  size_t pictures = 0;
  size_t texts = 0;
};

LeftOut countLeftOut(const Snapshot& snapshot) {
  LeftOut left;
  const auto window = snapshot.elements.find(snapshot.focusedWindow);
  const bool placed = window != snapshot.elements.end() && window->second->extents;
  const double windowArea = placed ? areaOf(*window->second->extents) : 0;
  for (const auto& [ref, facts] : snapshot.elements) {
    const bool shows = facts->is(state::showing);
    left.large += shows && facts->childrenAreVisibleOnly && facts->childCount > kLongList ? 1 : 0;
    left.secrets += shows && facts->role == role::passwordText ? 1 : 0;
    left.pictures += isPictureOnly(*facts, windowArea) ? 1 : 0;
  }
  for (const auto& [ref, text] : snapshot.texts) {
    left.texts += text.fetchedEnd - text.fetchedStart < text.count ? 1 : 0;
  }
  return left;
}

std::vector<std::string> sentences(const LeftOut& left) {
  std::vector<std::string> said;
  if (left.large > 0) {
    said.push_back(fmt::format("Of {} only the rows inside the window were read.",
                               counted(left.large, "long list or table", "long lists or tables")));
  }
  if (left.secrets > 0) {
    said.push_back(
        fmt::format("The content of {} is never read.", counted(left.secrets, "password field", "password fields")));
  }
  if (left.texts > 0) {
    said.push_back(fmt::format("Of {} only what shows was read.", counted(left.texts, "long text", "long texts")));
  }
  if (left.pictures > 0) {
    said.push_back(fmt::format("{} without saying what is in it: nothing can be chosen there.",
                               counted(left.pictures, "large area draws itself", "large areas draw themselves")));
  }
  return said;
}

std::string wayOf(const SnapshotReport& report) {
  const std::string toolkit =
      report.toolkit.name.empty() ? "An unknown toolkit" : report.toolkit.name + ' ' + report.toolkit.version;
  const char* const how = report.fromCache ? "all elements at once from its cache, then their places"
                                           : "level by level, many elements at once";
  return fmt::format("{}: {}, over {}.", toolkit, how,
                     report.toolkit.peerAddress.empty() ? "the accessibility bus" : "its own socket");
}

DesktopCheck readingCheck(const SnapshotReport& report) {
  DesktopCheck check{"reading", Level::ok,
                     fmt::format("{} elements, {} of them showing, in {:.0f} ms.", report.elements, report.showing,
                                 report.milliseconds),
                     ""};
  if (!report.complete) {
    constexpr std::chrono::duration<double, std::milli> kLimit = SnapshotReader::kLimit;
    const bool late = report.milliseconds >= kLimit.count();
    check.level = Level::warning;
    check.finding += late ? " It was cut short: the application has more to tell than can be waited for."
                          : " It was cut short: the application stopped answering.";
    check.remedy = late ? "Make its window smaller, or close what is not needed in it."
                        : "Wait until it is done with what it is doing, or start it again.";
  }
  return check;
}

}  // namespace

SnapshotReport reportOn(const Snapshot& snapshot) {
  SnapshotReport report;
  report.toolkit = snapshot.toolkitFacts;
  report.fromCache = snapshot.fromCache;
  report.complete = snapshot.complete;
  report.milliseconds = std::chrono::duration<double, std::milli>(snapshot.took).count();
  report.elements = snapshot.elements.size();
  report.showing =
      static_cast<size_t>(std::count_if(snapshot.elements.begin(), snapshot.elements.end(),
                                        [](const auto& entry) { return entry.second->is(state::showing); }));
  report.leftOut = sentences(countLeftOut(snapshot));
  return report;
}

std::vector<DesktopCheck> readingChecks(const std::string& name, int32_t pid,
                                        const std::optional<SnapshotReport>& report, const std::string& advice) {
  const std::string who = fmt::format("{} (process {})", name.empty() ? "The application" : name, pid);
  if (!report) {
    return {{"application", Level::warning, who + " is not on the accessibility bus, so nothing of it can be found.",
             advice.empty() ? "Start it again, now that accessibility is switched on; some programs offer nothing."
                            : advice}};
  }
  std::vector<DesktopCheck> checks{{"application", Level::ok, who + " answers.", ""},
                                   readingCheck(*report),
                                   {"way of reading", Level::ok, wayOf(*report), ""}};
  if (!report->advice.empty()) {
    checks.push_back({"pages", Level::warning, "The window shows no page to the accessibility bus.", report->advice});
  }
  for (const std::string& sentence : report->leftOut) {
    checks.push_back({"left out", Level::ok, sentence, ""});
  }
  if (report->leftOut.empty()) {
    checks.push_back({"left out", Level::ok, "Nothing that shows.", ""});
  }
  return checks;
}

}  // namespace jumplark::atspi
