#include "query/engine/KeyBindings.h"

#include <map>
#include <optional>
#include <utility>

#include "input/ZMOModifierTapDetector.h"
#include "platform/Input.h"
#include "platform/Views.h"
#include "query/engine/MainThreadCalls.h"

namespace jumplark {
namespace {

/// Whether a key types a character; on a layout without Latin letters, whether it would on one that has them.
bool types(const KeyEvent& event, const char* character) {
  return event.characters == character || event.charactersIgnoringModifiers == character;
}

std::optional<ListKey> listKeyOf(const KeyEvent& event) {
  static const std::map<std::pair<int64_t, uint64_t>, ListKey> kKeys = {
      {{key_code::f10, 0}, ListKey::toggle},
      {{key_code::backspace, 0}, ListKey::back},
      {{key_code::tab, 0}, ListKey::next},
      {{key_code::down, 0}, ListKey::next},
      {{key_code::tab, modifier_flag::shift}, ListKey::previous},
      {{key_code::up, 0}, ListKey::previous},
      {{key_code::pageDown, 0}, ListKey::pageDown},
      {{key_code::pageUp, 0}, ListKey::pageUp},
      {{key_code::home, 0}, ListKey::first},
      {{key_code::end, 0}, ListKey::last},
  };
  const uint64_t flags = event.flags & modifier_flag::deviceIndependentMask;
  const auto found = kKeys.find({event.keyCode, flags});
  if (found == kKeys.end()) {
    return event.keyCode == key_code::returnKey ? std::optional(ListKey::action)
           : flags == modifier_flag::control    ? std::optional(ListKey::label)
                                                : std::nullopt;
  }
  // A key that is held down to empty the field, or to go through the menus, must not close the list.
  const bool isHeld = event.isRepeat && (found->second == ListKey::back || found->second == ListKey::toggle);
  return isHeld ? std::nullopt : std::optional(found->second);
}

}  // namespace

// The detector calls on its tap's thread, which must not wait for the main one.
KeyBindings::KeyBindings(KeyCommands commands, ZMOModifierTapDetector& taps, MainThreadCalls& mainThread)
    : commands_(std::move(commands)) {
  taps.subscribeToModifierTapWithBlock(modifier_flag::control,
                                       [this, &mainThread](uint64_t tapCount, auto& /*detector*/) {
                                         mainThread.post([this, tapCount] { controlTapped(tapCount); });
                                       });
  for (const uint64_t idle : {modifier_flag::command, modifier_flag::option}) {
    taps.subscribeToModifierTapWithBlock(idle, [](uint64_t /*tapCount*/, auto& /*detector*/) {});
  }
}

void KeyBindings::keyDown(const KeyEvent& event) {
  if (const auto key = listKeyOf(event); key && commands_.listKey(*key)) {
    return;
  }
  const uint64_t flags = event.flags & modifier_flag::deviceIndependentMask;
  if (event.keyCode == key_code::returnKey) {
    commands_.actionElement();
  } else if (event.keyCode == key_code::escape) {
    commands_.deactivate();
  } else if (event.keyCode == key_code::tab) {
    if (flags == 0) {
      commands_.selectNextMatch();
    } else if (flags == modifier_flag::shift) {
      commands_.selectPreviousMatch();
    }
  } else if (event.keyCode == key_code::f5 && flags == 0) {
    commands_.refresh();
  } else if (flags == modifier_flag::command) {
    commandKeyDown(event);
  } else if (flags == modifier_flag::control) {
    commands_.selectionKeyReceived(event);
  }
}

void KeyBindings::commandKeyDown(const KeyEvent& event) {
  if (types(event, "r")) {
    commands_.refresh();
  } else if (types(event, ",")) {
    commands_.showPreferencesWindow();
  }
}

void KeyBindings::controlTapped(uint64_t tapCount) {
  if (tapCount == 1) {
    commands_.mouseToElement();
  } else if (tapCount == 2) {
    commands_.focusElement();
  }
}

}  // namespace jumplark
