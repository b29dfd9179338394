#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"

namespace jumplark::atspi {

/// Passes calls on for as long as there is time left for their application.
///
/// An application that answers everything, but slowly, never counts as hung. What its snapshot lacks would be asked for
/// one by one, each answer taking nearly the messaging time-out. So what reading the snapshot left of its time is all
/// that such reads may wait for; when it is spent they fail at once, as those of a hung application do.
///
/// An application without an allowance has no limit. Calls may come from any thread.
class TimeBudget final : public CallRunner {
 public:
  /// `unlimited` tells whether the calling thread's calls are free of limits.
  TimeBudget(CallRunner& runner, std::function<bool()> unlimited) : runner_(runner), unlimited_(std::move(unlimited)) {}

  void allow(const std::string& busName, Clock::duration time);
  /// Takes all allowances away, so that nothing is limited.
  void clear();

  /// Calls to one application; cannotComplete for each where no time is left.
  std::vector<Reply> run(std::vector<MethodCall> calls, TimePoint deadline) override;

 private:
  Clock::duration left(const std::string& busName) const;
  void spend(const std::string& busName, Clock::duration time);

  CallRunner& runner_;
  std::function<bool()> unlimited_;
  mutable std::mutex mutex_;
  std::map<std::string, Clock::duration> left_;
};

}  // namespace jumplark::atspi
