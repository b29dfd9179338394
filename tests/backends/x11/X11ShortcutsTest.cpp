#include "backends/linux/x11/X11Shortcuts.h"

#include <gmock/gmock.h>

#include "backends/x11/X11Fixture.h"
#include "platform/Input.h"

namespace jumplark {
namespace {

using desktop::waitUntil;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr Shortcut kShortcut{key_code::space, modifier_flag::command | modifier_flag::shift};
constexpr const char* kPress = "super+shift+space";  ///< the same for xdotool
constexpr uint16_t kModifiers = XCB_MOD_MASK_4 | XCB_MOD_MASK_SHIFT;

/// A session with a window that has the keyboard, one that stands for the query window, and shortcuts whose handlers
/// run when the test says so.
class X11ShortcutsTest : public X11Test {
 protected:
  X11ShortcutsTest() : X11Test(desktop::WindowManager::none) { focus(target_); }
  void focus(const WindowClient& client) {
    EXPECT_TRUE(x_->check(
        xcb_set_input_focus_checked(x_->get(), XCB_INPUT_FOCUS_POINTER_ROOT, client.window(), XCB_CURRENT_TIME)));
  }

  // Registers the shortcut with a handler that counts and gives this answer; with a yes the query window takes the
  // keyboard.
  Token registered(bool answer = false, const Shortcut& shortcut = kShortcut) {
    auto registration = shortcuts_->registerShortcut(shortcut, [this, answer] {
      ++presses_;
      if (answer) {
        focus(typing_);
        shortcuts_->keyboardArrived();
      }
      return answer;
    });
    EXPECT_EQ(registration.state, ShortcutState::registered);
    return std::move(registration.token);
  }
  // Lets handlers run until so many presses have been handled.
  bool waitForPresses(int count) {
    return queue_.runUntil([&] { return presses_ >= count; }) && presses_ == count;
  }
  bool waitForEnd(ShortcutHandOver::End end) {
    return waitUntil([&] { return shortcuts_->lastHandOver().end != ShortcutHandOver::End::pending; }) &&
           shortcuts_->lastHandOver().end == end;
  }
  // The target's last event is the release of this key.
  bool targetHasSeen(int keycode) {
    return waitUntil([&] {
      const auto releases = target_.lines("keyrelease");
      return !releases.empty() && releases.back().starts_with("keyrelease " + std::to_string(keycode) + " ");
    });
  }

