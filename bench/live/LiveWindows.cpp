#include "LiveWindows.h"

#include <fstream>
#include <stdexcept>

namespace jumplark::bench {
namespace {

using desktop::Arguments;
using desktop::PrivateSession;
using desktop::SessionWindow;

SessionWindow toFront(PrivateSession& session, const std::function<bool(const SessionWindow&)>& wanted) {
  SessionWindow window = session.waitForWindow(wanted);
  if (!session.activate(window.id)) {
    throw std::runtime_error(window.title + " did not come to the front");
  }
  return window;
}

auto starting(const Arguments& arguments) {
  return [arguments](PrivateSession& session) {
    const pid_t pid = session.start(arguments).pid();
    return toFront(session, [pid](const SessionWindow& window) {
      return window.pid == pid && !window.overrideRedirect && window.rect.width > 100;
    });
  };
}

SessionWindow startBrowser(PrivateSession& session) {
  const std::string page = session.folder() + "/links.html";
  std::ofstream file(page);
  file << "<!DOCTYPE html><title>Links</title><style>a { display: inline-block; width: 60px; font-size: 11px }</style>";
  for (int i = 1; i <= 1000; ++i) {
    file << "<a href='#" << i << "'>Link " << i << "</a> ";
  }
  file.close();
  session.start({"chromium", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                 "--disable-background-networking", "--disable-component-update", "--disable-sync",
                 "--window-size=1100,860", "--window-position=20,10",
                 "--user-data-dir=" + session.folder() + "/browser", "file://" + page});
  return toFront(session, [](const SessionWindow& window) { return window.title.starts_with("Links"); });
}

bool isInstalled(const std::string& program) {
  return std::ifstream(program).good();
}

}  // namespace

std::vector<LiveWindow> liveWindows() {
  using Showing = BaselineWalk::Showing;
  std::vector<LiveWindow> windows;
  const auto add = [&](const std::string& program, LiveWindow window) {
    if (isInstalled(program)) {
      windows.push_back(std::move(window));
    }
  };
  const std::string gtk3 = "/usr/bin/gtk3-widget-factory";
  const std::string gtk4 = "/usr/bin/gtk4-widget-factory";
  add(gtk3, {"GTK 3 widget factory", Showing::byState, 0.15, 50, 140, starting({gtk3})});
  add(gtk3, {"GTK 3, 1,000 widgets", Showing::byState, 0.15, 50, 1000, starting({JUMPLARK_MANY_WIDGETS_GTK, "3"})});
  add(gtk4, {"GTK 4 widget factory", Showing::bySize, 0.1, 90, 150, starting({gtk4})});
  add(gtk4, {"GTK 4, 1,000 widgets", Showing::bySize, 0.1, 90, 1000, starting({JUMPLARK_MANY_WIDGETS_GTK, "4"})});
  add("/usr/bin/kcalc", {"Qt 5 kcalc", Showing::byState, 0.4, 250, 30, starting({"kcalc"})});
  add(JUMPLARK_DEMO_QT6, {"Qt 6 demonstration", Showing::byState, 0.4, 250, 40, starting({JUMPLARK_DEMO_QT6})});
  add(JUMPLARK_MANY_WIDGETS_QT6,
      {"Qt 6, 1,000 widgets", Showing::byState, 0.4, 250, 1000, starting({JUMPLARK_MANY_WIDGETS_QT6})});
  add("/usr/bin/chromium", {"Chromium, 1,000 links", Showing::byState, 0.1, 85, 400, startBrowser});
  return windows;
}

}  // namespace jumplark::bench
