#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "backends/linux/system/FileDescriptor.h"

namespace jumplark::sway {

/// Kinds of messages of sway's IPC protocol, sway-ipc(7).
enum class Message : uint32_t {
  runCommand = 0,
  getWorkspaces = 1,
  subscribe = 2,
  getTree = 4,
  getVersion = 7,
  getConfiguration = 9,
  getBindingState = 12,
  getInputs = 100
};

struct Answer {
  uint32_t type = 0;  ///< the message's, or that of an event
  nlohmann::json body;
};

/// One end of sway's socket. Waits for nobody longer than it is told. Not safe on several threads.
class Socket {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// None when nobody listens there.
  static std::optional<Socket> connect(const std::string& path);

  bool send(Message message, std::string_view payload, TimePoint deadline);
  /// The next answer or event; none when sway has gone, does not answer in time or answers nonsense: JSON that is none,
  /// or more than 16 MB. The socket is of no use then.
  std::optional<Answer> receive(TimePoint deadline);
  int descriptor() const { return descriptor_.get(); }
  /// The process that made the socket; 0 when it cannot be seen from here.
  pid_t peer() const;

 private:
  explicit Socket(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}
  bool waitFor(short events, TimePoint deadline) const;
  bool read(char* to, size_t count, TimePoint deadline) const;

  FileDescriptor descriptor_;
};

/// Questions to sway, over one connection that is made anew when it has broken. Calls may come from any thread.
class Ipc {
 public:
  explicit Ipc(std::string path) : path_(std::move(path)) {}

  const std::string& path() const { return path_; }
  /// Waits half a second at most; none when there is no good answer. Once sway has not answered in time, each further
  /// question waits a moment only, for a second: whoever asks several does not wait for each.
  std::optional<nlohmann::json> ask(Message message, std::string_view payload = {});
  /// Has a command carried out, sway(5). What sway says is wrong with it; none when nothing is.
  std::optional<std::string> run(std::string_view command);

 private:
  const std::string path_;
  std::mutex mutex_;
  std::optional<Socket> socket_;
  Socket::TimePoint silentUntil_;
};

/// The bytes of a message as they travel.
std::string encoded(Message message, std::string_view payload);

}  // namespace jumplark::sway
