#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/x11/X11Input.h"
#include "backends/x11/X11Fixture.h"

namespace jumplark {

inline constexpr uint64_t kKeyMask = 0x1C00;  // key down, key up, flags changed

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
    return desktop::waitUntil([&] {
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
    start({.windowManager = desktop::WindowManager::none});
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

  std::unique_ptr<X11Input> input_;
};

}  // namespace jumplark
