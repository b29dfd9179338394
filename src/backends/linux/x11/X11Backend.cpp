#include "backends/linux/x11/X11Backend.h"

#include <fmt/format.h>

#include <utility>

#include "backends/linux/x11/DesktopWatcher.h"
#include "backends/linux/x11/X11InputSources.h"

namespace jumplark {

X11Backend::Opened X11Backend::open(TaskQueue& mainQueue) {
  auto x = X11Connection::open();
  if (!x.connection) {
    return {nullptr, x.error};
  }
  return {std::unique_ptr<X11Backend>(new X11Backend(std::move(x.connection), mainQueue)), {}};
}

X11Backend::X11Backend(std::shared_ptr<X11Connection> connection, TaskQueue& mainQueue)
    : connection_(std::move(connection)),
      mainQueue_(mainQueue),
      windows_(connection_),
      screens_(connection_, mainQueue),
      workspace_(windows_, entries_, &screens_),
      input_(connection_),
      windowMenus_(connection_) {}

X11Backend::~X11Backend() = default;

InputSources& X11Backend::inputSources() {
  if (!inputSources_) {
    inputSources_ = std::make_unique<X11InputSources>(connection_);
  }
  return *inputSources_;
}

X11Shortcuts& X11Backend::shortcuts() {
  if (!shortcuts_) {
    X11Shortcuts::Hooks hooks{[this](uint32_t xTime) { windows_.noteUserTime(xTime); },
                              [this](uint8_t keycode) { input_.expectOwnRelease(keycode); }, menuHooks_.shortcutMayCome,
                              menuHooks_.menuWillClose, menuHooks_.keyboardIsKept};
    shortcuts_ = std::make_unique<X11Shortcuts>(connection_->displayName(), mainQueue_, std::move(hooks));
  }
  return *shortcuts_;
}

DesktopWatcher* X11Backend::watcher() {
  if (!watcher_) {
    watcher_ = DesktopWatcher::create(connection_->displayName(), mainQueue_);
  }
  return watcher_.get();
}

Token X11Backend::onActiveApplicationChanged(std::function<void(int32_t pid)> callback) {
  DesktopWatcher* const desktop = watcher();
  return desktop != nullptr ? desktop->onActiveApplicationChanged(std::move(callback)) : Token();
}

Token X11Backend::onButtonPress(std::function<void(Point position)> callback) {
  DesktopWatcher* const desktop = watcher();
  return desktop != nullptr ? desktop->onButtonPress(std::move(callback)) : Token();
}

std::string X11Backend::description() const {
  const xcb_setup_t* const setup = xcb_get_setup(connection_->get());
  const std::string_view vendor(xcb_setup_vendor(setup), static_cast<size_t>(xcb_setup_vendor_length(setup)));
  return fmt::format("X server: {}, release {}", vendor, setup->release_number);
}

}  // namespace jumplark
