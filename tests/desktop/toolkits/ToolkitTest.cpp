#include "desktop/toolkits/Toolkits.h"

namespace jumplark::desktop {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

void expectOnItsPixels(PrivateSession& session, const PixelRect& box, uint32_t colour, int slack) {
  const int inside = slack;
  const int outside = slack + 1;
  const int right = box.x + box.width - 1;
  const int bottom = box.y + box.height - 1;
  const auto shows = [&](int x, int y) { return session.pixel(x, y) == colour; };
  EXPECT_TRUE(waitUntil([&] { return shows(box.x + inside, box.y + inside); })) << box;
  EXPECT_TRUE(shows(right - inside, bottom - inside)) << box;
  EXPECT_FALSE(shows(box.x - outside, box.y + box.height / 2)) << box;
  EXPECT_FALSE(shows(right + outside, box.y + box.height / 2)) << box;
  EXPECT_FALSE(shows(box.x + box.width / 2, box.y - outside)) << box;
  EXPECT_FALSE(shows(box.x + box.width / 2, bottom + outside)) << box;
}

/// Where the application counts from: the screen, or a place that the window's first element tells.
PixelRect originOf(const Application& application, const Subject& subject, const Matches& matches) {
  for (const AccessibleElement& element : application.elements()) {
    for (const Match& match : matches) {
      if (isWayland(subject.windowManager) && subject.roles.contains(element.role) && match.hasText(element.name) &&
          match.rect.width == element.rect.width) {
        return {match.rect.x - element.rect.x, match.rect.y - element.rect.y};
      }
    }
  }
  return {};
}

/// The desktop's accessibility library tells the truth to compare with.
void expectWhatTheApplicationTells(const Application& application, const Subject& subject, const Matches& matches) {
  constexpr int kSmallestChoice = 5;
  const PixelRect origin = originOf(application, subject, matches);
  size_t expected = 0;
  for (const AccessibleElement& element : application.elements()) {
    const auto roles = subject.roles.find(element.role);
    // Pictures in rows have no name, and are no things to choose.
    const bool isPicture = element.role == "table cell" && element.name.empty();
    if (roles == subject.roles.end() || isPicture ||
        std::min(element.rect.width, element.rect.height) < kSmallestChoice) {
      continue;
    }
    ++expected;
    const PixelRect place{element.rect.x + origin.x, element.rect.y + origin.y, element.rect.width,
                          element.rect.height};
    EXPECT_TRUE(std::ranges::any_of(matches,
                                    [&](const Match& match) {
                                      return roles->second.contains(match.role) && match.rect == place &&
                                             (element.name.empty() || element.name.ends_with("-symbolic") ||
                                              match.hasText(element.name) || match.role == "TextField");
                                    }))
        << element.role << " '" << element.name << "' at " << element.rect;
  }
  EXPECT_GE(expected, subject.atLeast);
}

class Toolkit : public ::testing::TestWithParam<Subject> {};

TEST_P(Toolkit, showsEachThingOnceWhereItIsAndDoesWhatAClickWouldDo) {
  const Subject& subject = GetParam();
  Desktop desktop(SessionOptions{.windowManager = subject.windowManager,
                                 .width = static_cast<int>(Desktop::kWidth * subject.scale),
                                 .height = static_cast<int>(Desktop::kHeight * subject.scale),
                                 .monitors = subject.monitors,
                                 .scale = subject.scale,
                                 .scaleOfMonitors = subject.scaleOfMonitors});
  Application application(desktop, subject.program(desktop.session));
  const Matches matches = application.matchesWith(subject.shown[0].role, subject.shown[0].texts[0]);
  EXPECT_THAT(notThere(matches, subject.shown), IsEmpty()) << "among:" << describe(matches);
  const std::set<std::string> texts = allTexts(matches);
  for (const std::string& hidden : subject.hidden) {
    EXPECT_FALSE(texts.contains(hidden)) << hidden << " does not show";
  }
  expectWhatTheApplicationTells(application, subject, matches);
  for (const Coloured& coloured : subject.coloured) {
    SCOPED_TRACE(coloured.text);
    const Match* match = find(matches, coloured.role, coloured.text);
    ASSERT_TRUE(match);
    expectOnItsPixels(desktop.session, match->rect, coloured.colour, subject.slack);
  }
  const std::string tree = desktop.jumplark.run("tree", application.target(), {"--all"}).out;
  EXPECT_THAT(tree, Not(HasSubstr("correct horse")));
  EXPECT_TRUE(!subject.hasPassword || tree.find("Subrole=\"SecureTextField\"") != std::string::npos);
  if (!subject.queries.empty()) {
    expectTheSameOffline(application, subject.queries);
  }
  for (const Preparation& holds : subject.alsoHolds) {
    holds(application);
  }

  for (const Step& step : subject.steps) {
    SCOPED_TRACE(step.query);
    if (step.applies && !step.applies(application)) {
      continue;
    }
    perform(step, application);
    ASSERT_TRUE(waitUntil([&] { return step.effect(application); })) << describe(application.matches());
  }
  EXPECT_TRUE(application.process().running()) << application.process().err();
}

const auto kName = [](const auto& info) { return info.param.name; };
INSTANTIATE_TEST_SUITE_P(Gtk, Toolkit, ::testing::ValuesIn(gtkSubjects()), kName);
INSTANTIATE_TEST_SUITE_P(Web, Toolkit, ::testing::ValuesIn(webSubjects()), kName);
INSTANTIATE_TEST_SUITE_P(Other, Toolkit, ::testing::ValuesIn(otherSubjects()), kName);
INSTANTIATE_TEST_SUITE_P(Sway, Toolkit, ::testing::ValuesIn(waylandSubjects(WindowManager::sway)), kName);
INSTANTIATE_TEST_SUITE_P(Gnome, Toolkit, ::testing::ValuesIn(waylandSubjects(WindowManager::gnome)), kName);
INSTANTIATE_TEST_SUITE_P(KWin, Toolkit, ::testing::ValuesIn(waylandSubjects(WindowManager::kwin)), kName);

}  // namespace
}  // namespace jumplark::desktop
