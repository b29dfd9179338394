#pragma once

#include <functional>
#include <memory>
#include <string>

#include "backends/linux/crash/ExitGuard.h"
#include "backends/linux/wayland/WaylandConnection.h"
#include "platform/Token.h"

namespace jumplark {

/// Lets go of the left button when this process dies with it down: a compositor counts it as pressed as long as nobody
/// releases it. The child has a connection and a pointer of its own, and speaks the protocol by itself. One thread.
class ButtonGuard {
 public:
  struct Pointer {
    Token proxy;          ///< of the pointer that was made; empty where there can be none
    std::string release;  ///< the requests that let the button go, as they travel
  };
  /// Makes a pointer on the child's connection. Null where the compositor or the system denies one.
  static std::unique_ptr<ButtonGuard> create(const std::function<Pointer(WaylandConnection&)>& makePointer);

  /// Made for the child; whoever presses on it has pressed with the pointer that the child releases.
  const std::shared_ptr<WaylandConnection>& connection() const { return connection_; }

  /// From now on the child would let go of the button, or would not.
  void setPressed(bool pressed) { guard_->setLastWords(0, pressed ? words_ : std::string()); }

 private:
  ButtonGuard() = default;

  std::string words_;
  std::shared_ptr<WaylandConnection> connection_;  ///< the child's; closing it here would end it
  Token pointer_;
  Token answered_;
  std::unique_ptr<ExitGuard> guard_;
};

/// A request as it travels: object, size and opcode, arguments.
std::string waylandRequest(uint32_t object, uint32_t opcode, std::initializer_list<uint32_t> arguments);

}  // namespace jumplark
