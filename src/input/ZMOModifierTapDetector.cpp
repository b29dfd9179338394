#include "input/ZMOModifierTapDetector.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/Queues.h"

namespace jumplark {
namespace {

constexpr uint64_t kKeyDownsAndFlags = (uint64_t{1} << event_type::keyDown) | (uint64_t{1} << event_type::flagsChanged);

Duration fromSeconds(float seconds) {
  return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(static_cast<double>(seconds)));
}

/// Times at which a field falls back to 0, judged by the times of the events that come after.
class PendingClears {
 public:
  void add(Duration due) { dues_.push_back(due); }
  /// Whether one was due at or before `now`; those are done then.
  bool takeDue(Duration now) {
    return std::erase_if(dues_, [now](Duration due) { return due <= now; }) > 0;
  }
  void clear() { dues_.clear(); }

 private:
  std::vector<Duration> dues_;
};

}  // namespace

/// What the tap's blocks work on. All but the fields that are atomic or guarded is touched by the tap's thread alone.
struct ZMOModifierTapDetector::State {
  std::atomic<float> tapTimeout{0.4F};
  std::atomic<float> successiveTapTimeout{0.7F};
  std::atomic<uint64_t> previousModifierState{0};
  std::atomic<uint64_t> successiveTapNumber{0};
  std::mutex blocksMutex;
  std::map<uint64_t, Block> blocksByModifierKey;

  std::atomic<bool> isNew{false};  ///< activated, and no modifier has changed since
  uint64_t heldSinceBefore = 0;    ///< modifiers that were held at the activation and have not been let go since

  PendingClears candidateClears;
  PendingClears countClears;
  Duration lastTime{0};
  uint64_t lastFlags = 0;
  uint64_t releasedFlags = 0;  ///< what the last change to no modifier at all released
  std::optional<Duration> releaseTime;

  void moveTo(Duration time);
  void handleFlagsChangedEvent(const InputEvent& event, ZMOModifierTapDetector& detector);
  void handleKeyDownEvent(const InputEvent& event);
  void handleTapEvent(uint64_t modifier, Duration time, ZMOModifierTapDetector& detector);
  bool isRepeat(uint64_t flags, Duration time) const;
};

/// Does what was due by then. A clock that went back by more than events can be out of order has begun anew (another
/// display): nothing that was pending has a meaning on it.
void ZMOModifierTapDetector::State::moveTo(Duration time) {
  const bool clockBeganAnew = time + std::chrono::seconds(10) < lastTime;
  if (clockBeganAnew) {
    candidateClears.clear();
    countClears.clear();
    releaseTime.reset();
  }
  lastTime = time;
  if (candidateClears.takeDue(time) || clockBeganAnew) {
    previousModifierState = 0;
  }
  if (countClears.takeDue(time) || clockBeganAnew) {
    successiveTapNumber = 0;
  }
}

/// Some devices repeat a held key as a release and a press of one time stamp. A hand cannot be that quick.
bool ZMOModifierTapDetector::State::isRepeat(uint64_t flags, Duration time) const {
  return lastFlags == 0 && flags == releasedFlags && releaseTime == time;
}

void ZMOModifierTapDetector::State::handleFlagsChangedEvent(const InputEvent& event, ZMOModifierTapDetector& detector) {
  moveTo(event.time);
  const uint64_t flags = event.flags & modifier_flag::deviceIndependentMask;
  if (isNew.exchange(false)) {
    heldSinceBefore = event.previousFlags;
    previousModifierState = 0;
  }
  heldSinceBefore &= flags;
  const uint64_t candidate = previousModifierState;
  const bool repeat = isRepeat(flags, event.time);
  if (flags == 0 && lastFlags != 0) {
    releasedFlags = lastFlags;
    releaseTime = event.time;
  }
  lastFlags = flags;
  if (candidate != 0 && flags == 0) {
    previousModifierState = 0;
    handleTapEvent(candidate, event.time, detector);
  } else if (std::has_single_bit(flags) && (flags & heldSinceBefore) == 0 && !repeat) {
    previousModifierState = flags;
    candidateClears.add(event.time + fromSeconds(tapTimeout));
  }
}

void ZMOModifierTapDetector::State::handleKeyDownEvent(const InputEvent& event) {
  moveTo(event.time);
  previousModifierState = 0;
}

void ZMOModifierTapDetector::State::handleTapEvent(uint64_t modifier, Duration time, ZMOModifierTapDetector& detector) {
  const uint64_t count = successiveTapNumber += 1;
  countClears.add(time + fromSeconds(successiveTapTimeout));
  Block block;
  {
    const std::scoped_lock lock(blocksMutex);
    const auto subscribed = blocksByModifierKey.find(modifier);
    if (subscribed == blocksByModifierKey.end()) {
      return;
    }
    block = subscribed->second;
  }
  block(count, detector);
}

ZMOModifierTapDetector::ZMOModifierTapDetector() : state_(std::make_shared<State>()), eventTap_(kKeyDownsAndFlags) {
  // A block may destroy the detector; the state outlives the call then.
  const std::weak_ptr<State> weak = state_;
  eventTap_.subscribeToEventWithBlock(event_type::flagsChanged, [weak, this](const InputEvent& event, bool&) {
    if (const auto state = weak.lock()) {
      state->handleFlagsChangedEvent(event, *this);
    }
  });
  eventTap_.subscribeToEventWithBlock(event_type::keyDown, [weak](const InputEvent& event, bool&) {
    if (const auto state = weak.lock()) {
      state->handleKeyDownEvent(event);
    }
  });
}

ZMOModifierTapDetector::~ZMOModifierTapDetector() = default;

float ZMOModifierTapDetector::tapTimeout() const {
  return state_->tapTimeout;
}

void ZMOModifierTapDetector::setTapTimeout(float seconds) {
  state_->tapTimeout = seconds;
}

float ZMOModifierTapDetector::successiveTapTimeout() const {
  return state_->successiveTapTimeout;
}

void ZMOModifierTapDetector::setSuccessiveTapTimeout(float seconds) {
  state_->successiveTapTimeout = seconds;
}

uint64_t ZMOModifierTapDetector::previousModifierState() const {
  return state_->previousModifierState;
}

uint64_t ZMOModifierTapDetector::successiveTapNumber() const {
  return state_->successiveTapNumber;
}

void ZMOModifierTapDetector::subscribeToModifierTapWithBlock(uint64_t modifierFlag, Block block) {
  const std::scoped_lock lock(state_->blocksMutex);
  state_->blocksByModifierKey[modifierFlag] = std::move(block);
}

void ZMOModifierTapDetector::unsubscribeFromModifierTap(uint64_t modifierFlag) {
  const std::scoped_lock lock(state_->blocksMutex);
  state_->blocksByModifierKey.erase(modifierFlag);
}

void ZMOModifierTapDetector::activate() {
  state_->isNew = true;
  eventTap_.activate();
}

void ZMOModifierTapDetector::deactivate() {
  eventTap_.deactivate();
}

bool ZMOModifierTapDetector::isActive() const {
  return eventTap_.isActive();
}

}  // namespace jumplark
