#pragma once

#include "desktop/support/PrivateSession.h"

namespace jumplark::desktop {

/// What an element of another application says of itself, read by accessible-reader.
struct AccessibleElement {
  std::string role;  ///< as the accessibility library names it, "push button"
  std::string name;
  std::string description;
  std::string text;
  std::vector<std::string> states;
  PixelRect rect;

  bool is(const std::string& state) const;
};

/// An application as those see it who are told of it by the accessibility bus, without the program under test.
class AccessibleApplication {
 public:
  /// `name` is the one on the bus.
  AccessibleApplication(PrivateSession& session, std::string name) : session_(session), name_(std::move(name)) {}

  /// Those that say that they show, depth first; empty while it is not on the bus. GTK 4 says so of windows only, and
  /// gives places in its window: all of its elements are read.
  std::vector<AccessibleElement> elements() const;
  /// The last element of that role whose name begins so, the topmost window coming last.
  std::optional<AccessibleElement> find(const std::string& role, const std::string& name) const;
  bool shows(const std::string& role, const std::string& name) const { return find(role, name).has_value(); }
  /// The same, as soon as it shows; throws std::runtime_error naming what does instead when it does not come to that.
  AccessibleElement waitFor(const std::string& role, const std::string& name) const;
  /// Waits until the element there is in that state, or no longer is; false when it does not come to that.
  bool waitForState(const std::string& role, const std::string& name, const std::string& state, bool is = true,
                    Milliseconds limit = kPatience) const;
  bool waitUntilGone(const std::string& role, const std::string& name) const;
  /// Waits for the element and for its window's being in front, and clicks its middle.
  void click(const std::string& role, const std::string& name);

 protected:
  PrivateSession& session_;

 private:
  std::string name_;
};

/// A program that tests operate: how it is started, and how one knows that it can be used.
struct Program {
  Arguments command;
  std::string busName;     ///< on the accessibility bus
  std::string title = "";  ///< how the title of its window begins; the first window of its process without
  std::string role = "";   ///< of what shows on the bus when it can be used; its window is enough without
  std::string element = "";
  Arguments target = {};  ///< how Jumplark is told of it; by its process without
  Environment environment = {};
};

/// Starts it and returns when it can be used, its window in front; throws std::runtime_error when it does not come to
/// that.
Process& startProgram(PrivateSession& session, const Program& program);
bool isInFront(const PrivateSession& session, const Process& process);

}  // namespace jumplark::desktop
