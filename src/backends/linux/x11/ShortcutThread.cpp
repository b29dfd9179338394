#include "backends/linux/x11/ShortcutThread.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "backends/linux/x11/KeyboardEvents.h"
#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/XkbHeader.h"
#include "platform/Input.h"

namespace jumplark {
namespace {

/// Who got nothing for longer has gone on with something else.
constexpr std::chrono::seconds kPatienceWithMenus{1};
constexpr std::chrono::milliseconds kBetweenAttempts{20};

// Otherwise each repeat of a held key is preceded by a release.
void reportRepeatsAsPresses(const X11Connection& x) {
  constexpr uint32_t flag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
  x11::takeReply(x.get(), xcb_xkb_per_client_flags_reply,
                 xcb_xkb_per_client_flags(x.get(), XCB_XKB_ID_USE_CORE_KBD, flag, flag, 0, 0, 0));
}

}  // namespace

std::shared_ptr<ShortcutThread> ShortcutThread::create(const std::string& display, Callbacks callbacks) {
  auto grabbing = X11Connection::open(display).connection;
  auto watching = X11Connection::open(display).connection;
  auto map = watching ? KeyboardMap::read(*watching) : nullptr;
  if (!grabbing || !map) {
    return nullptr;
  }
  reportRepeatsAsPresses(*grabbing);
  return std::shared_ptr<ShortcutThread>(
      new ShortcutThread(std::move(grabbing), std::move(watching), std::move(map), std::move(callbacks)));
}

ShortcutThread::ShortcutThread(std::shared_ptr<X11Connection> grabbing, std::shared_ptr<X11Connection> watching,
                               std::shared_ptr<const KeyboardMap> map, Callbacks callbacks)
    : x_(std::move(grabbing)),
      watchX_(std::move(watching)),
      callbacks_(std::move(callbacks)),
      wakeFd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      grabs_(x_, std::move(map)),
      watch_(watchX_),
      menuCloser_(x_, callbacks_.willReleaseKey, callbacks_.menuWillClose),
      thread_([this] { run(); }) {}

ShortcutThread::~ShortcutThread() {
  stop();
  close(wakeFd_);
}

void ShortcutThread::stop() {
  stopping_ = true;
  wake();
  if (thread_.joinable()) {
    thread_.join();
  }
}

ShortcutState ShortcutThread::add(uint64_t id, const Shortcut& shortcut) {
  const std::lock_guard lock(mutex_);
  const ShortcutState state = x_->alive() ? grabs_.add(id, shortcut) : ShortcutState::outOfReach;
  wake();
  return state;
}

void ShortcutThread::remove(uint64_t id) {
  const std::lock_guard lock(mutex_);
  grabs_.remove(id);
  if (pressedId_ == id && handOver_.answered == Clock::time_point{}) {
    takesKeyboard_ = false;
    handOver_.answered = Clock::now();
  }
  wake();
}

ShortcutState ShortcutThread::probe(const Shortcut& shortcut) {
  const std::lock_guard lock(mutex_);
  const ShortcutState state = x_->alive() ? grabs_.probe(shortcut) : ShortcutState::outOfReach;
  wake();
  return state;
}

void ShortcutThread::answer(uint64_t press, bool takesKeyboard, ShortcutHandOver::Time handled) {
  const std::lock_guard lock(mutex_);
  if (handOver_.press == press && handOver_.answered == Clock::time_point{}) {
    handOver_.handled = handled;
    handOver_.answered = Clock::now();
    takesKeyboard_ = takesKeyboard;
    wake();
  }
}

void ShortcutThread::keyboardArrived() {
  const std::lock_guard lock(mutex_);
  if (handOver_.press != 0 && handOver_.end == ShortcutHandOver::End::pending) {
    arrived_ = true;
    wake();
  }
}

ShortcutHandOver ShortcutThread::lastHandOver() const {
  const std::lock_guard lock(mutex_);
  return handOver_;
}

void ShortcutThread::run() {
  while (!stopping_ && x_->alive() && watchX_->alive()) {
    handleInput();
    // Waiting for a reply may have brought events, which the sockets no longer show.
    if (!settle() && !tryAgain() && !followKeyboard()) {
      wait();
    }
  }
  // Without this thread a press would stay frozen.
  xcb_ungrab_key(x_->get(), XCB_GRAB_ANY, x_->root(), XCB_MOD_MASK_ANY);
  xcb_ungrab_keyboard(x_->get(), XCB_CURRENT_TIME);
  xcb_flush(x_->get());
}

void ShortcutThread::handleInput() {
  readGrabbed();
  watch_.read();
  if (const auto modifiers = watch_.takeModifiers()) {
    handleSeenModifiers(*modifiers);
  }
  while (const auto press = watch_.takePress()) {
    handleSeenPress(*press);
  }
}

void ShortcutThread::readGrabbed() {
  while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_event(x_->get())}) {
    switch (event->response_type & 0x7F) {
      case XCB_KEY_PRESS:
        handleGrabbedPress(reinterpret_cast<const xcb_key_press_event_t&>(*event));
        break;
      case XCB_KEY_RELEASE:
        handleGrabbedRelease(reinterpret_cast<const xcb_key_release_event_t&>(*event));
        break;
      default:
        break;
    }
  }
}

