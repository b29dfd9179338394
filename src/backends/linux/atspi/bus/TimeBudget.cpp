#include "backends/linux/atspi/bus/TimeBudget.h"

#include <algorithm>
#include <utility>

namespace jumplark::atspi {

void TimeBudget::allow(const std::string& busName, Clock::duration time) {
  const std::lock_guard lock(mutex_);
  left_[busName] = time;
}

void TimeBudget::clear() {
  const std::lock_guard lock(mutex_);
  left_.clear();
}

Clock::duration TimeBudget::left(const std::string& busName) const {
  const std::lock_guard lock(mutex_);
  const auto found = left_.find(busName);
  return found == left_.end() ? Clock::duration::max() : found->second;
}

void TimeBudget::spend(const std::string& busName, Clock::duration time) {
  const std::lock_guard lock(mutex_);
  if (const auto found = left_.find(busName); found != left_.end()) {
    found->second -= time;
  }
}

std::vector<Reply> TimeBudget::run(std::vector<MethodCall> calls, TimePoint deadline) {
  if (calls.empty() || unlimited_()) {
    return runner_.run(std::move(calls), deadline);
  }
  const std::string busName = calls.front().busName;
  const Clock::duration time = left(busName);
  if (time <= Clock::duration::zero()) {
    return std::vector<Reply>(calls.size());
  }
  const TimePoint started = Clock::now();
  auto replies = runner_.run(std::move(calls), time < deadline - started ? started + time : deadline);
  spend(busName, Clock::now() - started);
  return replies;
}

}  // namespace jumplark::atspi
