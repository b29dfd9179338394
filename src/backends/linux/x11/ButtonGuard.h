#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>

#include "backends/linux/x11/X11Connection.h"
#include "platform/Token.h"

namespace jumplark {

/// Lets go of a synthetic mouse button when this process dies with the button down, in whatever way it dies: a child
/// process with an X connection of its own waits for the end of this one. The child runs no code of this program but a
/// loop of system calls, ignores the signals that end a session, and ends with this process.
class ButtonGuard {
 public:
  /// Null when the child or its connection cannot be made; posting works without.
  static std::unique_ptr<ButtonGuard> start(const X11Connection& x);

  ButtonGuard(const ButtonGuard&) = delete;
  ButtonGuard& operator=(const ButtonGuard&) = delete;
  /// Releases a button that is down and ends the child.
  ~ButtonGuard();

  /// The button that is about to be pressed, and that a death of this process has to release; 0 after its release.
  void setPressed(uint8_t button);
  pid_t childPid() const { return child_; }

 private:
  ButtonGuard(std::shared_ptr<X11Connection> connection, pid_t child, int socket);

  std::shared_ptr<X11Connection> x_;  ///< the child's connection, which closing here would end
  pid_t child_;
  int socket_;
  Token endAtCrash_;
};

}  // namespace jumplark
