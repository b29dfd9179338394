#include "backends/linux/qt/KeyTranslator.h"

#include <QKeyEvent>
#include <utility>

#include "backends/linux/qt/KeyMeanings.h"
#include "platform/Input.h"

namespace jumplark {
namespace {

// Bits of a native state, the same on X11 and in the keymaps that compositors hand out.
constexpr uint32_t kShift = 1U << 0U;
constexpr uint32_t kControl = 1U << 2U;
constexpr uint32_t kMod1 = 1U << 3U;
constexpr uint32_t kMod4 = 1U << 6U;

uint64_t flagsOf(uint32_t state) {
  constexpr std::pair<uint32_t, uint64_t> kBits[] = {{kShift, modifier_flag::shift},
                                                     {kControl, modifier_flag::control},
                                                     {kMod1, modifier_flag::option},
                                                     {kMod4, modifier_flag::command}};
  uint64_t flags = 0;
  for (const auto& [bit, flag] : kBits) {
    flags |= (state & bit) != 0 ? flag : 0;
  }
  return flags;
}

uint64_t flagsOf(Qt::KeyboardModifiers modifiers) {
  return (modifiers.testFlag(Qt::ShiftModifier) ? modifier_flag::shift : 0) |
         (modifiers.testFlag(Qt::ControlModifier) ? modifier_flag::control : 0) |
         (modifiers.testFlag(Qt::AltModifier) ? modifier_flag::option : 0) |
         (modifiers.testFlag(Qt::MetaModifier) ? modifier_flag::command : 0);
}

bool isModifierKey(int key) {
  return (key >= Qt::Key_Shift && key <= Qt::Key_ScrollLock) || (key >= Qt::Key_Super_L && key <= Qt::Key_Hyper_R) ||
         key == Qt::Key_AltGr;
}

/// For events that an input method made and that name no key of the keyboard.
int64_t codeOf(const QKeyEvent& event) {
  switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      return key_code::returnKey;
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
      return key_code::tab;
    case Qt::Key_Space:
      return key_code::space;
    case Qt::Key_Backspace:
      return key_code::backspace;
    case Qt::Key_Escape:
      return key_code::escape;
    default:
      return key_code::symbolBase + event.nativeVirtualKey();
  }
}

}  // namespace

std::optional<KeyEvent> KeyTranslator::translate(const QKeyEvent& event) const {
  KeyEvent result;
  result.characters = event.text().toStdString();
  result.isRepeat = event.isAutoRepeat();
  const uint32_t state = event.nativeModifiers();
  const auto meaning = keys_.meaningOf(event.nativeScanCode(), state);
  if (!meaning) {
    if (isModifierKey(event.key())) {
      return std::nullopt;
    }
    result.keyCode = codeOf(event);
    result.flags = flagsOf(event.modifiers());
    result.charactersIgnoringModifiers = result.characters;
    return result;
  }
  if (meaning->isModifier) {
    return std::nullopt;
  }
  result.keyCode = meaning->code;
  result.flags = flagsOf(state);
  result.charactersIgnoringModifiers = meaning->characters;
  return result;
}

}  // namespace jumplark
