#include <algorithm>

#include "desktop/DesktopTest.h"

namespace jumplark::desktop {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

bool holds(const std::vector<Match>& matches, const std::string& role, const std::string& part) {
  return std::any_of(matches.begin(), matches.end(), [&](const Match& match) {
    return match.role == role && std::any_of(match.texts.begin(), match.texts.end(), [&](const auto& text) {
             return text.second.find(part) != std::string::npos;
           });
  });
}

// Plain words are no elements of their own in this browser, and a box does not tell what is chosen in it.
TEST(Firefox, showsWordsBetweenOtherThingsAndDoesWhatAClickWouldDo) {
  Desktop desktop;
  Process& browser =
      desktop.session.start({"firefox-esr", "--no-remote", "--new-instance", "file://" JUMPLARK_PAGES "/mixed.html"});
  const auto showsTitle = [&](const std::string& beginning) {
    return waitUntil([&] {
      return desktop.session
          .findWindow([&](const SessionWindow& window) { return window.title.starts_with(beginning); })
          .has_value();
    });
  };
  ASSERT_TRUE(showsTitle("Mixed"));
  ASSERT_TRUE(desktop.session.activate(desktop.session.waitForWindowOf(browser.pid()).id));
  const Arguments target = {"--pid", std::to_string(browser.pid())};
  ASSERT_TRUE(waitUntil([&] { return !readApplication(desktop.session, "Firefox").empty(); }));
  std::vector<Match> matches;
  ASSERT_TRUE(waitUntil([&] { return find(matches = desktop.jumplark.everything(target), "Button", "Second"); }))
      << describe(matches);
  const std::pair<const char*, const char*> expected[] = {
      {"StaticText", "Heading One"},
      {"StaticText", "Some plain words with"},
      {"Link", "an inline link"},
      {"StaticText", "Words beside"},
      {"Cell", "Listed words"},
      {"StaticText", "after it"},
      {"Link", "Listed Link"},
      {"Cell", "Cell Words"},
      {"Cell", "before"},
      {"Link", "Cell Link"},
      {"StaticText", "Your name"},
      {"TextField", "typed name"},
      {"CheckBox", "I agree"},
      {"PopUpButton", "Crimson"},
      {"Button", "Reload"},
  };
  std::vector<std::string> missing;
  for (const auto& [role, part] : expected) {
    if (!holds(matches, role, part)) {
      missing.push_back(std::string(role) + " '" + part + "'");
    }
  }
  EXPECT_THAT(missing, IsEmpty()) << "among:" << describe(matches);
  EXPECT_FALSE(holds(matches, "StaticText", "Never Shown") || holds(matches, "StaticText", "Far Below"));
  EXPECT_THAT(desktop.jumplark.run({"tree", target[0], target[1]}).out, Not(HasSubstr("correct horse")));

  const auto act = [&](const std::string& query) {
    EXPECT_EQ(desktop.jumplark.run({"act", target[0], target[1], query}).status, 0) << query;
  };
  act("inline link");
  EXPECT_TRUE(showsTitle("Did link"));
  act("second");
  EXPECT_TRUE(showsTitle("Did button"));
  act("crimson");
  ASSERT_TRUE(waitUntil([&] { return holds(desktop.jumplark.everything(target), "MenuItem", "Turquoise"); }));
  act("turquoise");
  EXPECT_TRUE(showsTitle("Did Turquoise"));
}

}  // namespace
}  // namespace jumplark::desktop
