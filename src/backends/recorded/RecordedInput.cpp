#include "backends/recorded/RecordedInput.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "backends/recorded/RecordedScreens.h"

namespace jumplark {

struct RecordedInput::Tap {
  EventTapConfiguration configuration;
  EventTapCallback callback;
  std::shared_ptr<TaskQueue> queue;
  std::atomic<bool> enabled{false};

  bool wants(uint32_t type) const { return type < 64 && ((configuration.mask >> type) & 1U); }
  bool maySwallow(const InputEvent& event) const {
    const auto& keys = configuration.swallowedKeyCodes;
    return configuration.options == 0 && std::find(keys.begin(), keys.end(), event.keyCode) != keys.end();
  }
};

/// One call of a tap, under way. The task that makes it keeps it; when the task has run or was dropped, it is over.
struct RecordedInput::Call {
  std::shared_ptr<Completion> over;
  std::atomic<bool> passed{true};
};

struct RecordedInput::Shared {
  std::mutex mutex;
  std::vector<std::shared_ptr<Tap>> taps;  ///< in the order in which they see an event
};

class RecordedInput::Handle : public EventTapHandle {
 public:
  Handle(std::shared_ptr<Tap> tap, std::shared_ptr<Shared> shared) : tap_(std::move(tap)), shared_(std::move(shared)) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() override {
    tap_->enabled = false;
    std::shared_ptr<TaskQueue> queue;
    {
      const std::scoped_lock lock(shared_->mutex);
      std::erase(shared_->taps, tap_);
      queue = std::move(tap_->queue);
    }
    queue.reset();  // waits for a running call
  }
  bool isEnabled() const override { return tap_->enabled; }
  void setEnabled(bool enabled) override { tap_->enabled = enabled; }

 private:
  std::shared_ptr<Tap> tap_;
  std::shared_ptr<Shared> shared_;
};

RecordedInput::RecordedInput(RecordedScreens& screens, Queues& queues)
    : screens_(screens), queues_(queues), shared_(std::make_shared<Shared>()) {}

RecordedInput::~RecordedInput() = default;

std::unique_ptr<EventTapHandle> RecordedInput::createEventTap(const EventTapConfiguration& configuration,
                                                              EventTapCallback callback) {
  {
    const std::scoped_lock lock(mutex_);
    if (!permitted_) {
      return nullptr;
    }
  }
  auto tap = std::make_shared<Tap>();
  tap->configuration = configuration;
  tap->callback = std::move(callback);
  tap->queue = queues_.makeSerialQueue("event tap");
  const std::scoped_lock lock(shared_->mutex);
  auto& taps = shared_->taps;
  taps.insert(configuration.placement == 0 ? taps.begin() : taps.end(), tap);
  return std::make_unique<Handle>(std::move(tap), shared_);
}

std::vector<std::shared_ptr<RecordedInput::Tap>> RecordedInput::tapsFor(uint32_t type) const {
  const std::scoped_lock lock(shared_->mutex);
  std::vector<std::shared_ptr<Tap>> taps;
  std::copy_if(shared_->taps.begin(), shared_->taps.end(), std::back_inserter(taps),
               [&](const auto& tap) { return tap->enabled && tap->wants(type); });
  return taps;
}

InputEvent RecordedInput::eventNow(uint32_t type) const {
  InputEvent event;
  event.type = type;
  event.time = std::chrono::duration_cast<std::chrono::milliseconds>(queues_.monotonicNow());
  return event;
}

std::shared_ptr<RecordedInput::Call> RecordedInput::start(const std::shared_ptr<Tap>& tap, uint32_t type,
                                                          const InputEvent& event) {
  auto call = std::make_shared<Call>();
  call->over = queues_.makeCompletion();
  const std::shared_ptr<void> whenDropped(nullptr, [over = call->over](void*) { over->signal(); });
  Task task = [tap, type, event, call, whenDropped] { call->passed = tap->callback(type, event); };
  // The queue is never shared: the handle's destruction of it is what waits for a running call.
  const std::scoped_lock lock(shared_->mutex);
  if (tap->queue) {
    tap->queue->post(std::move(task));
  }
  return call;
}

bool RecordedInput::callAndWait(const std::shared_ptr<Tap>& tap, uint32_t type, const InputEvent& event) {
  bool isOwnCall = false;
  {
    const std::scoped_lock lock(shared_->mutex);
    isOwnCall = tap->queue && tap->queue->isCurrent();
  }
  if (isOwnCall) {
    return tap->callback(type, event);
  }
  const std::shared_ptr<Call> call = start(tap, type, event);
  call->over->wait(Duration::max());
  return call->passed;
}

void RecordedInput::postMouseEvent(const MouseEvent& event, uint32_t location) {
  {
    const std::scoped_lock lock(mutex_);
    posted_.push_back({event, location, queues_.monotonicNow()});
  }
  if (event.type == event_type::mouseMoved) {
    screens_.setPointerFromTopLeft(event.position);
  }
  for (const auto& tap : tapsFor(event.type)) {
    start(tap, event.type, eventNow(event.type));
  }
}

void RecordedInput::beep() {
  const std::scoped_lock lock(mutex_);
  ++beeps_;
}

bool RecordedInput::inject(InputEvent event) {
  if (event.time == std::chrono::milliseconds::zero()) {
    event.time = eventNow(event.type).time;
  }
  if (event.type == event_type::flagsChanged) {
    const std::scoped_lock lock(mutex_);
    event.previousFlags = std::exchange(flags_, event.flags);
  }
  for (const auto& tap : tapsFor(event.type)) {
    if (!callAndWait(tap, event.type, event) && tap->maySwallow(event)) {
      return false;
    }
  }
  return true;
}

bool RecordedInput::injectKey(uint32_t type, int64_t keyCode, uint64_t flags) {
  InputEvent event = eventNow(type);
  event.keyCode = keyCode;
  event.flags = flags;
  return inject(std::move(event));
}

bool RecordedInput::injectFlags(uint64_t flags) {
  return injectKey(event_type::flagsChanged, 0, flags);
}

void RecordedInput::disableTaps(uint32_t disabledType) {
  std::vector<std::shared_ptr<Tap>> taps;
  {
    const std::scoped_lock lock(shared_->mutex);
    taps = shared_->taps;
  }
  for (const auto& tap : taps) {
    if (tap->enabled.exchange(false)) {
      callAndWait(tap, disabledType, InputEvent());
    }
  }
}

void RecordedInput::permitTaps(bool permitted) {
  const std::scoped_lock lock(mutex_);
  permitted_ = permitted;
}

std::vector<PostedMouseEvent> RecordedInput::postedMouseEvents() const {
  const std::scoped_lock lock(mutex_);
  return posted_;
}

int RecordedInput::beepCount() const {
  const std::scoped_lock lock(mutex_);
  return beeps_;
}

int RecordedInput::tapCount() const {
  const std::scoped_lock lock(shared_->mutex);
  return static_cast<int>(shared_->taps.size());
}

}  // namespace jumplark
