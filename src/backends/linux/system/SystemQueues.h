#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/Queues.h"

namespace jumplark {

/// Queues in real time. Each background queue has a thread of its own; that of the high-priority queue has a stack for
/// trees thousands of levels deep. An exception that leaves a background task ends the process.
///
/// The main thread is the one that makes this object; mainQueue().isCurrent() holds on it always. Its queue runs where
/// a program lets it: in runMainQueueUntil(), or from a loop of its own (a window system's) that the waker wakes and
/// that then calls drainMainQueue().
class SystemQueues : public Queues {
 public:
  SystemQueues();
  /// Drops what has not started, waits for what runs.
  ~SystemQueues() override;
  SystemQueues(const SystemQueues&) = delete;
  SystemQueues& operator=(const SystemQueues&) = delete;

  TaskQueue& mainQueue() override;
  TaskQueue& highPriorityQueue() override;
  std::shared_ptr<TaskQueue> makeSerialQueue(const std::string& name) override;
  std::unique_ptr<RepeatingTimer> makeRepeatingTimer(TaskQueue& queue, Duration start, Duration interval,
                                                     Duration leeway, Task task) override;
  std::shared_ptr<Completion> makeCompletion() override;
  Duration monotonicNow() override;
  Duration wallClockNow() override;
  void sleep(Duration duration) override;

  /// Runs the main queue's tasks, sleeping between them, until `stop` is true. It is asked at the start and after every
  /// task, so whoever makes it true elsewhere posts a task to the main queue. Only on the main thread, and not from a
  /// task of that queue.
  void runMainQueueUntil(const std::function<bool()>& stop);

  /// Runs the main queue's tasks that are due now; the time until the next one, or none when none is waiting. Only on
  /// the main thread, also from a task (then nothing runs).
  std::optional<Duration> drainMainQueue();
  /// `waker` is called, from any thread, whenever drainMainQueue() is wanted earlier than its last answer said. It must
  /// be quick and must not call back into the queues. Setting another one, or none, waits for a running call.
  void setMainQueueWaker(std::function<void()> waker);

 private:
  class Core;
  class Queue;
  class Host;

  std::shared_ptr<Core> mainCore_;
  std::shared_ptr<Queue> main_;
  std::shared_ptr<Queue> highPriority_;
};

}  // namespace jumplark
