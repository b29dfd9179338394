#include <gmock/gmock.h>

#include "backends/x11/InputFixture.h"

namespace jumplark {
namespace {

using desktop::waitUntil;
using testing::ElementsAre;

/// Keys that a tap keeps from applications.
class KeySwallowingTest : public X11InputTest {};

TEST_F(KeySwallowingTest, aSwallowedKeyReachesNobodyWhileTheTapIsEnabled) {
  const auto client = focusedClient();
  for (const char* lock : {"", "Caps_Lock", "Num_Lock"}) {
    if (*lock) {
      session_->keys({"key", lock});
    }
    Recorder recorder;
    auto tap = enabledTap(recorder, {key_code::returnKey, key_code::escape});
    session_->keys({"key", "Return", "key", "KP_Enter", "key", "Escape"});
    ASSERT_TRUE(waitUntil([&] { return recorder.events(event_type::keyUp).size() == 3; })) << lock;
    ASSERT_TRUE(keyboardIsFree());
    session_->keys({"key", "shift+Return", "key", "a"});
    ASSERT_TRUE(recorder.waitForTyped("a")) << lock;
    EXPECT_THAT(recorder.events(event_type::keyDown), testing::Each(testing::Field(&InputEvent::isRepeat, false)));
    if (*lock) {
      tap->setEnabled(false);
      EXPECT_FALSE(tap->isEnabled());
    } else {
      tap.reset();
    }
    const size_t released = client->lines("keyrelease").size();
    session_->keys({"key", "Return", "key", "b"});
    ASSERT_TRUE(waitUntil([&] {
      const auto releases = client->lines("keyrelease");
      return releases.size() > released && releases.back().starts_with("keyrelease 56 ");
    })) << lock;
    EXPECT_EQ(recorder.events(event_type::keyDown).size(), 5U) << "nothing after its end";
  }
  // Per round: one Return with Shift, and one after the tap's end.
  std::vector<std::string> swallowable = client->lines("key");
  std::erase_if(swallowable, [](const std::string& line) {
    return !line.starts_with("key 36 ") && !line.starts_with("key 104 ") && !line.starts_with("key 9 ");
  });
  EXPECT_THAT(swallowable,
              ElementsAre("key 36 0x1", "key 36 0x0", "key 36 0x3", "key 36 0x2", "key 36 0x13", "key 36 0x12"));
}

TEST_F(KeySwallowingTest, aReturnHeldOnIsSwallowedAndIsNoNewPress) {
  letKeysRepeat();
  const auto client = focusedClient();
  session_->keys({"keydown", "Return"});
  ASSERT_TRUE(client->prints("key 36 0x0"));
  Recorder recorder;
  const auto tap = enabledTap(recorder, {key_code::returnKey});
  session_->keys({"keydown", "Return"});
  ASSERT_TRUE(keyboardIsFree());
  // Struck while Return is still down.
  session_->keys({"key", "a", "keyup", "Return"});
  EXPECT_TRUE(client->prints("key 38 0x0"));
  EXPECT_EQ(client->count("key 36 0x0"), 1U);
  session_->keys({"key", "Return", "key", "b"});
  ASSERT_TRUE(recorder.waitForTyped("b"));
  EXPECT_THAT(recorder.typed(), ElementsAre("a", "\r", "b"));
}

TEST_F(KeySwallowingTest, followsLayoutsAndRemappedKeys) {
  const auto client = focusedClient();
  Recorder recorder;
  const auto tap = enabledTap(recorder, {key_code::returnKey});
  const struct {
    desktop::Arguments change;
    const char* keycode;
    const char* types;
  } cases[] = {{{"setxkbmap", "de"}, "29", "z"},
               {{"setxkbmap", "de"}, "48", "ä"},
               {{"setxkbmap", "ru,us"}, "38", "a"},  // letters of the first Latin layout
               {{"setxkbmap", "ru"}, "38", "a"},     // without one, by the place of the key
               {{"xmodmap", "-e", "keycode 67 = Return"}, "67", "\r"}};
  for (const auto& [change, keycode, types] : cases) {
    ASSERT_EQ(session_->run(change).status, 0);
    EXPECT_TRUE(waitUntil([&, keycode = keycode, types = types] {
      recorder.clear();
      session_->keys({"key", keycode});
      return waitUntil([&] { return recorder.events(event_type::keyUp).size() == 1; }) &&
             recorder.typed() == std::vector<std::string>{types};
    })) << types;
  }
  ASSERT_TRUE(keyboardIsFree());
  const size_t before = client->lines("key").size();
  session_->keys({"key", "67", "key", "38"});
  ASSERT_TRUE(client->prints("keyrelease 38 0x0"));
  ASSERT_TRUE(waitUntil([&] { return client->lines("key").size() > before; }));
  EXPECT_EQ(client->lines("key").back(), "key 38 0x0") << "the new Return key is swallowed";
}

}  // namespace
}  // namespace jumplark
