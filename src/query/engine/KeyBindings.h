#pragma once

#include <cstdint>
#include <functional>

namespace jumplark {

class MainThreadCalls;
class ZMOModifierTapDetector;
struct KeyEvent;

/// What a key means to the list of commands.
enum class ListKey { toggle, back, next, previous, pageDown, pageUp, first, last, action, label };

/// What keys can ask for. Each is called on the main thread, and there is one for all.
struct KeyCommands {
  /// Asked first of a key that means something to the list; true when the list has used it.
  std::function<bool(ListKey key)> listKey;
  std::function<void()> actionElement;
  std::function<void()> mouseToElement;
  std::function<void()> focusElement;
  std::function<void()> deactivate;
  std::function<void()> selectNextMatch;
  std::function<void()> selectPreviousMatch;
  std::function<void(const KeyEvent& event)> selectionKeyReceived;
  std::function<void()> refresh;
  std::function<void()> showPreferencesWindow;
};

/// Which key of the query window, and which tap of a modifier, asks for what. Main thread.
class KeyBindings {
 public:
  /// The detector and the calls outlive what is made here; a tap that comes later than the calls were closed asks for
  /// nothing.
  KeyBindings(KeyCommands commands, ZMOModifierTapDetector& taps, MainThreadCalls& mainThread);
  KeyBindings(const KeyBindings&) = delete;
  KeyBindings& operator=(const KeyBindings&) = delete;

  /// A key went down. What asks for nothing here is for the field, which edits its text.
  void keyDown(const KeyEvent& event);

 private:
  void commandKeyDown(const KeyEvent& event);
  void controlTapped(uint64_t tapCount);

  const KeyCommands commands_;
};

}  // namespace jumplark
