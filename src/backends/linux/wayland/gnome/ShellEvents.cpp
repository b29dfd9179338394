#include "backends/linux/wayland/gnome/ShellEvents.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <utility>

#include "backends/linux/system/QuietThread.h"

namespace jumplark::gnome {
namespace {

constexpr uint64_t kPatience = 500'000;  // microseconds

std::string ownerOf(sd_bus* bus) {
  sd_bus_message* reply = nullptr;
  const char* owner = nullptr;
  std::string result;
  sd_bus_message* question = nullptr;
  if (sd_bus_message_new_method_call(bus, &question, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                     "org.freedesktop.DBus", "GetNameOwner") >= 0 &&
      sd_bus_message_append(question, "s", kName) >= 0 && sd_bus_call(bus, question, kPatience, nullptr, &reply) >= 0 &&
      sd_bus_message_read(reply, "s", &owner) > 0) {
    result = owner;
  }
  sd_bus_message_unref(question);
  sd_bus_message_unref(reply);
  return result;
}

}  // namespace

Events::Events(Handlers handlers)
    : handlers_(std::move(handlers)), stop_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), bus_(connectToBus()) {
  if (!bus_) {
    return;
  }
  const std::string rule = fmt::format(
      "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='{}"
      "'",
      kName);
  sd_bus_add_match(bus_.get(), nullptr, rule.c_str(), onOwnerChanged, this);
  owner_ = ownerOf(bus_.get());
  listen();
  thread_ = startQuietThread([this] { run(); });
}

Events::~Events() {
  if (thread_.joinable()) {
    eventfd_write(stop_.get(), 1);
    thread_.join();
  }
}

/// Has the extension tell.
void Events::listen() {
  if (!owner_.empty()) {
    ask(bus_.get(), "Listen");
  }
}

int Events::onOwnerChanged(sd_bus_message* message, void* data, sd_bus_error* /*error*/) {
  auto& self = *static_cast<Events*>(data);
  const char* name = nullptr;
  const char* before = nullptr;
  const char* now = nullptr;
  if (sd_bus_message_read(message, "sss", &name, &before, &now) > 0) {
    self.owner_ = now;
    self.returned_ = !self.owner_.empty();
  }
  return 0;
}

void Events::handle(sd_bus_message* message) {
  const char* const sender = sd_bus_message_get_sender(message);
  const char* combination = nullptr;
  const char* scene = nullptr;
  int32_t pid = 0;
  if (sender == nullptr || owner_ != sender) {
    return;
  }
  if (sd_bus_message_is_signal(message, kName, "Pressed") > 0 &&
      sd_bus_message_read(message, "ss", &combination, &scene) > 0) {
    handlers_.pressed(combination, scene);
  } else if (sd_bus_message_is_signal(message, kName, "Focused") > 0 && sd_bus_message_read(message, "i", &pid) > 0) {
    handlers_.focused(pid);
  }
}

/// False when this is about to end.
bool Events::waits() const {
  pollfd waiting[2] = {{stop_.get(), POLLIN, 0},
                       {sd_bus_get_fd(bus_.get()), static_cast<short>(std::max(sd_bus_get_events(bus_.get()), 0)), 0}};
  ::poll(waiting, 2, -1);
  return waiting[0].revents == 0;
}

void Events::run() {
  int processed = 0;
  do {
    sd_bus_message* message = nullptr;
    processed = sd_bus_process(bus_.get(), &message);
    if (message != nullptr) {
      handle(message);
      sd_bus_message_unref(message);
    }
    if (std::exchange(returned_, false)) {
      listen();
      handlers_.returned();
    }
  } while (processed > 0 || (processed == 0 && waits()));
}

}  // namespace jumplark::gnome
