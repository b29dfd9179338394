#pragma once

#include <functional>
#include <memory>

#include "backends/linux/wayland/Compositor.h"
#include "backends/linux/windows/KeyNames.h"
#include "platform/GlobalShortcuts.h"

namespace jumplark {

/// Global shortcuts as the compositor binds them. The keyboard cannot be frozen: what is typed between the press and
/// the moment in which the query window has the keyboard goes to the application. Where a press is still waiting for
/// the main queue, further ones are not added to it; the handler is not called for a press that has waited for more
/// than a second.
class WaylandShortcuts final : public GlobalShortcuts {
 public:
  /// Both must outlive this and its tokens.
  WaylandShortcuts(Compositor& compositor, TaskQueue& mainQueue) : compositor_(compositor), mainQueue_(mainQueue) {}

  Registration registerShortcut(const Shortcut& shortcut, Handler handler) override;
  ShortcutState probe(const Shortcut& shortcut) override;
  std::string describe(const Shortcut& shortcut) override { return describeShortcut(shortcut); }

 private:
  Compositor& compositor_;
  TaskQueue& mainQueue_;
};

}  // namespace jumplark
