#pragma once

#include <memory>

#include "platform/Geometry.h"
#include "platform/Token.h"

namespace jumplark {

class JLElement;
class RepeatingTimer;
class TaskQueue;
struct Notification;

/// Explains what the pointer rests on and what is selected: a translucent blue box over the element under a resting
/// pointer and a bubble with its type and texts; the bubble alone for a match that has been selected for a second.
///
/// While active the pointer is looked at every 0.4 s on a serial queue of its own, where elements are looked up and
/// read too; windows change on the main thread, in the order of asking. Nothing is shown until the pointer has moved
/// since activation. Made, activated, deactivated and destroyed on the main thread, which never waits for that queue
/// but in the destructor.
class JLDiscoveryController {
 public:
  JLDiscoveryController();
  JLDiscoveryController(const JLDiscoveryController&) = delete;
  JLDiscoveryController& operator=(const JLDiscoveryController&) = delete;
  ~JLDiscoveryController();

  /// Starts; does nothing while not enabled or already active, but that what was selected before is not explained.
  void activate();
  /// Stops and hides at once; a look-up that is under way shows nothing any more, nor what was selected.
  void deactivate();

  bool enabled() const;
  void setEnabled(bool enabled);
  bool isActive() const;
  /// Details are shown because the pointer rested. Stays as it is when deactivated or hidden by a selection.
  bool isShowing() const;
  std::shared_ptr<JLElement> currentElement() const;
  /// Bottom-left origin: the pointer at activation, and at the tick before.
  Point initialPosition() const;
  Point lastPosition() const;

  /// One tick of the timer.
  void checkMousePosition();
  /// Reads the element on the calling thread, then shows it. Null shows an empty box and an empty type.
  void showDetailsOfElementHighlight(const std::shared_ptr<JLElement>& element, bool highlight);
  void hideElementDetails();
  /// The observer of "ElementSelectionChanged", whose object is the selected node (a shared pointer) or nothing. Each
  /// one takes the place of the one before.
  void selectionChanged(const Notification& notification);

 private:
  struct State;
  void startTimer();
  void stopTimer();

  std::shared_ptr<State> state_;
  std::shared_ptr<TaskQueue> queue_;
  std::shared_ptr<RepeatingTimer> timer_;
  Token observation_;
};

}  // namespace jumplark
