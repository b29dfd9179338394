#include "backends/recorded/VirtualQueues.h"

#include <stdexcept>

#include "backends/recorded/VirtualScheduler.h"
#include "backends/threads/QueueTimer.h"

namespace jumplark {
namespace {

using SchedulerPointer = std::shared_ptr<VirtualScheduler>;
using StrandPointer = std::shared_ptr<VirtualScheduler::Strand>;

class VirtualQueue : public TaskQueue {
 public:
  VirtualQueue(SchedulerPointer scheduler, StrandPointer strand)
      : scheduler_(std::move(scheduler)), strand_(std::move(strand)) {}
  ~VirtualQueue() override {
    if (strand_ != scheduler_->mainStrand()) {
      scheduler_->endStrand(strand_);
    }
  }
  VirtualQueue(const VirtualQueue&) = delete;
  VirtualQueue& operator=(const VirtualQueue&) = delete;

  const std::string& name() const override { return VirtualScheduler::nameOf(*strand_); }
  void post(Task task) override { scheduler_->postAfter(strand_, Duration::zero(), std::move(task)); }
  void postAfter(Duration delay, Task task) override { scheduler_->postAfter(strand_, delay, std::move(task)); }
  bool isCurrent() const override { return scheduler_->isCurrent(*strand_); }
  const StrandPointer& strand() const { return strand_; }

 private:
  SchedulerPointer scheduler_;
  StrandPointer strand_;
};

class VirtualCompletion : public Completion {
 public:
  explicit VirtualCompletion(SchedulerPointer scheduler) : scheduler_(std::move(scheduler)) {}
  void signal() override { scheduler_->open(*gate_); }
  bool wait(Duration timeout) override { return scheduler_->wait(*gate_, timeout); }

 private:
  SchedulerPointer scheduler_;
  std::shared_ptr<VirtualScheduler::Gate> gate_ = VirtualScheduler::makeGate();
};

class StrandTimerHost : public TimerHost {
 public:
  StrandTimerHost(SchedulerPointer scheduler, StrandPointer strand)
      : scheduler_(std::move(scheduler)), strand_(std::move(strand)) {}
  Duration now() override { return scheduler_->now(); }
  void postAt(Duration due, Task task) override { scheduler_->postAt(strand_, due, std::move(task)); }
  std::shared_ptr<Completion> makeCompletion() override { return std::make_shared<VirtualCompletion>(scheduler_); }

 private:
  SchedulerPointer scheduler_;
  StrandPointer strand_;
};

constexpr Duration kWallClockStart = std::chrono::seconds(1577836800);  // 2020-01-01 00:00 UTC

}  // namespace

VirtualQueues::VirtualQueues()
    : scheduler_(std::make_shared<VirtualScheduler>()),
      main_(std::make_shared<VirtualQueue>(scheduler_, scheduler_->mainStrand())),
      highPriority_(
          std::make_shared<VirtualQueue>(scheduler_, scheduler_->makeStrand("high-priority", kTreeBuildingStack))),
      wallClockOffset_(kWallClockStart.count()) {}

VirtualQueues::~VirtualQueues() {
  close();
}

void VirtualQueues::close() {
  scheduler_->close();
}

TaskQueue& VirtualQueues::mainQueue() {
  return *main_;
}

TaskQueue& VirtualQueues::highPriorityQueue() {
  return *highPriority_;
}

std::shared_ptr<TaskQueue> VirtualQueues::makeSerialQueue(const std::string& name) {
  return std::make_shared<VirtualQueue>(scheduler_, scheduler_->makeStrand(name, kOrdinaryStack));
}

std::unique_ptr<RepeatingTimer> VirtualQueues::makeRepeatingTimer(TaskQueue& queue, Duration start, Duration interval,
                                                                  Duration /*leeway*/, Task task) {
  auto* own = dynamic_cast<VirtualQueue*>(&queue);
  if (!own || interval <= Duration::zero()) {
    throw std::logic_error("A repeating timer needs a queue of the same platform and an interval");
  }
  auto host = std::make_shared<StrandTimerHost>(scheduler_, own->strand());
  return std::make_unique<QueueTimer>(std::move(host), start, interval, std::move(task));
}

std::shared_ptr<Completion> VirtualQueues::makeCompletion() {
  return std::make_shared<VirtualCompletion>(scheduler_);
}

Duration VirtualQueues::monotonicNow() {
  return scheduler_->now();
}

Duration VirtualQueues::wallClockNow() {
  return scheduler_->now() + Duration(wallClockOffset_.load());
}

void VirtualQueues::sleep(Duration duration) {
  scheduler_->wait(*VirtualScheduler::makeGate(), duration);
}

void VirtualQueues::advance(Duration duration) {
  scheduler_->advance(duration);
}

bool VirtualQueues::advanceUntil(const std::function<bool()>& condition, Duration limit) {
  return scheduler_->advanceUntil(condition, limit);
}

void VirtualQueues::setWallClock(Duration time) {
  wallClockOffset_ = (time - scheduler_->now()).count();
}

}  // namespace jumplark
