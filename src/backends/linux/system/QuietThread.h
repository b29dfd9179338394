#pragma once

#include <csignal>
#include <functional>
#include <thread>
#include <utility>

namespace jumplark {

/// A thread that no signal interrupts: signals are for the main thread.
inline std::thread startQuietThread(std::function<void()> body) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread thread(std::move(body));
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return thread;
}

}  // namespace jumplark
