#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace jumplark {

class Completion;

/// Runs tasks on the main thread for callers on any thread, which wait for them. After close() none runs any more, and
/// waiting callers go on.
class MainThreadCalls {
 public:
  MainThreadCalls() = default;
  MainThreadCalls(const MainThreadCalls&) = delete;
  MainThreadCalls& operator=(const MainThreadCalls&) = delete;

  /// On the main thread runs the task at once, elsewhere posts it and waits until it has run. False when it has not.
  bool call(std::function<void()> task);
  /// On the main thread.
  void close();

 private:
  struct State {
    std::mutex mutex;
    bool closed = false;
    std::vector<std::shared_ptr<Completion>> waiting;
  };

  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace jumplark
