#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Seat.h"
#include "backends/linux/wayland/surfaces/LayerSurface.h"
#include "backends/linux/wayland/surfaces/SurfaceGlobals.h"

struct xdg_surface;
struct xdg_toplevel;

namespace jumplark::bench {

/// A Wayland client of its own with windows that see who has the keyboard and where clicks go. Errors throw
/// std::runtime_error. One thread.
class Onlooker {
 public:
  /// The connection must outlive it.
  explicit Onlooker(Connection& connection);
  Onlooker(const Onlooker&) = delete;
  Onlooker& operator=(const Onlooker&) = delete;
  ~Onlooker();

  /// An ordinary window of this client, until it has the keyboard, and its end.
  void openWindow();
  void closeWindow();
  bool hasKeyboard() const { return hasKeyboard_; }
  /// Milliseconds until a plain layer surface, or an ordinary window where there is no such surface, has the keyboard.
  double plainSurface();

  /// Milliseconds until `shows` tells that a translucent surface over the whole output shows. Where there are no layers
  /// it belongs to the client's window, which must be open, and whose corner that is.
  double plainOverlay(int x, int y, const std::function<bool()>& shows);

  /// From then on clicks go to this client and not to what lies below. Only with layers.
  void cover();
  void uncover();
  bool buttonIsDown() const { return buttonIsDown_; }

 private:
  struct Listeners;
  struct Layer;

  enum class Purpose : uint8_t { keyboard, clicks, nothing };
  std::unique_ptr<Layer> showLayer(const Rect& place, Purpose purpose, int windowX = 0, int windowY = 0);

  Connection& connection_;
  std::unique_ptr<wayland::SurfaceGlobals> globals_;
  bool hasKeyboard_ = false;
  bool buttonIsDown_ = false;

  wayland::Owned<wl_surface> window_;
  std::unique_ptr<Picture> windowPicture_;
  xdg_surface* xdgSurface_ = nullptr;
  xdg_toplevel* toplevel_ = nullptr;
  bool isConfigured_ = false;
  std::unique_ptr<Layer> cover_;
};

}  // namespace jumplark::bench
