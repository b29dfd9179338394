// Preloaded into the program under test: sends a signal to another process when that program has made so many calls
// over its message buses. So a fault comes in the middle of a snapshot, at the same place each time.
//   FAULT="CALLS SIGNAL PID"

#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>

extern "C" ssize_t sendmsg(int descriptor, const msghdr* message, int flags) {
  using Send = ssize_t (*)(int, const msghdr*, int);
  static const auto next = reinterpret_cast<Send>(dlsym(RTLD_NEXT, "sendmsg"));
  static std::atomic<int> sent{0};
  const ssize_t result = next(descriptor, message, flags);
  int calls = 0;
  int signal = 0;
  int pid = 0;
  const char* wanted = std::getenv("FAULT");
  if (wanted && std::sscanf(wanted, "%d %d %d", &calls, &signal, &pid) == 3 && ++sent == calls) {
    kill(pid, signal);
  }
  return result;
}
