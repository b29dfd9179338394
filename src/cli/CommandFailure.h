#pragma once

#include <stdexcept>
#include <string>

namespace jumplark::cli {

/// What the process tells its caller.
enum class ExitStatus : int {
  done = 0,
  nothingMatched = 1,
  badUsage = 2,    ///< or a file that cannot be read
  outOfReach = 3,  ///< desktop, accessibility or running instance
};

/// Ends a command: one sentence for the user and the exit status.
class CommandFailure : public std::runtime_error {
 public:
  CommandFailure(ExitStatus status, const std::string& message) : std::runtime_error(message), status_(status) {}
  ExitStatus status() const { return status_; }

 private:
  ExitStatus status_;
};

}  // namespace jumplark::cli
