#include "backends/qt/ViewsFixture.h"

namespace jumplark {
namespace {

using desktop::WindowManager;

class Alerts : public ViewsTest, public testing::WithParamInterface<WindowManager> {
 protected:
  void SetUp() override { startViews({.windowManager = GetParam(), .width = 800, .height = 600}); }
  void show(const Alert& alert) {
    views_->showAlert(alert, [this](int button) { told_.push_back("chosen " + std::to_string(button)); });
  }
};

TEST_P(Alerts, waitWhileTheUserSearchesAndLeaveTheKeyboardWhereItIs) {
  const WindowClient editor(*session_, {20, 20, 300, 200});
  ASSERT_TRUE(session_->activate(editor.window()));
  show({.title = "There is no icon", .text = "", .buttons = {"OK"}, .takesKeyboard = false});
  ASSERT_TRUE(await([&] { return ownWindow() != 0; }));
  const uint32_t alert = ownWindow();
  const auto showsAnother = [&] { return ownWindow() != 0 && ownWindow() != alert; };
  const auto typingReachesTheEditor = [&] {
    const size_t before = editor.lines("key").size();
    session_->keys({"key", "a"});
    return await([&] { return editor.lines("key").size() > before; }) && session_->activeWindow() == editor.window();
  };
  EXPECT_TRUE(typingReachesTheEditor());
  showQueryWindow(100, 400);
  EXPECT_TRUE(await(showsAnother)) << "it gets no click";
  show({"There is more", "", {"Yes"}});
  query_->orderOut();
  ASSERT_TRUE(session_->activate(editor.window()));
  EXPECT_TRUE(await([&] { return ownWindow() == alert; }));
  EXPECT_TRUE(typingReachesTheEditor());
  windows_->requestActive(alert, true);
  ASSERT_TRUE(await([&] { return session_->activeWindow() == alert; }));
  session_->keys({"key", "Return"});
  EXPECT_TRUE(says("chosen 0"));
  EXPECT_TRUE(await(showsAnother)) << "one after the other";
  // The other one, which nobody answers, does not stand in the way of the end.
}

INSTANTIATE_TEST_SUITE_P(On, Alerts, testing::Values(WindowManager::xfwm4, WindowManager::openbox), byWindowManager);

}  // namespace
}  // namespace jumplark
