#pragma once

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "streams/Observable.h"

namespace jumplark {

/// Hands what is sent into it to everybody who has subscribed, on the sender's thread. Copies are the same subject.
/// Nothing is sent after complete(). Any thread; all subscribers see the same order.
template <typename T>
class Subject {
 public:
  Subject() : Subject(false, std::nullopt) {}

  void send(T value) const {
    std::optional<T> replaced;
    Subscribers subscribers;
    {
      const std::scoped_lock lock(state_->mutex);
      if (state_->completed) {
        return;
      }
      if (state_->replays) {
        replaced.swap(state_->last);
        state_->last = value;
      }
      subscribers = state_->subscribers;
      for (const auto& subscriber : subscribers) {
        subscriber->push(value);
      }
    }
    deliver(subscribers);
  }

  void complete() const {
    Subscribers subscribers;
    {
      const std::scoped_lock lock(state_->mutex);
      state_->completed = true;
      subscribers.swap(state_->subscribers);
      for (const auto& subscriber : subscribers) {
        subscriber->finish();
      }
    }
    deliver(subscribers);
  }

  Observable<T> observe() const {
    return Observable<T>(
        [state = state_](typename Observable<T>::Next next, typename Observable<T>::Completed completed) {
          return subscribe(state, std::make_shared<Delivery<T>>(std::move(next), std::move(completed)));
        });
  }

 protected:
  Subject(bool replays, std::optional<T> first) : state_(std::make_shared<State>()) {
    state_->replays = replays;
    state_->last = std::move(first);
  }

  std::optional<T> last() const {
    const std::scoped_lock lock(state_->mutex);
    return state_->last;
  }

 private:
  using Subscriber = std::shared_ptr<Delivery<T>>;
  using Subscribers = std::vector<Subscriber>;

  struct State {
    std::mutex mutex;
    Subscribers subscribers;
    std::optional<T> last;
    bool replays = false;
    bool completed = false;
  };

  static Token subscribe(const std::shared_ptr<State>& state, const Subscriber& subscriber) {
    {
      const std::scoped_lock lock(state->mutex);
      if (state->last) {
        subscriber->push(*state->last);
      }
      if (state->completed) {
        subscriber->finish();
      } else {
        state->subscribers.push_back(subscriber);
      }
    }
    Token token([state, subscriber] {
      {
        const std::scoped_lock lock(state->mutex);
        std::erase(state->subscribers, subscriber);
      }
      subscriber->end();
    });
    subscriber->deliver();
    return token;
  }

  static void deliver(const Subscribers& subscribers) {
    for (const auto& subscriber : subscribers) {
      subscriber->deliver();
    }
  }

  std::shared_ptr<State> state_;
};

/// A subject that gives its last value, once it has one, to each new subscriber first.
template <typename T>
class ReplaySubject : public Subject<T> {
 public:
  ReplaySubject() : Subject<T>(true, std::nullopt) {}
};

}  // namespace jumplark
