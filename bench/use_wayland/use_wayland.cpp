// How long a user of a Wayland compositor waits: from the shortcut to the keyboard and to the tree, from a letter to
// its boxes, from Tab to the next one in blue, from Return to the click. Every time is taken by another Wayland client
// in a private session. The baseline is a plain surface that gets the keyboard in the same run:
//   bench_use_wayland [sway|kwin|gnome] [--runs N]
#include <fmt/core.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Onlooker.h"
#include "desktop/support/RunningProgram.h"

namespace jumplark::bench {
namespace {

using desktop::RunningProgram;
using desktop::WindowManager;

/// Keys of linux/input-event-codes.h.
constexpr int kSuper = 125, kShift = 42, kSpace = 57, kEscape = 1, kReturn = 28, kTab = 15, kB = 48;
constexpr int kWidth = 1600, kHeight = 1000;
/// Milliseconds: the boxes are there, and what describes the selected one is not yet.
constexpr int kBeforeBubble = 700;
/// Milliseconds: an Escape that comes before the query has the keyboard is the application's.
constexpr int kUntilKeyboard = 300;

/// What a key makes of the screen: two pixels that it changes, the first and the last.
struct Change {
  Area place[2];
  uint32_t before[2] = {0, 0};
  uint32_t after[2] = {0, 0};
};

/// When to look first for what a key changes, in milliseconds after the key. A compositor draws nothing else while it
/// takes a picture, so that looking all the time delays what is looked for: the first look moves to where it comes too
/// early as often as not.
class FirstLook {
 public:
  explicit FirstLook(double time) : time_(time) {}
  double time() const { return time_; }
  void tell(bool wasEnough) { time_ = std::max(0.0, time_ + (wasEnough ? -kStep : kStep)); }

 private:
  static constexpr double kStep = 4;
  double time_;
};

std::unique_ptr<Seat> seatOf(WindowManager compositor, Connection& connection, const desktop::Environment& session) {
  switch (compositor) {
    case WindowManager::kwin:
      return kwinSeat(connection, session.at("DBUS_SESSION_BUS_ADDRESS"));
    case WindowManager::gnome:
      return gnomeSeat(session.at("DBUS_SESSION_BUS_ADDRESS"), session.at("XDG_RUNTIME_DIR"));
    default:
      return swaySeat(connection);
  }
}

/// The program over one application.
class Stage {
 public:
  Stage(WindowManager compositor, const std::vector<std::string>& application)
      : compositor_(compositor),
        session_(desktop::openSession({.windowManager = compositor, .width = kWidth, .height = kHeight})),
        connection_(session_->environment().at("XDG_RUNTIME_DIR") + '/' +
                    session_->environment().at("WAYLAND_DISPLAY")),
        seat_(seatOf(compositor, connection_, session_->environment())),
        onlooker_(connection_),
        application_(session_->start(application)),
        target_(session_->waitForWindowOf(application_.pid())),
        program_(*session_, nlohmann::json::object(), {{"SPDLOG_LEVEL", "debug"}}) {
    session_->activate(target_.id);
    pause(3000);  // the application is on the accessibility bus a little later than on the screen
    program_.open();
    close();
  }

  /// Whether a surface over the application gets the clicks and is no window that the application lies behind.
  bool canBeCovered() const { return compositor_ == WindowManager::sway; }
  double plainSurface() {
    const double time = onlooker_.plainSurface();
    session_->activate(target_.id);
    pause(200);
    return time;
  }

  /// Seen by the window that loses it.
  std::vector<double> shortcutToKeyboard(int runs) {
    onlooker_.openWindow();
    pause(300);
    auto times = repeat(runs, [this] {
      const double time = connection_.until(pressShortcut(), [this] { return !onlooker_.hasKeyboard(); });
      pause(300);
      connection_.until(press({kEscape}), [this] { return onlooker_.hasKeyboard(); });
      pause(250);
      return time;
    });
    onlooker_.closeWindow();
    session_->activate(target_.id);
    return times;
  }

