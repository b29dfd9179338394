#include "backends/linux/system/SystemQueues.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

#include "backends/threads/LargeStackThread.h"
#include "backends/threads/QueueTimer.h"

namespace jumplark {
namespace {

using Clock = std::chrono::steady_clock;

/// Waits longer than this are waits without limit; adding them to the clock would overflow it.
constexpr Duration kLongestWait = std::chrono::hours(24 * 365);

Duration clockNow() {
  return Clock::now().time_since_epoch();
}

Duration after(Duration delay) {
  return clockNow() + std::clamp(delay, Duration::zero(), kLongestWait);
}

class SystemCompletion : public Completion {
 public:
  void signal() override {
    const std::scoped_lock lock(mutex_);
    signalled_ = true;
    wakes_.notify_all();
  }
  bool wait(Duration timeout) override {
    std::unique_lock lock(mutex_);
    const auto isSignalled = [this] { return signalled_; };
    if (timeout > kLongestWait) {
      wakes_.wait(lock, isSignalled);
      return true;
    }
    return wakes_.wait_until(lock, Clock::time_point(after(timeout)), isSignalled);
  }

 private:
  std::mutex mutex_;
  std::condition_variable wakes_;
  bool signalled_ = false;
};

}  // namespace

/// The tasks of one queue, in order, and who runs them. Shared by the queue, its thread and its timers.
class SystemQueues::Core {
 public:
  explicit Core(std::string queueName) : name(std::move(queueName)) {}
  const std::string name;

  void postAt(Duration due, Task task) {
    bool isNext = false;
    {
      const std::scoped_lock lock(mutex_);
      if (ended_) {
        return;
      }
      const auto added =
          tasks_.emplace(std::pair(std::max(due, Duration::zero()), ++lastNumber_), std::move(task)).first;
      isNext = added == tasks_.begin();
    }
    if (isNext) {
      wakes_.notify_all();
      const std::scoped_lock lock(wakerMutex_);
      if (waker_) {
        waker_();
      }
    }
  }

  /// Runs the first task that is due by `limit`; false when there is none, or one of this queue is running.
  bool runNext(Duration limit) {
    Task task;
    {
      const std::scoped_lock lock(mutex_);
      if (ended_ || running_ || tasks_.empty() || tasks_.begin()->first.first > limit) {
        return false;
      }
      task = std::move(tasks_.begin()->second);
      tasks_.erase(tasks_.begin());
      running_ = true;
      runner_ = std::this_thread::get_id();
    }
    const auto finish = [this](Task* done) {
      *done = nullptr;  // what it captured goes before anybody hears that it is over
      const std::scoped_lock lock(mutex_);
      running_ = false;
      runner_ = {};
      wakes_.notify_all();
    };
    const std::unique_ptr<Task, decltype(finish)> guard(&task, finish);
    task();
    return true;
  }

  /// Sleeps until a task is due or the queue has ended; false then.
  bool waitForWork() {
    std::unique_lock lock(mutex_);
    while (!ended_) {
      if (tasks_.empty()) {
        wakes_.wait(lock);
      } else if (const Duration due = tasks_.begin()->first.first; due > clockNow()) {
        wakes_.wait_until(lock, Clock::time_point(due));
      } else {
        return true;
      }
    }
    return false;
  }

  std::optional<Duration> untilNext() {
    const std::scoped_lock lock(mutex_);
    // Inside a running task (of an event loop within it) nothing can be run; whoever runs that task looks again.
    if (tasks_.empty() || running_) {
      return std::nullopt;
    }
    return std::max(tasks_.begin()->first.first - clockNow(), Duration::zero());
  }

  bool isRunning(std::thread::id thread) {
    const std::scoped_lock lock(mutex_);
    return running_ && runner_ == thread;
  }

  void end() {
    std::map<std::pair<Duration, uint64_t>, Task> dropped;  // outlives the lock
    std::unique_lock lock(mutex_);
    ended_ = true;
    dropped.swap(tasks_);
    wakes_.notify_all();
    if (runner_ != std::this_thread::get_id()) {
      wakes_.wait(lock, [this] { return !running_; });
    }
  }

  void setWaker(std::function<void()> waker) {
    const std::scoped_lock lock(wakerMutex_);
    waker_ = std::move(waker);
  }

