#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/GlobalShortcuts.h"

namespace jumplark {

class Queues;

/// Key combinations that a test presses, and others that it lets another program own. Safe on any thread.
class RecordedShortcuts : public GlobalShortcuts {
 public:
  explicit RecordedShortcuts(Queues& queues);

  Registration registerShortcut(const Shortcut& shortcut, Handler handler) override;
  ShortcutState probe(const Shortcut& shortcut) override;
  std::string describe(const Shortcut& shortcut) override;

  /// The user presses it: the handler is called on the main queue, as soon as time passes. False when it is not
  /// registered.
  bool press(const Shortcut& shortcut);
  /// What the handlers have answered so far.
  std::vector<bool> answers() const;

  /// Lets another program own it, or gives it up again.
  void setTaken(const Shortcut& shortcut, bool taken = true);
  /// Lets other programs own every combination there is.
  void setAllTaken(bool taken);
  /// Lets the keyboard have no key of this code, or have it again.
  void setKeyMissing(int64_t keyCode, bool missing = true);
  /// Lets there be no display.
  void setOutOfReach(bool outOfReach);
  /// What is registered now, in the order of registration.
  std::vector<Shortcut> registered() const;

 private:
  struct Entry;
  struct State;

  Queues& queues_;
  std::shared_ptr<State> state_;  ///< with the tokens, which may outlive this
};

}  // namespace jumplark
