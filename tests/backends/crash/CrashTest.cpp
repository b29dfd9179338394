#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "backends/linux/crash/CrashFolder.h"
#include "backends/linux/crash/CrashHandlers.h"
#include "backends/linux/x11/PointerPoster.h"
#include "backends/threads/LargeStackThread.h"
#include "backends/x11/X11Fixture.h"
#include "support/TemporaryFolder.h"

// The sanitizers' own handlers would take the place of the default action.
extern "C" const char* __asan_default_options() {  // NOLINT(bugprone-reserved-identifier): the sanitizer's name
  return "handle_segv=0:handle_sigbus=0:handle_abort=0:handle_sigill=0:handle_sigfpe=0:handle_sigtrap=0:"
         "detect_leaks=0:use_sigaltstack=0";
}

#define JUMPLARK_FAULTY __attribute__((noinline, no_sanitize("address", "undefined")))

namespace jumplark {
namespace faults {

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
template <int kSignal>
JUMPLARK_FAULTY void raises() {
  raise(kSignal);
  sum = sum + 1;
}
JUMPLARK_FAULTY void throwsToNobody() {
  throw std::runtime_error("planted-query");
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

namespace fs = std::filesystem;
using namespace faults;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

template <void (*kFault)()>
void inSecondThread() {
  const LargeStackThread thread(size_t{1} << 20U, [] {
    pthread_setname_np(pthread_self(), "second");
    kFault();
  });
}

void inManyThreadsAtOnce() {
  std::atomic<int> ready{0};
  std::vector<std::thread> threads(8);
  for (std::thread& thread : threads) {
    thread = std::thread([&ready] {
      for (++ready; ready < 8;) {
      }
      readsNowhere();
    });
  }
  std::ranges::for_each(threads, &std::thread::join);
}

// The allocator locks only where there are threads.
[[maybe_unused]] void breaksTheHeapBesideAThread() {
  const std::thread other([] { pause(); });
  breaksTheHeap();
}

/// Several texts stand for what a user has typed and reads; they must be in no report.
class Crash : public ::testing::Test {
 protected:
  Crash() { ::setenv("PLANTED", "planted-environment", 1); }

  /// The signal that ends a process that handles crashes and then does something, which nobody catches what it throws
  /// of.
  int signalOf(const std::function<void()>& crash) {
    const pid_t child = fork();
    if (child == 0) {
      [&]() noexcept {
        std::freopen("/dev/null", "w", stderr);
        std::string problem;
        const FileDescriptor folder = CrashFolder(crashes_).open(problem);
        crash_handlers::install({folder.get(), "Program: Crashing 1.0\n"});
        crash();
        _exit(2);
      }();
    }
    int status = 0;
    EXPECT_GT(::waitpid(child, &status, 0), 0);
    return WTERMSIG(status);
  }
  std::vector<fs::path> rawReports() const {
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(crashes_)) {
      if (entry.path().extension() == ".raw") {
        found.push_back(entry.path());
      }
    }
    return found;
  }
  /// As the next start reads them.
  std::string reports() {
    std::string all;
    for (const CrashReport& report : CrashFolder(crashes_).takeNew()) {
      all += report.text;
    }
    return all;
  }

  const testing::TemporaryFolder folder_;
  const fs::path crashes_ = folder_ / "crashes";
};

TEST_F(Crash, leavesAReportThatNamesTheFunctionAndEndsByItsSignal) {
  const struct {
    void (*way)();
    int signal;
    std::vector<const char*> told;
  } cases[] = {
      {readsNowhere, SIGSEGV, {"Signal: SIGSEGV (11), code 1, address 0x10000", "readsNowhere", "main"}},
      {callsNowhere, SIGSEGV, {"SIGSEGV", "callsNowhere"}},
      {raises<SIGFPE>, SIGFPE, {"SIGFPE", "raises"}},
      {raises<SIGILL>, SIGILL, {"SIGILL", "raises"}},
      {raises<SIGTRAP>, SIGTRAP, {"SIGTRAP", "raises"}},
      {raises<SIGBUS>, SIGBUS, {"SIGBUS", "raises"}},
      {throwsToNobody, SIGABRT, {"SIGABRT", "throwsToNobody", "Exception: std::runtime_error"}},
      {inSecondThread<throwsToNobody>, SIGABRT, {"throwsToNobody", "std::runtime_error", "Thread: second"}},
      {recursesWithoutEnd, SIGSEGV, {"SIGSEGV", "recurses"}},
      {inSecondThread<recursesWithoutEnd>, SIGSEGV, {"recurses", "Thread: second"}},
#ifndef __SANITIZE_ADDRESS__
      {breaksTheHeapBesideAThread, SIGABRT, {"SIGABRT", "malloc", "breaksTheHeap"}},
#endif
      {inManyThreadsAtOnce, SIGSEGV, {"readsNowhere"}},
      // It crashes in the handler again, which leaves what is written by then.
      {losesItsStack, SIGSEGV, {"SIGSEGV", "losesItsStack"}},
  };
  for (const auto& [way, signal, told] : cases) {
    SCOPED_TRACE(told.back());
    EXPECT_EQ(signalOf(way), signal);
    const auto raw = rawReports();
    ASSERT_EQ(raw.size(), 1U);
    EXPECT_EQ(fs::status(raw[0]).permissions(), fs::perms(0600));
    const std::string text = testing::readFile(raw[0]) + reports();
    EXPECT_THAT(text, AllOf(HasSubstr("Program: Crashing 1.0"), Not(HasSubstr("planted"))));
    EXPECT_EQ(text.find("breaks off") != std::string::npos, way == losesItsStack);
    for (const char* part : told) {
      EXPECT_THAT(text, HasSubstr(part));
    }
    EXPECT_THAT(rawReports(), IsEmpty()) << "a report is new once";
    EXPECT_EQ(reports(), "");
  }
}

TEST_F(Crash, isToldWithoutNamesWhenLookingForThemHasEndedTheProgram) {
  EXPECT_EQ(signalOf(raises<SIGABRT>), SIGABRT);
  testing::writeFile(crashes_ / "reading", "");
  EXPECT_THAT(reports(), AllOf(HasSubstr("test_crash+0x"), Not(HasSubstr("raises"))));
  EXPECT_EQ(signalOf(raises<SIGABRT>), SIGABRT);
  EXPECT_THAT(reports(), AllOf(HasSubstr("SIGABRT"), HasSubstr("raises"), Not(HasSubstr("address"))));
}

TEST_F(Crash, withoutRoomForTheReportEndsByItsSignalAllTheSame) {
  const auto fill = [] {
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_FSIZE, &none);
    readsNowhere();
  };
  EXPECT_EQ(signalOf(fill), SIGSEGV);
  ASSERT_EQ(rawReports().size(), 1U);
  EXPECT_EQ(testing::readFile(rawReports()[0]), "");
  EXPECT_EQ(reports(), "") << "an empty one is nothing to show";
}

class CrashOnADisplay : public X11Test {};

// The process still lives, as one does while its core image is written.
TEST_F(CrashOnADisplay, letsGoOfButtonAndKeyboardFirst) {
  start({.windowManager = desktop::WindowManager::none});
  const fs::path crashes = session_->folder() + "/crashes";
  sigset_t told;
  sigemptyset(&told);
  sigaddset(&told, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &told, nullptr);
  const pid_t child = fork();
  if (child == 0) {
    std::signal(SIGSEGV, [](int) { raise(SIGSTOP); });
    std::string problem;
    const FileDescriptor folder = CrashFolder(crashes).open(problem);
    crash_handlers::install({folder.get(), ""});
    const auto grabbing = X11Connection::open(session_->display()).connection;
    PointerPoster poster(X11Connection::open(session_->display()).connection);
    poster.post({event_type::leftMouseDown, {10, 10}, 1});
    xcb_grab_keyboard_unchecked(grabbing->get(), 0, grabbing->root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_SYNC,
                                XCB_GRAB_MODE_SYNC);
    grabbing->check(xcb_no_operation_checked(grabbing->get()));
    int signal = 0;
    sigwait(&told, &signal);
    inSecondThread<readsNowhere>();
    _exit(1);
  }
  EXPECT_TRUE(desktop::waitUntil([&] { return !session_->keyboardIsFree(); }));
  EXPECT_THAT(session_->heldInput(), HasSubstr("button 1"));
  kill(child, SIGUSR1);
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, WUNTRACED), child);
  EXPECT_TRUE(WIFSTOPPED(status)) << "by who handled crashes before";
  EXPECT_TRUE(nothingIsHeld());
  EXPECT_TRUE(keyboardIsFree());
  EXPECT_FALSE(fs::is_empty(crashes));
  kill(child, SIGKILL);
  EXPECT_EQ(::waitpid(child, nullptr, 0), child);
}

}  // namespace
}  // namespace jumplark
