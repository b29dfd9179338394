#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "backends/linux/system/FileDescriptor.h"
#include "platform/Token.h"

namespace jumplark {

/// Sends last words over sockets when this process dies, in whatever way: a small child process waits for the end of
/// this one. It runs no code of this program but a loop of system calls, ignores the signals that end a session, and
/// ends with this process. Make it early: the child keeps the memory that this process has at that time.
class ExitGuard {
 public:
  /// The child keeps these sockets open, and waits for a second at most for an answer to its last words. They must not
  /// be used here for anything else afterwards, nor be shut down at a crash. Null when there can be no child; all works
  /// without.
  static std::unique_ptr<ExitGuard> start(std::vector<int> sockets);

  ExitGuard(const ExitGuard&) = delete;
  ExitGuard& operator=(const ExitGuard&) = delete;
  /// Says the last words and ends the child.
  ~ExitGuard();

  /// What a death of this process has the child send over a socket, given by its place in the list; nothing for an
  /// empty text. At most 4000 bytes; more is ignored. From one thread at a time.
  void setLastWords(size_t socket, const std::string& bytes);
  pid_t childPid() const { return child_; }

  static constexpr size_t kMostSockets = 2;

 private:
  ExitGuard(pid_t child, int socket);

  pid_t child_;
  FileDescriptor socket_;
  Token endAtCrash_;
};

}  // namespace jumplark
