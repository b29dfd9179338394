#include "query/engine/KeyBindings.h"

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
