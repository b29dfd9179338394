#include "backends/linux/x11/X11EventTaps.h"

#include <xcb/xinput.h>

#include <algorithm>
#include <utility>

#include "backends/linux/x11/KeyboardEvents.h"
#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/XkbHeader.h"

namespace jumplark {
namespace {

using x11::takeReply;

constexpr uint32_t kLeftButton = 1;

constexpr uint64_t bit(uint32_t type) {
  return uint64_t{1} << type;
}
constexpr uint64_t kKeyEvents = bit(event_type::keyDown) | bit(event_type::keyUp) | bit(event_type::flagsChanged);
constexpr uint64_t kButtonEvents = bit(event_type::leftMouseDown) | bit(event_type::leftMouseUp);

// A key that is kept from applications and held on is not a press again.
bool wants(const EventTapConfiguration& configuration, const InputEvent& event) {
  const auto& swallowed = configuration.swallowedKeyCodes;
  const bool isSwallowed = configuration.options == 0 && std::ranges::find(swallowed, event.keyCode) != swallowed.end();
  return (configuration.mask & bit(event.type)) != 0 && !(event.isRepeat && isSwallowed);
}

bool isBefore(uint32_t sequence, uint32_t other) {
  return static_cast<int32_t>(sequence - other) < 0;
}

}  // namespace

class X11EventTaps::Handle final : public EventTapHandle {
 public:
  Handle(std::weak_ptr<X11EventTaps> taps, std::shared_ptr<Tap> tap) : taps_(std::move(taps)), tap_(std::move(tap)) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() override {
    if (const auto taps = taps_.lock()) {
      taps->remove(tap_);
    }
    tap_->slot.close();
  }
  bool isEnabled() const override { return tap_->enabled; }
  void setEnabled(bool enabled) override {
    if (const auto taps = taps_.lock()) {
      taps->setEnabled(*tap_, enabled);
    }
  }

