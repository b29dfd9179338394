#pragma once

#include <chrono>
#include <cstdint>

#include "backends/linux/x11/X11Connection.h"

/// What a connection asks to be told about the keyboard and the raw input devices.
namespace jumplark::x11 {

/// One change of the keyboard layout gives several notifications; it is over when none has come for this long.
inline constexpr std::chrono::milliseconds kKeyboardQuiet{50};

/// Selects raw events (XCB_INPUT_XI_EVENT_MASK_RAW_...) of all devices, each reported once; 0 ends it.
void selectRawEvents(const X11Connection& x, uint32_t mask);

/// Selects the notices of a new keyboard map and, if wanted, of each change of modifiers and group.
void selectKeyboardEvents(const X11Connection& x, bool state);

/// True for a notice after which the keyboard map is to be read again.
bool isKeyboardChange(const X11Connection& x, const xcb_generic_event_t& event);

/// True for an XInput 2 event.
bool isInputEvent(const X11Connection& x, const xcb_generic_event_t& event);

}  // namespace jumplark::x11
