#include "backends/atspi/PrivateBus.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>
#include <csignal>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace jumplark::atspi {
namespace {

void check(int result, const char* what) {
  if (result < 0) {
    throw std::runtime_error(std::string(what) + ": " + std::to_string(result));
  }
}

}  // namespace

PrivateBus::PrivateBus() {
  std::string name = std::filesystem::temp_directory_path() / "jumplark-bus.XXXXXX";
  if (!mkdtemp(name.data())) {
    throw std::runtime_error("mkdtemp");
  }
  folder_ = name;
  address_ = "unix:path=" + folder_ + "/bus";
  std::ofstream(folder_ + "/config") << "<busconfig><type>session</type><listen>" << address_
                                     << "</listen><policy context=\"default\"><allow send_destination=\"*\"/>"
                                        "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy>"
                                        // As the accessibility bus has it; the default is fewer than a window.
                                        "<limit name=\"max_replies_per_connection\">50000</limit></busconfig>";
  start();
}

PrivateBus::~PrivateBus() {
  stop();
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void PrivateBus::restart() {
  stop();
  start();
}

void PrivateBus::start() {
  std::array<int, 2> ready{};
  check(pipe(ready.data()), "pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ready[1], 1);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addclose(&actions, ready[0]);
  std::string config = "--config-file=" + folder_ + "/config";
  std::string program = "dbus-daemon";
  std::string foreground = "--nofork";
  std::string print = "--print-address=1";
  std::array<char*, 5> arguments{program.data(), config.data(), foreground.data(), print.data(), nullptr};
  const int result = posix_spawnp(&daemon_, "dbus-daemon", &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ready[1]);
  std::array<char, 256> line{};
  const ssize_t got = result == 0 ? read(ready[0], line.data(), line.size()) : -1;
  close(ready[0]);
  if (got <= 0) {
    throw std::runtime_error("dbus-daemon did not start");
  }
}

void PrivateBus::stop() {
  if (daemon_ > 0) {
    kill(daemon_, SIGKILL);
    waitpid(daemon_, nullptr, 0);
    daemon_ = -1;
  }
}

FakePeer::FakePeer(const std::string& address, const std::string& wellKnownName, Handler handler)
    : handler_(std::move(handler)), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  check(sd_bus_new(&bus_), "sd_bus_new");
  check(sd_bus_set_address(bus_, address.c_str()), "address");
  check(sd_bus_set_bus_client(bus_, 1), "client");
  check(sd_bus_start(bus_), "start");
  if (!wellKnownName.empty()) {
    check(sd_bus_request_name(bus_, wellKnownName.c_str(), 0), "name");
  }
  const char* name = nullptr;
  check(sd_bus_get_unique_name(bus_, &name), "unique name");
  uniqueName_ = name;
  check(sd_bus_add_filter(
            bus_, nullptr,
            [](sd_bus_message* message, void* data, sd_bus_error*) { return onMessage(message, data, nullptr); }, this),
        "filter");
  thread_ = std::thread([this] { loop(); });
}

FakePeer::~FakePeer() {
  stopping_ = true;
  wake();
  thread_.join();
  sd_bus_close_unref(bus_);
  close(wake_);
}

int FakePeer::onMessage(sd_bus_message* message, void* data, void*) {
  auto* self = static_cast<FakePeer*>(data);
  if (sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0) {
    return 0;
  }
  ++self->received_;
  if (!self->handler_(message)) {
    sd_bus_reply_method_errorf(message, SD_BUS_ERROR_UNKNOWN_OBJECT, "No such object %s",
                               sd_bus_message_get_path(message));
  }
  return 1;
}

void FakePeer::hang() {
  hung_ = true;
  wake();
}

void FakePeer::hangAfter(int calls) {
  limit_ = received_ + calls;
}

void FakePeer::resume() {
  limit_ = -1;
  hung_ = false;
  wake();
}

void FakePeer::wake() const {
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(wake_, &one, sizeof one);
}

void FakePeer::loop() {
  while (!stopping_) {
    if (limit_ >= 0 && received_ >= limit_) {
      hung_ = true;
    }
    if (!hung_ && sd_bus_process(bus_, nullptr) > 0) {
      continue;
    }
    std::array<pollfd, 2> requests{pollfd{wake_, POLLIN, 0}, pollfd{-1, 0, 0}};
    if (!hung_) {
      requests[1] = {sd_bus_get_fd(bus_), static_cast<short>(sd_bus_get_events(bus_)), 0};
      if (sd_bus_is_open(bus_) <= 0) {
        requests[1].fd = -1;
      }
    }
    poll(requests.data(), requests.size(), -1);
    uint64_t count = 0;
    while (read(wake_, &count, sizeof count) > 0) {
    }
  }
}

}  // namespace jumplark::atspi
