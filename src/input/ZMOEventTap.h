#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/Input.h"

namespace jumplark {

class TaskQueue;

/// Sees every keyboard or mouse event of its mask before applications do, and may let it pass or swallow it: one
/// subscriber block per event type, called on the tap's thread, which must be quick.
///
/// Inactive until activate() has created the platform's tap; inactive again shortly (within 50 ms) after deactivate().
/// Destroying an active tap removes it; no block is called afterwards. Operations may come from any thread.
class ZMOEventTap {
 public:
  /// Setting `stop` (preset to false) swallows the event.
  using Block = std::function<void(const InputEvent& event, bool& stop)>;

  /// Bit N of the mask set: events of type N are delivered.
  explicit ZMOEventTap(uint64_t eventTapMask);
  ZMOEventTap(const ZMOEventTap&) = delete;
  ZMOEventTap& operator=(const ZMOEventTap&) = delete;
  ~ZMOEventTap();

  // To be set before activate().
  uint32_t eventTapLocation() const { return configuration_.location; }
  void setEventTapLocation(uint32_t location) { configuration_.location = location; }
  uint32_t eventTapPlacement() const { return configuration_.placement; }
  void setEventTapPlacement(uint32_t placement) { configuration_.placement = placement; }
  uint32_t eventTapOptions() const { return configuration_.options; }
  void setEventTapOptions(uint32_t options) { configuration_.options = options; }
  uint64_t eventTapMask() const { return configuration_.mask; }
  void setEventTapMask(uint64_t mask) { configuration_.mask = mask; }
  /// The virtual key codes that a block may swallow, where a platform has to know them beforehand.
  void setSwallowedKeyCodes(std::vector<int64_t> keyCodes) { configuration_.swallowedKeyCodes = std::move(keyCodes); }

  /// Replaces an earlier block of that type.
  void subscribeToEventWithBlock(uint32_t eventType, Block block);
  void unsubscribeFromEvent(uint32_t eventType);

  /// Creates the tap on a thread of its own and gives that thread a millisecond's head start; when already active,
  /// enables the tap again if the system has disabled it. A tap that cannot be created is logged, and may be tried
  /// again.
  void activate();
  void deactivate();
  bool isActive() const;

 private:
  struct State;

  EventTapConfiguration configuration_;
  std::shared_ptr<State> state_;
  std::shared_ptr<TaskQueue> thread_;
};

}  // namespace jumplark
