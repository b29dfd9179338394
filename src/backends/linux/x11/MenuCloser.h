#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

#include "backends/linux/x11/X11Connection.h"

namespace jumplark {

/// Takes the keyboard although another client has grabbed it, as an open menu does: Escape, typed through XTEST, closes
/// the menu level by level. Used on one thread.
class MenuCloser {
 public:
  using KeycodeCallback = std::function<void(uint8_t keycode)>;
  /// A menu may be about to close, which waits for this: by Escape where it has the keyboard, and no key is kept from
  /// anybody meanwhile, else by itself. True when menus are open that have no windows of their own.
  using WillClose = std::function<bool(bool hasKeyboard)>;

  /// `willReleaseKey` is called before each release of a modifier that the user holds, `willClose` before the first
  /// Escape. Both may be empty.
  MenuCloser(std::shared_ptr<X11Connection> connection, KeycodeCallback willReleaseKey, WillClose willClose)
      : x_(std::move(connection)), willReleaseKey_(std::move(willReleaseKey)), willClose_(std::move(willClose)) {}

  /// Grabs the keyboard, frozen. Waits for `willClose`, and for the other client for a fifth of a second a level at
  /// most, less once `stopping` is set; false when it keeps the keyboard. Modifiers that are held are released, since a
  /// menu takes Escape with modifiers for another key; the user's own release does nothing more.
  bool takeKeyboard(uint8_t escape, const std::atomic<bool>& stopping);
  /// Grabs the keyboard, frozen, if no other client has it.
  bool grab();
  /// Menus, lists, tool tips, or anything else that no window manager has to do with.
  bool doPopupsShow() const { return openLevels() > 0; }

 private:
  bool closesLevel(size_t open, bool canBeSeen, const std::atomic<bool>& stopping);
  size_t openLevels() const;
  void releaseModifiers();
  void type(uint8_t keycode);

  std::shared_ptr<X11Connection> x_;
  KeycodeCallback willReleaseKey_;
  WillClose willClose_;
  bool grabbed_ = false;
};

}  // namespace jumplark
