#pragma once

#include <wayland-client-protocol.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "backends/linux/wayland/surfaces/LayerSurface.h"
#include "backends/linux/wayland/surfaces/SurfaceGlobals.h"
#include "use/Figures.h"

struct xdg_surface;
struct xdg_toplevel;
struct xdg_wm_base;
struct zwlr_screencopy_manager_v1;
struct zwp_virtual_keyboard_manager_v1;
struct zwp_virtual_keyboard_v1;

namespace jumplark::bench {

/// Pixels of a rectangle of the only output, in logical pixels, which are pixels there.
struct Area {
  int x = 0;
  int y = 0;
  int width = 1;
  int height = 1;
};

/// A Wayland client of its own that presses keys and sees what the screen makes of it. Errors throw
/// std::runtime_error. One thread.
class SwayOnlooker {
 public:
  /// `socket` is the compositor's path.
  explicit SwayOnlooker(const std::string& socket);
  SwayOnlooker(const SwayOnlooker&) = delete;
  SwayOnlooker& operator=(const SwayOnlooker&) = delete;
  ~SwayOnlooker();

  /// Presses the keys (linux/input-event-codes.h) one upon the other and lets go of them in reverse order; returns when
  /// the last went down, as far as it was sent.
  Clock::time_point press(const std::vector<uint32_t>& keys);
  /// Milliseconds from `start` until the condition, which is asked after every event and now and then, holds.
  double until(Clock::time_point start, const std::function<bool()>& condition);

  /// An ordinary window of this client, until it has the keyboard, and its end.
  void openWindow();
  void closeWindow();
  bool hasKeyboard() const { return hasKeyboard_; }
  /// Milliseconds until a plain layer surface that asks for the keyboard has it.
  double plainLayer();

  /// From then on clicks go to this client and not to what lies below.
  void cover();
  void uncover();
  bool buttonIsDown() const { return buttonIsDown_; }

  /// What the output's next picture shows there, 0xRRGGBB, one list after the other.
  std::vector<std::vector<uint32_t>> pixels(const std::vector<Area>& areas);

 private:
  struct Listeners;
  struct Layer;
  struct Buffer;
  struct Copy;

  void sendKey(uint32_t key, bool isDown);
  void readEvents(int timeoutMs);
  std::unique_ptr<Layer> showLayer(const Rect& place, bool takesKeyboard);

  wl_display* display_;
  wl_registry* registry_ = nullptr;
  wl_seat* seat_ = nullptr;
  xdg_wm_base* windows_ = nullptr;
  zwlr_screencopy_manager_v1* pictures_ = nullptr;
  zwp_virtual_keyboard_manager_v1* keyboards_ = nullptr;
  zwp_virtual_keyboard_v1* keyboard_ = nullptr;
  std::unique_ptr<wayland::SurfaceGlobals> globals_;
  uint32_t modifiers_ = 0;
  bool hasKeyboard_ = false;
  bool buttonIsDown_ = false;

  wayland::Owned<wl_surface> window_;
  std::unique_ptr<Buffer> windowPicture_;
  xdg_surface* xdgSurface_ = nullptr;
  xdg_toplevel* toplevel_ = nullptr;
  bool isConfigured_ = false;
  std::unique_ptr<Layer> cover_;
};

}  // namespace jumplark::bench
