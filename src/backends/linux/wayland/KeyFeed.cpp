#include "backends/linux/wayland/KeyFeed.h"

#include <utility>

namespace jumplark {
namespace {

/// Bits of the real modifiers, which are the same in every keymap, and what they usually stand for.
constexpr std::pair<uint32_t, uint64_t> kModifiers[] = {{1U << 0U, modifier_flag::shift},
                                                        {1U << 2U, modifier_flag::control},
                                                        {1U << 3U, modifier_flag::option},
                                                        {1U << 6U, modifier_flag::command}};

uint64_t flagsOf(uint32_t held) {
  uint64_t flags = 0;
  for (const auto& [bit, flag] : kModifiers) {
    flags |= (held & bit) != 0 ? flag : 0;
  }
  return flags;
}

}  // namespace

KeyFeed::KeyFeed(wayland::KeyboardWatch& keyboard, WaylandInput& input)
    : keyboard_(keyboard),
      input_(input),
      token_(keyboard.addListener(
          {.entered = [this](wl_surface*, const std::vector<uint32_t>&) { entered(); },
           .left = nullptr,
           .key = [this](uint32_t keycode, bool isDown, uint32_t time) { key(keycode, isDown, time); },
           .modifiersChanged = [this](const auto& modifiers) { modifiersChanged(modifiers); }})) {}

void KeyFeed::entered() {
  hasEntered_ = true;
}

void KeyFeed::key(uint32_t keycode, bool isDown, uint32_t time) {
  const KeySymbols* const symbols = keyboard_.symbols();
  if (symbols == nullptr) {
    return;
  }
  const KeySymbols::Key meaning = symbols->key(keycode, keyboard_.modifiers().group);
  lastCode_ = meaning.code;
  lastTime_ = std::chrono::milliseconds(time);
  if (!meaning.isModifier) {
    InputEvent event;
    event.type = isDown ? event_type::keyDown : event_type::keyUp;
    event.keyCode = meaning.code;
    event.flags = flags_;
    event.charactersIgnoringModifiers = meaning.characters;
    event.time = lastTime_;
    event.previousFlags = flags_;
    input_.taps().deliver(event);
  }
}

/// Comes after the key that changed them.
void KeyFeed::modifiersChanged(const wayland::KeyboardWatch::Modifiers& modifiers) {
  const uint64_t before = std::exchange(flags_, flagsOf(modifiers.held));
  input_.noteHeldModifiers(flags_);
  // What was held as the window came belongs to what opened it.
  if (std::exchange(hasEntered_, false) || before == flags_) {
    return;
  }
  InputEvent event;
  event.type = event_type::flagsChanged;
  event.keyCode = lastCode_;
  event.flags = flags_;
  event.time = lastTime_;
  event.previousFlags = before;
  input_.taps().deliver(event);
}

}  // namespace jumplark
