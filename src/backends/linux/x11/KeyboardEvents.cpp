#include "backends/linux/x11/KeyboardEvents.h"

#include <xcb/xinput.h>

#include "backends/linux/x11/XkbHeader.h"

namespace jumplark::x11 {

void selectRawEvents(const X11Connection& x, uint32_t mask) {
  struct {
    xcb_input_event_mask_t head;
    uint32_t mask;
  } selection{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, mask};
  x.check(xcb_input_xi_select_events_checked(x.get(), x.root(), 1, &selection.head));
}

void selectKeyboardEvents(const X11Connection& x, bool state) {
  constexpr uint16_t always = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
  constexpr uint16_t stateParts = XCB_XKB_STATE_PART_MODIFIER_STATE | XCB_XKB_STATE_PART_GROUP_STATE;
  constexpr uint16_t mapParts = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP |
                                XCB_XKB_MAP_PART_VIRTUAL_MODS | XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP;
  constexpr uint16_t keyboardParts = XCB_XKB_NKN_DETAIL_KEYCODES;
  xcb_xkb_select_events_details_t details{};
  details.affectNewKeyboard = keyboardParts;
  details.newKeyboardDetails = keyboardParts;
  details.affectState = stateParts;
  details.stateDetails = state ? stateParts : 0;
  x.check(xcb_xkb_select_events_aux_checked(x.get(), XCB_XKB_ID_USE_CORE_KBD, always | XCB_XKB_EVENT_TYPE_STATE_NOTIFY,
                                            0, 0, mapParts, mapParts, &details));
}

bool isKeyboardChange(const X11Connection& x, const xcb_generic_event_t& event) {
  const uint8_t type = event.response_type & 0x7FU;
  return type == XCB_MAPPING_NOTIFY ||
         (x.extensions().xkb > 0 && type == x.extensions().xkbFirstEvent && event.pad0 != XCB_XKB_STATE_NOTIFY);
}

bool isInputEvent(const X11Connection& x, const xcb_generic_event_t& event) {
  return (event.response_type & 0x7FU) == XCB_GE_GENERIC &&
         reinterpret_cast<const xcb_ge_generic_event_t&>(event).extension == x.extensions().xinputOpcode;
}

}  // namespace jumplark::x11
