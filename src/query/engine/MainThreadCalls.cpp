#include "query/engine/MainThreadCalls.h"

#include <algorithm>

#include "platform/Platform.h"

namespace jumplark {

bool MainThreadCalls::call(std::function<void()> task) {
  Queues& queues = *Platform::current().queues;
  if (queues.mainQueue().isCurrent()) {
    task();
    return true;
  }
  struct Call {
    std::function<void()> task;
    bool ran = false;  // written before the completion is signalled, read after it was waited for
  };
  const auto call = std::make_shared<Call>(Call{std::move(task)});
  const std::shared_ptr<Completion> done = queues.makeCompletion();
  {
    const std::scoped_lock lock(state_->mutex);
    if (state_->closed) {
      return false;
    }
    state_->waiting.push_back(done);
  }
  post([call, done] {
    call->task();
    call->ran = true;
    done->signal();
  });
  done->wait(Duration::max());
  const std::scoped_lock lock(state_->mutex);
  std::erase(state_->waiting, done);
  return call->ran;
}

void MainThreadCalls::post(std::function<void()> task, Duration delay) {
  Platform::current().queues->mainQueue().postAfter(delay, [state = state_, task = std::move(task)] {
    if (!state->isClosed()) {
      task();
    }
  });
}

void MainThreadCalls::close() {
  std::vector<std::shared_ptr<Completion>> waiting;
  {
    const std::scoped_lock lock(state_->mutex);
    state_->closed = true;
    waiting = state_->waiting;
  }
  for (const auto& completion : waiting) {
    completion->signal();
  }
}

}  // namespace jumplark
