#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "backends/linux/windows/KeyNames.h"
#include "backends/linux/x11/ShortcutThread.h"
#include "platform/GlobalShortcuts.h"
#include "platform/Queues.h"

namespace jumplark {

/// Global shortcuts as passive grabs, on a thread and X connections of their own (made with the first shortcut), so
/// that a press is noticed and the keyboard is let go in time whatever the main thread does. See ShortcutThread for how
/// the keyboard is handed over.
///
/// A press while another client has grabbed the keyboard (a menu is open) closes the menu and counts all the same.
/// Where a press is still waiting for the main queue, further ones are not added to it; the handler is not called for a
/// press that has waited for more than a second.
class X11Shortcuts final : public GlobalShortcuts {
 public:
  /// Called on the shortcut thread, must not wait, but for `menuWillClose`, and may be empty.
  struct Hooks {
    std::function<void(uint32_t xTime)> pressed;          ///< X time of a press, before its handler runs
    std::function<void(uint8_t keycode)> willReleaseKey;  ///< a modifier that the user holds is about to be released
    std::function<void()> mayBePressed;                   ///< see ShortcutThread
    MenuCloser::WillClose menuWillClose;                  ///< see MenuCloser
    std::function<void()> keyboardIsKept;                 ///< see ShortcutThread
  };

  /// The main queue must outlive this. An empty display name means the one of the environment.
  X11Shortcuts(std::string display, TaskQueue& mainQueue, Hooks hooks = {});
  X11Shortcuts(const X11Shortcuts&) = delete;
  X11Shortcuts& operator=(const X11Shortcuts&) = delete;
  /// Nothing is grabbed and no handler called any more. On the main thread; tokens may outlive this.
  ~X11Shortcuts() override;

  Registration registerShortcut(const Shortcut& shortcut, Handler handler) override;
  ShortcutState probe(const Shortcut& shortcut) override;
  std::string describe(const Shortcut& shortcut) override { return describeShortcut(shortcut); }

  /// A window of this program has the keyboard: what was typed since the press may flow into it. From any thread, at
  /// any time.
  void keyboardArrived();
  ShortcutHandOver lastHandOver() const;
  /// How long nothing that was typed went anywhere at the last press; negative while it lasts.
  Duration lastFrozenInterval() const;

 private:
  struct Entry;
  struct Entries;

  std::shared_ptr<ShortcutThread> thread() const;
  std::shared_ptr<ShortcutThread> openThread();

  const std::string display_;
  TaskQueue& mainQueue_;
  const Hooks hooks_;
  std::shared_ptr<Entries> entries_;
  mutable std::mutex mutex_;
  std::shared_ptr<ShortcutThread> thread_;
};

}  // namespace jumplark
