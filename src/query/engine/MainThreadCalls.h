#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/Queues.h"

namespace jumplark {

/// Runs tasks on the main thread for callers on any thread, until close(): after that none runs any more, and callers
/// that wait go on. So a task may use what goes after that.
class MainThreadCalls {
 public:
  MainThreadCalls() = default;
  MainThreadCalls(const MainThreadCalls&) = delete;
  MainThreadCalls& operator=(const MainThreadCalls&) = delete;

  /// On the main thread runs the task at once, elsewhere posts it and waits until it has run. False when it has not.
  bool call(std::function<void()> task);
  /// Always posts it, and does not wait.
  void post(std::function<void()> task, Duration delay = {});
  /// On the main thread.
  void close();

 private:
  struct State {
    std::mutex mutex;
    bool closed = false;
    std::vector<std::shared_ptr<Completion>> waiting;

    bool isClosed() {
      const std::scoped_lock lock(mutex);
      return closed;
    }
  };

  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace jumplark
