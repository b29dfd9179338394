#pragma once

#include <optional>
#include <string>
#include <vector>

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

/// Starts an application and returns when its window has the focus and an element of that role and name shows;
/// throws std::runtime_error when it does not come to that.
Process& startApplication(PrivateSession& session, const Arguments& arguments, const std::string& name,
                          const std::string& role, const std::string& elementName, const Environment& extra = {});

}  // namespace jumplark::desktop
