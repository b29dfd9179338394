#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "backends/linux/qt/NativeWindows.h"
#include "backends/linux/wayland/surfaces/BoundedQueue.h"
#include "backends/linux/wayland/surfaces/KeyboardWatch.h"
#include "backends/linux/wayland/surfaces/PlacedSurfaces.h"
#include "backends/linux/wayland/surfaces/SurfaceGlobals.h"

namespace jumplark {

/// What the windows need of the compositor's own ways. Each may be empty.
struct LayerCallbacks {
  /// Asks the compositor to give an ordinary window of this program the keyboard.
  std::function<void(const std::string& title)> activateWindow = {};
  /// The query window is about to show, and to take the keyboard from whoever has it. True when that is a menu.
  std::function<bool()> queryWillShow = {};
  /// Whether menus show, as far as the compositor tells.
  std::function<bool()> menusShow = {};
  /// The query window has the keyboard: keys that come from now on are delivered to it.
  std::function<void()> keyboardArrived = {};
  /// An open menu keeps the keyboard from the query window: closes it, or its innermost level. May be called some times
  /// one after the other, counted from 1, and not within a call.
  std::function<void(int time)> keyboardRefused = {};
  /// Has the compositor place a window of this program in front of all others; empty where its layer shell does that.
  wayland::PlacedSurfaces::Placer placeWindow = {};
  /// A message was made, which never counts as the window that the user works in.
  std::function<void(const std::string& title)> passOver = {};
};

/// Qt's part for Wayland, which it loads by name and without which it ends the process, is installed. Any thread, also
/// before there is a QApplication.
bool qtShowsWindowsOnWayland();

/// Windows on Wayland, with Qt's wayland platform: query window and overlay are surfaces of the layer shell, or those
/// that the compositor places by itself, the others ordinary windows. Native units are logical pixels of the
/// compositor's layout.
class LayerWindows final : public NativeWindows {
 public:
  /// Null where the compositor offers neither.
  static std::unique_ptr<LayerWindows> make(LayerCallbacks callbacks);
  ~LayerWindows() override;

  /// For whoever wants to know of keys while a window of this program has the keyboard.
  wayland::KeyboardWatch& keyboard() { return keyboard_; }

  NativeUnit unit() const override { return NativeUnit::logicalPixel; }
  double pictureRatioAt(QPoint native) const override;
  bool compositorRuns() const override { return true; }
  Token onCompositorChanged(std::function<void()> callback) override;
  std::unique_ptr<ClickThroughWindow> makeClickThroughWindow(const QRect& geometry, bool translucent) override;
  std::unique_ptr<QueryWindowHost> makeQueryWindowHost(QWidget& widget, const ScreenGeometry& geometry,
                                                       QueryWindowHost::Events events) override;
  KeyMeanings& keys() override { return *keys_; }
  void synchronize() override;
  void activate(QWidget& window) override;
  void passOver(QWidget& window) override;
  Token onKeyboardGiven(std::function<void(QWidget& window)> /*callback*/) override { return {}; }
  bool hasTray() override { return false; }
  Token onTrayAnnounced(std::function<void()> /*callback*/) override { return {}; }

 private:
  LayerWindows(wl_display* display, LayerCallbacks callbacks);

  void outputsChanged();

  using Listeners = std::vector<std::shared_ptr<std::function<void()>>>;

  const LayerCallbacks callbacks_;
  Token endAtCrash_;  ///< of Qt's connection: the keyboard is free at once
  std::shared_ptr<Listeners> listeners_ = std::make_shared<Listeners>();
  wayland::BoundedQueue queue_;
  wayland::KeyboardWatch keyboard_;
  wayland::SurfaceGlobals globals_;
  std::unique_ptr<wayland::FrontSurfaces> fronts_;
  std::unique_ptr<KeyMeanings> keys_;
};

}  // namespace jumplark
