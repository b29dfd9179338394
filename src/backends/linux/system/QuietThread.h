#pragma once

#include <csignal>
#include <functional>
#include <thread>
#include <utility>

#include "backends/linux/system/FatalSignals.h"

namespace jumplark {

/// A thread that no signal interrupts but those of its own faults: signals are for the main thread.
inline std::thread startQuietThread(std::function<void()> body) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  for (const int signal : kFatalSignals) {
    sigdelset(&all, signal);
  }
  pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread thread(std::move(body));
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return thread;
}

}  // namespace jumplark
