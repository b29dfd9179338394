#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/Queues.h"

namespace jumplark {

/// A callback that can be taken away: end() waits for a running call, except on that call's own thread, and no call is
/// made afterwards. Works in virtual time too, since it waits with the queues' own means. One call at a time.
template <typename... Arguments>
class GuardedCallback {
 public:
  using Callback = std::function<void(Arguments...)>;

  explicit GuardedCallback(Callback callback) : callback_(std::make_shared<const Callback>(std::move(callback))) {}

  void call(Queues& queues, Arguments... arguments) {
    std::shared_ptr<const Callback> callback;
    {
      const std::scoped_lock lock(mutex_);
      if (!callback_) {
        return;
      }
      callback = callback_;
      running_ = queues.makeCompletion();
      runner_ = std::this_thread::get_id();
    }
    (*callback)(arguments...);
    callback.reset();
    const std::scoped_lock lock(mutex_);
    runner_ = {};
    std::exchange(running_, nullptr)->signal();
  }

  void end() {
    std::shared_ptr<Completion> call;
    std::shared_ptr<const Callback> dropped;  // outlives the lock
    {
      const std::scoped_lock lock(mutex_);
      dropped.swap(callback_);
      call = runner_ == std::this_thread::get_id() ? nullptr : running_;
    }
    if (call) {
      call->wait(Duration::max());
    }
  }

 private:
  std::mutex mutex_;
  std::shared_ptr<const Callback> callback_;  ///< none once it has ended
  std::shared_ptr<Completion> running_;       ///< signalled when the running call ends; none when none runs
  std::thread::id runner_;
};

}  // namespace jumplark
