// How long a user waits: from the shortcut to the keyboard, to the first letter and to the tree, from a letter to its
// boxes, from Return to the click. Every time is taken by another X client in a private session. The baseline is a
// plain window that gets the focus from the same window manager in the same run: bench_use [--runs N]
#include <fmt/core.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "Onlooker.h"
#include "desktop/support/RunningProgram.h"

namespace jumplark::bench {
namespace {

using desktop::PrivateSession;
using desktop::RunningProgram;

/// X keycodes of the evdev rules.
constexpr uint8_t kSuper = 133, kShift = 50, kSpace = 65, kEscape = 9, kReturn = 36, kB = 56, kM = 58;

/// The program over one application.
class Stage {
 public:
  Stage(const std::vector<std::string>& application, desktop::WindowManager windowManager)
      : session_({.windowManager = windowManager, .width = 1600, .height = 1000}),
        onlooker_(session_.display()),
        application_(session_.start(application)),
        target_(session_.waitForWindowOf(application_.pid())),
        program_(session_, nlohmann::json::object(), {{"SPDLOG_LEVEL", "debug"}}) {
    session_.activate(target_.id);
    pause(3000);  // the application is on the accessibility bus a little later than on the screen
    program_.open();
    query_ = *program_.queryWindow();
    onlooker_.watchFocus(query_.id);
    close();
  }

  double shortcutToKeyboard() {
    onlooker_.forget();
    const double time = onlooker_.untilFocus(pressShortcut());
    close();
    return time;
  }

  double shortcutToLetter() {
    const auto pressed = pressShortcut();
    onlooker_.press({kM});
    const double time = Onlooker::until(pressed, [this] { return showsLetter(); });
    close();
    return time;
  }

  /// Until the log says that the tree has been read.
  double shortcutToTree() {
    const size_t before = enumerations();
    const double time = Onlooker::until(pressShortcut(), [&] { return enumerations() > before; });
    pause(300);  // the application has drawn what the query's keyboard changed of it
    close();
    return time;
  }

  /// A letter that half of the application's elements have; until the first and the last pixel that it changes are as
  /// they stay.
  double letterToBoxes() {
    pressShortcut();
    pause(1500);  // the tree has been read
    const auto before = screen();
    const auto pressed = onlooker_.press({kB});
    if (firstBox_.x == 0) {
      pause(2000);
      findBoxes(before, screen());
      close();
      return letterToBoxes();
    }
    const double time = Onlooker::until(pressed, [this] { return isDrawn(firstBox_) && isDrawn(lastBox_); });
    close();
    return time;
  }

  double returnToClick() {
    pressShortcut();
    pause(1500);
    onlooker_.press({kB});
    pause(1000);
    const double time = Onlooker::until(onlooker_.press({kReturn}), [this] { return onlooker_.buttonIsDown(); });
    pause(900);  // Return right after a click would make it a double one
    session_.activate(target_.id);
    return time;
  }

  double plainWindow() {
    const double time = onlooker_.plainWindow();
    pause(100);
    session_.activate(target_.id);
    return time;
  }

  void printIdle(int seconds) const { bench::printIdle(program_.pid(), seconds); }

 private:
  struct Pixel {
    int x = 0;
    int y = 0;
    uint32_t color = 0;
  };

  Clock::time_point pressShortcut() { return onlooker_.press({kSuper, kShift, kSpace}); }
  void close() {
    onlooker_.press({kEscape});
    if (!program_.waitUntilClosed()) {
      throw std::runtime_error("Escape does not close the query");
    }
    session_.activate(target_.id);
    pause(250);
  }
  bool showsLetter() const {
    // The field's own text is darker than its placeholder.
    const auto pixels = onlooker_.pixels(query_.id, 55, query_.rect.height / 2 - 8, 12, 16);
    return std::any_of(pixels.begin(), pixels.end(), [](uint32_t color) { return (color & 0xFFU) < 0x40U; });
  }
  std::vector<uint32_t> screen() const { return onlooker_.pixels(onlooker_.root(), 0, 0, 1600, 1000); }
  void findBoxes(const std::vector<uint32_t>& before, const std::vector<uint32_t>& after) {
    for (int i = 0; i < 1600 * 1000; ++i) {
      const Pixel pixel{i % 1600, i / 1600, after[static_cast<size_t>(i)]};
      if (before[static_cast<size_t>(i)] == pixel.color || query_.rect.contains(pixel.x, pixel.y)) {
        continue;
      }
      if (firstBox_.x == 0) {
        firstBox_ = pixel;
      }
      lastBox_ = pixel;
    }
    if (firstBox_.x == 0) {
      throw std::runtime_error("the letter shows no boxes");
    }
  }
  bool isDrawn(const Pixel& pixel) const {
    const auto now = onlooker_.pixels(onlooker_.root(), pixel.x, pixel.y, 1, 1);
    return !now.empty() && now[0] == pixel.color;
  }
  size_t enumerations() const { return countOf(log(), "enumeration:"); }
  std::string log() const { return const_cast<RunningProgram&>(program_).process().out(); }

  PrivateSession session_;
  Onlooker onlooker_;
  desktop::Process& application_;
  desktop::SessionWindow target_;
  RunningProgram program_;
  desktop::SessionWindow query_;
  Pixel firstBox_;
  Pixel lastBox_;
};

void measureAll(int runs) {
  printHead(runs, "xfwm4 with its compositor");
  {
    Stage stage({"gtk3-widget-factory"}, desktop::WindowManager::xfwm4Compositor);
    const Row plain{"plain window to its focus (baseline)", 0, 0, repeat(runs, [&] { return stage.plainWindow(); })};
    const double baseline = median(plain.times);
    print(plain, baseline);
    print({"shortcut to keyboard", 20, 100, repeat(runs, [&] { return stage.shortcutToKeyboard(); })}, baseline);
    print({"shortcut to first letter", 25, 120, repeat(runs, [&] { return stage.shortcutToLetter(); })}, baseline);
    print({"shortcut to tree, widget factory", 60, 200, repeat(runs, [&] { return stage.shortcutToTree(); })},
          baseline);
    print({"Return to button down, widget factory", 162, 212, repeat(runs, [&] { return stage.returnToClick(); })},
          baseline);
  }
  Stage stage({JUMPLARK_MANY_WIDGETS_GTK, "3"}, desktop::WindowManager::xfwm4Compositor);
  const double baseline = median(repeat(runs, [&] { return stage.plainWindow(); }));
  print({"letter to boxes, 1,000 elements", 120, 200, repeat(runs, [&] { return stage.letterToBoxes(); })}, baseline);
  print({"Return to button down, 1,000 elements", 162, 212, repeat(runs, [&] { return stage.returnToClick(); })},
        baseline);
  stage.printIdle(20);
}

}  // namespace
}  // namespace jumplark::bench

int main(int argc, char** argv) {
  return jumplark::bench::runMeasurements("bench_use", argc, argv, jumplark::bench::measureAll);
}
