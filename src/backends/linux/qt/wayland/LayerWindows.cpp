#include "backends/linux/qt/wayland/LayerWindows.h"

#include <qpa/qplatformnativeinterface.h>
#include <wayland-client-core.h>
#include <QDir>
#include <QGuiApplication>
#include <QLibraryInfo>
#include <QWidget>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "backends/linux/crash/CrashRelease.h"
#include "backends/linux/qt/KeyMeanings.h"
#include "backends/linux/qt/QtMainLoop.h"
#include "backends/linux/qt/wayland/LayerPicture.h"
#include "backends/linux/qt/wayland/LayerQueryHost.h"
#include "backends/linux/wayland/surfaces/LayerSurface.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

constexpr std::chrono::milliseconds kPatience{500};

/// By the map of the keyboard that was used last; a key event of Qt's does not tell the group.
class WatchedKeys final : public KeyMeanings {
 public:
  explicit WatchedKeys(const wayland::KeyboardWatch& watch) : watch_(watch) {}
  std::optional<KeyMeaning> meaningOf(uint32_t keycode, uint32_t /*state*/) override {
    const KeySymbols* symbols = watch_.symbols();
    if (keycode == 0 || keycode > 255 || !symbols) {
      return std::nullopt;
    }
    const KeySymbols::Key key = symbols->key(keycode, watch_.modifiers().group);
    return KeyMeaning{key.code, key.characters, key.isModifier};
  }

 private:
  const wayland::KeyboardWatch& watch_;
};

}  // namespace

bool qtShowsWindowsOnWayland() {
  const QDir folder(QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms"));
  return !folder.entryList({QStringLiteral("libqwayland*.so")}, QDir::Files).isEmpty();
}

std::unique_ptr<LayerWindows> LayerWindows::make(LayerCallbacks callbacks) {
  auto* native = QGuiApplication::platformNativeInterface();
  auto* display = static_cast<wl_display*>(native->nativeResourceForIntegration("wl_display"));
  if (!display) {
    throw std::logic_error("The windows need Qt's wayland platform");
  }
  std::unique_ptr<LayerWindows> windows(new LayerWindows(display, std::move(callbacks)));
  return windows->fronts_ ? std::move(windows) : nullptr;
}

LayerWindows::LayerWindows(wl_display* display, LayerCallbacks callbacks)
    : callbacks_(std::move(callbacks)),
      endAtCrash_(shutDownAtCrash(wl_display_get_fd(display), CrashRelease::display)),
      queue_(display),
      keyboard_(display),
      globals_(display, [this] { outputsChanged(); }),
      keys_(std::make_unique<WatchedKeys>(keyboard_)) {
  if (globals_.isComplete() && globals_.layerShell() != nullptr) {
    fronts_ = std::make_unique<wayland::LayerSurfaces>(globals_);
  } else if (globals_.isComplete() && callbacks_.placeWindow && wayland::PlacedSurfaces::isPossible(globals_)) {
    const std::string title = localized("Jumplark's query");
    callbacks_.passOver(title);
    fronts_ = std::make_unique<wayland::PlacedSurfaces>(globals_, title, callbacks_.placeWindow);
  }
}

LayerWindows::~LayerWindows() = default;

Token LayerWindows::onCompositorChanged(std::function<void()> callback) {
  auto added = std::make_shared<std::function<void()>>(std::move(callback));
  listeners_->push_back(added);
  return Token([list = listeners_, added] {
    // Emptied as well: a round of calls that is under way has a copy of the list.
    *added = nullptr;
    std::erase(*list, added);
  });
}

void LayerWindows::outputsChanged() {
  const Listeners round = *listeners_;
  for (const auto& listener : round) {
    if (const std::function<void()> call = *listener) {
      QtMainLoop::guarded(call);
    }
  }
}

double LayerWindows::pictureRatioAt(QPoint native) const {
  return globals_.ratioAt({static_cast<double>(native.x()), static_cast<double>(native.y())});
}

std::unique_ptr<ClickThroughWindow> LayerWindows::makeClickThroughWindow(const QRect& geometry, bool /*translucent*/) {
  return std::make_unique<LayerPicture>(globals_, *fronts_, queue_.display(), geometry);
}

std::unique_ptr<QueryWindowHost> LayerWindows::makeQueryWindowHost(QWidget& widget, const ScreenGeometry& /*geometry*/,
                                                                   QueryWindowHost::Events events) {
  return std::make_unique<LayerQueryHost>(globals_, *fronts_, queue_, keyboard_, callbacks_, widget, std::move(events));
}

void LayerWindows::synchronize() {
  queue_.synchronize(kPatience);
}

void LayerWindows::activate(QWidget& window) {
  // Not by Qt's way, for which compositors want a key or click in one of our windows: without it they only mark the
  // window as one that wants attention. Over another connection: the compositor must have heard of the window by then.
  synchronize();
  if (callbacks_.activateWindow) {
    callbacks_.activateWindow(window.windowTitle().toStdString());
  }
}

void LayerWindows::passOver(QWidget& window) {
  if (callbacks_.passOver) {
    callbacks_.passOver(window.windowTitle().toStdString());
  }
}

}  // namespace jumplark
