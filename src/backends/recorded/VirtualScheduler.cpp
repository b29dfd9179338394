#include "backends/recorded/VirtualScheduler.h"

#include <algorithm>
#include <stdexcept>

namespace jumplark {

struct VirtualScheduler::Gate {
  struct Waiter {
    std::shared_ptr<Strand> strand;
    Key wake;
  };
  bool isOpen = false;
  std::vector<Waiter*> waiters;
};

struct VirtualScheduler::Strand {
  std::string name;
  const VirtualScheduler* owner = nullptr;
  bool isMain = false;
  bool busy = false;  ///< in the middle of a task, running or waiting
  bool ended = false;
  bool hasBaton = false;
  Task task;
  std::shared_ptr<Gate> idle;  ///< opens when the present task ends
  std::condition_variable wakes;
  std::unique_ptr<LargeStackThread> thread;
};

namespace {
thread_local VirtualScheduler::Strand* strandOfThread = nullptr;
}  // namespace

VirtualScheduler::VirtualScheduler() : mainStrand_(std::make_shared<Strand>()) {
  mainStrand_->name = "main";
  mainStrand_->owner = this;
  mainStrand_->isMain = true;
}

VirtualScheduler::~VirtualScheduler() {
  close();
}

std::shared_ptr<VirtualScheduler::Strand> VirtualScheduler::makeStrand(const std::string& name, size_t stackBytes) {
  auto strand = std::make_shared<Strand>();
  strand->name = name;
  strand->owner = this;
  const Lock lock(mutex_);
  if (closing_) {
    strand->ended = true;
    return strand;
  }
  strand->thread = std::make_unique<LargeStackThread>(stackBytes, [this, &strand = *strand] { strandMain(strand); });
  strands_.push_back(strand);
  return strand;
}

const std::string& VirtualScheduler::nameOf(const Strand& strand) {
  return strand.name;
}

VirtualScheduler::Strand* VirtualScheduler::currentStrand() const {
  return strandOfThread && strandOfThread->owner == this ? strandOfThread : nullptr;
}

bool VirtualScheduler::isCurrent(const Strand& strand) const {
  if (!strand.isMain) {
    return currentStrand() == &strand;
  }
  const Lock lock(mutex_);
  return mainRunner_ == std::this_thread::get_id();
}

std::vector<Task> VirtualScheduler::takeTasks(const Strand* strand) {
  std::vector<Task> tasks;
  for (auto event = events_.begin(); event != events_.end();) {
    if (event->second.task && (!strand || event->second.strand.get() == strand)) {
      tasks.push_back(std::move(event->second.task));
      event = events_.erase(event);
    } else {
      ++event;
    }
  }
  return tasks;
}

void VirtualScheduler::endStrand(const std::shared_ptr<Strand>& strand) {
  std::vector<Task> dropped;
  std::shared_ptr<Gate> idle;
  const bool isOwn = currentStrand() == strand.get();
  {
    const Lock lock(mutex_);
    strand->ended = true;
    dropped = takeTasks(strand.get());
    if (strand->busy && !isOwn) {
      idle = strand->idle;
    }
  }
  if (idle) {
    wait(*idle, kForever);
  }
  std::unique_ptr<LargeStackThread> thread;  // joined after the lock is let go
  const Lock lock(mutex_);
  if (!isOwn && !strand->busy) {
    std::erase(strands_, strand);
    thread = std::move(strand->thread);
    strand->wakes.notify_all();
  }
}

Duration VirtualScheduler::now() const {
  const Lock lock(mutex_);
  return now_;
}

Duration VirtualScheduler::after(Duration delay) const {
  return delay >= kForever - now_ ? kForever : now_ + std::max(delay, Duration::zero());
}

VirtualScheduler::Key VirtualScheduler::insert(Duration due, Event event) {
  const Key key{std::max(due, now_), ++lastNumber_};
  events_.emplace(key, std::move(event));
  return key;
}

void VirtualScheduler::postLocked(const std::shared_ptr<Strand>& strand, Duration due, Task& task) {
  if (!strand->ended && !closing_) {
    insert(due, {strand, std::move(task)});
  }
}

void VirtualScheduler::postAt(const std::shared_ptr<Strand>& strand, Duration due, Task task) {
  const Lock lock(mutex_);
  postLocked(strand, due, task);
}

void VirtualScheduler::postAfter(const std::shared_ptr<Strand>& strand, Duration delay, Task task) {
  const Lock lock(mutex_);
  postLocked(strand, after(delay), task);
}

std::shared_ptr<VirtualScheduler::Gate> VirtualScheduler::makeGate() {
  return std::make_shared<Gate>();
}

void VirtualScheduler::openLocked(Gate& gate) {
  gate.isOpen = true;
  for (Gate::Waiter* waiter : gate.waiters) {
    events_.erase(waiter->wake);
    waiter->wake = insert(now_, {waiter->strand, {}});
  }
  gate.waiters.clear();
  driverWakes_.notify_all();
}

void VirtualScheduler::open(Gate& gate) {
  const Lock lock(mutex_);
  openLocked(gate);
}

bool VirtualScheduler::isOpen(const Gate& gate) const {
  const Lock lock(mutex_);
  return gate.isOpen;
}

bool VirtualScheduler::wait(Gate& gate, Duration timeout) {
  Lock lock(mutex_);
  if (gate.isOpen || closing_) {
    return gate.isOpen;
  }
  const Key limit{after(timeout), ++lastNumber_};
  Strand* strand = currentStrand();
  if (!strand) {
    drive(lock, &gate, nullptr, limit);
    return gate.isOpen;
  }
  const auto self = std::find_if(strands_.begin(), strands_.end(), [&](const auto& s) { return s.get() == strand; });
  Gate::Waiter waiter{*self, limit};
  if (limit.first != kForever) {
    events_.emplace(limit, Event{*self, {}});
  }
  gate.waiters.push_back(&waiter);
  strand->hasBaton = false;
  driverWakes_.notify_all();
  waitForBaton(lock, *strand);
  std::erase(gate.waiters, &waiter);
  events_.erase(waiter.wake);
  return gate.isOpen;
}

void VirtualScheduler::waitForBaton(Lock& lock, Strand& strand) {
  strand.wakes.wait(lock, [&] { return strand.hasBaton || (strand.ended && !strand.busy); });
}

void VirtualScheduler::strandMain(Strand& strand) {
  strandOfThread = &strand;
  Lock lock(mutex_);
  for (;;) {
    waitForBaton(lock, strand);
    if (!strand.hasBaton) {
      return;
    }
    Task task = std::move(strand.task);
    lock.unlock();
    std::exception_ptr failure;
    try {
      task();
    } catch (...) {
      failure = std::current_exception();
    }
    task = nullptr;  // what it captured goes while the strand is still busy, and without the lock
    lock.lock();
    failure_ = failure_ ? failure_ : failure;
    finishTask(strand);
  }
}

void VirtualScheduler::finishTask(Strand& strand) {
  strand.busy = false;
  strand.hasBaton = false;
  openLocked(*strand.idle);
}

void VirtualScheduler::handBaton(Lock& lock, Strand& strand) {
  strand.hasBaton = true;
  strand.wakes.notify_all();
  driverWakes_.wait(lock, [&] { return !strand.hasBaton; });
}

void VirtualScheduler::runInline(Lock& lock, Event& event) {
  Strand& strand = *event.strand;
  strand.busy = true;
  strand.idle = makeGate();
  mainRunner_ = std::this_thread::get_id();
  lock.unlock();
  std::exception_ptr failure;
  try {
    event.task();
  } catch (...) {
    failure = std::current_exception();
  }
  event.task = nullptr;
  lock.lock();
  mainRunner_ = {};
  failure_ = failure_ ? failure_ : failure;
  finishTask(strand);
}

void VirtualScheduler::run(Lock& lock, Event event) {
  // An ended strand's own reference may be the last one, and its thread must not be joined under the lock.
  const std::shared_ptr<Strand> strand = event.strand;
  if (strand->isMain) {
    runInline(lock, event);
  } else {
    if (event.task) {
      strand->busy = true;
      strand->idle = makeGate();
      strand->task = std::move(event.task);
    }
    handBaton(lock, *strand);
  }
  if (failure_) {
    const std::exception_ptr failure = std::exchange(failure_, nullptr);
    lock.unlock();
    std::rethrow_exception(failure);
  }
}

VirtualScheduler::Events::iterator VirtualScheduler::nextEvent(const Key& limit) {
  auto event = events_.begin();
  while (event != events_.end() && event->second.task && event->second.strand->busy) {
    ++event;
  }
  return event != events_.end() && event->first <= limit ? event : events_.end();
}

void VirtualScheduler::becomeDriver(Lock& lock, const Gate* gate) {
  const auto self = std::this_thread::get_id();
  driverWakes_.wait(lock, [&] { return driverDepth_ == 0 || driver_ == self || (gate && gate->isOpen); });
  driver_ = self;
  ++driverDepth_;
}

void VirtualScheduler::drive(Lock& lock, const Gate* gate, const std::function<bool()>& stop, const Key& limit) {
  const auto stopped = [&] {
    if (gate && gate->isOpen) {
      return true;
    }
    if (!stop) {
      return false;
    }
    lock.unlock();
    const bool stops = stop();
    lock.lock();
    return stops;
  };
  becomeDriver(lock, gate);
  const auto leave = [this, &lock](const void*) {
    if (!lock.owns_lock()) {
      lock.lock();
    }
    --driverDepth_;
    driverWakes_.notify_all();
  };
  const std::unique_ptr<const VirtualScheduler, decltype(leave)> guard(this, leave);
  while (!stopped()) {
    const auto next = nextEvent(limit);
    if (next == events_.end()) {
      if (limit.first == kForever) {
        throw std::logic_error("A wait without limit for something that nothing due can bring");
      }
      now_ = std::max(now_, limit.first);
      return;
    }
    now_ = std::max(now_, next->first.first);
    Event event = std::move(next->second);
    events_.erase(next);
    run(lock, std::move(event));
  }
}

void VirtualScheduler::advance(Duration duration) {
  advanceUntil(nullptr, duration);
}

bool VirtualScheduler::advanceUntil(const std::function<bool()>& stop, Duration limit) {
  if (currentStrand()) {
    throw std::logic_error("Time is advanced by the test, not by a background task");
  }
  {
    Lock lock(mutex_);
    const Key end{after(limit), std::numeric_limits<uint64_t>::max()};
    drive(lock, nullptr, stop, end);
  }
  return stop && stop();
}

void VirtualScheduler::close() {
  std::vector<Task> dropped;
  std::vector<std::shared_ptr<Strand>> strands;
  {
    Lock lock(mutex_);
    closing_ = true;
    dropped = takeTasks(nullptr);
    events_.clear();
    for (const auto& strand : std::vector(strands_)) {
      if (strand->busy) {
        handBaton(lock, *strand);
      }
      strand->ended = true;
      strand->wakes.notify_all();
    }
    strands.swap(strands_);
  }
  for (const auto& strand : strands) {
    strand->thread.reset();
  }
}

}  // namespace jumplark
