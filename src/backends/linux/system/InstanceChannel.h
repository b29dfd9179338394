#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "backends/linux/system/InstancePlace.h"
#include "platform/Token.h"

namespace jumplark {

class Queues;

/// What a second start asks of the running instance.
struct InstanceCommand {
  enum class Kind { activate, preferences, reopen };
  Kind kind = Kind::activate;
  std::string pane;  ///< of the preferences; empty: the one that is shown, or the first
  bool operator==(const InstanceCommand&) const = default;
};

/// The way by which a second start reaches the running instance of the same user on the same display: a Unix socket,
/// one line of text each way. `activate`, `preferences [PANE]` and `reopen` (the program was started again) are the
/// commands, `ok` and `error REASON` the answers. The other side's user is checked at both ends.
class InstanceChannel {
 public:
  /// Called on the main queue; answers why it could not be done, or an empty text.
  using Handler = std::function<std::string(const InstanceCommand& command)>;

  enum class ServeState { serving, alreadyRunning, failed };
  struct Serving {
    ServeState state = ServeState::failed;
    std::string problem;  ///< with failed
    Token token;          ///< while it lives this is the running instance; only with serving
  };

  enum class SendState { done, notRunning, failed };
  struct Reply {
    SendState state = SendState::failed;
    std::string problem;  ///< with failed: what the instance answered, or why it did not
  };

  explicit InstanceChannel(InstancePlace place) : place_(std::move(place)) {}

  /// Becomes the running instance unless there is one. A client that sends nothing, or not all, holds up nobody, and is
  /// dropped after a while; a line longer than 256 bytes is refused. The thread sleeps while no client is there.
  Serving serve(Queues& queues, Handler handler) const;
  /// Sends a command and waits for the answer. An instance that is only just starting is waited for too.
  Reply send(const InstanceCommand& command, std::chrono::milliseconds patience = std::chrono::seconds(3)) const;

 private:
  InstancePlace place_;
};

}  // namespace jumplark
