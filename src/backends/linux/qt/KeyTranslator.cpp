#include "backends/linux/qt/KeyTranslator.h"

#include <QKeyEvent>
#include <chrono>
#include <utility>

#include "backends/linux/qt/NativeDisplay.h"
#include "backends/linux/x11/KeyboardMap.h"
#include "backends/linux/x11/X11Connection.h"

namespace jumplark {
namespace {

/// One change of the layout comes as several events.
constexpr std::chrono::milliseconds kQuietAfterRemap{50};

// Details of XKB's event, from the extension's protocol.
constexpr uint8_t kNewKeyboardNotify = 0;
constexpr uint8_t kMapNotify = 1;

uint64_t flagsOf(uint32_t state) {
  const std::pair<uint32_t, uint64_t> kBits[] = {{XCB_MOD_MASK_SHIFT, modifier_flag::shift},
                                                 {XCB_MOD_MASK_CONTROL, modifier_flag::control},
                                                 {XCB_MOD_MASK_1, modifier_flag::option},
                                                 {XCB_MOD_MASK_4, modifier_flag::command}};
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

KeyTranslator::KeyTranslator(std::shared_ptr<X11Connection> x, NativeDisplay& display) : x_(std::move(x)) {
  reader_.setSingleShot(true);
  reader_.setInterval(kQuietAfterRemap);
  QObject::connect(&reader_, &QTimer::timeout, &reader_, [this] { map(); });
  events_ = display.addEventHandler([this](const xcb_generic_event_t& event) {
    // The second byte of an XKB event is its kind.
    handle(event.response_type & 0x7F, event.pad0);
  });
  map();
}

KeyTranslator::~KeyTranslator() = default;

void KeyTranslator::handle(uint8_t eventType, uint8_t detail) {
  const bool xkb = x_->extensions().xkb > 0 && eventType == x_->extensions().xkbFirstEvent &&
                   (detail == kNewKeyboardNotify || detail == kMapNotify);
  if (xkb || eventType == XCB_MAPPING_NOTIFY) {
    outdated_ = true;
    reader_.start();
  }
}

const KeyboardMap* KeyTranslator::map() {
  if (outdated_) {
    if (auto fresh = KeyboardMap::read(*x_)) {
      map_ = std::move(fresh);
    }
    outdated_ = false;
  }
  return map_.get();
}

std::optional<KeyEvent> KeyTranslator::translate(const QKeyEvent& event) {
  KeyEvent result;
  result.characters = event.text().toStdString();
  result.isRepeat = event.isAutoRepeat();
  const auto keycode = event.nativeScanCode();
  const KeyboardMap* keyboard = map();
  if (keycode == 0 || keycode > 255 || !keyboard) {
    if (isModifierKey(event.key())) {
      return std::nullopt;
    }
    result.keyCode = codeOf(event);
    result.flags = flagsOf(event.modifiers());
    result.charactersIgnoringModifiers = result.characters;
    return result;
  }
  // Bits 13 and 14 of an event's state are the group, by XKB's protocol.
  const uint32_t state = event.nativeModifiers();
  const auto key = keyboard->key(static_cast<uint8_t>(keycode), (state >> 13U) & 3U);
  if (key.isModifier) {
    return std::nullopt;
  }
  result.keyCode = key.code;
  result.flags = flagsOf(state);
  result.charactersIgnoringModifiers = key.characters;
  return result;
}

}  // namespace jumplark
