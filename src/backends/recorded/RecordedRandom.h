#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <random>

#include "platform/RandomSource.h"

namespace jumplark {

/// The same numbers in every run. A test may say which come next; after those it goes on by itself.
class RecordedRandom : public RandomSource {
 public:
  explicit RecordedRandom(uint32_t seed = 1) : engine_(seed) {}

  uint32_t next() override {
    const std::scoped_lock lock(mutex_);
    if (prepared_.empty()) {
      return static_cast<uint32_t>(engine_() & kLargest);
    }
    const uint32_t number = prepared_.front();
    prepared_.pop_front();
    return number;
  }
  /// Numbers of 0 to 2^31 - 1; the higher bits are dropped.
  void prepare(std::initializer_list<uint32_t> numbers) {
    const std::scoped_lock lock(mutex_);
    for (const uint32_t number : numbers) {
      prepared_.push_back(number & kLargest);
    }
  }

 private:
  static constexpr uint32_t kLargest = 0x7FFFFFFF;
  std::mutex mutex_;
  std::mt19937 engine_;
  std::deque<uint32_t> prepared_;
};

}  // namespace jumplark
