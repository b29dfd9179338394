#pragma once

#include <functional>
#include <string>
#include <utility>

#include "desktop/DesktopTest.h"
#include "desktop/support/RunningProgram.h"

namespace jumplark::desktop {

/// A desktop with the demonstration program in front and the program in the background.
struct Use {
  explicit Use(WindowManager windowManager = WindowManager::xfwm4, const std::string& page = "Form")
      : desktop(windowManager), demo(desktop.session, page), program(desktop.session) {}
  /// In a session made otherwise, which `prepare` changes before anything is started in it.
  explicit Use(const SessionOptions& options, nlohmann::json defaults = nlohmann::json::object(),
               const std::function<void(PrivateSession&)>& prepare = {})
      : desktop(options), demo(prepared(desktop.session, prepare)), program(desktop.session, std::move(defaults)) {}

  PrivateSession& session() { return desktop.session; }
  PixelRect partNamed(const std::string& name) {
    for (const DemoPart& part : demo.parts()) {
      if (part.name == name) {
        return part.rect;
      }
    }
    ADD_FAILURE() << "the window has no part " << name;
    return {};
  }
  bool demoIsActive() {
    const auto window = session().findWindow([this](const SessionWindow& candidate) {
      return candidate.pid == demo.process().pid() && !candidate.overrideRedirect;
    });
    return window && session().activeWindow() == window->id;
  }

  static PrivateSession& prepared(PrivateSession& session, const std::function<void(PrivateSession&)>& prepare) {
    if (prepare) {
      prepare(session);
    }
    return session;
  }

  Desktop desktop;
  DemoProgram demo;
  RunningProgram program;
};

/// A pixel of a box that neither its border nor its label covers.
inline uint32_t boxPixel(PrivateSession& session, const PixelRect& rect) {
  return session.pixel(rect.x + 4, rect.y + rect.height / 2);
}

}  // namespace jumplark::desktop
