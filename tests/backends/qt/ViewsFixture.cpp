#include "backends/qt/ViewsFixture.h"

#include <unistd.h>

#include <QCoreApplication>
#include <algorithm>
#include <cstdlib>

#include "backends/linux/qt/wayland/LayerWindows.h"
#include "backends/linux/qt/x11/X11Windows.h"
#include "backends/linux/wayland/WaylandScreens.h"
#include "backends/linux/x11/X11Screens.h"
#include "platform/Input.h"

// Qt leaves to the end of the process what it has bound of a Wayland compositor; only whole stacks tell whose it was.
// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming)
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  return "fast_unwind_on_malloc=0";
}
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libQt6WaylandClient\n";
}
// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)

namespace jumplark {

std::unique_ptr<NativeWindows> ViewsTest::startX11(const desktop::SessionOptions& options) {
  start(options);
  member_ = session_->adoptEnvironment();
  loop_ = std::make_unique<QtMainLoop>(*queues_);
  screens_ = std::make_unique<X11Screens>(x_, queues_->mainQueue());
  return std::make_unique<X11Windows>(
      x_, WindowCallbacks{[this](uint32_t window) { windows_->requestActive(window, true); },
                          [this] { told_.emplace_back("keyboard"); },
                          {}});
}

std::unique_ptr<NativeWindows> ViewsTest::startWayland(const desktop::SessionOptions& options) {
  session_ = desktop::openSession(options);
  member_ = session_->adoptEnvironment();
  loop_ = std::make_unique<QtMainLoop>(*queues_, QtPlatform::wayland);
  screens_ = std::make_unique<WaylandScreens>(WaylandConnection::open().connection, queues_->mainQueue(),
                                              [](const WaylandOutput& output) { return output.frame; });
  return LayerWindows::make(LayerCallbacks{.keyboardArrived = [this] { told_.emplace_back("keyboard"); }});
}

void ViewsTest::startViews(desktop::SessionOptions options) {
  options.accessibility = false;
  queues_ = std::make_unique<SystemQueues>();
  auto native = options.windowManager == desktop::WindowManager::sway ? startWayland(options) : startX11(options);
  views_ = std::make_unique<QtViews>(QtViews::World{std::move(native), *screens_, queues_->mainQueue()});
  query_ = views_->makeQueryWindow();
  query_->setDelegate(this);
  query_->setLevel(window_level::dock + 1);
  overlay_ = views_->makeOverlay();
  discovery_ = views_->makeDiscovery();
}

bool ViewsTest::await(const std::function<bool()>& state) {
  return desktop::waitUntil([&] {
    QCoreApplication::processEvents();
    return state();
  });
}

size_t ViewsTest::count(const std::string& line) const {
  return static_cast<size_t>(std::ranges::count(told_, line));
}

testing::AssertionResult ViewsTest::shows(int x, int y, uint32_t color) {
  uint32_t found = 0;
  const auto isNear = [&](unsigned shift) {
    return std::abs(static_cast<int>(found >> shift & 0xFF) - static_cast<int>(color >> shift & 0xFF)) <= 2;
  };
  const auto isShown = [&] {
    found = session_->pixel(x, y);
    return isNear(0) && isNear(8) && isNear(16);
  };
  if (await(isShown)) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << std::hex << "at " << std::dec << x << ',' << y << std::hex << " shows " << found
                                     << " and not " << color;
}

Rect ViewsTest::core(double x, double y, double width, double height) const {
  return {x, screens_->primaryFrame().maxY() - y - height, width, height};
}

uint32_t ViewsTest::ownWindow() const {
  const auto window = session_->findWindow(
      [](const desktop::SessionWindow& each) { return each.pid == getpid() && !each.overrideRedirect; });
  return window ? window->id : 0;
}

void ViewsTest::showQueryWindow(int x, int y) {
  const size_t arrivals = count("keyboard");
  query_->setFrameTopLeft({static_cast<double>(x), core(x, y, 0, 0).y});
  query_->makeKeyAndOrderFront();
  query_->makeFieldFirstResponder();
  query_->setKeyMonitorInstalled(true);
  ASSERT_TRUE(await([&] { return count("keyboard") > arrivals; }));
}

bool ViewsTest::monitoredKeyDown(const KeyEvent& event) {
  told_.push_back("key " + std::to_string(event.keyCode) + " " + std::to_string(event.flags) + " " +
                  event.charactersIgnoringModifiers);
  return (event.flags & modifier_flag::deviceIndependentMask) == modifier_flag::control;
}

bool ViewsTest::performKeyEquivalent(const KeyEvent& event) {
  told_.push_back("equivalent " + std::to_string(event.keyCode));
  return false;
}

}  // namespace jumplark
