#pragma once

#include "desktop/support/WaylandSession.h"

namespace jumplark::desktop {

/// A session on KWin. Menus and what lies over windows are listed too, as windows that nobody manages.
class KWinSession final : public WaylandSession {
 public:
  using WaylandSession::WaylandSession;

  std::vector<SessionWindow> windows() const override;
  uint32_t activeWindow() const override;
  std::vector<uint32_t> pixels(const PixelRect& rect) const override;
  void moveActiveWindow(int x, int y) override;
  /// What KWin itself says to an expression of its scripts, in which "w" is the list of its windows.
  std::string ask(const std::string& script) const;

  /// Whether no program keeps the key for itself, by Qt's number.
  bool isFree(int key) const;
  static constexpr int kReturn = 0x01000004;
  static constexpr int kShortcut = 0x12000020;

  pid_t kwin() const;
  /// Ends KWin. The one that comes in its place has a keeper of its socket, which starts another one whenever it dies,
  /// as Plasma has it.
  void putKeeperInPlace();
  /// For a start of KWin on a machine with much else to do.
  static constexpr Milliseconds kStart{120'000};
  /// Returns when there is a KWin after one that has gone, with a pointer and a keyboard.
  void awaitReturn();

 protected:
  void requestActive(uint32_t window) const override;
  Arguments commandOf(const Arguments& arguments) const override;
};

}  // namespace jumplark::desktop
