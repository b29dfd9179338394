#pragma once

#include <atomic>
#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"

namespace jumplark::atspi {

/// How long the reads of one application may still take together.
///
/// An application that answers everything, but slowly, never counts as hung. What its snapshot lacks would be asked for
/// one by one, each answer taking nearly the messaging time-out. So what reading the snapshot left of its time is all
/// that such reads may wait for; when it is spent they fail at once, as those of a hung application do.
///
/// Calls may come from any thread.
class TimeBudget {
 public:
  explicit TimeBudget(Clock::duration time) : left_(time.count()) {}

  /// As the runner does; cannotComplete for each call where no time is left.
  std::vector<Reply> run(CallRunner& runner, std::vector<MethodCall> calls, TimePoint deadline);

 private:
  std::atomic<Clock::rep> left_;
};

/// Passes calls on within a budget; without one there is no limit.
class BudgetedCalls final : public CallRunner {
 public:
  BudgetedCalls(CallRunner& runner, TimeBudget* budget) : runner_(runner), budget_(budget) {}

  std::vector<Reply> run(std::vector<MethodCall> calls, TimePoint deadline) override {
    return budget_ ? budget_->run(runner_, std::move(calls), deadline) : runner_.run(std::move(calls), deadline);
  }

 private:
  CallRunner& runner_;
  TimeBudget* budget_;
};

}  // namespace jumplark::atspi
