#include "backends/linux/wayland/WaylandTaps.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <utility>

#include "backends/linux/windows/KeyNames.h"

namespace jumplark {
namespace {

bool wants(const EventTapConfiguration& configuration, uint32_t type) {
  return type < 64 && ((configuration.mask >> type) & 1U) != 0;
}

std::chrono::milliseconds now() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch());
}

}  // namespace

struct WaylandTaps::Tap {
  Tap(EventTapConfiguration c, EventTapCallback callback) : configuration(std::move(c)), slot(std::move(callback)) {}

  const EventTapConfiguration configuration;
  CallbackSlot<bool, uint32_t, const InputEvent&> slot;
  std::atomic<bool> enabled{false};
};

class WaylandTaps::Handle final : public EventTapHandle {
 public:
  Handle(std::shared_ptr<WaylandTaps> taps, std::shared_ptr<Tap> tap) : taps_(std::move(taps)), tap_(std::move(tap)) {}
  ~Handle() override {
    setEnabled(false);
    tap_->slot.close();
    const std::lock_guard lock(taps_->mutex_);
    std::erase(taps_->taps_, tap_);
  }

  bool isEnabled() const override { return tap_->enabled; }

  void setEnabled(bool enabled) override {
    if (tap_->enabled.exchange(enabled) == enabled || tap_->configuration.options != 0 ||
        !wants(tap_->configuration, event_type::keyDown)) {
      return;
    }
    Compositor* const compositor = taps_->compositor_;
    if (!compositor) {
      return;
    }
    for (const int64_t code : tap_->configuration.swallowedKeyCodes) {
      const uint32_t symbol = symbolOf(code);
      if (!enabled) {
        compositor->release(symbol, 0);
      } else {
        compositor->bind(symbol, 0, [tap = std::weak_ptr(tap_), code] { pressed(tap, code); });
      }
    }
  }

 private:
  static void pressed(const std::weak_ptr<Tap>& weak, int64_t code) {
    if (const auto tap = weak.lock(); tap && tap->enabled) {
      InputEvent event;
      event.type = event_type::keyDown;
      event.keyCode = code;
      event.time = now();
      tap->slot.callOr(true, event_type::keyDown, event);
    }
  }

  std::shared_ptr<WaylandTaps> taps_;
  std::shared_ptr<Tap> tap_;
};

std::unique_ptr<EventTapHandle> WaylandTaps::add(const EventTapConfiguration& configuration,
                                                 EventTapCallback callback) {
  auto tap = std::make_shared<Tap>(configuration, std::move(callback));
  const std::lock_guard lock(mutex_);
  configuration.placement == 0 ? taps_.insert(taps_.begin(), tap) : taps_.insert(taps_.end(), tap);
  return std::make_unique<Handle>(shared_from_this(), std::move(tap));
}

void WaylandTaps::deliver(const InputEvent& event) {
  std::vector<std::shared_ptr<Tap>> taps;
  {
    const std::lock_guard lock(mutex_);
    taps = taps_;
  }
  for (const auto& tap : taps) {
    if (tap->enabled && wants(tap->configuration, event.type)) {
      tap->slot.callOr(true, event.type, event);
    }
  }
}

}  // namespace jumplark
