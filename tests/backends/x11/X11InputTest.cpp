#include "backends/linux/x11/X11Input.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <mutex>
#include <thread>

#include "backends/x11/InputFixture.h"

namespace jumplark {
namespace {

using desktop::waitUntil;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;

TEST_F(X11InputTest, tapsTellKeysByTheirCode) {
  Recorder recorder;
  const auto tap = enabledTap(recorder);
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
              {"F5", key_code::f5, ""}};
  for (const auto& key : keys) {
    recorder.clear();
    session_->keys({"key", key.name});
    ASSERT_TRUE(waitUntil([&] { return recorder.events().size() == 2; })) << key.name;
    const auto is = [&](uint32_t type) {
      return AllOf(Field(&InputEvent::type, type), Field(&InputEvent::keyCode, key.code),
                   Field(&InputEvent::charactersIgnoringModifiers, key.characters), Field(&InputEvent::isRepeat, false),
                   Field(&InputEvent::flags, 0U));
    };
    EXPECT_THAT(recorder.events(), ElementsAre(is(event_type::keyDown), is(event_type::keyUp))) << key.name;
    EXPECT_LE(recorder.events()[0].time, recorder.events()[1].time);
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
  EXPECT_THAT(recorder.typed(), ElementsAre("b"));
}

TEST_F(X11InputTest, earlierTapsDecideWhatLaterOnesSee) {
  std::vector<std::string> order;
  std::mutex mutex;
  const auto tapThat = [&](const std::string& name, uint32_t placement, uint32_t options, bool passes) {
    const auto callback = [&mutex, &order, name, passes](uint32_t, const InputEvent& event) {
      const std::lock_guard lock(mutex);
      order.push_back(name + event.charactersIgnoringModifiers);
      return passes || event.charactersIgnoringModifiers != "s";
    };
    return enabledTap(callback, tapOf(kKeyDownMask, placement, options));
  };
  const auto last = tapThat("last ", 1, 0, true);
  const auto swallowing = tapThat("swallowing ", 0, 0, false);
  const auto listening = tapThat("listening ", 0, 1, false);
  session_->keys({"key", "s", "key", "p"});
  EXPECT_TRUE(waitUntil([&] {
    const std::lock_guard lock(mutex);
    return !order.empty() && order.back() == "last p";
  }));
  const std::lock_guard lock(mutex);
  EXPECT_THAT(order, ElementsAre("listening s", "swallowing s", "listening p", "swallowing p", "last p"));
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
  own = input_->createEventTap(tapOf(kKeyDownMask), [&](uint32_t, const InputEvent&) {
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

}  // namespace
}  // namespace jumplark
