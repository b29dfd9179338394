#include "backends/atspi/support/PrivateBus.h"

#include <sys/socket.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

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
    : handler_(std::move(handler)) {
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

FakePeer::FakePeer(int listening, Handler handler) : handler_(std::move(handler)), listening_(listening) {
  check(sd_bus_new(&bus_), "sd_bus_new");
  check(sd_bus_set_server(bus_, 1, SD_ID128_MAKE(1, 2, 3, 4, 5, 6, 7, 8, 9, a, b, c, d, e, f, 10)), "server");
  thread_ = std::thread([this] {
    if (const int client = accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC); client >= 0) {
      check(sd_bus_set_fd(bus_, client, client), "socket");
      begin();
      loop();
    }
  });
}

void FakePeer::begin() {
  const auto filter = [](sd_bus_message* message, void* data, sd_bus_error*) { return onMessage(message, data); };
  check(sd_bus_start(bus_), "start");
  check(sd_bus_add_filter(bus_, nullptr, filter, this), "filter");
}

FakePeer::~FakePeer() {
  stopping_ = true;
  shutdown(listening_, SHUT_RDWR);
  thread_.join();
  sd_bus_close_unref(bus_);
  close(listening_);
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

// Looks now and then whether it is to hang or to stop.
void FakePeer::loop() {
  constexpr uint64_t kMicroseconds = 2000;
  while (!stopping_ && sd_bus_is_open(bus_) > 0) {
    if (hung_) {
      std::this_thread::sleep_for(std::chrono::microseconds(kMicroseconds));
    } else if (sd_bus_process(bus_, nullptr) <= 0) {
      sd_bus_wait(bus_, kMicroseconds);
    }
  }
}

}  // namespace jumplark::atspi
