#include "backends/linux/atspi/source/SnapshotReport.h"

#include <fmt/format.h>

#include <algorithm>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/Snapshot.h"
#include "backends/linux/atspi/reading/SnapshotReader.h"
#include "platform/Texts.h"

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

/// GTK 3 and those before it give no elements to what stands in a status bar, which is called what it says.
bool isSilentStatusBar(const ElementFacts& e) {
  return e.role == role::statusBar && e.name.empty() && e.is(state::showing) && e.extents && e.children.empty() &&
         e.childCount <= 0;
}

/// Two sentences, since languages differ in what changes with a number; `many` has the place of the number.
std::string counted(size_t count, const char* one, const char* many) {
  return count == 1 ? std::string(localized(one)) : localizedWith(many, fmt::make_format_args(count));
}

struct LeftOut {
  size_t large = 0;
  size_t secrets = 0;
  size_t pictures = 0;
  size_t texts = 0;
  size_t statusBars = 0;
};

LeftOut countLeftOut(const Snapshot& snapshot) {
  LeftOut left;
  const FactsPointer window = snapshot.find(snapshot.focusedWindow);
  const double windowArea = window && window->extents ? areaOf(*window->extents) : 0;
  for (const ElementTree::Node& node : snapshot.tree.nodes()) {
    const ElementFacts& facts = *node.facts;
    const bool shows = facts.is(state::showing);
    left.large += shows && facts.childrenAreVisibleOnly && facts.childCount > kLongList ? 1 : 0;
    left.secrets += shows && facts.role == role::passwordText ? 1 : 0;
    left.pictures += isPictureOnly(facts, windowArea) ? 1 : 0;
    left.statusBars += isSilentStatusBar(facts) ? 1 : 0;
  }
  for (const auto& [ref, text] : snapshot.texts) {
    left.texts += text.fetchedEnd - text.fetchedStart < text.count ? 1 : 0;
  }
  return left;
}

std::vector<std::string> sentences(const LeftOut& left) {
  const struct {
    size_t count;
    const char* one;
    const char* many;
  } kinds[] = {
      {left.large, textForLater("Of a long list or table only the rows inside the window were read."),
       textForLater("Of {} long lists or tables only the rows inside the window were read.")},
      {left.secrets, textForLater("The content of a password field is never read."),
       textForLater("The content of {} password fields is never read.")},
      {left.texts, textForLater("Of a long text only what shows was read."),
       textForLater("Of {} long texts only what shows was read.")},
      {left.pictures, textForLater("A large area does not tell what is in it: nothing can be chosen there."),
       textForLater("{} large areas do not tell what is in them: nothing can be chosen there.")},
      {left.statusBars, textForLater("The status bar does not tell what is in it: use the menus instead."),
       textForLater("{} status bars do not tell what is in them: use the menus instead.")},
  };
  std::vector<std::string> said;
  for (const auto& [count, one, many] : kinds) {
    if (count > 0) {
      said.push_back(counted(count, one, many));
    }
  }
  return said;
}

std::string wayOf(const SnapshotReport& report) {
  const std::string toolkit = report.toolkit.name.empty() ? std::string(localized("An unknown toolkit"))
                                                          : report.toolkit.name + ' ' + report.toolkit.version;
  const bool direct = !report.toolkit.peerAddress.empty();
  if (report.fromCache) {
    return direct ? localizedFormat("{}; all elements are read at once, over a direct connection.", toolkit)
                  : localizedFormat("{}; all elements are read at once, over the accessibility bus.", toolkit);
  }
  return direct ? localizedFormat("{}; the elements are read level by level, over a direct connection.", toolkit)
                : localizedFormat("{}; the elements are read level by level, over the accessibility bus.", toolkit);
}

DesktopCheck readingCheck(const SnapshotReport& report) {
  DesktopCheck check{localized("reading"), Level::ok,
                     localizedFormat("{} elements, {} of them showing, in {:.0f} ms.", report.elements, report.showing,
                                     report.milliseconds),
                     ""};
  if (!report.complete) {
    constexpr std::chrono::duration<double, std::milli> kLimit = SnapshotReader::kLimit;
    const bool late = report.milliseconds >= kLimit.count();
    check.level = Level::warning;
    check.finding += std::string(" ") +
                     (late ? localized("It was cut short: the application has more to tell than can be waited for.")
                           : localized("It was cut short: the application stopped answering."));
    check.remedy = late ? localized("Make its window smaller, or close what is not needed in it.")
                        : localized("Wait until it is done with what it is doing, or start it again.");
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
  const auto& nodes = snapshot.tree.nodes();
  report.elements = nodes.size();
  report.showing = static_cast<size_t>(
      std::count_if(nodes.begin(), nodes.end(), [](const auto& node) { return node.facts->is(state::showing); }));
  report.leftOut = sentences(countLeftOut(snapshot));
  return report;
}

std::vector<DesktopCheck> readingChecks(const std::string& name, int32_t pid,
                                        const std::optional<SnapshotReport>& report, const std::string& advice) {
  const std::string who = name.empty() ? std::string(localized("The application")) : name;
  if (!report) {
    return {
        {localized("application"), Level::warning,
         localizedFormat("{} (process {}) is not on the accessibility bus, so nothing of it can be found.", who, pid),
         advice.empty()
             ? localized("Start it again, now that accessibility is switched on. Some programs offer nothing, though.")
             : advice}};
  }
  std::vector<DesktopCheck> checks{
      {localized("application"), Level::ok, localizedFormat("{} (process {}) answers.", who, pid), ""},
      readingCheck(*report),
      {localized("toolkit"), Level::ok, wayOf(*report), ""}};
  if (!report->advice.empty()) {
    checks.push_back({localized("pages"), Level::warning, localized("Nothing of the page in its window can be found."),
                      report->advice});
  }
  for (const std::string& sentence : report->leftOut) {
    checks.push_back({localized("left out"), Level::ok, sentence, ""});
  }
  if (report->leftOut.empty()) {
    checks.push_back({localized("left out"), Level::ok, localized("Nothing that shows."), ""});
  }
  return checks;
}

}  // namespace jumplark::atspi
