#pragma once

#include <string>
#include <vector>

#include "backends/linux/atspi/MethodCall.h"

namespace jumplark::atspi {

/// Runs batches of calls to one application so that it does nothing else between one and the next. GTK draws when no
/// message is waiting, and where it animates its loss of the keyboard, which the query window takes, a frame costs it
/// 50 ms: as much as all questions about a window. Behind each batch that is waited for go some calls that cost next to
/// nothing, and keep it answering until the next batch is there; nobody waits for them.
class Uninterrupted final : public CallRunner {
 public:
  /// The runner outlives this.
  Uninterrupted(CallRunner& runner, std::string busName) : runner_(runner), busName_(std::move(busName)) {}

  std::vector<Reply> run(std::vector<MethodCall> calls, TimePoint deadline) override;
  Wait begin(std::vector<MethodCall> calls, TimePoint deadline) override;

 private:
  CallRunner& runner_;
  const std::string busName_;
};

}  // namespace jumplark::atspi