 private:
  std::weak_ptr<X11EventTaps> taps_;
  std::shared_ptr<Tap> tap_;
};

std::shared_ptr<X11EventTaps> X11EventTaps::create(const std::string& display) {
  auto connection = X11Connection::open(display).connection;
  if (!connection || connection->extensions().xinput < 202 || connection->extensions().xkb == 0) {
    return nullptr;
  }
  auto map = KeyboardMap::read(*connection);
  if (!map) {
    return nullptr;
  }
  std::shared_ptr<X11EventTaps> result(new X11EventTaps(std::move(connection)));
  result->tracker_.setMap(std::move(map));
  x11::selectKeyboardEvents(*result->x_, false);
  result->thread_.start();
  return result;
}

X11EventTaps::X11EventTaps(std::shared_ptr<X11Connection> connection)
    : x_(std::move(connection)),
      thread_(
          x_, [this](const xcb_generic_event_t& event) { handle(event); }, [this] { rereadKeyboard(); }) {}

X11EventTaps::~X11EventTaps() = default;

void X11EventTaps::stop() {
  thread_.stop();
  const std::lock_guard lock(mutex_);
  for (const auto& tap : taps_) {
    tap->enabled = false;
  }
  swallower_.reset();
}

std::unique_ptr<EventTapHandle> X11EventTaps::add(const EventTapConfiguration& configuration,
                                                  EventTapCallback callback) {
  auto tap = std::make_shared<Tap>(configuration, std::move(callback));
  const std::lock_guard lock(mutex_);
  if (!configuration.swallowedKeyCodes.empty() && !swallower_) {
    if (auto connection = X11Connection::open(x_->displayName()).connection) {
      swallower_ = std::make_unique<KeySwallower>(std::move(connection));
    }
  }
  taps_.insert(configuration.placement == 0 ? taps_.begin() : taps_.end(), tap);
  return std::make_unique<Handle>(weak_from_this(), std::move(tap));
}

void X11EventTaps::expectOwnRelease(uint8_t keycode) {
  const std::lock_guard lock(mutex_);
  if ((listeningFor_ & kKeyEvents) != 0) {
    tracker_.expectOwnRelease(keycode);
  }
}

void X11EventTaps::setEnabled(Tap& tap, bool enabled) {
  const std::lock_guard lock(mutex_);
  if (tap.enabled == enabled) {
    return;
  }
  tap.enabled = enabled;
  const bool begins = listen();
  if (enabled) {
    tap.validFrom = begins ? validFrom_ : synchronise(false);
  }
  updateGrabs();
  thread_.wake();
}

void X11EventTaps::remove(const std::shared_ptr<Tap>& tap) {
  setEnabled(*tap, false);
  const std::lock_guard lock(mutex_);
  std::erase(taps_, tap);
}

// Selects the events that the enabled taps want; nothing is reported otherwise. True when keys or buttons are followed
// from now on.
bool X11EventTaps::listen() {
  uint64_t wanted = 0;
  for (const auto& tap : taps_) {
    wanted |= tap->enabled ? tap->configuration.mask & (kKeyEvents | kButtonEvents) : 0;
  }
  // Keys are followed as a whole: a repeat shows by what was down before.
  wanted |= (wanted & kKeyEvents) != 0 ? kKeyEvents : 0;
  if (wanted == listeningFor_) {
    return false;
  }
  const bool begins = listeningFor_ == 0 || ((wanted & ~listeningFor_) & kKeyEvents) != 0;
  listeningFor_ = static_cast<uint32_t>(wanted);
  uint32_t raw = 0;
  if ((wanted & kKeyEvents) != 0) {
    raw |= XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE;
  }
  if ((wanted & kButtonEvents) != 0) {
    raw |= XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE;
  }
  x11::selectRawEvents(*x_, raw);
  x11::selectKeyboardEvents(*x_, wanted != 0);
  if (begins) {
    validFrom_ = synchronise(true);
  }
  return begins;
}

// A point in the stream of events: the number of a request that the X server has carried out. The tracker starts anew
// from the state of the keyboard at this very point.
uint32_t X11EventTaps::synchronise(bool reset) {
  const auto stateCookie = xcb_xkb_get_state(x_->get(), XCB_XKB_ID_USE_CORE_KBD);
  const auto keymapCookie = xcb_query_keymap(x_->get());
  const auto state = takeReply(x_->get(), xcb_xkb_get_state_reply, stateCookie);
  const auto keymap = takeReply(x_->get(), xcb_query_keymap_reply, keymapCookie);
  if (reset && state && keymap) {
    KeyTracker::KeyBits down{};
    std::ranges::copy(keymap->keys, down.begin());
    tracker_.reset(down, state->mods, state->group);
  }
  return keymapCookie.sequence;
}

void X11EventTaps::updateGrabs() {
  if (!swallower_) {
    return;
  }
  std::vector<KeySwallower::Combination> combinations;
  for (const auto& tap : taps_) {
    if (!tap->enabled || tap->configuration.options != 0) {
      continue;
    }
    for (const int64_t code : tap->configuration.swallowedKeyCodes) {
      for (const uint8_t keycode : tracker_.map()->keycodesFor(code)) {
        for (const uint16_t locks : tracker_.map()->lockCombinations()) {
          combinations.emplace_back(keycode, locks);
        }
      }
    }
  }
  swallower_->setCombinations(std::move(combinations));
}

void X11EventTaps::handle(const xcb_generic_event_t& event) {
  if (x11::isKeyboardChange(*x_, event)) {
    thread_.startTimer(x11::kKeyboardQuiet);
    return;
  }
  if (const auto translated = translate(event)) {
    deliver(*translated, event.full_sequence);
  }
}

std::optional<InputEvent> X11EventTaps::translate(const xcb_generic_event_t& event) {
  const std::lock_guard lock(mutex_);
  const uint8_t type = event.response_type & 0x7FU;
  if (isBefore(event.full_sequence, validFrom_)) {
    return std::nullopt;
  }
  if (type == x_->extensions().xkbFirstEvent) {
    const auto& state = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event);
    return tracker_.state(state.mods, state.group, state.keycode, state.time);
  }
  return x11::isInputEvent(*x_, event) ? translateRaw(event) : std::nullopt;
}

std::optional<InputEvent> X11EventTaps::translateRaw(const xcb_generic_event_t& event) {
  const auto& raw = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
  switch (raw.event_type) {
    case XCB_INPUT_RAW_KEY_PRESS:
    case XCB_INPUT_RAW_KEY_RELEASE:
      return tracker_.key(raw.event_type == XCB_INPUT_RAW_KEY_PRESS, static_cast<uint8_t>(raw.detail), raw.time);
    case XCB_INPUT_RAW_BUTTON_PRESS:
    case XCB_INPUT_RAW_BUTTON_RELEASE:
      if (raw.detail == kLeftButton) {
        return tracker_.button(raw.event_type == XCB_INPUT_RAW_BUTTON_PRESS, raw.time);
      }
      return std::nullopt;
    default:
      return std::nullopt;
  }
}

void X11EventTaps::deliver(const InputEvent& event, uint32_t sequence) {
  std::vector<std::shared_ptr<Tap>> receivers;
  {
    const std::lock_guard lock(mutex_);
    std::ranges::copy_if(taps_, std::back_inserter(receivers), [&](const auto& tap) {
      return tap->enabled && !isBefore(sequence, tap->validFrom) && wants(tap->configuration, event);
    });
  }
  for (const auto& tap : receivers) {
    const bool passes = !tap->enabled || tap->slot.callOr(true, event.type, event);
    if (!passes && tap->configuration.options == 0) {
      return;
    }
  }
}

void X11EventTaps::rereadKeyboard() {
  auto map = KeyboardMap::read(*x_);
  const std::lock_guard lock(mutex_);
  if (map) {
    tracker_.setMap(std::move(map));
    updateGrabs();
  }
}

}  // namespace jumplark