  /// Until the log says that the tree has been read.
  double shortcutToTree() {
    const size_t before = enumerations();
    const double time = connection_.until(pressShortcut(), [&] { return enumerations() > before; });
    pause(kUntilKeyboard);
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
    const double time = untilShows(press({kB}), *boxes_, boxes_->after, forBoxes_);
    close();
    return time;
  }

  /// What a compositor needs to show a surface over the whole screen, and a picture of it, by itself: part of the times
  /// of boxes.
  double plainOverlay() {
    const std::vector<Area> middle{{kWidth / 2, kHeight / 2}};
    onlooker_.openWindow();
    pause(500);
    const auto window = session_->waitForWindowOf(getpid()).rect;
    const auto before = seat_->pixels(middle);
    pause(200);
    const double time = onlooker_.plainOverlay(window.x, window.y, [&] { return seat_->pixels(middle) != before; });
    onlooker_.closeWindow();
    session_->activate(target_.id);
    pause(300);
    return time;
  }

  /// To and fro between the best match and the next one, with all boxes on the screen.
  std::vector<double> tabToNextBox(int runs) {
    learn();
    pressShortcut();
    pause(1500);
    press({kB});
    pause(kBeforeBubble);
    auto times = repeat(runs, [this] {
      const double there = untilShows(press({kTab}), *next_, next_->after, forNext_);
      pause(300);
      const double back = untilShows(press({kShift, kTab}), *next_, next_->before, forNext_);
      pause(300);
      return std::max(there, back);
    });
    close();
    return times;
  }

  double returnToClick() {
    pressShortcut();
    pause(1500);
    press({kB});
    pause(1000);
    onlooker_.cover();
    const double time = connection_.until(press({kReturn}), [this] { return onlooker_.buttonIsDown(); });
    pause(900);  // Return right after a click would make it a double one
    onlooker_.uncover();
    session_->activate(target_.id);
    return time;
  }

  /// The same where nothing can be put over the application, until it says that a button of its own went down.
  double returnToPress() {
    const auto pressed = [this] { return countOf(application_.out(), "pressed"); };
    pressShortcut();
    pause(1500);
    press({kB});
    pause(1000);
    const size_t before = pressed();
    const double time = connection_.until(press({kReturn}), [&] { return pressed() > before; });
    pause(900);
    session_->activate(target_.id);
    return time;
  }

  void printIdle(int seconds) const { bench::printIdle(program_.pid(), seconds); }

 private:
  /// Presses the keys one upon the other and lets go of them in reverse order; returns when that began.
  Clock::time_point press(const std::vector<int>& keys) {
    std::vector<Seat::Stroke> strokes = keys;
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) {
      strokes.push_back(-*key);
    }
    const auto pressed = Clock::now();
    seat_->send(strokes);
    return pressed;
  }
  Clock::time_point pressShortcut() { return press({kSuper, kShift, kSpace}); }
  void close() {
    press({kEscape});
    if (!program_.waitUntilClosed()) {
      throw std::runtime_error("Escape does not close the query");
    }
    session_->activate(target_.id);
    pause(250);
  }
  std::vector<uint32_t> screen() { return seat_->pixels({{0, 0, kWidth, kHeight}}).at(0); }

  /// Which pixels of the application's window a letter and Tab change; the query window lies below that.
  void learn() {
    target_ = session_->waitForWindowOf(application_.pid());  // which had its place but not its size at first
    pressShortcut();
    pause(2000);
    const auto open = screen();
    press({kB});
    pause(kBeforeBubble);
    const auto boxed = screen();
    press({kTab});
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
    const auto now = seat_->pixels({change.place[0], change.place[1]});
    return now[0].at(0) == colours[0] && now[1].at(0) == colours[1];
  }
  /// Until a picture that shows them is there.
  double untilShows(Clock::time_point pressed, const Change& change, const uint32_t (&colours)[2], FirstLook& first) {
    connection_.until(pressed, [&] { return millisecondsSince(pressed) >= first.time(); });
    int looks = 0;
    const double time = connection_.until(pressed, [&] {
      ++looks;
      return shows(change, colours);
    });
    first.tell(looks == 1);
    return time;
  }
  size_t enumerations() { return countOf(program_.process().out(), "enumeration:"); }

