// Registers Super+Shift+Space on the display of the environment, prints "registered", and "pressed" from the shortcut
// thread at each press. Its main thread never runs a handler.

#include <unistd.h>

#include <cstdio>

#include "backends/linux/x11/X11Shortcuts.h"
#include "platform/Input.h"

namespace {

void say(const char* line) {
  std::puts(line);
  std::fflush(stdout);
}

/// The queue of a thread that is blocked.
class BlockedQueue final : public jumplark::TaskQueue {
 public:
  const std::string& name() const override { return name_; }
  void post(jumplark::Task /*task*/) override {}
  void postAfter(jumplark::Duration /*delay*/, jumplark::Task /*task*/) override {}
  bool isCurrent() const override { return false; }

 private:
  std::string name_ = "blocked";
};

}  // namespace

int main() {
  using namespace jumplark;
  BlockedQueue queue;
  X11Shortcuts shortcuts({}, queue, {.pressed = [](uint32_t) { say("pressed"); }, .willReleaseKey = {}});
  const auto registration =
      shortcuts.registerShortcut({key_code::space, modifier_flag::command | modifier_flag::shift}, [] { return true; });
  if (registration.state != ShortcutState::registered) {
    return 1;
  }
  say("registered");
  while (true) {
    pause();
  }
}
