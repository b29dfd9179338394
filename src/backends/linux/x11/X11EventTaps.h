#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "backends/linux/system/CallbackSlot.h"
#include "backends/linux/x11/EventThread.h"
#include "backends/linux/x11/KeySwallower.h"
#include "backends/linux/x11/KeyTracker.h"
#include "backends/linux/x11/X11Connection.h"
#include "platform/Input.h"

namespace jumplark {

/// The event taps of one process. One thread with an X connection of its own calls them all, in the order of their
/// placement; it listens only while a tap is enabled. Raw events of XInput 2.2 reach it whatever has the focus, and
/// while another client holds a grab. Calls may come from any thread, also from a tap's callback, except stop().
class X11EventTaps : public std::enable_shared_from_this<X11EventTaps> {
 public:
  /// Null when the display cannot be reached or lacks XInput 2.2 or XKB.
  static std::shared_ptr<X11EventTaps> create(const std::string& display);
  X11EventTaps(const X11EventTaps&) = delete;
  X11EventTaps& operator=(const X11EventTaps&) = delete;
  ~X11EventTaps();

  /// Repeats of a key that the tap swallows are swallowed without a call.
  std::unique_ptr<EventTapHandle> add(const EventTapConfiguration& configuration, EventTapCallback callback);

  /// To be called before a key release is posted that no tap shall see.
  void expectOwnRelease(uint8_t keycode);

  /// Ends the thread; no callback runs afterwards. Handles may outlive this.
  void stop();

 private:
  struct Tap {
    Tap(EventTapConfiguration c, EventTapCallback callback) : configuration(std::move(c)), slot(std::move(callback)) {}
    const EventTapConfiguration configuration;
    CallbackSlot<bool, uint32_t, const InputEvent&> slot;
    std::atomic<bool> enabled{false};
    uint32_t validFrom = 0;  ///< the first request whose later events are the tap's
  };
  class Handle;

  explicit X11EventTaps(std::shared_ptr<X11Connection> connection);

  void setEnabled(Tap& tap, bool enabled);
  void remove(const std::shared_ptr<Tap>& tap);
  bool listen();
  uint32_t synchronise(bool reset);
  void updateGrabs();

  void handle(const xcb_generic_event_t& event);
  void rereadKeyboard();
  std::optional<InputEvent> translate(const xcb_generic_event_t& event);
  std::optional<InputEvent> translateRaw(const xcb_generic_event_t& event);
  void deliver(const InputEvent& event, uint32_t sequence);

  std::shared_ptr<X11Connection> x_;
  std::mutex mutex_;  ///< guards all below; never held during a callback
  std::vector<std::shared_ptr<Tap>> taps_;
  KeyTracker tracker_;
  uint32_t validFrom_ = 0;  ///< the request whose answer the tracker began with
  uint32_t listeningFor_ = 0;
  std::unique_ptr<KeySwallower> swallower_;
  EventThread thread_;
};

}  // namespace jumplark
