#include "backends/linux/session_bus/SessionBus.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace jumplark {
namespace {

using Clock = std::chrono::steady_clock;
using TimePoint = Clock::time_point;

/// More than any menu holds; what an application tells beyond is not looked at.
constexpr size_t kMostValues = 200'000;

uint64_t microsecondsUntil(TimePoint deadline) {
  // Zero would mean the bus library's own patience.
  return static_cast<uint64_t>(
      std::max<int64_t>(std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now()).count(), 1));
}

bool isSilence(const sd_bus_error& error) {
  return sd_bus_error_has_name(&error, SD_BUS_ERROR_NO_REPLY) != 0 ||
         sd_bus_error_has_name(&error, SD_BUS_ERROR_TIMEOUT) != 0;
}

}  // namespace

void SessionBusCloser::operator()(sd_bus* bus) const {
  sd_bus_close_unref(bus);
}

SessionBusConnection openSessionBus(const std::string& address, TimePoint deadline) {
  sd_bus* bus = nullptr;
  int r = address.empty() ? sd_bus_open_user(&bus) : sd_bus_new(&bus);
  SessionBusConnection connection(bus);
  if (r >= 0 && !address.empty()) {
    r = std::min({sd_bus_set_address(bus, address.c_str()), sd_bus_set_bus_client(bus, 1), sd_bus_start(bus)});
  }
  while (r >= 0 && sd_bus_is_ready(bus) == 0 && Clock::now() < deadline) {
    r = sd_bus_process(bus, nullptr);
    r = r == 0 ? sd_bus_wait(bus, microsecondsUntil(deadline)) : r;
  }
  return r >= 0 && sd_bus_is_ready(bus) > 0 ? std::move(connection) : nullptr;
}

SessionBus::Answer SessionBus::call(const Object& object, const char* member,
                                    const std::function<int(sd_bus_message*)>& arguments, TimePoint deadline) {
  Answer answer;
  sd_bus_message* question = nullptr;
  if (!bus_ || Clock::now() >= deadline ||
      sd_bus_message_new_method_call(bus_.get(), &question, object.busName.c_str(), object.path.c_str(),
                                     object.interface, member) < 0) {
    return answer;
  }
  sd_bus_message_set_auto_start(question, 0);
  sd_bus_message* reply = nullptr;
  sd_bus_error error = SD_BUS_ERROR_NULL;
  if (arguments(question) >= 0) {
    const int r = sd_bus_call(bus_.get(), question, microsecondsUntil(deadline), &error, &reply);
    size_t left = kMostValues;
    if (r >= 0 && readBusValues(reply, answer.values, left) >= 0) {
      answer.result = Result::answered;
    } else if (r >= 0 || !isSilence(error)) {
      answer.result = Result::refused;
      answer.error = error.name ? error.name : "";
    }
  }
  sd_bus_error_free(&error);
  sd_bus_message_unref(reply);
  sd_bus_message_unref(question);
  return answer;
}

}  // namespace jumplark