  WindowManager compositor_;
  std::unique_ptr<desktop::PrivateSession> session_;
  Connection connection_;
  std::unique_ptr<Seat> seat_;
  Onlooker onlooker_;
  desktop::Process& application_;
  desktop::SessionWindow target_;
  RunningProgram program_;
  std::optional<Change> boxes_;
  std::optional<Change> next_;
  FirstLook forBoxes_{115};
  FirstLook forNext_{15};
};

/// What is expected of a compositor, and what is its own.
struct Setting {
  const char* name;
  WindowManager compositor;
  double shortcutToKeyboard;  ///< milliseconds, the goal
};
constexpr Setting kSettings[] = {
    {"sway", WindowManager::sway, 30}, {"kwin", WindowManager::kwin, 30}, {"gnome", WindowManager::gnome, 60}};

void measureAll(const Setting& setting, int runs) {
  printHead(runs, setting.name);
  {
    Stage stage(setting.compositor, {"gtk3-widget-factory"});
    const Row plain{"plain surface to its keyboard (baseline)", 0, 0,
                    repeat(runs, [&] { return stage.plainSurface(); })};
    const double baseline = median(plain.times);
    print(plain, baseline);
    print({"shortcut to keyboard", setting.shortcutToKeyboard, 2 * setting.shortcutToKeyboard,
           stage.shortcutToKeyboard(runs)},
          baseline);
    print({"shortcut to tree, widget factory", 60, 200, repeat(runs, [&] { return stage.shortcutToTree(); })},
          baseline);
    if (stage.canBeCovered()) {
      print({"Return to button down, widget factory", 162, 212, repeat(runs, [&] { return stage.returnToClick(); })},
            baseline);
    }
  }
  Stage stage(setting.compositor, {JUMPLARK_MANY_WIDGETS_GTK, "3"});
  const double baseline = median(repeat(runs, [&] { return stage.plainSurface(); }));
  print({"letter to boxes, 1,000 elements", 120, 200, repeat(runs, [&] { return stage.letterToBoxes(); })}, baseline);
  print({"plain overlay to its picture", 0, 0, repeat(runs, [&] { return stage.plainOverlay(); })}, baseline);
  print({"Tab to the next box, 1,000 elements", 33, 100, stage.tabToNextBox(runs)}, baseline);
  print({"Return to button down, 1,000 elements", 162, 212,
         repeat(runs, [&] { return stage.canBeCovered() ? stage.returnToClick() : stage.returnToPress(); })},
        baseline);
  stage.printIdle(20);
}

/// Buses and compositors of a session believe nobody but its user.
void runAsUser(char** argv) {
  std::string user[] = {"setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups", "--reset-env"};
  std::vector<char*> command;
  for (std::string& argument : user) {
    command.push_back(argument.data());
  }
  for (; *argv != nullptr; ++argv) {
    command.push_back(*argv);
  }
  command.push_back(nullptr);
  execvp(command.front(), command.data());
}

}  // namespace
}  // namespace jumplark::bench

int main(int argc, char** argv) {
  using namespace jumplark::bench;
  const Setting* setting = &kSettings[0];
  for (const Setting& one : kSettings) {
    setting = argc > 1 && std::string(argv[1]) == one.name ? &one : setting;
  }
  if (geteuid() == 0) {
    runAsUser(argv);
  }
  const int named = argc > 1 && std::string(argv[1]) == setting->name ? 1 : 0;
  return runMeasurements("bench_use_wayland", argc - named, argv + named,
                         [&](int runs) { measureAll(*setting, runs); });
}
