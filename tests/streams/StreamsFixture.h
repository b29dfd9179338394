#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "backends/recorded/VirtualQueues.h"
#include "platform/Platform.h"
#include "streams/Property.h"

namespace jumplark::testing {

/// Queues in virtual time, and what subscriptions have been given.
class StreamsFixture : public ::testing::Test {
 protected:
  template <typename T>
  Token collect(const Observable<T>& observable, std::vector<T>& values) {
    return observable.subscribe([&values](const T& value) { values.push_back(value); }, [this] { ++completions_; });
  }
  TaskQueue& mainQueue() { return queues_.mainQueue(); }

  VirtualQueues queues_;
  const Token installed_ = [this] {
    Platform platform;
    platform.queues = &queues_;
    return Platform::install(platform);
  }();
  int completions_ = 0;
};

}  // namespace jumplark::testing
