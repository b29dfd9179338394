#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"

namespace jumplark::atspi {

/// Collects calls with what to do with their replies, and runs all of them at once. Everything happens on the calling
/// thread, after the last reply is there.
class TypedBatch {
 public:
  /// `onValue` is called with the value of a successful reply only, `onError` (which may be empty) for every other.
  template <typename T>
  void add(TypedCall<T> call, std::function<void(T&)> onValue, std::function<void(AccessibilityError)> onError = {}) {
    calls_.push_back(std::move(call.call));
    handlers_.push_back([onValue = std::move(onValue), onError = std::move(onError)](Reply& reply) {
      T* value = reply.error == AccessibilityError::success ? std::get_if<T>(&reply.value) : nullptr;
      if (value) {
        onValue(*value);
      } else if (onError) {
        onError(reply.error == AccessibilityError::success ? AccessibilityError::failure : reply.error);
      }
    });
  }
  bool empty() const { return calls_.empty(); }
  size_t size() const { return calls_.size(); }

  /// Leaves the batch empty, for the next round.
  void run(CallRunner& runner, TimePoint deadline) {
    if (!calls_.empty()) {
      handle(runner.run(std::exchange(calls_, {}), deadline));
    }
  }
  /// Sends the calls; nothing may be added before finish(), which waits for the replies and leaves the batch empty.
  void start(CallRunner& runner, TimePoint deadline) {
    if (!calls_.empty()) {
      wait_ = runner.begin(std::exchange(calls_, {}), deadline);
    }
  }
  void finish() {
    if (wait_) {
      handle(std::exchange(wait_, {})());
    }
  }

 private:
  void handle(std::vector<Reply> replies) {
    const auto handlers = std::exchange(handlers_, {});
    for (size_t i = 0; i < handlers.size() && i < replies.size(); ++i) {
      handlers[i](replies[i]);
    }
  }

  CallRunner::Wait wait_;
  std::vector<MethodCall> calls_;
  std::vector<std::function<void(Reply&)>> handlers_;
};

/// One call on its own.
template <typename T>
AccessibilityResult<T> callOnce(CallRunner& runner, TypedCall<T> call, TimePoint deadline) {
  std::vector<MethodCall> calls;
  calls.push_back(std::move(call.call));
  std::vector<Reply> replies = runner.run(std::move(calls), deadline);
  if (replies.empty() || replies[0].error != AccessibilityError::success) {
    return replies.empty() ? AccessibilityError::failure : replies[0].error;
  }
  T* value = std::get_if<T>(&replies[0].value);
  return value ? AccessibilityResult<T>(std::move(*value)) : AccessibilityResult<T>(AccessibilityError::failure);
}

}  // namespace jumplark::atspi
