#pragma once

#include <algorithm>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/Queues.h"

namespace jumplark {

/// What a timer needs of the queue that it calls on, kept alive by the timer.
class TimerHost {
 public:
  virtual ~TimerHost() = default;
  virtual Duration now() = 0;
  virtual void postAt(Duration due, Task task) = 0;
  virtual std::shared_ptr<Completion> makeCompletion() = 0;
};

/// The repeating timer of every kind of queues. A tick that is pending when the timer is suspended stays in the queue
/// and does nothing.
class QueueTimer : public RepeatingTimer {
 public:
  QueueTimer(std::shared_ptr<TimerHost> host, Duration start, Duration interval, Task task)
      : state_(std::make_shared<State>(std::move(host), start, interval, std::move(task))) {}
  ~QueueTimer() override {
    state_->suspend();
    state_->dropTask();
  }
  QueueTimer(const QueueTimer&) = delete;
  QueueTimer& operator=(const QueueTimer&) = delete;

  void resume() override { state_->resume(); }
  void suspend() override { state_->suspend(); }

 private:
  struct State : std::enable_shared_from_this<State> {
    State(std::shared_ptr<TimerHost> timerHost, Duration firstDelay, Duration every, Task call)
        : host(std::move(timerHost)),
          start(std::max(firstDelay, Duration::zero())),
          interval(every),
          task(std::make_shared<const Task>(std::move(call))) {}

    void resume() {
      const std::scoped_lock lock(mutex);
      if (!active) {
        active = true;
        ++round;
        schedule(host->now() + start);
      }
    }

    void suspend() {
      std::shared_ptr<Completion> call;
      {
        const std::scoped_lock lock(mutex);
        active = false;
        ++round;
        call = runner == std::this_thread::get_id() ? nullptr : running;
      }
      if (call) {
        call->wait(Duration::max());
      }
    }

    void dropTask() {
      std::shared_ptr<const Task> dropped;  // outlives the lock
      const std::scoped_lock lock(mutex);
      dropped = std::exchange(task, nullptr);
    }

    void schedule(Duration due) {
      host->postAt(due, [self = this->shared_from_this(), tickRound = round, due] { self->tick(tickRound, due); });
    }

    void tick(uint64_t tickRound, Duration due) {
      std::shared_ptr<const Task> call;
      {
        const std::scoped_lock lock(mutex);
        if (!active || tickRound != round) {
          return;
        }
        call = task;
        running = host->makeCompletion();
        runner = std::this_thread::get_id();
      }
      const auto finish = [&](State* /*self*/) {
        call = nullptr;
        endCall(tickRound, due + interval);
      };
      const std::unique_ptr<State, decltype(finish)> guard(this, finish);
      (*call)();
    }

    void endCall(uint64_t tickRound, Duration next) {
      const std::scoped_lock lock(mutex);
      runner = {};
      std::exchange(running, nullptr)->signal();
      if (active && tickRound == round) {
        const Duration late = host->now() - next;
        schedule(late > Duration::zero() ? next + (late + interval - Duration(1)) / interval * interval : next);
      }
    }

    const std::shared_ptr<TimerHost> host;
    const Duration start;
    const Duration interval;
    std::mutex mutex;
    std::shared_ptr<const Task> task;
    uint64_t round = 0;  ///< grows with each resume and suspend; a tick of an older round does nothing
    bool active = false;
    std::shared_ptr<Completion> running;  ///< signalled when the running call ends; none when none runs
    std::thread::id runner;
  };

  std::shared_ptr<State> state_;
};

}  // namespace jumplark
