// How long a user of sway waits: from the shortcut to the keyboard and to the tree, from a letter to its boxes, from
// Tab to the next one in blue, from Return to the click. Every time is taken by another Wayland client in a private
// session. The baseline is a plain layer surface that gets the keyboard in the same run: bench_use_sway [--runs N]
#include <fmt/core.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "SwayOnlooker.h"
#include "desktop/support/RunningProgram.h"
#include "desktop/support/SwaySession.h"

namespace jumplark::bench {
namespace {

using desktop::RunningProgram;
using desktop::SwaySession;

/// Keys of linux/input-event-codes.h.
constexpr uint32_t kSuper = 125, kShift = 42, kSpace = 57, kEscape = 1, kReturn = 28, kTab = 15, kB = 48;
constexpr int kWidth = 1600, kHeight = 1000;
/// Milliseconds: the boxes are there, and what describes the selected one is not yet.
constexpr int kBeforeBubble = 700;

/// What a key makes of the screen: two pixels that it changes, the first and the last.
struct Change {
  Area place[2];
  uint32_t before[2] = {0, 0};
  uint32_t after[2] = {0, 0};
};

/// The program over one application.
class Stage {
 public:
  explicit Stage(const std::vector<std::string>& application)
      : session_({.windowManager = desktop::WindowManager::sway, .width = kWidth, .height = kHeight}),
        onlooker_(session_.environment().at("XDG_RUNTIME_DIR") + '/' + session_.environment().at("WAYLAND_DISPLAY")),
        application_(session_.start(application)),
        target_(session_.waitForWindowOf(application_.pid())),
        program_(session_, nlohmann::json::object(), {{"SPDLOG_LEVEL", "debug"}}) {
    session_.activate(target_.id);
    pause(3000);  // the application is on the accessibility bus a little later than on the screen
    program_.open();
    close();
  }

  double plainLayer() {
    const double time = onlooker_.plainLayer();
    pause(100);
    return time;
  }

  /// Seen by the window that loses it.
  std::vector<double> shortcutToKeyboard(int runs) {
    onlooker_.openWindow();
    pause(300);
    auto times = repeat(runs, [this] {
      const double time = onlooker_.until(pressShortcut(), [this] { return !onlooker_.hasKeyboard(); });
      pause(300);
      onlooker_.until(onlooker_.press({kEscape}), [this] { return onlooker_.hasKeyboard(); });
      pause(250);
      return time;
    });
    onlooker_.closeWindow();
    session_.activate(target_.id);
    return times;
  }

  /// Until the log says that the tree has been read.
  double shortcutToTree() {
    const size_t before = enumerations();
    const double time = onlooker_.until(pressShortcut(), [&] { return enumerations() > before; });
    close();
    return time;
  }

  /// A letter that half of the application's elements have; until the first and the last pixel that it changes are as
  /// they stay.
  double letterToBoxes() {
    if (!boxes_) {
      learn();
    }
    pressShortcut();
    pause(1500);  // the tree has been read
    const double time = onlooker_.until(onlooker_.press({kB}), [this] { return shows(*boxes_, boxes_->after); });
    close();
    return time;
  }

  /// To and fro between the best match and the next one, with all boxes on the screen.
  std::vector<double> tabToNextBox(int runs) {
    learn();
    pressShortcut();
    pause(1500);
    onlooker_.press({kB});
    pause(kBeforeBubble);
    auto times = repeat(runs, [this] {
      const double there = onlooker_.until(onlooker_.press({kTab}), [this] { return shows(*next_, next_->after); });
      pause(300);
      const double back =
          onlooker_.until(onlooker_.press({kShift, kTab}), [this] { return shows(*next_, next_->before); });
      pause(300);
      return std::max(there, back);
    });
    close();
    return times;
  }

  double returnToClick() {
    pressShortcut();
    pause(1500);
    onlooker_.press({kB});
    pause(1000);
    onlooker_.cover();
    const double time = onlooker_.until(onlooker_.press({kReturn}), [this] { return onlooker_.buttonIsDown(); });
    pause(900);  // Return right after a click would make it a double one
    onlooker_.uncover();
    session_.activate(target_.id);
    return time;
  }

