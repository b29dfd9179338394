#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <type_traits>
#include <utility>

#include "platform/Queues.h"
#include "platform/Token.h"
#include "streams/Delivery.h"
#include "streams/UpstreamToken.h"

namespace jumplark {

/// Values over time, which arrive at whoever has subscribed: for each subscription one at a time and in order, on the
/// thread that sends them (or on the queue that deliverOn or debounce names), and then, perhaps, the completion. A
/// subscription lives as long as its token; destroying the token waits for a running call, except on that call's own
/// thread, and guarantees that none comes after it.
///
/// The operators give new observables and do nothing until those are subscribed; each subscription is then separate
/// (multicast() shares one). Copies are cheap. Any thread.
template <typename T>
class Observable {
 public:
  using Value = T;
  using Next = std::function<void(const T&)>;
  using Completed = std::function<void()>;
  /// Makes one subscription. It must call `next` and `completed` as the class promises.
  using Source = std::function<Token(Next next, Completed completed)>;

  /// Never sends anything.
  Observable() : source_([](const Next&, const Completed&) { return Token(); }) {}
  explicit Observable(Source source) : source_(std::move(source)) {}

  Token subscribe(Next next, Completed completed = {}) const { return source_(std::move(next), std::move(completed)); }

  template <typename Function>
  auto map(Function function) const {
    using Result = std::decay_t<std::invoke_result_t<Function, const T&>>;
    return Observable<Result>(
        [source = source_, function](typename Observable<Result>::Next next, Completed completed) {
          return source([function, next](const T& value) { next(function(value)); }, std::move(completed));
        });
  }

  template <typename Predicate>
  Observable filter(Predicate predicate) const {
    return Observable([source = source_, predicate](Next next, Completed completed) {
      return source(
          [predicate, next](const T& value) {
            if (predicate(value)) {
              next(value);
            }
          },
          std::move(completed));
    });
  }

  /// Drops a value that equals the one before it.
  template <typename Equal = std::equal_to<T>>
  Observable distinctUntilChanged(Equal equal = {}) const {
    return Observable([source = source_, equal](Next next, Completed completed) {
      auto last = std::make_shared<std::optional<T>>();
      return source(
          [equal, next, last](const T& value) {
            if (!*last || !equal(**last, value)) {
              *last = value;
              next(value);
            }
          },
          std::move(completed));
    });
  }

  Observable skip(size_t count) const {
    return Observable([source = source_, count](Next next, Completed completed) {
      auto left = std::make_shared<size_t>(count);
      return source([next, left](const T& value) { *left > 0 ? static_cast<void>(--*left) : next(value); },
                    std::move(completed));
    });
  }

  /// The first `count` values, at least one; then it completes and the subscription behind it ends.
  Observable take(size_t count) const {
    return Observable([source = source_, count](Next next, Completed completed) {
      auto delivery = std::make_shared<Delivery<T>>(std::move(next), std::move(completed));
      auto upstream = std::make_shared<UpstreamToken>();
      auto left = std::make_shared<size_t>(count);
      upstream->hold(source(
          [delivery, upstream, left](const T& value) {
            if (*left == 0) {
              return;
            }
            delivery->push(value);
            if (--*left == 0) {
              delivery->finish();
            }
            delivery->deliver();
            if (*left == 0) {
              upstream->end();
            }
          },
          [delivery] { finish(*delivery); }));
      return Token([delivery, upstream] {
        upstream->end();
        delivery->end();
      });
    });
  }

  /// Completes as soon as `other` sends its first value.
  template <typename Other>
  Observable takeUntil(Observable<Other> other) const {
    return Observable([source = source_, other](Next next, Completed completed) {
      auto delivery = std::make_shared<Delivery<T>>(std::move(next), std::move(completed));
      auto upstream = std::make_shared<UpstreamToken>();
      auto until = std::make_shared<UpstreamToken>();
      until->hold(other.subscribe([delivery, upstream, until](const Other&) {
        delivery->finish();
        delivery->deliver();
        until->end();
        upstream->end();
      }));
      upstream->hold(
          source([delivery](const T& value) { deliverTo(*delivery, value); }, [delivery] { finish(*delivery); }));
      return Token([delivery, upstream, until] {
        until->end();
        upstream->end();
        delivery->end();
      });
    });
  }

  /// Each value in a task of its own on the queue, which outlives the subscription.
  Observable deliverOn(TaskQueue& queue) const {
    return Observable([source = source_, &queue](Next next, Completed completed) {
      auto delivery = std::make_shared<Delivery<T>>(std::move(next), std::move(completed));
      auto upstream = std::make_shared<Token>(
          source([delivery, &queue](const T& value) { queue.post([delivery, value] { deliverTo(*delivery, value); }); },
                 [delivery, &queue] { queue.post([delivery] { finish(*delivery); }); }));
      return Token([delivery, upstream] {
        upstream->reset();
        delivery->end();
      });
    });
  }

  /// A value only after `interval` without a newer one, which replaces it; on the queue, which outlives the
  /// subscription. What is pending when the source completes is passed on at once.
  Observable debounce(Duration interval, TaskQueue& queue) const {
    return Observable([source = source_, interval, &queue](Next next, Completed completed) {
      auto delivery = std::make_shared<Delivery<T>>(std::move(next), std::move(completed));
      auto pending = std::make_shared<Pending>();
      const auto passOn = [delivery, pending](size_t number) {
        if (const auto value = pending->takeIf(number)) {
          deliverTo(*delivery, *value);
        }
      };
      auto upstream = std::make_shared<Token>(source(
          [pending, passOn, interval, &queue](const T& value) {
            queue.postAfter(interval, [passOn, number = pending->replace(value)] { passOn(number); });
          },
          [delivery, pending, passOn, &queue] {
            queue.post([delivery, pending, passOn] {
              passOn(pending->latest());
              finish(*delivery);
            });
          }));
      return Token([delivery, upstream] {
        upstream->reset();
        delivery->end();
      });
    });
  }

  /// Sends every value into a subject, so that one subscription serves all who subscribe to that; starts at once.
  template <typename AnySubject>
  Token multicast(AnySubject subject) const {
    return subscribe([subject](const T& value) { subject.send(value); }, [subject] { subject.complete(); });
  }

  /// Sets a property, which outlives the token, to every value.
  template <typename AnyProperty>
  Token bindTo(AnyProperty& property) const {
    return subscribe([&property](const T& value) { property.set(value); });
  }

 private:
  /// The value that debounce holds back, and how many there were.
  struct Pending {
    std::mutex mutex;
    std::optional<T> value;
    size_t number = 0;

    size_t replace(std::optional<T> newer) {
      const std::scoped_lock lock(mutex);
      newer.swap(value);
      return ++number;
    }
    std::optional<T> takeIf(size_t wanted) {
      const std::scoped_lock lock(mutex);
      return number == wanted ? std::exchange(value, std::nullopt) : std::nullopt;
    }
    size_t latest() {
      const std::scoped_lock lock(mutex);
      return number;
    }
  };

  static void deliverTo(Delivery<T>& delivery, const T& value) {
    delivery.push(value);
    delivery.deliver();
  }
  static void finish(Delivery<T>& delivery) {
    delivery.finish();
    delivery.deliver();
  }

  Source source_;
};

}  // namespace jumplark