  WindowClient typing_{*session_, {100, 200, 200, 40}, WindowClient::overrideRedirect};
  WindowClient target_{*session_, {0, 0, 200, 100}};
  int presses_ = 0;
  std::atomic<int> warnings_ = 0;
  std::atomic<int> kept_ = 0;
  std::vector<std::string> told_;  ///< of menus, before the handler is called
  std::function<bool()> menuWillClose = [] { return false; };
  std::unique_ptr<X11Shortcuts> shortcuts_ = std::make_unique<X11Shortcuts>(
      session_->display(), queue_,
      X11Shortcuts::Hooks{.pressed = [this](uint32_t time) { windows_->noteUserTime(time); },
                          .willReleaseKey = {},
                          .mayBePressed = [this] { ++warnings_; },
                          .menuWillClose =
                              [this](bool hasKeyboard) {
                                told_.push_back(hasKeyboard ? "has the keyboard" : "has not");
                                return menuWillClose();
                              },
                          .keyboardIsKept = [this] { ++kept_; }});
};

TEST_F(X11ShortcutsTest, aPressCountsWhateverLocksAreOnAndReachesNobodyElse) {
  const Token token = registered();
  int expected = 0;
  for (const char* lock : {"", "Caps_Lock", "Num_Lock"}) {
    if (*lock) {
      session_->keys({"key", lock});
    }
    session_->keys({"key", kPress});
    EXPECT_TRUE(waitForPresses(++expected)) << lock;
    EXPECT_TRUE(waitUntil([&] { return shortcuts_->lastHandOver().end != ShortcutHandOver::End::pending; }));
    // Neither fewer modifiers nor more.
    session_->keys({"key", "shift+space", "key", "super+shift+ctrl+space", "key", "a"});
    ASSERT_TRUE(targetHasSeen(38)) << lock;
    EXPECT_EQ(queue_.runAll(), 0U);
  }
  EXPECT_EQ(target_.lines("key 65").size(), 6U);
  EXPECT_EQ(target_.lines("keyrelease 65").size(), 6U) << "the release of the shortcut belongs to nobody either";
  EXPECT_NE(windows_->userTime(), 0U);
  EXPECT_EQ(windows_->userTime(), shortcuts_->lastHandOver().xTime);
  EXPECT_TRUE(nothingIsHeld());
}

TEST_F(X11ShortcutsTest, whatIsOwnedIsTakenUntilItsOwnerLetsGo) {
  ASSERT_TRUE(session_->takeKey(65, kModifiers));
  const auto taken = shortcuts_->registerShortcut(kShortcut, [] { return false; });
  EXPECT_EQ(taken.state, ShortcutState::taken);
  EXPECT_FALSE(taken.token);
  EXPECT_EQ(shortcuts_->probe(kShortcut), ShortcutState::taken);
  session_->giveKeyBack(65, kModifiers);
  EXPECT_TRUE(waitUntil([&] { return shortcuts_->probe(kShortcut) == ShortcutState::registered; }));
  const Token token = registered();
  EXPECT_EQ(shortcuts_->probe(kShortcut), ShortcutState::registered) << "its own";
  EXPECT_EQ(shortcuts_->registerShortcut(kShortcut, [] { return false; }).state, ShortcutState::taken);
  session_->keys({"key", kPress});
  EXPECT_TRUE(waitForPresses(1));
}

TEST_F(X11ShortcutsTest, aFailedAttemptIsToldAndKeepsNothing) {
  // Only the combination with Caps Lock, which is not the first to be tried.
  ASSERT_TRUE(session_->takeKey(65, kModifiers | XCB_MOD_MASK_LOCK));
  EXPECT_EQ(shortcuts_->registerShortcut(kShortcut, [] { return false; }).state, ShortcutState::taken);
  EXPECT_TRUE(session_->takeKey(65, kModifiers));
  EXPECT_EQ(shortcuts_->probe({key_code::symbolBase + 0x13BD, 0}), ShortcutState::noSuchKey);
  EXPECT_EQ(X11Shortcuts(":nonsense", queue_).probe(kShortcut), ShortcutState::outOfReach);
}

TEST(ShortcutDescriptionTest, namesKeysAsPeopleDo) {
  using namespace modifier_flag;
  const std::pair<Shortcut, const char*> cases[] = {
      {kShortcut, "Super+Shift+Space"},
      {{key_code::returnKey, control | option | command | shift}, "Control+Alt+Super+Shift+Return"},
      {{key_code::symbolBase + 'j', control}, "Control+J"},
      {{key_code::symbolBase + ',', command}, "Super+,"},
      {{key_code::symbolBase + 0x6CA, command}, "Super+Й"},
      {{key_code::symbolBase + 0xFFC2, 0}, "F5"},
      {{key_code::symbolBase + 0xFF55, 0}, "Page Up"},
  };
  for (const auto& [shortcut, text] : cases) {
    EXPECT_EQ(describeShortcut(shortcut), text);
  }
}

TEST_F(X11ShortcutsTest, keysTypedAfterARefusalReachTheTarget) {
  const Token token = registered(false);
  session_->keys({"keydown", "super", "keydown", "shift", "keydown", "space", "key", "b", "keyup", "space", "keyup",
                  "shift", "keyup", "super", "type", "--delay", "0", "ab"});
  ASSERT_TRUE(waitForPresses(1));
  ASSERT_TRUE(target_.prints("key 56 0x0"));
  EXPECT_EQ(target_.count("key 56 0x41"), 1U) << "struck while the shortcut was still down";
  EXPECT_EQ(target_.count("key 38 0x0"), 1U);
  EXPECT_TRUE(keyboardIsFree());
}

TEST_F(X11ShortcutsTest, aBlockedMainThreadHoldsTheKeyboardNoLongerThanTheDeadline) {
  const Token token = registered(true);
  session_->keys({"key", kPress, "type", "--delay", "0", "hi"});
  ASSERT_TRUE(waitForEnd(ShortcutHandOver::End::deadline));
  EXPECT_TRUE(target_.prints("key 31 0x0"));
  // Pressed again out of impatience: the window opens once.
  session_->keys({"key", kPress});
  ASSERT_TRUE(waitUntil([&] { return shortcuts_->lastHandOver().press == 2; }));
  EXPECT_TRUE(waitForPresses(1));
  EXPECT_TRUE(waitForEnd(ShortcutHandOver::End::arrived));
  EXPECT_EQ(queue_.runAll(), 0U);
}

TEST_F(X11ShortcutsTest, holdingTheShortcutIsOnePress) {
  letKeysRepeat();
  const Token token = registered(true);
  // The user holds it for a while, then goes on typing.
  session_->keys({"keydown", "super", "keydown", "shift", "keydown", "space"});
  ASSERT_TRUE(waitForPresses(1));
  ASSERT_TRUE(waitForEnd(ShortcutHandOver::End::arrived));
  session_->keys({"keydown", "space", "keydown", "space", "keyup", "super", "keydown", "space", "keyup", "shift",
                  "keydown", "space", "keyup", "space", "key", "a"});
  ASSERT_TRUE(typing_.prints("keyrelease 38 0x0"));
  EXPECT_THAT(typing_.lines("key"), ElementsAre("key 38 0x0"));
  EXPECT_EQ(queue_.runAll(), 0U);
  EXPECT_EQ(shortcuts_->lastHandOver().press, 1U);
  session_->keys({"key", kPress});
  EXPECT_TRUE(waitForPresses(2));
}

TEST_F(X11ShortcutsTest, theEndOfARegistrationOrOfAllLetsTheKeyboardGo) {
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
    const size_t before = target_.count("key 65 0x41");
    session_->keys({"key", kPress, "key", "b"});
    EXPECT_TRUE(targetHasSeen(56));
    EXPECT_EQ(target_.count("key 65 0x41"), before + 1) << "the target's again";
    EXPECT_TRUE(keyboardIsFree());
  }
}

// Another client has the keyboard, as an open menu does, which closes a level at each Escape.
TEST_F(X11ShortcutsTest, anOpenMenuIsClosedLevelByLevelAndThePressCountsOnce) {
  const Token token = registered(true);
  std::vector<std::unique_ptr<WindowClient>> menu(3);
  std::ranges::generate(menu, [this] {
    return std::make_unique<WindowClient>(*session_, desktop::PixelRect{300, 200, 60, 60},
                                          WindowClient::overrideRedirect);
  });
  ASSERT_TRUE(grabKeyboard());
  // The modifiers are held as by a slow hand.
  session_->keys({"keydown", "super", "keydown", "shift", "key", "space"});
  EXPECT_TRUE(waitUntil([&] {
    while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_event(x_->get())}) {
      const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(*event);
      if ((event->response_type & 0x7F) == XCB_KEY_PRESS && key.detail == 9 && key.state == 0) {
        menu.pop_back();
      }
      if (menu.empty()) {
        return giveKeyboardBack();
      }
    }
    return false;
  })) << menu.size();
  ASSERT_TRUE(waitForPresses(1));
  ASSERT_TRUE(waitForEnd(ShortcutHandOver::End::arrived));
  EXPECT_TRUE(shortcuts_->lastHandOver().throughMenu);
  session_->keys({"keyup", "shift", "keyup", "super", "key", "a", "key", "shift+b"});
  EXPECT_TRUE(typing_.prints("key 56 0x1"));
  EXPECT_THAT(typing_.lines("key"), ElementsAre("key 38 0x0", "key 50 0x0", "key 56 0x1"));
  EXPECT_THAT(target_.lines("key"), IsEmpty()) << "no Escape too many";
  EXPECT_EQ(queue_.runAll(), 0U);
  EXPECT_TRUE(keyboardIsFree());
  EXPECT_TRUE(nothingIsHeld());
}

