#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

#include "platform/Workspace.h"
#include "streams/Property.h"

namespace jumplark {

/// Which activation there is. Activations and the idle times between them are numbered in order; what is done for one
/// carries its number, and is dropped when it comes later than that.
///
/// ActivationController writes it, on the main thread; read and observed on any.
struct ActivationState {
  std::atomic<uint64_t> number{0};
  Property<bool> isActive{false};
  /// The target; none while idle.
  Property<std::optional<RunningApplication>> currentApp;
  /// When the activation began, on the monotonic clock, in nanoseconds.
  Property<uint64_t> startTime;

  bool isCurrent(uint64_t activation) const { return number.load() == activation; }
};

}  // namespace jumplark
