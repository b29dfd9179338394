#include "backends/linux/atspi/bus/WorkWhileWaiting.h"

#include <utility>

namespace jumplark::atspi {
namespace {

std::function<void()>& slot() {
  thread_local std::function<void()> work;
  return work;
}

}  // namespace

Token workWhileWaiting(std::function<void()> work) {
  slot() = std::move(work);
  return Token([] { slot() = nullptr; });
}

const std::function<void()>* workOfThisThread() {
  return slot() ? &slot() : nullptr;
}

}  // namespace jumplark::atspi
