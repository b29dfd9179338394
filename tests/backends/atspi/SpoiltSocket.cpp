#include "backends/atspi/SpoiltSocket.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace jumplark::atspi {
namespace {

/// False once the other end has gone.
bool pass(int from, std::string& received) {
  std::array<char, 65536> buffer{};
  const ssize_t length = recv(from, buffer.data(), buffer.size(), 0);
  received.append(buffer.data(), length > 0 ? static_cast<size_t>(length) : 0);
  return length > 0;
}

bool sendAll(int to, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t length = send(to, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (length <= 0) {
      return false;
    }
    bytes.remove_prefix(static_cast<size_t>(length));
  }
  return true;
}

}  // namespace

SpoiltSocket::SpoiltSocket(FakeApplication& application)
    : application_(application),
      bytes_(kMarker),
      listening_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)),
      stop_(eventfd(0, EFD_CLOEXEC)) {
  sockaddr_un address{AF_UNIX, {}};
  const std::string path = folder_.path() + "/own";
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  if (bind(listening_, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0 || listen(listening_, 1) < 0) {
    throw std::runtime_error(path + ": " + std::strerror(errno));
  }
  thread_ = std::thread([this] { loop(); });
  application_.tellSocket("unix:path=" + path);
}

SpoiltSocket::~SpoiltSocket() {
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(stop_, &one, sizeof one);
  thread_.join();
  close(listening_);
  close(stop_);
}

void SpoiltSocket::put(const std::string& bytes) {
  if (bytes.size() != std::strlen(kMarker)) {
    throw std::logic_error("Bytes of another length than the marker's would break the messages");
  }
  const std::lock_guard lock(mutex_);
  bytes_ = bytes;
}

void SpoiltSocket::loop() {
  for (;;) {
    std::array<pollfd, 2> requests{pollfd{stop_, POLLIN, 0}, pollfd{listening_, POLLIN, 0}};
    poll(requests.data(), requests.size(), -1);
    if (requests[0].revents != 0) {
      return;
    }
    const int client = accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client >= 0) {
      ++connections_;
      relay(client);
      close(client);
    }
  }
}

void SpoiltSocket::relay(int client) {
  std::array<int, 2> pair{-1, -1};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) < 0) {
    return;
  }
  {
    FakePeer served(pair[1], application_.handler());
    std::string asked;
    std::string said;
    bool open = true;
    while (open) {
      std::array<pollfd, 3> requests{pollfd{stop_, POLLIN, 0}, pollfd{client, POLLIN, 0}, pollfd{pair[0], POLLIN, 0}};
      poll(requests.data(), requests.size(), -1);
      open = requests[0].revents == 0;
      if (open && requests[1].revents != 0) {
        open = pass(client, asked) && sendAll(pair[0], std::exchange(asked, {}));
      }
      if (open && requests[2].revents != 0) {
        open = pass(pair[0], said) && sendAll(client, spoil(said));
      }
    }
  }
  close(pair[0]);
}

std::string SpoiltSocket::spoil(std::string& said) {
  const std::string_view marker = kMarker;
  const std::lock_guard lock(mutex_);
  for (size_t at = said.find(marker); at != std::string::npos; at = said.find(marker, at + marker.size())) {
    said.replace(at, marker.size(), bytes_);
    ++spoilt_;
  }
  size_t kept = std::min(said.size(), marker.size() - 1);
  while (!said.ends_with(marker.substr(0, kept))) {
    --kept;
  }
  std::string ready = said.substr(0, said.size() - kept);
  said.erase(0, ready.size());
  return ready;
}

}  // namespace jumplark::atspi
