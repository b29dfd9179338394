#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/Input.h"
#include "platform/Queues.h"

namespace jumplark {

class RecordedScreens;

/// A synthetic pointer event and where and when it was posted.
struct PostedMouseEvent {
  MouseEvent event;
  uint32_t location = 0;
  Duration time{};  ///< on the queues' monotonic clock
  bool operator==(const PostedMouseEvent&) const = default;
};

/// Input devices that a test plays. Posted pointer events are noted, move the recorded pointer when they are moves, and
/// reach the taps that want them. Each tap has a serial queue of its own, on which its calls are made.
class RecordedInput : public InputPlatform {
 public:
  RecordedInput(RecordedScreens& screens, Queues& queues);
  ~RecordedInput() override;

  std::unique_ptr<EventTapHandle> createEventTap(const EventTapConfiguration& configuration,
                                                 EventTapCallback callback) override;
  void postMouseEvent(const MouseEvent& event, uint32_t location) override;
  void beep() override;

  /// Plays one event of the keyboard: each enabled tap that wants its type sees it in turn, and this waits for it.
  /// False when one of them swallowed it, which needs an active tap and a key that the tap named. An event without a
  /// time gets the present one; what a change of the modifiers tells of those before is what the last one left.
  bool inject(InputEvent event);
  bool injectKey(uint32_t type, int64_t keyCode, uint64_t flags = 0);
  bool injectFlags(uint64_t flags);
  /// Disables every enabled tap as the system would (one of the two "disabled" types) and tells it.
  void disableTaps(uint32_t disabledType);
  /// From now on a tap can or cannot be created.
  void permitTaps(bool permitted);

  std::vector<PostedMouseEvent> postedMouseEvents() const;
  int beepCount() const;
  int tapCount() const;

 private:
  struct Tap;
  struct Call;
  struct Shared;
  class Handle;

  std::vector<std::shared_ptr<Tap>> tapsFor(uint32_t type) const;
  InputEvent eventNow(uint32_t type) const;
  std::shared_ptr<Call> start(const std::shared_ptr<Tap>& tap, uint32_t type, const InputEvent& event);
  bool callAndWait(const std::shared_ptr<Tap>& tap, uint32_t type, const InputEvent& event);

  RecordedScreens& screens_;
  Queues& queues_;
  std::shared_ptr<Shared> shared_;  ///< with the handles, which may outlive this
  mutable std::mutex mutex_;
  std::vector<PostedMouseEvent> posted_;
  int beeps_ = 0;
  bool permitted_ = true;
  uint64_t flags_ = 0;  ///< of the last change of the modifiers
};

}  // namespace jumplark
