#include "backends/linux/x11/X11Input.h"

#include <gmock/gmock.h>

#include <future>

#include "backends/x11/X11Fixture.h"

namespace jumplark {
namespace {

using desktop::waitUntil;
using testing::ElementsAre;

constexpr uint64_t kKeyMask = 0x1C00;     // key down, key up, flags changed
constexpr uint64_t kKeyDownMask = 0x400;  // key down

EventTapConfiguration tapOf(uint64_t mask, uint32_t placement = 0, uint32_t options = 0) {
  EventTapConfiguration configuration;
  configuration.mask = mask;
  configuration.placement = placement;
  configuration.options = options;
  return configuration;
}

/// What taps have seen, in lines: "down CHARACTERS FLAGS", "up CHARACTERS FLAGS", "flags FLAGS".
class Recorder {
 public:
  /// Of a tap that passes all on but what has these characters.
  EventTapCallback callback(const std::string& name = {}, const std::string& swallowed = "none") {
    return [this, name, swallowed](uint32_t type, const InputEvent& event) {
      const std::lock_guard lock(mutex_);
      EXPECT_EQ(type, event.type);
      EXPECT_FALSE(event.isRepeat);
      const bool isKey = type != event_type::flagsChanged;
      const std::string key = event.charactersIgnoringModifiers + ' ';
      EXPECT_TRUE(key[0] < 'a' || event.keyCode == key_code::symbolBase + key[0]) << key << event.keyCode;
      lines_.push_back(name + (isKey ? (type == event_type::keyDown ? "down " : "up ") + key : "flags ") +
                       std::to_string(event.flags));
      return event.charactersIgnoringModifiers != swallowed;
    };
  }
  /// Those that begin so.
  std::vector<std::string> lines(const std::string& beginning = {}) const {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> result = lines_;
    std::erase_if(result, [&](const std::string& line) { return !line.starts_with(beginning); });
    return result;
  }
  bool waitForTyped(const std::string& characters) const {
    return waitUntil([&] { return !lines("down " + characters + ' ').empty(); });
  }
  void clear() {
    const std::lock_guard lock(mutex_);
    lines_.clear();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

std::string line(const char* what, uint64_t flags = 0) {
  return what + (' ' + std::to_string(flags));
}

class X11InputTest : public X11Test {
 protected:
  X11InputTest() : X11Test(desktop::WindowManager::none) {}
  std::unique_ptr<EventTapHandle> enabledTap(EventTapCallback callback,
                                             const EventTapConfiguration& configuration = tapOf(kKeyMask)) {
    auto tap = input_.createEventTap(configuration, std::move(callback));
    tap->setEnabled(true);
    return tap;
  }
  std::unique_ptr<EventTapHandle> enabledTap(Recorder& recorder, std::vector<int64_t> swallowed = {}) {
    EventTapConfiguration configuration = tapOf(kKeyMask);
    configuration.swallowedKeyCodes = std::move(swallowed);
    return enabledTap(recorder.callback(), configuration);
  }
  // A window that has the keyboard.
  std::unique_ptr<WindowClient> focusedClient() {
    auto client = std::make_unique<WindowClient>(*session_, desktop::PixelRect{0, 0, 200, 100});
    EXPECT_TRUE(windows_->requestActive(client->window(), true));
    return client;
  }

  X11Input input_{x_};
};

TEST_F(X11InputTest, modifiersChangeFlagsAndLocksDoNot) {
  Recorder recorder;
  const auto tap = enabledTap(recorder);
  const std::pair<const char*, uint64_t> modifiers[] = {
      {"Control_L", modifier_flag::control}, {"Control_R", modifier_flag::control},
      {"Shift_L", modifier_flag::shift},     {"Alt_L", modifier_flag::option},
      {"Super_L", modifier_flag::command},   {"Super_R", modifier_flag::command}};
  for (const char* lock : {"", "Caps_Lock", "Num_Lock"}) {
    if (*lock) {
      session_->keys({"key", lock});
    }
    for (const auto& [name, flag] : modifiers) {
      recorder.clear();
      session_->keys({"keydown", name, "key", "x", "keyup", name, "key", "y"});
      ASSERT_TRUE(recorder.waitForTyped("y")) << name;
      EXPECT_THAT(recorder.lines("flags"), ElementsAre(line("flags", flag), line("flags"))) << name << " " << lock;
      EXPECT_THAT(recorder.lines("down"), ElementsAre(line("down x", flag), line("down y"))) << name << " " << lock;
    }
  }
  recorder.clear();
  session_->keys({"keydown", "ctrl", "keydown", "shift", "keyup", "ctrl", "keyup", "ctrl", "keyup", "shift"});
  session_->keys({"key", "z"});
  ASSERT_TRUE(recorder.waitForTyped("z"));
  EXPECT_THAT(recorder.lines("flags"), ElementsAre(line("flags", modifier_flag::control),
                                                   line("flags", modifier_flag::control | modifier_flag::shift),
                                                   line("flags", modifier_flag::shift), line("flags")));
}

TEST_F(X11InputTest, tapsDoNotSeeTheModifierReleasesOfAClick) {
  Recorder recorder;
  const auto tap = enabledTap(recorder);
  const std::string control = line("flags", modifier_flag::control);
  session_->keys({"keydown", "ctrl"});
  ASSERT_TRUE(waitUntil([&] { return !recorder.lines().empty(); }));
  input_.postMouseEvent({event_type::leftMouseDown, {10, 10}, 1}, event_location::session);
  input_.postMouseEvent({event_type::leftMouseUp, {10, 10}, 1}, event_location::session);
  session_->keys({"keyup", "ctrl", "key", "a", "keydown", "ctrl", "keyup", "ctrl", "key", "b"});
  ASSERT_TRUE(recorder.waitForTyped("b"));
  EXPECT_THAT(recorder.lines("flags"), ElementsAre(control, control, line("flags")));
  EXPECT_THAT(recorder.lines("down"), ElementsAre(line("down a"), line("down b")));
}

TEST_F(X11InputTest, aTapDoesNotSeeWhatHappenedBeforeItWasEnabled) {
  std::promise<void> blocked;
  std::promise<void> unblock;
  const auto slow = enabledTap([&, first = true](uint32_t, const InputEvent&) mutable {
    if (std::exchange(first, false)) {
      blocked.set_value();
      unblock.get_future().wait();
    }
    return true;
  });
  session_->keys({"key", "x"});
  blocked.get_future().wait();
  session_->keys({"key", "Return"});
  Recorder recorder;
  const auto tap = enabledTap(recorder);
  unblock.set_value();
  session_->keys({"key", "b"});
  ASSERT_TRUE(recorder.waitForTyped("b"));
  EXPECT_THAT(recorder.lines("down"), ElementsAre(line("down b")));
}

TEST_F(X11InputTest, earlierTapsDecideWhatLaterOnesSee) {
  Recorder order;
  const auto last = enabledTap(order.callback("last "), tapOf(kKeyDownMask, 1));
  const auto swallowing = enabledTap(order.callback("swallowing ", "s"), tapOf(kKeyDownMask));
  const auto listening = enabledTap(order.callback("listening ", "s"), tapOf(kKeyDownMask, 0, 1));
  session_->keys({"key", "s", "key", "p"});
  EXPECT_TRUE(waitUntil([&] { return !order.lines("last").empty(); }));
  EXPECT_THAT(order.lines(), ElementsAre("listening down s 0", "swallowing down s 0", "listening down p 0",
                                         "swallowing down p 0", "last down p 0"));
}

TEST_F(X11InputTest, destroyingATapWaitsForItsCallbackAndItMayDestroyItself) {
  std::promise<void> running;
  std::promise<void> proceed;
  std::atomic<bool> finished{false};
  auto tap = enabledTap(
      [&](uint32_t, const InputEvent&) {
        running.set_value();
        proceed.get_future().wait();
        finished = true;
        return true;
      },
      tapOf(kKeyDownMask));
  session_->keys({"key", "a"});
  running.get_future().wait();
  std::thread helper([&] { proceed.set_value(); });
  tap.reset();
  EXPECT_TRUE(finished);
  helper.join();

  std::unique_ptr<EventTapHandle> own;
  std::promise<void> gone;
  own = input_.createEventTap(tapOf(kKeyDownMask), [&](uint32_t, const InputEvent&) {
    own.reset();
    gone.set_value();
    return true;
  });
  own->setEnabled(true);
  session_->keys({"key", "b"});
  gone.get_future().wait();
  Recorder recorder;
  const auto later = enabledTap(recorder);
  session_->keys({"key", "c"});
  EXPECT_TRUE(recorder.waitForTyped("c")) << "neither was called again, which would have thrown";
}

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
    ASSERT_TRUE(waitUntil([&] { return recorder.lines("up").size() == 3; })) << lock;
    ASSERT_TRUE(keyboardIsFree());
    session_->keys({"key", "shift+Return", "key", "a"});
    ASSERT_TRUE(recorder.waitForTyped("a")) << lock;
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
    EXPECT_EQ(recorder.lines("down").size(), 5U) << "nothing after its end";
  }
  // Per round: one Return with Shift, and one after the tap's end.
  EXPECT_THAT(client->lines("key 36"),
              ElementsAre("key 36 0x1", "key 36 0x0", "key 36 0x3", "key 36 0x2", "key 36 0x13", "key 36 0x12"));
  EXPECT_THAT(client->lines("key 104"), testing::IsEmpty());
  EXPECT_THAT(client->lines("key 9"), testing::IsEmpty());
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
  EXPECT_THAT(recorder.lines("down"), ElementsAre(line("down a"), line("down \r"), line("down b")));
}

TEST_F(KeySwallowingTest, followsLayoutsAndRemappedKeys) {
  const auto client = focusedClient();
  Recorder recorder;
  const auto tap = enabledTap(recorder, {key_code::returnKey});
  const struct {
    desktop::Arguments change;
    const char* keycode;
    const char* types;
  } cases[] = {{{"setxkbmap", "ru"}, "38", "down a"},  // without a Latin layout by the place of the key
               {{"xmodmap", "-e", "keycode 67 = Return"}, "67", "down \r"}};
  for (const auto& [change, keycode, types] : cases) {
    ASSERT_EQ(session_->run(change).status, 0);
    EXPECT_TRUE(waitUntil([&, keycode = keycode, types = types] {
      recorder.clear();
      session_->keys({"key", keycode});
      return waitUntil([&] { return recorder.lines("up").size() == 1; }) &&
             recorder.lines("down").front() == line(types);
    })) << types;
  }
  ASSERT_TRUE(keyboardIsFree());
  const size_t before = client->lines("key 67").size();
  session_->keys({"key", "67", "key", "39"});
  ASSERT_TRUE(client->prints("keyrelease 39 0x0"));
  EXPECT_EQ(client->lines("key 67").size(), before) << "the new Return key is swallowed";
}

}  // namespace
}  // namespace jumplark
