#pragma once

#include <cstdint>
#include <mutex>
#include <random>

#include "platform/RandomSource.h"

namespace jumplark {

/// Pseudo-random numbers that differ from run to run.
class SystemRandom : public RandomSource {
 public:
  uint32_t next() override {
    const std::scoped_lock lock(mutex_);
    return static_cast<uint32_t>(engine_()) & 0x7FFFFFFF;
  }

 private:
  std::mutex mutex_;
  std::mt19937 engine_{std::random_device{}()};
};

}  // namespace jumplark
