#include "backends/linux/system/TerminationSignals.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <utility>

namespace jumplark {
namespace {

sigset_t terminationSet() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    sigaddset(&set, signal);
  }
  return set;
}

}  // namespace

TerminationSignals::TerminationSignals() {
  const sigset_t set = terminationSet();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  signalFd_ = signalfd(-1, &set, SFD_CLOEXEC);
  endFd_ = eventfd(0, EFD_CLOEXEC);
}

void TerminationSignals::start(std::function<void(int signal)> asked) {
  asked_ = std::move(asked);
  thread_ = std::thread([this] { run(); });
}

TerminationSignals::~TerminationSignals() {
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(endFd_, &one, sizeof(one));
  if (thread_.joinable()) {
    thread_.join();
  }
  close(signalFd_);
  close(endFd_);
  const sigset_t set = terminationSet();
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

void TerminationSignals::run() const {
  std::array<pollfd, 2> wanted{{{signalFd_, POLLIN, 0}, {endFd_, POLLIN, 0}}};
  while (true) {
    if (poll(wanted.data(), wanted.size(), -1) < 0) {
      continue;
    }
    if (wanted[1].revents != 0) {
      return;
    }
    signalfd_siginfo info{};
    if (read(signalFd_, &info, sizeof(info)) == static_cast<ssize_t>(sizeof(info))) {
      asked_(static_cast<int>(info.ssi_signo));
    }
  }
}

}  // namespace jumplark
