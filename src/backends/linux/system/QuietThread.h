#pragma once

#include <csignal>
#include <functional>
#include <future>
#include <memory>
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

/// Runs the body on such a thread, which outlives whatever is given back; that is ready when the body has ended.
inline std::future<void> inBackground(std::function<void()> body) {
  std::packaged_task<void()> task(std::move(body));
  std::future<void> end = task.get_future();
  startQuietThread([task = std::make_shared<std::packaged_task<void()>>(std::move(task))] { (*task)(); }).detach();
  return end;
}

}  // namespace jumplark
