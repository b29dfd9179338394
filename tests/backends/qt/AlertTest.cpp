#include <nlohmann/json.hpp>

#include "backends/qt/ViewsFixture.h"

namespace jumplark {
namespace {

using desktop::waitUntil;
using desktop::WindowManager;

class Alerts : public ViewsTest, public testing::WithParamInterface<WindowManager> {};

TEST_P(Alerts, TakeTheKeyboardAndTellTheAnswer) {
  startViews({.windowManager = GetParam(), .width = 800, .height = 600});
  const struct {
    const char* key;
    const char* answer;
  } cases[] = {{"Return", "chosen 0"}, {"Escape", "chosen -1"}};
  for (const auto& c : cases) {
    views_->command("alert The key is taken|Choose another one.|Use it|Quit");
    const auto isFocused = [&] {
      const uint32_t active = session_->activeWindow();
      return active != 0 && active == views_->queryWindow();  // the only managed window
    };
    ASSERT_TRUE(waitUntil(isFocused));
    session_->keys({"key", c.key});
    EXPECT_TRUE(views_->says(c.answer));
    EXPECT_TRUE(waitUntil([&] { return views_->queryWindow() == 0; }));
  }
  // An alert that nobody answers does not stand in the way of the end.
  views_->command("alert Still there||Yes");
  views_->command("quit");
  EXPECT_EQ(views_->process().wait(), 0);
  EXPECT_EQ(views_->process().err(), "");
}

INSTANTIATE_TEST_SUITE_P(On, Alerts, testing::Values(WindowManager::xfwm4, WindowManager::openbox),
                         [](const auto& info) { return nameOf(info.param); });

TEST(QueryWindowAccessibility, ScreenReaderFindsTheFieldAndTheSelectedMatch) {
  desktop::PrivateSession session({.windowManager = WindowManager::openbox});
  ViewsClient views(session);
  views.showQueryWindow(300, 300);
  session.keys({"type", "sav"});
  ASSERT_TRUE(views.says("text sav"));
  views.command("announce Save as, label S");
  const auto field = [&] {
    const auto read = session.run({JUMPLARK_ACCESSIBLE_READER, "Jumplark"});
    for (const auto& element : nlohmann::json::parse(read.out, nullptr, false)) {
      if (element.is_object() && element["name"] == "What to click") {
        return element;
      }
    }
    return nlohmann::json::object();
  };
  ASSERT_TRUE(waitUntil([&] { return !field().empty(); }));
  const auto found = field();
  EXPECT_EQ(found["role"], "text");
  EXPECT_EQ(found["text"], "sav");
  EXPECT_EQ(found["description"], "Save as, label S");
  EXPECT_NE(found["states"].dump().find("focused"), std::string::npos) << found;
}

}  // namespace
}  // namespace jumplark
