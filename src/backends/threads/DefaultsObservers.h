#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "backends/threads/GuardedCallback.h"
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
    auto slot = std::make_shared<Slot>(std::move(observer));
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
          alive->call(queues, value);
        }
      });
    }
  }

 private:
  /// One observer; its token owns it.
  using Slot = GuardedCallback<const DefaultsValue&>;

  Queues& queues_;
  std::mutex mutex_;
  std::map<std::string, std::vector<std::weak_ptr<Slot>>> slots_;
};

}  // namespace jumplark
