#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "input/ZMOEventTap.h"

namespace jumplark {

/// Recognises taps of a lone modifier key (pressed and released with nothing else, within tapTimeout) and counts
/// successive ones. It only watches: no key is swallowed, and none but the modifiers' state is remembered. A modifier
/// that is held when it is activated, as those of a shortcut are, makes no tap before it has been let go.
///
/// Everything is judged by the time at which an event happened, never by when it arrived: a keyboard that was frozen
/// meanwhile changes no result. A candidate lapses tapTimeout after each press that made one, the count falls back to 0
/// successiveTapTimeout after each tap; nothing restarts or cancels these, so a count never outlives the first tap's
/// successiveTapTimeout. The count is shared by all modifiers.
///
/// Operations may come from any thread; the time-outs are set before activate(). Destroying it guarantees that no block
/// is called afterwards.
class ZMOModifierTapDetector {
 public:
  /// Called on the tap's thread with the number of successive taps so far (1, 2, ...); must be quick.
  using Block = std::function<void(uint64_t tapCount, ZMOModifierTapDetector& detector)>;

  ZMOModifierTapDetector();
  ZMOModifierTapDetector(const ZMOModifierTapDetector&) = delete;
  ZMOModifierTapDetector& operator=(const ZMOModifierTapDetector&) = delete;
  ~ZMOModifierTapDetector();

  /// Seconds; the longest press that still counts as a tap.
  float tapTimeout() const;
  void setTapTimeout(float seconds);
  /// Seconds after a tap in which further ones add to its count.
  float successiveTapTimeout() const;
  void setSuccessiveTapTimeout(float seconds);

  /// As of the last event: the modifier that is held as a candidate, 0 if none, and the taps counted.
  uint64_t previousModifierState() const;
  uint64_t successiveTapNumber() const;

  /// For the taps of one modifier (see modifier_flag). Replaces an earlier block of that modifier.
  void subscribeToModifierTapWithBlock(uint64_t modifierFlag, Block block);
  void unsubscribeFromModifierTap(uint64_t modifierFlag);

  void activate();
  void deactivate();
  bool isActive() const;

 private:
  struct State;

  std::shared_ptr<State> state_;
  ZMOEventTap eventTap_;
};

}  // namespace jumplark
