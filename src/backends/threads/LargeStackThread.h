#pragma once

#include <pthread.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <system_error>
#include <utility>

#include "backends/threads/AlternateSignalStack.h"

namespace jumplark {

/// Address space that a stack may take; memory is used only as deep as the recursion goes. Element trees are walked
/// recursively, and applications nest them thousands of levels deep.
inline constexpr size_t kTreeBuildingStack = size_t{512} << 20U;
inline constexpr size_t kOrdinaryStack = size_t{8} << 20U;

/// A thread with a stack of a chosen size, joined when it is destroyed unless it was detached. An exception that leaves
/// the body ends the process.
class LargeStackThread {
 public:
  /// Takes a smaller stack where address space is limited. Throws std::system_error when not even an ordinary one fits.
  LargeStackThread(size_t stackBytes, std::function<void()> body) {
    auto argument = std::make_unique<std::function<void()>>(std::move(body));
    int failure = start(stackBytes, argument.get());
    while (failure && stackBytes > kOrdinaryStack) {
      stackBytes /= 2;
      failure = start(stackBytes, argument.get());
    }
    if (failure) {
      throw std::system_error(failure, std::generic_category(), "Cannot start a thread");
    }
    argument.release();  // NOLINT(bugprone-unused-return-value): the thread owns it now
  }
  LargeStackThread(const LargeStackThread&) = delete;
  LargeStackThread& operator=(const LargeStackThread&) = delete;
  ~LargeStackThread() {
    if (joinable_) {
      pthread_join(thread_, nullptr);
    }
  }

  bool isCurrent() const { return pthread_equal(thread_, pthread_self()); }
  /// The thread goes on by itself and is not joined.
  void detach() {
    pthread_detach(thread_);
    joinable_ = false;
  }

 private:
  int start(size_t stackBytes, void* argument) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stackBytes);
    const int failure = pthread_create(&thread_, &attributes, &LargeStackThread::run, argument);
    pthread_attr_destroy(&attributes);
    return failure;
  }
  static void* run(void* argument) noexcept {
    const AlternateSignalStack signalStack;
    const std::unique_ptr<std::function<void()>> body(static_cast<std::function<void()>*>(argument));
    (*body)();
    return nullptr;
  }

  pthread_t thread_{};
  bool joinable_ = true;
};

}  // namespace jumplark
