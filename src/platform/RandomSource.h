#pragma once

#include <cstdint>

namespace jumplark {

/// Pseudo-random numbers, uniform over 0 to 2^31 - 1. Calls may come from any thread.
class RandomSource {
 public:
  virtual ~RandomSource() = default;
  virtual uint32_t next() = 0;
};

}  // namespace jumplark
