#pragma once

#include <gmock/gmock.h>

#include "desktop/support/Applications.h"
#include "desktop/support/Jumplark.h"
#include "desktop/support/RunningProgram.h"
#include "support/TemporaryFolder.h"

namespace jumplark::desktop {

/// A session in which every application of the tests fits on the screen, and the program in it.
struct Desktop {
  static constexpr int kWidth = 1400;
  static constexpr int kHeight = 900;

  explicit Desktop(WindowManager windowManager = WindowManager::xfwm4)
      : Desktop(SessionOptions{.windowManager = windowManager, .width = kWidth, .height = kHeight}) {}
  explicit Desktop(const SessionOptions& options)
      : opened_(openSession(options)),
        session(*opened_),
        jumplark(session, static_cast<int>(options.height / options.scale)) {}

  /// In the background, from the first time that it is asked for until it is ended.
  RunningProgram& program() { return program_ ? *program_ : program_.emplace(session); }
  void endProgram() { program_.reset(); }

 private:
  std::unique_ptr<PrivateSession> opened_;

 public:
  PrivateSession& session;
  Jumplark jumplark;

 private:
  std::optional<RunningProgram> program_;
};

/// A program that runs in a session, its window in front.
class Application : public AccessibleApplication {
 public:
  /// Returns when it can be used; throws std::runtime_error when it does not come to that.
  Application(Desktop& desktop, const Program& program);
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;
  /// Kills it and returns when its windows have gone.
  ~Application();

  Desktop& desktop() { return desktop_; }
  Process& process() const { return process_; }
  const Arguments& target() const { return target_; }
  bool isActive() const { return isInFront(session_, process_); }
  /// Whether a window's title begins so, of whichever application.
  bool hasTitle(const std::string& beginning) const;

  /// What the program under test finds in it; nothing while it does not answer.
  Matches matches(const std::string& query = ".") { return desktop_.jumplark.match(target_, query); }
  /// Everything that could be chosen, once that has come to hold one thing.
  Matches matchesWith(const std::string& role, const std::string& text);
  /// Does what a query finds.
  Finished act(const std::string& query) { return desktop_.jumplark.run("act", target_, {query}); }

 private:
  Desktop& desktop_;
  Process& process_;
  Arguments target_;
};

/// One thing that the demonstration program says is in its window.
struct DemoPart {
  std::string kind;  ///< the widget's class, or "menu", "tab", "item"
  std::string name;
  PixelRect rect;   ///< what can be seen of it, in pixels of the root window; all of what is hidden
  int visible = 0;  ///< the smaller side of what can be seen of it

  bool isHidden() const { return visible == 0; }
  /// Less is too small to be chosen.
  bool isShown() const { return visible >= 8; }
};

/// The demonstration program (demo_qt6/), which prints what is done to it.
class DemoProgram : public Application {
 public:
  static constexpr const char* kName = "demo-qt6";

  explicit DemoProgram(Desktop& desktop, const std::string& page = "Form",
                       const Environment& extra = {{"QT_FATAL_WARNINGS", "1"},
                                                   // Newer ones also warn of questions that come while a list closes,
                                                   // of how GNOME takes the keyboard away, and of missing portals.
                                                   {"QT_LOGGING_RULES",
                                                    "qt.accessibility.atspi.warning=false;"
                                                    "qt.qpa.wayland.textinput.warning=false;"
                                                    "qt.qpa.theme.gnome.warning=false"}});

  /// What is in its main window now, by its own account.
  std::vector<DemoPart> parts();
  /// The part of that name, and kind unless it is empty; fails the running test when there is none.
  DemoPart part(const std::string& name, const std::string& kind = "");
  std::vector<std::string> linesBeginning(const std::string& beginning) const {
    return process().linesBeginning(beginning);
  }
  bool says(const std::string& line) const { return process().waitForLine(line); }
};

/// What GTK 3 and 4 show of themselves. They end at the first warning that they write, so that what is asked of them
/// must give them no reason to.
Program widgetFactory3();
Program widgetFactory4();
/// A text of numbered lines, larger than any window.
Program mousepad(const PrivateSession& session);
/// A list of 50,000 rows whose two columns say "row N", and a form with a password and with "plain to see", both GTK 3.
Program longList(const PrivateSession& session);
Program passwordForm();
/// demo_swing/, which is not on the accessibility bus: who wants that names the wrapper.
Program swingDemo();
/// A page, which the browser shows under that title; a page that is no address is one of pages/.
Program chromium(const PrivateSession& session, const std::string& page, const std::string& title);

}  // namespace jumplark::desktop
