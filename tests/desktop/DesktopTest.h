#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "desktop/support/Applications.h"
#include "desktop/support/Jumplark.h"
#include "desktop/support/PrivateSession.h"

namespace jumplark::desktop {

/// A session in which every application of the tests fits on the screen, and the program in it.
struct Desktop {
  static constexpr int kWidth = 1400;
  static constexpr int kHeight = 900;

  explicit Desktop(WindowManager windowManager = WindowManager::xfwm4)
      : Desktop(SessionOptions{.windowManager = windowManager, .width = kWidth, .height = kHeight}) {}
  explicit Desktop(const SessionOptions& options) : session(options), jumplark(session, options.height) {}

  PrivateSession session;
  Jumplark jumplark;
};

inline const Arguments kDemo = {"--app", DemoProgram::kName};

/// As people call it; on the accessibility bus it is gtk3-widget-factory.
inline constexpr const char* kWidgetFactory = "Widget Factory";

/// The applications that the tests try besides the demonstration program; each returns when it can be used.
inline Process& startWidgetFactory(PrivateSession& session) {
  return startApplication(session, {"gtk3-widget-factory"}, "gtk3-widget-factory", "radio button", "Page 2");
}
inline Process& startMousepad(PrivateSession& session, const std::string& file) {
  return startApplication(session, {"mousepad", "--disable-server", file}, "mousepad", "menu", "Search");
}
inline Process& startKcalc(PrivateSession& session) {
  return startApplication(session, {"kcalc"}, "kcalc", "push button", "7");
}

/// A file of the lines "Line 1" to "Line 300", longer than any window.
std::string writeLongText(const PrivateSession& session);

}  // namespace jumplark::desktop
