#include "desktop/Use.h"

namespace jumplark::desktop {
namespace {

using ::testing::IsEmpty;

void typeMoveAndClick(Use& use) {
  const PixelRect apply = use.demo.part("Apply").rect;
  const PixelRect cancel = use.demo.part("Cancel").rect;
  const uint32_t plain = boxPixel(use.session(), apply);
  use.program.open();
  use.program.query("apply");
  EXPECT_TRUE(use.program.windows().waitForState("text", "What to click", "focused"));
  EXPECT_TRUE(use.boxed(apply, kSelectedColor, plain));
  use.close("Return");
  EXPECT_TRUE(use.demo.says("clicked Apply"));

  // The query is empty again, and each Tab goes to the next best.
  use.program.open();
  EXPECT_TRUE(use.program.waitForQuery(""));
  use.program.query(".but");
  // Letters that come late replace the matches of the first ones, and the best is selected again.
  EXPECT_TRUE(use.boxed(apply, kSelectedColor, plain) && use.boxed(cancel, kMatchColor, plain));
  const Matches matches = use.demo.matches(".but");
  const Match* second = find(matches, "Button", "Cancel");
  ASSERT_TRUE(second) << describe(matches);
  use.session().press(Arguments(static_cast<size_t>(second - matches.data()), "Tab"));
  EXPECT_TRUE(use.boxed(cancel, kSelectedColor, plain));
  use.program.key("shift+Tab");
  EXPECT_TRUE(use.boxed(cancel, kMatchColor, plain));
  use.program.key("Tab");
  EXPECT_TRUE(use.boxed(cancel, kSelectedColor, plain));
  EXPECT_TRUE(use.tells("Cancel, " + second->label));
  EXPECT_TRUE(use.program.waitUntilReturnIsForOthers());
  use.close("Return");
  EXPECT_TRUE(use.demo.says("clicked Cancel")) << use.demo.process().out();
}

void restThePointer(Use& use) {
  const PixelRect email = use.demo.part("Email").rect;
  // Not where the pointer stands.
  const auto pixel = [&] { return use.session().pixel(email.x + email.width - 8, email.y + email.height / 2); };
  const uint32_t plain = pixel();
  use.program.open();
  use.session().pointTo(email.x + 20, email.y + 8);
  EXPECT_TRUE(waitUntil([&] { return similar(pixel(), tinted(kDescribedColor, plain, kDescribedAlpha), 2); }))
      << std::hex << pixel() << " on " << plain;
  use.session().pointTo(5, 5);
  EXPECT_TRUE(waitUntil([&] { return pixel() == plain; })) << std::hex << pixel();
  use.close(RunningProgram::kShortcut);
}

void goElsewhere(Use& use) {
  use.program.open();
  const PixelRect ok = use.demo.part("OK").rect;
  use.session().click(ok.x + 10, ok.y + 10);
  EXPECT_TRUE(use.demo.says("clicked OK"));
  EXPECT_TRUE(use.program.waitUntilClosed());

  Process& other = use.session().start({"xmessage", "-title", "Other", "-geometry", "300x200+1000+600", "other"});
  ASSERT_TRUE(use.session().activate(use.session().waitForWindowTitled("Other").id));
  use.program.open();
  use.session().click(700, 20);
  EXPECT_TRUE(use.program.waitUntilClosed());
  EXPECT_TRUE(other.running());
}

using UseOnEachDesktop = ::testing::TestWithParam<WindowManager>;

TEST_P(UseOnEachDesktop, clicksWhatIsTypedAndEndsWhenTheUserGoesElsewhere) {
  Use use(GetParam());
  typeMoveAndClick(use);
  restThePointer(use);
  const int times = GetParam() == WindowManager::xfwm4 ? 100 : 25;
  for (int i = 0; i < times; ++i) {
    const std::string text = "appl" + std::to_string(i);
    use.session().keys({"key", "--delay", "0", RunningProgram::kShortcut, "type", "--delay", "0", text});
    ASSERT_TRUE(use.program.waitForQuery(text)) << "a letter that followed the shortcut at once is lost";
    use.close("Escape");
  }
  goElsewhere(use);
  EXPECT_THAT(use.demo.linesBeginning("text Name"), IsEmpty()) << "typed into the target";
}

constexpr const char* kNames[] = {"xfwm4", "xfwm4Compositor", "openbox", "openboxPicom"};
INSTANTIATE_TEST_SUITE_P(WindowManagers, UseOnEachDesktop,
                         ::testing::Values(WindowManager::xfwm4, WindowManager::xfwm4Compositor, WindowManager::openbox,
                                           WindowManager::openboxPicom),
                         [](const auto& info) { return std::string(kNames[static_cast<size_t>(info.param)]); });

// A person who knows what comes first does not wait to see it.
TEST(Use, clicksWhatWasTypedThoughReturnFollowsAtOnce) {
  Use use;
  const std::pair<const char*, const char*> jobs[] = {
      {"apply", "clicked Apply"}, {"cancel", "clicked Cancel"}, {"wrap", "checked Wrap text true"}};
  for (const auto& [query, expected] : jobs) {
    use.session().keys({"key", "--delay", "0", RunningProgram::kShortcut, "type", "--delay", "0", query});
    use.close("Return");
    EXPECT_TRUE(use.demo.says(expected)) << query << ": " << use.demo.process().out();
    ASSERT_TRUE(use.program.waitUntilReturnIsForOthers());
  }
  EXPECT_EQ(use.demo.linesBeginning("pressed ").size(), std::size(jobs));
}

TEST(Use, choosesCommandsOfClosedMenusWithoutOpeningThem) {
  Use use;
  use.session().keys({"key", "--delay", "0", RunningProgram::kShortcut, "type", "--delay", "0", "zoom o"});
  use.close("Return");
  EXPECT_TRUE(use.demo.says("triggered Zoom Out")) << use.demo.process().out();
  use.program.open();
  use.program.key("F10");
  use.program.query("recent");
  EXPECT_TRUE(use.tells("report.txt, File, Recent"));
  use.program.key("Down");
  EXPECT_TRUE(use.tells("notes.md, File, Recent"));
  use.close("Return");
  EXPECT_TRUE(use.demo.says("triggered notes.md")) << use.demo.process().out();
  EXPECT_THAT(use.demo.linesBeginning("pressed "), IsEmpty());
  EXPECT_THAT(use.demo.linesBeginning("opened "), ::testing::ElementsAre("opened Demo")) << "its window only";
}

}  // namespace
}  // namespace jumplark::desktop
