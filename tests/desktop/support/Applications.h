#pragma once

#include <optional>
#include <string>
#include <vector>

#include "desktop/support/PrivateSession.h"

namespace jumplark::desktop {

/// One thing that the demonstration program says is in its window.
struct DemoPart {
  std::string kind;  ///< the widget's class, or "menu", "tab", "item"
  std::string name;
  PixelRect rect;  ///< in pixels of the root window
  bool shown = false;
};

/// The demonstration program (demo_qt6/) in a session. Under the name kName it is on the accessibility bus.
class DemoProgram {
 public:
  static constexpr const char* kName = "demo-qt6";

  /// Returns when its window has been painted, has the focus and is on the accessibility bus.
  explicit DemoProgram(PrivateSession& session, const std::string& page = "Form");
  DemoProgram(const DemoProgram&) = delete;
  DemoProgram& operator=(const DemoProgram&) = delete;
  /// Kills it and returns when its window has gone.
  ~DemoProgram();

  Process& process() { return process_; }
  /// What is in its main window now, by its own account.
  std::vector<DemoPart> parts();
  /// The printed lines that begin with a text.
  std::vector<std::string> linesBeginning(const std::string& beginning) const;

 private:
  PrivateSession& session_;
  std::string rectsFile_;
  Process& process_;
};

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

/// Which elements to read: those that say that they show, or all (GTK 4 says so of windows only, and gives places in
/// its window).
enum class Reading { showing, all };

/// The elements of an application, depth first; empty while it is not on the bus.
std::vector<AccessibleElement> readApplication(PrivateSession& session, const std::string& name,
                                               Reading reading = Reading::showing);
/// The first with this role and name.
std::optional<AccessibleElement> findElement(const std::vector<AccessibleElement>& elements, const std::string& role,
                                             const std::string& name);

/// Starts an application and returns when its window has the focus and an element of that role and name shows;
/// throws std::runtime_error when it does not come to that.
Process& startApplication(PrivateSession& session, const Arguments& arguments, const std::string& name,
                          const std::string& role, const std::string& elementName);

}  // namespace jumplark::desktop
