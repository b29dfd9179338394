#pragma once

#include <algorithm>

#include "desktop/support/PrivateSession.h"

namespace jumplark {

/// The value is a text where the type is STRING or UTF8_STRING, the name of an atom for ATOM, else numbers with commas
/// between them.
struct WindowProperty {
  std::string name;
  std::string type;
  std::string value;
};
inline WindowProperty classProperty(const std::string& instance, const std::string& name) {
  return {"WM_CLASS", "STRING", instance + '\0' + name + '\0'};
}
inline WindowProperty typeProperty(const std::string& type) {
  return {"_NET_WM_WINDOW_TYPE", "ATOM", "_NET_WM_WINDOW_TYPE_" + type};
}

/// A process of its own with one white window that is exactly what it is told to be. What happens to it is told in
/// lines, with places relative to the window:
///   press BUTTON X Y STATE | release BUTTON X Y STATE | key KEYCODE STATE | keyrelease KEYCODE STATE
class WindowClient {
 public:
  enum Kind { managed, overrideRedirect };

  /// Returns when the window is on screen.
  WindowClient(const desktop::PrivateSession& session, const desktop::PixelRect& rect, Kind kind = managed,
               const std::vector<WindowProperty>& properties = {});
  WindowClient(const WindowClient&) = delete;
  WindowClient& operator=(const WindowClient&) = delete;
  ~WindowClient();

  uint32_t window() const { return window_; }
  pid_t pid() const { return process_; }
  /// Waits for the line.
  bool prints(const std::string& line) const {
    return desktop::waitUntil([&] { return count(line) > 0; });
  }
  size_t count(const std::string& line) const { return static_cast<size_t>(std::ranges::count(lines(), line)); }
  /// All lines that begin with the words.
  std::vector<std::string> lines(const std::string& words = {}) const;

 private:
  pid_t process_ = -1;
  int output_ = -1;
  uint32_t window_ = 0;
  mutable std::string text_;
};

}  // namespace jumplark
