#pragma once

#include <functional>
#include <thread>

namespace jumplark {

/// Turns the signals that ask the program to end (SIGTERM, SIGINT, SIGHUP) into a call. Made on the main thread before
/// any other thread, since those inherit that the signals wait to be read here instead of ending the process.
class TerminationSignals {
 public:
  TerminationSignals();
  /// `asked` is called for each signal, also for one that came before, on a thread of its own. Once.
  void start(std::function<void(int signal)> asked);
  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;
  /// Waits for a running call; none is made afterwards, and a signal that comes then ends the process as usual.
  ~TerminationSignals();

 private:
  void run() const;

  std::function<void(int)> asked_;
  int signalFd_ = -1;
  int endFd_ = -1;
  std::thread thread_;
};

}  // namespace jumplark
