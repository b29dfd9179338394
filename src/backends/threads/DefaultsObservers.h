#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Defaults.h"
#include "platform/Queues.h"

namespace jumplark {

/// Who is called when the value of a key changes. Calls are made on the main queue, in the order of the changes, each
/// with the value that the change gave. Safe on any thread.
class DefaultsObservers {
 public:
  /// The queues outlive this and its tokens.
  explicit DefaultsObservers(Queues& queues) : queues_(queues) {}

  Token observe(const std::string& key, Defaults::Observer observer) {
    auto slot = std::make_shared<Slot>();
    slot->observer = std::make_shared<const Defaults::Observer>(std::move(observer));
    const std::scoped_lock lock(mutex_);
    auto& slots = slots_[key];
    std::erase_if(slots, [](const auto& other) { return other.expired(); });
    slots.push_back(slot);
    return Token([slot] { slot->end(); });
  }

  void announce(const std::string& key, const DefaultsValue& value) {
    std::vector<std::weak_ptr<Slot>> slots;
    {
      const std::scoped_lock lock(mutex_);
      const auto found = slots_.find(key);
      if (found != slots_.end()) {
        slots = found->second;
      }
    }
    for (const auto& slot : slots) {
      queues_.mainQueue().post([slot, value, &queues = queues_] {
        if (const auto alive = slot.lock()) {
          alive->call(value, queues);
        }
      });
    }
  }

 private:
  /// One observer. Its token owns it; a call under way keeps it.
  struct Slot {
    std::mutex mutex;
    std::shared_ptr<const Defaults::Observer> observer;  ///< none once the token is gone
    std::shared_ptr<Completion> running;                 ///< signalled when the running call ends; none when none runs
    std::thread::id runner;

    void call(const DefaultsValue& value, Queues& queues) {
      std::shared_ptr<const Defaults::Observer> call;
      {
        const std::scoped_lock lock(mutex);
        if (!observer) {
          return;
        }
        call = observer;
        running = queues.makeCompletion();
        runner = std::this_thread::get_id();
      }
      (*call)(value);
      call.reset();
      const std::scoped_lock lock(mutex);
      runner = {};
      std::exchange(running, nullptr)->signal();
    }

    void end() {
      std::shared_ptr<Completion> call;
      std::shared_ptr<const Defaults::Observer> dropped;  // outlives the lock
      {
        const std::scoped_lock lock(mutex);
        dropped.swap(observer);
        call = runner == std::this_thread::get_id() ? nullptr : running;
      }
      if (call) {
        call->wait(Duration::max());
      }
    }
  };

  Queues& queues_;
  std::mutex mutex_;
  std::map<std::string, std::vector<std::weak_ptr<Slot>>> slots_;
};

}  // namespace jumplark
