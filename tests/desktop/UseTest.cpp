#include "desktop/Use.h"

namespace jumplark::desktop {
namespace {

using testing::IsEmpty;

class UseOnEachDesktop : public testing::TestWithParam<WindowManager> {};

std::string nameOf(const testing::TestParamInfo<WindowManager>& info) {
  switch (info.param) {
    case WindowManager::xfwm4:
      return "xfwm4";
    case WindowManager::xfwm4Compositor:
      return "xfwm4Compositor";
    case WindowManager::openbox:
      return "openbox";
    default:
      return "openboxPicom";
  }
}

constexpr WindowManager kWindowManagers[] = {WindowManager::xfwm4, WindowManager::xfwm4Compositor,
                                             WindowManager::openbox, WindowManager::openboxPicom};
INSTANTIATE_TEST_SUITE_P(WindowManagers, UseOnEachDesktop, testing::ValuesIn(kWindowManagers), nameOf);

TEST_P(UseOnEachDesktop, typesMovesAndClicks) {
  Use use(GetParam());
  const PixelRect apply = use.partNamed("Apply");
  const PixelRect cancel = use.partNamed("Cancel");
  const uint32_t plain = boxPixel(use.session(), apply);

  use.program.open();
  use.program.type("apply");
  EXPECT_TRUE(use.program.waitForQuery("apply"));
  EXPECT_TRUE(waitUntil([&] { return similar(boxPixel(use.session(), apply), tinted(kSelectedColor, plain)); }))
      << std::hex << boxPixel(use.session(), apply) << " on " << plain;
  use.program.key("Return");
  EXPECT_TRUE(use.demo.process().waitForLine("clicked Apply"));
  EXPECT_TRUE(use.program.waitUntilClosed());
  EXPECT_TRUE(waitUntil([&] { return use.demoIsActive(); }));

  // The query is empty again, and each Tab goes to the next best.
  use.program.open();
  EXPECT_TRUE(use.program.waitForQuery(""));
  use.program.type(".but");
  const auto isSelected = [&](const PixelRect& rect) {
    return similar(boxPixel(use.session(), rect), tinted(kSelectedColor, plain));
  };
  const auto isMatch = [&](const PixelRect& rect) {
    return similar(boxPixel(use.session(), rect), tinted(kMatchColor, plain));
  };
  EXPECT_TRUE(use.program.waitForQuery(".but"));
  // Letters that come late replace the matches of the first ones, and the best is selected again.
  EXPECT_TRUE(waitUntil([&] { return isSelected(apply) && isMatch(cancel); }));
  const std::vector<Match> matches = use.desktop.jumplark.match(kDemo, ".but");
  const Match* second = find(matches, "Button", "Cancel");
  ASSERT_TRUE(second) << describe(matches);
  Arguments tabs = {"key"};
  tabs.insert(tabs.end(), static_cast<size_t>(second - matches.data()), "Tab");
  use.session().keys(tabs);
  EXPECT_TRUE(waitUntil([&] { return isSelected(cancel); }));
  use.program.key("shift+Tab");
  EXPECT_TRUE(waitUntil([&] { return isMatch(cancel); }));
  use.program.key("Tab");
  EXPECT_TRUE(waitUntil([&] { return isSelected(cancel); }));
  EXPECT_TRUE(use.program.waitUntilReturnIsForOthers());
  use.program.key("Return");
  EXPECT_TRUE(use.demo.process().waitForLine("clicked Cancel")) << use.demo.process().out();
  EXPECT_THAT(use.demo.linesBeginning("text Name"), IsEmpty()) << "typed into the target";
}

TEST_P(UseOnEachDesktop, tintsWhatThePointerRestsOn) {
  Use use(GetParam());
  const PixelRect email = use.partNamed("Email");
  // Not where the pointer stands.
  const auto pixel = [&] { return use.session().pixel(email.x + email.width - 8, email.y + email.height / 2); };
  const uint32_t plain = pixel();
  use.program.open();
  use.session().keys({"mousemove", std::to_string(email.x + 20), std::to_string(email.y + 8)});
  EXPECT_TRUE(waitUntil([&] { return similar(pixel(), tinted(kDescribedColor, plain, kDescribedAlpha), 2); }))
      << std::hex << pixel() << " on " << plain;
  use.session().keys({"mousemove", "5", "5"});
  EXPECT_TRUE(waitUntil([&] { return pixel() == plain; })) << std::hex << pixel();
}

TEST_P(UseOnEachDesktop, endsOnEscapeOnTheShortcutAndWhenTheUserGoesElsewhere) {
  Use use(GetParam());
  use.program.open();
  use.program.type("can");
  use.program.key("Escape");
  EXPECT_TRUE(use.program.waitUntilClosed());
  EXPECT_TRUE(waitUntil([&] { return use.demoIsActive(); }));

  use.program.open();
  use.program.key(RunningProgram::kShortcut);
  EXPECT_TRUE(use.program.waitUntilClosed());
  EXPECT_TRUE(waitUntil([&] { return use.demoIsActive(); }));

  use.program.open();
  const PixelRect ok = use.partNamed("OK");
  use.session().keys({"mousemove", std::to_string(ok.x + 10), std::to_string(ok.y + 10), "click", "1"});
  EXPECT_TRUE(use.demo.process().waitForLine("clicked OK"));
  EXPECT_TRUE(use.program.waitUntilClosed());

  Process& other = use.session().start({"xmessage", "-title", "Other", "-geometry", "300x200+1000+600", "other"});
  const SessionWindow window = use.session().waitForWindowTitled("Other");
  ASSERT_TRUE(use.session().activate(window.id));
  use.program.open();
  use.session().keys({"mousemove", "700", "20", "click", "1"});
  EXPECT_TRUE(use.program.waitUntilClosed());
  EXPECT_TRUE(other.running());
}

TEST_P(UseOnEachDesktop, losesNoLetterThatFollowsTheShortcutAtOnce) {
  Use use(GetParam());
  const int times = GetParam() == WindowManager::xfwm4 ? 100 : 25;
  for (int i = 0; i < times; ++i) {
    const std::string text = "appl" + std::to_string(i);
    use.session().keys({"key", "--delay", "0", RunningProgram::kShortcut, "type", "--delay", "0", text});
    ASSERT_TRUE(use.program.waitForQuery(text))
        << "the field holds '" << use.program.queryText().value_or("(none)") << "' in round " << i;
    use.program.key("Escape");
    ASSERT_TRUE(use.program.waitUntilClosed());
    ASSERT_TRUE(waitUntil([&] { return use.demoIsActive(); }));
  }
  EXPECT_THAT(use.demo.linesBeginning("text Name"), IsEmpty()) << "typed into the target";
}

// A person who knows what comes first does not wait to see it.
TEST(Use, clicksWhatWasTypedThoughReturnFollowsAtOnce) {
  Use use;
  const std::pair<const char*, const char*> jobs[] = {{"apply", "clicked Apply"},
                                                      {"cancel", "clicked Cancel"},
                                                      {"ok", "clicked OK"},
                                                      {"wrap", "checked Wrap text true"}};
  for (const auto& [query, expected] : jobs) {
    use.session().keys({"key", "--delay", "0", RunningProgram::kShortcut, "type", "--delay", "0", query});
    use.session().keys({"key", "Return"});
    EXPECT_TRUE(use.demo.process().waitForLine(expected)) << query << ": " << use.demo.process().out();
    EXPECT_TRUE(use.program.waitUntilClosed());
    ASSERT_TRUE(waitUntil([&] { return use.demoIsActive(); }));
    ASSERT_TRUE(use.program.waitUntilReturnIsForOthers());
  }
  EXPECT_EQ(use.demo.linesBeginning("pressed ").size(), std::size(jobs));
}

TEST(Use, movesThePointerOnATapOfControlAndFocusesOnTheSecond) {
  Use use;
  const PixelRect email = use.partNamed("Email");
  use.program.open();
  use.program.type("example.org");
  use.program.waitForQuery("example.org");
  use.program.key("Control_L");
  EXPECT_TRUE(waitUntil([&] {
    const std::string at = use.session().run({"xdotool", "getmouselocation", "--shell"}).out;
    int x = 0;
    int y = 0;
    return std::sscanf(at.c_str(), "X=%d\nY=%d", &x, &y) == 2 && email.contains(x, y);
  }));
  EXPECT_TRUE(use.program.isOpen());
  use.session().keys({"key", "--delay", "60", "Control_L", "Control_L"});
  EXPECT_TRUE(use.demo.process().waitForLine("focused Email"));
  EXPECT_TRUE(use.program.waitUntilClosed());
  EXPECT_THAT(use.demo.linesBeginning("pressed "), IsEmpty());
}

TEST(Use, selectsByTheLabelTypedWithControl) {
  Use use;
  const uint32_t plain = boxPixel(use.session(), use.partNamed("Apply"));
  use.program.open();
  use.program.type(".but");
  use.program.waitForQuery(".but");
  const std::vector<Match> matches = use.desktop.jumplark.match(kDemo, ".but");
  ASSERT_GT(matches.size(), 2U);
  const auto shows = [&](uint32_t color) {
    return waitUntil([&] { return similar(boxPixel(use.session(), matches[2].rect), tinted(color, plain)); });
  };
  EXPECT_TRUE(shows(kMatchColor));
  use.program.key("ctrl+" + std::string(1, static_cast<char>(matches[2].label[0] + 32)));
  EXPECT_TRUE(shows(kSelectedColor));
  EXPECT_EQ(use.program.queryText(), ".but") << "the label went into the field";
  use.program.key("Return");
  EXPECT_TRUE(waitUntil([&] { return !use.demo.linesBeginning("pressed ").empty(); }));
  int x = 0;
  int y = 0;
  const std::vector<std::string> pressed = use.demo.linesBeginning("pressed ");
  ASSERT_EQ(pressed.size(), 1U);
  ASSERT_EQ(std::sscanf(pressed[0].c_str(), "pressed %d,%d", &x, &y), 2);
  EXPECT_TRUE(matches[2].rect.contains(x, y)) << pressed[0] << ", wanted " << matches[2].rect;
}

TEST(Use, tellsAScreenReaderWhatIsSelectedAndItsLabel) {
  Use use;
  use.program.open();
  use.program.type(".but");
  use.program.waitForQuery(".but");
  const std::vector<Match> matches = use.desktop.jumplark.match(kDemo, ".but");
  ASSERT_GT(matches.size(), 1U);
  std::optional<AccessibleElement> field;
  const auto tells = [&](const Match& match) {
    return waitUntil([&] {
      const auto elements = readApplication(use.session(), "Jumplark");
      field = findElement(elements, "text", "What to click");
      const size_t comma = field ? field->description.rfind(", ") : std::string::npos;
      return findElement(elements, "dialog", "Jumplark") && comma != std::string::npos && field->is("focused") &&
             match.hasText(field->description.substr(0, comma)) && field->description.substr(comma + 2) == match.label;
    });
  };
  EXPECT_TRUE(tells(matches[0])) << (field ? field->description : "no field");
  use.program.key("Tab");
  EXPECT_TRUE(tells(matches[1])) << (field ? field->description : "no field");
}

TEST(Use, makesAClickADoubleOneOnAReturnRightAfterIt) {
  Use use(WindowManager::xfwm4, "List");
  use.program.open();
  use.program.type("edinburgh");
  use.program.waitForQuery("edinburgh");
  use.program.key("Return");
  ASSERT_TRUE(waitUntil([&] { return !use.demo.linesBeginning("pressed ").empty(); }));
  EXPECT_TRUE(waitUntil([&] { return use.session().heldInput().empty(); }));
  use.program.key("Return");
  EXPECT_TRUE(waitUntil([&] { return !use.demo.linesBeginning("double-pressed ").empty(); }));
}

}  // namespace
}  // namespace jumplark::desktop
