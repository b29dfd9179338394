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
    const auto tap = enabledTap(recorder, {key_code::returnKey});
    session_->keys({"key", "Return", "key", "KP_Enter"});
    ASSERT_TRUE(waitUntil([&] { return recorder.events(event_type::keyUp).size() == 2; })) << lock;
    ASSERT_TRUE(keyboardIsFree());
    session_->keys({"key", "shift+Return", "key", "a"});
    ASSERT_TRUE(recorder.waitForTyped("a")) << lock;
    for (const InputEvent& event : recorder.events(event_type::keyDown)) {
      EXPECT_FALSE(event.isRepeat);
    }
    tap->setEnabled(false);
    EXPECT_FALSE(tap->isEnabled());
    const size_t released = client->lines("keyrelease").size();
    session_->keys({"key", "Return", "key", "b"});
    ASSERT_TRUE(waitUntil([&] {
      const auto releases = client->lines("keyrelease");
      return releases.size() > released && releases.back().starts_with("keyrelease 56 ");
    })) << lock;
    EXPECT_EQ(recorder.events(event_type::keyDown).size(), 4U) << "nothing after it has been disabled";
  }
  // Per round: one Return with Shift, and one after the tap was disabled.
  std::vector<std::string> returns = client->lines("key");
  std::erase_if(returns,
                [](const std::string& line) { return !line.starts_with("key 36 ") && !line.starts_with("key 104 "); });
  EXPECT_THAT(returns,
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
  const auto pressUntilTyped = [&](const char* keycode, const std::string& characters) {
    return waitUntil([&] {
      recorder.clear();
      session_->keys({"key", keycode});
      return waitUntil([&] { return recorder.events(event_type::keyUp).size() == 1; }) &&
             recorder.typed() == std::vector<std::string>{characters};
    });
  };
  ASSERT_EQ(session_->run({"setxkbmap", "de"}).status, 0);
  EXPECT_TRUE(pressUntilTyped("29", "z"));
  EXPECT_TRUE(pressUntilTyped("48", "ä"));
  ASSERT_EQ(session_->run({"setxkbmap", "ru,us"}).status, 0);
  EXPECT_TRUE(pressUntilTyped("38", "a")) << "letters of the first Latin layout";
  EXPECT_EQ(recorder.events().front().keyCode, key_code::symbolBase + 'a');
  ASSERT_EQ(session_->run({"setxkbmap", "ru"}).status, 0);
  EXPECT_TRUE(pressUntilTyped("38", "a")) << "without a Latin layout, by the place of the key";

  ASSERT_EQ(session_->run({"xmodmap", "-e", "keycode 67 = Return"}).status, 0);
  EXPECT_TRUE(pressUntilTyped("67", "\r"));
  ASSERT_TRUE(keyboardIsFree());
  const size_t before = client->lines("key").size();
  session_->keys({"key", "67", "key", "38"});
  ASSERT_TRUE(client->prints("keyrelease 38 0x0"));
  ASSERT_TRUE(waitUntil([&] { return client->lines("key").size() > before; }));
  EXPECT_EQ(client->lines("key").back(), "key 38 0x0") << "the new Return key is swallowed";
}

TEST_F(KeySwallowingTest, grabsEndWithTheTap) {
  const auto client = focusedClient();
  Recorder recorder;
  auto tap = enabledTap(recorder, {key_code::returnKey, key_code::escape});
  session_->keys({"key", "Escape"});
  ASSERT_TRUE(waitUntil([&] { return recorder.events().size() == 2; }));
  tap.reset();
  session_->keys({"key", "Escape", "key", "Return"});
  EXPECT_TRUE(client->prints("keyrelease 36 0x0"));
  EXPECT_THAT(client->lines("key"), ElementsAre("key 9 0x0", "key 36 0x0"));
}

}  // namespace
}  // namespace jumplark
