#include <algorithm>

#include "desktop/DesktopTest.h"

namespace jumplark::desktop {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class Swing : public testing::Test {
 protected:
  /// A Java program is on the accessibility bus only if the wrapper was named at its start.
  void start(bool named = true) {
    Arguments arguments = {"java", "-cp", "/usr/share/java/java-atk-wrapper.jar:" JUMPLARK_DEMO_SWING};
    if (named) {
      arguments.insert(arguments.begin() + 1,
                       "-Djavax.accessibility.assistive_technologies=org.GNOME.Accessibility.AtkWrapper");
    }
    arguments.emplace_back("Demo");
    Process& program = desktop.session.start(arguments);
    const SessionWindow window = desktop.session.waitForWindowTitled("Swing Demo");
    target = {"--pid", std::to_string(program.pid())};
    EXPECT_TRUE(desktop.session.activate(window.id));
    if (named) {
      EXPECT_TRUE(waitUntil([&] { return !readApplication(desktop.session, "Swing Demo").empty(); })) << program.err();
    }
  }

  /// What could be chosen, once that has come to hold one thing.
  std::vector<Match> matchesWith(const std::string& role, const std::string& text) {
    std::vector<Match> matches;
    EXPECT_TRUE(waitUntil([&] { return find(matches = desktop.jumplark.everything(target), role, text); }))
        << role << " '" << text << "' among:" << describe(matches);
    return matches;
  }
  /// Does what a query finds, and waits for what the program says that was done.
  void act(const std::string& query, const std::string& title) {
    const Finished finished = desktop.jumplark.run({"act", target[0], target[1], query});
    EXPECT_EQ(finished.status, 0) << query << ": " << finished.err;
    EXPECT_TRUE(waitUntil([&] {
      return desktop.session.findWindow([&](const SessionWindow& window) { return window.title == title; }).has_value();
    })) << query
        << ": " << finished.out;
  }
  void expectOnItsPixels(const PixelRect& r, uint32_t colour) {
    const auto shows = [&](int x, int y) { return desktop.session.pixel(x, y) == colour; };
    EXPECT_TRUE(waitUntil([&] { return shows(r.x, r.y); })) << r;
    EXPECT_TRUE(shows(r.x + r.width - 1, r.y + r.height - 1)) << r;
    EXPECT_FALSE(shows(r.x - 1, r.y) || shows(r.x + r.width, r.y) || shows(r.x, r.y - 1) || shows(r.x, r.y + r.height))
        << r;
  }

  void expectWindow() {
    const std::vector<Match> matches = matchesWith("Cell", "Item 1");
    EXPECT_THAT(notThereOnce(matches, {{"MenuBarItem", "File"},
                                       {"MenuBarItem", "Arrange"},
                                       {"StaticText", "Your name"},
                                       {"TextField", "typed name"},
                                       {"TextField", "Secret"},
                                       {"Button", "Plain Button"},
                                       {"Button", "Disabled Button"},
                                       {"CheckBox", "I agree"},
                                       {"Button", "Pinned"},
                                       {"RadioButton", "Small size"},
                                       {"RadioButton", "Large size"},
                                       {"PopUpButton", "Crimson"},
                                       {"ComboBox", "Berlin"},
                                       {"Slider", "Volume"},
                                       {"TextField", "17"},
                                       {"Button", "Tip Only"},
                                       {"RadioButton", "Names"},
                                       {"RadioButton", "Numbers"},
                                       {"Cell", "Item 1"},
                                       {"Cell", "Item 20"}}),
                IsEmpty())
        << "among:" << describe(matches);
    const std::set<std::string> texts = allTexts(matches);
    for (const char* hidden :
         {"Item 100", "Row 1", "Fruit", "Count Words", "Never Shown", "Import", "Turquoise", "Certainly"}) {
      EXPECT_EQ(texts.count(hidden), 0U) << hidden << " does not show";
    }
    if (const Match* plain = find(matches, "Button", "Plain Button")) {
      expectOnItsPixels(plain->rect, 0x20a041);
    }
    EXPECT_THAT(desktop.jumplark.run({"tree", target[0], target[1], "--all"}).out,
                testing::AllOf(Not(HasSubstr("correct horse")), HasSubstr("Subrole=\"SecureTextField\"")));
  }

  Desktop desktop;
  Arguments target;
};

TEST_F(Swing, showsEachThingOnceAndDoesWhatAClickWouldDo) {
  start();
  expectWindow();
  act("plain button", "Did plain");
  act("i agree", "Did agree true");
  act("item 12", "Did list Item 12");
  act("numbers", "Did tab Numbers");
  const std::vector<Match> rows = matchesWith("Cell", "Row 7");
  EXPECT_TRUE(find(rows, "StaticText", "Square")) << describe(rows);
  EXPECT_EQ(std::count_if(rows.begin(), rows.end(), [](const Match& match) { return match.hasText("Row 7"); }), 1);
  EXPECT_FALSE(find(rows, "Cell", "Row 100") || find(rows, "Cell", "Item 1"));
  act("row 7", "Did row 7");
  act("folders", "Did tab Folders");
  act("fruit kind", "Did tree Fruit Kind");
  act("crimson", "Did tree Fruit Kind");
  matchesWith("Cell", "Turquoise");
  act("turquoise", "Did colour Turquoise");
  act("offer", "Did colour Turquoise");
  matchesWith("MenuItem", "Second Offer");
  act("second offer", "Did second offer");
  act("ask", "Question");
  const std::vector<Match> dialog = matchesWith("Button", "Certainly");
  EXPECT_EQ(dialog.size(), 2U) << "the dialog alone:" << describe(dialog);
  act("certainly", "Did certainly");
}

TEST_F(Swing, isToldHowToStartAProgramThatShowsNothing) {
  start(false);
  EXPECT_THAT(
      desktop.jumplark.run({"doctor"}).out,
      testing::AllOf(HasSubstr("is not on the accessibility bus"), HasSubstr("Java programs show what they hold"),
                     HasSubstr("JAVA_TOOL_OPTIONS='-Djavax.accessibility.assistive_technologies="
                               "org.GNOME.Accessibility.AtkWrapper ")));
}

}  // namespace
}  // namespace jumplark::desktop
