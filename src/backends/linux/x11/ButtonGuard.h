#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <utility>

#include "backends/linux/crash/ExitGuard.h"
#include "backends/linux/x11/X11Connection.h"

namespace jumplark {

/// Lets go of a synthetic mouse button when this process dies with the button down, in whatever way it dies, and at the
/// end of this. See ExitGuard.
class ButtonGuard {
 public:
  /// Null when the child or its connection cannot be made; posting works without.
  static std::unique_ptr<ButtonGuard> start(const X11Connection& x);

  /// The button that is about to be pressed, and that a death of this process has to release; 0 after its release.
  void setPressed(uint8_t button);
  pid_t childPid() const { return guard_->childPid(); }

 private:
  ButtonGuard(std::shared_ptr<X11Connection> connection, std::unique_ptr<ExitGuard> guard)
      : x_(std::move(connection)), guard_(std::move(guard)) {}

  std::shared_ptr<X11Connection> x_;  ///< the child's connection, which closing here would end
  std::unique_ptr<ExitGuard> guard_;
};

}  // namespace jumplark
