#include "backends/recorded/RecordedScreens.h"

#include <thread>

#include "platform/Queues.h"

namespace jumplark {

/// A registered callback. The token and posted notices share it.
struct RecordedScreens::Observer {
  std::mutex mutex;
  std::function<void()> callback;       ///< none once the token is gone
  std::shared_ptr<Completion> running;  ///< signalled when the running call ends; none when none runs
  std::thread::id runner;

  void notify(Queues& queues) {
    std::function<void()> call;
    {
      const std::scoped_lock lock(mutex);
      if (!callback) {
        return;
      }
      call = callback;
      running = queues.makeCompletion();
      runner = std::this_thread::get_id();
    }
    call();
    const std::scoped_lock lock(mutex);
    running->signal();
    running = nullptr;
  }

  void end() {
    std::shared_ptr<Completion> call;
    std::function<void()> dropped;
    {
      const std::scoped_lock lock(mutex);
      dropped.swap(callback);
      call = runner == std::this_thread::get_id() ? nullptr : running;
    }
    if (call) {
      call->wait(Duration::max());
    }
  }
};

RecordedScreens::RecordedScreens(const RecordedDesktop& desktop, Queues& queues)
    : queues_(queues), frames_(desktop.screens), pointer_(desktop.pointer) {}

std::vector<Rect> RecordedScreens::frames() {
  const std::scoped_lock lock(mutex_);
  return frames_;
}

Point RecordedScreens::pointerLocation() {
  const std::scoped_lock lock(mutex_);
  return pointer_;
}

Token RecordedScreens::onFramesChanged(std::function<void()> callback) {
  auto observer = std::make_shared<Observer>();
  observer->callback = std::move(callback);
  const std::scoped_lock lock(mutex_);
  std::erase_if(observers_, [](const auto& other) { return other.expired(); });
  observers_.push_back(observer);
  return Token([observer] { observer->end(); });
}

void RecordedScreens::setFrames(std::vector<Rect> frames) {
  std::vector<std::weak_ptr<Observer>> observers;
  {
    const std::scoped_lock lock(mutex_);
    if (frames_ == frames) {
      return;
    }
    frames_ = std::move(frames);
    observers = observers_;
  }
  for (const auto& observer : observers) {
    queues_.mainQueue().post([observer, &queues = queues_] {
      if (const auto alive = observer.lock()) {
        alive->notify(queues);
      }
    });
  }
}

void RecordedScreens::setPointerLocation(Point location) {
  const std::scoped_lock lock(mutex_);
  pointer_ = location;
}

void RecordedScreens::setPointerFromTopLeft(Point location) {
  const std::scoped_lock lock(mutex_);
  const double top = frames_.empty() ? 0 : frames_.front().maxY();
  pointer_ = {location.x, top - location.y - 1};
}

}  // namespace jumplark
