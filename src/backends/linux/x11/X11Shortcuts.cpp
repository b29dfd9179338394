#include "backends/linux/x11/X11Shortcuts.h"

#include <map>
#include <utility>

#include "backends/linux/system/CallbackSlot.h"

namespace jumplark {
namespace {

/// Who got nothing for so long has gone on with something else; what the shortcut opens would be in the way.
constexpr std::chrono::seconds kPatienceOfUser{1};

}  // namespace

/// One registration.
struct X11Shortcuts::Entry {
  explicit Entry(Handler handler) : slot(std::move(handler)) {}
  CallbackSlot<bool> slot;
  std::mutex mutex;
  bool waiting = false;      ///< a call of the handler is on the queue and has not begun
  uint64_t latestPress = 0;  ///< what that call will answer
  std::chrono::steady_clock::time_point pressedAt{};
};

struct X11Shortcuts::Entries {
  std::mutex mutex;
  uint64_t lastId = 0;
  std::map<uint64_t, std::shared_ptr<Entry>> byId;
  std::weak_ptr<ShortcutThread> thread;

  std::shared_ptr<Entry> find(uint64_t id) {
    const std::lock_guard lock(mutex);
    const auto found = byId.find(id);
    return found == byId.end() ? nullptr : found->second;
  }
  uint64_t add(std::shared_ptr<Entry> entry) {
    const std::lock_guard lock(mutex);
    byId[++lastId] = std::move(entry);
    return lastId;
  }
  void remove(uint64_t id) {
    const std::lock_guard lock(mutex);
    byId.erase(id);
  }

  // On the shortcut thread.
  void call(uint64_t id, uint64_t press, TaskQueue& queue) {
    const auto entry = find(id);
    if (!entry) {
      return;
    }
    {
      const std::lock_guard lock(entry->mutex);
      entry->latestPress = press;
      entry->pressedAt = std::chrono::steady_clock::now();
      if (std::exchange(entry->waiting, true)) {
        return;
      }
    }
    queue.post([entry, thread = thread] { run(*entry, thread); });
  }

  static void run(Entry& entry, const std::weak_ptr<ShortcutThread>& thread) {
    const auto alive = thread.lock();
    if (!alive) {
      return;
    }
    const auto begin = std::chrono::steady_clock::now();
    uint64_t press = 0;
    bool isPast = false;
    {
      const std::lock_guard lock(entry.mutex);
      entry.waiting = false;
      press = entry.latestPress;
      isPast = begin - entry.pressedAt > kPatienceOfUser;
    }
    alive->answer(press, !isPast && entry.slot.callOr(false), begin);
  }
};

X11Shortcuts::X11Shortcuts(std::string display, TaskQueue& mainQueue, Hooks hooks)
    : display_(std::move(display)),
      mainQueue_(mainQueue),
      hooks_(std::move(hooks)),
      entries_(std::make_shared<Entries>()) {}

X11Shortcuts::~X11Shortcuts() {
  if (const auto alive = thread()) {
    alive->stop();
  }
}

std::shared_ptr<ShortcutThread> X11Shortcuts::thread() const {
  const std::lock_guard lock(mutex_);
  return thread_;
}

std::shared_ptr<ShortcutThread> X11Shortcuts::openThread() {
  const std::lock_guard lock(mutex_);
  if (!thread_) {
    const auto callHandler = [entries = entries_, queue = &mainQueue_](uint64_t id, uint64_t press) {
      entries->call(id, press, *queue);
    };
    thread_ = ShortcutThread::create(display_, {hooks_.pressed, callHandler, hooks_.willReleaseKey, hooks_.mayBePressed,
                                                hooks_.menuWillClose, hooks_.keyboardIsKept});
    const std::lock_guard entriesLock(entries_->mutex);
    entries_->thread = thread_;
  }
  return thread_;
}

GlobalShortcuts::Registration X11Shortcuts::registerShortcut(const Shortcut& shortcut, Handler handler) {
  const auto thread = openThread();
  if (!thread) {
    return {ShortcutState::outOfReach, {}};
  }
  const auto entry = std::make_shared<Entry>(std::move(handler));
  const uint64_t id = entries_->add(entry);
  const ShortcutState state = thread->add(id, shortcut);
  if (state != ShortcutState::registered) {
    entries_->remove(id);
    return {state, {}};
  }
  return {state, Token([entries = entries_, entry, id] {
            if (const auto alive = entries->thread.lock()) {
              alive->remove(id);
            }
            entries->remove(id);
            entry->slot.close();
          })};
}

ShortcutState X11Shortcuts::probe(const Shortcut& shortcut) {
  const auto thread = openThread();
  return thread ? thread->probe(shortcut) : ShortcutState::outOfReach;
}

void X11Shortcuts::keyboardArrived() {
  if (const auto alive = thread()) {
    alive->keyboardArrived();
  }
}

ShortcutHandOver X11Shortcuts::lastHandOver() const {
  const auto alive = thread();
  return alive ? alive->lastHandOver() : ShortcutHandOver{};
}

Duration X11Shortcuts::lastFrozenInterval() const {
  const ShortcutHandOver last = lastHandOver();
  return last.released - last.seen;
}

}  // namespace jumplark
