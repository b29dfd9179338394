#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace jumplark {

/// One immutable value that any thread may read, and replace as a whole: a reader has one moment's value and keeps it
/// as long as it likes, and of two changes at the same time neither is lost. The mutex guards the pointer alone; values
/// are made and destroyed outside of it. (The standard library's atomic shared pointer would do, but in some versions
/// it unlocks a load without release, which is a data race by the letter and to the thread sanitizer.)
template <typename T>
class SharedState {
 public:
  using Pointer = std::shared_ptr<const T>;

  explicit SharedState(Pointer initial) : pointer_(std::move(initial)) {}

  Pointer load() const {
    const std::lock_guard lock(mutex_);
    return pointer_;
  }

  /// Replaces the value by an edited copy and gives that. `edit` runs again when another change came in between.
  Pointer change(const std::function<void(T&)>& edit) {
    for (Pointer before = load();;) {
      auto after = std::make_shared<T>(*before);
      edit(*after);
      if (replace(before, after)) {
        return after;
      }
    }
  }

 private:
  /// False, and `expected` brought up to date, when the value is not `expected` any more.
  bool replace(Pointer& expected, Pointer replacement) {
    Pointer present;
    {
      const std::lock_guard lock(mutex_);
      if (pointer_ == expected) {
        pointer_ = std::move(replacement);  // what was there lives on in `expected`
        return true;
      }
      present = pointer_;
    }
    expected = std::move(present);
    return false;
  }

  mutable std::mutex mutex_;
  Pointer pointer_;
};

}  // namespace jumplark
