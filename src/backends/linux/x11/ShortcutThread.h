#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "backends/linux/x11/MenuCloser.h"
#include "backends/linux/x11/RawKeyWatch.h"
#include "backends/linux/x11/ShortcutGrabs.h"
#include "backends/linux/x11/X11Connection.h"
#include "platform/GlobalShortcuts.h"

namespace jumplark {

/// How the keyboard was handed over at one press of a shortcut, as times of the steady clock (nanoseconds; zero for
/// what did not happen).
struct ShortcutHandOver {
  using Time = std::chrono::steady_clock::time_point;
  enum class End {
    pending,
    arrived,  ///< a window of this program had the keyboard
    refused,  ///< the handler wanted no keyboard
    deadline  ///< neither came in time
  };
  uint64_t press = 0;  ///< counts from 1
  uint32_t xTime = 0;
  bool throughMenu = false;  ///< another client had grabbed the keyboard
  End end = End::pending;
  Time seen{};
  Time handled{};  ///< the handler began
  Time answered{};
  Time released{};
};

/// Holds the keyboard for a shortcut. A press freezes it: nothing that is typed goes anywhere until a window of this
/// program has the keyboard, the handler has refused, or a quarter of a second has passed. Then keys flow to whatever
/// has the focus, in their order; only the shortcut's own release and its repeats are kept from everybody.
///
/// The thread has two X connections of its own, one for grabs and one that watches raw keys (the X server does not
/// report those to the client that holds a grab), and waits for nobody but the X server. When the process ends, in
/// whatever way, the X server lets the keyboard go. All operations may be called from any thread.
class ShortcutThread {
 public:
  static constexpr std::chrono::milliseconds kDeadline{250};

  /// Called on the thread itself; must not wait for anything, but for `menuWillClose`.
  struct Callbacks {
    std::function<void(uint32_t xTime)> pressed;                   ///< may be empty
    std::function<void(uint64_t id, uint64_t press)> callHandler;  ///< shall lead to answer()
    MenuCloser::KeycodeCallback willReleaseKey;                    ///< may be empty
    /// All modifiers of a shortcut are held while pop-ups show: its press may come next. Must not wait; may be empty.
    std::function<void()> mayBePressed;
    MenuCloser::WillClose menuWillClose;  ///< may be empty
    /// A press has come to nothing, since another client keeps the keyboard. Must not wait; may be empty.
    std::function<void()> keyboardIsKept;
  };

  /// Null when the display cannot be reached or has no XKB.
  static std::shared_ptr<ShortcutThread> create(const std::string& display, Callbacks callbacks);
  ShortcutThread(const ShortcutThread&) = delete;
  ShortcutThread& operator=(const ShortcutThread&) = delete;
  ~ShortcutThread();

  ShortcutState add(uint64_t id, const Shortcut& shortcut);
  void remove(uint64_t id);
  ShortcutState probe(const Shortcut& shortcut);

  /// The handler of a press began at `handled` and has answered: true when a window is about to take the keyboard.
  void answer(uint64_t press, bool takesKeyboard, ShortcutHandOver::Time handled);
  /// A window of this program has the keyboard.
  void keyboardArrived();
  /// The last press; the one under way if there is one.
  ShortcutHandOver lastHandOver() const;

  /// Ends the thread and lets go of everything; no callback runs afterwards.
  void stop();

 private:
  using Clock = std::chrono::steady_clock;
  /// Whose events are the keyboard's: everybody's; nobody's, until a decision; ours until the shortcut's key goes up.
  enum class State { free, frozen, holding };

  ShortcutThread(std::shared_ptr<X11Connection> grabbing, std::shared_ptr<X11Connection> watching,
                 std::shared_ptr<const KeyboardMap> map, Callbacks callbacks);

  void run();
  void handleInput();
  void readGrabbed();
  void handleGrabbedPress(const xcb_key_press_event_t& event);
  void handleGrabbedRelease(const xcb_key_release_event_t& event);
  void handleSeenPress(const RawKeyWatch::Press& press);
  void handleSeenModifiers(uint16_t modifiers);
  bool followKeyboard();
  bool tryAgain();
  void begin(uint64_t id, uint8_t keycode, uint32_t time, bool throughMenu);
  bool settle();
  void letGo(uint8_t keycode);
  void allow(uint8_t mode);
  bool isDown(uint8_t keycode) const;
  std::optional<uint64_t> find(uint8_t keycode, uint16_t modifiers) const;
  void wait();
  int millisecondsToWait() const;
  void wake();

  std::shared_ptr<X11Connection> x_;
  std::shared_ptr<X11Connection> watchX_;
  const Callbacks callbacks_;
  const int wakeFd_;
  std::atomic<bool> stopping_{false};

  mutable std::mutex mutex_;  ///< guards what follows; never held during a callback
  ShortcutGrabs grabs_;
  ShortcutHandOver handOver_;
  uint64_t pressedId_ = 0;
  bool takesKeyboard_ = false;
  bool arrived_ = false;

  // The thread's own.
  RawKeyWatch watch_;
  MenuCloser menuCloser_;
  State state_ = State::free;
  uint8_t heldKey_ = 0;
  bool activeGrab_ = false;  ///< the keyboard was grabbed outright, not by a passive grab
  RawKeyWatch::Press lastGrabbed_;
  /// A press for which another client has not let the keyboard go.
  struct Refused {
    uint64_t id = 0;
    uint8_t keycode = 0;
    Clock::time_point until;
  };
  std::optional<Refused> refused_;
  Clock::time_point deadline_{};
  std::optional<Clock::time_point> regrabAt_;

  std::thread thread_;
};

}  // namespace jumplark
