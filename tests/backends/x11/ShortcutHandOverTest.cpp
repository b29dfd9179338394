#include <gmock/gmock.h>

#include "backends/linux/x11/Reply.h"
#include "backends/x11/ShortcutFixture.h"

namespace jumplark {
namespace {

using desktop::waitUntil;
using testing::ElementsAre;
using testing::IsEmpty;

/// What becomes of the keys around a press.
class ShortcutHandOverTest : public ShortcutTest {};

TEST_F(ShortcutHandOverTest, arrivalCountsOnlyAfterThePressAndWithTheHandlersAnswer) {
  const Token token = registered(true);
  shortcuts_->keyboardArrived();
  session_->keys({"key", kPress});
  ASSERT_TRUE(waitUntil([&] { return queue_.size() == 1; }));
  shortcuts_->keyboardArrived();
  EXPECT_EQ(shortcuts_->lastHandOver().end, ShortcutHandOver::End::pending);
  queue_.runAll();
  EXPECT_TRUE(waitForEnd(ShortcutHandOver::End::arrived));
  EXPECT_NE(windows_->userTime(), 0U);
  EXPECT_EQ(windows_->userTime(), shortcuts_->lastHandOver().xTime);
  EXPECT_NE(shortcuts_->lastFrozenInterval(), Duration(0));
}

TEST_F(ShortcutHandOverTest, keysTypedAfterARefusalReachTheTarget) {
  const Token token = registered(false);
  session_->keys({"keydown", "super", "keydown", "shift", "keydown", "space", "key", "b", "keyup", "space", "keyup",
                  "shift", "keyup", "super", "type", "--delay", "0", "ab"});
  ASSERT_TRUE(waitForPresses(1));
  ASSERT_TRUE(target_->prints("key 56 0x0"));
  EXPECT_EQ(target_->count("key 56 0x41"), 1U) << "struck while the shortcut was still down";
  EXPECT_EQ(target_->count("key 38 0x0"), 1U);
  EXPECT_TRUE(keyboardIsFree());
}

TEST_F(ShortcutHandOverTest, aBlockedMainThreadHoldsTheKeyboardNoLongerThanTheDeadline) {
  const Token token = registered(true);
  session_->keys({"key", kPress, "type", "--delay", "0", "hi"});
  ASSERT_TRUE(waitForEnd(ShortcutHandOver::End::deadline));
  EXPECT_TRUE(target_->prints("key 31 0x0"));
  // Pressed again out of impatience: the window opens once.
  session_->keys({"key", kPress});
  ASSERT_TRUE(waitUntil([&] { return shortcuts_->lastHandOver().press == 2; }));
  EXPECT_TRUE(waitForPresses(1));
  EXPECT_TRUE(waitForEnd(ShortcutHandOver::End::arrived));
  EXPECT_EQ(queue_.runAll(), 0U);
}

TEST_F(ShortcutHandOverTest, holdingTheShortcutIsOnePress) {
  letKeysRepeat();
  const Token token = registered(true);
  // The user holds it for a while, then goes on typing.
  session_->keys({"keydown", "super", "keydown", "shift", "keydown", "space"});
  ASSERT_TRUE(waitForPresses(1));
  ASSERT_TRUE(waitForEnd(ShortcutHandOver::End::arrived));
  session_->keys({"keydown", "space", "keydown", "space", "keyup", "super", "keydown", "space", "keyup", "shift",
                  "keydown", "space", "keyup", "space", "key", "a"});
  ASSERT_TRUE(typing_->prints("keyrelease 38 0x0"));
  EXPECT_THAT(typing_->lines("key"), ElementsAre("key 38 0x0"));
  EXPECT_EQ(queue_.runAll(), 0U);
  EXPECT_EQ(shortcuts_->lastHandOver().press, 1U);
  session_->keys({"key", kPress});
  EXPECT_TRUE(waitForPresses(2));
}

TEST_F(ShortcutHandOverTest, theEndOfARegistrationOrOfAllLetsTheKeyboardGo) {
  Token token;
  const std::function<void()> ends[] = {[&] { token.reset(); }, [&] { shortcuts_.reset(); }};
  for (const auto& end : ends) {
    token = registered(true);
    session_->keys({"key", kPress, "key", "a"});
    ASSERT_TRUE(waitUntil([&] { return queue_.size() == 1; }));
    end();
    EXPECT_TRUE(targetHasSeen(38));
    queue_.runAll();
    EXPECT_EQ(presses_, 0);
    const size_t before = target_->count("key 65 0x41");
    session_->keys({"key", kPress, "key", "b"});
    EXPECT_TRUE(targetHasSeen(56));
    EXPECT_EQ(target_->count("key 65 0x41"), before + 1) << "the target's again";
    EXPECT_TRUE(keyboardIsFree());
  }
}

/// Presses while another client has the keyboard.
class ShortcutUnderGrabTest : public ShortcutTest {};

TEST_F(ShortcutUnderGrabTest, anOpenMenuIsClosedAndThePressCountsOnce) {
  const Token token = registered(true);
  std::vector<std::string> typed;
  int round = 0;
  for (const char* levels : {"1", "3"}) {
    const WindowClient menu(*session_, {"50x50+400+0", "--title", "Menu", "--menu", levels, "--override-redirect"});
    ASSERT_TRUE(menu.prints("menu"));
    // The modifiers are held as by a slow hand.
    session_->keys({"keydown", "super", "keydown", "shift", "key", "space"});
    ASSERT_TRUE(waitForPresses(++round)) << levels;
    ASSERT_TRUE(waitForEnd(ShortcutHandOver::End::arrived)) << levels;
    EXPECT_TRUE(shortcuts_->lastHandOver().throughMenu);
    session_->keys({"keyup", "shift", "keyup", "super", "key", "a", "key", "shift+b"});
    typed.insert(typed.end(), {"key 38 0x0", "key 50 0x0", "key 56 0x1"});
    EXPECT_TRUE(waitUntil([&] { return typing_->lines("key") == typed; })) << levels;
    EXPECT_EQ(menu.count("key 9 0x0"), static_cast<size_t>(std::stoi(levels)));
    EXPECT_EQ(queue_.runAll(), 0U);
    EXPECT_TRUE(keyboardIsFree());
    EXPECT_TRUE(nothingIsHeld());
    focus(*target_);
  }
  EXPECT_THAT(target_->lines("key"), IsEmpty()) << "no Escape too many";
}

TEST_F(ShortcutUnderGrabTest, aClientThatKeepsTheKeyboardKeepsIt) {
  const Token token = registered(true);
  ASSERT_EQ(x11::takeReply(
                x_->get(), xcb_grab_keyboard_reply,
                xcb_grab_keyboard(x_->get(), 0, x_->root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC))
                ->status,
            XCB_GRAB_STATUS_SUCCESS);
  session_->keys({"key", kPress});
  // One Escape, and no more.
  int escapes = 0;
  ASSERT_TRUE(waitUntil([&] {
    while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_event(x_->get())}) {
      const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(*event);
      escapes += (event->response_type & 0x7F) == XCB_KEY_PRESS && key.detail == 9 ? 1 : 0;
    }
    return escapes > 0;
  }));
  x_->check(xcb_ungrab_keyboard_checked(x_->get(), XCB_CURRENT_TIME));
  EXPECT_TRUE(waitForPresses(1)) << "it let go in time";
  EXPECT_TRUE(waitForEnd(ShortcutHandOver::End::arrived));
}

}  // namespace
}  // namespace jumplark
