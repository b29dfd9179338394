#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "platform/Queues.h"

namespace jumplark {

class VirtualScheduler;

/// Queues in virtual time, for tests: nothing runs until the test lets time pass, and then everything due runs in order
/// of due time, then of posting, one thing at a time and the same way in every run. Both clocks stand still otherwise.
///
/// A blocking wait (sleep, Completion::wait, the destruction of a timer whose call is running) lets time pass: what is
/// due on other queues runs meanwhile. In the test itself, which is no queue's task, that holds for all queues. Tasks
/// of the main queue run on the thread that lets time pass; each other queue has a thread of its own, whose stack is
/// large on the high-priority queue. Waiting without limit for what can never come throws std::logic_error.
///
/// Queues, timers and completions may outlive this object; then nothing of theirs runs any more. Its destructor
/// closes it.
class VirtualQueues : public Queues {
 public:
  VirtualQueues();
  ~VirtualQueues() override;

  TaskQueue& mainQueue() override;
  TaskQueue& highPriorityQueue() override;
  std::shared_ptr<TaskQueue> makeSerialQueue(const std::string& name) override;
  std::unique_ptr<RepeatingTimer> makeRepeatingTimer(TaskQueue& queue, Duration start, Duration interval,
                                                     Duration leeway, Task task) override;
  std::shared_ptr<Completion> makeCompletion() override;
  Duration monotonicNow() override;
  Duration wallClockNow() override;
  void sleep(Duration duration) override;

  /// Lets time pass. An exception that leaves a task comes out here.
  void advance(Duration duration);
  /// Lets time pass until `condition` holds, at most `limit`; whether it holds.
  bool advanceUntil(const std::function<bool()>& condition, Duration limit);
  /// Runs what is due now.
  void runPending() { advance(Duration::zero()); }
  /// Drops everything that has not started, ends the waits of running tasks and waits for these. Nothing runs any more.
  void close();
  /// The wall clock goes on from this time (since 1970-01-01 00:00 UTC). It starts at 2020-01-01 00:00.
  void setWallClock(Duration time);

 private:
  std::shared_ptr<VirtualScheduler> scheduler_;
  std::shared_ptr<TaskQueue> main_;
  std::shared_ptr<TaskQueue> highPriority_;
  std::atomic<Duration::rep> wallClockOffset_;
};

}  // namespace jumplark
