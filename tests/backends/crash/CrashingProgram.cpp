// A program that crashes, to be started by tests:
//   crash FOLDER WAY            crashes in one of the ways below, or by the signal of a number; the report goes to
//                               FOLDER
//   crash-when-told FOLDER      presses the mouse button, grabs the keyboard, prints "holding", and crashes in a second
//                               thread at SIGUSR1; who handled crashes before prints "handed on" and waits
//   reports FOLDER              prints the reports that the runs before have left
// Several texts of it stand for what a user has typed and reads; they must be in no report.
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "backends/linux/crash/CrashFolder.h"
#include "backends/linux/crash/CrashHandlers.h"
#include "backends/linux/x11/PointerPoster.h"
#include "backends/threads/LargeStackThread.h"

// The sanitizers' own handlers would take the place of the default action.
extern "C" const char* __asan_default_options() {  // NOLINT(bugprone-reserved-identifier): the sanitizer's name
  return "handle_segv=0:handle_sigbus=0:handle_abort=0:handle_sigill=0:handle_sigfpe=0:handle_sigtrap=0:"
         "detect_leaks=0:use_sigaltstack=0";
}

#define JUMPLARK_FAULTY __attribute__((noinline, no_sanitize("address", "undefined")))

namespace faults {

std::string query = "planted-query";
volatile uintptr_t nowhere = 0x10000;
volatile int limit = std::numeric_limits<int>::max();
volatile int sum = 0;

JUMPLARK_FAULTY void readsNowhere() {
  sum = *reinterpret_cast<volatile int*>(nowhere);  // NOLINT(performance-no-int-to-ptr)
}
JUMPLARK_FAULTY void callsNowhere() {
  reinterpret_cast<void (*)()>(nowhere)();  // NOLINT(performance-no-int-to-ptr)
  sum = sum + 1;
}
JUMPLARK_FAULTY void raises(int signal) {
  raise(signal);
  sum = sum + 1;
}
JUMPLARK_FAULTY void throwsToNobody() {
  throw std::runtime_error(query);
}
JUMPLARK_FAULTY int recurses(int depth) {
  std::array<volatile char, 512> part{};
  part[0] = static_cast<char>(depth);
  return depth < limit ? recurses(depth + 1) + part[static_cast<size_t>(depth) % part.size()] : 0;
}
JUMPLARK_FAULTY void recursesWithoutEnd() {
  sum = recurses(0);
}
// The allocator finds its records overwritten, and gives up while it holds its lock.
JUMPLARK_FAULTY void breaksTheHeap() {
  auto* const last = static_cast<volatile uintptr_t*>(std::malloc(1 << 16));
  for (size_t i = 0; i < 40; ++i) {
    last[(1 << 16) / sizeof(uintptr_t) + i] = 0x5555555555555555;
  }
  sum = std::malloc(1 << 17) != nullptr;  // NOLINT
}
// Not even the unwinder can read such a stack.
JUMPLARK_FAULTY void losesItsStack() {
#if defined(__x86_64__)
  asm volatile("mov $0x10, %%rsp\n\tmov (%%rsp), %%rax" ::: "rax", "memory");
#else
  readsNowhere();
#endif
}
}  // namespace faults

namespace {

using namespace jumplark;

[[noreturn]] void waits() {
  while (true) {
    pause();
  }
}

void inSecondThread(void (*fault)()) {
  const LargeStackThread thread(size_t{1} << 20U, [fault] {
    pthread_setname_np(pthread_self(), "second");
    fault();
  });
}

/// Many threads, all at once.
void everywhere() {
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&ready] {
      for (++ready; ready < 8;) {
      }
      faults::readsNowhere();
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

void crash(const std::string& way) {
  const std::map<std::string, std::function<void()>> ways = {
      {"reads nowhere", faults::readsNowhere},
      {"calls nowhere", faults::callsNowhere},
      {"throws", faults::throwsToNobody},
      {"throws in a thread", [] { inSecondThread(faults::throwsToNobody); }},
      {"recurses", faults::recursesWithoutEnd},
      {"recurses in a thread", [] { inSecondThread(faults::recursesWithoutEnd); }},
      {"breaks the heap",
       [] {
         const std::thread other(waits);  // the allocator locks only where there are threads
         faults::breaksTheHeap();
       }},
      {"loses its stack", faults::losesItsStack},
      {"everywhere", everywhere}};
  const auto found = ways.find(way);
  found != ways.end() ? found->second() : faults::raises(std::stoi(way));
}

void install(const std::string& path) {
  std::string problem;
  static FileDescriptor folder;
  folder = CrashFolder(path).open(problem);
  if (!problem.empty()) {
    std::fprintf(stderr, "%s\n", problem.c_str());
  }
  crash_handlers::install({folder.get(), "Program: Crashing 1.0\n"});
}

int crashHolding(const std::string& folder) {
  sigset_t told;
  sigemptyset(&told);
  sigaddset(&told, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &told, nullptr);
  std::signal(SIGSEGV, [](int) {
    [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, "handed on\n", 10);
    waits();
  });
  install(folder);
  const auto grabbing = X11Connection::open().connection;
  PointerPoster poster(X11Connection::open().connection);
  poster.post({event_type::leftMouseDown, {10, 10}, 1});
  xcb_grab_keyboard_unchecked(grabbing->get(), 0, grabbing->root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_SYNC,
                              XCB_GRAB_MODE_SYNC);
  grabbing->check(xcb_no_operation_checked(grabbing->get()));
  std::puts("holding");
  std::fflush(stdout);
  int signal = 0;
  sigwait(&told, &signal);
  inSecondThread(faults::readsNowhere);
  return 1;
}

int printReports(const std::string& folder) {
  for (const CrashReport& report : CrashFolder(folder).takeNew()) {
    std::printf("%s\n%s\n", report.name.c_str(), report.text.c_str());
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 2 ? argv[1] : "";
  if (mode == "reports") {
    return printReports(argv[2]);
  }
  if (mode == "crash-when-told") {
    return crashHolding(argv[2]);
  }
  if (mode == "crash" && argc > 3) {
    install(argv[2]);
    crash(argv[3]);
  }
  return 2;
}
