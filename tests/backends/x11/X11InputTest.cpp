#include "backends/linux/x11/X11Input.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <mutex>
#include <thread>

#include "backends/linux/x11/Reply.h"
#include "backends/x11/X11Fixture.h"

namespace jumplark {
namespace {

using desktop::waitUntil;
using desktop::WindowManager;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr uint64_t kKeyMask = 0x1C00;  // key down, key up, flags changed

/// Collects the events of a tap.
class Recorder {
 public:
  EventTapCallback callback() {
    return [this](uint32_t type, const InputEvent& event) {
      const std::lock_guard lock(mutex_);
      EXPECT_EQ(type, event.type);
      events_.push_back(event);
      return true;
    };
  }
  std::vector<InputEvent> events() const {
    const std::lock_guard lock(mutex_);
    return events_;
  }
  std::vector<InputEvent> events(uint32_t type) const {
    std::vector<InputEvent> result = events();
    std::erase_if(result, [&](const InputEvent& event) { return event.type != type; });
    return result;
  }
  std::vector<std::string> typed() const {
    std::vector<std::string> result;
    for (const InputEvent& event : events(event_type::keyDown)) {
      result.push_back(event.charactersIgnoringModifiers);
    }
    return result;
  }
  std::vector<uint64_t> flags() const {
    std::vector<uint64_t> result;
    for (const InputEvent& event : events(event_type::flagsChanged)) {
      result.push_back(event.flags);
    }
    return result;
  }
  bool waitForTyped(const std::string& characters) const {
    return waitUntil([&] {
      const auto all = typed();
      return std::ranges::find(all, characters) != all.end();
    });
  }
  void clear() {
    const std::lock_guard lock(mutex_);
    events_.clear();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<InputEvent> events_;
};

class X11InputTest : public X11Test {
 protected:
  void SetUp() override {
    start({.windowManager = WindowManager::none});
    input_ = std::make_unique<X11Input>(x_);
  }
  void TearDown() override {
    input_.reset();
    X11Test::TearDown();
  }
  std::unique_ptr<EventTapHandle> enabledTap(Recorder& recorder, std::vector<int64_t> swallowed = {}) {
    EventTapConfiguration configuration;
    configuration.mask = kKeyMask;
    configuration.swallowedKeyCodes = std::move(swallowed);
    auto tap = input_->createEventTap(configuration, recorder.callback());
    if (tap) {
      tap->setEnabled(true);
    }
    return tap;
  }
  // Pressing a key that is down repeats it; left alone it does not, for longer than any test takes.
  void letKeysRepeat() { ASSERT_EQ(session_->run({"xset", "r", "on", "r", "rate", "60000", "1"}).status, 0); }
  // A window that has the keyboard.
  std::unique_ptr<WindowClient> focusedClient() {
    auto client = std::make_unique<WindowClient>(*session_, desktop::Arguments{"200x100+0+0", "--title", "Focused"});
    EXPECT_TRUE(windows_->requestActive(client->window(), true));
    return client;
  }
  // True once nobody holds the keyboard.
  bool keyboardIsFree() const {
    return waitUntil([&] {
      const auto reply = x11::takeReply(
          x_->get(), xcb_grab_keyboard_reply,
          xcb_grab_keyboard(x_->get(), 0, x_->root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
      x_->check(xcb_ungrab_keyboard_checked(x_->get(), XCB_CURRENT_TIME));
      return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
    });
  }

  std::unique_ptr<X11Input> input_;
};

TEST_F(X11InputTest, tapsTellKeysByTheirCode) {
  Recorder recorder;
  const auto tap = enabledTap(recorder);
  ASSERT_TRUE(tap);
  const struct {
    const char* name;
    int64_t code;
    const char* characters;
  } keys[] = {{"a", key_code::symbolBase + 'a', "a"},
              {"period", key_code::symbolBase + '.', "."},
              {"Return", key_code::returnKey, "\r"},
              {"KP_Enter", key_code::returnKey, "\r"},
              {"Tab", key_code::tab, "\t"},
              {"space", key_code::space, " "},
              {"BackSpace", key_code::backspace, "\b"},
              {"Escape", key_code::escape, "\x1B"},
              {"F5", key_code::symbolBase + 0xFFC2, ""}};
  for (const auto& key : keys) {
    recorder.clear();
    session_->keys({"key", key.name});
    ASSERT_TRUE(waitUntil([&] { return recorder.events().size() == 2; })) << key.name;
    const auto events = recorder.events();
    EXPECT_EQ(events[0].type, event_type::keyDown);
    EXPECT_EQ(events[1].type, event_type::keyUp);
    for (const InputEvent& event : events) {
      EXPECT_EQ(event.keyCode, key.code) << key.name;
      EXPECT_EQ(event.charactersIgnoringModifiers, key.characters) << key.name;
      EXPECT_FALSE(event.isRepeat);
      EXPECT_EQ(event.flags, 0U);
    }
    EXPECT_LE(events[0].time, events[1].time);
  }
}

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
      EXPECT_THAT(recorder.flags(), ElementsAre(flag, 0)) << name << " " << lock;
      EXPECT_THAT(recorder.typed(), ElementsAre("x", "y")) << name;
      EXPECT_EQ(recorder.events(event_type::keyDown).front().flags, flag) << name;
    }
  }
  recorder.clear();
  session_->keys({"keydown", "ctrl", "keydown", "shift", "keyup", "ctrl", "keyup", "ctrl", "keyup", "shift"});
  session_->keys({"key", "z"});
  ASSERT_TRUE(recorder.waitForTyped("z"));
  EXPECT_THAT(recorder.flags(), ElementsAre(modifier_flag::control, modifier_flag::control | modifier_flag::shift,
                                            modifier_flag::shift, 0));
}

TEST_F(X11InputTest, aKeyThatIsDownAlreadyRepeats) {
  letKeysRepeat();
  session_->keys({"keydown", "b"});
  Recorder recorder;
  const auto tap = enabledTap(recorder);
  session_->keys({"keydown", "b", "keydown", "a", "keydown", "a", "keyup", "a", "key", "a", "keyup", "b"});
  ASSERT_TRUE(waitUntil([&] { return recorder.events(event_type::keyUp).size() == 3; }));
  std::vector<bool> repeats;
  for (const InputEvent& event : recorder.events(event_type::keyDown)) {
    repeats.push_back(event.isRepeat);
  }
  EXPECT_THAT(repeats, ElementsAre(true, false, true, false));
}

TEST_F(X11InputTest, aSwallowedKeyReachesNobodyWhileTheTapIsEnabled) {
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

TEST_F(X11InputTest, aReturnHeldSinceBeforeTheTapIsARepeatAndIsSwallowed) {
  letKeysRepeat();
  const auto client = focusedClient();
  session_->keys({"keydown", "Return"});
  ASSERT_TRUE(client->prints("key 36 0x0"));
  Recorder recorder;
  const auto tap = enabledTap(recorder, {key_code::returnKey});
  session_->keys({"keydown", "Return"});
  ASSERT_TRUE(waitUntil([&] { return !recorder.events(event_type::keyDown).empty(); }));
  EXPECT_TRUE(recorder.events(event_type::keyDown).front().isRepeat);
  ASSERT_TRUE(keyboardIsFree());
  // Struck while Return is still down.
  session_->keys({"key", "a", "keyup", "Return"});
  EXPECT_TRUE(client->prints("key 38 0x0"));
  EXPECT_EQ(client->count("key 36 0x0"), 1U);
}

TEST_F(X11InputTest, followsLayoutsAndRemappedKeys) {
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
  EXPECT_TRUE(pressUntilTyped("38", "ф")) << "no Latin layout to take letters from";

  ASSERT_EQ(session_->run({"xmodmap", "-e", "keycode 67 = Return"}).status, 0);
  EXPECT_TRUE(pressUntilTyped("67", "\r"));
  ASSERT_TRUE(keyboardIsFree());
  const size_t before = client->lines("key").size();
  session_->keys({"key", "67", "key", "38"});
  ASSERT_TRUE(client->prints("keyrelease 38 0x0"));
  ASSERT_TRUE(waitUntil([&] { return client->lines("key").size() > before; }));
  EXPECT_EQ(client->lines("key").back(), "key 38 0x0") << "the new Return key is swallowed";
}

TEST_F(X11InputTest, tapsDoNotSeeTheModifierReleasesOfAClick) {
  Recorder recorder;
  const auto tap = enabledTap(recorder);
  session_->keys({"keydown", "ctrl"});
  ASSERT_TRUE(waitUntil([&] { return !recorder.flags().empty(); }));
  input_->postMouseEvent({event_type::leftMouseDown, {10, 10}, 1}, event_location::session);
  input_->postMouseEvent({event_type::leftMouseUp, {10, 10}, 1}, event_location::session);
  session_->keys({"keyup", "ctrl", "key", "a"});
  ASSERT_TRUE(recorder.waitForTyped("a"));
  EXPECT_THAT(recorder.flags(), ElementsAre(modifier_flag::control));
  EXPECT_EQ(recorder.events(event_type::keyDown).front().flags, 0U);
  session_->keys({"keydown", "ctrl", "keyup", "ctrl", "key", "b"});
  ASSERT_TRUE(recorder.waitForTyped("b"));
  EXPECT_THAT(recorder.flags(), ElementsAre(modifier_flag::control, modifier_flag::control, 0));
}

TEST_F(X11InputTest, tapsSeeTheLeftButtonWhenTheirMaskHasIt) {
  Recorder recorder;
  EventTapConfiguration configuration;
  configuration.mask = 0x6;
  const auto tap = input_->createEventTap(configuration, recorder.callback());
  tap->setEnabled(true);
  session_->keys({"keydown", "ctrl", "click", "3", "click", "1", "keyup", "ctrl"});
  ASSERT_TRUE(waitUntil([&] { return recorder.events().size() == 2; }));
  EXPECT_EQ(recorder.events()[0].type, event_type::leftMouseDown);
  EXPECT_EQ(recorder.events()[1].type, event_type::leftMouseUp);
  EXPECT_EQ(recorder.events()[0].flags, modifier_flag::control);
}

TEST_F(X11InputTest, aTapDoesNotSeeWhatHappenedBeforeItWasEnabled) {
  std::promise<void> blocked;
  std::promise<void> unblock;
  EventTapConfiguration configuration;
  configuration.mask = kKeyMask;
  const auto slow = input_->createEventTap(configuration, [&, first = true](uint32_t, const InputEvent&) mutable {
    if (std::exchange(first, false)) {
      blocked.set_value();
      unblock.get_future().wait();
    }
    return true;
  });
  slow->setEnabled(true);
  session_->keys({"key", "x"});
  blocked.get_future().wait();
  session_->keys({"key", "Return"});
  Recorder recorder;
  const auto tap = enabledTap(recorder);
  unblock.set_value();
  session_->keys({"key", "b"});
  ASSERT_TRUE(recorder.waitForTyped("b"));
  EXPECT_THAT(recorder.typed(), ElementsAre("b"));
}

TEST_F(X11InputTest, earlierTapsDecideWhatLaterOnesSee) {
  std::vector<std::string> order;
  std::mutex mutex;
  const auto tapThat = [&](const std::string& name, uint32_t placement, uint32_t options, bool passes) {
    EventTapConfiguration configuration;
    configuration.mask = 0x400;
    configuration.placement = placement;
    configuration.options = options;
    auto tap = input_->createEventTap(configuration, [&mutex, &order, name, passes](uint32_t, const InputEvent& event) {
      const std::lock_guard lock(mutex);
      order.push_back(name + event.charactersIgnoringModifiers);
      return passes || event.charactersIgnoringModifiers != "s";
    });
    tap->setEnabled(true);
    return tap;
  };
  const auto last = tapThat("last ", 1, 0, true);
  const auto swallowing = tapThat("swallowing ", 0, 0, false);
  const auto listening = tapThat("listening ", 0, 1, false);
  session_->keys({"key", "s", "key", "p"});
  ASSERT_TRUE(waitUntil([&] {
    const std::lock_guard lock(mutex);
    return !order.empty() && order.back() == "last p";
  }));
  EXPECT_THAT(order, ElementsAre("listening s", "swallowing s", "listening p", "swallowing p", "last p"));
}

TEST_F(X11InputTest, destroyingATapWaitsForItsCallbackAndItMayDestroyItself) {
  std::promise<void> running;
  std::promise<void> proceed;
  std::atomic<bool> finished{false};
  std::atomic<int> calls{0};
  EventTapConfiguration configuration;
  configuration.mask = 0x400;
  auto tap = input_->createEventTap(configuration, [&](uint32_t, const InputEvent&) {
    if (++calls == 1) {
      running.set_value();
      proceed.get_future().wait();
      finished = true;
    }
    return true;
  });
  tap->setEnabled(true);
  session_->keys({"key", "a"});
  running.get_future().wait();
  std::thread helper([&] { proceed.set_value(); });
  tap.reset();
  EXPECT_TRUE(finished);
  helper.join();

  std::unique_ptr<EventTapHandle> own;
  std::promise<void> gone;
  own = input_->createEventTap(configuration, [&](uint32_t, const InputEvent&) {
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
  ASSERT_TRUE(recorder.waitForTyped("c"));
  EXPECT_EQ(calls, 1);
}

TEST_F(X11InputTest, grabsEndWithTheTap) {
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

TEST_F(X11InputTest, handlesMayOutliveTheInputAndALostServerIsNoHindrance) {
  Recorder recorder;
  const auto tap = enabledTap(recorder, {key_code::returnKey});
  session_.reset();
  tap->setEnabled(false);
  tap->setEnabled(true);
  input_.reset();
  EXPECT_FALSE(tap->isEnabled());
  tap->setEnabled(true);
  EXPECT_THAT(recorder.events(), IsEmpty());
  EXPECT_FALSE(X11Input(x_).createEventTap({}, recorder.callback()));
}

}  // namespace
}  // namespace jumplark
