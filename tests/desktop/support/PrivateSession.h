#pragma once

#include <memory>

#include "desktop/support/Process.h"
#include "desktop/support/SessionDisplay.h"

namespace jumplark::desktop {

/// The last ones are Wayland compositors.
enum class WindowManager { xfwm4, xfwm4Compositor, openbox, openboxPicom, none, sway, kwin, gnome, weston };
constexpr bool isWayland(WindowManager windowManager) {
  return windowManager >= WindowManager::sway;
}

struct SessionOptions {
  WindowManager windowManager = WindowManager::xfwm4;
  int width = 1280;
  int height = 900;
  std::vector<PixelRect> monitors = {};  ///< none: the whole screen is one; on Wayland further ones
  bool accessibility = true;             ///< an accessibility bus, switched on
  bool sessionBus = true;                ///< without it there is no accessibility bus either
  double scale = 1;                      ///< on Wayland: pixels in a point
  double scaleOfMonitors = 0;            ///< on sway: of the further ones, if that is another
};

/// A graphical session of its own: X server, session bus, accessibility bus, window manager, home folder; made by
/// scripts/private-session, which also ends everything when this process dies in whatever way. Programs that are
/// started here see nothing of the session that the tests run in. All calls from one thread, except runs of
/// `environment()`.
class PrivateSession : public SessionDisplay {
 public:
  /// Returns when the session is ready for applications (windows get managed, the accessibility bus answers and is
  /// switched on, the compositor runs). Throws std::runtime_error with the reason when it does not come up.
  explicit PrivateSession(const SessionOptions& options = {});
  PrivateSession(const PrivateSession&) = delete;
  PrivateSession& operator=(const PrivateSession&) = delete;
  /// Kills every program of the session and removes its folder.
  ~PrivateSession() override;

  /// Everything that a program of the session gets: DISPLAY, DBUS_SESSION_BUS_ADDRESS, HOME and so on.
  const Environment& environment() const { return environment_; }
  const std::string& display() const { return environment_.at("DISPLAY"); }
  /// Removed at the end of the session.
  const std::string& folder() const { return folder_; }

  /// Makes this process itself a member: replaces its environment until the returned object is destroyed, so that code
  /// linked into a test reaches the session. Only while no other thread reads the environment.
  [[nodiscard]] std::shared_ptr<void> adoptEnvironment() const;

  /// Starts a program; `extra` goes over the environment. The session keeps it until it is destroyed.
  virtual Process& start(const Arguments& arguments, const Environment& extra = {});
  /// Runs a program to its end, or kills it at the limit.
  Finished run(const Arguments& arguments, Milliseconds limit = kPatience, const Environment& extra = {}) const;

  /// The first window to appear that is wanted; throws std::runtime_error naming what there is instead.
  SessionWindow waitForWindow(const WindowPredicate& wanted);
  SessionWindow waitForWindowTitled(const std::string& title);
  SessionWindow waitForWindowOf(pid_t pid);
  /// Brings a window to the front, as a pager would, and returns when it is active; false when it does not come to
  /// that. The window manager may forget a new window's focus once in a hundred times, so a test that needs one asks
  /// for it.
  bool activate(uint32_t window);
  /// Puts the window in front with its top left corner about there.
  virtual void moveActiveWindow(int x, int y);

  /// One call of xdotool with these arguments; throws when it fails.
  void keys(const Arguments& xdotoolArguments);
  /// Presses and releases keys or combinations ("shift+Tab") one after the other.
  virtual void press(const Arguments& names);
  /// Types without a delay between the letters.
  virtual void type(const std::string& text) { keys({"type", "--delay", "0", text}); }
  virtual void pointTo(int x, int y) { keys({"mousemove", std::to_string(x), std::to_string(y)}); }
  void pointTo(const PixelRect& middleOf) {
    pointTo(middleOf.x + middleOf.width / 2, middleOf.y + middleOf.height / 2);
  }
  virtual void click(int x, int y, const std::string& button = "1");
  void click(const PixelRect& middleOf) { click(middleOf.x + middleOf.width / 2, middleOf.y + middleOf.height / 2); }

 protected:
  /// Starts the session, and leaves the X server in it alone.
  struct WithoutDisplay {};
  PrivateSession(const SessionOptions& options, WithoutDisplay);
  /// What is started as a program of the session.
  virtual Arguments commandOf(const Arguments& arguments) const { return arguments; }

 private:
  void serve(const SessionOptions& options);
  void end();

  Environment environment_;
  std::string folder_;
  int serverInput_ = -1;
  mutable size_t started_ = 0;
  std::unique_ptr<Process> server_;
  std::vector<std::unique_ptr<Process>> processes_;
};

/// As the options say: on an X server, or on a Wayland compositor.
std::unique_ptr<PrivateSession> openSession(const SessionOptions& options);

}  // namespace jumplark::desktop
