#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace jumplark {

using Duration = std::chrono::nanoseconds;
using Task = std::function<void()>;

/// Runs tasks one after another in the order of posting. Tasks posted with a delay run in order of due time, then of
/// posting. Posting is allowed from any thread, also from a task.
class TaskQueue {
 public:
  virtual ~TaskQueue() = default;
  virtual const std::string& name() const = 0;
  virtual void post(Task task) = 0;
  /// Runs the task once, not before `delay` from now.
  virtual void postAfter(Duration delay, Task task) = 0;
  /// True on the thread that is running a task of this queue.
  virtual bool isCurrent() const = 0;
};

/// Calls at a start time and then at every interval, while resumed; made suspended. A tick that is late does not shift
/// later ones, and ticks that were missed are not made up for. Destroying it, or suspending it, waits for a running
/// call (except on that call's own thread), and no further call is made.
class RepeatingTimer {
 public:
  virtual ~RepeatingTimer() = default;
  virtual void resume() = 0;
  virtual void suspend() = 0;
};

/// Something that happens once. Signalling twice is the same as once.
class Completion {
 public:
  virtual ~Completion() = default;
  virtual void signal() = 0;
  /// Blocks until signalled, at most `timeout`; true when signalled.
  virtual bool wait(Duration timeout) = 0;
};

/// Queues, clocks and waits. Nothing else in the core asks for the time or sleeps, so that a platform with virtual time
/// decides alone what happens when.
class Queues {
 public:
  virtual ~Queues() = default;

  virtual TaskQueue& mainQueue() = 0;
  /// The one shared high-priority background queue. Serial, so that results arrive in order and the last one wins.
  virtual TaskQueue& highPriorityQueue() = 0;
  /// A new serial background queue. Destroying it drops the tasks that have not started and waits for the running one,
  /// except on its own thread.
  virtual std::shared_ptr<TaskQueue> makeSerialQueue(const std::string& name) = 0;
  /// First call `start` after resume(), then every `interval`; each call may be up to `leeway` late.
  virtual std::unique_ptr<RepeatingTimer> makeRepeatingTimer(TaskQueue& queue, Duration start, Duration interval,
                                                             Duration leeway, Task task) = 0;
  virtual std::shared_ptr<Completion> makeCompletion() = 0;

  /// A clock that never goes back; its zero is arbitrary.
  virtual Duration monotonicNow() = 0;
  /// Time since 1970-01-01 00:00 UTC.
  virtual Duration wallClockNow() = 0;
  /// Blocks the calling thread.
  virtual void sleep(Duration duration) = 0;
};

/// A duration in milliseconds, as durations are reported.
inline double milliseconds(Duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

}  // namespace jumplark
