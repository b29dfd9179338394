#include "input/ZMOEventTap.h"

#include <spdlog/spdlog.h>

#include <chrono>

#include "platform/Platform.h"
#include "platform/Queues.h"

namespace jumplark {

/// What the tap's thread works on; shared with its tasks, so that one that is still queued outlives the tap object.
struct ZMOEventTap::State : std::enable_shared_from_this<ZMOEventTap::State> {
  std::mutex blocksMutex;
  std::map<uint32_t, Block> blocksByEventType;

  std::atomic<bool> isRunning{false};
  std::atomic<bool> active{false};
  std::mutex tapMutex;
  std::shared_ptr<EventTapHandle> eventTap;

  std::shared_ptr<EventTapHandle> tap() {
    const std::lock_guard lock(tapMutex);
    return eventTap;
  }

  void run(const EventTapConfiguration& configuration);
  void windDown();
  void enableAgain();
  bool handleEvent(uint32_t type, const InputEvent& event);
  bool tapCalledBack(uint32_t type, const InputEvent& event);
};

void ZMOEventTap::State::run(const EventTapConfiguration& configuration) {
  if (!isRunning || active) {
    return;
  }
  std::weak_ptr<State> weak = weak_from_this();
  std::shared_ptr<EventTapHandle> created =
      Platform::current().input->createEventTap(configuration, [weak](uint32_t type, const InputEvent& event) {
        const auto state = weak.lock();
        return !state || state->tapCalledBack(type, event);
      });
  if (!created) {
    spdlog::warn("{} no tap; universal access disabled", "createEventTap");
    isRunning = false;
    return;
  }
  created->setEnabled(true);
  {
    const std::lock_guard lock(tapMutex);
    eventTap = std::move(created);
  }
  active = true;
}

void ZMOEventTap::State::windDown() {
  std::shared_ptr<EventTapHandle> removed;
  {
    const std::lock_guard lock(tapMutex);
    removed.swap(eventTap);
  }
  if (removed) {
    removed->setEnabled(false);
  }
  active = false;
}

void ZMOEventTap::State::enableAgain() {
  const auto current = tap();
  if (current && !current->isEnabled()) {
    current->setEnabled(true);
  }
}

bool ZMOEventTap::State::handleEvent(uint32_t type, const InputEvent& event) {
  Block block;
  {
    const std::lock_guard lock(blocksMutex);
    const auto subscribed = blocksByEventType.find(type);
    if (subscribed == blocksByEventType.end()) {
      return true;
    }
    block = subscribed->second;
  }
  bool stop = false;
  block(event, stop);
  return !stop;
}

bool ZMOEventTap::State::tapCalledBack(uint32_t type, const InputEvent& event) {
  if (type == event_type::tapDisabledByTimeout) {
    if (active) {
      enableAgain();
    }
    return false;
  }
  return type != event_type::tapDisabledByUserInput && handleEvent(type, event);
}

ZMOEventTap::ZMOEventTap(uint64_t eventTapMask) : state_(std::make_shared<State>()) {
  configuration_.mask = eventTapMask;
}

ZMOEventTap::~ZMOEventTap() {
  state_->isRunning = false;
  thread_.reset();
  state_->windDown();
}

void ZMOEventTap::subscribeToEventWithBlock(uint32_t eventType, Block block) {
  const std::lock_guard lock(state_->blocksMutex);
  state_->blocksByEventType[eventType] = std::move(block);
}

void ZMOEventTap::unsubscribeFromEvent(uint32_t eventType) {
  const std::lock_guard lock(state_->blocksMutex);
  state_->blocksByEventType.erase(eventType);
}

void ZMOEventTap::activate() {
  if (isActive() && state_->isRunning) {
    state_->enableAgain();
    return;
  }
  Queues& queues = *Platform::current().queues;
  if (!thread_) {
    thread_ = queues.makeSerialQueue("com.brindlefox.jumplark.event-tap");
  }
  state_->isRunning = true;
  thread_->post([state = state_, configuration = configuration_] { state->run(configuration); });
  queues.sleep(std::chrono::milliseconds(1));
}

void ZMOEventTap::deactivate() {
  if (!state_->isRunning.exchange(false) || !thread_) {
    return;
  }
  thread_->post([state = state_] {
    if (!state->isRunning) {
      state->windDown();
    }
  });
}

bool ZMOEventTap::isActive() const {
  return state_->active;
}

}  // namespace jumplark
