#include "backends/recorded/RecordedShortcuts.h"

#include <algorithm>
#include <utility>

#include "platform/Input.h"
#include "platform/Queues.h"

namespace jumplark {

/// One registration. The token owns it.
struct RecordedShortcuts::Entry {
  Shortcut shortcut;
  Handler handler;
};

struct RecordedShortcuts::State {
  mutable std::mutex mutex;
  std::vector<std::shared_ptr<Entry>> entries;
  std::vector<Shortcut> taken;
  std::vector<int64_t> missingKeys;
  std::vector<bool> answers;
  bool allTaken = false;
  bool outOfReach = false;

  ShortcutState probeLocked(const Shortcut& shortcut) const {
    if (outOfReach) {
      return ShortcutState::outOfReach;
    }
    if (std::find(missingKeys.begin(), missingKeys.end(), shortcut.keyCode) != missingKeys.end()) {
      return ShortcutState::noSuchKey;
    }
    return allTaken || std::find(taken.begin(), taken.end(), shortcut) != taken.end() ? ShortcutState::taken
                                                                                      : ShortcutState::registered;
  }
};

RecordedShortcuts::RecordedShortcuts(Queues& queues) : queues_(queues), state_(std::make_shared<State>()) {}

GlobalShortcuts::Registration RecordedShortcuts::registerShortcut(const Shortcut& shortcut, Handler handler) {
  const std::scoped_lock lock(state_->mutex);
  const ShortcutState found = state_->probeLocked(shortcut);
  if (found != ShortcutState::registered) {
    return {found, Token()};
  }
  auto entry = std::make_shared<Entry>(Entry{shortcut, std::move(handler)});
  state_->entries.push_back(entry);
  return {found, Token([state = state_, entry] {
            const std::scoped_lock ending(state->mutex);
            std::erase(state->entries, entry);
          })};
}

ShortcutState RecordedShortcuts::probe(const Shortcut& shortcut) {
  const std::scoped_lock lock(state_->mutex);
  return state_->probeLocked(shortcut);
}

std::string RecordedShortcuts::describe(const Shortcut& shortcut) {
  static const std::pair<uint64_t, const char*> kModifiers[] = {{modifier_flag::control, "Control+"},
                                                                {modifier_flag::option, "Alt+"},
                                                                {modifier_flag::command, "Super+"},
                                                                {modifier_flag::shift, "Shift+"}};
  std::string text;
  for (const auto& [flag, name] : kModifiers) {
    text += (shortcut.modifierFlags & flag) != 0 ? name : "";
  }
  return text + (shortcut.keyCode == key_code::space ? "Space" : "key " + std::to_string(shortcut.keyCode));
}

bool RecordedShortcuts::press(const Shortcut& shortcut) {
  std::vector<std::weak_ptr<Entry>> pressed;
  {
    const std::scoped_lock lock(state_->mutex);
    for (const auto& entry : state_->entries) {
      if (entry->shortcut == shortcut) {
        pressed.push_back(entry);
      }
    }
  }
  for (const auto& weak : pressed) {
    queues_.mainQueue().post([weak, state = state_] {
      if (const auto entry = weak.lock()) {
        const bool answer = entry->handler();
        const std::scoped_lock lock(state->mutex);
        state->answers.push_back(answer);
      }
    });
  }
  return !pressed.empty();
}

std::vector<bool> RecordedShortcuts::answers() const {
  const std::scoped_lock lock(state_->mutex);
  return state_->answers;
}

void RecordedShortcuts::setTaken(const Shortcut& shortcut, bool taken) {
  const std::scoped_lock lock(state_->mutex);
  std::erase(state_->taken, shortcut);
  if (taken) {
    state_->taken.push_back(shortcut);
  }
}

void RecordedShortcuts::setAllTaken(bool taken) {
  const std::scoped_lock lock(state_->mutex);
  state_->allTaken = taken;
}

void RecordedShortcuts::setKeyMissing(int64_t keyCode, bool missing) {
  const std::scoped_lock lock(state_->mutex);
  std::erase(state_->missingKeys, keyCode);
  if (missing) {
    state_->missingKeys.push_back(keyCode);
  }
}

void RecordedShortcuts::setOutOfReach(bool outOfReach) {
  const std::scoped_lock lock(state_->mutex);
  state_->outOfReach = outOfReach;
}

std::vector<Shortcut> RecordedShortcuts::registered() const {
  const std::scoped_lock lock(state_->mutex);
  std::vector<Shortcut> shortcuts;
  for (const auto& entry : state_->entries) {
    shortcuts.push_back(entry->shortcut);
  }
  return shortcuts;
}

}  // namespace jumplark
