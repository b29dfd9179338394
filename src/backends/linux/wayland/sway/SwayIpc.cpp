#include "backends/linux/wayland/sway/SwayIpc.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "backends/linux/wayland/LooseJson.h"

namespace jumplark::sway {

using namespace loose_json;
namespace {

constexpr std::string_view kMagic = "i3-ipc";
constexpr size_t kHeaderBytes = kMagic.size() + 2 * sizeof(uint32_t);
constexpr uint32_t kMostBytes = 16U << 20U;
constexpr std::chrono::milliseconds kPatience{500};
/// With a sway that has just been silent.
constexpr std::chrono::milliseconds kImpatience{20};
constexpr std::chrono::seconds kSilence{1};

}  // namespace

// Lengths and types are in the byte order of the machine.
std::string encoded(Message message, std::string_view payload) {
  const std::array<uint32_t, 2> numbers = {static_cast<uint32_t>(payload.size()), static_cast<uint32_t>(message)};
  std::string bytes(kMagic);
  bytes.append(reinterpret_cast<const char*>(numbers.data()), sizeof numbers);
  return bytes.append(payload);
}

std::optional<Socket> Socket::connect(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof address.sun_path) {
    return std::nullopt;
  }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  FileDescriptor descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!descriptor || ::connect(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return std::nullopt;
  }
  return Socket(std::move(descriptor));
}

pid_t Socket::peer() const {
  ucred credentials{};
  socklen_t size = sizeof credentials;
  return getsockopt(descriptor_.get(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0 ? credentials.pid : 0;
}

bool Socket::waitFor(short events, TimePoint deadline) const {
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd waiting{descriptor_.get(), events, 0};
    const int ready = ::poll(&waiting, 1, static_cast<int>(std::max<int64_t>(0, left.count())));
    if (ready > 0) {
      return (waiting.revents & events) != 0;
    }
    if (ready == 0 || errno != EINTR) {
      return false;
    }
  }
}

bool Socket::send(Message message, std::string_view payload, TimePoint deadline) {
  const std::string bytes = encoded(message, payload);
  size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count = ::send(descriptor_.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count > 0) {
      sent += static_cast<size_t>(count);
    } else if (errno != EAGAIN || !waitFor(POLLOUT, deadline)) {
      return false;
    }
  }
  return true;
}

bool Socket::read(char* to, size_t count, TimePoint deadline) const {
  size_t got = 0;
  while (got < count) {
    const ssize_t part = ::recv(descriptor_.get(), to + got, count - got, 0);
    if (part > 0) {
      got += static_cast<size_t>(part);
    } else if (part == 0 || (errno != EAGAIN && errno != EINTR) || !waitFor(POLLIN, deadline)) {
      return false;
    }
  }
  return true;
}

std::optional<Answer> Socket::receive(TimePoint deadline) {
  std::array<char, kHeaderBytes> header{};
  std::array<uint32_t, 2> numbers{};
  if (!read(header.data(), header.size(), deadline) || std::string_view(header.data(), kMagic.size()) != kMagic) {
    return std::nullopt;
  }
  std::memcpy(numbers.data(), header.data() + kMagic.size(), sizeof numbers);
  std::string body(std::min(numbers[0], kMostBytes), '\0');
  if (numbers[0] > kMostBytes || !read(body.data(), body.size(), deadline)) {
    return std::nullopt;
  }
  auto json = nlohmann::json::parse(body, nullptr, false);
  return json.is_discarded() ? std::nullopt : std::optional(Answer{numbers[1], std::move(json)});
}

std::optional<nlohmann::json> Ipc::ask(Message message, std::string_view payload) {
  const std::lock_guard lock(mutex_);
  const auto now = std::chrono::steady_clock::now();
  const auto deadline = now + (now < silentUntil_ ? kImpatience : kPatience);
  for (int attempt = 0; attempt < 2; ++attempt) {
    const bool isNew = !socket_;
    if (isNew) {
      socket_ = Socket::connect(path_);
    }
    if (socket_ && socket_->send(message, payload, deadline)) {
      if (auto answer = socket_->receive(deadline); answer && answer->type == static_cast<uint32_t>(message)) {
        return std::move(answer->body);
      }
    }
    socket_.reset();
    if (isNew) {
      break;  // a connection that has just been made is not broken by age
    }
  }
  if (std::chrono::steady_clock::now() >= deadline) {
    silentUntil_ = deadline + kSilence;
  }
  return std::nullopt;
}

std::optional<std::string> Ipc::run(std::string_view command) {
  const auto answer = ask(Message::runCommand, command);
  if (!answer || !answer->is_array()) {
    return "sway does not answer";
  }
  for (const auto& result : *answer) {
    if (!flag(result, "success")) {
      return "sway refuses: " + text(result, "error");
    }
  }
  return std::nullopt;
}

}  // namespace jumplark::sway
