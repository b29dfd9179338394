#include "backends/linux/qt/x11/X11Keys.h"

#include <chrono>
#include <utility>

#include "backends/linux/qt/x11/NativeDisplay.h"
#include "backends/linux/x11/KeyboardMap.h"
#include "backends/linux/x11/X11Connection.h"

namespace jumplark {
namespace {

/// One change of the layout comes as several events.
constexpr std::chrono::milliseconds kQuietAfterRemap{50};

// Details of XKB's event, from the extension's protocol.
constexpr uint8_t kNewKeyboardNotify = 0;
constexpr uint8_t kMapNotify = 1;

}  // namespace

X11Keys::X11Keys(std::shared_ptr<X11Connection> x, NativeDisplay& display) : x_(std::move(x)) {
  reader_.setSingleShot(true);
  reader_.setInterval(kQuietAfterRemap);
  QObject::connect(&reader_, &QTimer::timeout, &reader_, [this] { map(); });
  events_ = display.addEventHandler([this](const xcb_generic_event_t& event) {
    // The second byte of an XKB event is its kind.
    handle(event.response_type & 0x7F, event.pad0);
  });
  map();
}

X11Keys::~X11Keys() = default;

void X11Keys::handle(uint8_t eventType, uint8_t detail) {
  const bool xkb = x_->extensions().xkb > 0 && eventType == x_->extensions().xkbFirstEvent &&
                   (detail == kNewKeyboardNotify || detail == kMapNotify);
  if (xkb || eventType == XCB_MAPPING_NOTIFY) {
    outdated_ = true;
    reader_.start();
  }
}

const KeyboardMap* X11Keys::map() {
  if (outdated_) {
    if (auto fresh = KeyboardMap::read(*x_)) {
      map_ = std::move(fresh);
    }
    outdated_ = false;
  }
  return map_.get();
}

std::optional<KeyMeaning> X11Keys::meaningOf(uint32_t keycode, uint32_t state) {
  const KeyboardMap* keyboard = map();
  if (keycode == 0 || keycode > 255 || !keyboard) {
    return std::nullopt;
  }
  // Bits 13 and 14 of an event's state are the group, by XKB's protocol.
  const auto key = keyboard->key(static_cast<uint8_t>(keycode), (state >> 13U) & 3U);
  return KeyMeaning{key.code, key.characters, key.isModifier};
}

}  // namespace jumplark
