#pragma once

#include <functional>
#include <mutex>
#include <utility>

namespace jumplark {

/// A callback that can be taken away: close() waits for a running call, except on that call's own thread, and no call
/// is made afterwards. The callback object itself lives until the slot is destroyed, so it may close its own slot.
template <typename Result, typename... Arguments>
class CallbackSlot {
 public:
  explicit CallbackSlot(std::function<Result(Arguments...)> callback) : callback_(std::move(callback)) {}

  /// The callback's answer, or `closedAnswer` once the slot is closed.
  Result callOr(Result closedAnswer, Arguments... arguments) {
    const std::lock_guard lock(mutex_);
    return closed_ ? closedAnswer : callback_(arguments...);
  }
  void close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
  }

 private:
  std::recursive_mutex mutex_;  ///< held during a call; recursive so that a call can close its own slot
  bool closed_ = false;
  std::function<Result(Arguments...)> callback_;
};

}  // namespace jumplark
