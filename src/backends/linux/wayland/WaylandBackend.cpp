#include "backends/linux/wayland/WaylandBackend.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "backends/linux/wayland/Compositors.h"
#include "backends/linux/windows/MenuWindow.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMostLevels = 4;
constexpr std::chrono::milliseconds kLevelPatience{150};
constexpr std::chrono::milliseconds kBetweenLooks{5};

}  // namespace

WaylandBackend::Opened WaylandBackend::open(TaskQueue& mainQueue) {
  auto opened = WaylandConnection::open();
  if (!opened.connection) {
    return {nullptr, std::move(opened.error)};
  }
  auto compositor = openCompositor(opened.connection);
  if (!compositor) {
    const CompositorProblem problem = compositorProblem(*opened.connection);
    return {nullptr, fmt::format("{} {}", problem.finding, problem.remedy)};
  }
  return {std::unique_ptr<WaylandBackend>(
              new WaylandBackend(std::move(opened.connection), std::move(compositor), mainQueue)),
          {}};
}

WaylandBackend::WaylandBackend(std::shared_ptr<WaylandConnection> connection, std::unique_ptr<Compositor> compositor,
                               TaskQueue& mainQueue)
    : connection_(std::move(connection)),
      compositor_(std::move(compositor)),
      mainQueue_(mainQueue),
      screens_(connection_, mainQueue, [this](const WaylandOutput& output) { return compositor_->workAreaOf(output); }),
      workspace_(compositor_->windows(), entries_, &screens_),
      input_(connection_, *compositor_, screens_),
      shortcuts_(*compositor_, mainQueue) {
  screens_.setPointerSource([this] { return compositor_->pointer(); });
}

WaylandBackend::~WaylandBackend() = default;

Token WaylandBackend::onActiveApplicationChanged(std::function<void(int32_t pid)> callback) {
  if (!compositorsWord_) {
    compositorsWord_ =
        compositor_->onActiveApplicationChanged([this](int32_t pid) { activeApplication_.post(mainQueue_, pid); });
  }
  return activeApplication_.add(std::move(callback));
}

bool WaylandBackend::awaitSuccessor() {
  constexpr std::chrono::minutes kPatience{2};
  constexpr std::chrono::milliseconds kStep{100};
  if (connection_->settle()) {
    return false;  // the toolkit has its own reasons
  }
  compositor_->leave();
  const auto deadline = Clock::now() + kPatience;
  auto opened = WaylandConnection::open();
  // Another start finds it at work: on a busy machine its socket answers long before it tells anything.
  while (opened.isThere && !(opened.connection && compositor_->tellsWindows()) && Clock::now() < deadline) {
    std::this_thread::sleep_for(kStep);
    opened = WaylandConnection::open();
  }
  return opened.connection != nullptr;
}

void WaylandBackend::activateOwnWindow(const std::string& title) {
  for (const WindowFacts& window : windows().windowsFrontToBack()) {
    if (windows().isOwn(window) && window.title == title) {
      windows().requestActive(window.id, true);
      return;
    }
  }
}

void WaylandBackend::closeMenu(int time) {
  if (time == 1) {
    isMenuTold_ = menuHooks_.menuWillClose && menuHooks_.menuWillClose(true);
  }
  // What takes its time to close has the keyboard a while longer, and one Escape more would close the window below.
  const bool isClosing = time > 1 && (isMenuTold_ ? !menuHooks_.isMenuOpen(true) : time % 2 == 0);
  if (!isClosing) {
    input_.typeKey(key_code::escape);
  }
}

bool WaylandBackend::doMenusShow() {
  return std::ranges::any_of(windows().popupsFrontToBack(), isMenuWindow) ||
         (isListTold_ && menuHooks_.isMenuOpen(compositor_->endsMenus()));
}

bool WaylandBackend::hasXMenus() {
  const std::vector<WindowFacts> all = windows().windowsFrontToBack();
  const auto front = std::ranges::find_if(all, [this](const WindowFacts& window) { return !windows().isOwn(window); });
  return front != all.end() && front->knowsItsPlace && !front->hidden && doXMenusShow_ && doXMenusShow_();
}

bool WaylandBackend::menusWillClose() {
  isListTold_ = false;
  const bool doShow = doMenusShow();
  if (!menuHooks_.menuWillClose) {
    return false;
  }
  if (!doShow && !hasXMenus()) {
    // It closes by itself, with the keyboard gone.
    isListTold_ = menuHooks_.menuWillClose(compositor_->endsMenus());
    return isListTold_;
  }
  menuHooks_.menuWillClose(true);
  const bool isTold = menuHooks_.isMenuTold();
  if (isTold) {
    closeLevels();
  }
  if (doShow && doMenusShow()) {
    compositor_->closeMenus();
  }
  return doShow || isTold;
}

/// What shows may be a tool tip, which would leave Escape to the window below it.
void WaylandBackend::closeLevels() {
  bool isOpen = true;
  for (int level = 0; level < kMostLevels && isOpen; ++level) {
    input_.typeKey(key_code::escape);
    for (const auto patience = Clock::now() + kLevelPatience; isOpen && Clock::now() < patience;) {
      std::this_thread::sleep_for(kBetweenLooks);
      isOpen = menuHooks_.isMenuOpen(true);
    }
  }
}

std::string WaylandBackend::description() const {
  return fmt::format("Compositor: {}", compositor_->name());
}

}  // namespace jumplark
