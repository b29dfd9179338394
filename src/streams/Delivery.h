#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Platform.h"
#include "platform/Queues.h"

namespace jumplark {

/// Brings values to one subscriber: one at a time, in the order of push(), whatever threads they come from; the
/// completion last; nothing after end(). The subscriber is called without a lock held. A value that is pushed while a
/// call runs (by another thread, or by the call itself) is delivered after that call, by the thread that makes it.
template <typename T>
class Delivery {
 public:
  using Next = std::function<void(const T&)>;
  using Completed = std::function<void()>;

  Delivery(Next next, Completed completed) : next_(std::move(next)), completed_(std::move(completed)) {}
  Delivery(const Delivery&) = delete;
  Delivery& operator=(const Delivery&) = delete;

  /// Adds a value for deliver(). A leaf operation: may be called with a lock held.
  void push(T value) {
    const std::scoped_lock lock(mutex_);
    if (!ended_ && !finished_) {
      pending_.push_back(std::move(value));
    }
  }
  /// No value comes any more; the subscriber hears of it after those that are pending. A leaf operation too.
  void finish() {
    const std::scoped_lock lock(mutex_);
    finished_ = true;
  }

  /// Calls the subscriber with what is pending, unless a call is running: its thread goes on with it then.
  void deliver() {
    std::unique_lock lock(mutex_);
    if (runner_ != std::thread::id()) {
      return;
    }
    runner_ = std::this_thread::get_id();
    const auto leave = [&lock](Delivery* self) { self->leave(lock); };
    const std::unique_ptr<Delivery, decltype(leave)> guard(this, leave);
    while (!ended_ && (!pending_.empty() || finished_)) {
      deliverOne(lock);
    }
  }

  /// Ends it: waits for a running call, except on that call's own thread; no call comes afterwards.
  void end() {
    Released released;
    std::shared_ptr<Completion> wait;
    {
      const std::scoped_lock lock(mutex_);
      ended_ = true;
      released.pending.swap(pending_);
      if (runner_ == std::thread::id()) {
        releaseCalls(released);
      } else if (runner_ != std::this_thread::get_id()) {
        wait = waiting_.emplace_back(Platform::current().queues->makeCompletion());
      }
    }
    if (wait) {
      wait->wait(Duration::max());
    }
  }

 private:
  /// What is destroyed only after the lock was let go, since its destructors are not known.
  struct Released {
    Next next;
    Completed completed;
    std::deque<T> pending;
  };

  void deliverOne(std::unique_lock<std::mutex>& lock) {
    if (pending_.empty()) {
      ended_ = true;
      lock.unlock();
      if (completed_) {
        completed_();
      }
    } else {
      const T value = std::move(pending_.front());
      pending_.pop_front();
      lock.unlock();
      if (next_) {
        next_(value);
      }
    }
    lock.lock();
  }

  /// Gives the calling up under the lock, so that whoever pushes from now on delivers.
  void leave(std::unique_lock<std::mutex>& lock) {
    if (!lock.owns_lock()) {
      lock.lock();  // an exception has left a call
    }
    Released released;
    std::vector<std::shared_ptr<Completion>> waiting;
    runner_ = std::thread::id();
    waiting.swap(waiting_);
    if (ended_) {
      releaseCalls(released);
    }
    lock.unlock();
    for (const auto& completion : waiting) {
      completion->signal();
    }
  }

  void releaseCalls(Released& released) {
    std::swap(released.next, next_);
    std::swap(released.completed, completed_);
  }

  std::mutex mutex_;
  Next next_;
  Completed completed_;
  std::deque<T> pending_;
  bool finished_ = false;
  bool ended_ = false;
  std::thread::id runner_;  ///< of the thread that is calling
  std::vector<std::shared_ptr<Completion>> waiting_;
};

}  // namespace jumplark
