#include "backends/atspi/support/PrivateBus.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace jumplark::atspi {
namespace {

void check(int result, const char* what) {
  if (result < 0) {
    throw std::runtime_error(std::string(what) + ": " + std::to_string(result));
  }
}

}  // namespace

PrivateBus::PrivateBus() : address_("unix:path=" + folder_.path() + "/bus") {
  testing::writeFile(folder_ / "config", "<busconfig><type>session</type><listen>" + address_ +
                                             "</listen><policy context=\"default\"><allow send_destination=\"*\"/>"
                                             "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy>"
                                             // As the accessibility bus has it; the default is fewer than a window.
                                             "<limit name=\"max_replies_per_connection\">50000</limit></busconfig>");
  const desktop::Arguments arguments = {"dbus-daemon", "--nofork", "--print-address=1",
                                        "--config-file=" + folder_.path() + "/config"};
  daemon_ = std::make_unique<desktop::Process>(arguments, desktop::Environment{{"PATH", "/usr/bin:/bin"}},
                                               folder_.path() + "/daemon");
  if (!desktop::waitUntil([&] { return daemon_->out().starts_with(address_); })) {
    throw std::runtime_error("dbus-daemon did not start: " + daemon_->err());
  }
}

FakePeer::FakePeer(const std::string& address, const std::string& wellKnownName, Handler handler)
    : handler_(std::move(handler)), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  check(sd_bus_new(&bus_), "sd_bus_new");
  check(sd_bus_set_address(bus_, address.c_str()), "address");
  check(sd_bus_set_bus_client(bus_, 1), "client");
  begin();
  if (!wellKnownName.empty()) {
    check(sd_bus_request_name(bus_, wellKnownName.c_str(), 0), "name");
  }
  const char* name = nullptr;
  check(sd_bus_get_unique_name(bus_, &name), "unique name");
  uniqueName_ = name;
  thread_ = std::thread([this] { loop(); });
}

FakePeer::FakePeer(int connected, Handler handler)
    : handler_(std::move(handler)), wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  sd_id128_t id{};
  check(sd_id128_randomize(&id), "id");
  check(sd_bus_new(&bus_), "sd_bus_new");
  check(sd_bus_set_fd(bus_, connected, connected), "socket");
  check(sd_bus_set_server(bus_, 1, id), "server");
  begin();
  thread_ = std::thread([this] { loop(); });
}

void FakePeer::begin() {
  const auto filter = [](sd_bus_message* message, void* data, sd_bus_error*) { return onMessage(message, data); };
  check(sd_bus_start(bus_), "start");
  check(sd_bus_add_filter(bus_, nullptr, filter, this), "filter");
}

FakePeer::~FakePeer() {
  stopping_ = true;
  wake();
  thread_.join();
  sd_bus_close_unref(bus_);
  close(wake_);
}

int FakePeer::onMessage(sd_bus_message* message, void* data) {
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

void FakePeer::resume() {
  hung_ = false;
  wake();
}

void FakePeer::wake() const {
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(wake_, &one, sizeof one);
}

void FakePeer::loop() {
  while (!stopping_) {
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
