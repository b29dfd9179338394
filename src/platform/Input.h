#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Geometry.h"

namespace jumplark {

/// Numbers of the events that taps see and that can be posted; bit N of a tap's mask stands for event type N.
namespace event_type {
inline constexpr uint32_t leftMouseDown = 1;
inline constexpr uint32_t leftMouseUp = 2;
inline constexpr uint32_t mouseMoved = 5;
inline constexpr uint32_t keyDown = 10;
inline constexpr uint32_t keyUp = 11;
inline constexpr uint32_t flagsChanged = 12;
inline constexpr uint32_t tapDisabledByTimeout = 0xFFFFFFFE;
inline constexpr uint32_t tapDisabledByUserInput = 0xFFFFFFFF;
}  // namespace event_type

/// Device-independent modifier flags of an event. Lock keys never appear.
namespace modifier_flag {
inline constexpr uint64_t shift = 0x20000;
inline constexpr uint64_t control = 0x40000;
inline constexpr uint64_t option = 0x80000;
inline constexpr uint64_t command = 0x100000;
inline constexpr uint64_t deviceIndependentMask = 0xFFFF0000;
}  // namespace modifier_flag

/// Virtual key codes that have a fixed number; every other key is 0x10000 plus its symbol without modifiers.
namespace key_code {
inline constexpr int64_t returnKey = 36;  ///< also the keypad's Enter
inline constexpr int64_t tab = 48;
inline constexpr int64_t space = 49;
inline constexpr int64_t backspace = 51;
inline constexpr int64_t escape = 53;
inline constexpr int64_t symbolBase = 0x10000;
inline constexpr int64_t home = symbolBase + 0xFF50;
inline constexpr int64_t up = symbolBase + 0xFF52;
inline constexpr int64_t down = symbolBase + 0xFF54;
inline constexpr int64_t pageUp = symbolBase + 0xFF55;
inline constexpr int64_t pageDown = symbolBase + 0xFF56;
inline constexpr int64_t end = symbolBase + 0xFF57;
inline constexpr int64_t f5 = symbolBase + 0xFFC2;
inline constexpr int64_t f10 = symbolBase + 0xFFC7;
}  // namespace key_code

/// Where a tap sits, and where a posted event enters.
namespace event_location {
inline constexpr uint32_t hid = 0;
inline constexpr uint32_t session = 1;
}  // namespace event_location

/// One keyboard event as a tap sees it.
struct InputEvent {
  uint32_t type = 0;
  int64_t keyCode = 0;
  uint64_t flags = 0;  ///< modifiers held after the event
  bool isRepeat = false;
  std::string charactersIgnoringModifiers;  ///< UTF-8
  std::chrono::milliseconds time{0};        ///< when it happened, on the input system's own clock
  uint64_t previousFlags = 0;               ///< of flagsChanged: modifiers held before the event
};

/// One synthetic pointer event with the left button. The position has a top-left origin, in points.
struct MouseEvent {
  uint32_t type = event_type::mouseMoved;
  Point position;
  int64_t clickState = 0;  ///< 1 single, 2 the second click of a double click
  bool operator==(const MouseEvent&) const = default;
};

struct EventTapConfiguration {
  uint32_t location = event_location::session;
  uint32_t placement = 0;  ///< 0 before, 1 after the taps that exist
  uint32_t options = 0;    ///< 0: may swallow events; 1: only listens
  uint64_t mask = 0;
  /// The keys that the tap's callback may swallow, as virtual key codes, each without modifiers. A platform that has to
  /// grab a key in order to keep it from applications grabs only these, and only while the tap is enabled.
  std::vector<int64_t> swallowedKeyCodes;
};

/// Called on the tap's thread for each event of the mask, and with the two "disabled" types and an empty event. True
/// lets the event pass, false swallows it.
using EventTapCallback = std::function<bool(uint32_t type, const InputEvent& event)>;

/// A tap that exists. Destroying it ends it: what it grabbed is let go, a running callback is waited for (except on its
/// own thread), none comes afterwards.
class EventTapHandle {
 public:
  virtual ~EventTapHandle() = default;
  virtual bool isEnabled() const = 0;
  virtual void setEnabled(bool enabled) = 0;
};

/// The input devices: watching the keyboard, posting pointer events. Calls may come from any thread.
class InputPlatform {
 public:
  virtual ~InputPlatform() = default;

  /// A new tap, not yet enabled; null when the platform does not permit one.
  virtual std::unique_ptr<EventTapHandle> createEventTap(const EventTapConfiguration& configuration,
                                                         EventTapCallback callback) = 0;
  /// Posts one event. Modifier keys that the user holds do not colour a posted button event. The left button never
  /// stays down when the process ends.
  virtual void postMouseEvent(const MouseEvent& event, uint32_t location) = 0;
  virtual void beep() = 0;
};

}  // namespace jumplark
