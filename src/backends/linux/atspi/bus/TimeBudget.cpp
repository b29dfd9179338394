#include "backends/linux/atspi/bus/TimeBudget.h"

#include <utility>

namespace jumplark::atspi {

std::vector<Reply> TimeBudget::run(CallRunner& runner, std::vector<MethodCall> calls, TimePoint deadline) {
  if (calls.empty()) {
    return {};
  }
  const Clock::duration time(left_.load(std::memory_order_relaxed));
  if (time <= Clock::duration::zero()) {
    return std::vector<Reply>(calls.size());
  }
  const TimePoint started = Clock::now();
  auto replies = runner.run(std::move(calls), time < deadline - started ? started + time : deadline);
  left_.fetch_sub((Clock::now() - started).count(), std::memory_order_relaxed);
  return replies;
}

}  // namespace jumplark::atspi
