#include "backends/linux/wayland/WaylandShortcuts.h"

#include <atomic>
#include <chrono>
#include <utility>

#include "backends/linux/system/CallbackSlot.h"

namespace jumplark {
namespace {

/// Who got nothing for so long has gone on with something else; what the shortcut opens would be in the way.
constexpr std::chrono::seconds kPatienceOfUser{1};

struct Entry {
  explicit Entry(GlobalShortcuts::Handler handler) : slot(std::move(handler)) {}
  CallbackSlot<bool> slot;
  std::atomic<bool> waiting{false};  ///< a call of the handler is on the queue and has not begun
};

void pressed(const std::shared_ptr<Entry>& entry, TaskQueue& queue) {
  if (entry->waiting.exchange(true)) {
    return;
  }
  const auto at = std::chrono::steady_clock::now();
  queue.post([entry, at] {
    entry->waiting = false;
    if (std::chrono::steady_clock::now() - at <= kPatienceOfUser) {
      entry->slot.callOr(false);
    }
  });
}

}  // namespace

GlobalShortcuts::Registration WaylandShortcuts::registerShortcut(const Shortcut& shortcut, Handler handler) {
  const uint32_t key = symbolOf(shortcut.keyCode);
  if (key == 0) {
    return {ShortcutState::noSuchKey, {}};
  }
  const auto entry = std::make_shared<Entry>(std::move(handler));
  switch (compositor_.bind(key, shortcut.modifierFlags, [entry, &queue = mainQueue_] { pressed(entry, queue); })) {
    case Compositor::Binding::taken:
      return {ShortcutState::taken, {}};
    case Compositor::Binding::refused:
      return {ShortcutState::outOfReach, {}};
    case Compositor::Binding::bound:
      break;
  }
  return {ShortcutState::registered, Token([this, entry, key, modifiers = shortcut.modifierFlags] {
            compositor_.release(key, modifiers);
            entry->slot.close();
          })};
}

ShortcutState WaylandShortcuts::probe(const Shortcut& shortcut) {
  const uint32_t key = symbolOf(shortcut.keyCode);
  if (key == 0) {
    return ShortcutState::noSuchKey;
  }
  return compositor_.isTaken(key, shortcut.modifierFlags) ? ShortcutState::taken : ShortcutState::registered;
}

}  // namespace jumplark
