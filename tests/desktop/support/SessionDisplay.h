#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

struct xcb_connection_t;
struct xcb_screen_t;

namespace jumplark::desktop {

/// A rectangle in pixels of the root window, top-left origin.
struct PixelRect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  bool operator==(const PixelRect&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const PixelRect& rect) {
    return out << '[' << rect.x << ',' << rect.y << ' ' << rect.width << 'x' << rect.height << ']';
  }
  bool contains(int px, int py) const { return px >= x && px < x + width && py >= y && py < y + height; }
};

/// A viewable window with a title or a class: a managed one, or an open menu.
struct SessionWindow {
  uint32_t id = 0;
  std::string title;
  std::string className;  ///< both parts of WM_CLASS, each with a NUL at its end
  int pid = -1;           ///< _NET_WM_PID; -1 without
  bool overrideRedirect = false;
  PixelRect rect;  ///< of the client's own window
};

using WindowPredicate = std::function<bool(const SessionWindow&)>;

/// The tests' own look at what shows, on an X server unless a class below says otherwise. Errors about windows that
/// vanish meanwhile leave them out.
class SessionDisplay {
 public:
  SessionDisplay() = default;
  SessionDisplay(const SessionDisplay&) = delete;
  SessionDisplay& operator=(const SessionDisplay&) = delete;
  virtual ~SessionDisplay() { disconnect(); }

  /// All viewable windows with a title or a class, in stacking order, the topmost last.
  virtual std::vector<SessionWindow> windows() const;
  /// False where windows() leaves out those that lie over all others.
  virtual bool listsAllWindows() const { return true; }
  std::optional<SessionWindow> findWindow(const WindowPredicate& wanted) const;
  bool hasWindow(const WindowPredicate& wanted) const { return findWindow(wanted).has_value(); }
  /// The window that has the focus by the window manager's account; 0 when none.
  virtual uint32_t activeWindow() const;
  /// The colour that shows at a pixel of the screen, 0xRRGGBB.
  uint32_t pixel(int x, int y) const { return pixels({x, y, 1, 1}).at(0); }
  /// What shows in a rectangle, row by row, 0xRRGGBB; the part outside the screen is left out.
  virtual std::vector<uint32_t> pixels(const PixelRect& rect) const;
  /// What is held down, by whomever: "button 1", "modifier 0x40", "key 65"; empty when nothing is.
  std::string heldInput() const;
  /// Whether no client holds the keyboard, so that what is typed reaches the focus.
  virtual bool keyboardIsFree() const;
  /// Takes a key with modifiers (X keycode and modifier mask) from all clients, as another program's shortcut would;
  /// false when one has it already.
  bool takeKey(uint8_t keycode, uint16_t modifiers = 0) const;
  void giveKeyBack(uint8_t keycode, uint16_t modifiers = 0) const;

 protected:
  /// Throws std::runtime_error when the server cannot be reached. All else is called when it was.
  void connect(const std::string& name);
  void disconnect();
  /// Asks for a window to be brought to the front, as a pager would.
  virtual void requestActive(uint32_t window) const;
  bool compositorRuns() const;

 private:
  /// What the server answers to a request; null for an error.
  template <typename Request, typename Reply, typename... Arguments>
  auto ask(Request request, Reply reply, Arguments... arguments) const;
  uint32_t atom(const char* name) const;
  /// The bytes of a property of that many bits; none of another kind.
  std::string property(uint32_t window, uint32_t property, int bits = 8) const;
  /// A property's first number; 0 when there is none.
  uint32_t number(uint32_t window, uint32_t property) const;
  std::optional<SessionWindow> describe(uint32_t window) const;
  void collect(uint32_t parent, int depth, std::vector<SessionWindow>& found) const;

  xcb_connection_t* connection_ = nullptr;
  xcb_screen_t* screen_ = nullptr;
  uint32_t netWmName_ = 0;
  uint32_t netWmPid_ = 0;
  uint32_t netActiveWindow_ = 0;
};

}  // namespace jumplark::desktop
