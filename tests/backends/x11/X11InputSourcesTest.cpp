#include "backends/linux/x11/X11InputSources.h"

#include <clocale>

#include "backends/x11/X11Fixture.h"

namespace jumplark {
namespace {

class X11InputSourcesTest : public X11Test {};

TEST_F(X11InputSourcesTest, listsLayoutsWithTheirVariantsInTheUsersLanguageAndSelectsThemForEverybody) {
  start({.windowManager = desktop::WindowManager::none});
  using Named = std::vector<std::pair<std::string, std::string>>;
  const struct {
    const char* language;
    desktop::Arguments change;
    Named expected;
  } cases[] = {
      {"", {"setxkbmap", "us"}, {{"us", "English (US)"}}},
      {"",
       {"setxkbmap", "-layout", "us,de,ru", "-variant", ",neo,"},
       {{"us", "English (US)"}, {"de(neo)", "German (Neo 2)"}, {"ru", "Russian"}}},
      {"",
       {"setxkbmap", "-layout", "de(nodeadkeys),us", "-variant", ""},
       {{"de(nodeadkeys)", "German (no dead keys)"}, {"us", "English (US)"}}},
      {"de", {"setxkbmap", "ru"}, {{"ru", "Russisch"}}},
  };
  const std::string before = std::setlocale(LC_ALL, nullptr);
  ASSERT_TRUE(std::setlocale(LC_ALL, "C.UTF-8"));
  X11InputSources sources(x_);
  for (const auto& [language, change, expected] : cases) {
    ASSERT_EQ(session_->run(change).status, 0);
    setenv("LANGUAGE", language, 1);
    Named named;
    for (const InputSource& source : sources.selectableKeyboardLayouts()) {
      named.emplace_back(source.identifier, source.localizedName);
    }
    EXPECT_EQ(named, expected);
  }
  EXPECT_FALSE(sources.select("fr"));
  ASSERT_EQ(session_->run({"setxkbmap", "us,ru"}).status, 0);
  X11InputSources others(X11Connection::open(session_->display()).connection);
  for (const std::string layout : {"ru", "us"}) {
    EXPECT_TRUE(sources.select(layout));
    EXPECT_EQ(others.currentKeyboardLayout().value_or(InputSource()).identifier, layout);
  }
  unsetenv("LANGUAGE");
  std::setlocale(LC_ALL, before.c_str());
}

}  // namespace
}  // namespace jumplark
