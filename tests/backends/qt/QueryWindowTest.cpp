#include <xcb/xcb.h>

#include <cstdlib>

#include "backends/linux/x11/Reply.h"
#include "backends/qt/ViewsFixture.h"
#include "platform/Input.h"

namespace jumplark {
namespace {

using desktop::waitUntil;
using desktop::WindowManager;

class QueryWindow : public ViewsTest, public testing::WithParamInterface<WindowManager> {
 protected:
  void SetUp() override {
    startViews({.windowManager = GetParam(), .width = 1000, .height = 700});
    other_ = std::make_unique<WindowClient>(*session_, desktop::Arguments{"500x400+100+100", "--title", "other"});
    ASSERT_TRUE(session_->activate(other_->window()));
  }
  void TearDown() override {
    other_.reset();
    ViewsTest::TearDown();
  }
  bool isActive(uint32_t window) {
    return waitUntil([&] { return session_->activeWindow() == window; });
  }
  /// Where the card begins: what the window says of its shadow is taken off.
  desktop::PixelRect card() {
    const auto facts = windows_->window(views_->queryWindow());
    if (!facts) {
      return {};
    }
    const auto& shadow = facts->shadow;
    return {static_cast<int>(facts->surface.x + shadow.left), static_cast<int>(facts->surface.y + shadow.top),
            static_cast<int>(facts->surface.width - shadow.left - shadow.right),
            static_cast<int>(facts->surface.height - shadow.top - shadow.bottom)};
  }