 private:
  std::mutex mutex_;
  std::condition_variable wakes_;
  std::map<std::pair<Duration, uint64_t>, Task> tasks_;  ///< by due time, then by number of posting
  uint64_t lastNumber_ = 0;
  bool running_ = false;
  std::thread::id runner_;
  bool ended_ = false;
  std::mutex wakerMutex_;
  std::function<void()> waker_;
};

class SystemQueues::Queue : public TaskQueue {
 public:
  /// The main queue.
  explicit Queue(std::shared_ptr<Core> core) : core_(std::move(core)), mainThread_(std::this_thread::get_id()) {}
  /// A queue with a thread.
  Queue(const std::string& name, size_t stackBytes)
      : core_(std::make_shared<Core>(name)), thread_(std::make_unique<LargeStackThread>(stackBytes, [core = core_] {
          while (core->waitForWork()) {
            core->runNext(clockNow());
          }
        })) {}
  ~Queue() override {
    core_->end();
    if (thread_ && thread_->isCurrent()) {
      thread_->detach();
    }
  }
  Queue(const Queue&) = delete;
  Queue& operator=(const Queue&) = delete;

  const std::string& name() const override { return core_->name; }
  void post(Task task) override { postAt(clockNow(), std::move(task)); }
  void postAfter(Duration delay, Task task) override { postAt(after(delay), std::move(task)); }
  bool isCurrent() const override {
    return thread_ ? core_->isRunning(std::this_thread::get_id()) : mainThread_ == std::this_thread::get_id();
  }
  const std::shared_ptr<Core>& core() const { return core_; }

 private:
  void postAt(Duration due, Task task) {
    // The task may end the program, and with it the queue, before its poster is done.
    const std::shared_ptr<Core> core = core_;
    core->postAt(due, std::move(task));
  }

  std::shared_ptr<Core> core_;
  std::thread::id mainThread_;
  std::unique_ptr<LargeStackThread> thread_;
};

class SystemQueues::Host : public TimerHost {
 public:
  explicit Host(std::shared_ptr<Core> core) : core_(std::move(core)) {}
  Duration now() override { return clockNow(); }
  void postAt(Duration due, Task task) override { core_->postAt(due, std::move(task)); }
  std::shared_ptr<Completion> makeCompletion() override { return std::make_shared<SystemCompletion>(); }

 private:
  std::shared_ptr<Core> core_;
};

SystemQueues::SystemQueues()
    : mainCore_(std::make_shared<Core>("main")),
      main_(std::make_shared<Queue>(mainCore_)),
      highPriority_(std::make_shared<Queue>("high-priority", kTreeBuildingStack)) {}

SystemQueues::~SystemQueues() = default;

TaskQueue& SystemQueues::mainQueue() {
  return *main_;
}

TaskQueue& SystemQueues::highPriorityQueue() {
  return *highPriority_;
}

std::shared_ptr<TaskQueue> SystemQueues::makeSerialQueue(const std::string& name) {
  return std::make_shared<Queue>(name, kOrdinaryStack);
}

std::unique_ptr<RepeatingTimer> SystemQueues::makeRepeatingTimer(TaskQueue& queue, Duration start, Duration interval,
                                                                 Duration /*leeway*/, Task task) {
  auto* own = dynamic_cast<Queue*>(&queue);
  if (!own || interval <= Duration::zero()) {
    throw std::logic_error("A repeating timer needs a queue of the same platform and an interval");
  }
  return std::make_unique<QueueTimer>(std::make_shared<Host>(own->core()), start, interval, std::move(task));
}

std::shared_ptr<Completion> SystemQueues::makeCompletion() {
  return std::make_shared<SystemCompletion>();
}

Duration SystemQueues::monotonicNow() {
  return clockNow();
}

Duration SystemQueues::wallClockNow() {
  return std::chrono::system_clock::now().time_since_epoch();
}

void SystemQueues::sleep(Duration duration) {
  std::this_thread::sleep_for(std::clamp(duration, Duration::zero(), kLongestWait));
}

void SystemQueues::runMainQueueUntil(const std::function<bool()>& stop) {
  if (mainCore_->isRunning(std::this_thread::get_id())) {
    throw std::logic_error("A task of the main queue cannot run the main queue");
  }
  while (!stop() && mainCore_->waitForWork()) {
    mainCore_->runNext(clockNow());
  }
}

std::optional<Duration> SystemQueues::drainMainQueue() {
  const Duration limit = clockNow();
  while (mainCore_->runNext(limit)) {
  }
  return mainCore_->untilNext();
}

void SystemQueues::setMainQueueWaker(std::function<void()> waker) {
  mainCore_->setWaker(std::move(waker));
}

}  // namespace jumplark
