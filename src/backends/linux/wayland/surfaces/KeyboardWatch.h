#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "backends/linux/windows/KeySymbols.h"
#include "platform/Token.h"

struct wl_display;
struct wl_surface;

namespace jumplark::wayland {

/// The keyboards of the session's seats, as far as a client sees them: the map, and, while a surface of this connection
/// has the keyboard, its keys. Main thread only, where somebody else dispatches the connection's events; calls come
/// there, each before the toolkit handles what it comes from.
class KeyboardWatch {
 public:
  /// Held modifiers and locks, as bits of the map: 1 Shift, 2 Lock, 4 Control, 8 Mod1 (Alt), 64 Mod4 (Super).
  struct Modifiers {
    uint32_t held = 0;
    uint32_t latched = 0;
    uint32_t locked = 0;
    uint32_t group = 0;
  };
  /// Each may be empty. No call comes after the listener's token has gone.
  struct Listener {
    /// The surface has the keyboard, with these keys down already.
    std::function<void(wl_surface* surface, const std::vector<uint32_t>& keycodes)> entered;
    /// It has it no more; null when the surface has gone.
    std::function<void(wl_surface* surface)> left;
    /// A key went down or up; repeats are not told. XKB's keycodes. `time` is the compositor's, in milliseconds.
    std::function<void(uint32_t keycode, bool isDown, uint32_t time)> key;
    std::function<void(const Modifiers& modifiers)> modifiersChanged;
  };

  /// The connection must outlive it.
  explicit KeyboardWatch(wl_display* display);
  ~KeyboardWatch();
  KeyboardWatch(const KeyboardWatch&) = delete;
  KeyboardWatch& operator=(const KeyboardWatch&) = delete;

  /// The token may outlive the watch.
  Token addListener(Listener listener);

  /// What the keys mean of the keyboard used last; null until a map has come.
  const KeySymbols* symbols() const;
  /// Of that keyboard, as last told.
  Modifiers modifiers() const;

 private:
  struct Seat;
  struct Registry;

  template <typename Call>
  void tell(const Call& call);

  std::unique_ptr<Registry> registry_;
  std::vector<std::unique_ptr<Seat>> seats_;
  Seat* current_ = nullptr;  ///< whose keyboard was used last
  using Listeners = std::vector<std::shared_ptr<std::optional<Listener>>>;
  std::shared_ptr<Listeners> listeners_ = std::make_shared<Listeners>();
};

}  // namespace jumplark::wayland
