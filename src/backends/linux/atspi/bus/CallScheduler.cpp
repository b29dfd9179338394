#include "backends/linux/atspi/bus/CallScheduler.h"

#include <spdlog/spdlog.h>

#include <algorithm>

namespace jumplark::atspi {
namespace {

/// How much later than the deadline a waiting thread gives up by itself, should the accessibility thread be busy.
constexpr auto kGrace = std::chrono::milliseconds(250);
constexpr auto kWorkInterval = std::chrono::microseconds(500);

Reply failed(AccessibilityError error) {
  Reply reply;
  reply.error = error;
  return reply;
}

}  // namespace

CallBatch::CallBatch(std::vector<MethodCall> batchCalls, TimePoint batchDeadline)
    : calls(std::move(batchCalls)), deadline(batchDeadline), replies(calls.size()), remaining(calls.size()) {}

std::vector<Reply> CallBatch::wait(const WorkWhileWaiting* meanwhile) {
  const TimePoint end = deadline + kGrace;
  const bool works = meanwhile && meanwhile->thread == std::this_thread::get_id();
  std::unique_lock lock(mutex_);
  while (works && !done_ && Clock::now() < end) {
    finished_.wait_for(lock, kWorkInterval, [this] { return done_; });
    lock.unlock();
    meanwhile->work();
    lock.lock();
  }
  if (finished_.wait_until(lock, end, [this] { return done_; })) {
    return std::move(replies);
  }
  return std::vector<Reply>(calls.size());
}

void CallBatch::finish() {
  {
    const std::lock_guard lock(mutex_);
    done_ = true;
  }
  finished_.notify_all();
}

CallScheduler::CallScheduler(std::function<BusLink*(const std::string&)> linkOf,
                             std::function<Clock::duration()> timeout)
    : linkOf_(std::move(linkOf)), timeout_(std::move(timeout)) {}

CallScheduler::~CallScheduler() {
  abandonAll();
}

void CallScheduler::add(const std::shared_ptr<CallBatch>& batch) {
  if (batch->calls.empty()) {
    batch->finish();
    return;
  }
  batches_.push_back(batch);
  std::map<Application*, Turn> turns;
  for (size_t i = 0; i < batch->calls.size(); ++i) {
    const std::string& busName = batch->calls[i].busName;
    auto& application = applications_[busName];
    if (!application) {
      application = std::make_unique<Application>();
      application->busName = busName;
    }
    turns[application.get()].indexes.push_back(i);
  }
  for (auto& [application, turn] : turns) {
    turn.batch = batch;
    application->turns.push_back(std::move(turn));
    pump(*application);
  }
}

void CallScheduler::pump(Application& application) {
  if (application.hung) {
    failQueued(application, AccessibilityError::cannotComplete);
  }
  while (application.underWay < kWindow && !application.turns.empty()) {
    Turn turn = std::move(application.turns.front());
    application.turns.pop_front();
    if (turn.batch->remaining == 0) {
      continue;
    }
    const size_t index = turn.indexes.front();
    turn.indexes.pop_front();
    const auto batch = turn.batch;
    if (!turn.indexes.empty()) {
      application.turns.push_back(std::move(turn));
    }
    sendNext(application, batch, index);
  }
}

void CallScheduler::sendNext(Application& application, const std::shared_ptr<CallBatch>& batch, size_t index) {
  BusLink* link = linkOf_(application.busName);
  if (!link) {
    settle(batch, index, failed(AccessibilityError::apiDisabled));
    return;
  }
  underWay_.push_back({batch, index, &application, link, nullptr});
  const auto call = std::prev(underWay_.end());
  call->answer = link->send(batch->calls[index], [this, call](Reply reply) { answered(call, std::move(reply)); });
  if (!call->answer) {
    underWay_.erase(call);
    settle(batch, index, failed(AccessibilityError::invalidElement));
    return;
  }
  if (application.underWay++ == 0) {
    application.quietSince = Clock::now();
  }
}

void CallScheduler::answered(UnderWayIterator call, Reply reply) {
  Application& application = *call->application;
  const auto batch = call->batch;
  const size_t index = call->index;
  application.underWay--;
  application.quietSince = Clock::now();
  underWay_.erase(call);
  settle(batch, index, std::move(reply));
  pump(application);
}

void CallScheduler::settle(const std::shared_ptr<CallBatch>& batch, size_t index, Reply reply) {
  if (batch->remaining == 0) {
    return;
  }
  batch->replies[index] = std::move(reply);
  if (--batch->remaining == 0) {
    batches_.remove(batch);
    batch->finish();
  }
}

void CallScheduler::failUnderWay(const std::function<bool(const UnderWay&)>& which, AccessibilityError error) {
  for (auto call = underWay_.begin(); call != underWay_.end();) {
    if (!which(*call)) {
      ++call;
      continue;
    }
    call->application->underWay--;
    settle(call->batch, call->index, failed(error));
    call = underWay_.erase(call);
  }
}

void CallScheduler::failQueued(Application& application, AccessibilityError error) {
  for (Turn& turn : std::exchange(application.turns, {})) {
    for (const size_t index : turn.indexes) {
      settle(turn.batch, index, failed(error));
    }
  }
}

TimePoint CallScheduler::expire(TimePoint now) {
  TimePoint next = TimePoint::max();
  const auto timeout = timeout_();
  for (auto& [busName, application] : applications_) {
    if (application->underWay == 0) {
      continue;
    }
    if (now < application->quietSince + timeout) {
      next = std::min(next, application->quietSince + timeout);
      continue;
    }
    spdlog::debug("{} does not answer", busName);
    // The daemons (names without a colon) are tried again each time: without them nothing could ever be read.
    application->hung = busName.starts_with(':');
    failUnderWay([silent = application.get()](const UnderWay& call) { return call.application == silent; },
                 AccessibilityError::cannotComplete);
    failQueued(*application, AccessibilityError::cannotComplete);
  }
  expireBatches(now);
  for (const auto& batch : batches_) {
    next = std::min(next, batch->deadline);
  }
  return next;
}

void CallScheduler::expireBatches(TimePoint now) {
  bool any = false;
  for (auto it = batches_.begin(); it != batches_.end();) {
    const auto batch = *it++;
    if (batch->deadline > now) {
      continue;
    }
    any = true;
    failUnderWay([&](const UnderWay& call) { return call.batch == batch; }, AccessibilityError::cannotComplete);
    if (batch->remaining > 0) {
      batch->remaining = 0;
      batches_.remove(batch);
      batch->finish();
    }
  }
  if (any) {
    refill();
  }
}

void CallScheduler::refill() {
  for (auto& [busName, application] : applications_) {
    pump(*application);
  }
}

void CallScheduler::linkLost(const BusLink* link) {
  failUnderWay([&](const UnderWay& call) { return call.link == link; }, AccessibilityError::invalidElement);
  refill();
}

void CallScheduler::forgive(const std::string& busName) {
  if (const auto found = applications_.find(busName); found != applications_.end()) {
    found->second->hung = false;
  }
}

bool CallScheduler::awaitsOtherThan(const BusLink* link) const {
  return std::any_of(underWay_.begin(), underWay_.end(), [&](const UnderWay& call) { return call.link != link; });
}

bool CallScheduler::isHung(const std::string& busName) const {
  const auto found = applications_.find(busName);
  return found != applications_.end() && found->second->hung;
}

void CallScheduler::abandonAll() {
  failUnderWay([](const UnderWay&) { return true; }, AccessibilityError::cannotComplete);
  for (auto& [busName, application] : applications_) {
    failQueued(*application, AccessibilityError::cannotComplete);
  }
}

}  // namespace jumplark::atspi
