#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "streams/Observable.h"

namespace jumplark {

namespace detail {

/// One subscription to the latest values of two observables.
template <typename A, typename B>
class LatestPair {
 public:
  using Pair = std::pair<A, B>;

  LatestPair(typename Observable<Pair>::Next next, typename Observable<Pair>::Completed completed)
      : delivery_(std::move(next), std::move(completed)) {}

  void setFirst(const A& value) { update(a_, value); }
  void setSecond(const B& value) { update(b_, value); }
  void completeOne() {
    {
      const std::scoped_lock lock(mutex_);
      if (--open_ > 0) {
        return;
      }
    }
    delivery_.finish();
    delivery_.deliver();
  }
  void end() { delivery_.end(); }

 private:
  template <typename T>
  void update(std::optional<T>& place, const T& value) {
    std::optional<T> replaced = value;
    {
      // The pair is queued under the lock, so that no older one can follow a newer.
      const std::scoped_lock lock(mutex_);
      replaced.swap(place);
      if (a_ && b_) {
        delivery_.push(Pair(*a_, *b_));
      }
    }
    delivery_.deliver();
  }

  Delivery<Pair> delivery_;
  std::mutex mutex_;
  std::optional<A> a_;
  std::optional<B> b_;
  int open_ = 2;
};

}  // namespace detail

/// The latest values of two observables, each time either sends one, once both have; completes when both have
/// completed.
template <typename A, typename B>
Observable<std::pair<A, B>> combineLatest(Observable<A> first, Observable<B> second) {
  using Result = Observable<std::pair<A, B>>;
  return Result([first, second](typename Result::Next next, typename Result::Completed completed) {
    auto latest = std::make_shared<detail::LatestPair<A, B>>(std::move(next), std::move(completed));
    const auto completeOne = [latest] { latest->completeOne(); };
    auto firstToken =
        std::make_shared<Token>(first.subscribe([latest](const A& value) { latest->setFirst(value); }, completeOne));
    auto secondToken =
        std::make_shared<Token>(second.subscribe([latest](const B& value) { latest->setSecond(value); }, completeOne));
    return Token([latest, firstToken, secondToken] {
      firstToken->reset();
      secondToken->reset();
      latest->end();
    });
  });
}

}  // namespace jumplark
