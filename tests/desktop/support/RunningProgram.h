#pragma once

#include "desktop/support/AppWindows.h"

namespace jumplark::desktop {

/// The program's own shortcut, as X names its key and modifiers.
inline constexpr uint8_t kSpace = 65;
inline constexpr uint16_t kSuperAndShift = 0x41;

/// Returns when the program says that the shortcut can be pressed, or that it does not come to that.
bool waitUntilReady(Process& program);

/// The program running in the background of a session, used as a person uses it: with keys, which a separate program
/// sends, and seen from outside, on the screen and on the accessibility bus.
class RunningProgram {
 public:
  static constexpr const char* kShortcut = "super+shift+space";

  /// Returns when the shortcut can be pressed. `defaults` are the settings that its file holds, besides what says
  /// that the user has been welcomed. Throws std::runtime_error with what the program said when it does not come to
  /// that.
  explicit RunningProgram(PrivateSession& session, nlohmann::json defaults = nlohmann::json::object(),
                          const Environment& extra = {});
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;
  ~RunningProgram();

  Process& process() { return process_; }
  pid_t pid() const { return process_.pid(); }
  AppWindows& windows() { return windows_; }

  /// The query window while it is on the screen.
  std::optional<SessionWindow> queryWindow() const;
  /// How many windows lie over the screens for boxes and descriptions.
  size_t overlayWindows() const;
  /// Whether the query window is on the screen and has the keyboard.
  bool isOpen() const;
  bool waitUntilOpen(Milliseconds limit = kPatience) const;
  /// Neither the query window nor a box is on the screen.
  bool waitUntilClosed(Milliseconds limit = kPatience) const;
  /// Presses the shortcut, and once more where the machine was too busy for that to be answered; returns when the query
  /// window has the keyboard. Throws std::runtime_error when it does not come to that.
  void open();
  void type(const std::string& text) { session_.type(text); }
  /// Types a query and returns when the field holds it; fails the running test when it does not come to that.
  void query(const std::string& text);
  void key(const std::string& name) { session_.press({name}); }
  /// Presses a key and returns when all is closed; fails the running test when it does not come to that.
  void close(const std::string& key = "Escape");

  /// For a while after a click Return makes it a double one; returns when that is over.
  bool waitUntilReturnIsForOthers() const;
  /// Waits until the query field holds this, by what a screen reader is told.
  bool waitForQuery(const std::string& text) const;
  /// What a screen reader is told of the query field besides; empty while that is not there.
  std::string description() const;

 private:
  PrivateSession& session_;
  Process& process_;
  AppWindows windows_;
};

/// The colour that `over` gives on `under`; both 0xRRGGBB.
uint32_t tinted(uint32_t over, uint32_t under, double alpha = 0.6);
/// Whether two colours differ by at most `tolerance` in each part.
bool similar(uint32_t a, uint32_t b, int tolerance = 6);

inline constexpr uint32_t kSelectedColor = 0x2088d4;
inline constexpr uint32_t kMatchColor = 0xffde5c;
inline constexpr uint32_t kDescribedColor = 0x0000ff;
inline constexpr double kDescribedAlpha = 0.3;

}  // namespace jumplark::desktop
