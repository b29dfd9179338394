#include "backends/linux/session_bus/BusCalls.h"

namespace jumplark {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatience{500};
constexpr std::chrono::milliseconds kPatienceWithTheSilent{20};
constexpr std::chrono::seconds kSilence{1};

}  // namespace

BusCalls::Answer BusCalls::call(const SessionBus::Object& object, const char* member, const Arguments& arguments) {
  const std::lock_guard lock(mutex_);
  const bool isSilent = Clock::now() < silentUntil_;
  const auto deadline = Clock::now() + (isSilent ? kPatienceWithTheSilent : kPatience);
  if (!bus_) {
    bus_ = std::make_unique<SessionBus>(std::string(), deadline);
  }
  Answer answer = bus_->call(object, member, arguments, deadline);
  if (answer.result == SessionBus::Result::silent) {
    bus_.reset();
    silentUntil_ = Clock::now() + kSilence;
  } else {
    silentUntil_ = {};
  }
  return answer;
}

BusCalls::Answer BusCalls::call(const SessionBus::Object& object, const char* member) {
  return call(object, member, [](sd_bus_message*) { return 0; });
}

}  // namespace jumplark
