#include "platform/Platform.h"

#include <atomic>
#include <memory>
#include <stdexcept>

namespace jumplark {
namespace {

std::atomic<const Platform*>& installed() {
  static std::atomic<const Platform*> platform{nullptr};
  return platform;
}

}  // namespace

const Platform& Platform::current() {
  const Platform* platform = installed().load(std::memory_order_acquire);
  if (!platform) {
    throw std::logic_error("No platform is installed");
  }
  return *platform;
}

Token Platform::install(const Platform& platform) {
  auto kept = std::make_shared<const Platform>(platform);
  const Platform* previous = installed().exchange(kept.get(), std::memory_order_acq_rel);
  return Token([kept, previous] { installed().store(previous, std::memory_order_release); });
}

}  // namespace jumplark
