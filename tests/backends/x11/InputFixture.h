#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/x11/X11Input.h"
#include "backends/x11/X11Fixture.h"

namespace jumplark {

inline constexpr uint64_t kKeyMask = 0x1C00;     // key down, key up, flags changed
inline constexpr uint64_t kKeyDownMask = 0x400;  // key down

inline EventTapConfiguration tapOf(uint64_t mask, uint32_t placement = 0, uint32_t options = 0) {
  EventTapConfiguration configuration;
  configuration.mask = mask;
  configuration.placement = placement;
  configuration.options = options;
  return configuration;
}

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
  std::vector<std::string> typed() const { return each(event_type::keyDown, &InputEvent::charactersIgnoringModifiers); }
  std::vector<uint64_t> flags() const { return each(event_type::flagsChanged, &InputEvent::flags); }
  bool waitForTyped(const std::string& characters) const {
    return desktop::waitUntil([&] { return std::ranges::count(typed(), characters) > 0; });
  }
  void clear() {
    const std::lock_guard lock(mutex_);
    events_.clear();
  }

 private:
  template <typename T>
  std::vector<T> each(uint32_t type, T InputEvent::*member) const {
    std::vector<T> result;
    std::ranges::transform(events(type), std::back_inserter(result), member);
    return result;
  }

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
  std::unique_ptr<EventTapHandle> enabledTap(EventTapCallback callback,
                                             const EventTapConfiguration& configuration = tapOf(kKeyMask)) {
    auto tap = input_->createEventTap(configuration, std::move(callback));
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
    auto client = std::make_unique<WindowClient>(*session_, desktop::Arguments{"200x100+0+0", "--title", "Focused"});
    EXPECT_TRUE(windows_->requestActive(client->window(), true));
    return client;
  }

  std::unique_ptr<X11Input> input_;
};

}  // namespace jumplark
