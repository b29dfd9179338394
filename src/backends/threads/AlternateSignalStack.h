#pragma once

#include <sys/mman.h>

#include <csignal>
#include <cstddef>

namespace jumplark {

/// A stack on which this thread handles signals that ask for one (SA_ONSTACK), so that a handler also runs when the
/// thread's own stack is used up. The one from before comes back at the end. Belongs to the thread that makes it.
class AlternateSignalStack {
 public:
  /// The handler unwinds the stack, and the processor's saved state alone may take some thousand bytes.
  static constexpr size_t kBytes = size_t{64} << 10U;

  AlternateSignalStack() {
    memory_ = mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    stack_t mine{};
    mine.ss_sp = memory_;
    mine.ss_size = kBytes;
    isSet_ = memory_ != MAP_FAILED && sigaltstack(&mine, &before_) == 0;
  }
  AlternateSignalStack(const AlternateSignalStack&) = delete;
  AlternateSignalStack& operator=(const AlternateSignalStack&) = delete;
  ~AlternateSignalStack() {
    if (isSet_) {
      sigaltstack(&before_, nullptr);
    }
    if (memory_ != MAP_FAILED) {
      munmap(memory_, kBytes);
    }
  }

 private:
  void* memory_ = MAP_FAILED;
  stack_t before_{};
  bool isSet_ = false;
};

}  // namespace jumplark
