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

TEST_P(Alerts, WaitWhileTheUserSearchesAndLeaveTheKeyboardWhereItIs) {
  startViews({.windowManager = GetParam(), .width = 800, .height = 600});
  const WindowClient editor(*session_, {"300x200+20+20", "--title", "Editor"});
  ASSERT_TRUE(session_->activate(editor.window()));
  views_->command("quiet-alert There is no icon||OK");
  const auto isShown = [&] { return views_->queryWindow() != 0; };  // the only managed window
  ASSERT_TRUE(waitUntil(isShown));
  const uint32_t alert = views_->queryWindow();
  const auto typingReachesTheEditor = [&] {
    const size_t before = editor.lines("key").size();
    session_->keys({"key", "a"});
    return waitUntil([&] { return editor.lines("key").size() > before; }) &&
           session_->activeWindow() == editor.window();
  };
  EXPECT_TRUE(typingReachesTheEditor());
  views_->showQueryWindow(100, 400);
  EXPECT_TRUE(waitUntil([&] { return isShown() && views_->queryWindow() != alert; })) << "it gets no click";
  views_->command("alert There is more||Yes");
  views_->command("hide");
  ASSERT_TRUE(session_->activate(editor.window()));
  EXPECT_TRUE(waitUntil([&] { return views_->queryWindow() == alert; }));
  EXPECT_TRUE(typingReachesTheEditor());
  ASSERT_TRUE(session_->activate(alert));
  session_->keys({"key", "Return"});
  EXPECT_TRUE(waitUntil([&] { return isShown() && views_->queryWindow() != alert; })) << "one after the other";
}

INSTANTIATE_TEST_SUITE_P(On, Alerts, testing::Values(WindowManager::xfwm4, WindowManager::openbox),
                         [](const auto& info) { return nameOf(info.param); });

}  // namespace
}  // namespace jumplark
