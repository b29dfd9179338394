#include "backends/linux/crash/CrashHandlers.h"

#include <cxxabi.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <string_view>
#include <typeinfo>

#include "backends/linux/crash/CrashRelease.h"
#include "backends/linux/crash/ParkedThreads.h"
#include "backends/linux/crash/SignalSafeText.h"
#include "backends/linux/crash/StackRecord.h"
#include "backends/linux/system/FatalSignals.h"
#include "backends/threads/AlternateSignalStack.h"

namespace jumplark::crash_handlers {
namespace {

constexpr unsigned kSecondsToReport = 5;

// Written once, before the handlers are installed, and from then on read only; never destroyed.
std::array<char, 4096> facts;
size_t factsSize = 0;
std::array<char, PATH_MAX> program;
int folder = -1;
std::array<struct sigaction, kFatalSignals.size()> savedActions;
std::terminate_handler savedTerminate = nullptr;

std::atomic<pid_t> reportingThread{0};
std::atomic<const char*> uncaughtType{nullptr};
static_assert(std::atomic<pid_t>::is_always_lock_free && std::atomic<const char*>::is_always_lock_free);

std::string_view nameOf(int signal) noexcept {
  switch (signal) {
    case SIGABRT:
      return "SIGABRT";
    case SIGBUS:
      return "SIGBUS";
    case SIGFPE:
      return "SIGFPE";
    case SIGILL:
      return "SIGILL";
    case SIGSEGV:
      return "SIGSEGV";
    case SIGTRAP:
      return "SIGTRAP";
    default:
      return "signal";
  }
}

/// Whatever the report waits for, the process ends in time; and not for a file that may not grow.
void limitTime() noexcept {
  struct sigaction action {};
  action.sa_handler = SIG_IGN;
  sigaction(SIGXFSZ, &action, nullptr);
  action.sa_handler = SIG_DFL;
  sigaction(SIGALRM, &action, nullptr);
  sigset_t alarms;
  sigemptyset(&alarms);
  sigaddset(&alarms, SIGALRM);
  pthread_sigmask(SIG_UNBLOCK, &alarms, nullptr);
  ::alarm(kSecondsToReport);
}

void restoreSavedActions() noexcept {
  for (size_t i = 0; i < kFatalSignals.size(); ++i) {
    sigaction(kFatalSignals[i], &savedActions[i], nullptr);
  }
}

void raiseAgain(int signal) noexcept {
  sigset_t own;
  sigemptyset(&own);
  sigaddset(&own, signal);
  pthread_sigmask(SIG_UNBLOCK, &own, nullptr);
  ::raise(signal);
  // Still here: it is ignored, or was handled. But the other threads do not go on any more.
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  sigaction(signal, &action, nullptr);
  ::raise(signal);
  ::_exit(128 + signal);
}

/// -1 when none can be made.
int createReport(uint64_t seconds) noexcept {
  if (folder < 0) {
    return -1;
  }
  std::array<char, 64> name{};
  size_t end = name.size() - 1;
  const auto prepend = [&](std::string_view text) {
    end -= text.size();
    std::ranges::copy(text, name.begin() + static_cast<ptrdiff_t>(end));
  };
  const auto prependNumber = [&](uint64_t number) {
    do {
      name[--end] = static_cast<char>('0' + number % 10);
      number /= 10;
    } while (number != 0);
  };
  prepend(".raw");
  prependNumber(static_cast<uint64_t>(::getpid()));
  prepend("-");
  prependNumber(seconds);
  return ::openat(folder, name.data() + end, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
}

void writeReport(int signal, const siginfo_t& info, void* context) noexcept {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  const auto seconds = static_cast<uint64_t>(now.tv_sec);
  const int file = createReport(seconds);
  if (file < 0) {
    return;
  }
  SignalSafeText out(file);
  out.text({facts.data(), factsSize});
  out.text("Time: ").decimal(seconds).endLine();
  out.text("Signal: ").text(nameOf(signal)).text(" (").decimal(static_cast<uint64_t>(signal)).text(")");
  // A code above 0 is the kernel's own: there is an address then.
  if (info.si_code > 0) {
    out.text(", code ").decimal(static_cast<uint64_t>(info.si_code));
    out.text(", address ").hexadecimal(reinterpret_cast<uintptr_t>(info.si_addr));
  }
  out.endLine();
  std::array<char, 16> thread{};
  ::prctl(PR_GET_NAME, thread.data());
  out.text("Thread: ").text(thread.data()).endLine();
  if (const char* const type = uncaughtType) {
    out.text("Exception: ").text(type).endLine();
  }
  out.flush();
  writeStackRecord(out, context, program.data());
  out.text("End").endLine();
  out.flush();
  ::close(file);
}

void handle(int signal, siginfo_t* info, void* context) {
  const pid_t self = ::gettid();
  pid_t other = 0;
  if (!reportingThread.compare_exchange_strong(other, self)) {
    if (other != self) {
      parkThisThread();
    }
    restoreSavedActions();
    raiseAgain(signal);
  }
  limitTime();
  parkOtherThreads();
  shutDownForCrash();
  restoreSavedActions();
  writeReport(signal, *info, context);
  ::alarm(0);
  raiseAgain(signal);
}

/// Only the exception's type goes into the report: its text may be the user's.
[[noreturn]] void noteUncaught() {
  if (const std::type_info* const type = abi::__cxa_current_exception_type()) {
    uncaughtType = type->name();
  }
  if (savedTerminate != nullptr) {
    savedTerminate();
  }
  std::abort();
}

}  // namespace

void install(const Settings& settings) {
  static const AlternateSignalStack mainThreadStack;
  factsSize = std::min(settings.facts.size(), facts.size() - 1);
  settings.facts.copy(facts.data(), factsSize);
  folder = settings.folder;
  if (::readlink("/proc/self/exe", program.data(), program.size() - 1) < 0) {
    program[0] = '\0';
  }
  prepareStackRecord();
  prepareParking();
  savedTerminate = std::set_terminate(noteUncaught);
  for (size_t i = 0; i < kFatalSignals.size(); ++i) {
    struct sigaction action {};
    action.sa_sigaction = handle;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    if (sigaction(kFatalSignals[i], nullptr, &savedActions[i]) != 0) {
      savedActions[i] = {};
    }
    sigaction(kFatalSignals[i], &action, nullptr);
  }
}

}  // namespace jumplark::crash_handlers
