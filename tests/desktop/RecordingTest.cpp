#include <fstream>
#include <iterator>
#include <regex>

#include "desktop/DesktopTest.h"

namespace jumplark::desktop {
namespace {

using testing::HasSubstr;
using testing::Not;

// A recording names its elements differently, and hashes are of the names.
std::string withoutHashes(const std::string& xml) {
  return std::regex_replace(xml, std::regex(R"( Hash="\d+")"), "");
}

std::string asText(const std::vector<Match>& matches) {
  std::string text;
  for (const Match& match : matches) {
    text += match.label + ' ' + std::to_string(match.score) + ' ' + match.role + '/' + match.subrole + ' ' +
            std::to_string(match.rect.x) + ',' + std::to_string(match.rect.y) + ' ' + std::to_string(match.rect.width) +
            'x' + std::to_string(match.rect.height);
    for (const auto& [key, value] : match.texts) {
      text.append(" ").append(key).append("=").append(value);
    }
    text += '\n';
  }
  return text;
}

void expectTheSameOffline(Desktop& desktop, const std::string& application, const std::vector<std::string>& queries) {
  const std::string file = desktop.session.folder() + "/" + application + ".json";
  const Finished recorded = desktop.jumplark.run({"record", "--app", application, "-o", file});
  ASSERT_EQ(recorded.status, 0) << recorded.err;
  for (const std::string& query : queries) {
    const std::vector<Match> live = desktop.jumplark.match({"--app", application}, query);
    EXPECT_FALSE(live.empty()) << query;
    EXPECT_EQ(asText(desktop.jumplark.match({"--desktop", file}, query)), asText(live)) << query;
  }
  const Finished live = desktop.jumplark.run({"tree", "--app", application});
  const Finished offline = desktop.jumplark.run({"tree", "--desktop", file});
  ASSERT_EQ(live.status, 0) << live.err;
  ASSERT_EQ(offline.status, 0) << offline.err;
  EXPECT_EQ(withoutHashes(offline.out), withoutHashes(live.out));
}

TEST(Recording, givesOfflineWhatTheDemonstrationGivesLive) {
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"Form", {".", "f", "wrap", ".but"}}, {"Table", {".", "item", "value 1"}}, {"Tree", {".", "fruits"}}};
  for (const auto& [page, queries] : cases) {
    SCOPED_TRACE(page);
    Desktop desktop;
    const DemoProgram demo(desktop.session, page);
    // The pointer over the window, so that nearness counts.
    desktop.session.keys({"mousemove", "240", "260"});
    expectTheSameOffline(desktop, DemoProgram::kName, queries);
    std::ifstream file(desktop.session.folder() + "/" + DemoProgram::kName + ".json");
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    ASSERT_THAT(text, HasSubstr("Demo"));
    EXPECT_THAT(text, Not(HasSubstr("correct horse")));
  }
}

TEST(Recording, givesOfflineWhatTheWidgetFactoryGivesLive) {
  Desktop desktop;
  startWidgetFactory(desktop.session);
  expectTheSameOffline(desktop, kWidgetFactory, {".", "button", "page", "lorem"});
}

TEST(Recording, givesOfflineWhatMousepadGivesLive) {
  Desktop desktop;
  startMousepad(desktop.session, writeLongText(desktop.session));
  expectTheSameOffline(desktop, "mousepad", {".", "search", "line"});
}

TEST(Recording, givesOfflineWhatKcalcGivesLive) {
  Desktop desktop;
  startKcalc(desktop.session);
  expectTheSameOffline(desktop, "kcalc", {".", "7", "set"});
}

TEST(Recording, goesToStandardOutputWithoutAFile) {
  Desktop desktop;
  const DemoProgram demo(desktop.session);
  const Finished recorded = desktop.jumplark.run({"record", "--app", DemoProgram::kName});
  ASSERT_EQ(recorded.status, 0) << recorded.err;
  const std::string file = desktop.session.folder() + "/piped.json";
  std::ofstream(file) << recorded.out;
  EXPECT_TRUE(find(desktop.jumplark.everything({"--desktop", file}), "Button", "OK"));
}

}  // namespace
}  // namespace jumplark::desktop