  void printIdle(int seconds) const { bench::printIdle(program_.pid(), seconds); }

 private:
  Clock::time_point pressShortcut() { return onlooker_.press({kSuper, kShift, kSpace}); }
  void close() {
    onlooker_.press({kEscape});
    program_.waitUntilClosed();
    session_.activate(target_.id);
    pause(250);
  }
  std::vector<uint32_t> screen() { return onlooker_.pixels({{0, 0, kWidth, kHeight}}).at(0); }

  /// Which pixels of the application's window a letter and Tab change; the query window lies below that.
  void learn() {
    target_ = session_.waitForWindowOf(application_.pid());  // which had its place but not its size at first
    pressShortcut();
    pause(2000);
    const auto open = screen();
    onlooker_.press({kB});
    pause(kBeforeBubble);
    const auto boxed = screen();
    onlooker_.press({kTab});
    pause(kBeforeBubble);
    const auto next = screen();
    close();
    boxes_ = ends(changed(open, boxed), open, boxed);
    next_ = ends(changed(boxed, next), boxed, next);
  }
  /// Places in a picture that differ.
  std::vector<int> changed(const std::vector<uint32_t>& before, const std::vector<uint32_t>& after) const {
    std::vector<int> result;
    for (int i = 0; i < kWidth * kHeight; ++i) {
      if (before[static_cast<size_t>(i)] != after[static_cast<size_t>(i)] &&
          target_.rect.contains(i % kWidth, i / kWidth)) {
        result.push_back(i);
      }
    }
    return result;
  }
  static Change ends(const std::vector<int>& places, const std::vector<uint32_t>& before,
                     const std::vector<uint32_t>& after) {
    if (places.empty()) {
      throw std::runtime_error("a key changes nothing on the screen");
    }
    Change change;
    for (const int i : {0, 1}) {
      const int place = i == 0 ? places.front() : places.back();
      change.place[i] = {place % kWidth, place / kWidth};
      change.before[i] = before[static_cast<size_t>(place)];
      change.after[i] = after[static_cast<size_t>(place)];
    }
    return change;
  }
  bool shows(const Change& change, const uint32_t (&colours)[2]) {
    const auto now = onlooker_.pixels({change.place[0], change.place[1]});
    return now[0].at(0) == colours[0] && now[1].at(0) == colours[1];
  }
  size_t enumerations() { return countOf(program_.process().out(), "enumeration:"); }

  SwaySession session_;
  SwayOnlooker onlooker_;
  desktop::Process& application_;
  desktop::SessionWindow target_;
  RunningProgram program_;
  std::optional<Change> boxes_;
  std::optional<Change> next_;
};

void measureAll(int runs) {
  printHead(runs, "sway");
  {
    Stage stage({"gtk3-widget-factory"});
    const Row plain{"plain layer surface to its keyboard (baseline)", 0, 0,
                    repeat(runs, [&] { return stage.plainLayer(); })};
    const double baseline = median(plain.times);
    print(plain, baseline);
    print({"shortcut to keyboard", 30, 60, stage.shortcutToKeyboard(runs)}, baseline);
    print({"shortcut to tree, widget factory", 60, 200, repeat(runs, [&] { return stage.shortcutToTree(); })},
          baseline);
    print({"Return to button down, widget factory", 162, 212, repeat(runs, [&] { return stage.returnToClick(); })},
          baseline);
  }
  Stage stage({JUMPLARK_MANY_WIDGETS_GTK, "3"});
  const double baseline = median(repeat(runs, [&] { return stage.plainLayer(); }));
  print({"letter to boxes, 1,000 elements", 120, 200, repeat(runs, [&] { return stage.letterToBoxes(); })}, baseline);
  print({"Tab to the next box, 1,000 elements", 33, 100, stage.tabToNextBox(runs)}, baseline);
  print({"Return to button down, 1,000 elements", 162, 212, repeat(runs, [&] { return stage.returnToClick(); })},
        baseline);
  stage.printIdle(20);
}

}  // namespace
}  // namespace jumplark::bench

int main(int argc, char** argv) {
  return jumplark::bench::runMeasurements("bench_use_sway", argc, argv, jumplark::bench::measureAll);
}
