#include "backends/linux/system/InstanceChannel.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <thread>

#include "backends/linux/system/InstanceServer.h"
#include "platform/SystemErrors.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kBacklog = 16;
constexpr auto kRetryPause = std::chrono::milliseconds(10);
constexpr size_t kLongestAnswer = 4096;

std::string systemError() {
  return textOfSystemError(errno);
}

sockaddr_un addressOf(const std::filesystem::path& socket) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, socket.c_str(), std::min(socket.native().size(), sizeof address.sun_path - 1));
  return address;
}

FileDescriptor makeSocket() {
  return FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

FileDescriptor listenOn(const std::filesystem::path& path) {
  ::unlink(path.c_str());  // of an instance that was killed; its lock is ours now
  FileDescriptor socket = makeSocket();
  const sockaddr_un address = addressOf(path);
  if (!socket || ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(socket.get(), kBacklog) != 0) {
    return {};
  }
  return socket;
}

/// Waits until the connection is readable or broken; false at the deadline.
bool waitReadable(const FileDescriptor& connection, Clock::time_point deadline) {
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) {
      return false;
    }
    pollfd polled{connection.get(), POLLIN, 0};
    if (::poll(&polled, 1, static_cast<int>(std::min<decltype(left)>(left, 60'000))) > 0) {
      return true;
    }
  }
}

/// The line without its end; none when the other side is gone or the deadline passes first.
std::optional<std::string> readLine(const FileDescriptor& connection, Clock::time_point deadline) {
  std::string received;
  std::array<char, 512> buffer{};
  while (received.size() < kLongestAnswer && waitReadable(connection, deadline)) {
    const ssize_t count = ::recv(connection.get(), buffer.data(), buffer.size(), 0);
    if (count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN)) {
      break;
    }
    received.append(buffer.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
    if (const size_t end = received.find('\n'); end != std::string::npos) {
      return received.substr(0, end);
    }
  }
  return std::nullopt;
}

InstanceChannel::Reply failed(std::string problem) {
  return {InstanceChannel::SendState::failed, std::move(problem)};
}

std::string lineOf(const InstanceCommand& command) {
  if (command.kind == InstanceCommand::Kind::activate) {
    return "activate\n";
  }
  if (command.kind == InstanceCommand::Kind::reopen) {
    return "reopen\n";
  }
  return command.pane.empty() ? "preferences\n" : "preferences " + command.pane + "\n";
}

bool isOwnUser(const FileDescriptor& connection) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return ::getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::getuid();
}

InstanceChannel::Reply exchange(const FileDescriptor& connection, const std::string& line, Clock::time_point deadline) {
  if (!isOwnUser(connection)) {
    return failed(localized("another user's program answers in place of Jumplark"));
  }
  // A line is shorter than any socket's buffer.
  if (::send(connection.get(), line.data(), line.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(line.size())) {
    return failed(localized("the running Jumplark has ended"));
  }
  const std::optional<std::string> answer = readLine(connection, deadline);
  if (!answer) {
    return failed(Clock::now() >= deadline ? localized("the running Jumplark does not answer")
                                           : localized("the running Jumplark has ended"));
  }
  if (*answer == "ok") {
    return {InstanceChannel::SendState::done, {}};
  }
  constexpr std::string_view kError = "error ";
  return failed(answer->starts_with(kError)
                    ? answer->substr(kError.size())
                    : localized("the running Jumplark gives an answer that cannot be understood"));
}

}  // namespace

InstanceChannel::Serving InstanceChannel::serve(Queues& queues, Handler handler) const {
  if (!place_.problem.empty()) {
    return {ServeState::failed, place_.problem, {}};
  }
  std::string problem;
  FileDescriptor lock = place_.takeLock(problem);
  if (!lock) {
    return {problem.empty() ? ServeState::alreadyRunning : ServeState::failed, problem, {}};
  }
  FileDescriptor listener = listenOn(place_.socket);
  if (!listener) {
    return {ServeState::failed, fmt::format("{}: {}", place_.socket.string(), systemError()), {}};
  }
  auto server =
      std::make_shared<InstanceServer>(std::move(lock), std::move(listener), place_.socket, queues, std::move(handler));
  return {ServeState::serving, {}, Token([server]() mutable { server.reset(); })};
}

InstanceChannel::Reply InstanceChannel::send(const InstanceCommand& command, std::chrono::milliseconds patience) const {
  if (!place_.problem.empty()) {
    return failed(place_.problem);
  }
  const auto deadline = Clock::now() + patience;
  const sockaddr_un address = addressOf(place_.socket);
  while (true) {
    const FileDescriptor connection = makeSocket();
    if (!connection) {
      return failed(systemError());
    }
    if (::connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
      return exchange(connection, lineOf(command), deadline);
    }
    const bool busy = errno == EAGAIN || errno == EINTR;
    if (!busy && errno != ENOENT && errno != ECONNREFUSED) {
      return failed(fmt::format("{}: {}", place_.socket.string(), systemError()));
    }
    if (!busy && !place_.isLocked()) {
      return {SendState::notRunning, {}};
    }
    if (Clock::now() >= deadline) {
      return failed(localized("the running Jumplark does not answer"));
    }
    std::this_thread::sleep_for(kRetryPause);
  }
}

}  // namespace jumplark