void ShortcutThread::handleGrabbedPress(const xcb_key_press_event_t& event) {
  watch_.synchronise();
  const bool isFirst = watch_.isFirstPress(event.detail, event.time);
  if (state_ == State::holding && !(isFirst && event.detail == heldKey_)) {
    // Another key is for whoever has the focus; handing it on ends the grab.
    const bool repeats = event.detail == heldKey_;
    allow(repeats ? XCB_ALLOW_SYNC_KEYBOARD : XCB_ALLOW_REPLAY_KEYBOARD);
    state_ = repeats ? State::holding : State::free;
    return;
  }
  lastGrabbed_ = {event.detail, event.time, 0};
  activeGrab_ = false;
  const auto id = find(event.detail, event.state);
  if (id && isFirst) {
    begin(*id, event.detail, event.time, false);
  } else {
    letGo(event.detail);
  }
}

void ShortcutThread::handleGrabbedRelease(const xcb_key_release_event_t& event) {
  if (state_ != State::holding) {
    return;
  }
  if (event.detail != heldKey_) {
    allow(XCB_ALLOW_SYNC_KEYBOARD);
    return;
  }
  // A passive grab has ended with this release, and the next one may have begun.
  if (activeGrab_) {
    xcb_ungrab_keyboard(x_->get(), XCB_CURRENT_TIME);
    xcb_flush(x_->get());
  }
  state_ = State::free;
}

// A press of a shortcut that no grab has reported went to a client that holds the keyboard.
void ShortcutThread::handleSeenPress(const RawKeyWatch::Press& press) {
  if (!find(press.keycode, press.modifiers)) {
    return;
  }
  x_->check(xcb_no_operation_checked(x_->get()));
  readGrabbed();
  const bool reported = lastGrabbed_.keycode == press.keycode && lastGrabbed_.time == press.time;
  const auto id = find(press.keycode, press.modifiers);
  if (reported || !id || state_ != State::free) {
    return;
  }
  const auto escapes = grabs_.map().keycodesFor(key_code::escape);
  if (menuCloser_.takeKeyboard(escapes.empty() ? 0 : escapes.front(), stopping_)) {
    watch_.synchronise();
    // The menu's closing is a later event of the user's than the press.
    begin(*id, press.keycode, watch_.lastTime(), true);
  } else {
    refused_ = {*id, press.keycode, Clock::now() + kPatienceWithMenus};
  }
}

// An application that is busy closes its menu later.
bool ShortcutThread::tryAgain() {
  if (!refused_) {
    return false;
  }
  const bool isOver = Clock::now() >= refused_->until;
  if (state_ == State::free && !isOver && !menuCloser_.grab()) {
    return false;
  }
  const Refused press = *std::exchange(refused_, std::nullopt);
  if (state_ == State::free && !isOver) {
    watch_.synchronise();
    begin(press.id, press.keycode, watch_.lastTime(), true);
  } else if (isOver && callbacks_.keyboardIsKept) {
    callbacks_.keyboardIsKept();
  }
  return true;
}

void ShortcutThread::handleSeenModifiers(uint16_t modifiers) {
  if (state_ != State::free || !callbacks_.mayBePressed) {
    return;
  }
  bool mayBeNext = false;
  {
    const std::lock_guard lock(mutex_);
    mayBeNext = grabs_.needs(modifiers);
  }
  if (mayBeNext && menuCloser_.doPopupsShow()) {
    callbacks_.mayBePressed();
  }
}

