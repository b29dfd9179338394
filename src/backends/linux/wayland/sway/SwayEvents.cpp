#include "backends/linux/wayland/sway/SwayEvents.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <chrono>
#include <utility>

#include "backends/linux/system/QuietThread.h"

namespace jumplark::sway {
namespace {

constexpr int kForEver = -1;
constexpr int kRetryMs = 500;
constexpr std::chrono::milliseconds kPatience{500};
constexpr const char* kWanted = R"(["window","workspace","mode","binding"])";

}  // namespace

Events::Events(std::string path, Handlers handlers)
    : path_(std::move(path)), handlers_(std::move(handlers)), stop_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  thread_ = startQuietThread([this] { run(); });
}

Events::~Events() {
  eventfd_write(stop_.get(), 1);
  thread_.join();
}

/// False when this is about to end; true when the descriptor, if there is one, can be read or the time is over.
bool Events::waits(int descriptor, int milliseconds) const {
  pollfd waiting[2] = {{stop_.get(), POLLIN, 0}, {descriptor, POLLIN, 0}};
  ::poll(waiting, descriptor >= 0 ? 2 : 1, milliseconds);
  return waiting[0].revents == 0;
}

/// Until sway has gone, or this is about to end: false.
bool Events::listen(Socket& socket) {
  while (waits(socket.descriptor(), kForEver)) {
    const auto event = socket.receive(std::chrono::steady_clock::now() + kPatience);
    if (!event) {
      return true;
    }
    handlers_.event(*event);
  }
  return false;
}

void Events::run() {
  bool wasThere = false;
  bool goesOn = true;
  while (goesOn) {
    auto socket = Socket::connect(path_);
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    if (socket && socket->send(Message::subscribe, kWanted, deadline) && socket->receive(deadline)) {
      if (std::exchange(wasThere, true)) {
        handlers_.returned();
      }
      goesOn = listen(*socket);
    }
    goesOn = goesOn && waits(-1, kRetryMs);
  }
}

}  // namespace jumplark::sway
