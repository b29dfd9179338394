#include "backends/contract/QueuesContract.h"
#include "backends/contract/TimersContract.h"
#include "backends/linux/system/SystemQueues.h"
#include "backends/recorded/VirtualQueues.h"

namespace jumplark::contract {
namespace {

class VirtualHarness {
 public:
  Queues& queues() { return queues_; }
  bool waitUntil(const std::function<bool()>& condition) { return queues_.advanceUntil(condition, 1h); }

 private:
  VirtualQueues queues_;
};

class SystemHarness {
 public:
  Queues& queues() { return queues_; }
  bool waitUntil(const std::function<bool()>& condition) {
    const Duration end = queues_.monotonicNow() + 30s;
    while (!condition() && queues_.monotonicNow() < end) {
      // A condition that another thread makes true does not wake this one: look again after a moment.
      bool lookAgain = false;
      queues_.mainQueue().postAfter(1ms, [&] { lookAgain = true; });
      queues_.runMainQueueUntil([&] { return lookAgain; });
    }
    return condition();
  }

 private:
  SystemQueues queues_;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Virtual, QueuesContract, VirtualHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(System, QueuesContract, SystemHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(Virtual, TimersContract, VirtualHarness);
INSTANTIATE_TYPED_TEST_SUITE_P(System, TimersContract, SystemHarness);

}  // namespace
}  // namespace jumplark::contract