void ShortcutThread::begin(uint64_t id, uint8_t keycode, uint32_t time, bool throughMenu) {
  uint64_t press = 0;
  {
    const std::lock_guard lock(mutex_);
    press = handOver_.press + 1;
    handOver_ = {};
    handOver_.press = press;
    handOver_.xTime = time;
    handOver_.throughMenu = throughMenu;
    handOver_.seen = Clock::now();
    pressedId_ = id;
    takesKeyboard_ = false;
    arrived_ = false;
    deadline_ = handOver_.seen + kDeadline;
  }
  state_ = State::frozen;
  heldKey_ = keycode;
  activeGrab_ = throughMenu;
  if (callbacks_.pressed) {
    callbacks_.pressed(time);
  }
  // Some menus leave the keyboard to others, and close as soon as those take it.
  if (!throughMenu && callbacks_.menuWillClose && menuCloser_.doPopupsShow()) {
    callbacks_.menuWillClose(false);
  }
  callbacks_.callHandler(id, press);
}

// Lets the keyboard go when it is decided where the keys belong.
bool ShortcutThread::settle() {
  if (state_ != State::frozen) {
    return false;
  }
  using End = ShortcutHandOver::End;
  const std::lock_guard lock(mutex_);
  const bool answered = handOver_.answered != Clock::time_point{};
  if (answered && takesKeyboard_ && arrived_) {
    handOver_.end = End::arrived;
  } else if (answered && !takesKeyboard_) {
    handOver_.end = End::refused;
  } else if (Clock::now() >= deadline_) {
    handOver_.end = End::deadline;
  } else {
    return false;
  }
  letGo(heldKey_);
  handOver_.released = Clock::now();
  return true;
}

// Keys flow again, except that this one is kept until it goes up.
void ShortcutThread::letGo(uint8_t keycode) {
  heldKey_ = keycode;
  if (activeGrab_ && !isDown(keycode)) {
    xcb_ungrab_keyboard(x_->get(), XCB_CURRENT_TIME);
    xcb_flush(x_->get());
    state_ = State::free;
    return;
  }
  state_ = State::holding;
  allow(XCB_ALLOW_SYNC_KEYBOARD);
}

void ShortcutThread::allow(uint8_t mode) {
  xcb_allow_events(x_->get(), mode, XCB_CURRENT_TIME);
  xcb_flush(x_->get());
}

bool ShortcutThread::isDown(uint8_t keycode) const {
  const auto keymap = x11::takeReply(x_->get(), xcb_query_keymap_reply, xcb_query_keymap(x_->get()));
  return keymap && ((keymap->keys[keycode / 8] >> (keycode % 8U)) & 1U) != 0;
}

std::optional<uint64_t> ShortcutThread::find(uint8_t keycode, uint16_t modifiers) const {
  const std::lock_guard lock(mutex_);
  return grabs_.find(keycode, modifiers);
}

bool ShortcutThread::followKeyboard() {
  if (watch_.takeKeyboardChange()) {
    regrabAt_ = Clock::now() + x11::kKeyboardQuiet;
  }
  if (!regrabAt_ || Clock::now() < *regrabAt_) {
    return false;
  }
  regrabAt_.reset();
  if (auto map = KeyboardMap::read(*watchX_)) {
    const std::lock_guard lock(mutex_);
    grabs_.setMap(std::move(map));
  }
  return true;
}

void ShortcutThread::wait() {
  pollfd fds[] = {{wakeFd_, POLLIN, 0},
                  {xcb_get_file_descriptor(x_->get()), POLLIN, 0},
                  {xcb_get_file_descriptor(watchX_->get()), POLLIN, 0}};
  poll(fds, std::size(fds), millisecondsToWait());
  if ((fds[0].revents & POLLIN) != 0) {
    uint64_t counter = 0;
    [[maybe_unused]] const ssize_t drained = read(wakeFd_, &counter, sizeof counter);
  }
}

int ShortcutThread::millisecondsToWait() const {
  std::optional<Clock::time_point> until = regrabAt_;
  if (state_ == State::frozen) {
    until = std::min(deadline_, until.value_or(deadline_));
  }
  if (refused_) {
    const auto next = Clock::now() + kBetweenAttempts;
    until = std::min(next, until.value_or(next));
  }
  if (!until) {
    return -1;
  }
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*until - Clock::now()).count();
  return static_cast<int>(std::max<int64_t>(left, 0));
}

void ShortcutThread::wake() {
  const uint64_t one = 1;
  // A full counter is awake already.
  [[maybe_unused]] const ssize_t written = write(wakeFd_, &one, sizeof one);
}

}  // namespace jumplark