// Another client has the keyboard, as an open menu does.
TEST_F(X11ShortcutsTest, aMenuIsToldBeforeItIsClosedAndOneThatClosesThenGetsNoEscape) {
  const Token token = registered(true);
  menuWillClose = [this] { return !giveKeyboardBack(); };
  ASSERT_TRUE(grabKeyboard());
  session_->keys({"key", kPress});
  ASSERT_TRUE(waitForPresses(1));
  ASSERT_TRUE(waitForEnd(ShortcutHandOver::End::arrived));
  EXPECT_TRUE(shortcuts_->lastHandOver().throughMenu);
  session_->keys({"key", "a"});
  EXPECT_TRUE(typing_.prints("key 38 0x0"));
  EXPECT_EQ(typing_.lines("key 9").size() + target_.lines("key 9").size(), 0U);
}

// Nobody can see their levels go.
TEST_F(X11ShortcutsTest, menusInsideAWindowAreClosedAsLongAsTheyHaveTheKeyboard) {
  const Token token = registered(true);
  menuWillClose = [] { return true; };
  ASSERT_TRUE(grabKeyboard());
  session_->keys({"key", kPress});
  int levels = 2;
  EXPECT_TRUE(waitUntil([&] {
    while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_event(x_->get())}) {
      const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(*event);
      levels -= (event->response_type & 0x7F) == XCB_KEY_PRESS && key.detail == 9 ? 1 : 0;
    }
    return levels == 0 && giveKeyboardBack();
  }));
  ASSERT_TRUE(waitForPresses(1));
  EXPECT_TRUE(waitForEnd(ShortcutHandOver::End::arrived));
}

TEST_F(X11ShortcutsTest, whereSomethingIsOpenItIsToldWhenTheModifiersAreHeldAndBeforeThePress) {
  const Token token = registered(true);
  session_->keys({"keydown", "super"});
  session_->keys({"keydown", "shift"});
  EXPECT_TRUE(waitUntil([&] { return warnings_ == 1; }));
  session_->keys({"key", "space", "keyup", "shift", "keyup", "super"});
  ASSERT_TRUE(waitForPresses(1));
  EXPECT_THAT(told_, ElementsAre("has not"));
  ASSERT_TRUE(waitForEnd(ShortcutHandOver::End::arrived));
}

TEST_F(X11ShortcutsTest, aPressThatAnotherClientLeavesNoKeyboardForIsTold) {
  const Token token = registered();
  ASSERT_TRUE(grabKeyboard());
  session_->keys({"key", kPress});
  EXPECT_TRUE(waitUntil([&] { return kept_ == 1; }));
  EXPECT_TRUE(giveKeyboardBack());
  EXPECT_EQ(queue_.runAll(), 0U) << "it is forgotten";
  session_->keys({"key", kPress});
  EXPECT_TRUE(waitForPresses(1));
}

}  // namespace
}  // namespace jumplark
