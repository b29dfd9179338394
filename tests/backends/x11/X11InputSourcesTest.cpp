#include "backends/linux/x11/X11InputSources.h"

#include <algorithm>
#include <clocale>
#include <cstdlib>

#include "backends/x11/X11Fixture.h"

namespace jumplark {
namespace {

class X11InputSourcesTest : public X11Test {
 protected:
  void SetUp() override { start({.windowManager = desktop::WindowManager::none}); }
  void setLayouts(const desktop::Arguments& arguments) {
    desktop::Arguments all = {"setxkbmap"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    ASSERT_EQ(session_->run(all).status, 0);
  }
  static std::vector<std::pair<std::string, std::string>> named(const std::vector<InputSource>& sources) {
    std::vector<std::pair<std::string, std::string>> result;
    std::ranges::transform(sources, std::back_inserter(result),
                           [](const auto& source) { return std::pair(source.identifier, source.localizedName); });
    return result;
  }
};

TEST_F(X11InputSourcesTest, listsLayoutsWithTheirVariants) {
  using Named = std::vector<std::pair<std::string, std::string>>;
  const std::pair<desktop::Arguments, Named> cases[] = {
      {{"us"}, {{"us", "English (US)"}}},
      {{"-layout", "us,de,ru", "-variant", ",neo,"},
       {{"us", "English (US)"}, {"de(neo)", "German (Neo 2)"}, {"ru", "Russian"}}},
      {{"-layout", "de(nodeadkeys),us", "-variant", ""},
       {{"de(nodeadkeys)", "German (no dead keys)"}, {"us", "English (US)"}}},
  };
  X11InputSources sources(x_);
  for (const auto& [arguments, expected] : cases) {
    setLayouts(arguments);
    EXPECT_EQ(named(sources.selectableKeyboardLayouts()), expected);
  }
}

TEST_F(X11InputSourcesTest, namesAreInTheUsersLanguage) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  ASSERT_TRUE(std::setlocale(LC_ALL, "C.UTF-8"));
  setenv("LANGUAGE", "de", 1);
  setLayouts({"ru"});
  const auto all = X11InputSources(x_).selectableKeyboardLayouts();
  unsetenv("LANGUAGE");
  std::setlocale(LC_ALL, before.c_str());
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all.front().localizedName, "Russisch");
}

TEST_F(X11InputSourcesTest, selectsForTheWholeSession) {
  setLayouts({"us,de,ru"});
  X11InputSources sources(x_);
  EXPECT_EQ(sources.currentKeyboardLayout()->identifier, "us");
  EXPECT_TRUE(sources.select("ru"));
  EXPECT_EQ(X11InputSources(X11Connection::open(session_->display()).connection).currentKeyboardLayout()->identifier,
            "ru");
  EXPECT_FALSE(sources.select("fr"));
  EXPECT_EQ(sources.currentKeyboardLayout()->identifier, "ru");
  EXPECT_TRUE(sources.select("us"));
  EXPECT_EQ(sources.currentKeyboardLayout()->identifier, "us");
}

}  // namespace
}  // namespace jumplark
