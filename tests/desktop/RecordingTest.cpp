#include <fstream>
#include <iterator>
#include <regex>

#include "desktop/DesktopTest.h"

namespace jumplark::desktop {
namespace {

using testing::HasSubstr;
using testing::Not;

enum class Names { stay, changeEachTime };

std::string withoutNames(const std::string& output) {
  static const std::regex kNames(R"re(Hash="\d+"|"hash": \d+|"id": "[^"]*")re");
  return std::regex_replace(output, kNames, "");
}

// To the last character: a recording keeps the ids of the live desktop, hence the hashes too. Only the items of Qt's
// views have new ids each time that they are asked for.
void expectTheSameOffline(Desktop& desktop, const std::string& application, const std::vector<std::string>& queries,
                          Names names = Names::stay) {
  const std::string file = desktop.session.folder() + "/recorded.json";
  const Finished recorded = desktop.jumplark.run({"record", "--app", application, "-o", file});
  ASSERT_EQ(recorded.status, 0) << recorded.err;
  std::vector<Arguments> questions = {{"tree"}};
  for (const std::string& query : queries) {
    questions.push_back({"match", "--json", query});
  }
  for (Arguments question : questions) {
    SCOPED_TRACE(question.back());
    question.insert(question.begin() + 1, {"--app", application});
    const Finished live = desktop.jumplark.run(question);
    EXPECT_EQ(live.status, 0) << live.err;
    question[1] = "--desktop";
    question[2] = file;
    const Finished offline = desktop.jumplark.run(question);
    EXPECT_EQ(offline.status, 0) << offline.err;
    if (names == Names::stay) {
      EXPECT_EQ(offline.out, live.out);
    } else {
      EXPECT_EQ(withoutNames(offline.out), withoutNames(live.out));
    }
  }
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
    const bool hasItems = page != std::string("Form");
    expectTheSameOffline(desktop, DemoProgram::kName, queries, hasItems ? Names::changeEachTime : Names::stay);
    std::ifstream file(desktop.session.folder() + "/recorded.json");
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
