#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/Platform.h"
#include "platform/Queues.h"

namespace jumplark {

/// A finite, lazily started sequence of values. Nothing runs until somebody subscribes; every subscription runs the
/// producer anew, on the subscriber's thread. The producer calls `next` for each value and `completed` once at the end.
template <typename T>
class Stream {
 public:
  using Next = std::function<void(const T&)>;
  using Completed = std::function<void()>;
  using Producer = std::function<void(const Next&, const Completed&)>;

  static Stream create(Producer producer) { return Stream(std::move(producer)); }

  /// Completes at once without a value.
  static Stream empty() {
    return Stream([](const Next&, const Completed& completed) { completed(); });
  }

  void subscribe(Next next, Completed completed) const { producer_(next, completed); }

  /// Delivers on a queue what the producer makes on the subscriber's thread: one task for the whole sequence, or a
  /// direct call when that queue is already running the subscriber.
  Stream deliverOn(TaskQueue& queue) const {
    return Stream([producer = producer_, &queue](const Next& next, const Completed& completed) {
      if (queue.isCurrent()) {
        producer(next, completed);
        return;
      }
      auto values = std::make_shared<std::vector<T>>();
      producer([values](const T& value) { values->push_back(value); },
               [values, next, completed, &queue] {
                 queue.post([values, next, completed] { replay(*values, next, completed); });
               });
    });
  }

  /// All values, after completion. Blocks while they are still to be delivered on a queue.
  std::vector<T> collect() const {
    struct Collected {
      std::vector<T> values;
      std::shared_ptr<Completion> done;
    };
    auto collected = std::make_shared<Collected>();
    collected->done = Platform::current().queues->makeCompletion();
    subscribe([collected](const T& value) { collected->values.push_back(value); },
              [collected] { collected->done->signal(); });
    while (!collected->done->wait(std::chrono::hours(1))) {
    }
    return std::move(collected->values);
  }

  template <typename Predicate>
  Stream filter(Predicate predicate) const {
    return Stream([producer = producer_, predicate](const Next& next, const Completed& completed) {
      producer(
          [next, predicate](const T& value) {
            if (predicate(value)) {
              next(value);
            }
          },
          completed);
    });
  }

  template <typename Function>
  auto map(Function function) const {
    using Result = std::invoke_result_t<Function, const T&>;
    return Stream<Result>::create(
        [producer = producer_, function](const typename Stream<Result>::Next& next, const Completed& completed) {
          producer([next, function](const T& value) { next(function(value)); }, completed);
        });
  }

 private:
  explicit Stream(Producer producer) : producer_(std::move(producer)) {}

  static void replay(const std::vector<T>& values, const Next& next, const Completed& completed) {
    for (const T& value : values) {
      next(value);
    }
    completed();
  }

  Producer producer_;
};

}  // namespace jumplark
