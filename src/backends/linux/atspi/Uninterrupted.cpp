#include "backends/linux/atspi/Uninterrupted.h"

#include <utility>

#include "backends/linux/atspi/AtspiCalls.h"

namespace jumplark::atspi {
namespace {

/// Takes the application some milliseconds: longer than it takes to make a batch of the answers to another.
constexpr size_t kFollowing = 150;

}  // namespace

std::vector<Reply> Uninterrupted::run(std::vector<MethodCall> calls, TimePoint deadline) {
  const Wait wait = begin(std::move(calls), deadline);
  runner_.begin(std::vector<MethodCall>(kFollowing, calls::role(AtspiHandle(busName_, calls::kRootPath)).call),
                deadline);
  return wait();
}

CallRunner::Wait Uninterrupted::begin(std::vector<MethodCall> calls, TimePoint deadline) {
  return runner_.begin(std::move(calls), deadline);
}

}  // namespace jumplark::atspi
