#include "desktop/Use.h"

namespace jumplark::desktop {
namespace {

/// The compositors on which the program is whole, in whose points the screen is always as large.
SessionOptions on(WindowManager compositor, int scale = 1) {
  return {.windowManager = compositor,
          .width = Desktop::kWidth * scale,
          .height = Desktop::kHeight * scale,
          .scale = double(scale)};
}

class UseOnWayland : public ::testing::TestWithParam<SessionOptions> {};

TEST_P(UseOnWayland, aTypedQueryBoxesAButtonAndReturnPressesIt) {
  Use use(GetParam());
  const Matches matches = use.demo.matchesWith("Button", "Apply");
  const Match* match = find(matches, "Button", "Apply");
  ASSERT_TRUE(match);
  const PixelRect apply = match->rect;
  const uint32_t plain = boxPixel(use.session(), apply);
  use.program.open();
  use.program.query("apply");
  EXPECT_TRUE(use.boxed(apply, kSelectedColor, plain));
  use.close("Return");
  EXPECT_TRUE(use.demo.says("clicked Apply"));

  use.program.open();
  EXPECT_TRUE(use.program.waitForQuery(""));
  use.close("Escape");
  // The button, which has the focus now, gets what is typed next; at once, or as soon as the compositor says so.
  constexpr Milliseconds kBetweenKeys{1000};
  EXPECT_TRUE(waitUntil([&] {
    use.session().press({"space"});
    return waitUntil([&] { return use.demo.process().countOfLine("clicked Apply") > 1; }, kBetweenKeys);
  }));
}

/// What a query finds is used as by hand, by what the application prints.
TEST_P(UseOnWayland, checksFocusesOpensAndChooses) {
  struct Job {
    const char* query;
    const char* told;  ///< of what is chosen
    const char* says;
  };
  constexpr Job kJobs[] = {{"wrap", "Wrap text", "checked Wrap text true"},
                           {"name", "Name", "focused Name"},
                           {"country", "Austria", "opened Country"},
                           {"about", "About", "triggered About"},  // of a closed menu, while the list is open
                           {"file", "File", "opened File"},
                           {"save", "Save", "triggered Save"}};
  Desktop desktop(GetParam());
  DemoProgram demo(desktop);
  for (const Job& job : kJobs) {
    SCOPED_TRACE(job.query);
    RunningProgram program(desktop.session);  // the last one would make a double click of Return for a while
    program.open();
    program.query(job.query);
    EXPECT_TRUE(waitUntil([&] { return program.description().find(job.told) != std::string::npos; }))
        << program.description();
    program.close("Return");
    ASSERT_TRUE(waitUntil([&] { return !demo.linesBeginning(job.says).empty(); })) << demo.process().out();
  }
}

constexpr const char* kNames[] = {"Sway", "KWin", "Gnome", "GnomeInPixels"};

INSTANTIATE_TEST_SUITE_P(Compositors, UseOnWayland,
                         ::testing::Values(on(WindowManager::sway), on(WindowManager::kwin), on(WindowManager::gnome),
                                           on(WindowManager::gnome, 2)),
                         [](const auto& info) { return std::string(kNames[info.index]); });

}  // namespace
}  // namespace jumplark::desktop
