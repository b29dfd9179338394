#include <gmock/gmock.h>

#include "backends/x11/ShortcutFixture.h"

namespace jumplark {
namespace {

using desktop::waitUntil;

/// Which presses count, and whose.
class ShortcutRegistrationTest : public ShortcutTest {
 protected:
  // A further client comes to own the shortcut with these modifiers more.
  bool grabElsewhere(unsigned more) {
    constexpr xcb_keycode_t kSpace = 65;
    return x_->check(xcb_grab_key_checked(x_->get(), 0, x_->root(),
                                          static_cast<uint16_t>(XCB_MOD_MASK_4 | XCB_MOD_MASK_SHIFT | more), kSpace,
                                          XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
  }
};

TEST_F(ShortcutRegistrationTest, aPressCountsWhateverLocksAreOnAndReachesNobodyElse) {
  const Token token = registered();
  int expected = 0;
  for (const char* lock : {"", "Caps_Lock", "Num_Lock"}) {
    if (*lock) {
      session_->keys({"key", lock});
    }
    session_->keys({"key", kPress});
    EXPECT_TRUE(waitForPresses(++expected)) << lock;
    EXPECT_TRUE(waitForEnd(ShortcutHandOver::End::refused));
    // Neither fewer modifiers nor more.
    session_->keys({"key", "shift+space", "key", "super+shift+ctrl+space", "key", "a"});
    ASSERT_TRUE(targetHasSeen(38)) << lock;
    EXPECT_EQ(queue_.runAll(), 0U);
  }
  const auto spaces = [&](const char* word) {
    std::vector<std::string> result = target_->lines(word);
    std::erase_if(result, [](const std::string& line) { return line.find(" 65 ") == std::string::npos; });
    return result.size();
  };
  EXPECT_EQ(spaces("key"), 6U);
  EXPECT_EQ(spaces("keyrelease"), 6U) << "the release of the shortcut belongs to nobody either";
  EXPECT_TRUE(nothingIsHeld());
}

TEST_F(ShortcutRegistrationTest, followsLayoutsAndRemappedKeys) {
  const Token token = registered(false, {key_code::symbolBase + 'z', kShortcut.modifierFlags});
  const Token space = registered();
  const auto counts = [&](const char* keycode) {
    return waitUntil([&] {
      session_->keys({"keydown", "133", "keydown", "50", "key", keycode, "keyup", "50", "keyup", "133"});
      const int before = presses_;
      return waitUntil(
          [&] {
            queue_.runAll();
            return presses_ > before;
          },
          desktop::Milliseconds(50));
    });
  };
  EXPECT_TRUE(counts("52"));
  ASSERT_EQ(session_->run({"setxkbmap", "de"}).status, 0);
  EXPECT_TRUE(counts("29"));
  ASSERT_EQ(session_->run({"setxkbmap", "ru,de"}).status, 0);
  EXPECT_TRUE(counts("29")) << "a layout that is not the current one";
  ASSERT_EQ(session_->run({"xmodmap", "-e", "keycode 67 = space"}).status, 0);
  EXPECT_TRUE(counts("67"));
  ASSERT_TRUE(keyboardIsFree());
  session_->keys({"keydown", "133", "keydown", "50", "key", "52", "keyup", "50", "keyup", "133"});
  EXPECT_TRUE(targetHasSeen(133));
  EXPECT_TRUE(target_->prints("key 52 0x41")) << "no longer the key's meaning";
}

TEST_F(ShortcutRegistrationTest, whatAnotherProgramOwnsIsTakenUntilItLetsGo) {
  ManualQueue otherQueue;
  X11Shortcuts other(session_->display(), otherQueue);
  EXPECT_EQ(other.probe(kShortcut), ShortcutState::registered);
  auto owner = other.registerShortcut(kShortcut, [] { return false; });
  ASSERT_EQ(owner.state, ShortcutState::registered);
  EXPECT_EQ(other.probe(kShortcut), ShortcutState::registered) << "its own";
  EXPECT_EQ(other.registerShortcut(kShortcut, [] { return false; }).state, ShortcutState::taken);

  const auto taken = shortcuts_->registerShortcut(kShortcut, [] { return false; });
  EXPECT_EQ(taken.state, ShortcutState::taken);
  EXPECT_FALSE(taken.token);
  EXPECT_EQ(shortcuts_->probe(kShortcut), ShortcutState::taken);
  owner.token.reset();
  const Token token = registered();
  session_->keys({"key", kPress});
  EXPECT_TRUE(waitForPresses(1));
  EXPECT_EQ(otherQueue.runAll(), 0U);
}

TEST_F(ShortcutRegistrationTest, aFailedAttemptKeepsNothing) {
  // Only the combination with Caps Lock, which is not the first to be tried.
  ASSERT_TRUE(grabElsewhere(XCB_MOD_MASK_LOCK));
  EXPECT_EQ(shortcuts_->registerShortcut(kShortcut, [] { return false; }).state, ShortcutState::taken);
  EXPECT_TRUE(grabElsewhere(0));
}

TEST_F(ShortcutRegistrationTest, tellsWhatCannotBeRegistered) {
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

}  // namespace
}  // namespace jumplark
