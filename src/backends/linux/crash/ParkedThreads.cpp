#include "backends/linux/crash/ParkedThreads.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <ctime>

namespace jumplark {
namespace {

constexpr int kMostWaits = 50;
constexpr timespec kWait{0, 1'000'000};

std::atomic<int> parkingSignal{0};
std::atomic<bool> parking{false};
std::atomic<int> parked{0};
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

void park(int /*signal*/) {
  if (parking) {
    ++parked;
    parkThisThread();
  }
}

/// As the system call fills it in; the C library has no name for it.
struct FolderEntry {
  uint64_t inode;
  int64_t next;
  uint16_t size;
  uint8_t type;
  char name[];
};

/// 0 for what is no number.
pid_t numberIn(const char* text) noexcept {
  pid_t number = 0;
  for (; *text >= '0' && *text <= '9'; ++text) {
    number = number * 10 + (*text - '0');
  }
  return *text == '\0' ? number : 0;
}

/// How many threads the signal was sent to.
int signalOtherThreads(int signal) noexcept {
  const int folder = ::open("/proc/self/task", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) {
    return 0;
  }
  const pid_t self = ::gettid();
  int sent = 0;
  alignas(FolderEntry) std::array<std::byte, 4096> entries;
  long size = 0;
  while ((size = ::syscall(SYS_getdents64, folder, entries.data(), entries.size())) > 0) {
    for (long at = 0; at < size;) {
      const auto& entry = reinterpret_cast<const FolderEntry&>(entries[static_cast<size_t>(at)]);
      const pid_t thread = numberIn(entry.name);
      if (thread != 0 && thread != self && ::syscall(SYS_tgkill, ::getpid(), thread, signal) == 0) {
        ++sent;
      }
      at += entry.size;
    }
  }
  ::close(folder);
  return sent;
}

}  // namespace

void prepareParking() {
  parkingSignal = SIGRTMIN + 4;
  struct sigaction action {};
  action.sa_handler = park;
  action.sa_flags = SA_RESTART;
  sigfillset(&action.sa_mask);
  sigaction(parkingSignal, &action, nullptr);
}

void parkOtherThreads() noexcept {
  parking = true;
  const int sent = signalOtherThreads(parkingSignal);
  for (int i = 0; i < kMostWaits && parked < sent; ++i) {
    ::nanosleep(&kWait, nullptr);
  }
}

void parkThisThread() noexcept {
  while (true) {
    ::pause();
  }
}

}  // namespace jumplark
