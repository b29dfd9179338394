#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "backends/linux/system/CallbackSlot.h"
#include "backends/linux/wayland/Compositor.h"
#include "platform/Input.h"

namespace jumplark {

/// The event taps of one process. Wayland shows nobody the keys of others, so they see the keys of this program's
/// query window, and, wherever the keyboard is, those that they may swallow: the compositor keeps them while the tap is
/// enabled. Calls may come from any thread.
class WaylandTaps : public std::enable_shared_from_this<WaylandTaps> {
 public:
  explicit WaylandTaps(Compositor& compositor) : compositor_(&compositor) {}

  /// Before the compositor goes: nothing is asked of it any more. Handles may live on, and do nothing then.
  void end() { compositor_ = nullptr; }

  std::unique_ptr<EventTapHandle> add(const EventTapConfiguration& configuration, EventTapCallback callback);
  /// Shows an event to the enabled taps, in the order of their placement, on the calling thread.
  void deliver(const InputEvent& event);

 private:
  struct Tap;
  class Handle;

  std::atomic<Compositor*> compositor_;
  std::mutex mutex_;  ///< leaf
  std::vector<std::shared_ptr<Tap>> taps_;
};

}  // namespace jumplark
