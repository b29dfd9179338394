#include "backends/linux/wayland/gnome/ShellBus.h"

#include <algorithm>

namespace jumplark::gnome {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatience{500};
constexpr std::chrono::milliseconds kMoment{50};
constexpr std::chrono::seconds kSilence{1};

struct MessageDeleter {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using MessagePointer = std::unique_ptr<sd_bus_message, MessageDeleter>;

Answer meaningOf(const sd_bus_error& error) {
  for (const char* const name : {SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER}) {
    if (sd_bus_error_has_name(&error, name) != 0) {
      return Answer::absent;
    }
  }
  for (const char* const name : {SD_BUS_ERROR_NO_REPLY, SD_BUS_ERROR_TIMEOUT}) {
    if (sd_bus_error_has_name(&error, name) != 0) {
      return Answer::silent;
    }
  }
  return Answer::refused;
}

}  // namespace

SessionBusConnection connectToBus() {
  return openSessionBus({}, Clock::now() + kFirstPatience);
}

bool isShell(sd_bus* bus, pid_t compositor) {
  sd_bus_creds* credentials = nullptr;
  pid_t shell = 0;
  const bool isThere =
      bus != nullptr && sd_bus_get_name_creds(bus, "org.gnome.Shell", SD_BUS_CREDS_PID, &credentials) >= 0;
  if (isThere) {
    sd_bus_creds_get_pid(credentials, &shell);
    sd_bus_creds_unref(credentials);
  }
  return isThere && (compositor == 0 || shell == 0 || shell == compositor);
}

Answer ask(sd_bus* bus, const char* method, const Write& write, const Read& read, std::chrono::milliseconds limit) {
  sd_bus_message* raw = nullptr;
  if (bus == nullptr || sd_bus_message_new_method_call(bus, &raw, kName, kPath, kName, method) < 0) {
    return Answer::absent;
  }
  const MessagePointer question(raw);
  sd_bus_message_set_auto_start(raw, 0);
  if (write && write(raw) < 0) {
    return Answer::refused;
  }
  sd_bus_message* reply = nullptr;
  sd_bus_error error = SD_BUS_ERROR_NULL;
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(limit);
  const int r = sd_bus_call(bus, raw, static_cast<uint64_t>(microseconds.count()), &error, &reply);
  const MessagePointer owned(reply);
  const Answer meaning = meaningOf(error);
  sd_bus_error_free(&error);
  if (r < 0) {
    return meaning;
  }
  return !read || read(reply) > 0 ? Answer::given : Answer::refused;
}

Answer Bus::call(const char* method, const Write& write, const Read& read) {
  const std::lock_guard lock(mutex_);
  const bool wasSilent = Clock::now() < silentUntil_;
  const Answer answer = ask(bus_.get(), method, write, read, wasSilent ? kMoment : kPatience);
  if (answer != Answer::silent) {
    silentUntil_ = {};
  } else if (!wasSilent) {
    silentUntil_ = Clock::now() + kSilence;
  }
  return answer;
}

Answer Bus::greet(const Read& read) {
  const std::lock_guard lock(mutex_);
  return ask(bus_.get(), "Hello", {}, read, kFirstPatience);
}

}  // namespace jumplark::gnome
