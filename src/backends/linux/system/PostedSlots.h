#pragma once

#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <utility>

#include "backends/linux/system/CallbackSlot.h"
#include "platform/Queues.h"
#include "platform/Token.h"

namespace jumplark {

/// Callbacks that are called on a queue, each until its token is destroyed. Safe on any thread.
template <typename... Arguments>
class PostedSlots {
 public:
  /// The token runs `ended`, if given, after the callback has been taken away.
  Token add(std::function<void(Arguments...)> callback, std::function<void()> ended = {}) {
    const auto slot = std::make_shared<Slot>([callback = std::move(callback)](Arguments... arguments) {
      callback(arguments...);
      return true;
    });
    const std::lock_guard lock(mutex_);
    slots_.push_back(slot);
    return Token([slot, ended = std::move(ended)] {
      slot->close();
      if (ended) {
        ended();
      }
    });
  }

  void post(TaskQueue& queue, Arguments... arguments) {
    const std::lock_guard lock(mutex_);
    std::erase_if(slots_, [](const auto& slot) { return slot.expired(); });
    for (const auto& slot : slots_) {
      queue.post([slot, arguments...] {
        if (const auto alive = slot.lock()) {
          alive->callOr(false, arguments...);
        }
      });
    }
  }

 private:
  using Slot = CallbackSlot<bool, Arguments...>;
  std::mutex mutex_;
  std::list<std::weak_ptr<Slot>> slots_;
};

}  // namespace jumplark