  std::unique_ptr<WindowClient> other_;
};

TEST_P(QueryWindow, TakesTheKeyboardAtItsPlaceAndGivesItBack) {
  for (const auto& [x, y] : {std::pair(300, 500), {0, 0}, {540, 620}}) {
    views_->showQueryWindow(x, y);
    const uint32_t window = views_->queryWindow();
    EXPECT_TRUE(isActive(window));
    EXPECT_TRUE(waitUntil([this, x = x, y = y] { return card().x == x && card().y == y; })) << card();
    views_->command("frame");
    EXPECT_EQ(views_->numbers("frame"), (std::vector<int>{x, y, card().width, card().height}));
    views_->command("text ");
    session_->keys({"type", "--delay", "0", "quit"});
    EXPECT_TRUE(views_->says("text quit"));
    EXPECT_EQ(other_->count("key 24 0x0"), 0U);
    EXPECT_EQ(views_->count("resign"), 0U);

    views_->command("hide");
    EXPECT_TRUE(isActive(other_->window()));
    session_->keys({"key", "q"});
    EXPECT_TRUE(other_->prints("key 24 0x0"));
    // The hiding itself is told, once.
    EXPECT_EQ(views_->count("resign"), 1U);
    TearDown();
    SetUp();
  }
}

TEST_P(QueryWindow, StaysOutOfTaskbarsAndPagers) {
  for (int showing = 0; showing < 2; ++showing) {
    views_->showQueryWindow(300, 300);
    const auto state = [&] {
      return session_->run({"xprop", "-id", std::to_string(views_->queryWindow()), "_NET_WM_STATE"}).out;
    };
    EXPECT_TRUE(waitUntil([&] { return state().find("SKIP_TASKBAR") != std::string::npos; })) << state();
    EXPECT_NE(state().find("SKIP_PAGER"), std::string::npos) << state();
    EXPECT_NE(state().find("ABOVE"), std::string::npos) << state();
    views_->command("hide");
    EXPECT_TRUE(isActive(other_->window()));
  }
}

TEST_P(QueryWindow, TellsALossOfTheKeyboardButNotAGrab) {
  views_->showQueryWindow(300, 300);
  const auto reply = x11::takeReply(
      x_->get(), xcb_grab_keyboard_reply,
      xcb_grab_keyboard(x_->get(), 0, x_->root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
  ASSERT_TRUE(reply && reply->status == XCB_GRAB_STATUS_SUCCESS);
  xcb_ungrab_keyboard(x_->get(), XCB_CURRENT_TIME);
  xcb_flush(x_->get());
  session_->keys({"key", "a"});
  ASSERT_TRUE(views_->says("text a"));
  EXPECT_EQ(views_->count("resign"), 0U);

  ASSERT_TRUE(session_->activate(other_->window()));
  EXPECT_TRUE(views_->says("resign"));
  views_->command("frame");
  EXPECT_EQ(views_->count("resign"), 1U);
}

TEST_P(QueryWindow, TellsAPressOutsideTheCardOnce) {
  views_->showQueryWindow(300, 300);
  views_->command("pressed 310 310");
  EXPECT_EQ(views_->count("resign"), 0U);
  views_->command("pressed 295 310");
  views_->command("pressed 290 310");
  EXPECT_EQ(views_->count("resign"), 1U);
}

TEST_P(QueryWindow, ShownAgainAtOnceKeepsTheKeyboard) {
  for (int i = 0; i < 10; ++i) {
    views_->showQueryWindow(300, 300);
    views_->command("hide");
  }
  const size_t hidings = views_->count("resign");
  views_->showQueryWindow(300, 300);
  session_->keys({"key", "z"});
  ASSERT_TRUE(views_->says("text z"));
  EXPECT_EQ(views_->count("resign"), hidings);
}

INSTANTIATE_TEST_SUITE_P(On, QueryWindow,
                         testing::Values(WindowManager::xfwm4, WindowManager::xfwm4Compositor, WindowManager::openbox,
                                         WindowManager::openboxPicom),
                         [](const auto& info) { return nameOf(info.param); });

class QueryKeys : public ViewsTest {
 protected:
  void press(const std::string& keys, const std::string& expected) {
    views_->command("text ");
    const size_t before = views_->count(expected);
    session_->keys({"key", "--clearmodifiers", keys});
    EXPECT_TRUE(waitUntil([&] { return views_->count(expected) > before; })) << keys << ": " << views_->process().out();
  }
  std::string line(int64_t code, uint64_t flags, const std::string& ignoring) {
    return "key " + std::to_string(code) + " " + std::to_string(flags) + " " + ignoring;
  }
};

TEST_F(QueryKeys, AreToldInTheirOwnTerms) {
  startViews({.windowManager = WindowManager::openbox, .width = 800, .height = 600});
  views_->showQueryWindow(300, 300);
  const struct {
    const char* keys;
    int64_t code;
    uint64_t flags;
    const char* ignoring;
  } cases[] = {
      {"Return", key_code::returnKey, 0, "\r"},
      {"KP_Enter", key_code::returnKey, 0, "\r"},
      {"Escape", key_code::escape, 0, "\x1b"},
      {"Tab", key_code::tab, 0, "\t"},
      {"shift+Tab", key_code::tab, modifier_flag::shift, "\t"},
      {"F5", key_code::symbolBase + 0xFFC2, 0, ""},
      {"ctrl+a", key_code::symbolBase + 'a', modifier_flag::control, "a"},
      {"super+r", key_code::symbolBase + 'r', modifier_flag::command, "r"},
      {"super+comma", key_code::symbolBase + ',', modifier_flag::command, ","},
      {"alt+x", key_code::symbolBase + 'x', modifier_flag::option, "x"},
      {"shift+a", key_code::symbolBase + 'a', modifier_flag::shift, "a"},
  };
  for (const auto& c : cases) {
    press(c.keys, line(c.code, c.flags, c.ignoring));
  }
  // Only the last of them is text.
  EXPECT_EQ(views_->last("text"), "A") << views_->process().out();
  EXPECT_EQ(views_->last("equivalent"), std::to_string(key_code::symbolBase + ',')) << "combinations with Command only";
  // The modifiers themselves are no keys.
  EXPECT_EQ(views_->process().out().find("key " + std::to_string(key_code::symbolBase + 0xFFE3)), std::string::npos);

  session_->run({"setxkbmap", "-layout", "ru,us"});
  press("ctrl+a", line(key_code::symbolBase + 'a', modifier_flag::control, "a"));

  // Without the monitor the field edits as fields do, and keys that it does not have reach the window.
  views_->command("monitor 0");
  views_->command("unfocus");
  session_->keys({"key", "Escape"});
  EXPECT_TRUE(views_->says("windowkey 53"));
}

TEST_F(QueryKeys, WindowGrowsByTheNoticeWithinTheScreen) {
  startViews({.windowManager = WindowManager::openbox, .width = 800, .height = 600});
  views_->showQueryWindow(100, 540);
  views_->command("frame");
  const auto before = views_->numbers("frame");
  views_->command("notice Nothing to match here.");
  views_->command("frame");
  const auto with = views_->numbers("frame");
  EXPECT_GT(with[3], before[3]);
  EXPECT_LE(with[1] + with[3], 600);
  EXPECT_EQ(with[0], before[0]);
  // In as many lines as it needs, also for what has no spaces.
  views_->command("notice Start it with JAVA_TOOL_OPTIONS=-Dassistive=org.example.Wrapper" + std::string(300, 'x'));
  views_->command("frame");
  const auto tall = views_->numbers("frame");
  EXPECT_GT(tall[3] - before[3], 4 * (with[3] - before[3]) / 2);
  EXPECT_LE(tall[1] + tall[3], 600);
  EXPECT_EQ(tall[2], before[2]);
  views_->command("notice ");
  views_->command("frame");
  EXPECT_EQ(views_->numbers("frame")[3], before[3]);
  EXPECT_EQ(views_->count("resign"), 0U);
}

}  // namespace
}  // namespace jumplark
