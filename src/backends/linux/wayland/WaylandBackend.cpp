#include "backends/linux/wayland/WaylandBackend.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "backends/linux/menus/MenuSource.h"
#include "backends/linux/wayland/Compositors.h"
#include "platform/Texts.h"

namespace jumplark {
WaylandBackend::Opened WaylandBackend::open(TaskQueue& mainQueue) {
  auto opened = WaylandConnection::open();
  if (!opened.connection) {
    return {nullptr, std::move(opened.error)};
  }
  auto compositor = openCompositor();
  if (const char* const sway = std::getenv("SWAYSOCK"); !compositor && sway != nullptr && *sway != '\0') {
    return {nullptr,
            localized("Sway does not answer on the socket that SWAYSOCK names. Start Jumplark in the session that "
                      "it shall operate.")};
  }
  if (!compositor) {
    return {nullptr, localized("This Wayland compositor does not tell which window is in front and where it is, so "
                               "nothing can be operated. Use Jumplark in a session of sway, or in one on X11.")};
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

void WaylandBackend::activateOwnWindow(const std::string& title) {
  for (const WindowFacts& window : windows().windowsFrontToBack()) {
    if (windows().isOwn(window) && window.title == title) {
      windows().requestActive(window.id, true);
      return;
    }
  }
}

void WaylandBackend::closeMenu() {
  if (menuHooks_.menuWillClose) {
    menuHooks_.menuWillClose(true);
  }
  input_.typeKey(key_code::escape);
}

void WaylandBackend::menusWillClose() {
  if (std::ranges::any_of(windows().popupsFrontToBack(), menus::isMenuWindow)) {
    if (menuHooks_.menuWillClose) {
      menuHooks_.menuWillClose(true);
    }
    compositor_->closeMenus();
  }
}

std::string WaylandBackend::description() const {
  return fmt::format("Compositor: {}", compositor_->name());
}

}  // namespace jumplark
